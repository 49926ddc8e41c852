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
constexpr double rangeRelativeGateLu = -20.0;
constexpr size_t hopsPerBlock = 4;
constexpr size_t hopsPerShortTerm = 30;
// Short-term blocks for the loudness range start every second.
constexpr size_t hopsPerRangeStep = 10;

// The mean energy of every `length` hops, starting every `step` hops.
std::vector<double> windowed(const std::vector<double>& hops, size_t length, size_t step)
{
    std::vector<double> windows;
    double sum = 0.0;
    for (size_t hop = 0; hop < hops.size(); ++hop)
    {
        sum += hops[hop];
        if (hop >= length)
        {
            sum -= hops[hop - length];
        }
        if (hop + 1 >= length && (hop + 1 - length) % step == 0)
        {
            windows.push_back(std::max(0.0, sum) / static_cast<double>(length));
        }
    }
    return windows;
}

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
    std::vector<double> blocks;
    for (const MasterMeasurement* measurement : measurements)
    {
        const std::vector<double> own = measurement->blockEnergies();
        blocks.insert(blocks.end(), own.begin(), own.end());
    }
    const double absoluteGate = std::pow(10.0, (absoluteGateLufs + 0.691) / 10.0);
    double sum = 0.0;
    long long count = 0;
    for (double energy : blocks)
    {
        if (energy > absoluteGate)
        {
            sum += energy;
            ++count;
        }
    }
    if (count == 0)
    {
        return lufsOf(0.0);
    }
    const double relativeGate = sum / static_cast<double>(count) * std::pow(10.0, relativeGateLu / 10.0);
    sum = 0.0;
    count = 0;
    for (double energy : blocks)
    {
        if (energy > absoluteGate && energy > relativeGate)
        {
            sum += energy;
            ++count;
        }
    }
    return lufsOf(sum / static_cast<double>(count));
}

std::vector<double> MasterMeasurement::blockEnergies() const
{
    return windowed(hopEnergies, hopsPerBlock, 1);
}

std::vector<float> MasterMeasurement::shortTermLufs() const
{
    std::vector<float> loudness;
    for (double energy : windowed(hopEnergies, hopsPerShortTerm, 1))
    {
        loudness.push_back(static_cast<float>(lufsOf(energy)));
    }
    return loudness;
}

// The spread between the 10th and the 95th percentile of the short-term
// loudness, over blocks above -70 LUFS and no more than 20 LU below their
// mean energy.
double MasterMeasurement::loudnessRangeLu() const
{
    const double absoluteGate = std::pow(10.0, (absoluteGateLufs + 0.691) / 10.0);
    std::vector<double> blocks;
    double sum = 0.0;
    for (double energy : windowed(hopEnergies, hopsPerShortTerm, hopsPerRangeStep))
    {
        if (energy > absoluteGate)
        {
            blocks.push_back(energy);
            sum += energy;
        }
    }
    if (blocks.empty())
    {
        return 0.0;
    }
    const double relativeGate = sum / static_cast<double>(blocks.size()) * std::pow(10.0, rangeRelativeGateLu / 10.0);
    blocks.erase(std::remove_if(blocks.begin(), blocks.end(), [relativeGate](double e) { return e <= relativeGate; }),
                 blocks.end());
    if (blocks.empty())
    {
        return 0.0;
    }
    std::sort(blocks.begin(), blocks.end());
    const double last = static_cast<double>(blocks.size() - 1);
    const double low = blocks[static_cast<size_t>(last * 0.10 + 0.5)];
    const double high = blocks[static_cast<size_t>(last * 0.95 + 0.5)];
    return lufsOf(high) - lufsOf(low);
}

double MasterMeasurement::maxMomentaryLufs() const
{
    const std::vector<double> blocks = blockEnergies();
    const auto largest = std::max_element(blocks.begin(), blocks.end());
    return largest == blocks.end() ? lufsOf(0.0) : lufsOf(*largest);
}

double MasterMeasurement::maxShortTermLufs() const
{
    const std::vector<double> energies = windowed(hopEnergies, hopsPerShortTerm, 1);
    const auto largest = std::max_element(energies.begin(), energies.end());
    return largest == energies.end() ? lufsOf(0.0) : lufsOf(*largest);
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
    put(file.get(), truePeaks);
    put(file.get(), samplePeaks);
    put(file.get(), hopEnergies);
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
    get(file.get(), measurement.truePeaks);
    get(file.get(), measurement.samplePeaks);
    get(file.get(), measurement.hopEnergies);
    get(file.get(), measurement.truePeakPerHop);
    get(file.get(), measurement.peakPerWindow);
    return measurement;
}
