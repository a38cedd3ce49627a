#pragma once
#include "platform/linux/file_descriptor.h"

#include <chrono>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>

namespace vireo {

// Sockets between processes are the kernel's, and so are the waits on them: they pass in real time.
using SocketTime = std::chrono::steady_clock::time_point;

/// Where a socket file lives. The kernel takes 107 bytes; a longer path goes through an open folder.
class SocketAddress {
public:
    SocketAddress(const std::string& strFolder, const std::string& strName);
    [[nodiscard]] const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&m_address); }
    [[nodiscard]] socklen_t Size() const { return sizeof m_address; }
    /// False when the folder is gone.
    [[nodiscard]] bool IsUsable() const { return m_address.sun_path[0] != '\0'; }
    const std::string& File() const { return m_strFile; }

private:
    std::string m_strFile;
    FileDescriptor m_folder;
    sockaddr_un m_address {};
};

/// A new socket that never blocks.
FileDescriptor MakeSocket();
/// Connects. Not open, with the reason in errno, when nobody listens, the listener belongs to another
/// user, or its queue of new connections is full until `deadline` or until `iCancel` (-1: none) becomes
/// readable.
FileDescriptor ConnectSocket(const SocketAddress& address, SocketTime deadline, int iCancel = -1);
/// The process at the other end belongs to this program's user.
bool PeerIsSameUser(const FileDescriptor& socket);
/// Waits for `sEvents` on the socket, or for `iCancel` (-1: none) to become readable.
/// False when cancelled or `deadline` has passed.
bool WaitForSocket(const FileDescriptor& socket, short sEvents, int iCancel, SocketTime deadline);

/// Milliseconds until `deadline`, rounded up, for the kernel's waits; 0 when it has passed.
int MillisecondsUntil(SocketTime deadline);

} // namespace vireo
