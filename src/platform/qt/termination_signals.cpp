#include "platform/qt/termination_signals.h"

#include <QSocketNotifier>
#include <array>
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace vireo {

namespace {

constexpr std::array<int, 3> kSignals = { SIGTERM, SIGINT, SIGHUP };
std::array<int, 2> g_sockets = { -1, -1 }; // a handler reaches nothing but globals

extern "C" void OnSignal(int)
{
    const char cMark = 1;
    // A full socket already holds an earlier signal.
    [[maybe_unused]] const auto iWritten = ::send(g_sockets[0], &cMark, sizeof cMark, MSG_DONTWAIT | MSG_NOSIGNAL);
}

} // namespace

TerminationSignals::TerminationSignals(std::function<void()> onTermination)
    : m_onTermination(std::move(onTermination))
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, g_sockets.data()) != 0)
        return;
    m_pNotifier = new QSocketNotifier(g_sockets[1], QSocketNotifier::Read, this);
    connect(m_pNotifier, &QSocketNotifier::activated, this, [this] {
        char cMark = 0;
        if (::recv(g_sockets[1], &cMark, sizeof cMark, MSG_DONTWAIT) == 1)
            m_onTermination();
    });
    struct sigaction action { };
    action.sa_handler = OnSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int iSignal : kSignals) {
        struct sigaction before { };
        ::sigaction(iSignal, &action, &before);
        if (iSignal == SIGHUP && before.sa_handler == SIG_IGN) {
            ::signal(iSignal, SIG_IGN);
            m_bHangUpIgnored = true;
        }
    }
}

TerminationSignals::~TerminationSignals()
{
    for (const int iSignal : kSignals)
        ::signal(iSignal, iSignal == SIGHUP && m_bHangUpIgnored ? SIG_IGN : SIG_DFL);
    delete m_pNotifier;
    for (int& iSocket : g_sockets) {
        if (iSocket >= 0)
            ::close(iSocket);
        iSocket = -1;
    }
}

} // namespace vireo
