#include "WorkingDirectory.h"

#include "HostError.h"

#include <filesystem>
#include <stdlib.h>

WorkingDirectory::WorkingDirectory(const std::string& beside)
{
    std::string pattern = (beside.empty() ? std::string(".") : beside) + "/.palisorne-master-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr)
    {
        throw HostError("cannot create a working directory in '" + beside + "'");
    }
    path = pattern;
}

WorkingDirectory::~WorkingDirectory()
{
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}
