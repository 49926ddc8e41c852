#include "AudioFileFormat.h"

#include "HostError.h"

#include <sndfile.h>

#include <algorithm>
#include <cctype>

namespace
{
// The kinds of file palisorne writes, by the name --format takes and the
// extensions that choose them. A sample type of 0 follows the input.
struct OutputKind
{
    const char* name;
    const char* extensions[3];
    int container;
    int sampleType;
};

constexpr OutputKind outputKinds[] = {
    {"wav", {"wav", "wave", nullptr}, SF_FORMAT_WAV, 0},
    {"w64", {"w64", nullptr, nullptr}, SF_FORMAT_W64, 0},
    {"rf64", {"rf64", nullptr, nullptr}, SF_FORMAT_RF64, 0},
    {"aiff", {"aiff", "aif", "aifc"}, SF_FORMAT_AIFF, 0},
    {"caf", {"caf", nullptr, nullptr}, SF_FORMAT_CAF, 0},
    {"au", {"au", "snd", nullptr}, SF_FORMAT_AU, 0},
    {"flac", {"flac", nullptr, nullptr}, SF_FORMAT_FLAC, 0},
    {"ogg", {"ogg", "oga", nullptr}, SF_FORMAT_OGG, SF_FORMAT_VORBIS},
    {"opus", {"opus", nullptr, nullptr}, SF_FORMAT_OGG, SF_FORMAT_OPUS},
    {"mp3", {"mp3", nullptr, nullptr}, SF_FORMAT_MPEG, SF_FORMAT_MPEG_LAYER_III},
};

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

bool isValid(int format, int channels, int sampleRate)
{
    SF_INFO info = {};
    info.format = format;
    info.channels = channels;
    info.samplerate = sampleRate;
    return sf_format_check(&info) != 0;
}

// The kind is written by this build of libsndfile (checked on stereo at
// 48 kHz, which every kind takes).
bool isWritable(const OutputKind& kind)
{
    return isValid(kind.container | (kind.sampleType != 0 ? kind.sampleType : SF_FORMAT_PCM_16), 2, 48000);
}

const OutputKind* kindNamed(const std::string& name, bool byExtension)
{
    for (const OutputKind& kind : outputKinds)
    {
        bool named = !byExtension && name == kind.name;
        for (const char* extension : kind.extensions)
        {
            named = named || (byExtension && extension != nullptr && name == extension);
        }
        if (named && isWritable(kind))
        {
            return &kind;
        }
    }
    return nullptr;
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
                               int sampleRate, const std::string& formatName)
{
    const std::string extension = extensionOf(outputPath);
    const OutputKind* kind = formatName.empty() ? kindNamed(extension, true) : kindNamed(lowerCase(formatName), false);
    if (kind == nullptr)
    {
        const std::string what = !formatName.empty() ? "--format '" + formatName + "' names no format palisorne writes"
                                 : extension.empty()
                                     ? "'" + outputPath + "' has no file extension; name its format with --format"
                                     : "'" + outputPath + "': palisorne writes no '." + extension + "' files";
        throw HostError(what + "; the formats are " + supportedNames());
    }
    // WAV and WAVEX share an extension: a WAVEX input stays WAVEX.
    const int inputContainer = inputFormat & SF_FORMAT_TYPEMASK;
    const int container =
        kind->container == SF_FORMAT_WAV && inputContainer == SF_FORMAT_WAVEX ? SF_FORMAT_WAVEX : kind->container;
    const std::string where = " (" + std::to_string(channels) + " channel(s) at " + std::to_string(sampleRate) + " Hz)";
    if (kind->sampleType != 0)
    {
        if (!bits.empty())
        {
            throw HostError("--bits does not apply to " + std::string(kind->name) + ", whose samples are encoded");
        }
        if (!isValid(container | kind->sampleType, channels, sampleRate))
        {
            throw HostError("'" + outputPath + "': libsndfile cannot encode " + kind->name + where);
        }
        return container | kind->sampleType;
    }
    if (!bits.empty())
    {
        const int format = container | sampleTypeForBits(bits);
        if (!isValid(format, channels, sampleRate))
        {
            const std::string sampleType = bits == "32f" ? std::string("32-bit float") : bits + "-bit";
            throw HostError("'" + outputPath
                            + "': " + nameOf(container, SFC_GET_FORMAT_MAJOR, SFC_GET_FORMAT_MAJOR_COUNT)
                            + " cannot hold " + sampleType + " samples" + where);
        }
        return format;
    }
    // An encoded input's sample type means nothing to an uncompressed file.
    const int inputSampleType = isLossy(inputFormat) ? SF_FORMAT_PCM_24 : inputFormat & SF_FORMAT_SUBMASK;
    for (int sampleType : {inputSampleType, int{SF_FORMAT_PCM_24}, int{SF_FORMAT_FLOAT}, int{SF_FORMAT_PCM_16}})
    {
        if (isValid(container | sampleType, channels, sampleRate))
        {
            return container | sampleType;
        }
    }
    throw HostError("'" + outputPath + "': libsndfile cannot write " + kind->name + where);
}

std::string AudioFileFormat::supportedNames()
{
    std::string names;
    for (const OutputKind& kind : outputKinds)
    {
        if (isWritable(kind))
        {
            names += (names.empty() ? "" : ", ") + std::string(kind.name);
        }
    }
    return names;
}

bool AudioFileFormat::isLossy(int format)
{
    const int sampleType = format & SF_FORMAT_SUBMASK;
    return sampleType == SF_FORMAT_VORBIS || sampleType == SF_FORMAT_OPUS || sampleType == SF_FORMAT_MPEG_LAYER_I
           || sampleType == SF_FORMAT_MPEG_LAYER_II || sampleType == SF_FORMAT_MPEG_LAYER_III;
}

int AudioFileFormat::integerBits(int format)
{
    switch (format & SF_FORMAT_SUBMASK)
    {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
        return 8;
    case SF_FORMAT_PCM_16:
        return 16;
    case SF_FORMAT_PCM_24:
        return 24;
    case SF_FORMAT_PCM_32:
        return 32;
    default:
        return 0;
    }
}

std::string AudioFileFormat::kindName(int format)
{
    const int stored = format & SF_FORMAT_TYPEMASK;
    const int container = stored == SF_FORMAT_WAVEX ? SF_FORMAT_WAV : stored;
    for (const OutputKind& kind : outputKinds)
    {
        if (kind.container == container && (kind.sampleType == 0 || kind.sampleType == (format & SF_FORMAT_SUBMASK)))
        {
            return kind.name;
        }
    }
    return std::string();
}

std::string AudioFileFormat::bitsName(int format)
{
    switch (format & SF_FORMAT_SUBMASK)
    {
    case SF_FORMAT_PCM_16:
        return "16";
    case SF_FORMAT_PCM_24:
        return "24";
    case SF_FORMAT_FLOAT:
        return "32f";
    default:
        return std::string();
    }
}

std::string AudioFileFormat::describe(int format)
{
    return nameOf(format & SF_FORMAT_TYPEMASK, SFC_GET_FORMAT_MAJOR, SFC_GET_FORMAT_MAJOR_COUNT) + ", "
           + nameOf(format & SF_FORMAT_SUBMASK, SFC_GET_FORMAT_SUBTYPE, SFC_GET_FORMAT_SUBTYPE_COUNT);
}
