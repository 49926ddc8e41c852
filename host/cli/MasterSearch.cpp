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
// Below this, driving harder hardly brings loudness closer to the peaks.
constexpr double flattestRatioSlope = 0.05;

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

    // Loudness (F) and true peak (G) above the ceiling, as functions of the
    // drive x, with their slopes from the last two passes.
    const double ceilingNow = point.ceilingDb.value_or(0.0);
    const double x = driveOf(point);
    const double loudnessAbove = point.loudnessLufs - ceilingNow;
    const double peakAbove = point.truePeakDbtp - ceilingNow;
    if (passes.size() >= 2)
    {
        const MasterPassPoint& before = passes[passes.size() - 2];
        const double run = x - driveOf(before);
        if (std::fabs(run) > shortestSecantDb)
        {
            const double ceilingBefore = before.ceilingDb.value_or(0.0);
            slope =
                std::clamp((loudnessAbove - (before.loudnessLufs - ceilingBefore)) / run, flattestSlope, steepestSlope);
            peakSlope = std::clamp((peakAbove - (before.truePeakDbtp - ceilingBefore)) / run, 0.0, steepestSlope);
        }
    }
    // Keep the ceiling and drive to the loudness target, if the true peak
    // is expected to stay below its target there.
    std::optional<double> ceiling = ceilingDb;
    double drive = x + (targets.loudnessLufs - ceilingNow - loudnessAbove) / slope;
    const double expectedPeak = ceilingNow + peakAbove + peakSlope * (drive - x);
    if (expectedPeak > targets.truePeakDbtp)
    {
        if (!ceilingRange)
        {
            return fail("the true peak lies above the target and the plug-in has no ceiling to lower; " + reached);
        }
        if (*ceilingDb <= ceilingRange->lowest && !peakMet)
        {
            return fail("the ceiling would have to go below its lowest setting, "
                        + figure("%.1f dB", ceilingRange->lowest) + "; " + reached);
        }
        // Both targets at once: the drive at which loudness lies as far below
        // the true peak as the targets ask, the ceiling that puts the true
        // peak just under its target there. When the peak-to-loudness ratio
        // hardly changes with the drive, the ceiling goes down by the
        // expected overshoot and the drive follows to hold the loudness.
        const double ratioSlope = slope - peakSlope;
        const double wantedRatio = targets.truePeakDbtp - ceilingMarginDb - targets.loudnessLufs;
        double next = 0.0;
        if (ratioSlope > flattestRatioSlope)
        {
            drive = x + (peakAbove - loudnessAbove - wantedRatio) / ratioSlope;
            next = targets.truePeakDbtp - ceilingMarginDb - peakAbove - peakSlope * (drive - x);
        }
        else
        {
            next = ceilingNow - (expectedPeak - targets.truePeakDbtp) - ceilingMarginDb;
        }
        ceiling = std::clamp(next, ceilingRange->lowest, ceilingRange->highest);
        if (ratioSlope <= flattestRatioSlope || *ceiling != next)
        {
            drive = x + (targets.loudnessLufs - *ceiling - loudnessAbove) / slope;
        }
    }
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
