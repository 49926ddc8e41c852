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
bool savePng(std::vector<uint32_t>& pixels, int width, int height, const std::string& path)
{
    Gdiplus::GdiplusStartupInput startup;
    ULONG_PTR session = 0;
    Gdiplus::GdiplusStartup(&session, &startup, nullptr);
    bool saved = false;
    {
        Gdiplus::Bitmap picture(width, height, width * 4, PixelFormat32bppRGB, reinterpret_cast<BYTE*>(pixels.data()));
        const CLSID png = {0x557cf406, 0x1a04, 0x11d3, {0x9a, 0x73, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e}};
        saved = picture.Save(std::wstring(path.begin(), path.end()).c_str(), &png, nullptr) == Gdiplus::Ok;
    }
    Gdiplus::GdiplusShutdown(session);
    return saved;
}
}

// The built module's editor in a host's window, through the binary
// interface only: its bitmaps come from the module's own resources. A
// 440 Hz tone 6 dB over full scale plays through the default program, one
// block per idle call, so the meters move. The picture is left in the
// build tree (editor-windows.png, the one in docs/).
TEST(PluginEditorTest, ModuleEditorPaintsThePanelTextsAndMetersInTheHostsWindow)
{
    const int width = 506;
    const int height = 427;
    TestDesktop desktop(width, height);
    ASSERT_TRUE(desktop.isConnected());
    VstModule plugin(PALISORNE_MODULE_PATH);
    plugin.open();
    plugin.setSampleRate(44100.0f);
    plugin.setBlockSize(512);
    plugin.resume();
    ASSERT_EQ(plugin.dispatch(effEditOpen, 0, 0, desktop.getParentHandle()), 1);
    std::vector<float> tone(512), output(512);
    float* inputs[] = {tone.data(), tone.data()};
    float* outputs[] = {output.data(), output.data()};
    for (int idle = 0; idle < 60; ++idle)
    {
        for (int n = 0; n < 512; ++n)
        {
            tone[n] = static_cast<float>(2.0 * std::sin(2.0 * M_PI * 440.0 * (idle * 512 + n) / 44100.0));
        }
        plugin.processReplacing(inputs, outputs, 512);
        plugin.dispatch(effEditIdle);
        desktop.handleEvents();
        Sleep(10);
    }
    std::vector<uint32_t> pixels = desktop.picture();
    ASSERT_EQ(pixels.size(), static_cast<size_t>(width * height));
    // A painted panel has many colours (bitmap shading, antialiased text);
    // an editor that drew nothing or one flat colour has few.
    EXPECT_GE(std::set<uint32_t>(pixels.begin(), pixels.end()).size(), 200u);
    EXPECT_TRUE(savePng(pixels, width, height, PALISORNE_EDITOR_SHOT));
    plugin.dispatch(effEditClose);
}
