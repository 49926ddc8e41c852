#pragma once

#include <string>
#include <vector>

// A fresh directory for one test, removed with everything in it afterwards.
class ScratchDirectory
{
public:
    ScratchDirectory();
    ~ScratchDirectory();
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    std::string path(const std::string& name) const;
    const std::string& root() const { return directory; }
    // Names of the entries, sorted; hidden ones included.
    std::vector<std::string> entries() const;
    // The bytes of a file anywhere; empty if it cannot be read.
    static std::string contentsOf(const std::string& path);

private:
    std::string directory;
};
