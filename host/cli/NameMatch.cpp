#include "NameMatch.h"

#include <algorithm>
#include <cctype>

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
