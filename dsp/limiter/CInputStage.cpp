#include "limiter/CInputStage.h"

#include "blocks/ChannelLanes.h"
#include "blocks/RandomGenerator.h"
#include "limiter/CInputStageLanes.h"

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace LimiterLanes;

namespace
{
constexpr float noiseLevel = 1e-8f;

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
}

CInputStage::CInputStage(int channels) : filter(channels), delay(size_t(pairCount(channels)))
{
}

void CInputStage::update(float sampleRate)
{
    filter.forEach([sampleRate](C1HPF& f) { f.setNormFreq(1.0f / sampleRate); });
}

void CInputStage::clear()
{
    filter.forEach([](C1HPF& f) { f.clear(); });
    std::fill(delay.begin(), delay.end(), DelayLine());
}

void CInputStage::process(float* const* out, int offset, int count, float gain, Chunk* chunks)
{
    const __m128 preGain = _mm_set1_ps(gain);
    const __m128 noiseFloor = _mm_set1_ps(noiseLevel);
    const int pairs = int(delay.size());
    bool quietSamples = false;
    for (int g = 0; g < pairs; ++g)
    {
        Chunk& lanes = chunks[g];
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
    if (!quietSamples)
        return;
    uint32_t noise = noiseSeed.load(std::memory_order_relaxed);
    for (int i = 0; i < count; ++i)
    {
        for (int g = 0; g < pairs; ++g)
        {
            Chunk& lanes = chunks[g];
            for (int k = 0; k < lanes.count; ++k)
            {
                if (std::fabs(lanes.input[i][k]) < noiseLevel)
                {
                    noise = RandomGenerator::next(noise);
                    lanes.input[i][k] = signedNoise(noise);
                }
            }
        }
    }
    noiseSeed.store(noise, std::memory_order_relaxed);
}

void CInputStage::filterAhead(Chunk& chunk, int count, int writeIndex, int detectionOffset)
{
    // The detection reads the delay line 512 - detectionOffset samples
    // behind its input, so of this chunk's input it reads only what its
    // first count + detectionOffset - 512 samples write (and none of them
    // overwrites a position read by an earlier sample of the chunk).
    chunk.filteredFirst = std::max(0, std::min(count, count + detectionOffset - delayLength));
    Lanes lanes(*this, chunk);
    for (int i = 0, w = writeIndex; i < chunk.filteredFirst; ++i, w = (w + 1) & delayMask)
        lanes.process(chunk, i, w);
    lanes.finish();
}
