#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>

// Meter ballistics: instant attack, exponential release that starts only
// once the held extreme has been read. Normal mode tracks peaks upward;
// inverted mode tracks minima (gains) downward under an upper limit.
// The reading is shared with a user-interface thread, hence the atomics.
class CVu
{
public:
    // Smallest reading in both modes.
    static constexpr float floorLevel = 1e-8f;

    // The ballistics of up to four meters side by side (CVuLanes.h); the
    // scalar process() is one lane of it.
    class Lanes;

    CVu();
    virtual ~CVu() = default;

    virtual void reset();
    virtual void process(const float* samples, uint32_t count);
    virtual void setTime(float seconds, float sampleRate, int decimation);
    virtual void setInverted(bool on);
    virtual void setUpperLimit(float limit);
    virtual float getValue();

    // Reads without starting the release (for tests and diagnostics).
    float peekValue() const { return value.load(std::memory_order_relaxed); }
    float getFall() const { return fall; }

private:
    float fall;
    float rise;
    std::atomic<float> value;
    std::atomic<bool> wasRead;
    bool inverted;
    float upperLimit;
};
