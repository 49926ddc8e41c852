#include "PluginLocator.h"

#include "HostError.h"

#include <cstdlib>
#include <unistd.h>
#include <sys/stat.h>

std::vector<std::string> PluginLocator::candidates(const std::string& executableDirectory,
                                                   const std::string& homeDirectory)
{
    std::vector<std::string> places;
    if (!executableDirectory.empty())
    {
        places.push_back(executableDirectory + "/" + moduleFileName);
        places.push_back(executableDirectory + "/../lib/vst/" + moduleFileName);
    }
    if (!homeDirectory.empty())
    {
        places.push_back(homeDirectory + "/.vst/" + moduleFileName);
    }
    places.push_back(std::string("/usr/local/lib/vst/") + moduleFileName);
    places.push_back(std::string("/usr/lib/vst/") + moduleFileName);
    return places;
}

std::string PluginLocator::findDefault()
{
    const char* home = std::getenv("HOME");
    const std::vector<std::string> places = candidates(executableDirectory(), home != nullptr ? home : "");
    std::string searched;
    for (const std::string& place : places)
    {
        struct stat status;
        if (::stat(place.c_str(), &status) == 0 && S_ISREG(status.st_mode))
        {
            return place;
        }
        searched += (searched.empty() ? "" : ", ") + place;
    }
    throw HostError(std::string("cannot find ") + moduleFileName + " (looked in " + searched
                    + "); build it or name a module with --plugin");
}

std::string PluginLocator::executableDirectory()
{
    char path[4096];
    const ssize_t length = ::readlink("/proc/self/exe", path, sizeof(path) - 1);
    if (length <= 0)
    {
        return std::string();
    }
    const std::string executable(path, static_cast<size_t>(length));
    return executable.substr(0, executable.find_last_of('/'));
}
