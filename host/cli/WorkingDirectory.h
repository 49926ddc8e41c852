#pragma once

#include <string>

// A private directory beside a destination, for work that must land on the
// same file system; removed with whatever is left in it.
class WorkingDirectory
{
public:
    // Throws HostError when it cannot be made.
    explicit WorkingDirectory(const std::string& beside);
    ~WorkingDirectory();
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;

    std::string path;
};
