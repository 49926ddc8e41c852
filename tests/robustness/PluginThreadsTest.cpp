// The module in a busy host: many instances on several audio threads, a
// user-interface thread that automates and queries while audio runs, and the
// editor opened and closed under running audio. Meant for ThreadSanitizer
// too (scripts/check-sanitizers.sh runs this suite in its TSan build).
#include "AuditedPlugin.h"
#include "LoudMix.h"
#include "TestDesktop.h"
#include "XvfbServer.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace
{
constexpr int factoryPrograms = 17;
constexpr int parameters = 13;
constexpr int ceilingIndex = 5;

// Audio on its own thread until stop is set, in blocks of random length
// (the host's buffer size changing is not rare with live input).
class AudioThread
{
public:
    AudioThread(AuditedPlugin& plugin, uint32_t seed, float gain)
        : plugin(plugin), material(44100.0, seed), gain(gain), blocks(0)
    {
        worker = std::thread([this, seed] {
            std::mt19937 random(seed);
            while (!stop.load())
            {
                this->plugin.process(material, 1 + static_cast<int>(random() % 1024), this->gain);
                blocks.fetch_add(1);
            }
        });
    }

    ~AudioThread() { finish(); }

    void finish()
    {
        stop.store(true);
        if (worker.joinable())
        {
            worker.join();
        }
    }

    long processedBlocks() const { return blocks.load(); }

private:
    AuditedPlugin& plugin;
    LoudMix material;
    const float gain;
    std::atomic<bool> stop{false};
    std::atomic<long> blocks;
    std::thread worker;
};
}

// Sixteen instances, each on its own audio thread, program and material:
// instances share nothing a thread can see, except the process-wide noise
// and dither generators.
TEST(PluginThreads, SixteenInstancesOnTheirOwnThreadsStayUnderTheirCeilings)
{
    const int instanceCount = 16;
    std::vector<std::unique_ptr<AuditedPlugin>> instances;
    std::vector<std::unique_ptr<AudioThread>> threads;
    for (int i = 0; i < instanceCount; ++i)
    {
        instances.emplace_back(new AuditedPlugin);
        instances.back()->module().setProgram(i % factoryPrograms);
        threads.emplace_back(new AudioThread(*instances.back(), static_cast<uint32_t>(100 + i), 4.0f));
    }
    for (const auto& thread : threads)
    {
        while (thread->processedBlocks() < 200)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    for (int i = 0; i < instanceCount; ++i)
    {
        threads[i]->finish();
        EXPECT_TRUE(instances[i]->clean()) << "instance " << i << ": " << instances[i]->firstViolation();
        EXPECT_GT(instances[i]->highestRatio(), 0.9) << "instance " << i;
    }
}

// While audio runs, a second thread turns every parameter at random (the
// ceiling only between -10 and -3 dB), reads them back and asks for their
// display texts, as a host's automation and user interface do. Whatever
// value is caught at whatever moment, no sample passes the highest ceiling
// ever set.
TEST(PluginThreads, AutomationFromAnotherThreadNeverPassesTheHighestCeiling)
{
    const float highestCeiling = 0.7f;
    AuditedPlugin plugin;
    plugin.module().setParameter(ceilingIndex, highestCeiling);
    plugin.useFixedBound(plugin.ceiling());
    AEffect* effect = plugin.module().effect();

    std::atomic<long> changes{0};
    AudioThread audio(plugin, 21, 4.0f);
    std::mt19937 random(22);
    std::uniform_real_distribution<float> unit(0.0f, 1.0f);
    char text[256];
    while (audio.processedBlocks() < 1500 || changes.load() < 20000)
    {
        const int index = static_cast<int>(random() % parameters);
        const float value = index == ceilingIndex ? highestCeiling * unit(random) : unit(random);
        effect->setParameter(effect, index, value);
        effect->getParameter(effect, index);
        effect->dispatcher(effect, effGetParamDisplay, index, 0, text, 0.0f);
        changes.fetch_add(1);
    }
    audio.finish();
    EXPECT_TRUE(plugin.clean()) << plugin.firstViolation();
    EXPECT_GT(plugin.highestRatio(), 0.5);
}

// The user opens and closes the editor again and again while the audio
// thread runs and the meters move: the editor's idle calls read the meters
// the audio thread writes. Runs against a private X server.
TEST(PluginThreads, EditorOpenedAndClosedWhileAudioRuns)
{
    XvfbServer server;
    ASSERT_TRUE(server.isRunning()) << "could not start Xvfb";
    TestDesktop desktop(506, 427);
    ASSERT_TRUE(desktop.isConnected());

    AuditedPlugin plugin;
    plugin.module().setProgram(6);
    // Parameters change under the audio thread: bound by the highest ceiling.
    plugin.module().setParameter(ceilingIndex, 1.0f);
    plugin.useFixedBound(plugin.ceiling());
    AEffect* effect = plugin.module().effect();
    AudioThread audio(plugin, 31, 2.0f);
    std::mt19937 random(32);
    for (int cycle = 0; cycle < 12; ++cycle)
    {
        ASSERT_EQ(effect->dispatcher(effect, effEditOpen, 0, 0, desktop.getParentHandle(), 0.0f), 1);
        // The window shows once the editor's idle calls have run its events.
        bool shown = false;
        for (int tick = 0; tick < 500 && !shown; ++tick)
        {
            effect->dispatcher(effect, effEditIdle, 0, 0, nullptr, 0.0f);
            shown = desktop.isViewable(desktop.findEditorWindow());
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        EXPECT_TRUE(shown) << "cycle " << cycle;
        for (int tick = 0; tick < 10; ++tick)
        {
            effect->dispatcher(effect, effEditIdle, 0, 0, nullptr, 0.0f);
            effect->setParameter(effect, static_cast<int>(random() % parameters),
                                 static_cast<float>(random() % 1001) / 1000.0f);
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        effect->dispatcher(effect, effEditClose, 0, 0, nullptr, 0.0f);
        EXPECT_EQ(desktop.findEditorWindow(), 0u);
    }
    audio.finish();
    EXPECT_GT(audio.processedBlocks(), 0);
    EXPECT_TRUE(plugin.clean()) << plugin.firstViolation();
    // An editor left open is closed with the effect.
    ASSERT_EQ(effect->dispatcher(effect, effEditOpen, 0, 0, desktop.getParentHandle(), 0.0f), 1);
    effect->dispatcher(effect, effEditIdle, 0, 0, nullptr, 0.0f);
    plugin.module().close();
    EXPECT_EQ(desktop.findEditorWindow(), 0u);
}
