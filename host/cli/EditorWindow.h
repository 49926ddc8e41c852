#pragma once

#include <cstdint>
#include <string>

// A top-level X11 window for a plug-in's editor, as a DAW gives one: the
// editor is opened inside it (its handle is the parent) and the user closes
// it through the window manager. It can save what it shows as a PNG. Xlib
// stays inside this unit.
class EditorWindow
{
public:
    // Throws HostError when there is no X display.
    EditorWindow(int width, int height, const std::string& title);
    ~EditorWindow();
    EditorWindow(const EditorWindow&) = delete;
    EditorWindow& operator=(const EditorWindow&) = delete;

    // The handle effEditOpen takes.
    void* getParentHandle() const;

    // Handles this window's pending events; false once the user has asked
    // to close it.
    bool handleEvents();
    // Whether the editor has put its window into ours and it is on screen.
    bool showsEditor() const;

    // Writes the window's current content, the editor included, as a PNG;
    // throws HostError when it cannot.
    void saveScreenshot(const std::string& path) const;

private:
    struct _XDisplay* display;
    unsigned long window;
    unsigned long deleteMessage;
    int width;
    int height;
    bool closeRequested;
};
