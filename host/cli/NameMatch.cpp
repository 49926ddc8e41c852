#include "NameMatch.h"

#include "HostError.h"

#include <algorithm>
#include <cctype>

namespace
{
// Names shorter than this are not taken for cut ones.
constexpr size_t shortestCutName = 8;

bool beginsWith(const std::string& text, const std::string& start)
{
    return start.size() <= text.size() && NameMatch::matches(text.substr(0, start.size()), start);
}
}

bool NameMatch::matches(const std::string& shown, const std::string& typed)
{
    const std::string a = trimmed(shown);
    const std::string b = trimmed(typed);
    return a.size() == b.size()
           && std::equal(a.begin(), a.end(), b.begin(),
                         [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

std::string NameMatch::trimmed(const std::string& text)
{
    const size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
    {
        return std::string();
    }
    const size_t last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

int NameMatch::find(const std::vector<std::string>& shown, const std::string& typed, const std::string& what)
{
    const std::string wanted = trimmed(typed);
    if (wanted.empty())
    {
        return -1;
    }
    for (size_t i = 0; i < shown.size(); ++i)
    {
        if (matches(shown[i], wanted))
        {
            return static_cast<int>(i);
        }
    }
    for (size_t i = 0; i < shown.size(); ++i)
    {
        const std::string name = trimmed(shown[i]);
        if (name.size() >= shortestCutName && beginsWith(wanted, name))
        {
            return static_cast<int>(i);
        }
    }
    std::vector<size_t> begun;
    for (size_t i = 0; i < shown.size(); ++i)
    {
        if (beginsWith(trimmed(shown[i]), wanted))
        {
            begun.push_back(i);
        }
    }
    if (begun.size() > 1)
    {
        std::string names;
        for (size_t i : begun)
        {
            names += (names.empty() ? "" : ", ") + trimmed(shown[i]);
        }
        throw HostError("the " + what + " '" + wanted + "' is ambiguous: it begins " + names);
    }
    return begun.empty() ? -1 : static_cast<int>(begun.front());
}
