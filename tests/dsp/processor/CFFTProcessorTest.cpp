#include "processor/CFFTProcessor.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

namespace
{
constexpr int frameSize = 1024;
constexpr int hopSize = 512;

// Passes every frame through copyFrame (the base behaviour).
class CopyingProcessor : public CFFTProcessor
{
public:
    CopyingProcessor() : CFFTProcessor(2, 2, frameSize, frameSize, hopSize, 0) {}
    void update() override {}
};

std::vector<float> testSignal(int length, uint32_t seed)
{
    std::vector<float> x(static_cast<size_t>(length));
    for (int i = 0; i < length; ++i)
    {
        seed = seed * 1664525u + 1013904223u;
        x[size_t(i)] = 0.5f * float(std::sin(0.01 * i)) + 0.25f * float(int32_t(seed) / 2147483648.0);
    }
    return x;
}

// Both channels carry the same signal; the left output is returned.
std::vector<float> runMono(CFFTProcessor& p, const std::vector<float>& x, int block)
{
    std::vector<float> y(x.size()), right(x.size());
    for (size_t start = 0; start < x.size(); start += size_t(block))
    {
        const int n = int(std::min(x.size() - start, size_t(block)));
        const float* in[2] = {x.data() + start, x.data() + start};
        float* out[2] = {y.data() + start, right.data() + start};
        p.process(in, out, n);
    }
    return y;
}
}

TEST(CFFTProcessorFraming, CopyFrameReproducesInputDelayedByFrameLengthThroughComplementaryWindows)
{
    // Any block size, from single samples to several frames at once.
    const auto x = testSignal(8 * frameSize, 3);
    for (int block : {1, 333, 5000})
    {
        CopyingProcessor p;
        const auto y = runMono(p, x, block);
        // Overlapping windows sum to one in power; what is left is float
        // rounding of a few products per sample.
        for (size_t i = frameSize; i < x.size(); ++i)
            ASSERT_NEAR(y[i], x[i - frameSize], 2e-6) << "block " << block << ", sample " << i;
        // The first frame is the framework's latency: only zeros and the
        // fade-in of the first half frame.
        for (size_t i = 0; i < hopSize; ++i)
            ASSERT_EQ(y[i], 0.0f) << "block " << block;
    }

    // The analysis window is a sine of a sine squared: sin(pi/2 sin^2(pi/2))
    // = 1 at the centre, so analysis = sqrt(2)/N there, symmetric about it
    // (t = j + 0.5).
    CopyingProcessor windowed;
    const float* a = windowed.getAnalysisWindow();
    EXPECT_NEAR(a[frameSize / 2], std::sqrt(2.0) / frameSize, 1e-6 / frameSize);
    for (int j = 0; j < frameSize / 2; ++j)
        ASSERT_NEAR(a[j], a[frameSize - 1 - j], 1e-6 / frameSize) << j;
}
