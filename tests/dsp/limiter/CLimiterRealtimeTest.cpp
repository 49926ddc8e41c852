#include "limiter/CLimiter.h"
#include "limiter/LimiterTestSupport.h"

#include <gtest/gtest.h>

#include <xmmintrin.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#ifdef _WIN32
#include <malloc.h>
#endif
#include <new>
#include <random>
#include <vector>

using namespace limiter_test;

// The RMS meter's scale, and what the audio thread may rely on: no
// allocation and the caller's floating-point state kept. Settings from
// another thread are the plug-in's thread tests'.

// Every allocation of the test program is counted, so that a test can show
// that none happens inside process(). The library's array and nothrow forms
// call these two.
namespace
{
std::atomic<long> allocationCount{0};

// Kept out of line: inlined into the replaced operator delete, GCC would take
// free() of memory from operator new for a mismatched pair.
[[gnu::noinline]] void release(void* p) noexcept
{
    std::free(p);
}

// Windows' C runtime has no aligned_alloc; its aligned blocks go back
// through _aligned_free.
#ifdef _WIN32
void* allocateAligned(std::size_t alignment, std::size_t size)
{
    return _aligned_malloc(size, alignment);
}

[[gnu::noinline]] void releaseAligned(void* p) noexcept
{
    _aligned_free(p);
}
#else
void* allocateAligned(std::size_t alignment, std::size_t size)
{
    return std::aligned_alloc(alignment, (size + alignment) / alignment * alignment);
}

void releaseAligned(void* p) noexcept
{
    release(p);
}
#endif
}

void* operator new(std::size_t size)
{
    allocationCount.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size == 0 ? 1 : size))
        return p;
    throw std::bad_alloc();
}

void* operator new(std::size_t size, std::align_val_t alignment)
{
    allocationCount.fetch_add(1, std::memory_order_relaxed);
    const std::size_t a = static_cast<std::size_t>(alignment);
    if (void* p = allocateAligned(a, size))
        return p;
    throw std::bad_alloc();
}

void operator delete(void* p) noexcept { release(p); }
void operator delete(void* p, std::size_t) noexcept { release(p); }
void operator delete(void* p, std::align_val_t) noexcept { releaseAligned(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { releaseAligned(p); }

TEST(CLimiterMetersTest, RmsMeterReadsTheMeanSquareDoubledOnTheAes17Scale)
{
    // A sine of amplitude 0.5 has a mean square of 0.125; the 2.44 Hz
    // smoother leaves a ripple of 2.44/(2 x 997) = 0.12 % on it, which the
    // held peak of the meter keeps. The AES17 reading is twice that, so that
    // a full-scale sine would read 1 (0 dB).
    Buffer in = makeBuffer(2, latency + 66150);
    for (size_t n = 0; n < in[0].size(); ++n)
        in[0][n] = in[1][n] = static_cast<float>(0.5 * std::sin(2.0 * pi * 997.0 * double(n) / 44100.0));
    for (bool aes17 : {false, true})
    {
        SetUpLimiter limiter(Settings().withAes17(aes17));
        render(limiter, in, 512);
        const double expected = aes17 ? 0.25 : 0.125;
        for (int ch = 0; ch < 2; ++ch)
            EXPECT_NEAR(limiter.getRmsLevel(ch), expected, expected * 3e-3) << "AES17 " << aes17 << ", channel " << ch;
    }
}

// ---------------------------------------------------------------------------
// Real-time behaviour
// ---------------------------------------------------------------------------

TEST(CLimiterRealtimeTest, ProcessNeverAllocates)
{
    // Everything is built at construction; the per-frame saturation, the
    // masking model and settings applied at the start of a block must reuse
    // it.
    SetUpLimiter limiter(
        Settings().withGain(12.0f).withTruePeak(true).withSaturation(1.0f).withBits(16).withShaping(1.0f));
    const Buffer in = loudMix(44100.0f, 65536, 8);
    Buffer out = makeBuffer(2, 65536);
    auto block = [&](int pos, int count) {
        const float* inputs[2] = {in[0].data() + pos, in[1].data() + pos};
        float* outputs[2] = {out[0].data() + pos, out[1].data() + pos};
        const long before = allocationCount.load();
        limiter.process(inputs, outputs, count);
        return allocationCount.load() - before;
    };
    block(0, 4096);

    // Any setting but the rate (not for the audio thread) between blocks.
    std::mt19937 random(8);
    long during = 0;
    for (int pos = 4096; pos + 700 <= 65536; pos += 700)
    {
        randomChange(random, int(random() % (settingCount - 1))).applyTo(limiter);
        during += block(pos, 700);
        limiter.getRmsLevel(0);
        limiter.getOutputPeak(1);
        limiter.getGainReduction(0);
        limiter.getSaturationGain(1);
    }
    EXPECT_EQ(during, 0) << "allocations inside process()";
}

TEST(CLimiterRealtimeTest, RestoresTheCallersFloatingPointControlWord)
{
    // Flush-to-zero and denormals-are-zero hold only inside process(): the
    // caller's rounding mode, exception masks and flush bits come back as
    // they were. The six low bits are sticky exception flags that any
    // arithmetic may raise.
    const unsigned int flags = 0x3F;
    const unsigned int saved = _mm_getcsr();
    const unsigned int states[] = {
        0x1F80,                  // the default: round to nearest, no flushing
        0x1F80 | 0x8040,         // flushing already on
        0x1F80 | 0x2000,         // round down
        0x1F80 | 0x6000 | 0x40,  // round toward zero, denormals-are-zero only
    };
    SetUpLimiter limiter(Settings().withSaturation(0.5f).withGain(12.0f));
    const Buffer in = loudMix(44100.0f, 2048, 12);
    Buffer out = makeBuffer(2, 2048);
    const float* inputs[2] = {in[0].data(), in[1].data()};
    float* outputs[2] = {out[0].data(), out[1].data()};
    for (unsigned int state : states)
    {
        _mm_setcsr(state);
        limiter.process(inputs, outputs, 2048);
        const unsigned int after = _mm_getcsr();
        _mm_setcsr(saved);
        EXPECT_EQ(after & ~flags, state & ~flags) << std::hex << "before 0x" << state << ", after 0x" << after;
    }
}
