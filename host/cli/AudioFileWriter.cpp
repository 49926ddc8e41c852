#include "AudioFileWriter.h"

#include "HostError.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace
{
std::string directoryOf(const std::string& path)
{
    const size_t slash = path.find_last_of('/');
    if (slash == std::string::npos)
    {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string baseNameOf(const std::string& path)
{
    const size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The mode a newly created file would get, or the target's own mode when it
// exists, so that replacing a file keeps its permissions.
mode_t modeFor(const std::string& path)
{
    struct stat status;
    if (::stat(path.c_str(), &status) == 0)
    {
        return status.st_mode & 07777;
    }
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}
}

AudioFileWriter::AudioFileWriter(const std::string& path, int format, int channels, int sampleRate)
    : path(path)
    , file(nullptr)
{
    const std::string directory = directoryOf(path);
    std::string pattern = directory + "/." + baseNameOf(path) + ".palisorne-XXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    const int descriptor = ::mkstemp(name.data());
    if (descriptor < 0)
    {
        throw HostError("cannot write '" + path + "': " + std::strerror(errno) + " (in '" + directory + "')");
    }
    temporaryPath = name.data();
    ::fchmod(descriptor, modeFor(path));

    SF_INFO info = {};
    info.format = format;
    info.channels = channels;
    info.samplerate = sampleRate;
    file = sf_open_fd(descriptor, SFM_WRITE, &info, SF_TRUE);
    if (file == nullptr)
    {
        const std::string reason = sf_strerror(nullptr);
        ::unlink(temporaryPath.c_str());
        throw HostError("cannot write '" + path + "': " + reason);
    }
    sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
}

AudioFileWriter::~AudioFileWriter()
{
    discard();
}

void AudioFileWriter::write(const float* interleaved, size_t frames)
{
    if (file == nullptr)
    {
        throw HostError("cannot write '" + path + "': the file is already closed");
    }
    const sf_count_t written = sf_writef_float(file, interleaved, static_cast<sf_count_t>(frames));
    if (written != static_cast<sf_count_t>(frames))
    {
        const std::string reason = sf_strerror(file);
        discard();
        throw HostError("cannot write '" + path + "': " + reason);
    }
}

void AudioFileWriter::commit()
{
    if (file == nullptr)
    {
        throw HostError("cannot write '" + path + "': the file is already closed");
    }
    const int closeError = sf_close(file);
    file = nullptr;
    if (closeError != 0)
    {
        discard();
        throw HostError("cannot write '" + path + "': " + sf_error_number(closeError));
    }
    if (std::rename(temporaryPath.c_str(), path.c_str()) != 0)
    {
        const std::string reason = std::strerror(errno);
        discard();
        throw HostError("cannot write '" + path + "': " + reason);
    }
    temporaryPath.clear();
}

void AudioFileWriter::discard()
{
    if (file != nullptr)
    {
        sf_close(file);
        file = nullptr;
    }
    if (!temporaryPath.empty())
    {
        ::unlink(temporaryPath.c_str());
        temporaryPath.clear();
    }
}
