#include "limiter/CLimiter.h"
#include "limiter/LimiterTestSupport.h"
#include "limiter/ReferenceLimiter.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

using namespace limiter_test;

// CLimiter against the plain loop of ReferenceLimiter: output bits, meter
// readings and the program-wide generator states, on random material,
// settings, automation, channel counts and block sizes. This owns block-size
// invariance and every bit-exactness property of the fast path.
namespace
{
// Loud material with the cases that stress each stage: sections of a loud
// mix, digital silence (the noise floor), lone clicks, and values the
// framework treats as garbage.
Buffer material(std::mt19937& random, int channels, int frames)
{
    Buffer in = makeBuffer(channels, frames);
    const Buffer mix = loudMix(44100.0f, frames, random());
    for (int ch = 0; ch < channels; ++ch)
    {
        const float scale = 0.2f + 1.5f * float(random() % 8) / 8.0f;
        for (int n = 0; n < frames; ++n)
            in[size_t(ch)][size_t(n)] = (n / 3000) % 5 == 3 ? 0.0f : scale * mix[size_t(ch % 2)][size_t(n)];
        for (int k = 0; k < 3; ++k)
            in[size_t(ch)][random() % size_t(frames)] = std::vector<float>{
                std::numeric_limits<float>::quiet_NaN(), 1e6f, 8.0f}[size_t(k)];
    }
    return in;
}

bool sameBits(float a, float b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

void compare(uint32_t seed)
{
    std::mt19937 random(seed);
    const int channels = 1 + int(seed % 5);
    const int frames = 24000;
    const bool inPlace = seed % 3 == 0;
    const Buffer in = material(random, channels, frames);
    CLimiter fast(channels);
    ReferenceLimiter plain(channels);
    for (int which = 0; which < settingCount; ++which)
    {
        const Change c = randomChange(random, which);
        c.applyTo(fast);
        c.applyTo(plain);
    }
    Buffer fastOut = in;
    Buffer plainOut = in;
    for (int pos = 0; pos < frames;)
    {
        // Single samples, odd sizes, whole chunks and more than a chunk.
        const int sizes[] = {1, 3, 64, 511, 512, 513, 1024, 1500};
        const int count = std::min(frames - pos, random() % 2 ? sizes[random() % 8] : 1 + int(random() % 1200));
        for (int k = int(random() % 3); k > 0; --k)
        {
            const Change c = randomChange(random, int(random() % settingCount));
            c.applyTo(fast);
            c.applyTo(plain);
        }
        const uint32_t dither = randState.load();
        const uint32_t noise = noiseSeed.load();
        const auto run = [&](auto& limiter, Buffer& out) {
            std::vector<const float*> inputs;
            std::vector<float*> outputs;
            for (int ch = 0; ch < channels; ++ch)
            {
                outputs.push_back(out[size_t(ch)].data() + pos);
                inputs.push_back(inPlace ? outputs.back() : in[size_t(ch)].data() + pos);
            }
            limiter.process(inputs.data(), outputs.data(), count);
        };
        run(fast, fastOut);
        const uint32_t fastDither = randState.exchange(dither);
        const uint32_t fastNoise = noiseSeed.exchange(noise);
        run(plain, plainOut);
        ASSERT_EQ(fastDither, randState.load()) << "seed " << seed << ", block at " << pos;
        ASSERT_EQ(fastNoise, noiseSeed.load()) << "seed " << seed << ", block at " << pos;
        for (int ch = 0; ch < channels; ++ch)
        {
            for (int n = pos; n < pos + count; ++n)
                ASSERT_TRUE(sameBits(fastOut[size_t(ch)][size_t(n)], plainOut[size_t(ch)][size_t(n)]))
                    << "seed " << seed << ", channel " << ch << ", sample " << n << ": " << fastOut[size_t(ch)][size_t(n)]
                    << " against " << plainOut[size_t(ch)][size_t(n)];
            // Reading a meter starts its release: both are read alike.
            if (random() % 2)
            {
                ASSERT_TRUE(sameBits(fast.getRmsLevel(ch), plain.getRmsLevel(ch))) << "seed " << seed << ", at " << pos;
                ASSERT_TRUE(sameBits(fast.getOutputPeak(ch), plain.getOutputPeak(ch))) << "seed " << seed << ", at " << pos;
                ASSERT_TRUE(sameBits(fast.getGainReduction(ch), plain.getGainReduction(ch))) << "seed " << seed << ", at " << pos;
                ASSERT_TRUE(sameBits(fast.getSaturationGain(ch), plain.getSaturationGain(ch))) << "seed " << seed << ", at " << pos;
            }
        }
        pos += count;
    }
}
}

TEST(CLimiterReferenceTest, EqualsThePlainLoopBitForBit)
{
    for (uint32_t seed = 1; seed <= 30; ++seed)
    {
        compare(seed);
        if (HasFatalFailure())
            return;
    }
}
