#pragma once

#include <string>
#include <vector>

// How a program run by runProcess ended and what it printed.
struct ProcessResult
{
    bool started = false;
    int exitCode = -1;   // 128 + the signal when it was killed
    std::string out;
    std::string err;
};

// Runs a program in a fresh process, without a shell (argv[0] is looked up
// in PATH when it has no slash), stdin from /dev/null, with our environment,
// and waits for it.
ProcessResult runProcess(const std::vector<std::string>& argv);
