#include "platform/linux/unix_socket.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>

namespace vireo {

namespace {

constexpr int kRetryPauseMs = 1;

} // namespace

SocketAddress::SocketAddress(const std::string& strFolder, const std::string& strName)
    : m_strFile(strFolder + "/" + strName)
{
    std::string strPath = m_strFile;
    if (strPath.size() >= sizeof m_address.sun_path) {
        m_folder = FileDescriptor(open(strFolder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!m_folder.IsOpen())
            return;
        strPath = "/proc/self/fd/" + std::to_string(m_folder.Number()) + "/" + strName;
    }
    m_address.sun_family = AF_UNIX;
    strPath.copy(m_address.sun_path, sizeof m_address.sun_path - 1);
}

FileDescriptor MakeSocket() { return FileDescriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)); }

FileDescriptor ConnectSocket(const SocketAddress& address, SocketTime deadline, int iCancel)
{
    if (!address.IsUsable()) {
        errno = ENOENT;
        return {};
    }
    for (;;) {
        FileDescriptor socket = MakeSocket();
        if (!socket.IsOpen())
            return {};
        if (connect(socket.Number(), address.Get(), address.Size()) == 0) {
            if (PeerIsSameUser(socket))
                return socket;
            errno = EACCES;
            return {};
        }
        // The only refusal that passes: the listener's queue of new connections is full.
        if (errno != EAGAIN || std::chrono::steady_clock::now() >= deadline)
            return {};
        pollfd cancel { iCancel, POLLIN, 0 };
        if (poll(&cancel, 1, kRetryPauseMs) > 0) {
            errno = ECANCELED;
            return {};
        }
    }
}

bool PeerIsSameUser(const FileDescriptor& socket)
{
    ucred peer {};
    socklen_t uiSize = sizeof peer;
    return getsockopt(socket.Number(), SOL_SOCKET, SO_PEERCRED, &peer, &uiSize) == 0 && peer.uid == geteuid();
}

bool WaitForSocket(const FileDescriptor& socket, short sEvents, int iCancel, SocketTime deadline)
{
    pollfd waits[] = { { socket.Number(), sEvents, 0 }, { iCancel, POLLIN, 0 } };
    for (;;) {
        const int iReady = poll(waits, std::size(waits), MillisecondsUntil(deadline));
        if (waits[1].revents != 0 && iReady > 0)
            return false;
        if (iReady > 0)
            return true;
        if (iReady == 0 || errno != EINTR)
            return false;
    }
}

int MillisecondsUntil(SocketTime deadline)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(left.count(), 0, 1'000'000));
}

} // namespace vireo
