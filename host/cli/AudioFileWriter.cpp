#include "AudioFileWriter.h"

#include "AudioFileFormat.h"
#include "AudioMetadata.h"
#include "HostError.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

// Follows symbolic links to the path they end at (which need not exist yet).
// A link inside /proc (/dev/stdout leads to /proc/self/fd/1) stands for an
// open file, not a name: the walk stops there and `isDescriptor` is set.
std::string followLinks(const std::string& path, bool& isDescriptor)
{
    std::string current = path;
    for (int depth = 0; depth < 40; ++depth)
    {
        struct stat status;
        if (::lstat(current.c_str(), &status) != 0 || !S_ISLNK(status.st_mode))
        {
            return current;
        }
        if (current.rfind("/proc/", 0) == 0)
        {
            isDescriptor = true;
            return current;
        }
        std::vector<char> target(static_cast<size_t>(status.st_size > 0 ? status.st_size : 4095) + 1);
        const ssize_t length = ::readlink(current.c_str(), target.data(), target.size());
        if (length < 0 || static_cast<size_t>(length) >= target.size())
        {
            return current;
        }
        const std::string next(target.data(), static_cast<size_t>(length));
        current = next[0] == '/' ? next : directoryOf(current) + "/" + next;
    }
    throw HostError("cannot write '" + path + "': too many levels of symbolic links");
}

// Containers libsndfile writes front to back, never seeking back to a header.
bool isStreamable(int format)
{
    const int container = format & SF_FORMAT_TYPEMASK;
    return container == SF_FORMAT_FLAC || container == SF_FORMAT_OGG || container == SF_FORMAT_MPEG
           || container == SF_FORMAT_AU || container == SF_FORMAT_RAW;
}
}

AudioFileWriter::AudioFileWriter(const std::string& path, int format, int channels, int sampleRate,
                                 const AudioFileOptions& options)
    : path(path)
    , spool(nullptr)
    , streamDescriptor(-1)
    , file(nullptr)
    , channels(channels)
{
    bool isDescriptor = path == "-";
    const std::string target = isDescriptor ? path : followLinks(path, isDescriptor);
    struct stat status;
    const bool exists = !isDescriptor && ::stat(target.c_str(), &status) == 0;
    if (isDescriptor || (exists && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)))
    {
        const int descriptor =
            path == "-" ? ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0) : ::open(target.c_str(), O_WRONLY | O_CLOEXEC);
        if (descriptor < 0)
        {
            throw HostError("cannot write '" + path + "': " + std::strerror(errno));
        }
        struct stat opened;
        const bool regular = ::fstat(descriptor, &opened) == 0 && S_ISREG(opened.st_mode);
        if (regular && path != "-")
        {
            // A file named through a descriptor (/dev/stdout redirected to
            // one) is written from its start.
            readablePath = target;
        }
        if (regular)
        {
            ::ftruncate(descriptor, 0);
        }
        if (::lseek(descriptor, 0, SEEK_CUR) >= 0 || isStreamable(format))
        {
            open(descriptor, format, channels, sampleRate, options);
            return;
        }
        spool = std::tmpfile();
        if (spool == nullptr)
        {
            ::close(descriptor);
            throw HostError("cannot write '" + path + "': no temporary file: " + std::strerror(errno));
        }
        streamDescriptor = descriptor;
        open(::fileno(spool), format, channels, sampleRate, options);
        return;
    }

    const std::string directory = directoryOf(target);
    const std::string pattern = directory + "/." + baseNameOf(target) + ".palisorne-XXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    const int descriptor = ::mkstemp(name.data());
    if (descriptor < 0)
    {
        throw HostError("cannot write '" + path + "': " + std::strerror(errno) + " (in '" + directory + "')");
    }
    temporaryPath = name.data();
    readablePath = target;
    ::fchmod(descriptor, modeFor(target));
    open(descriptor, format, channels, sampleRate, options);
}

void AudioFileWriter::open(int descriptor, int format, int channels, int sampleRate, const AudioFileOptions& options)
{
    SF_INFO info = {};
    info.format = format;
    info.channels = channels;
    info.samplerate = sampleRate;
    // A spool's descriptor belongs to its FILE.
    file = sf_open_fd(descriptor, SFM_WRITE, &info, spool == nullptr ? SF_TRUE : SF_FALSE);
    if (file == nullptr)
    {
        const std::string reason = sf_strerror(nullptr);
        if (spool == nullptr)
        {
            ::close(descriptor);
        }
        fail(reason);
    }
    if (options.metadata != nullptr)
    {
        options.metadata->writeTo(file);
    }
    if (options.quality && AudioFileFormat::isLossy(format))
    {
        double compression = 1.0 - *options.quality / 10.0;
        sf_command(file, SFC_SET_COMPRESSION_LEVEL, &compression, sizeof(compression));
    }
    const int bits = AudioFileFormat::integerBits(format);
    if (bits > 0 && bits <= 24)
    {
        reducer = std::make_unique<WordLengthReducer>(bits, options.dither);
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
    sf_count_t written = 0;
    if (reducer)
    {
        integers.resize(frames * static_cast<size_t>(channels));
        reducer->reduce(interleaved, integers.data(), integers.size());
        written = sf_writef_int(file, integers.data(), static_cast<sf_count_t>(frames));
    }
    else
    {
        written = sf_writef_float(file, interleaved, static_cast<sf_count_t>(frames));
    }
    if (written != static_cast<sf_count_t>(frames))
    {
        fail(sf_strerror(file));
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
        fail(sf_error_number(closeError));
    }
    if (spool != nullptr)
    {
        std::rewind(spool);
        char buffer[65536];
        size_t got = 0;
        while ((got = std::fread(buffer, 1, sizeof(buffer), spool)) > 0)
        {
            for (size_t done = 0; done < got;)
            {
                const ssize_t put = ::write(streamDescriptor, buffer + done, got - done);
                if (put <= 0)
                {
                    fail(std::strerror(errno));
                }
                done += static_cast<size_t>(put);
            }
        }
    }
    if (!temporaryPath.empty() && std::rename(temporaryPath.c_str(), readablePath.c_str()) != 0)
    {
        fail(std::strerror(errno));
    }
    temporaryPath.clear();
    discard();
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
    if (spool != nullptr)
    {
        std::fclose(spool);
        spool = nullptr;
    }
    if (streamDescriptor >= 0)
    {
        ::close(streamDescriptor);
        streamDescriptor = -1;
    }
}

void AudioFileWriter::fail(const std::string& reason)
{
    const std::string message = "cannot write '" + path + "': " + reason;
    discard();
    throw HostError(message);
}

bool AudioFileWriter::namesStandardOutput(const std::string& path)
{
    struct stat output;
    struct stat named;
    return path == "-"
           || (::fstat(STDOUT_FILENO, &output) == 0 && ::stat(path.c_str(), &named) == 0
               && output.st_dev == named.st_dev && output.st_ino == named.st_ino);
}
