#include "blocks/CVu.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <random>

// The meters of several channels run side by side, a block at a time; a
// block's samples after the last releasing lane has held a new extreme are
// taken in any order, two per register when at most two lanes are in use.
// Each lane must read, bit for bit, what a meter fed the same samples one by
// one reads, and hold what it holds.
namespace
{
bool sameBits(float a, float b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

void compareWithSampleBySample(bool inverted, uint32_t seed, int lanes)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> level(-1.5f, 1.5f);
    CVu side[ChannelLanes::width];
    CVu alone[ChannelLanes::width];
    CVu* sidePointers[ChannelLanes::width];
    for (int k = 0; k < lanes; ++k)
    {
        for (CVu* meter : {&side[k], &alone[k]})
        {
            meter->setTime(0.01f, 44100.0f, 1);
            meter->setInverted(inverted);
            meter->setUpperLimit(1.0f);
        }
        sidePointers[k] = &side[k];
    }
    alignas(16) float block[64][ChannelLanes::width] = {};
    for (int round = 0; round < 300; ++round)
    {
        const int count = 1 + int(random() % 64);
        for (int i = 0; i < count; ++i)
            for (int k = 0; k < lanes; ++k)
            {
                // Mostly small values with rare large ones, zeros and NaN,
                // so that holds, releases and ties all happen.
                const uint32_t kind = random() % 50;
                block[i][k] = kind == 0   ? std::numeric_limits<float>::quiet_NaN()
                              : kind == 1 ? 0.0f
                              : kind < 5  ? level(random)
                                          : 0.05f * level(random);
            }
        CVu::Lanes run(sidePointers, lanes);
        run.addBlock(block, count);
        run.finish();
        for (int k = 0; k < lanes; ++k)
        {
            for (int i = 0; i < count; ++i)
                alone[k].process(&block[i][k], 1);
            ASSERT_TRUE(sameBits(side[k].peekValue(), alone[k].peekValue()))
                << (inverted ? "inverted" : "normal") << " seed " << seed << " round " << round << " lane " << k
                << ": " << side[k].peekValue() << " vs " << alone[k].peekValue();
            // Reading starts the release: read some lanes now and then, the
            // same on both sides, so that blocks start both held and
            // releasing.
            if (random() % 3 == 0)
            {
                EXPECT_TRUE(sameBits(side[k].getValue(), alone[k].getValue()));
            }
        }
    }
}
}

TEST(CVuLanesTest, BlocksReadAsSampleBySample)
{
    for (bool inverted : {false, true})
        for (int lanes : {4, 2, 1})
            for (uint32_t seed = 1; seed <= 20; ++seed)
                compareWithSampleBySample(inverted, seed, lanes);
}
