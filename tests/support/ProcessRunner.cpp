#include "ProcessRunner.h"

#ifdef _WIN32
#include <windows.h>

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
}

ProcessResult runProcess(const std::vector<std::string>& argv)
{
    ProcessResult result;
    std::string commandLine;
    for (const std::string& argument : argv)
    {
        commandLine += (commandLine.empty() ? "" : " ") + quoted(argument);
    }
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    HANDLE outRead = nullptr;
    HANDLE outWrite = nullptr;
    if (argv.empty() || !CreatePipe(&outRead, &outWrite, &inheritable, 0))
    {
        return result;
    }
    SetHandleInformation(outRead, HANDLE_FLAG_INHERIT, 0);
    HANDLE nothing = CreateFileA("NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable, OPEN_EXISTING,
                                 0, nullptr);
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = nothing;
    startup.hStdOutput = outWrite;
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process = {};
    result.started =
        CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
    CloseHandle(outWrite);
    if (nothing != INVALID_HANDLE_VALUE)
    {
        CloseHandle(nothing);
    }
    char buffer[4096];
    DWORD count = 0;
    while (ReadFile(outRead, buffer, sizeof buffer, &count, nullptr) && count > 0)
    {
        // Text-mode line ends ("\r\n") read as "\n".
        for (DWORD i = 0; i < count; ++i)
        {
            if (buffer[i] != '\r')
            {
                result.out += buffer[i];
            }
        }
    }
    CloseHandle(outRead);
    if (result.started)
    {
        WaitForSingleObject(process.hProcess, INFINITE);
        DWORD exitCode = 0;
        GetExitCodeProcess(process.hProcess, &exitCode);
        result.exitCode = static_cast<int>(exitCode);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    return result;
}

#else
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

extern char** environ;

ProcessResult runProcess(const std::vector<std::string>& argv)
{
    ProcessResult result;
    std::vector<std::string> arguments = argv;
    std::vector<char*> pointers;
    for (std::string& argument : arguments)
    {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    int outPipe[2];
    if (argv.empty() || pipe2(outPipe, O_CLOEXEC) != 0)
    {
        return result;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, outPipe[1], STDOUT_FILENO);
    pid_t child = 0;
    result.started = posix_spawnp(&child, pointers[0], &actions, nullptr, pointers.data(), environ) == 0;
    posix_spawn_file_actions_destroy(&actions);
    close(outPipe[1]);
    char buffer[4096];
    ssize_t count = 0;
    while ((count = read(outPipe[0], buffer, sizeof buffer)) != 0)
    {
        if (count > 0)
        {
            result.out.append(buffer, static_cast<std::size_t>(count));
        }
        else if (errno != EINTR)
        {
            break;
        }
    }
    close(outPipe[0]);
    int status = 0;
    while (result.started && waitpid(child, &status, 0) < 0 && errno == EINTR)
    {
    }
    if (result.started)
    {
        result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return result;
}
#endif
