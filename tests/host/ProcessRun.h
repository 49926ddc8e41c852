#pragma once

#include <string>
#include <vector>

// Runs a program to its end and keeps what it printed and how it ended.
struct ProcessRun
{
    int exitCode = -1;
    std::string out;
    std::string err;

    // argv[0] is the program's path; stdout and stderr are captured through
    // files in `scratchDirectory`, stdin is /dev/null.
    static ProcessRun run(const std::vector<std::string>& argv, const std::string& scratchDirectory);
    // The palisorne executable with these arguments.
    static ProcessRun palisorne(const std::vector<std::string>& arguments, const std::string& scratchDirectory);
};
