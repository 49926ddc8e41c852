#include "TestDesktop.h"
#include "VstModule.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cmath>
#include <cstdio>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace
{
// The built module and host, through the binary interface only.
const char* const modulePath = PALISORNE_MODULE_PATH;
const char* const hostPath = PALISORNE_HOST_PATH;

template <class Condition>
bool idleUntil(VstModule& module, Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (std::chrono::steady_clock::now() < end)
    {
        module.dispatch(effEditIdle);
        if (condition())
        {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return false;
}

// A full-scale 1 kHz sine through the limiter, so its meters have work.
void processSine(VstModule& module, int blocks)
{
    const int frames = 512;
    std::vector<float> left(frames), right(frames), outLeft(frames), outRight(frames);
    float* inputs[2] = {left.data(), right.data()};
    float* outputs[2] = {outLeft.data(), outRight.data()};
    for (int block = 0; block < blocks; ++block)
    {
        for (int i = 0; i < frames; ++i)
        {
            left[i] = right[i] = static_cast<float>(std::sin(2.0 * M_PI * 1000.0 * (block * frames + i) / 44100.0));
        }
        module.processReplacing(inputs, outputs, frames);
    }
}
}

TEST(PluginEditorTest, ModuleAnnouncesItsEditorAndOpensItInTheHostsWindow)
{
    VstModule module(modulePath);
    module.open();
    module.setSampleRate(44100.0f);
    module.setBlockSize(512);
    module.resume();
    ASSERT_TRUE(module.flags() & effFlagsHasEditor);
    ERect* rect = nullptr;
    ASSERT_EQ(module.dispatch(effEditGetRect, 0, 0, &rect), 1);
    ASSERT_NE(rect, nullptr);
    EXPECT_EQ(rect->right - rect->left, 506);
    EXPECT_EQ(rect->bottom - rect->top, 427);

    TestDesktop desktop(506, 427);
    ASSERT_TRUE(desktop.isConnected());
    // Open, close and open again, with audio and parameter changes between
    // and while closed.
    for (int round = 0; round < 2; ++round)
    {
        ASSERT_EQ(module.dispatch(effEditOpen, 0, 0, desktop.getParentHandle()), 1);
        ASSERT_TRUE(idleUntil(module, [&desktop] { return desktop.isViewable(desktop.findEditorWindow()); }));
        int width = 0;
        int height = 0;
        ASSERT_TRUE(desktop.getWindowSize(desktop.findEditorWindow(), width, height));
        EXPECT_EQ(width, 506);
        EXPECT_EQ(height, 427);
        processSine(module, 20);
        module.setParameter(6, 2.0f / 3.0f);
        module.dispatch(effEditIdle);
        module.dispatch(effEditClose);
        EXPECT_EQ(desktop.findEditorWindow(), 0u);
        module.setParameter(0, 0.6f);
        processSine(module, 5);
    }
    // An editor left open is closed with the effect.
    ASSERT_EQ(module.dispatch(effEditOpen, 0, 0, desktop.getParentHandle()), 1);
    module.dispatch(effEditIdle);
    module.close();
    EXPECT_EQ(desktop.findEditorWindow(), 0u);
}

TEST(PluginEditorTest, TwoInstancesOfTheModuleShowTheirEditorsAtOnce)
{
    VstModule first(modulePath);
    VstModule second(modulePath);
    first.open();
    second.open();
    TestDesktop firstDesktop(506, 427);
    TestDesktop secondDesktop(506, 427);
    ASSERT_EQ(first.dispatch(effEditOpen, 0, 0, firstDesktop.getParentHandle()), 1);
    ASSERT_EQ(second.dispatch(effEditOpen, 0, 0, secondDesktop.getParentHandle()), 1);
    EXPECT_TRUE(idleUntil(first, [&] {
        second.dispatch(effEditIdle);
        return firstDesktop.isViewable(firstDesktop.findEditorWindow()) &&
               secondDesktop.isViewable(secondDesktop.findEditorWindow());
    }));
    first.dispatch(effEditClose);
    second.dispatch(effEditIdle);
    second.dispatch(effEditClose);
}

TEST(PluginEditorTest, EditCommandSavesAScreenshotWithMovingMeters)
{
    char folder[] = "/tmp/palisorne-edit-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::string shot = std::string(folder) + "/editor.png";
    const std::vector<std::string> words = {hostPath,  "edit",          "--plugin", modulePath, "--program",
                                            "K-system CD master", "--set", "In gain=6", "--screenshot", shot,
                                            "--after", "2"};
    std::vector<char*> arguments;
    for (const std::string& word : words)
    {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    // A sanitizer build of the host reads the same suppressions.
    setenv("LSAN_OPTIONS", "suppressions=" PALISORNE_LSAN_SUPPRESSIONS, 1);
    pid_t child = 0;
    ASSERT_EQ(posix_spawn(&child, hostPath, nullptr, nullptr, arguments.data(), environ), 0);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);

    cairo_surface_t* image = cairo_image_surface_create_from_png(shot.c_str());
    ASSERT_EQ(cairo_surface_status(image), CAIRO_STATUS_SUCCESS);
    EXPECT_EQ(cairo_image_surface_get_width(image), 506);
    EXPECT_EQ(cairo_image_surface_get_height(image), 427);
    // Bottom of the left output-peak meter, clear of its scale labels: the
    // music (about -1 dBFS peaks after +6 dB into the limiter) fills it in
    // the green low zone; an idle meter shows its near-black well there.
    const unsigned char* pixels = cairo_image_surface_get_data(image);
    const int stride = cairo_image_surface_get_stride(image);
    const uint32_t pixel = *reinterpret_cast<const uint32_t*>(pixels + 232 * stride + 388 * 4);
    const int red = (pixel >> 16) & 0xFF;
    const int green = (pixel >> 8) & 0xFF;
    EXPECT_GT(green, 60) << std::hex << pixel;
    EXPECT_LT(red, 40) << std::hex << pixel;
    cairo_surface_destroy(image);
    std::remove(shot.c_str());
    rmdir(folder);
}
