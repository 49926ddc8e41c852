// Opens the Windows module's editor in a window of its own, as a host does
// (effEditOpen with the parent HWND, then idle calls from the message loop),
// plays a signal through the plug-in so the meters move, copies the editor's
// window into a PNG and checks the picture: the panel bitmap was drawn with
// its alpha and the texts and meters on top.
//   WindowsEditorShot <module.dll> <out.png>
#include "VstModule.h"

#include <windows.h>

#include <objidl.h>

#include <gdiplus.h>

#include <cmath>
#include <cstdio>
#include <set>
#include <string>
#include <vector>

namespace
{
constexpr int width = 506;
constexpr int height = 427;

LRESULT CALLBACK parentProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    return DefWindowProcA(window, message, wParam, lParam);
}

void pumpMessages()
{
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE))
    {
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
}

// A 440 Hz tone 6 dB over full scale into the limiter, one block per idle.
void playBlock(VstModule& plugin, int block)
{
    constexpr int frames = 512;
    std::vector<float> left(frames), right(frames), outLeft(frames), outRight(frames);
    for (int n = 0; n < frames; ++n)
    {
        const double t = (block * frames + n) / 44100.0;
        left[n] = right[n] = static_cast<float>(2.0 * std::sin(2.0 * 3.141592653589793 * 440.0 * t));
    }
    float* inputs[] = {left.data(), right.data()};
    float* outputs[] = {outLeft.data(), outRight.data()};
    plugin.processReplacing(inputs, outputs, frames);
}

bool savePng(HBITMAP pixels, const std::wstring& path)
{
    Gdiplus::Bitmap picture(pixels, nullptr);
    const CLSID png = {0x557cf406, 0x1a04, 0x11d3, {0x9a, 0x73, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e}};
    return picture.Save(path.c_str(), &png, nullptr) == Gdiplus::Ok;
}
}

int main(int argc, char** argv)
{
    if (argc != 3)
    {
        std::fprintf(stderr, "usage: WindowsEditorShot <module.dll> <out.png>\n");
        return 2;
    }
    Gdiplus::GdiplusStartupInput startup;
    ULONG_PTR gdiplus = 0;
    Gdiplus::GdiplusStartup(&gdiplus, &startup, nullptr);
    int failures = 0;
    {
        VstModule plugin(argv[1]);
        plugin.open();
        plugin.setSampleRate(44100.0f);
        plugin.setBlockSize(512);
        plugin.resume();

        WNDCLASSA windowClass = {};
        windowClass.lpfnWndProc = parentProcedure;
        windowClass.hInstance = GetModuleHandleA(nullptr);
        windowClass.lpszClassName = "PalisorneTestHost";
        RegisterClassA(&windowClass);
        RECT frame = {0, 0, width, height};
        AdjustWindowRect(&frame, WS_OVERLAPPEDWINDOW, FALSE);
        HWND parent = CreateWindowA("PalisorneTestHost", "KW_Palisorne", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                                    frame.right - frame.left, frame.bottom - frame.top, nullptr, nullptr,
                                    windowClass.hInstance, nullptr);
        ERect* size = nullptr;
        plugin.dispatch(effEditGetRect, 0, 0, &size);
        if (!size || size->right - size->left != width || size->bottom - size->top != height)
        {
            std::fprintf(stderr, "the editor does not report 506 x 427\n");
            ++failures;
        }
        if (plugin.dispatch(effEditOpen, 0, 0, parent) != 1)
        {
            std::fprintf(stderr, "the editor did not open\n");
            return 1;
        }
        HWND editor = GetWindow(parent, GW_CHILD);
        for (int idle = 0; idle < 60; ++idle)
        {
            playBlock(plugin, idle);
            plugin.dispatch(effEditIdle);
            pumpMessages();
            Sleep(10);
        }

        // What the screen shows where the editor is.
        POINT origin = {0, 0};
        ClientToScreen(editor, &origin);
        HDC source = GetDC(nullptr);
        HDC copy = CreateCompatibleDC(source);
        HBITMAP pixels = CreateCompatibleBitmap(source, width, height);
        HGDIOBJ previous = SelectObject(copy, pixels);
        BitBlt(copy, 0, 0, width, height, source, origin.x, origin.y, SRCCOPY);
        // A painted panel has many colours (bitmap shading, antialiased
        // text); an editor that drew nothing or one flat colour has few.
        std::set<COLORREF> colours;
        for (int y = 0; y < height; y += 3)
        {
            for (int x = 0; x < width; x += 3)
            {
                colours.insert(GetPixel(copy, x, y));
            }
        }
        SelectObject(copy, previous);
        DeleteDC(copy);
        ReleaseDC(nullptr, source);
        if (!editor || colours.size() < 200)
        {
            std::fprintf(stderr, "the editor's window shows %zu colours\n", colours.size());
            ++failures;
        }
        const std::string out = argv[2];
        if (!savePng(pixels, std::wstring(out.begin(), out.end())))
        {
            std::fprintf(stderr, "cannot write %s\n", argv[2]);
            ++failures;
        }
        DeleteObject(pixels);
        plugin.dispatch(effEditClose);
        DestroyWindow(parent);
        std::printf("%zu colours, %s\n", colours.size(), failures ? "FAILED" : "ok");
    }
    Gdiplus::GdiplusShutdown(gdiplus);
    return failures ? 1 : 0;
}
