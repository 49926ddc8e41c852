#pragma once

#include <string>
#include <vector>

// One child process's work: the arguments of `palisorne master-pass`, and the
// file it is about, for progress and errors.
struct MasterTask
{
    std::vector<std::string> arguments;
    std::string fileName;
};

// Runs passes as child processes of this same program, at most `jobs` at
// once, with a progress line (overall and per running file) on a terminal.
class MasterJobs
{
public:
    explicit MasterJobs(int jobs);

    // Returns when every task has ended; throws HostError naming the file when
    // one failed (its own message is on standard error already) and on Ctrl-C,
    // after the others have ended.
    void run(const std::vector<MasterTask>& tasks, const std::string& title);

    static int defaultJobs();

private:
    int jobs;
};
