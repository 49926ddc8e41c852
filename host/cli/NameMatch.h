#pragma once

#include <string>

// How names typed on the command line are compared with the names a plug-in
// shows: surrounding blanks and letter case do not count.
class NameMatch
{
public:
    static bool matches(const std::string& shown, const std::string& typed);
    static std::string trimmed(const std::string& text);
};
