#pragma once

#include "VstModule.h"

#include <memory>
#include <string>

// A VST2 effect loaded and opened for offline work, ours or anyone's. Adds to
// the loader what a rendering host needs: one-line errors, the start and stop
// sequence around processing, and recognising our own module.
class HostedPlugin
{
public:
    // 'KWPS', the unique ID of our limiter.
    static constexpr VstInt32 ourUniqueId = 0x4B575053;
    // Our limiter clamps its sample rate to this range.
    static constexpr int ourLowestRate = 22050;
    static constexpr int ourHighestRate = 192000;

    // Loads and opens; throws HostError when the file is not a VST2 module or
    // its effect cannot be created.
    explicit HostedPlugin(const std::string& path);
    ~HostedPlugin();
    HostedPlugin(const HostedPlugin&) = delete;
    HostedPlugin& operator=(const HostedPlugin&) = delete;

    VstModule& module() { return *loaded; }

    bool isOurs() const;
    // The unique ID as four characters when they are printable, e.g. "KWPS".
    std::string uniqueIdText() const;
    // The effect's name, else the product's, else the file name.
    std::string displayName();

    // Sets rate and maximum block size, switches the effect on and lets it
    // process one block of silence, after which its latency is settled.
    void start(double sampleRate, int maxBlockFrames);
    void stop();

    // The program's name, read by index or, for effects that do not answer
    // that, by selecting the program for a moment.
    std::string programNameAt(int index);
    // Selects a program by index ("3") or by name (case ignored); throws
    // HostError when there is no such program. Returns its index.
    int selectProgram(const std::string& nameOrIndex);

    // Asks the effect to parse a value in its own units (effString2Parameter);
    // false when it does not offer this.
    bool setParameterFromText(int index, const std::string& text);

private:
    std::unique_ptr<VstModule> loaded;
    bool started;
};
