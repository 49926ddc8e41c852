#pragma once

#include "AudioMetadata.h"

#include <sndfile.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

// Reads an audio file of any format libsndfile knows as interleaved 32-bit
// floats scaled to full scale 1.0. "-" is standard input. Input that cannot
// be read twice (a pipe, a FIFO) is first copied into a private temporary
// file, since libsndfile cannot decode every format from a stream.
class AudioFileReader
{
public:
    // Throws HostError with a one-line reason when the file is missing,
    // unreadable or not audio libsndfile can decode.
    explicit AudioFileReader(const std::string& path);
    ~AudioFileReader();
    AudioFileReader(const AudioFileReader&) = delete;
    AudioFileReader& operator=(const AudioFileReader&) = delete;

    int getChannels() const { return info.channels; }
    int getSampleRate() const { return info.samplerate; }
    // As the file's header states it; the real count is what read() delivers.
    int64_t getFrames() const { return info.frames; }
    // libsndfile's SF_FORMAT_* word: container | sample type.
    int getFormat() const { return info.format; }
    const AudioMetadata& getMetadata() const { return metadata; }

    // Reads up to `frames` frames; returns how many were read, 0 at the end.
    size_t read(float* interleaved, size_t frames);

    // After the last read(): what is missing when the file holds less audio
    // than its header announces; empty for a whole file.
    std::string truncation() const;

private:
    std::string path;
    SF_INFO info;
    SNDFILE* file;
    std::FILE* spool;
    AudioMetadata metadata;
    int64_t framesRead;
    int64_t announcedFrames; // the header's count, before libsndfile trims it to the data present
};
