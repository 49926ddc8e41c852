#include "TestDesktop.h"
#include "VstModule.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
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
}

TEST(PluginEditorTest, ModuleOpensItsEditorInTheHostsWindowAndClosesItWithTheEffect)
{
    VstModule module(modulePath);
    module.open();
    ASSERT_TRUE(module.flags() & effFlagsHasEditor);
    TestDesktop desktop(506, 427);
    ASSERT_TRUE(desktop.isConnected());
    ASSERT_EQ(module.dispatch(effEditOpen, 0, 0, desktop.getParentHandle()), 1);
    ASSERT_TRUE(idleUntil(module, [&desktop] { return desktop.isViewable(desktop.findEditorWindow()); }));
    module.setParameter(6, 2.0f / 3.0f);
    module.dispatch(effEditIdle);
    module.dispatch(effEditClose);
    EXPECT_EQ(desktop.findEditorWindow(), 0u);
    // An editor left open is closed with the effect.
    ASSERT_EQ(module.dispatch(effEditOpen, 0, 0, desktop.getParentHandle()), 1);
    module.dispatch(effEditIdle);
    module.close();
    EXPECT_EQ(desktop.findEditorWindow(), 0u);
}

// The rendered editor: the edit command plays the demo mix through "K-system
// CD master" (K-14 scale; true-peak and AES17 switches on, monitor off) at
// +6 dB in step with 90 idle calls, so the picture is the same on every run.
TEST(PluginEditorTest, EditCommandScreenshotShowsTheSwitchesAndTheMeterZonesOfTheProgram)
{
    char folder[] = "/tmp/palisorne-edit-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::string shot = std::string(folder) + "/editor.png";
    const std::vector<std::string> words = {hostPath,  "edit",          "--plugin", modulePath, "--program",
                                            "K-system CD master", "--set", "In gain=6", "--screenshot", shot,
                                            "--idles", "90"};
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
    const unsigned char* pixels = cairo_image_surface_get_data(image);
    const int stride = cairo_image_surface_get_stride(image);
    struct Rgb
    {
        int red;
        int green;
    };
    auto at = [&](int x, int y) {
        const uint32_t pixel = *reinterpret_cast<const uint32_t*>(pixels + y * stride + x * 4);
        return Rgb{static_cast<int>((pixel >> 16) & 0xFF), static_cast<int>((pixel >> 8) & 0xFF)};
    };
    // A lit switch is near white-green, an unlit one dim.
    EXPECT_GT(at(124, 384).green, 200) << "true peak";
    EXPECT_GT(at(226, 364).green, 200) << "AES17";
    EXPECT_LT(at(226, 343).green, 150) << "monitor";
    // The left output-peak meter (rows 48..238 for +1.9..-32 dB; column 388,
    // clear of the labels), filled by music peaking about -1 dBFS: on K-14
    // red above -10 dB (row 103 is -8 dB), green below -14 (row 165 is
    // -20 dB and the bottom).
    const Rgb high = at(388, 103);
    EXPECT_GT(high.red, 2 * high.green) << high.red << " " << high.green;
    for (int row : {165, 232})
    {
        const Rgb low = at(388, row);
        EXPECT_GT(low.green, 60) << row;
        EXPECT_LT(low.red, 40) << row;
    }
    cairo_surface_destroy(image);
    std::remove(shot.c_str());
    rmdir(folder);
}
