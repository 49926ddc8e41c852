#pragma once

#include <string>

// Chooses and describes libsndfile format words (SF_FORMAT_* container |
// sample type).
class AudioFileFormat
{
public:
    // The format for an output file: the container from the output's file
    // extension (the input's when the extension names none), the sample type
    // from `bits` ("16", "24", "32f") or else from the input. When the input's
    // sample type does not fit the container, 24-bit PCM or float is taken.
    // Throws HostError when the container cannot hold the requested type.
    static int forOutput(const std::string& outputPath, int inputFormat, const std::string& bits, int channels,
                         int sampleRate);

    // "WAV, 24-bit PCM" and the like.
    static std::string describe(int format);
};
