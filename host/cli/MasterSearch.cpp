#include "MasterSearch.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace
{
// Loudness per dB of drive lies between these for a limiter: 1 below its
// threshold, less the harder it works.
constexpr double flattestSlope = 0.1;
constexpr double steepestSlope = 1.0;
constexpr double shortestSecantDb = 0.01;
// True peak per dB of ceiling: 1 when the limiter holds every peak, less
// when part of the overshoot comes from what the ceiling does not touch.
constexpr double flattestPeakSlope = 0.25;
constexpr double steepestPeakSlope = 1.0;

std::string figure(const char* format, double value)
{
    char text[64];
    std::snprintf(text, sizeof(text), format, value);
    return text;
}

double driveOf(const MasterPassPoint& point)
{
    return point.gainDb - point.ceilingDb.value_or(0.0);
}
}

MasterSearch::MasterSearch(const MasterTargets& targets, MasterRange gain, std::optional<MasterRange> ceiling,
                           double inputLoudnessLufs)
    : targets(targets)
    , gainRange(gain)
    , ceilingRange(ceiling)
    , gainDb(std::clamp(targets.loudnessLufs - inputLoudnessLufs, gain.lowest, gain.highest))
    , slope(1.0)
    , peakSlope(1.0)
    , finished(false)
{
    if (ceiling)
    {
        ceilingDb = std::clamp(targets.truePeakDbtp, ceiling->lowest, ceiling->highest);
    }
    if (!std::isfinite(inputLoudnessLufs))
    {
        fail("the input is silent (below the -70 LUFS gate)");
    }
}

void MasterSearch::fail(const std::string& reason)
{
    finished = true;
    failure = reason;
}

void MasterSearch::record(const MasterPassPoint& point)
{
    passes.push_back(point);
    const std::string reached = "reached " + figure("%.2f LUFS", point.loudnessLufs) + ", "
                                + figure("%.2f dBTP", point.truePeakDbtp) + " at input gain "
                                + figure("%+.2f dB", point.gainDb)
                                + (point.ceilingDb ? ", ceiling " + figure("%.2f dB", *point.ceilingDb) : "");
    const double shortfall = targets.loudnessLufs - point.loudnessLufs;
    const bool loudnessMet = std::fabs(shortfall) <= targets.toleranceLu;
    const bool peakMet = point.truePeakDbtp <= targets.truePeakDbtp;
    const bool tooMuchReduction = targets.maxReductionDb && point.largestReductionDb > *targets.maxReductionDb;
    if (!std::isfinite(point.loudnessLufs))
    {
        return fail("the output is silent; " + reached);
    }
    if (tooMuchReduction && shortfall > -targets.toleranceLu)
    {
        return fail("the targets together need more than the " + figure("%.1f dB", *targets.maxReductionDb)
                    + " of gain reduction --max-reduction allows (" + figure("%.1f dB", point.largestReductionDb)
                    + " at the last pass); " + reached);
    }
    if (loudnessMet && peakMet)
    {
        finished = true;
        return;
    }
    if (static_cast<int>(passes.size()) >= largestPasses)
    {
        return fail("no convergence in " + std::to_string(largestPasses) + " passes; " + reached);
    }

    if (passes.size() >= 2)
    {
        const MasterPassPoint& before = passes[passes.size() - 2];
        const double run = driveOf(point) - driveOf(before);
        const double rise = (point.loudnessLufs - point.ceilingDb.value_or(0.0))
                            - (before.loudnessLufs - before.ceilingDb.value_or(0.0));
        if (std::fabs(run) > shortestSecantDb)
        {
            slope = std::clamp(rise / run, flattestSlope, steepestSlope);
        }
        const double ceilingRun = point.ceilingDb.value_or(0.0) - before.ceilingDb.value_or(0.0);
        if (std::fabs(ceilingRun) > shortestSecantDb)
        {
            peakSlope = std::clamp((point.truePeakDbtp - before.truePeakDbtp) / ceilingRun, flattestPeakSlope,
                                   steepestPeakSlope);
        }
    }
    std::optional<double> ceiling = ceilingDb;
    if (!peakMet)
    {
        if (!ceilingRange)
        {
            return fail("the true peak lies above the target and the plug-in has no ceiling to lower; " + reached);
        }
        if (*ceilingDb <= ceilingRange->lowest)
        {
            return fail("the ceiling would have to go below its lowest setting, "
                        + figure("%.1f dB", ceilingRange->lowest) + "; " + reached);
        }
        ceiling = std::max(ceilingRange->lowest,
                           *ceilingDb - (point.truePeakDbtp - targets.truePeakDbtp) / peakSlope - ceilingMarginDb);
    }
    // Loudness relative to the ceiling, as a function of the drive, is to
    // reach the target relative to the new ceiling.
    const double drive = driveOf(point) + (shortfall + point.ceilingDb.value_or(0.0) - ceiling.value_or(0.0)) / slope;
    const double gain = drive + ceiling.value_or(0.0);
    if (gain > gainRange.highest && point.gainDb >= gainRange.highest)
    {
        return fail("the loudness target needs more than the largest input gain, "
                    + figure("%+.1f dB", gainRange.highest) + "; " + reached);
    }
    if (gain < gainRange.lowest && point.gainDb <= gainRange.lowest)
    {
        return fail("the loudness target needs less than the smallest input gain, "
                    + figure("%+.1f dB", gainRange.lowest) + "; " + reached);
    }
    gainDb = std::clamp(gain, gainRange.lowest, gainRange.highest);
    ceilingDb = ceiling;
}
