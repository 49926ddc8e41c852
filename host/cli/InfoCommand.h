#pragma once

#include <ostream>
#include <string>

// `palisorne info`: a plug-in's identity, latency, parameters (with their
// range, unit and, for stepped ones, every value text) and programs, as
// text or JSON.
class InfoCommand
{
public:
    static int run(std::ostream& out, const std::string& pluginPath, double sampleRate, bool json);
};
