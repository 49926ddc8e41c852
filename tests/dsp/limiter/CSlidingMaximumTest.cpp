#include "limiter/CSlidingMaximum.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace
{
// The hold rule as the limiter states it, with the window rescanned every
// time the hold runs out: the reference the queue must match exactly.
class RescanningHold
{
public:
    float next(float detection, int writeIndex, int lookahead, int lead, float ceiling)
    {
        const int mask = CSlidingMaximum::mask;
        values[(writeIndex + lookahead + 1 + lead) & mask] = detection;
        if (detection >= holdMax)
        {
            holdMax = detection;
            holdCount = lookahead;
        }
        else if (--holdCount < 0)
        {
            holdMax = ceiling;
            holdCount = lookahead;
            for (int j = 0; j <= lookahead; ++j)
            {
                const float candidate = values[(writeIndex + j + 1) & mask];
                if (candidate >= holdMax)
                {
                    holdMax = candidate;
                    holdCount = j;
                }
            }
        }
        return holdMax;
    }

private:
    float values[CSlidingMaximum::length] = {};
    float holdMax = 0.0f;
    int holdCount = 0;
};

bool sameBits(float a, float b)
{
    uint32_t x, y;
    std::memcpy(&x, &a, sizeof x);
    std::memcpy(&y, &b, sizeof y);
    return x == y;
}

struct Run
{
    int lookahead;
    int lead;
    float ceiling;
};

// Feeds each of the pair's channels its own random detection values in
// blocks of random length, each against its own rescanning reference;
// between blocks the look-ahead, the lead and the ceiling may change, as the
// limiter's settings may. Returns the number of samples compared.
long compareOnRandomBlocks(uint32_t seed, int blocks, const std::vector<float>& palette, bool changeSettings)
{
    constexpr int lanes = CSlidingMaximum::channels;
    std::mt19937 random(seed);
    CSlidingMaximum queue;
    RescanningHold reference[lanes];
    int writeIndex = 0;
    Run run{44, 0, 1.0f};
    long compared = 0;
    alignas(16) static CSlidingMaximum::LaneFrame detection[CSlidingMaximum::maxBlock];
    alignas(16) static CSlidingMaximum::LaneFrame held[CSlidingMaximum::maxBlock];
    for (int block = 0; block < blocks; ++block)
    {
        if (changeSettings && random() % 4 == 0)
        {
            run.lookahead = 4 + int(random() % 504);
            run.lead = int(random() % 2);
            run.ceiling = palette[random() % palette.size()];
        }
        const int count = 1 + int(random() % CSlidingMaximum::maxBlock);
        for (int i = 0; i < count; ++i)
            for (int k = 0; k < lanes; ++k)
                detection[i][k] = palette[random() % palette.size()];
        // In place, as the limiter calls it.
        std::copy(&detection[0][0], &detection[0][0] + CSlidingMaximum::lanes * count, &held[0][0]);
        queue.process(held, held, count, writeIndex, run.lookahead, run.lead, run.ceiling);
        for (int i = 0; i < count; ++i)
        {
            for (int k = 0; k < lanes; ++k)
            {
                const float expected =
                    reference[k].next(detection[i][k], writeIndex, run.lookahead, run.lead, run.ceiling);
                if (!sameBits(held[i][k], expected))
                {
                    ADD_FAILURE() << "seed " << seed << ", block " << block << ", sample " << i << ", lane " << k
                                  << ": queue " << held[i][k] << ", rescan " << expected << " (look-ahead "
                                  << run.lookahead << ", lead " << run.lead << ", ceiling " << run.ceiling << ")";
                    return compared;
                }
            }
            writeIndex = (writeIndex + 1) & CSlidingMaximum::mask;
            ++compared;
        }
    }
    return compared;
}
}

TEST(CSlidingMaximumTest, MatchesTheRescanOnRandomDetectionValues)
{
    // A handful of levels makes ties and expiries frequent; values below the
    // ceiling appear after the ceiling moves up.
    const std::vector<float> levels = {0.5f, 0.8f, 1.0f, 1.0f, 1.25f, 1.5f, 2.0f, 3.0f};
    long compared = 0;
    for (uint32_t seed = 1; seed <= 40; ++seed)
        compared += compareOnRandomBlocks(seed, 60, levels, true);
    EXPECT_GT(compared, 300000);
}

TEST(CSlidingMaximumTest, MatchesTheRescanWithSteadySettings)
{
    // Continuous detection through many windows, including falling runs
    // that expire the hold on every sample.
    std::vector<float> levels;
    for (int i = 0; i < 64; ++i)
        levels.push_back(1.0f + 0.03125f * float(i));
    for (uint32_t seed = 100; seed < 110; ++seed)
        compareOnRandomBlocks(seed, 200, levels, false);
}

TEST(CSlidingMaximumTest, NaNIsNeverTakenAndZerosAndNegativeZerosKeepTheirBits)
{
    // The rescan skips NaN (no comparison with it holds); a zero ceiling lets
    // zeros of both signs compete, where the later one must win.
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<float> levels = {nan, 0.0f, -0.0f, 0.0f, 0.25f, 0.5f, nan, 1.0f};
    for (uint32_t seed = 200; seed < 220; ++seed)
        compareOnRandomBlocks(seed, 60, levels, true);
}
