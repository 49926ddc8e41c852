#pragma once

#include "ProcessRunner.h"

#include <string>
#include <sys/stat.h>
#include <vector>

// Module paths the tests load, and the executable that loads them.
namespace TestModules
{
constexpr const char* delayProbe = DELAY_PROBE_MODULE;
constexpr const char* notAPlugin = NOT_A_PLUGIN_MODULE;

#ifdef OUR_MODULE
constexpr const char* ours = OUR_MODULE;
#else
constexpr const char* ours = "";
#endif

inline bool exists(const std::string& path)
{
    struct stat status;
    return !path.empty() && ::stat(path.c_str(), &status) == 0;
}
}

// Skips the calling test when a module is not there, saying which.
#define SKIP_WITHOUT_MODULE(path)                                                                                      \
    do                                                                                                                 \
    {                                                                                                                  \
        if (!TestModules::exists(path))                                                                                \
        {                                                                                                              \
            GTEST_SKIP() << "module not available: "                                                                   \
                         << (std::string(path).empty() ? "KW_Palisorne (not built)" : path);                           \
        }                                                                                                              \
    } while (false)

// The words of `first`, then those of `more`.
inline std::vector<std::string> joined(std::vector<std::string> first, const std::vector<std::string>& more)
{
    first.insert(first.end(), more.begin(), more.end());
    return first;
}

// The palisorne executable run with these arguments.
inline ProcessResult runPalisorne(const std::vector<std::string>& arguments)
{
    return runProcess(joined({PALISORNE_EXECUTABLE}, arguments));
}
