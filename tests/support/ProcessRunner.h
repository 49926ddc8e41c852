#pragma once

#include <string>
#include <vector>

// How a program run by runProcess ended and what it printed on stdout.
struct ProcessResult
{
    bool started = false;
    int exitCode = -1; // 128 + the signal when it was killed
    std::string out;
};

// Runs a program in a fresh process (argv[0] is looked up in PATH when it has
// no slash), stdin from the null device, and waits for it. Its stderr goes to
// ours, where the test log shows it.
ProcessResult runProcess(const std::vector<std::string>& argv);
