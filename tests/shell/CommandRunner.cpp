#include "CommandRunner.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

extern char** environ;

CommandResult runCommand(const std::vector<std::string>& arguments, const std::vector<std::string>& extraEnvironment)
{
    CommandResult result{false, -1, {}};
    if (arguments.empty())
    {
        return result;
    }

    std::vector<std::string> environment;
    for (char** entry = environ; *entry; ++entry)
    {
        const std::string variable(*entry);
        bool replaced = false;
        for (const std::string& extra : extraEnvironment)
        {
            const std::string name = extra.substr(0, extra.find('=') + 1);
            replaced = replaced || variable.compare(0, name.size(), name) == 0;
        }
        if (!replaced)
        {
            environment.push_back(variable);
        }
    }
    environment.insert(environment.end(), extraEnvironment.begin(), extraEnvironment.end());

    std::vector<char*> argv;
    for (const std::string& argument : arguments)
    {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    std::vector<char*> envp;
    for (const std::string& variable : environment)
    {
        envp.push_back(const_cast<char*>(variable.c_str()));
    }
    envp.push_back(nullptr);

    int pipeEnds[2];
    if (pipe(pipeEnds) != 0)
    {
        return result;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addclose(&actions, pipeEnds[0]);
    posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDERR_FILENO);
    posix_spawn_file_actions_addclose(&actions, pipeEnds[1]);
    pid_t child = 0;
    const int error = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    close(pipeEnds[1]);
    if (error != 0)
    {
        close(pipeEnds[0]);
        return result;
    }
    result.started = true;

    char buffer[4096];
    for (;;)
    {
        const ssize_t count = read(pipeEnds[0], buffer, sizeof buffer);
        if (count > 0)
        {
            result.output.append(buffer, static_cast<std::size_t>(count));
        }
        else if (count == 0 || errno != EINTR)
        {
            break;
        }
    }
    close(pipeEnds[0]);

    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR)
    {
    }
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}
