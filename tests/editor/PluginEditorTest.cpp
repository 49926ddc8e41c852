#include "ProcessRunner.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstdio>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{
// The built module and host, through the binary interface only.
const char* const modulePath = PALISORNE_MODULE_PATH;
const char* const hostPath = PALISORNE_HOST_PATH;
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
    // A sanitizer build of the host reads the same suppressions.
    ::setenv("LSAN_OPTIONS", "suppressions=" PALISORNE_LSAN_SUPPRESSIONS, 1);
    const ProcessResult run = runProcess(words);
    ASSERT_EQ(run.exitCode, 0) << run.err;

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
