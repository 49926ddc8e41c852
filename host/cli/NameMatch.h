#pragma once

#include <string>
#include <vector>

// How names typed on the command line are compared with the names a plug-in
// shows: surrounding blanks and letter case do not count.
class NameMatch
{
public:
    static bool matches(const std::string& shown, const std::string& typed);
    static std::string trimmed(const std::string& text);

    // The index of the name `typed` stands for, -1 for none: the name equal
    // to it; else the one that is `typed` cut short, as plug-ins cut long
    // names to their text fields ("+10 dB true peak headroo"); else the one
    // name it begins. Throws HostError naming the candidates when it begins
    // several; `what` says what is named ("parameter", "program").
    static int find(const std::vector<std::string>& shown, const std::string& typed, const std::string& what);
};
