#pragma once

#include <string>
#include <vector>

// Runs a program (looked up in PATH when the name has no slash) without a
// shell, waits for it and collects what it wrote to stdout and stderr.
struct CommandResult
{
    bool started;
    int exitCode;   // -1 when the program did not exit normally
    std::string output;
};

// extraEnvironment: "NAME=value" entries added to (or replacing) ours.
CommandResult runCommand(const std::vector<std::string>& arguments,
                         const std::vector<std::string>& extraEnvironment = {});
