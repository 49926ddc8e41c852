#include "limiter/CSlidingMaximum.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

// The hold rule as the limiter states it, with the window rescanned every
// time the hold runs out; the queue must match it exactly. The limiter's own
// input high-pass makes exact ties rare, so ties that outlive a change of
// look-ahead or ceiling, where which of two equal peaks holds shows, are
// checked here.
namespace
{
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
                if (values[(writeIndex + j + 1) & mask] >= holdMax)
                {
                    holdMax = values[(writeIndex + j + 1) & mask];
                    holdCount = j;
                }
        }
        return holdMax;
    }

private:
    float values[CSlidingMaximum::length] = {};
    float holdMax = 0.0f;
    int holdCount = 0;
};
}

TEST(CSlidingMaximumTest, MatchesTheRescanWithTiesExpiriesAndSettingChanges)
{
    // A handful of levels makes ties and expiries frequent; values below the
    // ceiling appear after the ceiling moves up. Blocks of random length, in
    // place as the limiter calls it.
    const float levels[] = {0.5f, 0.8f, 1.0f, 1.0f, 1.25f, 1.5f, 2.0f, 3.0f};
    alignas(16) static CSlidingMaximum::LaneFrame detection[CSlidingMaximum::maxBlock];
    alignas(16) static CSlidingMaximum::LaneFrame held[CSlidingMaximum::maxBlock];
    for (uint32_t seed = 1; seed <= 40; ++seed)
    {
        std::mt19937 random(seed);
        CSlidingMaximum queue;
        RescanningHold reference[CSlidingMaximum::channels];
        int writeIndex = 0, lookahead = 44, lead = 0;
        float ceiling = 1.0f;
        for (int block = 0; block < 60; ++block)
        {
            if (random() % 4 == 0)
            {
                const uint32_t spread = random() % 2 ? 504 : 12;
                lookahead = 4 + int(random() % spread);
                lead = int(random() % 2);
            }
            // Short windows leave the largest value tied inside the older
            // part of a window; a ceiling raised above it then shows which
            // of the ties the hold lasts for.
            if (random() % 2 == 0)
                ceiling = levels[random() % 8];
            const int count = 1 + int(random() % CSlidingMaximum::maxBlock);
            for (int i = 0; i < count; ++i)
                for (float& x : detection[i])
                    x = levels[random() % 8];
            std::copy(&detection[0][0], &detection[0][0] + CSlidingMaximum::lanes * count, &held[0][0]);
            queue.process(held, held, count, writeIndex, lookahead, lead, ceiling);
            for (int i = 0; i < count; ++i, writeIndex = (writeIndex + 1) & CSlidingMaximum::mask)
                for (int k = 0; k < CSlidingMaximum::channels; ++k)
                {
                    const float expected = reference[k].next(detection[i][k], writeIndex, lookahead, lead, ceiling);
                    ASSERT_EQ(std::memcmp(&held[i][k], &expected, sizeof expected), 0)
                        << "seed " << seed << ", block " << block << ", sample " << i << ", lane " << k << ": queue "
                        << held[i][k] << ", rescan " << expected << " (look-ahead " << lookahead << ")";
                }
        }
    }
}
