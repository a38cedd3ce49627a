#pragma once
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace vireo::test {

/// How a program ended and what it said.
struct ToolResult {
    int iExit = -1; ///< exit status; 128 + signal when a signal ended it
    std::string strOut;
    std::string strErr;
};

namespace detail {

struct Pipe {
    std::array<int, 2> ends { -1, -1 };
    Pipe()
    {
        if (pipe2(ends.data(), O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
    }
    ~Pipe()
    {
        CloseEnd(0);
        CloseEnd(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    void CloseEnd(std::size_t uiEnd)
    {
        if (ends[uiEnd] >= 0)
            close(ends[uiEnd]);
        ends[uiEnd] = -1;
    }
};

/// Reads once from an end that is ready; false at its end.
inline bool ReadSome(int iFile, std::string& strInto)
{
    std::array<char, 1 << 16> buffer;
    const ssize_t iRead = read(iFile, buffer.data(), buffer.size());
    if (iRead < 0)
        return errno == EINTR;
    strInto.append(buffer.data(), static_cast<std::size_t>(iRead));
    return iRead > 0;
}

} // namespace detail

/// Runs a program, found on PATH, to its end, with nothing on its standard input.
/// `arguments` begins with its name. A program that cannot be started exits 127.
inline ToolResult RunTool(const std::vector<std::string>& arguments)
{
    detail::Pipe out;
    detail::Pipe err;
    std::vector<char*> argv;
    for (const std::string& strArgument : arguments)
        argv.push_back(const_cast<char*>(strArgument.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out.ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err.ends[1], STDERR_FILENO);
    pid_t pid = -1;
    const int iSpawned = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ToolResult result;
    if (iSpawned != 0) {
        result.iExit = 127;
        result.strErr = "cannot start " + arguments[0];
        return result;
    }
    out.CloseEnd(1);
    err.CloseEnd(1);
    std::array<pollfd, 2> ends { pollfd { out.ends[0], POLLIN, 0 }, pollfd { err.ends[0], POLLIN, 0 } };
    while (ends[0].fd >= 0 || ends[1].fd >= 0) {
        if (poll(ends.data(), ends.size(), -1) < 0 && errno != EINTR)
            break;
        for (pollfd& end : ends) {
            if (end.fd >= 0 && end.revents != 0
                && !detail::ReadSome(end.fd, end.fd == out.ends[0] ? result.strOut : result.strErr))
                end.fd = -1;
        }
    }
    int iStatus = 0;
    while (waitpid(pid, &iStatus, 0) < 0 && errno == EINTR) { }
    result.iExit = WIFEXITED(iStatus) ? WEXITSTATUS(iStatus) : 128 + WTERMSIG(iStatus);
    return result;
}

} // namespace vireo::test
