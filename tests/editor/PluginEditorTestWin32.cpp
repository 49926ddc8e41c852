#include "TestDesktop.h"
#include "VstModule.h"

#include <windows.h>

#include <objidl.h>

#include <gdiplus.h>
#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>
#include <vector>

namespace
{
constexpr int width = 506;
constexpr int height = 427;

// A 440 Hz tone 6 dB over full scale, one block per idle call.
void playBlock(VstModule& plugin, int block)
{
    constexpr int frames = 512;
    std::vector<float> left(frames), right(frames), outLeft(frames), outRight(frames);
    for (int n = 0; n < frames; ++n)
    {
        const double t = (block * frames + n) / 44100.0;
        left[n] = right[n] = static_cast<float>(2.0 * std::sin(2.0 * M_PI * 440.0 * t));
    }
    float* inputs[] = {left.data(), right.data()};
    float* outputs[] = {outLeft.data(), outRight.data()};
    plugin.processReplacing(inputs, outputs, frames);
}

bool savePng(std::vector<uint32_t>& pixels, const std::string& path)
{
    Gdiplus::GdiplusStartupInput startup;
    ULONG_PTR session = 0;
    Gdiplus::GdiplusStartup(&session, &startup, nullptr);
    bool saved = false;
    {
        Gdiplus::Bitmap picture(width, height, width * 4, PixelFormat32bppRGB,
                                reinterpret_cast<BYTE*>(pixels.data()));
        const CLSID png = {0x557cf406, 0x1a04, 0x11d3, {0x9a, 0x73, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e}};
        saved = picture.Save(std::wstring(path.begin(), path.end()).c_str(), &png, nullptr) == Gdiplus::Ok;
    }
    Gdiplus::GdiplusShutdown(session);
    return saved;
}
}

// The built module's editor in a host's window, through the binary
// interface only, with the tone playing so the meters move. The picture is
// left in the build tree (editor-windows.png, the one in docs/).
TEST(PluginEditorTest, EditorOpensInTheHostsWindowAndPaintsThePanelTextsAndMeters)
{
    TestDesktop desktop(width, height);
    ASSERT_TRUE(desktop.isConnected());
    VstModule plugin(PALISORNE_MODULE_PATH);
    plugin.open();
    plugin.setSampleRate(44100.0f);
    plugin.setBlockSize(512);
    plugin.resume();
    ERect* size = nullptr;
    plugin.dispatch(effEditGetRect, 0, 0, &size);
    ASSERT_NE(size, nullptr);
    EXPECT_EQ(size->right - size->left, width);
    EXPECT_EQ(size->bottom - size->top, height);
    ASSERT_EQ(plugin.dispatch(effEditOpen, 0, 0, desktop.getParentHandle()), 1);
    for (int idle = 0; idle < 60; ++idle)
    {
        playBlock(plugin, idle);
        plugin.dispatch(effEditIdle);
        desktop.handleEvents();
        Sleep(10);
    }
    std::vector<uint32_t> pixels = desktop.picture();
    ASSERT_EQ(pixels.size(), static_cast<size_t>(width * height));
    // A painted panel has many colours (bitmap shading, antialiased text);
    // an editor that drew nothing or one flat colour has few.
    std::set<uint32_t> colours;
    for (int y = 0; y < height; y += 3)
    {
        for (int x = 0; x < width; x += 3)
        {
            colours.insert(pixels[static_cast<size_t>(y * width + x)]);
        }
    }
    EXPECT_GE(colours.size(), 200u);
    EXPECT_TRUE(savePng(pixels, PALISORNE_EDITOR_SHOT));
    plugin.dispatch(effEditClose);
}
