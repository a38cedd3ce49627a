#pragma once
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace vireo::test {

/// A program that runs beside the test, which hears what it says. It is killed with the object when it still runs.
class RunningProgram {
public:
    /// Far more than anything here takes, also on a busy machine.
    static constexpr std::chrono::seconds kPatience { 90 };

    /// `arguments` begins with the program, found on PATH. `environment`: variables set beside the test's own.
    explicit RunningProgram(const std::vector<std::string>& arguments,
        const std::vector<std::pair<std::string, std::string>>& environment = {})
    {
        int out[2];
        int err[2];
        if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        std::vector<char*> argv;
        for (const std::string& strArgument : arguments)
            argv.push_back(const_cast<char*>(strArgument.c_str()));
        argv.push_back(nullptr);
        m_pid = fork();
        if (m_pid == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            for (const int iSignal : { SIGINT, SIGTERM, SIGHUP, SIGPIPE })
                std::signal(iSignal, SIG_DFL);
            for (const auto& [strName, strValue] : environment)
                setenv(strName.c_str(), strValue.c_str(), 1);
            dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
            dup2(out[1], STDOUT_FILENO);
            dup2(err[1], STDERR_FILENO);
            execvp(argv[0], argv.data());
            _exit(127);
        }
        close(out[1]);
        close(err[1]);
        if (m_pid < 0)
            throw std::runtime_error("no process");
        m_readers[0] = std::thread([this, iFile = out[0]] { Read(iFile, m_strOut); });
        m_readers[1] = std::thread([this, iFile = err[0]] { Read(iFile, m_strErr); });
        m_waiter = std::thread([this] { WaitForProcess(); });
    }
    ~RunningProgram()
    {
        Signal(SIGKILL);
        m_waiter.join();
        for (std::thread& reader : m_readers)
            reader.join();
    }
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    pid_t Id() const { return m_pid; }
    void Signal(int iSignal)
    {
        std::lock_guard lock(m_mutex);
        if (!m_exit)
            kill(m_pid, iSignal);
    }
    /// What it has said so far on its standard output, and on its standard error.
    std::string Out() const { return Copy(m_strOut); }
    std::string Err() const { return Copy(m_strErr); }
    /// Waits until it has said this, as often as asked. False when it ended, or the patience did, before.
    bool WaitForOut(const std::string& strText, int iTimes = 1) { return WaitFor(m_strOut, strText, iTimes); }
    bool WaitForErr(const std::string& strText, int iTimes = 1) { return WaitFor(m_strErr, strText, iTimes); }
    bool HasEnded() const
    {
        std::lock_guard lock(m_mutex);
        return m_exit.has_value();
    }
    /// Its exit status; 128 + signal when a signal ended it; none when the patience ended before.
    std::optional<int> WaitForEnd(std::chrono::milliseconds patience = kPatience)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, patience, [this] { return m_exit && m_iOpen == 0; });
        return m_exit;
    }

private:
    void Read(int iFile, std::string& strInto)
    {
        char block[4096];
        for (;;) {
            const ssize_t iRead = read(iFile, block, sizeof block);
            if (iRead < 0 && errno == EINTR)
                continue;
            std::lock_guard lock(m_mutex);
            if (iRead <= 0)
                --m_iOpen;
            else
                strInto.append(block, static_cast<std::size_t>(iRead));
            m_changed.notify_all();
            if (iRead <= 0)
                break;
        }
        close(iFile);
    }
    void WaitForProcess()
    {
        siginfo_t info {};
        while (waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOWAIT) != 0 && errno == EINTR) { }
        std::lock_guard lock(m_mutex); // its id is not given up while a signal is being sent to it
        int iStatus = 0;
        waitpid(m_pid, &iStatus, 0);
        m_exit = WIFEXITED(iStatus) ? WEXITSTATUS(iStatus) : 128 + WTERMSIG(iStatus);
        m_changed.notify_all();
    }
    std::string Copy(const std::string& strText) const
    {
        std::lock_guard lock(m_mutex);
        return strText;
    }
    bool WaitFor(const std::string& strSaid, const std::string& strText, int iTimes)
    {
        const auto hasSaid = [&] {
            int iFound = 0;
            for (std::size_t uiAt = strSaid.find(strText); uiAt != std::string::npos;
                 uiAt = strSaid.find(strText, uiAt + strText.size()))
                ++iFound;
            return iFound >= iTimes;
        };
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, kPatience, [&] { return hasSaid() || (m_exit && m_iOpen == 0); });
        return hasSaid();
    }

    pid_t m_pid = -1;
    mutable std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    std::string m_strOut;
    std::string m_strErr;
    int m_iOpen = 2; ///< outputs that have not ended
    std::optional<int> m_exit;

    std::thread m_readers[2];
    std::thread m_waiter;
};

} // namespace vireo::test
