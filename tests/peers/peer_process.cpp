#include "peers/peer_process.h"

#include <array>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace vireo::peers {

PeerProcess::PeerProcess(const std::vector<std::string>& arguments)
{
    std::array<int, 2> input {};
    std::array<int, 2> output {};
    if (pipe2(input.data(), O_CLOEXEC) != 0 || pipe2(output.data(), O_CLOEXEC) != 0)
        return;
    std::vector<std::string> words { TESSEL_FAKE_GIGE, "--until-eof" };
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& strWord : words)
        argv.push_back(strWord.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    if (posix_spawn(&m_pid, argv[0], &actions, nullptr, argv.data(), environ) != 0)
        m_pid = -1;
    posix_spawn_file_actions_destroy(&actions);
    close(input[0]);
    close(output[1]);
    m_iInput = input[1];
    std::array<char, 16> text {};
    m_bReady = m_pid > 0 && read(output[0], text.data(), text.size()) > 0 && std::strncmp(text.data(), "ready", 5) == 0;
    close(output[0]);
}

PeerProcess::~PeerProcess()
{
    Kill();
    close(m_iInput);
}

void PeerProcess::Kill()
{
    if (m_pid <= 0)
        return;
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
    m_pid = -1;
}

void PeerProcess::Freeze() const { kill(m_pid, SIGSTOP); }
void PeerProcess::Thaw() const { kill(m_pid, SIGCONT); }

} // namespace vireo::peers
