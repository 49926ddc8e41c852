// pugl's Win32 window for drawing with GDI+: pugl's own stub back end would
// give the window an OpenGL pixel format, over which wine shows nothing that
// GDI draws, and which GDI drawing need not honour on Windows either.
#include "stub.h"
#include "types.h"
#include "win.h"

static PuglStatus configureGdiWindow(PuglView* view)
{
    PuglInternals* const impl = view->impl;
    return puglWinCreateWindow(view, "Pugl", &impl->hwnd, &impl->hdc);
}

const PuglBackend* palisorneGdiBackend(void)
{
    static const PuglBackend backend = {configureGdiWindow, puglStubCreate, puglStubDestroy,
                                        puglWinEnter,        puglWinLeave,   puglStubGetContext};
    return &backend;
}
