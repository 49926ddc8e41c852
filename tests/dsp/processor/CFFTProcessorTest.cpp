#include "processor/CFFTProcessor.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace
{
constexpr int frameSize = 1024;
constexpr int hopSize = 512;

// Passes every frame through copyFrame (the base behaviour) and counts the
// frame callbacks and coefficient updates.
class CountingProcessor : public CFFTProcessor
{
public:
    explicit CountingProcessor(int windowType = 0) : CFFTProcessor(2, 2, frameSize, frameSize, hopSize, windowType) {}
    void processFrame() override
    {
        ++frames;
        CFFTProcessor::processFrame();
    }
    void update() override { ++updates; }
    int frames = 0;
    int updates = 0;
};

// Runs every frame through the forward and inverse transform instead.
class TransformingProcessor : public CFFTProcessor
{
public:
    TransformingProcessor() : CFFTProcessor(1, 1, frameSize, frameSize, hopSize, 0) {}
    void processFrame() override
    {
        transform(inFrame[0].data(), inSpectrum[0].data(), false);
        transform(outFrame[0].data(), inSpectrum[0].data(), true);
    }
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

// Both channels carry the same signal; the left output is returned. In place,
// the same arrays are handed in and out.
template <class Processor>
std::vector<float> runMono(Processor& p, const std::vector<float>& x, int block, bool inPlace = false)
{
    std::vector<float> y(x.size()), right(x.size());
    if (inPlace)
        y = right = x;
    for (size_t start = 0; start < x.size(); start += size_t(block))
    {
        const int n = int(std::min(x.size() - start, size_t(block)));
        const float* in[2] = {x.data() + start, x.data() + start};
        float* out[2] = {y.data() + start, right.data() + start};
        if (inPlace)
            std::copy(out, out + 2, in);
        p.process(in, out, n);
    }
    return y;
}
}

TEST(CFFTProcessorFraming, CopyFrameReproducesInputDelayedByFrameLength)
{
    CountingProcessor p;
    const auto x = testSignal(8 * frameSize, 3);
    const auto y = runMono(p, x, 333);
    // Overlapping windows sum to one in power; what is left is float
    // rounding of a few products per sample.
    for (size_t i = frameSize; i < x.size(); ++i)
        ASSERT_NEAR(y[i], x[i - frameSize], 2e-6) << i;
    // The first frame is the framework's latency: only zeros and the fade-in
    // of the first half frame.
    for (size_t i = 0; i < hopSize; ++i)
        ASSERT_EQ(y[i], 0.0f);
}

TEST(CFFTProcessorFraming, TransformRoundTripMatchesCopyFrame)
{
    CountingProcessor copying;
    TransformingProcessor transforming;
    // Sines well below Nyquist: the transform drops the Nyquist value, so a
    // signal without energy there must come back as the copy does.
    std::vector<float> x(6 * frameSize);
    for (size_t i = 0; i < x.size(); ++i)
        x[i] = 0.5f * float(std::sin(0.01 * double(i))) + 0.3f * float(std::sin(0.3 * double(i))) + 0.1f;
    const auto viaCopy = runMono(copying, x, 512);
    const auto viaTransform = runMono(transforming, x, 512);
    // Float rounding through two 1024-point transforms: ~1e-6 relative. The
    // abrupt onset is broadband, so frames that hold it are skipped.
    for (size_t i = 3 * frameSize; i < x.size(); ++i)
        ASSERT_NEAR(viaTransform[i], viaCopy[i], 2e-5) << i;
}

TEST(CFFTProcessorFraming, FrameCallbackCountsHopsAcrossCalls)
{
    CountingProcessor p;
    int fed = 0;
    for (int block : {100, 37, 511, 1, 1023, 2048, 7, 100})
    {
        runMono(p, std::vector<float>(size_t(block), 0.0f), block);
        fed += block;
        ASSERT_EQ(p.frames, fed / hopSize) << "after " << fed << " samples";
    }
}

TEST(CFFTProcessorFraming, InPlaceEqualsSeparateBuffers)
{
    const auto x = testSignal(3000, 5);
    CountingProcessor a, b;
    const auto separate = runMono(a, x, 256);
    const auto inPlace = runMono(b, x, 256, true);
    for (size_t i = 0; i < x.size(); ++i)
        ASSERT_EQ(inPlace[i], separate[i]) << i;
}

TEST(CFFTProcessorFraming, GarbageInputEntersAsSilence)
{
    CountingProcessor p;
    std::vector<float> x(4 * frameSize, 0.0f);
    x[10] = std::numeric_limits<float>::quiet_NaN();
    x[20] = std::numeric_limits<float>::infinity();
    x[30] = -std::numeric_limits<float>::infinity();
    x[40] = 1e30f;
    x[50] = -1001.0f;
    x[60] = 999.0f; // loud but plausible: kept
    const auto y = runMono(p, x, 64);
    for (size_t i = 0; i < y.size(); ++i)
    {
        ASSERT_TRUE(std::isfinite(y[i])) << i;
        if (i != 60 + frameSize)
        {
            ASSERT_NEAR(y[i], 0.0f, 1e-3f) << i;
        }
    }
    EXPECT_NEAR(y[60 + frameSize], 999.0f, 999.0f * 2e-6f);
}

TEST(CFFTProcessorWindows, PowerComplementaryAtHalfOverlap)
{
    for (int type : {0, 1})
    {
        CountingProcessor p(type);
        const float* a = p.getAnalysisWindow();
        const float* s = p.getSynthesisWindow();
        // The round trip gain n/2 is folded into the windows: two frames half
        // a frame apart must add up to exactly one in power.
        for (int j = 0; j < hopSize; ++j)
        {
            const double sum = double(a[j]) * s[j] * frameSize * 0.5 + double(a[j + hopSize]) * s[j + hopSize] * frameSize * 0.5;
            ASSERT_NEAR(sum, 1.0, 1e-6) << "type " << type << " j=" << j;
        }
    }
}

TEST(CFFTProcessorWindows, SineOfSineSquaredShape)
{
    CountingProcessor p(0);
    const float* a = p.getAnalysisWindow();
    // Centre: sin(pi/2 * sin^2(pi/2)) = 1, so analysis = sqrt(2)/N there.
    EXPECT_NEAR(a[frameSize / 2], std::sqrt(2.0) / frameSize, 1e-6 / frameSize);
    // Symmetric about the centre (t = j + 0.5).
    for (int j = 0; j < frameSize / 2; ++j)
        ASSERT_NEAR(a[j], a[frameSize - 1 - j], 1e-6 / frameSize) << j;
}

TEST(CFFTProcessorWindows, BlackmanHarrisAndUnknownType)
{
    CountingProcessor p(0);
    p.setWindow(2);
    const float* a = p.getAnalysisWindow();
    const float* s = p.getSynthesisWindow();
    // Four-term Blackman-Harris peaks at 1.0 in the middle.
    EXPECT_NEAR(a[frameSize / 2] * frameSize / 2.0, 1.0, 1e-4);
    EXPECT_NEAR(s[frameSize / 2] / (4.0 * hopSize / frameSize * 0.5), 1.0, 1e-4);
    const float before = a[100];
    p.setWindow(7);
    EXPECT_EQ(p.getAnalysisWindow()[100], before);
}

TEST(CFFTProcessorRate, ClampsAndRecomputesOnlyOnChange)
{
    CountingProcessor p;
    const int updates = p.updates;
    p.setSampleRate(11025.0f);
    EXPECT_EQ(p.getSampleRate(), 22050.0f);
    EXPECT_EQ(p.updates, updates + 1);
    p.setSampleRate(8000.0f); // clamps to the stored rate: nothing happens
    EXPECT_EQ(p.updates, updates + 1);
    p.setSampleRate(384000.0f);
    EXPECT_EQ(p.getSampleRate(), 192000.0f);
    p.setSampleRate(192000.0f);
    EXPECT_EQ(p.updates, updates + 2);
}

TEST(CFFTProcessorRate, RateChangeFlushesFrames)
{
    CountingProcessor p;
    const auto x = testSignal(700, 9);
    runMono(p, x, 700);
    p.setSampleRate(48000.0f);
    EXPECT_EQ(p.getFramePosition(), 0);
    std::vector<float> silence(3 * frameSize, 0.0f);
    const auto y = runMono(p, silence, 512);
    for (float v : y)
        ASSERT_EQ(v, 0.0f);
}
