#include "AudioFileReader.h"

#include "AudioFileFormat.h"
#include "HostError.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
// Copies a stream into an anonymous temporary file, positioned at its start.
std::FILE* spooled(int descriptor, const std::string& path)
{
    std::FILE* spool = std::tmpfile();
    if (spool == nullptr)
    {
        throw HostError("cannot read '" + path + "': no temporary file: " + std::strerror(errno));
    }
    char buffer[65536];
    ssize_t got = 0;
    while ((got = ::read(descriptor, buffer, sizeof(buffer))) != 0)
    {
        if (got < 0 && errno == EINTR)
        {
            continue;
        }
        if (got < 0 || std::fwrite(buffer, 1, static_cast<size_t>(got), spool) != static_cast<size_t>(got))
        {
            const std::string reason = std::strerror(errno);
            std::fclose(spool);
            throw HostError("cannot read '" + path + "': " + reason);
        }
    }
    std::fflush(spool);
    std::rewind(spool);
    return spool;
}

// libsndfile trims a data chunk that runs past the end of the file to what is
// there and says so only in its log ("data : 192000 (should be 99956)").
// Returns the frames the header announced, or -1 when the log shows none.
int64_t announcedByHeader(SNDFILE* file, const SF_INFO& info)
{
    char log[8192] = {};
    sf_command(file, SFC_GET_LOG_INFO, log, sizeof(log));
    const char* line = std::strstr(log, "\ndata : ");
    if (line == nullptr)
    {
        return -1;
    }
    char* end = nullptr;
    const long long stated = std::strtoll(line + 8, &end, 10);
    const char* present = std::strstr(end, "(should be ");
    const char* lineEnd = std::strchr(end, '\n');
    if (present == nullptr || (lineEnd != nullptr && present > lineEnd))
    {
        return -1;
    }
    const long long available = std::strtoll(present + 11, nullptr, 10);
    if (stated <= available || available <= 0 || info.frames <= 0)
    {
        return -1;
    }
    const int bits = AudioFileFormat::integerBits(info.format);
    const int sampleType = info.format & SF_FORMAT_SUBMASK;
    const int bytes = bits > 0 ? bits / 8 : sampleType == SF_FORMAT_FLOAT ? 4 : sampleType == SF_FORMAT_DOUBLE ? 8 : 0;
    if (bytes == 0)
    {
        // Packed sample types: the ratio of the sizes tells.
        return static_cast<int64_t>(static_cast<double>(stated) / static_cast<double>(available)
                                    * static_cast<double>(info.frames));
    }
    return stated / (bytes * info.channels);
}
}

AudioFileReader::AudioFileReader(const std::string& path)
    : path(path)
    , info()
    , file(nullptr)
    , spool(nullptr)
    , framesRead(0)
    , announcedFrames(-1)
{
    // libsndfile's own messages for these cases are vague ("System error"),
    // so the file system is asked first.
    const bool standardInput = path == "-";
    struct stat status;
    if (!standardInput && ::stat(path.c_str(), &status) != 0)
    {
        throw HostError("cannot read '" + path + "': " + std::strerror(errno));
    }
    if (!standardInput && S_ISDIR(status.st_mode))
    {
        throw HostError("cannot read '" + path + "': it is a directory");
    }
    const int descriptor = standardInput ? ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                         : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
    {
        throw HostError("cannot read '" + path + "': " + std::strerror(errno));
    }
    if (::lseek(descriptor, 0, SEEK_CUR) < 0)
    {
        try
        {
            spool = spooled(descriptor, path);
        }
        catch (...)
        {
            ::close(descriptor);
            throw;
        }
        ::close(descriptor);
        file = sf_open_fd(::fileno(spool), SFM_READ, &info, SF_FALSE);
    }
    else
    {
        file = sf_open_fd(descriptor, SFM_READ, &info, SF_TRUE);
        if (file == nullptr)
        {
            ::close(descriptor);
        }
    }
    if (file == nullptr)
    {
        const std::string reason = sf_strerror(nullptr);
        if (spool != nullptr)
        {
            std::fclose(spool);
        }
        throw HostError("cannot read '" + path + "' as audio: " + reason);
    }
    if (info.channels < 1 || info.samplerate < 1)
    {
        sf_close(file);
        if (spool != nullptr)
        {
            std::fclose(spool);
        }
        throw HostError("cannot read '" + path + "' as audio: no channels or no sample rate");
    }
    metadata = AudioMetadata::readFrom(file);
    announcedFrames = announcedByHeader(file, info);
}

AudioFileReader::~AudioFileReader()
{
    sf_close(file);
    if (spool != nullptr)
    {
        std::fclose(spool);
    }
}

size_t AudioFileReader::read(float* interleaved, size_t frames)
{
    const sf_count_t got = sf_readf_float(file, interleaved, static_cast<sf_count_t>(frames));
    if (got < 0)
    {
        throw HostError("cannot read '" + path + "': " + sf_strerror(file));
    }
    framesRead += got;
    return static_cast<size_t>(got);
}

std::string AudioFileReader::truncation() const
{
    const int64_t announced = std::max<int64_t>(announcedFrames, info.frames);
    // Encoded formats state an estimate, not a count.
    if (framesRead >= announced || (AudioFileFormat::isLossy(info.format) && announcedFrames < 0))
    {
        return std::string();
    }
    return "'" + path + "' is truncated: its header announces " + std::to_string(announced) + " frames, it holds "
           + std::to_string(framesRead);
}
