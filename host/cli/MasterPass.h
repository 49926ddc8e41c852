#pragma once

#include <string>
#include <vector>

namespace CLI
{
class App;
}

// One pass of `palisorne master` over one file, as a child process runs it.
struct MasterPassRequest
{
    std::string inputPath;
    std::string outputPath; // empty: measure the input only
    std::string resultPath; // where the MasterMeasurement goes
    std::string pluginPath;
    std::string program;
    std::vector<std::string> unitSettings;
    std::vector<std::string> normalisedSettings;
    double hostGainDb = 0.0; // applied before the plug-in
    std::string bits;
    int blockFrames = 512;
};

// Renders a file through the plug-in and measures what was written, or
// measures an input. Each pass runs in a process of its own (the internal
// `master-pass` command), so that every render starts the plug-in's
// process-wide noise and dither generators from the state they have when the
// module is loaded: the output bits depend neither on how many renders run at
// once nor on the order they run in, and equal those of `palisorne render`
// with the same settings. Output that the writer changes (lossy encoding,
// dither) is read back and measured as delivered. The fraction done goes to `progressDescriptor` as lines of text.
class MasterPass
{
public:
    static CLI::App* addCommand(CLI::App& app, MasterPassRequest& request);
    static void run(const MasterPassRequest& request, int progressDescriptor);
};
