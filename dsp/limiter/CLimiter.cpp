#include "limiter/CLimiter.h"

#include "processor/DenormalGuard.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>

namespace
{
constexpr int fftSize = 1024;
constexpr int frameSize = 1024;
constexpr int hopSize = 512;
constexpr int sineOfSineSquaredWindow = 0;

constexpr float minTime = 1e-8f;
constexpr float noiseLevel = 1e-8f;
constexpr float rmsTimeConstant = 0.065144174f;

// Anti-denormal noise generator, shared by every limiter in the process and
// never reseeded, like the quantizer's dither generator.
std::atomic<uint32_t> noiseSeed{0};

constexpr auto relaxed = std::memory_order_relaxed;

// +noiseLevel when bit 17 of the generator state is set, else -noiseLevel:
// the sign bit set from that bit, without a branch on a random bit.
float signedNoise(uint32_t state)
{
    uint32_t bits;
    std::memcpy(&bits, &noiseLevel, sizeof bits);
    bits |= (~state & (1u << 17)) << 14;
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

float dBToGain(float dB)
{
    return std::pow(10.0f, dB * 0.05f);
}

float timeToCoef(float seconds, float fs)
{
    return std::exp(-1.0f / (fs * seconds));
}

// The distortion of the polynomial soft clipper, sat(x) - x, for four
// samples. sat has unity slope at 0 and is flat at +-1 from +-2 on:
// x - 0.25*x*x above 0, x + 0.25*x*x at and below 0; each lane takes the
// value the scalar branches would.
__m128 softClipResidual(__m128 x)
{
    using ChannelLanes::select;
    const __m128 bend = _mm_mul_ps(_mm_mul_ps(_mm_set1_ps(0.25f), x), x);
    __m128 sat = select(_mm_cmpgt_ps(x, _mm_setzero_ps()), _mm_sub_ps(x, bend), _mm_add_ps(x, bend));
    sat = select(_mm_cmple_ps(x, _mm_set1_ps(-2.0f)), _mm_set1_ps(-1.0f), sat);
    sat = select(_mm_cmpge_ps(x, _mm_set1_ps(2.0f)), _mm_set1_ps(1.0f), sat);
    return _mm_sub_ps(sat, x);
}

// The attack/release envelope's next value: it moves towards the held
// maximum e with the attack coefficient when e is at or above it, else
// with the release coefficient.
__m128 follow(__m128 envelope, __m128 e, __m128 attack, __m128 release)
{
    const __m128 coef = ChannelLanes::select(_mm_cmpge_ps(e, envelope), attack, release);
    return _mm_add_ps(e, _mm_mul_ps(_mm_sub_ps(envelope, e), coef));
}

__m128 broadcastLane0(__m128 v)
{
    return _mm_shuffle_ps(v, v, _MM_SHUFFLE(0, 0, 0, 0));
}

// std::max(acc, lane k of v) for k = from .. to-1 in turn, in lane 0 of
// the result: a later lane replaces the running value only when larger.
__m128 foldLanes(__m128 acc, __m128 v, int from, int to)
{
    if (from <= 0 && 0 < to)
        acc = _mm_max_ss(v, acc);
    if (from <= 1 && 1 < to)
        acc = _mm_max_ss(_mm_shuffle_ps(v, v, _MM_SHUFFLE(1, 1, 1, 1)), acc);
    if (from <= 2 && 2 < to)
        acc = _mm_max_ss(_mm_shuffle_ps(v, v, _MM_SHUFFLE(2, 2, 2, 2)), acc);
    if (from <= 3 && 3 < to)
        acc = _mm_max_ss(_mm_shuffle_ps(v, v, _MM_SHUFFLE(3, 3, 3, 3)), acc);
    return acc;
}

// The largest magnitude in a frame, four lanes at a time. Frame samples are
// finite (the framework zeroes anything else), so the maximum does not
// depend on the order of the comparisons; frames are a power of two long,
// at least 4.
float framePeak(const float* frame, int length)
{
    __m128 peak = _mm_setzero_ps();
    for (int j = 0; j < length; j += 4)
        peak = _mm_max_ps(peak, ChannelLanes::magnitude(_mm_loadu_ps(frame + j)));
    peak = _mm_max_ps(peak, _mm_movehl_ps(peak, peak));
    peak = _mm_max_ss(peak, _mm_shuffle_ps(peak, peak, _MM_SHUFFLE(1, 1, 1, 1)));
    return _mm_cvtss_f32(peak);
}
}

CLimiter::CLimiter(int channelCount)
    : CPsychoProcessor(channelCount, channelCount, fftSize, frameSize, hopSize, sineOfSineSquaredWindow),
      channels(channelCount),
      channel(new Channel[size_t(std::max(channelCount, 0))]),
      groupCount((std::max(channelCount, 0) + ChannelGroup::lanes - 1) / ChannelGroup::lanes),
      group(new ChannelGroup[size_t(groupCount)]()),
      inputGain(1.0f),
      ceiling(1.0f),
      link(0.35f),
      truePeak(false),
      aes17(true),
      monitor(false),
      lookaheadTime(0.002f),
      attackTime(0.08f),
      releaseTime(0.5f),
      saturation(0.5f),
      numBits(-1),
      shaping(0.0f),
      lookaheadSamples(4),
      attackCoef(0.0f),
      releaseCoef(0.0f),
      smoothCoef(0.0f),
      clipLevel(1.0f),
      updatePending(false),
      writeIndex(0),
      residualFrame(size_t(frameSize), 0.0f),
      residualSpectrum(size_t(fftSize), 0.0f),
      maskThreshold(size_t(fftSize / 2), 0.0f),
      residualBandPower(size_t(fftSize / 2), 0.0f),
      linkedHold(size_t(chunkLength), 0.0f),
      linkedEnvelope(size_t(chunkLength), 0.0f),
      quantizingChannel(size_t(std::max(channelCount, 0)), 0),
      ditherDraws(size_t(chunkLength) * size_t(std::max(channelCount, 0)), 0.0f)
{
    for (int ch = 0; ch < channels; ++ch)
        channel[ch].inputBandPower.assign(size_t(fftSize / 2), 0.0f);
    for (int g = 0; g < groupCount; ++g)
    {
        ChannelGroup& lanes = group[g];
        lanes.first = g * ChannelGroup::lanes;
        lanes.count = std::min(ChannelGroup::lanes, channels - lanes.first);
        for (int k = 0; k < lanes.count; ++k)
        {
            Channel& c = channel[lanes.first + k];
            lanes.channel[k] = &c;
            lanes.inputFilter[k] = &c.inputFilter;
            lanes.rmsSmoother[k] = &c.rmsSmoother;
            lanes.rmsMeter[k] = &c.rmsMeter;
            lanes.peakMeter[k] = &c.peakMeter;
            lanes.gainMeter[k] = &c.gainMeter;
            lanes.truePeakDetector[k] = &c.truePeakDetector;
            lanes.quantizer[k] = &c.quantizer;
        }
    }
    CLimiter::update();
    CLimiter::clear();
}

void CLimiter::update()
{
    CPsychoProcessor::update();
    updateCoefficients();
    configureChannels();
}

void CLimiter::updateCoefficients()
{
    updateLookahead(lookaheadTime.load(relaxed));
    attackCoef.store(timeToCoef(attackTime.load(relaxed), fs), relaxed);
    releaseCoef.store(timeToCoef(releaseTime.load(relaxed), fs), relaxed);

    // The clip level lies on the output word-length grid, rounded down, so
    // the quantised output can reach it but never pass it.
    float level = ceiling.load(relaxed);
    const int8_t bits = numBits.load(relaxed);
    if (bits > 2)
    {
        // ldexp stays defined for any word length a caller passes.
        const float steps = std::ldexp(1.0f, bits - 1);
        level = std::floor(level * steps) / steps;
    }
    clipLevel.store(level, relaxed);
}

void CLimiter::updateLookahead(float seconds)
{
    // Capped before the conversion so that no time overflows the integer;
    // for every time that fits, the same as capping after it.
    int samples = int(std::min(fs * seconds + 0.5f, float(delayMask - 4)));
    samples = std::max(samples, 4);
    lookaheadSamples.store(samples, relaxed);
    smoothCoef.store(std::exp(-10.0f / float(samples)), relaxed);
}

void CLimiter::configureChannels()
{
    updatePending.store(false, relaxed);
    const int8_t bits = numBits.load(relaxed);
    for (int ch = 0; ch < channels; ++ch)
    {
        Channel& c = channel[ch];
        c.inputFilter.setNormFreq(1.0f / fs);
        c.peakMeter.setTime(1.0f, fs, 1);
        c.rmsSmoother.setTimeConstant(rmsTimeConstant, fs);
        c.rmsMeter.setTime(0.5f, fs, 1);
        c.gainMeter.setTime(0.5f, fs, 1);
        c.gainMeter.setInverted(true);
        c.gainMeter.setUpperLimit(1.0f);
        c.saturationMeter.setInverted(true);
        c.saturationMeter.setUpperLimit(1.0f);
        c.saturationMeter.setTime(0.5f, fs, hopSize);
        c.truePeakDetector.setSampleRate(fs);
        c.quantizer.setRate(fs);
        c.quantizer.setWordLength(bits);
    }
}

void CLimiter::clear()
{
    writeIndex = 0;
    CPsychoProcessor::clear();
    std::fill(residualFrame.begin(), residualFrame.end(), 0.0f);
    std::fill(residualSpectrum.begin(), residualSpectrum.end(), 0.0f);
    std::fill(maskThreshold.begin(), maskThreshold.end(), 0.0f);
    std::fill(residualBandPower.begin(), residualBandPower.end(), 0.0f);
    for (int ch = 0; ch < channels; ++ch)
    {
        Channel& c = channel[ch];
        std::fill(c.inputBandPower.begin(), c.inputBandPower.end(), 0.0f);
        c.inputFilter.clear();
        c.rmsSmoother.clear();
        c.rmsMeter.reset();
        c.peakMeter.reset();
        c.gainMeter.reset();
        c.saturationMeter.reset();
        c.truePeakDetector.clear();
        c.quantizer.clear();
        c.envelope = 0.0f;
        std::fill(std::begin(c.smoother), std::end(c.smoother), 0.0f);
    }
    for (int g = 0; g < groupCount; ++g)
    {
        std::fill(&group[g].delay[0][0], &group[g].delay[0][0] + delayLength * ChannelLanes::width, 0.0f);
        group[g].peakHold.clear();
    }
}

void CLimiter::process(const float* const* in, float* const* out, int frames)
{
    if (frames <= 0 || channels <= 0)
        return;
    DenormalGuard denormalGuard;

    // Settings changed by another thread reach the per-channel blocks here,
    // on the audio thread, never while they run.
    if (updatePending.load(relaxed))
        configureChannels();
    const float shapingAmount = shaping.load(relaxed);
    for (int ch = 0; ch < channels; ++ch)
        channel[ch].quantizer.setShaping(shapingAmount);

    block.inputGain = inputGain.load(relaxed);
    block.clipLevel = clipLevel.load(relaxed);
    block.saturation = saturation.load(relaxed);
    const bool monitoring = monitor.load(relaxed);
    block.preGain = monitoring ? 1.0f : block.inputGain;
    block.detectionGain = monitoring ? block.inputGain : 1.0f;
    block.truePeak = truePeak.load(relaxed);
    block.ceiling = ceiling.load(relaxed);
    block.link = link.load(relaxed);
    block.lookahead = lookaheadSamples.load(relaxed);
    block.attackCoef = attackCoef.load(relaxed);
    block.releaseCoef = releaseCoef.load(relaxed);
    block.smoothCoef = smoothCoef.load(relaxed);

    // Spectral saturation: the input, 1024 samples later, lands in out.
    CFFTProcessor::process(in, out, frames);

    uint32_t noise = noiseSeed.load(relaxed);
    for (int done = 0; done < frames; done += chunkLength)
        processChunk(out, done, std::min(frames - done, chunkLength), noise);
    noiseSeed.store(noise, relaxed);
}

void CLimiter::processChunk(float* const* out, int offset, int count, uint32_t& noise)
{
    // Input gain, and a random +-1e-8 for samples below it, frame by frame
    // in channel order as the channels share the noise generator.
    const __m128 preGain = _mm_set1_ps(block.preGain);
    const __m128 noiseFloor = _mm_set1_ps(noiseLevel);
    bool quietSamples = false;
    for (int g = 0; g < groupCount; ++g)
    {
        ChannelGroup& lanes = group[g];
        // Two frames per register; a channel alone stands in lanes 1 and 3
        // too, where nothing reads it.
        int i = 0;
        const float* left = out[lanes.first] + offset;
        const float* right = lanes.count == 2 ? out[lanes.first + 1] + offset : left;
        __m128 quietPairs = _mm_setzero_ps();
        for (; i + 4 <= count; i += 4)
        {
            const __m128 l = _mm_loadu_ps(left + i);
            const __m128 r = _mm_loadu_ps(right + i);
            for (const int pair : {0, 2})
            {
                const __m128 frames = pair == 0 ? _mm_unpacklo_ps(l, r) : _mm_unpackhi_ps(l, r);
                const __m128 x = _mm_mul_ps(frames, preGain);
                ChannelLanes::storePair(lanes.input[i + pair], lanes.input[i + pair + 1], x);
                quietPairs = _mm_or_ps(quietPairs, _mm_cmplt_ps(ChannelLanes::magnitude(x), noiseFloor));
            }
        }
        quietSamples = quietSamples || _mm_movemask_ps(quietPairs) != 0;
        // The frames left over one at a time.
        for (int k = 0; k < lanes.count; ++k)
        {
            const float* source = out[lanes.first + k] + offset;
            for (int j = i; j < count; ++j)
                lanes.input[j][k] = source[j];
        }
        __m128 quiet = _mm_setzero_ps();
        for (; i < count; ++i)
        {
            const __m128 x = _mm_mul_ps(_mm_load_ps(lanes.input[i]), preGain);
            _mm_store_ps(lanes.input[i], x);
            quiet = _mm_or_ps(quiet, _mm_cmplt_ps(ChannelLanes::magnitude(x), noiseFloor));
        }
        quietSamples = quietSamples || (_mm_movemask_ps(quiet) & ((1 << lanes.count) - 1)) != 0;
    }
    if (quietSamples)
    {
        for (int i = 0; i < count; ++i)
        {
            for (int g = 0; g < groupCount; ++g)
            {
                ChannelGroup& lanes = group[g];
                for (int k = 0; k < lanes.count; ++k)
                {
                    if (std::fabs(lanes.input[i][k]) < noiseLevel)
                    {
                        noise = noise * 214013u + 2531011u;
                        lanes.input[i][k] = signedNoise(noise);
                    }
                }
            }
        }
    }

    for (int g = 0; g < groupCount; ++g)
        detectPeaks(group[g], count);

    // The quantizers share the dither generator: draw frame by frame in
    // channel order, as processing sample by sample would.
    int quantizing = 0;
    for (int ch = 0; ch < channels; ++ch)
    {
        if (channel[ch].quantizer.isActive())
            quantizingChannel[size_t(quantizing++)] = ch;
    }
    if (quantizing > 0)
    {
        const float* draws = ditherDraws.data();
        CQuantizer::drawDither(ditherDraws.data(), count * quantizing);
        for (int q = 0; q < quantizing; ++q)
        {
            const int ch = quantizingChannel[size_t(q)];
            ChannelGroup::LaneFrame* dither = group[ch / ChannelGroup::lanes].dither;
            const int lane = ch % ChannelGroup::lanes;
            for (int i = 0; i < count; ++i)
                dither[i][lane] = draws[i * quantizing + q];
        }
    }

    for (int g = 0; g < groupCount; ++g)
        applyGain(group[g], out, offset, count);
    writeIndex = (writeIndex + count) & delayMask;
}

void CLimiter::detectPeaks(ChannelGroup& lanes, int count)
{
    const BlockSettings& s = block;
    // The detector's own delay is made up by reading further ahead.
    const int lead = s.truePeak ? channel[lanes.first].truePeakDetector.getLatency() : 0;
    const int detectionOffset = s.lookahead + lead + 1;
    const __m128 detectionGain = _mm_set1_ps(s.detectionGain);
    const __m128 ceiling = _mm_set1_ps(s.ceiling);

    // The detection reads the delay line 512 - detectionOffset samples
    // behind its input, so of this chunk's input it reads only what its
    // first count + detectionOffset - 512 samples write (and none of them
    // overwrites a position read by an earlier sample of the chunk). The
    // input filter runs here for those, with their output taps read before
    // the chunk overwrites them, and for the rest with the gain (see
    // applyGain).
    lanes.filteredFirst = std::max(0, std::min(count, count + detectionOffset - delayLength));
    C1LPF::Lanes inputFilter(lanes.inputFilter, lanes.count);
    for (int i = 0, w = writeIndex; i < lanes.filteredFirst; ++i, w = (w + 1) & delayMask)
    {
        _mm_store_ps(lanes.delayed[i], _mm_load_ps(lanes.delay[(w + 1) & delayMask]));
        _mm_store_ps(lanes.delay[w], inputFilter.highpass(_mm_load_ps(lanes.input[i])));
    }
    inputFilter.finish();

    // Detection; the values go to `held`, where the sliding maximum
    // replaces them.
    CISPDetector::Lanes detector(lanes.truePeakDetector, lanes.count);
    // Two samples per register.
    const int firstRead = writeIndex + detectionOffset;
    const int pairs = count / 2;
    const auto ahead = [&](int p) {
        const int r = (firstRead + 2 * p) & delayMask;
        return _mm_mul_ps(ChannelLanes::loadPair(lanes.delay[r], lanes.delay[(r + 1) & delayMask]), detectionGain);
    };
    const auto take = [&](int p, __m128 d) {
        ChannelLanes::storePair(lanes.held[2 * p], lanes.held[2 * p + 1], _mm_max_ps(ceiling, d));
    };
    if (s.truePeak)
        detector.processPairs(pairs, ahead, take);
    else
        for (int p = 0; p < pairs; ++p)
            take(p, ChannelLanes::magnitude(ahead(p)));
    int i = 2 * pairs;
    for (int w = (writeIndex + i) & delayMask; i < count; ++i, w = (w + 1) & delayMask)
    {
        const __m128 ahead = _mm_mul_ps(_mm_load_ps(lanes.delay[(w + detectionOffset) & delayMask]), detectionGain);
        __m128 d;
        if (s.truePeak)
        {
            detector.process(ahead);
            d = detector.readPeak();
        }
        else
        {
            d = ChannelLanes::magnitude(ahead);
        }
        // max(d, ceiling), keeping d when it is NaN as std::max does.
        _mm_store_ps(lanes.held[i], _mm_max_ps(ceiling, d));
    }
    if (s.truePeak)
        detector.finish();

    // With one pair the hold rule, the envelope and the link come with the
    // gain, in the same loop, where their arithmetic overlaps with the
    // smoothing's.
    if (groupCount == 1)
    {
        lanes.peakHold.findRescans(lanes.held, count, writeIndex, s.lookahead, lead, s.ceiling);
        return;
    }
    lanes.peakHold.process(lanes.held, lanes.held, count, writeIndex, s.lookahead, lead, s.ceiling);

    // Attack/release envelope, and the largest held maximum and envelope
    // over the channels, taken in channel order and carried on from the
    // groups before this one.
    const __m128 attack = _mm_set1_ps(s.attackCoef);
    const __m128 release = _mm_set1_ps(s.releaseCoef);
    __m128 envelope = ChannelLanes::gather(lanes.channel, lanes.count, [](Channel* c) -> float& { return c->envelope; });
    const bool firstGroup = lanes.first == 0;
    for (int i = 0; i < count; ++i)
    {
        const __m128 e = _mm_load_ps(lanes.held[i]);
        envelope = follow(envelope, e, attack, release);
        _mm_store_ps(lanes.envelope[i], envelope);

        __m128 linkedMax = firstGroup ? e : _mm_load_ss(&linkedHold[size_t(i)]);
        __m128 linkedEnv = firstGroup ? envelope : _mm_load_ss(&linkedEnvelope[size_t(i)]);
        linkedMax = foldLanes(linkedMax, e, firstGroup ? 1 : 0, lanes.count);
        linkedEnv = foldLanes(linkedEnv, envelope, firstGroup ? 1 : 0, lanes.count);
        _mm_store_ss(&linkedHold[size_t(i)], linkedMax);
        _mm_store_ss(&linkedEnvelope[size_t(i)], linkedEnv);
    }
    ChannelLanes::scatter(lanes.channel, lanes.count, [](Channel* c) -> float& { return c->envelope; }, envelope);
}

void CLimiter::applyGain(ChannelGroup& lanes, float* const* out, int offset, int count)
{
    bool quantizing = false;
    for (int k = 0; k < lanes.count; ++k)
        quantizing = quantizing || lanes.quantizer[k]->isActive();
    // The per-sample loop is compiled once per combination of what is fixed
    // for the block, so that no test of these stays inside it: the channels
    // of the pair when it is the only one (0 when there are more pairs), the
    // half of the link range, the quantizer.
    const int channelsAlone = groupCount == 1 ? lanes.count : 0;
    const bool lowerHalf = block.link <= 0.5f;
    using Pass = void (CLimiter::*)(ChannelGroup&, int);
    static constexpr Pass passes[ChannelGroup::lanes + 1][2][2] = {
        {{&CLimiter::smoothAndApplyGain<0, false, false>, &CLimiter::smoothAndApplyGain<0, false, true>},
         {&CLimiter::smoothAndApplyGain<0, true, false>, &CLimiter::smoothAndApplyGain<0, true, true>}},
        {{&CLimiter::smoothAndApplyGain<1, false, false>, &CLimiter::smoothAndApplyGain<1, false, true>},
         {&CLimiter::smoothAndApplyGain<1, true, false>, &CLimiter::smoothAndApplyGain<1, true, true>}},
        {{&CLimiter::smoothAndApplyGain<2, false, false>, &CLimiter::smoothAndApplyGain<2, false, true>},
         {&CLimiter::smoothAndApplyGain<2, true, false>, &CLimiter::smoothAndApplyGain<2, true, true>}}};
    (this->*passes[channelsAlone][lowerHalf][quantizing])(lanes, count);

    CVu::Lanes gainMeter(lanes.gainMeter, lanes.count);
    CVu::Lanes peakMeter(lanes.peakMeter, lanes.count);
    CVu::Lanes rmsMeter(lanes.rmsMeter, lanes.count);
    gainMeter.addBlock(lanes.gain, count);
    peakMeter.addBlock(lanes.output, count);
    rmsMeter.addBlock(lanes.meanSquare, count);
    gainMeter.finish();
    peakMeter.finish();
    rmsMeter.finish();

    int i = 0;
    if (lanes.count == 2)
    {
        // A pair of channels, four frames into two registers of samples.
        float* left = out[lanes.first] + offset;
        float* right = out[lanes.first + 1] + offset;
        for (; i + 4 <= count; i += 4)
        {
            const __m128 first = _mm_unpacklo_ps(_mm_load_ps(lanes.output[i]), _mm_load_ps(lanes.output[i + 1]));
            const __m128 second = _mm_unpacklo_ps(_mm_load_ps(lanes.output[i + 2]), _mm_load_ps(lanes.output[i + 3]));
            _mm_storeu_ps(left + i, _mm_movelh_ps(first, second));
            _mm_storeu_ps(right + i, _mm_movehl_ps(second, first));
        }
    }
    for (int k = 0; k < lanes.count; ++k)
    {
        float* destination = out[lanes.first + k] + offset;
        for (int j = i; j < count; ++j)
            destination[j] = lanes.output[j][k];
    }
}

template <int channelsAlone, bool lowerHalf, bool quantizing>
void CLimiter::smoothAndApplyGain(ChannelGroup& lanes, int count)
{
    constexpr bool alone = channelsAlone > 0;
    const BlockSettings& s = block;
    const __m128 ceil = _mm_set1_ps(s.ceiling);
    const __m128 clip = _mm_set1_ps(s.clipLevel);
    const __m128 minusClip = _mm_set1_ps(-s.clipLevel);
    const __m128 smooth = _mm_set1_ps(s.smoothCoef);
    const __m128 unity = _mm_set1_ps(1.0f);
    // The two halves of the link range mix different quantities: up to 0.5
    // the other channels' envelope, above it their raw hold.
    const __m128 linkFactor = _mm_set1_ps(lowerHalf ? 2.0f * s.link : 2.0f * (s.link - 0.5f));
    const __m128 attack = _mm_set1_ps(s.attackCoef);
    const __m128 release = _mm_set1_ps(s.releaseCoef);
    __m128 envelopeNow = alone ? ChannelLanes::gather(lanes.channel, lanes.count, [](Channel* c) -> float& { return c->envelope; })
                               : _mm_setzero_ps();

    __m128 smoother[4];
    for (int k = 0; k < 4; ++k)
        smoother[k] = ChannelLanes::gather(lanes.channel, lanes.count, [k](Channel* c) -> float& { return c->smoother[k]; });
    // The four sections two to a register: sections 0 and 1, and 2 and 3.
    __m128 sections01 = _mm_movelh_ps(smoother[0], smoother[1]);
    __m128 sections23 = _mm_movelh_ps(smoother[2], smoother[3]);
    C1LPF::Lanes rmsSmoother(lanes.rmsSmoother, lanes.count);
    C1LPF::Lanes inputFilter(lanes.inputFilter, lanes.count);
    CQuantizer::Lanes quantizer(lanes.quantizer, lanes.count);
    // With one pair, `held` still holds the detection values.
    CSlidingMaximum::Hold peakHold(lanes.peakHold, lanes.held, s.lookahead);

    // The work of a sample is a deep chain: the hold, the envelope, the link,
    // four smoothing sections, the gain, the RMS smoother. Done a sample at
    // a time, each sample would wait for the one before it; so the chain
    // runs as a pipeline, each stage on an earlier sample than the stage
    // before it: in step n the hold takes sample n, the envelope and the
    // link sample n - 1, section k sample n - 2 - k, and the gain sample
    // n - gainLag. A step's stages then depend only on the step before, and
    // run side by side.
    //
    // Section 3's output goes to `gain` until the gain replaces it. With the
    // hold run the input filter and the delay line for the samples from
    // lanes.filteredFirst on (their output taps are read before the next
    // sample overwrites them). The quantizer, when active, comes between the
    // gain and the clip.
    constexpr int gainLag = 8;
    // The delay line's write position of sample n, moving with the steps.
    int ringWrite = writeIndex;
    const auto section = [smooth](__m128 state, __m128 input) {
        return _mm_add_ps(input, _mm_mul_ps(_mm_sub_ps(state, input), smooth));
    };
    // The updated lower and upper halves where their stage has a sample,
    // the old ones elsewhere.
    const auto keep = [](__m128 old, __m128 updated, auto lower, auto upper) {
        if constexpr (std::is_same_v<decltype(lower), std::true_type> && std::is_same_v<decltype(upper), std::true_type>)
            return updated;
        else
            return ChannelLanes::select(_mm_castsi128_ps(_mm_set_epi32(-int(bool(upper)), -int(bool(upper)),
                                            -int(bool(lower)), -int(bool(lower)))),
                updated, old);
    };
    // What the hold and the link handed on in the step before.
    __m128 heldBefore = _mm_setzero_ps();
    __m128 linkOutput = _mm_setzero_ps();
    // Each flag is true_type/false_type where the range fixes it, else bool.
    const auto step = [&](int n, auto holdStage, auto filtering, auto envelopeStage, auto section0, auto section1,
                          auto section2, auto section3, auto gaining) {
        if (gaining)
        {
            const int i = n - gainLag;
            const __m128 s3 = _mm_load_ps(lanes.gain[i]);
            // ceiling / s3 where s3 lies above the ceiling, else 1: the
            // quotient is below 1 exactly there (at or below the ceiling it
            // is at least 1, infinite or NaN, and a NaN never wins).
            const __m128 g = _mm_min_ps(_mm_div_ps(ceil, s3), unity);
            _mm_store_ps(lanes.gain[i], g);
            __m128 y = _mm_mul_ps(g, _mm_load_ps(lanes.delayed[i]));
            if constexpr (quantizing)
                y = quantizer.quantize(y, _mm_load_ps(lanes.dither[i]));
            // min(max(y, -clip), clip) with std::min's and std::max's order.
            y = _mm_min_ps(clip, _mm_max_ps(minusClip, y));
            _mm_store_ps(lanes.meanSquare[i], rmsSmoother.lowpass(_mm_mul_ps(y, y)));
            _mm_store_ps(lanes.output[i], y);
        }
        // Sections 2 and 3 take sections 1 and 2 as they were.
        if (section2 || section3)
        {
            const __m128 input = _mm_shuffle_ps(sections01, sections23, _MM_SHUFFLE(1, 0, 3, 2));
            sections23 = keep(sections23, section(sections23, input), section2, section3);
            if (section3)
                _mm_storeh_pi(reinterpret_cast<__m64*>(lanes.gain[n - 5]), sections23);
        }
        // Section 0 takes the link's output of the step before, section 1
        // section 0 as it was.
        if (section0 || section1)
            sections01 = keep(sections01, section(sections01, _mm_movelh_ps(linkOutput, sections01)), section0, section1);
        if (envelopeStage)
        {
            const int i = n - 1;
            const __m128 held = heldBefore;
            __m128 envelope;
            __m128 linkedMax;
            __m128 linkedEnv;
            if constexpr (alone)
            {
                envelopeNow = follow(envelopeNow, held, attack, release);
                envelope = envelopeNow;
                if constexpr (!lowerHalf)
                    linkedMax = broadcastLane0(foldLanes(held, held, 1, channelsAlone));
                linkedEnv = broadcastLane0(foldLanes(envelope, envelope, 1, channelsAlone));
            }
            else
            {
                envelope = _mm_load_ps(lanes.envelope[i]);
                if constexpr (!lowerHalf)
                    linkedMax = _mm_set1_ps(linkedHold[size_t(i)]);
                linkedEnv = _mm_set1_ps(linkedEnvelope[size_t(i)]);
            }
            // max(max(a, linked), b) with std::max's order: a later value
            // wins only when it is larger.
            if constexpr (lowerHalf)
                linkOutput = _mm_max_ps(held, _mm_max_ps(_mm_mul_ps(linkFactor, linkedEnv), envelope));
            else
                linkOutput = _mm_max_ps(linkedEnv, _mm_max_ps(_mm_mul_ps(linkFactor, linkedMax), held));
        }
        if (holdStage)
        {
            const int i = n;
            heldBefore = alone ? peakHold.next(i) : _mm_load_ps(lanes.held[i]);
            if (filtering)
            {
                const int tap = (ringWrite + 1) & delayMask;
                _mm_store_ps(lanes.delayed[i], _mm_load_ps(lanes.delay[tap]));
                _mm_store_ps(lanes.delay[ringWrite], inputFilter.highpass(_mm_load_ps(lanes.input[i])));
            }
        }
        ringWrite = (ringWrite + 1) & delayMask;
    };
    const auto within = [count](int sample) { return sample >= 0 && sample < count; };
    const auto anyStep = [&](int n) {
        step(n, within(n), within(n) && n >= lanes.filteredFirst, within(n - 1), within(n - 2), within(n - 3),
             within(n - 4), within(n - 5), within(n - gainLag));
    };
    // Every stage runs in the steps from steadyFrom to count; the steps
    // around them check which stages have a sample.
    const int steadyFrom = std::min(std::max(lanes.filteredFirst, gainLag), count);
    for (int n = 0; n < steadyFrom; ++n)
        anyStep(n);
    const std::true_type all;
    for (int n = steadyFrom; n < count; ++n)
        step(n, all, all, all, all, all, all, all, all);
    for (int n = count; n < count + gainLag; ++n)
        anyStep(n);

    quantizer.finish();
    rmsSmoother.finish();
    inputFilter.finish();
    if (alone)
    {
        peakHold.finish(count);
        ChannelLanes::scatter(lanes.channel, lanes.count, [](Channel* c) -> float& { return c->envelope; }, envelopeNow);
    }
    smoother[0] = sections01;
    smoother[1] = _mm_movehl_ps(sections01, sections01);
    smoother[2] = sections23;
    smoother[3] = _mm_movehl_ps(sections23, sections23);
    for (int k = 0; k < 4; ++k)
        ChannelLanes::scatter(lanes.channel, lanes.count, [k](Channel* c) -> float& { return c->smoother[k]; }, smoother[k]);
}

void CLimiter::processFrame()
{
    const float gain = block.inputGain;
    const float clip = block.clipLevel;
    const float amount = block.saturation;
    for (int ch = 0; ch < channels; ++ch)
    {
        Channel& c = channel[ch];
        float* input = inFrame[size_t(ch)].data();
        float* output = outFrame[size_t(ch)].data();
        float* spectrum = inSpectrum[size_t(ch)].data();
        float* power = c.inputBandPower.data();
        const float unity = 1.0f;

        if (amount <= 0.0f)
        {
            copyFrame(input, output);
            c.saturationMeter.process(&unity, 1);
            continue;
        }

        const float p = gain * framePeak(input, frameLength);
        if (p <= clip)
        {
            copyFrame(input, output);
            transform(input, spectrum, false);
            bandPower(spectrum, spectrum, power, powerCoef);
            c.saturationMeter.process(&unity, 1);
            continue;
        }

        // The frame would clip: add the soft clipper's distortion where the
        // signal itself masks it. The residual stays at the scale of k*x.
        transform(input, spectrum, false);
        const __m128 k = _mm_set1_ps(2.0f * gain / p);
        for (int j = 0; j < frameLength; j += 4)
            _mm_storeu_ps(residualFrame.data() + j, softClipResidual(_mm_mul_ps(k, _mm_loadu_ps(input + j))));
        float* residual = residualSpectrum.data();
        transform(residualFrame.data(), residual, false);
        bandPower(spectrum, spectrum, power, powerCoef);
        bandPower(residual, residual, residualBandPower.data(), 0.0f);
        maskingThreshold(power, maskThreshold.data(), true, true);

        float* modified = outSpectrum[size_t(ch)].data();
        float inSum = 0.0f;
        float resSum = 0.0f;
        int bin = 0;
        for (int b = 0; b < bandCount; ++b)
        {
            const float resPower = residualBandPower[size_t(b)];
            float wb = amount * 4.0f * std::sqrt(maskThreshold[size_t(b)] / (resPower + 0.01f));
            wb = std::min(wb, p - clip);
            wb = std::max(wb, 0.0f);
            wb = std::min(wb, 1.0f);
            for (int end = bin + binsPerBand[size_t(b)]; bin < end; ++bin)
            {
                modified[2 * bin] = spectrum[2 * bin] + wb * residual[2 * bin];
                modified[2 * bin + 1] = spectrum[2 * bin + 1] + wb * residual[2 * bin + 1];
            }
            inSum += power[b];
            resSum += wb * wb * resPower;
        }
        transform(output, modified, true);

        const float inLevel = std::sqrt(inSum);
        const float saturationGain = std::max((inLevel - std::sqrt(resSum)) / (inLevel + 1e-8f), 0.5f);
        c.saturationMeter.process(&saturationGain, 1);
    }
}

void CLimiter::setInputGain(float dB)
{
    inputGain.store(dBToGain(dB), relaxed);
}

void CLimiter::setAttack(float seconds)
{
    const float t = std::max(seconds, minTime);
    if (t == attackTime.load(relaxed))
        return;
    attackTime.store(t, relaxed);
    attackCoef.store(timeToCoef(t, fs), relaxed);
}

void CLimiter::setRelease(float seconds)
{
    const float t = std::max(seconds, minTime);
    if (t == releaseTime.load(relaxed))
        return;
    releaseTime.store(t, relaxed);
    releaseCoef.store(timeToCoef(t, fs), relaxed);
}

void CLimiter::setLookahead(float seconds)
{
    if (seconds == lookaheadTime.load(relaxed))
        return;
    lookaheadTime.store(seconds, relaxed);
    updateLookahead(seconds);
}

void CLimiter::setTruePeak(bool on)
{
    truePeak.store(on, relaxed);
}

void CLimiter::setMonitor(bool on)
{
    monitor.store(on, relaxed);
}

void CLimiter::setCeiling(float dB)
{
    const float c = dBToGain(dB);
    if (c == ceiling.load(relaxed))
        return;
    ceiling.store(c, relaxed);
    updateCoefficients();
    updatePending.store(true, relaxed);
}

void CLimiter::setLink(float amount)
{
    link.store(amount, relaxed);
}

void CLimiter::setAES17(bool on)
{
    aes17.store(on, relaxed);
}

void CLimiter::setSaturation(float amount)
{
    saturation.store(amount, relaxed);
}

void CLimiter::setNumBits(int8_t bits)
{
    if (bits == numBits.load(relaxed))
        return;
    numBits.store(bits, relaxed);
    updateCoefficients();
    updatePending.store(true, relaxed);
}

void CLimiter::setShaping(float amount)
{
    shaping.store(amount, relaxed);
}

float CLimiter::getRmsLevel(int ch)
{
    if (ch < 0 || ch >= channels)
        return 0.0f;
    const float meanSquare = channel[ch].rmsMeter.getValue();
    // AES17: a full-scale sine reads 0 dB, i.e. +3.01 dB on the mean square.
    return aes17.load(relaxed) ? meanSquare * 2.0f : meanSquare;
}

float CLimiter::getOutputPeak(int ch)
{
    if (ch < 0 || ch >= channels)
        return 0.0f;
    return channel[ch].peakMeter.getValue();
}

float CLimiter::getGainReduction(int ch)
{
    if (ch < 0 || ch >= channels)
        return 1.0f;
    return channel[ch].gainMeter.getValue();
}

float CLimiter::getSaturationGain(int ch)
{
    if (ch < 0 || ch >= channels)
        return 1.0f;
    return channel[ch].saturationMeter.getValue();
}

int CLimiter::getLatency() const
{
    return delayMask + frameLength;
}
