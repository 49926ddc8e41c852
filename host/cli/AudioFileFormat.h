#pragma once

#include <string>

// Chooses and describes libsndfile format words (SF_FORMAT_* container |
// sample type).
class AudioFileFormat
{
public:
    // The format for an output file. The kind of file comes from `formatName`
    // ("wav", "flac", "opus" ...) when it is given, else from the output's
    // file extension; neither, or one this build cannot write, is a HostError
    // that lists the supported ones. The sample type comes from `bits` ("16",
    // "24", "32f") or else from the input; when the input's does not fit the
    // container, 24-bit PCM or float is taken. Lossy kinds have their own.
    static int forOutput(const std::string& outputPath, int inputFormat, const std::string& bits, int channels,
                         int sampleRate, const std::string& formatName = std::string());

    // "wav, w64, ..., mp3": what forOutput accepts as a name or extension.
    static std::string supportedNames();

    // True for Ogg Vorbis, Opus and MP3: what is written is not what a listener
    // gets back.
    static bool isLossy(int format);
    // The word length of an integer sample type (8, 16, 24 or 32), 0 for
    // float and encoded samples.
    static int integerBits(int format);

    // The name forOutput takes for this format ("wav", "opus" ...), empty for
    // one it does not write.
    static std::string kindName(int format);
    // What --bits takes for this sample type ("16", "24", "32f"), else empty.
    static std::string bitsName(int format);

    // "WAV, 24-bit PCM" and the like.
    static std::string describe(int format);
};
