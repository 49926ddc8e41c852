#include "ScratchDirectory.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

ScratchDirectory::ScratchDirectory()
{
    const char* temporary = std::getenv("TMPDIR");
    std::string pattern = std::string(temporary != nullptr ? temporary : "/tmp") + "/palisorne-test-XXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    if (::mkdtemp(name.data()) == nullptr)
    {
        throw std::runtime_error("cannot create a scratch directory");
    }
    directory = name.data();
}

ScratchDirectory::~ScratchDirectory()
{
    std::error_code ignored;
    std::filesystem::remove_all(directory, ignored);
}

std::string ScratchDirectory::path(const std::string& name) const
{
    return directory + "/" + name;
}

std::vector<std::string> ScratchDirectory::entries() const
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory))
    {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string ScratchDirectory::contentsOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}
