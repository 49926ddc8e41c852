#pragma once

#include "MasterMeasurement.h"
#include "MasterSearch.h"

#include <ostream>
#include <string>
#include <vector>

namespace CLI
{
class App;
}

// What `palisorne master` is asked to do.
struct MasterSettings
{
    std::vector<std::string> inputs;
    std::string outputPath;      // with one input
    std::string outputDirectory; // with any number
    MasterTargets targets;
    std::string pluginPath;
    std::string program;
    std::vector<std::string> unitSettings;
    std::vector<std::string> normalisedSettings;
    std::string bits;
    bool album = false;
    int jobs = 0; // 0: one per core
    bool plot = false;
    bool bestEffort = false;
    bool overwrite = false;
    bool json = false;
};

// One file through the search: its measurements and where it goes.
struct MasteredFile
{
    std::string inputPath;
    std::string outputPath;
    std::string plotPath; // empty without --plot
    MasterMeasurement input;
    MasterMeasurement output;
    // The true peak per 100 ms of the first render, before the ceiling moved.
    std::vector<float> firstTruePeakPerHop;
    std::vector<float> reductionDb; // per 10 ms, see MasterMeasurement
    // The `palisorne render` command line that gives the same output.
    std::string renderCommand;
};

// The files that share one gain and one ceiling: one file, or an album.
struct MasterUnit
{
    std::vector<size_t> files;
    MasterSearch search;
    bool written = false;
    double outputLoudnessLufs = 0.0; // the unit's, gated over all its files
    double inputLoudnessLufs = 0.0;
};

// `palisorne master`: brings files (each, or all as an album) to a loudness
// target with a true-peak maximum through real renders, then reports. Inputs
// are measured once; each pass renders every unfinished file in a child
// process (MasterPass) into a private directory beside the outputs, and only
// the files of a finished search are moved to their names.
class MasterSession
{
public:
    MasterSession(std::ostream& out, std::ostream& err);

    static CLI::App* addCommand(CLI::App& app, MasterSettings& settings);

    // 0 when every file met the targets, 1 when one could not (nothing of it
    // written unless --best-effort); throws HostError for bad requests.
    int run(const MasterSettings& settings);

private:
    struct PluginControls;

    PluginControls probePlugin(const MasterSettings& settings) const;
    void planOutputs(const MasterSettings& settings);
    std::vector<std::string> renderOptions(const MasterSettings& settings, const PluginControls& controls,
                                           double gainDb, std::optional<double> ceilingDb) const;
    void runPasses(const MasterSettings& settings, const PluginControls& controls, const std::string& scratch);

    std::ostream& out;
    std::ostream& err;
    std::vector<MasteredFile> files;
    std::vector<MasterUnit> units;
};
