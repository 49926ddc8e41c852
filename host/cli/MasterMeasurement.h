#pragma once

#include <string>
#include <vector>

// The gain reduction of windows as MasterMeasurement::reductionDb gives them,
// over one file or several.
struct ReductionSummary
{
    double meanDb = 0.0;
    double largestDb = 0.0;
    long long windows = 0;

    void add(const std::vector<float>& reductionDb);
};

// What one measurement of one file found, kept in a form from which files can
// be combined: the K-weighted mean square (summed over the channels) of every
// 100 ms, from which the BS.1770 gating blocks (400 ms, every 100 ms), the
// short-term loudness (3 s) and the loudness range (EBU Tech 3342) follow, so
// that an album's integrated loudness is gated over the blocks of all its
// files; and time series for the picture. Handed from the process that
// rendered and measured a file to the one that searches.
struct MasterMeasurement
{
    static constexpr double hopSeconds = 0.1;
    static constexpr double windowSeconds = 0.01;

    int sampleRate = 0;
    int channels = 0;
    long long frames = 0;
    std::vector<float> truePeaks;   // per channel, linear
    std::vector<float> samplePeaks; // per channel, linear
    std::vector<double> hopEnergies;
    std::vector<float> truePeakPerHop; // linear, all channels
    std::vector<float> peakPerWindow;  // sample peak per 10 ms, linear, all channels

    // Gated over the blocks of every measurement given; -inf for silence.
    static double integratedLufs(const std::vector<const MasterMeasurement*>& measurements);
    double integratedLufs() const { return integratedLufs({this}); }
    // 400 ms blocks, every 100 ms.
    std::vector<double> blockEnergies() const;
    // Every 100 ms once 3 s are in.
    std::vector<float> shortTermLufs() const;
    double loudnessRangeLu() const;
    double maxMomentaryLufs() const;
    double maxShortTermLufs() const;
    double truePeakDbtp() const;
    double samplePeakDbfs() const;
    double seconds() const { return sampleRate > 0 ? static_cast<double>(frames) / sampleRate : 0.0; }

    // Raw bytes for the same program on the same machine; load throws
    // HostError when the file is missing or cut short.
    void save(const std::string& path) const;
    static MasterMeasurement load(const std::string& path);

    // Per 10 ms window: how far the output's peak lies below the input's
    // raised by the gain (0 where it does not), NaN where the raised input
    // stays below -60 dBFS. A limiter's own meter cannot be read through the
    // plug-in interface, so the reduction is read off the signals.
    static std::vector<float> reductionDb(const MasterMeasurement& input, const MasterMeasurement& output,
                                          double gainDb);

    static double decibels(double linear);
};
