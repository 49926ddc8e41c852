#pragma once

#include <sndfile.h>

#include <cstddef>
#include <cstdint>
#include <string>

// Reads an audio file of any format libsndfile knows as interleaved 32-bit
// floats scaled to full scale 1.0.
class AudioFileReader
{
public:
    // Throws HostError with a one-line reason when the file is missing,
    // unreadable or not audio libsndfile can decode.
    explicit AudioFileReader(const std::string& path);
    ~AudioFileReader();
    AudioFileReader(const AudioFileReader&) = delete;
    AudioFileReader& operator=(const AudioFileReader&) = delete;

    const std::string& getPath() const { return path; }
    int getChannels() const { return info.channels; }
    int getSampleRate() const { return info.samplerate; }
    // As the file's header states it; the real count is what read() delivers.
    int64_t getFrames() const { return info.frames; }
    // libsndfile's SF_FORMAT_* word: container | sample type.
    int getFormat() const { return info.format; }

    // Reads up to `frames` frames; returns how many were read, 0 at the end.
    size_t read(float* interleaved, size_t frames);

private:
    std::string path;
    SF_INFO info;
    SNDFILE* file;
};
