#include "TestDesktop.h"

#include <windows.h>

namespace
{
HWND handle(uintptr_t window)
{
    return reinterpret_cast<HWND>(window);
}

// The modifier keys held down: the machine's one keyboard.
bool shiftHeld = false;
bool controlHeld = false;

void sendKey(WORD key, bool down)
{
    INPUT input = {};
    input.type = INPUT_KEYBOARD;
    input.ki = {key, static_cast<WORD>(MapVirtualKeyA(key, MAPVK_VK_TO_VSC)), down ? 0u : KEYEVENTF_KEYUP, 0, 0};
    SendInput(1, &input, sizeof(INPUT));
}

// Held keys repeat before each mouse event, as a keyboard's auto-repeat
// does. Under wine this is needed too: it takes the modifiers from X's
// pointer events, which know nothing of keys sent through SendInput.
void sendMouse(DWORD flags, LONG x = 0, LONG y = 0, DWORD wheel = 0)
{
    if (shiftHeld)
    {
        sendKey(VK_SHIFT, true);
    }
    if (controlHeld)
    {
        sendKey(VK_CONTROL, true);
    }
    INPUT input = {};
    input.type = INPUT_MOUSE;
    input.mi = {x, y, wheel, flags, 0, 0};
    SendInput(1, &input, sizeof(INPUT));
}

const char* const parentClass = "PalisorneTestHost";
}

TestDesktop::TestDesktop(int width, int height) : width(width), height(height), display(nullptr), parent(0)
{
    const HINSTANCE program = GetModuleHandleA(nullptr);
    const WNDCLASSA windowClass = {0, DefWindowProcA, 0, 0, program, nullptr, nullptr, nullptr, nullptr, parentClass};
    RegisterClassA(&windowClass); // fails harmlessly for every desktop after the first
    // Borderless at the screen's origin: parent coordinates are the screen's.
    parent = reinterpret_cast<uintptr_t>(
        CreateWindowA(parentClass, "KW_Palisorne", WS_POPUP, 0, 0, width, height, nullptr, nullptr, program, nullptr));
    // Shown without activation: wine on a bare X server (no window manager)
    // waits two seconds for an activated window to be withdrawn when it is
    // destroyed.
    ShowWindow(handle(parent), SW_SHOWNOACTIVATE);
    handleEvents();
}

TestDesktop::~TestDesktop()
{
    destroyParent();
    handleEvents();
}

bool TestDesktop::isConnected() const
{
    return parent != 0;
}

void* TestDesktop::getParentHandle() const
{
    return handle(parent);
}

void TestDesktop::handleEvents()
{
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE))
    {
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
}

uintptr_t TestDesktop::findEditorWindow() const
{
    return parent ? reinterpret_cast<uintptr_t>(GetWindow(handle(parent), GW_CHILD)) : 0;
}

bool TestDesktop::getWindowSize(uintptr_t window, int& width, int& height) const
{
    RECT area;
    const bool known = window && GetClientRect(handle(window), &area);
    width = known ? area.right : 0;
    height = known ? area.bottom : 0;
    return known;
}

bool TestDesktop::isViewable(uintptr_t window) const
{
    return window && IsWindowVisible(handle(window));
}

std::vector<uint32_t> TestDesktop::picture() const
{
    // Copied from the screen, where the user sees it, into 32-bit pixels
    // (blue, green, red, unused: 0xRRGGBB as a little-endian word), top row
    // first.
    BITMAPINFO format = {};
    format.bmiHeader = {sizeof(BITMAPINFOHEADER), width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void* bits = nullptr;
    HDC screen = GetDC(nullptr);
    HDC copy = CreateCompatibleDC(screen);
    HBITMAP target = CreateDIBSection(copy, &format, DIB_RGB_COLORS, &bits, nullptr, 0);
    const HGDIOBJ previous = SelectObject(copy, target);
    std::vector<uint32_t> pixels;
    if (parent && target && BitBlt(copy, 0, 0, width, height, screen, 0, 0, SRCCOPY) && GdiFlush())
    {
        const uint32_t* words = static_cast<const uint32_t*>(bits);
        for (int n = 0; n < width * height; ++n)
        {
            pixels.push_back(words[n] & 0xFFFFFFu);
        }
    }
    SelectObject(copy, previous);
    DeleteObject(target);
    DeleteDC(copy);
    ReleaseDC(nullptr, screen);
    return pixels;
}

void TestDesktop::moveMouse(int x, int y)
{
    // Absolute positions are in 1/65536 of the screen.
    const LONG screenX = MulDiv(x, 65536, GetSystemMetrics(SM_CXSCREEN)) + 1;
    const LONG screenY = MulDiv(y, 65536, GetSystemMetrics(SM_CYSCREEN)) + 1;
    sendMouse(MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE, screenX, screenY);
}

void TestDesktop::pressButton(int button)
{
    const DWORD detent = static_cast<DWORD>(button == 4 ? WHEEL_DELTA : -WHEEL_DELTA);
    button == 1 ? sendMouse(MOUSEEVENTF_LEFTDOWN) : sendMouse(MOUSEEVENTF_WHEEL, 0, 0, detent);
}

void TestDesktop::releaseButton(int button)
{
    // A wheel detent has no release.
    if (button == 1)
    {
        sendMouse(MOUSEEVENTF_LEFTUP);
    }
}

void TestDesktop::holdShift(bool down)
{
    shiftHeld = down;
    sendKey(VK_SHIFT, down);
}

void TestDesktop::holdControl(bool down)
{
    controlHeld = down;
    sendKey(VK_CONTROL, down);
}

void TestDesktop::destroyParent()
{
    if (parent)
    {
        DestroyWindow(handle(parent));
        parent = 0;
    }
}
