#include "limiter/CGainSmoother.h"

#include "blocks/ChannelLanes.h"
#include "limiter/CInputStageLanes.h"
#include "limiter/CLimiterMetersLanes.h"
#include "limiter/COutputStageLanes.h"
#include "limiter/CSlidingMaximumHold.h"

#include <type_traits>

using namespace LimiterLanes;

namespace
{
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

template <typename F>
void withFlag(bool flag, F f)
{
    if (flag)
        f(std::true_type());
    else
        f(std::false_type());
}

// Which stages of a pipeline step have a sample: all of them in the steady
// part of the chunk, known at compile time; some at its two ends.
struct AllStages
{
    static constexpr bool every = true;
    static constexpr bool hold = true, filter = true, envelope = true, gain = true;
    static constexpr bool section[4] = {true, true, true, true};
};

struct SomeStages
{
    static constexpr bool every = false;
    bool hold, filter, envelope, gain;
    bool section[4];
};

}

CGainSmoother::CGainSmoother(int channels)
    : pairs(pairCount(channels)), state(channels), linkedHold(size_t(chunkLength), 0.0f),
      linkedEnvelope(size_t(chunkLength), 0.0f)
{
}

void CGainSmoother::clear()
{
    state.forEach([](ChannelState& s) { s = ChannelState(); });
}

void CGainSmoother::followEnvelopes(Chunk& lanes, int count, const BlockSettings& s)
{
    const __m128 attack = _mm_set1_ps(s.attackCoef);
    const __m128 release = _mm_set1_ps(s.releaseCoef);
    const auto envelopeOf = [](ChannelState* c) -> float& { return c->envelope; };
    ChannelState* const* channel = state.pair(lanes.first / pairWidth);
    __m128 envelope = ChannelLanes::gather(channel, lanes.count, envelopeOf);
    const bool firstPair = lanes.first == 0;
    for (int i = 0; i < count; ++i)
    {
        const __m128 e = _mm_load_ps(lanes.held[i]);
        envelope = follow(envelope, e, attack, release);
        _mm_store_ps(lanes.envelope[i], envelope);

        __m128 linkedMax = firstPair ? e : _mm_load_ss(&linkedHold[size_t(i)]);
        __m128 linkedEnv = firstPair ? envelope : _mm_load_ss(&linkedEnvelope[size_t(i)]);
        linkedMax = foldLanes(linkedMax, e, firstPair ? 1 : 0, lanes.count);
        linkedEnv = foldLanes(linkedEnv, envelope, firstPair ? 1 : 0, lanes.count);
        _mm_store_ss(&linkedHold[size_t(i)], linkedMax);
        _mm_store_ss(&linkedEnvelope[size_t(i)], linkedEnv);
    }
    ChannelLanes::scatter(channel, lanes.count, envelopeOf, envelope);
}

void CGainSmoother::process(Chunk& chunk, int count, int writeIndex, const BlockSettings& s, Neighbours stages)
{
    // The per-sample loop is compiled once per combination of what is fixed
    // for the block, so that no test of these stays inside it: the channels
    // of the pair when it is the only one (0 when there are more pairs), the
    // half of the link range, the quantizer.
    const int channelsAlone = pairs == 1 ? chunk.count : 0;
    withFlag(s.link <= 0.5f, [&](auto lowerHalf) {
        withFlag(stages.output.quantizing(chunk), [&](auto quantizing) {
            constexpr bool lower = decltype(lowerHalf)::value;
            constexpr bool quantize = decltype(quantizing)::value;
            if (channelsAlone == 1)
                pipeline<1, lower, quantize>(chunk, count, writeIndex, s, stages);
            else if (channelsAlone == 2)
                pipeline<2, lower, quantize>(chunk, count, writeIndex, s, stages);
            else
                pipeline<0, lower, quantize>(chunk, count, writeIndex, s, stages);
        });
    });
}

template <int channelsAlone, bool lowerHalf, bool quantizing>
void CGainSmoother::pipeline(Chunk& lanes, int count, int writeIndex, const BlockSettings& s, Neighbours stages)
{
    constexpr bool alone = channelsAlone > 0;
    const __m128 ceil = _mm_set1_ps(s.ceiling);
    const __m128 smooth = _mm_set1_ps(s.smoothCoef);
    const __m128 unity = _mm_set1_ps(1.0f);
    // The two halves of the link range mix different quantities: up to 0.5
    // the other channels' envelope, above it their raw hold.
    const __m128 linkFactor = _mm_set1_ps(lowerHalf ? 2.0f * s.link : 2.0f * (s.link - 0.5f));
    const __m128 attack = _mm_set1_ps(s.attackCoef);
    const __m128 release = _mm_set1_ps(s.releaseCoef);
    ChannelState* const* channel = state.pair(lanes.first / pairWidth);
    const auto envelopeOf = [](ChannelState* c) -> float& { return c->envelope; };
    __m128 envelopeNow = alone ? ChannelLanes::gather(channel, lanes.count, envelopeOf) : _mm_setzero_ps();

    __m128 smoother[4];
    for (int k = 0; k < 4; ++k)
        smoother[k] = ChannelLanes::gather(channel, lanes.count, [k](ChannelState* c) -> float& { return c->smoother[k]; });
    // The four sections two to a register: sections 0 and 1, and 2 and 3.
    __m128 sections01 = _mm_movelh_ps(smoother[0], smoother[1]);
    __m128 sections23 = _mm_movelh_ps(smoother[2], smoother[3]);
    CLimiterMeters::Lanes meters(stages.meters, lanes);
    CInputStage::Lanes input(stages.input, lanes);
    COutputStage::Lanes output(stages.output, lanes, s.clipLevel);
    CSlidingMaximum::Hold peakHold(stages.hold, lanes.held, s.lookahead);

    // Each stage works on an earlier sample than the stage before it: in
    // step n the hold takes sample n, the envelope and the link sample
    // n - 1, section k sample n - 2 - k, and the gain sample n - gainLag. A
    // step's stages then depend only on the step before, and run side by
    // side. Section 3's output goes to `gain` until the gain replaces it.
    constexpr int gainLag = 8;
    // The delay line's write position of sample n, moving with the steps.
    int ringWrite = writeIndex;
    const auto section = [smooth](__m128 state, __m128 input) {
        return _mm_add_ps(input, _mm_mul_ps(_mm_sub_ps(state, input), smooth));
    };
    // What the hold and the link handed on in the step before.
    __m128 heldBefore = _mm_setzero_ps();
    __m128 linkOutput = _mm_setzero_ps();
    const auto step = [&](int n, const auto& on) {
        // The updated lower and upper halves where their section has a
        // sample, the old ones elsewhere.
        const auto keep = [&on](__m128 old, __m128 updated, int lower) {
            if constexpr (std::decay_t<decltype(on)>::every)
                return updated;
            else
                return ChannelLanes::select(_mm_castsi128_ps(_mm_set_epi32(-int(on.section[lower + 1]),
                                                -int(on.section[lower + 1]), -int(on.section[lower]), -int(on.section[lower]))),
                    updated, old);
        };
        if (on.gain)
        {
            const int i = n - gainLag;
            const __m128 s3 = _mm_load_ps(lanes.gain[i]);
            // ceiling / s3 where s3 lies above the ceiling, else 1: the
            // quotient is below 1 exactly there (at or below the ceiling it
            // is at least 1, infinite or NaN, and a NaN never wins).
            const __m128 g = _mm_min_ps(_mm_div_ps(ceil, s3), unity);
            _mm_store_ps(lanes.gain[i], g);
            const __m128 y = output.process<quantizing>(_mm_mul_ps(g, _mm_load_ps(lanes.delayed[i])), _mm_load_ps(lanes.dither[i]));
            _mm_store_ps(lanes.meanSquare[i], meters.meanSquare(y));
            _mm_store_ps(lanes.output[i], y);
        }
        // Sections 2 and 3 take sections 1 and 2 as they were.
        if (on.section[2] || on.section[3])
        {
            const __m128 input = _mm_shuffle_ps(sections01, sections23, _MM_SHUFFLE(1, 0, 3, 2));
            sections23 = keep(sections23, section(sections23, input), 2);
            if (on.section[3])
                _mm_storeh_pi(reinterpret_cast<__m64*>(lanes.gain[n - 5]), sections23);
        }
        // Section 0 takes the link's output of the step before, section 1
        // section 0 as it was.
        if (on.section[0] || on.section[1])
            sections01 = keep(sections01, section(sections01, _mm_movelh_ps(linkOutput, sections01)), 0);
        if (on.envelope)
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
        if (on.hold)
        {
            heldBefore = alone ? peakHold.next(n) : _mm_load_ps(lanes.held[n]);
            if (on.filter)
                input.process(lanes, n, ringWrite);
        }
        ringWrite = (ringWrite + 1) & delayMask;
    };
    const auto within = [count](int sample) { return sample >= 0 && sample < count; };
    const auto someStep = [&](int n) {
        SomeStages on{};
        on.hold = within(n);
        on.filter = within(n) && n >= lanes.filteredFirst;
        on.envelope = within(n - 1);
        for (int k = 0; k < 4; ++k)
            on.section[k] = within(n - 2 - k);
        on.gain = within(n - gainLag);
        step(n, on);
    };
    // Every stage runs in the steps from steadyFrom to count; the steps
    // around them check which stages have a sample.
    const int steadyFrom = std::min(std::max(lanes.filteredFirst, gainLag), count);
    for (int n = 0; n < steadyFrom; ++n)
        someStep(n);
    for (int n = steadyFrom; n < count; ++n)
        step(n, AllStages());
    for (int n = count; n < count + gainLag; ++n)
        someStep(n);

    output.finish();
    meters.finish();
    input.finish();
    if (alone)
    {
        peakHold.finish(count);
        ChannelLanes::scatter(channel, lanes.count, envelopeOf, envelopeNow);
    }
    smoother[0] = sections01;
    smoother[1] = _mm_movehl_ps(sections01, sections01);
    smoother[2] = sections23;
    smoother[3] = _mm_movehl_ps(sections23, sections23);
    for (int k = 0; k < 4; ++k)
        ChannelLanes::scatter(channel, lanes.count, [k](ChannelState* c) -> float& { return c->smoother[k]; }, smoother[k]);
}
