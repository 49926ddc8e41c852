#pragma once

#include "WordLengthReducer.h"

#include <sndfile.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct AudioMetadata;

// How an output file is written beyond its format word.
struct AudioFileOptions
{
    // Encoding quality of a lossy format, 0 (smallest) to 10 (best).
    std::optional<double> quality;
    // Triangular dither when samples become integers of 24 bits or fewer;
    // otherwise they are rounded.
    bool dither = false;
    const AudioMetadata* metadata = nullptr;
};

// Writes an audio file so that a failed render harms nothing.
//
// A regular file (or a new one) appears whole or not at all: the samples go
// to a hidden temporary file beside the target, which replaces the target
// only on commit(). A symbolic link is followed, so its target is replaced in
// its own directory and the link stays. "-" is standard output; a character
// device, FIFO or socket is written directly, streaming where the format can
// be written without going back to its header, and otherwise through a
// private temporary file copied out on commit(). A writer destroyed without
// commit() removes what it created.
class AudioFileWriter
{
public:
    // `format` is a libsndfile format word (see AudioFileFormat).
    AudioFileWriter(const std::string& path, int format, int channels, int sampleRate,
                    const AudioFileOptions& options = AudioFileOptions());
    ~AudioFileWriter();
    AudioFileWriter(const AudioFileWriter&) = delete;
    AudioFileWriter& operator=(const AudioFileWriter&) = delete;

    // Samples beyond full scale are clipped when the format holds integers.
    void write(const float* interleaved, size_t frames);
    void commit();

    // The file a render can read back after commit(); empty for a stream.
    const std::string& getReadablePath() const { return readablePath; }

    // True when `path` is where this process's standard output goes.
    static bool namesStandardOutput(const std::string& path);

private:
    void open(int descriptor, int format, int channels, int sampleRate, const AudioFileOptions& options);
    void discard();
    [[noreturn]] void fail(const std::string& reason);

    std::string path;
    std::string temporaryPath; // beside the target, renamed over it on commit
    std::string readablePath;
    std::FILE* spool;          // copied to `streamDescriptor` on commit
    int streamDescriptor;
    SNDFILE* file;
    int channels;
    std::unique_ptr<WordLengthReducer> reducer;
    std::vector<int32_t> integers;
};
