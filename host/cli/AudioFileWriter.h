#pragma once

#include <sndfile.h>

#include <cstddef>
#include <string>

// Writes an audio file so that it appears whole or not at all: the samples go
// to a temporary file beside the target, which replaces the target only on
// commit(). A writer destroyed without commit() removes its temporary file, so
// a failed render neither leaves a half-written file nor harms an existing one.
class AudioFileWriter
{
public:
    // `format` is a libsndfile format word (see AudioFileFormat).
    AudioFileWriter(const std::string& path, int format, int channels, int sampleRate);
    ~AudioFileWriter();
    AudioFileWriter(const AudioFileWriter&) = delete;
    AudioFileWriter& operator=(const AudioFileWriter&) = delete;

    // Samples beyond full scale are clipped when the format holds integers.
    void write(const float* interleaved, size_t frames);
    void commit();

    const std::string& getTemporaryPath() const { return temporaryPath; }

private:
    void discard();

    std::string path;
    std::string temporaryPath;
    SNDFILE* file;
};
