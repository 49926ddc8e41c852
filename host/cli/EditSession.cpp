#include "EditSession.h"

#include "AudioFileReader.h"
#include "DemoMix.h"
#include "EditorWindow.h"
#include "HostError.h"
#include "HostedPlugin.h"
#include "InterruptFlag.h"
#include "ParameterSetting.h"
#include "PluginLocator.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <chrono>
#include <thread>
#include <vector>

namespace
{
const int demoRate = 48000;
const double demoSeconds = 8.0;

struct Loop
{
    std::vector<float> left;
    std::vector<float> right;
    int sampleRate;
};

Loop loadLoop(const std::string& path)
{
    Loop loop;
    if (path.empty())
    {
        const std::vector<float> mix = DemoMix(demoRate).render(demoSeconds);
        loop.sampleRate = demoRate;
        for (size_t i = 0; i + 1 < mix.size(); i += 2)
        {
            loop.left.push_back(mix[i]);
            loop.right.push_back(mix[i + 1]);
        }
        return loop;
    }
    AudioFileReader reader(path);
    loop.sampleRate = reader.getSampleRate();
    const int channels = reader.getChannels();
    std::vector<float> block(static_cast<size_t>(4096 * channels));
    size_t frames = 0;
    while ((frames = reader.read(block.data(), 4096)) > 0)
    {
        for (size_t i = 0; i < frames; ++i)
        {
            const float left = block[i * channels];
            loop.left.push_back(left);
            loop.right.push_back(channels > 1 ? block[i * channels + 1] : left);
        }
    }
    if (loop.left.empty())
    {
        throw HostError("no audio in " + path);
    }
    return loop;
}

// Feeds the loop through the effect block by block; the output is thrown
// away.
class LoopPlayer
{
public:
    LoopPlayer(AEffect* effect, const Loop& loop)
        : effect(effect), loop(loop), inLeft(frames), inRight(frames), outLeft(frames), outRight(frames),
          position(0)
    {
    }

    void playBlock()
    {
        for (int i = 0; i < frames; ++i)
        {
            inLeft[i] = loop.left[position];
            inRight[i] = loop.right[position];
            position = (position + 1) % loop.left.size();
        }
        float* inputs[2] = {inLeft.data(), inRight.data()};
        float* outputs[2] = {outLeft.data(), outRight.data()};
        effect->processReplacing(effect, inputs, outputs, frames);
    }

    // One block, then a sleep until the block's time has passed on the clock.
    void playInRealTime(const std::atomic<bool>& stop)
    {
        const auto blockTime = std::chrono::duration<double>(static_cast<double>(frames) / loop.sampleRate);
        auto deadline = std::chrono::steady_clock::now();
        while (!stop.load())
        {
            playBlock();
            deadline += std::chrono::duration_cast<std::chrono::steady_clock::duration>(blockTime);
            std::this_thread::sleep_until(deadline);
        }
    }

private:
    static constexpr int frames = EditSession::blockFrames;
    AEffect* effect;
    const Loop& loop;
    std::vector<float> inLeft, inRight, outLeft, outRight;
    size_t position;
};
}

EditSession::EditSession(std::ostream& out, std::ostream& err)
    : out(out)
    , err(err)
{
}

CLI::App* EditSession::addCommand(CLI::App& app, EditSettings& settings)
{
    CLI::App* command = app.add_subcommand(
        "edit", "Open the plug-in's editor in a window while audio plays through it in real time.");
    command->add_option("--plugin", settings.pluginPath, "VST2 module (default: KW_Palisorne.so)");
    command->add_option("--play", settings.playPath, "Audio file played in a loop (default: the demo mix)");
    command->add_option("--program", settings.program, "Program to select, by name or index");
    command
        ->add_option("--set", settings.unitSettings,
                     "NAME=VALUE in the units the plug-in shows, e.g. \"Scale=2\" (repeatable)")
        ->allow_extra_args(false);
    command->add_option("--screenshot", settings.screenshotPath, "Save the window as this PNG, then end");
    command->add_option("--after", settings.screenshotAfter, "Seconds before the screenshot")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 3600.0));
    command
        ->add_option("--idles", settings.screenshotIdles,
                     "Screenshot after this many idle calls instead, the audio played in step with them "
                     "(the same picture on every run)")
        ->check(CLI::Range(1, 100000))
        ->excludes("--after");
    return command;
}

int EditSession::run(const EditSettings& settings)
{
    HostedPlugin plugin(settings.pluginPath.empty() ? PluginLocator::findDefault() : settings.pluginPath);
    VstModule& module = plugin.module();
    AEffect* effect = module.effect();
    if (!(effect->flags & effFlagsHasEditor))
    {
        throw HostError(plugin.displayName() + " has no editor");
    }
    ParameterSetting::applyAll(plugin, settings.program, settings.unitSettings, {});

    const Loop loop = loadLoop(settings.playPath);
    plugin.start(loop.sampleRate, blockFrames);

    ERect* rect = nullptr;
    module.dispatch(effEditGetRect, 0, 0, &rect);
    if (!rect || rect->right <= rect->left || rect->bottom <= rect->top)
    {
        throw HostError(plugin.displayName() + " gives no editor size");
    }
    EditorWindow window(rect->right - rect->left, rect->bottom - rect->top, plugin.displayName());
    if (module.dispatch(effEditOpen, 0, 0, window.getParentHandle()) == 0)
    {
        throw HostError(plugin.displayName() + " did not open its editor");
    }
    out << "edit: " << plugin.displayName() << " (" << rect->right - rect->left << " x " << rect->bottom - rect->top
        << ")" << (settings.screenshotPath.empty() ? ", close the window or press Ctrl-C to end" : "") << "\n";

    // In step: the blocks of one idle interval before each idle call, none
    // after the last counted one, while a few more calls let the window
    // finish painting (unread meters keep their readings).
    const bool inStep = settings.screenshotIdles > 0;
    const int blocksPerIdle =
        std::max(1, static_cast<int>(std::lround(idleIntervalMs * 0.001 * loop.sampleRate / blockFrames)));
    LoopPlayer player(effect, loop);
    std::atomic<bool> stopAudio(false);
    std::thread audio;
    if (!inStep)
    {
        audio = std::thread([&] { player.playInRealTime(stopAudio); });
    }

    const auto start = std::chrono::steady_clock::now();
    auto nextIdle = start;
    int idles = 0;
    bool screenshotTaken = false;
    while (window.handleEvents() && !InterruptFlag::isRaised())
    {
        for (int block = 0; inStep && idles < settings.screenshotIdles && block < blocksPerIdle; ++block)
        {
            player.playBlock();
        }
        module.dispatch(effEditIdle);
        ++idles;
        const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        const bool due = inStep ? idles >= settings.screenshotIdles + settleIdles : elapsed >= settings.screenshotAfter;
        if (!settings.screenshotPath.empty() && due && window.showsEditor())
        {
            window.saveScreenshot(settings.screenshotPath);
            screenshotTaken = true;
            break;
        }
        nextIdle += std::chrono::milliseconds(idleIntervalMs);
        std::this_thread::sleep_until(nextIdle);
    }

    stopAudio.store(true);
    if (audio.joinable())
    {
        audio.join();
    }
    module.dispatch(effEditClose);
    plugin.stop();
    if (screenshotTaken)
    {
        out << "edit: screenshot saved to " << settings.screenshotPath << "\n";
    }
    else if (!settings.screenshotPath.empty())
    {
        err << "palisorne: warning: ended before the screenshot was taken\n";
        return 1;
    }
    return 0;
}
