#include "MasterJobs.h"

#include "HostError.h"
#include "InterruptFlag.h"
#include "ProgressBar.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace
{
struct Running
{
    size_t task;
    pid_t pid;
    int pipe;
    std::string pending;
    int percent;
};

// The running program's own file, even when a rebuild has replaced it on disk
// since it started.
std::string ownExecutable()
{
    const char* self = "/proc/self/exe";
    if (::access(self, X_OK) != 0)
    {
        throw HostError("cannot find the palisorne executable to run passes in");
    }
    return self;
}

Running spawn(const std::string& executable, const MasterTask& task, size_t index)
{
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0)
    {
        throw HostError("cannot start a pass: no pipe");
    }
    std::vector<std::string> arguments = {"palisorne", "master-pass"};
    arguments.insert(arguments.end(), task.arguments.begin(), task.arguments.end());
    std::vector<char*> argv;
    for (std::string& argument : arguments)
    {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, fds[1], STDOUT_FILENO);
    pid_t pid = 0;
    const int failed = ::posix_spawn(&pid, executable.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(fds[1]);
    if (failed != 0)
    {
        ::close(fds[0]);
        throw HostError("cannot start a pass for '" + task.fileName + "'");
    }
    return {index, pid, fds[0], "", 0};
}

// Reads what the child wrote; false at its end.
bool readProgress(Running& running)
{
    char buffer[256];
    const ssize_t got = ::read(running.pipe, buffer, sizeof(buffer));
    if (got < 0 && errno == EINTR)
    {
        return true;
    }
    if (got <= 0)
    {
        return false;
    }
    running.pending.append(buffer, static_cast<size_t>(got));
    size_t end = 0;
    while ((end = running.pending.find('\n')) != std::string::npos)
    {
        running.percent = std::atoi(running.pending.substr(0, end).c_str());
        running.pending.erase(0, end + 1);
    }
    return true;
}

bool finishedWell(pid_t pid)
{
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR)
    {
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}
}

MasterJobs::MasterJobs(int jobs)
    : jobs(std::max(1, jobs))
{
}

int MasterJobs::defaultJobs()
{
    return static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
}

void MasterJobs::run(const std::vector<MasterTask>& tasks, const std::string& title)
{
    const std::string executable = ownExecutable();
    ProgressBar progress(STDERR_FILENO);
    std::vector<Running> running;
    size_t next = 0;
    size_t finished = 0;
    std::string failure;
    while (finished < tasks.size())
    {
        const bool stopping = !failure.empty() || InterruptFlag::isRaised();
        while (!stopping && next < tasks.size() && static_cast<int>(running.size()) < jobs)
        {
            running.push_back(spawn(executable, tasks[next], next));
            ++next;
        }
        if (running.empty())
        {
            break;
        }
        std::vector<pollfd> polled;
        for (const Running& child : running)
        {
            polled.push_back({child.pipe, POLLIN, 0});
        }
        ::poll(polled.data(), polled.size(), 100);
        double done = static_cast<double>(finished);
        std::string note = title;
        for (size_t i = running.size(); i-- > 0;)
        {
            Running& child = running[i];
            if ((polled[i].revents & (POLLIN | POLLHUP | POLLERR)) != 0 && !readProgress(child))
            {
                ::close(child.pipe);
                if (!finishedWell(child.pid) && failure.empty())
                {
                    failure = tasks[child.task].fileName;
                }
                ++finished;
                running.erase(running.begin() + static_cast<long>(i));
                continue;
            }
            done += child.percent / 100.0;
            note += "  " + tasks[child.task].fileName + " " + std::to_string(child.percent) + "%";
        }
        progress.update(done / static_cast<double>(tasks.size()), note);
    }
    progress.finish();
    if (InterruptFlag::isRaised())
    {
        throw HostError("interrupted; nothing written");
    }
    if (!failure.empty())
    {
        throw HostError("the pass over '" + failure + "' failed; nothing written");
    }
}
