#include "limiter/CISPDetector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace
{
// Interpolation taps between the samples h1 (newer) and h2 (older), with h0
// the newest input and h3 the oldest.
const double halfOuter = 0.08734027;   // taps on h0 and h3 (negative)
const double halfInner = 0.58519703;   // taps on h1 and h2

// A few float roundings of sums below 2 in magnitude.
const double tolerance = 1e-6;
}

TEST(CISPDetectorTest, QuarterRateSineAt45DegreesReadsTheHalfWayEstimate)
{
    // sin(pi n/2 + pi/4): samples +a, +a, -a, -a with a = 0.7071; the true
    // peak 1.0 lies half-way between the two equal samples.
    std::vector<float> sine(256);
    const double pi = 3.14159265358979323846;
    for (size_t n = 0; n < sine.size(); ++n)
        sine[n] = static_cast<float>(std::sin(pi / 2.0 * static_cast<double>(n) + pi / 4.0));
    const double a = static_cast<double>(sine[0]);

    CISPDetector detector(44100.0f);
    detector.process(sine.data(), 16);
    detector.readPeak(); // drop the start from an empty history
    detector.process(sine.data() + 16, static_cast<int>(sine.size()) - 16);

    // Half-way filter on (h0..h3) = (-a, a, a, -a): 2a (inner + outer), 0.9511.
    // The quarter points reach only 1.27 a and the centre 1.03 a.
    const double halfWay = 2.0 * a * (halfInner + halfOuter);
    EXPECT_NEAR(detector.readPeak(), halfWay, tolerance);
}
