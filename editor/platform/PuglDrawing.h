#pragma once

// This pugl's headers declare no C linkage themselves.
extern "C" {
#include <pugl/pugl.h>
}

class CFrame;

// What a drawing back end gives the pugl window: pugl's back end for the
// view, and the paint of an exposed window through the back end's context.
const PuglBackend* getPuglDrawingBackend();
void paintExposedView(PuglView* view, CFrame& frame);
