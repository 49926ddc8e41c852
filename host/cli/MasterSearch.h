#pragma once

#include <optional>
#include <string>
#include <vector>

// What a master must reach.
struct MasterTargets
{
    double loudnessLufs = -14.0;
    double truePeakDbtp = -1.0;
    std::optional<double> maxReductionDb;
    // Accepted distance from the loudness target, in LU.
    double toleranceLu = 0.05;
};

// A setting the search moves, in the units the plug-in shows.
struct MasterRange
{
    double lowest;
    double highest;
};

// One pass as measured.
struct MasterPassPoint
{
    double gainDb = 0.0;
    std::optional<double> ceilingDb;
    double loudnessLufs = 0.0;
    double truePeakDbtp = 0.0;
    double largestReductionDb = 0.0;
    double meanReductionDb = 0.0;
};

// Finds the input gain and the ceiling that bring a render's integrated
// loudness within the tolerance of the target with its true peak at or below
// the target, from real renders measured one after the other.
//
// A limiter is nearly independent of scale: lowering its ceiling and its
// input gain by the same amount lowers its output by that amount. Loudness and
// true peak above the ceiling are therefore followed as functions of the drive
// (gain minus ceiling), each with a secant slope from the last two passes
// (at first: no limiting, both rise dB for dB). The first guess is the
// input's loudness plus the gain at the target ceiling; then the ceiling stays
// while the true peak is expected to stay under its target, and otherwise the
// drive goes where the peak-to-loudness ratio is what the targets ask and the
// ceiling where the true peak lands a margin under its target.
class MasterSearch
{
public:
    static constexpr double ceilingMarginDb = 0.03;
    static constexpr int largestPasses = 10;

    // `ceiling` empty: the plug-in has none the host can lower (the true peak
    // must then come out right by itself).
    MasterSearch(const MasterTargets& targets, MasterRange gain, std::optional<MasterRange> ceiling,
                 double inputLoudnessLufs);

    bool isFinished() const { return finished; }
    bool succeeded() const { return finished && failure.empty(); }
    // Why the targets cannot be reached, and what was; empty on success.
    const std::string& getFailure() const { return failure; }

    double nextGainDb() const { return gainDb; }
    std::optional<double> nextCeilingDb() const { return ceilingDb; }

    void record(const MasterPassPoint& point);
    const std::vector<MasterPassPoint>& getPasses() const { return passes; }

private:
    void fail(const std::string& reason);

    MasterTargets targets;
    MasterRange gainRange;
    std::optional<MasterRange> ceilingRange;
    double gainDb;
    std::optional<double> ceilingDb;
    double slope;
    double peakSlope;
    std::vector<MasterPassPoint> passes;
    bool finished;
    std::string failure;
};
