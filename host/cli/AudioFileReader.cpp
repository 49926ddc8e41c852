#include "AudioFileReader.h"

#include "HostError.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

AudioFileReader::AudioFileReader(const std::string& path)
    : path(path)
    , info()
    , file(nullptr)
{
    // libsndfile's own messages for these cases are vague ("System error"),
    // so the file system is asked first.
    struct stat status;
    if (::stat(path.c_str(), &status) != 0)
    {
        throw HostError("cannot read '" + path + "': " + std::strerror(errno));
    }
    if (S_ISDIR(status.st_mode))
    {
        throw HostError("cannot read '" + path + "': it is a directory");
    }
    const int probe = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (probe < 0)
    {
        throw HostError("cannot read '" + path + "': " + std::strerror(errno));
    }
    ::close(probe);
    file = sf_open(path.c_str(), SFM_READ, &info);
    if (file == nullptr)
    {
        throw HostError("cannot read '" + path + "' as audio: " + sf_strerror(nullptr));
    }
    if (info.channels < 1 || info.samplerate < 1)
    {
        sf_close(file);
        throw HostError("cannot read '" + path + "' as audio: no channels or no sample rate");
    }
}

AudioFileReader::~AudioFileReader()
{
    sf_close(file);
}

size_t AudioFileReader::read(float* interleaved, size_t frames)
{
    const sf_count_t got = sf_readf_float(file, interleaved, static_cast<sf_count_t>(frames));
    if (got < 0)
    {
        throw HostError("cannot read '" + path + "': " + sf_strerror(file));
    }
    return static_cast<size_t>(got);
}
