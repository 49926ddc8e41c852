#include "AudioFileFormat.h"

#include "HostError.h"

#include <sndfile.h>

#include <algorithm>
#include <cctype>
#include <vector>

namespace
{
std::string lowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::string extensionOf(const std::string& path)
{
    const size_t slash = path.find_last_of('/');
    const size_t dot = path.find_last_of('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
    {
        return std::string();
    }
    return lowerCase(path.substr(dot + 1));
}

// The containers libsndfile lists, with their extensions.
std::vector<SF_FORMAT_INFO> majorFormats()
{
    int count = 0;
    sf_command(nullptr, SFC_GET_FORMAT_MAJOR_COUNT, &count, sizeof(count));
    std::vector<SF_FORMAT_INFO> formats(static_cast<size_t>(std::max(count, 0)));
    for (int i = 0; i < count; ++i)
    {
        formats[static_cast<size_t>(i)].format = i;
        sf_command(nullptr, SFC_GET_FORMAT_MAJOR, &formats[static_cast<size_t>(i)], sizeof(SF_FORMAT_INFO));
    }
    return formats;
}

// The extension libsndfile gives a container, empty when it lists none.
std::string extensionOfContainer(int container)
{
    for (const SF_FORMAT_INFO& major : majorFormats())
    {
        if ((major.format & SF_FORMAT_TYPEMASK) == container && major.extension != nullptr)
        {
            return lowerCase(major.extension);
        }
    }
    return std::string();
}

// The container libsndfile associates with an extension, 0 when none.
int containerForExtension(const std::string& extension)
{
    if (extension.empty())
    {
        return 0;
    }
    if (extension == "aif")
    {
        return SF_FORMAT_AIFF;
    }
    if (extension == "oga" || extension == "opus")
    {
        return SF_FORMAT_OGG;
    }
    for (const SF_FORMAT_INFO& major : majorFormats())
    {
        if (major.extension != nullptr && extension == lowerCase(major.extension))
        {
            return major.format & SF_FORMAT_TYPEMASK;
        }
    }
    return 0;
}

int sampleTypeForBits(const std::string& bits)
{
    if (bits == "16")
    {
        return SF_FORMAT_PCM_16;
    }
    if (bits == "24")
    {
        return SF_FORMAT_PCM_24;
    }
    if (bits == "32f")
    {
        return SF_FORMAT_FLOAT;
    }
    throw HostError("--bits takes 16, 24 or 32f, not '" + bits + "'");
}

bool isValid(int format, int channels, int sampleRate)
{
    SF_INFO info = {};
    info.format = format;
    info.channels = channels;
    info.samplerate = sampleRate;
    return sf_format_check(&info) != 0;
}

std::string nameOf(int format, int command, int countCommand)
{
    int count = 0;
    sf_command(nullptr, countCommand, &count, sizeof(count));
    for (int i = 0; i < count; ++i)
    {
        SF_FORMAT_INFO entry = {};
        entry.format = i;
        sf_command(nullptr, command, &entry, sizeof(entry));
        if (entry.format == format)
        {
            return entry.name;
        }
    }
    return "unknown";
}
}

int AudioFileFormat::forOutput(const std::string& outputPath, int inputFormat, const std::string& bits, int channels,
                               int sampleRate)
{
    // Several containers share an extension (WAV and WAVEX, say): when the
    // input's container fits the output's extension, it stays.
    const std::string extension = extensionOf(outputPath);
    const int inputContainer = inputFormat & SF_FORMAT_TYPEMASK;
    int container = containerForExtension(extension);
    if (container == 0 || extensionOfContainer(inputContainer) == extension)
    {
        container = inputContainer;
    }
    if (!bits.empty())
    {
        const int format = container | sampleTypeForBits(bits);
        if (!isValid(format, channels, sampleRate))
        {
            const std::string sampleType = bits == "32f" ? std::string("32-bit float") : bits + "-bit";
            throw HostError("'" + outputPath
                            + "': " + nameOf(container, SFC_GET_FORMAT_MAJOR, SFC_GET_FORMAT_MAJOR_COUNT)
                            + " cannot hold " + sampleType + " samples (" + std::to_string(channels) + " channel(s) at "
                            + std::to_string(sampleRate) + " Hz)");
        }
        return format;
    }
    const int candidates[] = {inputFormat & SF_FORMAT_SUBMASK, SF_FORMAT_PCM_24, SF_FORMAT_FLOAT, SF_FORMAT_PCM_16,
                              SF_FORMAT_VORBIS};
    for (int sampleType : candidates)
    {
        if (isValid(container | sampleType, channels, sampleRate))
        {
            return container | sampleType;
        }
    }
    throw HostError("'" + outputPath + "': libsndfile cannot write this kind of file at " + std::to_string(sampleRate)
                    + " Hz with " + std::to_string(channels) + " channel(s)");
}

std::string AudioFileFormat::describe(int format)
{
    return nameOf(format & SF_FORMAT_TYPEMASK, SFC_GET_FORMAT_MAJOR, SFC_GET_FORMAT_MAJOR_COUNT) + ", "
           + nameOf(format & SF_FORMAT_SUBMASK, SFC_GET_FORMAT_SUBTYPE, SFC_GET_FORMAT_SUBTYPE_COUNT);
}
