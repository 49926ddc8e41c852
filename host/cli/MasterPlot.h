#pragma once

#include "MasterSearch.h"

#include <string>

struct MasteredFile;

// The picture a mastering engineer looks at first, as a PNG (Cairo): input
// and output peak envelopes with the true-peak target and the places where
// the limiter's output passed it before the ceiling was lowered; the gain
// reduction; the short-term loudness against the loudness target.
class MasterPlot
{
public:
    static constexpr int width = 1200;
    static constexpr int height = 720;

    // Throws HostError when the file cannot be written.
    static void draw(const MasteredFile& file, const MasterTargets& targets, const std::string& path);
};
