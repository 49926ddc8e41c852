#include "ProcessRun.h"
#include "ScratchDirectory.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <stdexcept>
#include <unistd.h>

extern char** environ;

ProcessRun ProcessRun::run(const std::vector<std::string>& argv, const std::string& scratchDirectory)
{
    const std::string outPath = scratchDirectory + "/.stdout";
    const std::string errPath = scratchDirectory + "/.stderr";
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    std::vector<char*> arguments;
    for (const std::string& argument : argv)
    {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    pid_t child = 0;
    const int failed = posix_spawn(&child, argv[0].c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0)
    {
        throw std::runtime_error("cannot start " + argv[0]);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ProcessRun result;
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.out = ScratchDirectory::contentsOf(outPath);
    result.err = ScratchDirectory::contentsOf(errPath);
    ::unlink(outPath.c_str());
    ::unlink(errPath.c_str());
    return result;
}

ProcessRun ProcessRun::palisorne(const std::vector<std::string>& arguments, const std::string& scratchDirectory)
{
    std::vector<std::string> argv = {PALISORNE_EXECUTABLE};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    return run(argv, scratchDirectory);
}
