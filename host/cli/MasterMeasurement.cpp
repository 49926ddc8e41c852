#include "MasterMeasurement.h"

#include "HostError.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>

namespace
{
constexpr double absoluteGateLufs = -70.0;
constexpr double relativeGateLu = -10.0;

double lufsOf(double energy)
{
    return energy > 0.0 ? -0.691 + 10.0 * std::log10(energy) : -std::numeric_limits<double>::infinity();
}

struct FileCloser
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

template <typename T> void put(std::FILE* file, const T& value)
{
    std::fwrite(&value, sizeof(T), 1, file);
}

template <typename T> void put(std::FILE* file, const std::vector<T>& values)
{
    put(file, static_cast<unsigned long long>(values.size()));
    std::fwrite(values.data(), sizeof(T), values.size(), file);
}

template <typename T> void get(std::FILE* file, T& value)
{
    if (std::fread(&value, sizeof(T), 1, file) != 1)
    {
        throw HostError("a measurement came back cut short");
    }
}

template <typename T> void get(std::FILE* file, std::vector<T>& values)
{
    unsigned long long size = 0;
    get(file, size);
    if (size > (1ULL << 32))
    {
        throw HostError("a measurement came back damaged");
    }
    values.resize(size);
    if (std::fread(values.data(), sizeof(T), size, file) != size)
    {
        throw HostError("a measurement came back cut short");
    }
}
}

double MasterMeasurement::decibels(double linear)
{
    return linear > 0.0 ? 20.0 * std::log10(linear) : -std::numeric_limits<double>::infinity();
}

double MasterMeasurement::integratedLufs(const std::vector<const MasterMeasurement*>& measurements)
{
    const double absoluteGate = std::pow(10.0, (absoluteGateLufs + 0.691) / 10.0);
    double sum = 0.0;
    long long count = 0;
    for (const MasterMeasurement* measurement : measurements)
    {
        for (double energy : measurement->blockEnergies)
        {
            if (energy > absoluteGate)
            {
                sum += energy;
                ++count;
            }
        }
    }
    if (count == 0)
    {
        return -std::numeric_limits<double>::infinity();
    }
    const double relativeGate = sum / static_cast<double>(count) * std::pow(10.0, relativeGateLu / 10.0);
    sum = 0.0;
    count = 0;
    for (const MasterMeasurement* measurement : measurements)
    {
        for (double energy : measurement->blockEnergies)
        {
            if (energy > absoluteGate && energy > relativeGate)
            {
                sum += energy;
                ++count;
            }
        }
    }
    return lufsOf(sum / static_cast<double>(count));
}

double MasterMeasurement::maxMomentaryLufs() const
{
    const auto largest = std::max_element(blockEnergies.begin(), blockEnergies.end());
    return largest == blockEnergies.end() ? lufsOf(0.0) : lufsOf(*largest);
}

double MasterMeasurement::maxShortTermLufs() const
{
    const auto largest = std::max_element(shortTermLufs.begin(), shortTermLufs.end());
    return largest == shortTermLufs.end() ? lufsOf(0.0) : *largest;
}

double MasterMeasurement::truePeakDbtp() const
{
    return truePeaks.empty() ? decibels(0.0) : decibels(*std::max_element(truePeaks.begin(), truePeaks.end()));
}

double MasterMeasurement::samplePeakDbfs() const
{
    return samplePeaks.empty() ? decibels(0.0) : decibels(*std::max_element(samplePeaks.begin(), samplePeaks.end()));
}

std::vector<float> MasterMeasurement::reductionDb(const MasterMeasurement& input, const MasterMeasurement& output,
                                                  double gainDb)
{
    const double floor = std::pow(10.0, -60.0 / 20.0);
    const double gain = std::pow(10.0, gainDb / 20.0);
    const size_t windows = std::min(input.peakPerWindow.size(), output.peakPerWindow.size());
    std::vector<float> reduction(windows, std::numeric_limits<float>::quiet_NaN());
    for (size_t window = 0; window < windows; ++window)
    {
        const double raised = gain * input.peakPerWindow[window];
        if (raised >= floor)
        {
            // Silence out of a loud input counts as the deepest reduction a meter shows.
            const double below = decibels(raised) - decibels(output.peakPerWindow[window]);
            reduction[window] = static_cast<float>(std::clamp(below, 0.0, 100.0));
        }
    }
    return reduction;
}

void ReductionSummary::add(const std::vector<float>& reductionDb)
{
    double sum = meanDb * static_cast<double>(windows);
    for (float reduction : reductionDb)
    {
        if (!std::isnan(reduction))
        {
            largestDb = std::max(largestDb, static_cast<double>(reduction));
            sum += reduction;
            ++windows;
        }
    }
    meanDb = windows > 0 ? sum / static_cast<double>(windows) : 0.0;
}

void MasterMeasurement::save(const std::string& path) const
{
    File file(std::fopen(path.c_str(), "wb"));
    if (!file)
    {
        throw HostError("cannot write the measurement '" + path + "'");
    }
    put(file.get(), sampleRate);
    put(file.get(), channels);
    put(file.get(), frames);
    put(file.get(), loudnessRangeLu);
    put(file.get(), truePeaks);
    put(file.get(), samplePeaks);
    put(file.get(), blockEnergies);
    put(file.get(), shortTermLufs);
    put(file.get(), truePeakPerHop);
    put(file.get(), peakPerWindow);
    if (std::ferror(file.get()) != 0 || std::fflush(file.get()) != 0)
    {
        throw HostError("cannot write the measurement '" + path + "'");
    }
}

MasterMeasurement MasterMeasurement::load(const std::string& path)
{
    File file(std::fopen(path.c_str(), "rb"));
    if (!file)
    {
        throw HostError("a measurement did not come back");
    }
    MasterMeasurement measurement;
    get(file.get(), measurement.sampleRate);
    get(file.get(), measurement.channels);
    get(file.get(), measurement.frames);
    get(file.get(), measurement.loudnessRangeLu);
    get(file.get(), measurement.truePeaks);
    get(file.get(), measurement.samplePeaks);
    get(file.get(), measurement.blockEnergies);
    get(file.get(), measurement.shortTermLufs);
    get(file.get(), measurement.truePeakPerHop);
    get(file.get(), measurement.peakPerWindow);
    return measurement;
}
