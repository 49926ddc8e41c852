#pragma once

#include "RenderReport.h"

#include <optional>
#include <string>
#include <vector>

class HostedPlugin;
class ProgressBar;

// A parameter value taken over exactly, as a report recorded it.
struct RecordedValue
{
    int index = 0;
    std::string name; // checked against the plug-in's
    float normalised = 0.0f;
};

// What one render is asked to do.
struct RenderSettings
{
    std::string inputPath;
    std::string outputPath;
    std::string pluginPath;                      // empty: our module, found by PluginLocator
    std::optional<int> programIndex;             // as recorded: selected first, even an empty slot
    std::vector<RecordedValue> recordedValues;   // set after it, before everything else
    std::string program;                         // name or index; empty: the plug-in's current one
    std::vector<std::string> unitSettings;       // "NAME=VALUE" in the units the plug-in shows
    std::vector<std::string> normalisedSettings; // "NAME=VALUE" with VALUE in 0..1
    int blockFrames = 512;
    bool keepLatency = false;
    std::string format;              // "wav", "flac", "opus" ...; empty: from the output's extension
    std::string bits;                // "16", "24", "32f"; empty: as the input
    std::optional<double> quality;   // of a lossy format, 0..10
    bool noDither = false;           // round instead of dithering to a shorter word length
    bool stereo = false;             // write a mono input as stereo
    bool acceptTruncated = false;    // render what a truncated input holds
    std::optional<double> ceilingDb; // for the true-peak check; ours: its Outceil
};

// Renders an audio file through a VST2 effect, offline, block by block (see
// RenderLoop); a mono file's output is the effect's first output unless
// stereo is asked for. The output file (see AudioFileWriter) appears only
// when everything worked, with the input's metadata; a lossy output is
// measured as decoded.
class Renderer
{
public:
    explicit Renderer(RenderSettings settings);

    // Throws HostError with a one-line message; the output path is untouched then.
    RenderReport run(ProgressBar* progress);

    static constexpr int largestBlock = 65536;

private:
    void checkPaths() const;
    void applySettings(HostedPlugin& plugin, RenderReport& report) const;
    void measureOutput(const std::string& readablePath, int outputFormat, RenderReport& report) const;

    RenderSettings settings;
};
