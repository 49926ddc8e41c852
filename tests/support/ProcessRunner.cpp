#include "ProcessRunner.h"

#ifdef _WIN32
#include <windows.h>

#include <functional>
#include <thread>

namespace
{
// One argument as the C runtime's command-line parser reads it back.
std::string quoted(const std::string& argument)
{
    std::string text = "\"";
    std::size_t backslashes = 0;
    for (char c : argument)
    {
        if (c == '\\')
        {
            ++backslashes;
            continue;
        }
        text.append(c == '"' ? 2 * backslashes + 1 : backslashes, '\\');
        backslashes = 0;
        text += c;
    }
    text.append(2 * backslashes, '\\');
    return text + "\"";
}

// Everything the child writes, its text-mode line ends ("\r\n") read as "\n".
void readAll(HANDLE from, std::string& into)
{
    char buffer[4096];
    DWORD count = 0;
    while (ReadFile(from, buffer, sizeof buffer, &count, nullptr) && count > 0)
    {
        into.append(buffer, count);
    }
    CloseHandle(from);
    std::size_t kept = 0;
    for (std::size_t i = 0; i < into.size(); ++i)
    {
        if (!(into[i] == '\r' && i + 1 < into.size() && into[i + 1] == '\n'))
        {
            into[kept++] = into[i];
        }
    }
    into.resize(kept);
}
}

ProcessResult runProcess(const std::vector<std::string>& argv)
{
    ProcessResult result;
    if (argv.empty())
    {
        return result;
    }
    std::string commandLine;
    for (const std::string& argument : argv)
    {
        commandLine += (commandLine.empty() ? "" : " ") + quoted(argument);
    }

    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    HANDLE outRead = nullptr;
    HANDLE outWrite = nullptr;
    HANDLE errRead = nullptr;
    HANDLE errWrite = nullptr;
    if (!CreatePipe(&outRead, &outWrite, &inheritable, 0))
    {
        return result;
    }
    if (!CreatePipe(&errRead, &errWrite, &inheritable, 0))
    {
        CloseHandle(outRead);
        CloseHandle(outWrite);
        return result;
    }
    SetHandleInformation(outRead, HANDLE_FLAG_INHERIT, 0);
    SetHandleInformation(errRead, HANDLE_FLAG_INHERIT, 0);
    HANDLE nothing = CreateFileA("NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable, OPEN_EXISTING,
                                 0, nullptr);
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = nothing;
    startup.hStdOutput = outWrite;
    startup.hStdError = errWrite;
    PROCESS_INFORMATION process = {};
    const BOOL started = CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                        nullptr, &startup, &process);
    CloseHandle(outWrite);
    CloseHandle(errWrite);
    if (nothing != INVALID_HANDLE_VALUE)
    {
        CloseHandle(nothing);
    }
    // Both pipes are drained together, so a child that fills one while we
    // wait on the other cannot stall.
    std::thread errReader(readAll, errRead, std::ref(result.err));
    readAll(outRead, result.out);
    errReader.join();
    if (!started)
    {
        return result;
    }
    result.started = true;
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD exitCode = 0;
    GetExitCodeProcess(process.hProcess, &exitCode);
    result.exitCode = static_cast<int>(exitCode);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return result;
}

#else
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

extern char** environ;

namespace
{
std::vector<char*> pointers(std::vector<std::string>& texts)
{
    std::vector<char*> result;
    for (std::string& text : texts)
    {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}
}

ProcessResult runProcess(const std::vector<std::string>& argv)
{
    ProcessResult result;
    std::vector<std::string> arguments = argv;
    if (arguments.empty())
    {
        return result;
    }

    int outPipe[2];
    int errPipe[2];
    if (pipe2(outPipe, O_CLOEXEC) != 0)
    {
        return result;
    }
    if (pipe2(errPipe, O_CLOEXEC) != 0)
    {
        close(outPipe[0]);
        close(outPipe[1]);
        return result;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, outPipe[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errPipe[1], STDERR_FILENO);
    pid_t child = 0;
    const int failed = posix_spawnp(&child, arguments[0].c_str(), &actions, nullptr, pointers(arguments).data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(outPipe[1]);
    close(errPipe[1]);

    // Both pipes are drained together, so a child that fills one while we
    // wait on the other cannot stall.
    pollfd ends[2] = {{outPipe[0], POLLIN, 0}, {errPipe[0], POLLIN, 0}};
    std::string* texts[2] = {&result.out, &result.err};
    int open = failed == 0 ? 2 : 0;
    while (open > 0)
    {
        if (poll(ends, 2, -1) < 0 && errno != EINTR)
        {
            break;
        }
        for (int i = 0; i < 2; ++i)
        {
            if (ends[i].fd < 0 || ends[i].revents == 0)
            {
                continue;
            }
            char buffer[4096];
            const ssize_t count = read(ends[i].fd, buffer, sizeof buffer);
            if (count > 0)
            {
                texts[i]->append(buffer, static_cast<std::size_t>(count));
            }
            else if (count == 0 || errno != EINTR)
            {
                ends[i].fd = -1;
                --open;
            }
        }
    }
    close(outPipe[0]);
    close(errPipe[0]);
    if (failed != 0)
    {
        return result;
    }
    result.started = true;
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR)
    {
    }
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}
#endif
