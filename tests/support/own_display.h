#pragma once
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vireo::test {

/// An X server of the test's own, with a screen of 1920 x 1200; gone with the object, or with the process.
class OwnDisplay {
public:
    OwnDisplay()
    {
        int pipes[2];
        if (pipe2(pipes, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe for the X server");
        m_pid = fork();
        if (m_pid == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            dup2(pipes[1], 3); // clears the close-on-exec mark, unless it is 3 already
            fcntl(3, F_SETFD, 0);
            const int iNull = open("/dev/null", O_RDWR);
            dup2(iNull, STDOUT_FILENO);
            dup2(iNull, STDERR_FILENO);
            // When its last client leaves, a server takes none for a while, unless told otherwise.
            execlp("Xvfb", "Xvfb", "-displayfd", "3", "-screen", "0", "1920x1200x24", "-nolisten", "tcp", "-noreset",
                static_cast<char*>(nullptr));
            _exit(127);
        }
        close(pipes[1]);
        std::string strNumber;
        char c = 0;
        pollfd waited { pipes[0], POLLIN, 0 };
        while (poll(&waited, 1, 20000) == 1 && read(pipes[0], &c, 1) == 1 && c != '\n')
            strNumber += c;
        close(pipes[0]);
        if (strNumber.empty())
            throw std::runtime_error("Xvfb did not start");
        m_strName = ":" + strNumber;
    }
    ~OwnDisplay() { End(); }
    /// The server goes, whoever still draws on it.
    void End()
    {
        if (m_pid <= 0)
            return;
        kill(m_pid, SIGTERM);
        waitpid(m_pid, nullptr, 0);
        m_pid = -1;
    }
    OwnDisplay(const OwnDisplay&) = delete;
    OwnDisplay& operator=(const OwnDisplay&) = delete;

    /// For DISPLAY.
    const std::string& Name() const { return m_strName; }

private:
    pid_t m_pid = -1;
    std::string m_strName;
};

} // namespace vireo::test
