#include "HostedPlugin.h"

#include "HostError.h"
#include "NameMatch.h"
#include "PlanarBuffer.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>
#include <vector>

HostedPlugin::HostedPlugin(const std::string& path)
    : started(false)
{
    try
    {
        loaded = std::make_unique<VstModule>(path);
        loaded->open();
    }
    catch (const std::runtime_error& error)
    {
        throw HostError(std::string("cannot load plug-in: ") + error.what());
    }
}

HostedPlugin::~HostedPlugin()
{
    stop();
}

bool HostedPlugin::isOurs() const
{
    return loaded->uniqueId() == ourUniqueId;
}

std::string HostedPlugin::uniqueIdText() const
{
    const auto id = static_cast<uint32_t>(loaded->uniqueId());
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
    {
        const char c = static_cast<char>((id >> shift) & 0xFFu);
        if (!std::isprint(static_cast<unsigned char>(c)))
        {
            return std::string();
        }
        text += c;
    }
    return text;
}

std::string HostedPlugin::displayName()
{
    std::string name = loaded->effectName();
    if (name.empty())
    {
        name = loaded->productString();
    }
    if (name.empty())
    {
        const std::string& path = loaded->path();
        name = path.substr(path.find_last_of('/') + 1);
    }
    return name;
}

void HostedPlugin::start(double sampleRate, int maxBlockFrames)
{
    stop();
    loaded->setSampleRate(static_cast<float>(sampleRate));
    loaded->setBlockSize(maxBlockFrames);
    loaded->resume();
    loaded->dispatch(effStartProcess);
    started = true;
    // Some effects publish their latency only from inside a process call
    // (LSP's do): one block of silence settles it before anyone reads it. An
    // effect's delay line holds silence at the start anyway, so this changes
    // nothing in what follows.
    const size_t frames = static_cast<size_t>(maxBlockFrames);
    PlanarBuffer inputs(loaded->numInputs(), frames);
    PlanarBuffer outputs(loaded->numOutputs(), frames);
    loaded->processReplacing(inputs.pointers(), outputs.pointers(), maxBlockFrames);
}

void HostedPlugin::stop()
{
    if (started)
    {
        loaded->dispatch(effStopProcess);
        loaded->suspend();
        started = false;
    }
}

std::string HostedPlugin::programNameAt(int index)
{
    if (const std::optional<std::string> name = loaded->programNameIndexed(index))
    {
        return *name;
    }
    const VstInt32 current = loaded->program();
    loaded->setProgram(index);
    const std::string name = loaded->programName();
    loaded->setProgram(current);
    return name;
}

int HostedPlugin::selectProgram(const std::string& nameOrIndex)
{
    const int count = loaded->numPrograms();
    const bool isIndex =
        !nameOrIndex.empty() && nameOrIndex.size() < 10
        && std::all_of(nameOrIndex.begin(), nameOrIndex.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
    int chosen = -1;
    if (isIndex)
    {
        chosen = std::stoi(nameOrIndex);
        if (chosen >= count)
        {
            throw HostError("program " + nameOrIndex + " does not exist: " + displayName() + " has "
                            + std::to_string(count) + " program(s), 0 to " + std::to_string(count - 1));
        }
        // A slot that holds no program carries a stand-in name: a number
        // alone is more likely a slip than a choice.
        const std::string name = NameMatch::trimmed(programNameAt(chosen));
        if (chosen > 0
            && (name.empty() || NameMatch::matches(name, "Program " + std::to_string(chosen))
                || NameMatch::matches(name, "Program " + std::to_string(chosen + 1))))
        {
            throw HostError("program " + nameOrIndex + " is an empty slot ('" + name
                            + "'); give its name to select it anyway");
        }
    }
    else
    {
        std::vector<std::string> names;
        for (int index = 0; index < count; ++index)
        {
            names.push_back(programNameAt(index));
        }
        chosen = NameMatch::find(names, nameOrIndex, "program");
        if (chosen < 0)
        {
            throw HostError("unknown program '" + nameOrIndex + "' for " + displayName()
                            + "; 'palisorne info' lists its programs");
        }
    }
    loaded->setProgram(chosen);
    return chosen;
}

bool HostedPlugin::setParameterFromText(int index, const std::string& text)
{
    // The effect may write into the text; give it room and a copy.
    std::vector<char> buffer(text.begin(), text.end());
    buffer.resize(text.size() + 256, '\0');
    return loaded->dispatch(effString2Parameter, index, 0, buffer.data()) != 0;
}
