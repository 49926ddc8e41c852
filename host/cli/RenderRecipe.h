#pragma once

#include "Renderer.h"

#include <string>

// The settings a JSON render report recorded (palisorne render --json), read
// back so that a render can be run again to the same bits: the plug-in, its
// program and every parameter's normalised value, the block size, latency
// handling, output format, word length, quality, dither and channels.
class RenderRecipe
{
public:
    // Fills `settings` from the report at `reportPath`; a plug-in path
    // already set is kept. Throws HostError for a file that is not such a
    // report.
    static void load(const std::string& reportPath, RenderSettings& settings);
};
