#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace CLI
{
class App;
}

// What `palisorne edit` is asked to do.
struct EditSettings
{
    std::string pluginPath;
    // Audio played through the plug-in in a loop; empty: the demo mix.
    std::string playPath;
    std::string program;
    std::vector<std::string> unitSettings;
    // Save the window as a PNG after this many seconds and end.
    std::string screenshotPath;
    double screenshotAfter = 3.0;
    // Instead: after this many idle calls with the audio played in step
    // (0: by the clock).
    int screenshotIdles = 0;
};

// `palisorne edit`: opens a plug-in's editor in a top-level window as a DAW
// does. The window's thread sends the editor's idle calls about 30 times a
// second; a second thread plays the audio through the plug-in in real time
// (and throws the output away), so the meters move; or, for a picture that
// is the same on every run, the window's thread plays it in step with a
// counted number of idle calls. It ends when the window
// is closed, on Ctrl-C, or after the screenshot.
class EditSession
{
public:
    static constexpr int blockFrames = 512;
    static constexpr int idleIntervalMs = 33;
    // Idle calls without audio after the counted ones, for the last paint.
    static constexpr int settleIdles = 10;

    EditSession(std::ostream& out, std::ostream& err);

    // Declares the subcommand and its options into `settings`.
    static CLI::App* addCommand(CLI::App& app, EditSettings& settings);

    // The exit code; throws HostError for a plug-in, file or display that
    // cannot be used.
    int run(const EditSettings& settings);

private:
    std::ostream& out;
    std::ostream& err;
};
