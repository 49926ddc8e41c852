#pragma once

#include <string>
#include <vector>

// Finds our own module when no --plugin is given: next to the executable,
// in ../lib/vst relative to it (an installed tree), then in the places Linux
// hosts scan for VST2 modules.
class PluginLocator
{
public:
    static constexpr const char* moduleFileName = "KW_Palisorne.so";

    // The places looked at, in order, for an executable in `executableDirectory`
    // and a user whose home is `homeDirectory` (empty: none).
    static std::vector<std::string> candidates(const std::string& executableDirectory,
                                               const std::string& homeDirectory);

    // The first existing candidate for this process; throws HostError naming
    // the places searched when there is none.
    static std::string findDefault();

    static std::string executableDirectory();
};
