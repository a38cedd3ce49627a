#include "platform/linux/partner_listener.h"

#include "platform/linux/partner_protocol.h"
#include "platform/linux/runtime_folder.h"
#include "platform/linux/unix_socket.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>

namespace vireo {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t kMaxPeers = 64;
constexpr int kAcceptPauseMs = 100;
// Peers are heard between two lots of new ones: a crowd must not push out one that has something to say.
constexpr int kAcceptLot = 16;
constexpr auto kFolderLockTime = 1s;

/// The lock under which sockets of the folder are replaced and removed, so that nobody takes a socket
/// that is just being made for a stale one. Not open when somebody keeps it.
FileDescriptor LockFolder(const std::string& strFolder)
{
    const std::string strFile = strFolder + "/sockets.lock";
    FileDescriptor file(open(strFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
    const SocketTime deadline = std::chrono::steady_clock::now() + kFolderLockTime;
    while (file.IsOpen() && flock(file.Number(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK || std::chrono::steady_clock::now() >= deadline)
            return {};
        std::this_thread::sleep_for(1ms);
    }
    return file;
}

/// Nobody takes connections at the address any more. What cannot be found out is not taken for dead.
bool IsStale(const SocketAddress& address)
{
    return !ConnectSocket(address, {}).IsOpen() && (errno == ECONNREFUSED || errno == ENOENT);
}

} // namespace

std::unique_ptr<SocketListener> SocketListener::Open(
    std::string_view strTitle, Handler handler, Log& log, std::string& strError)
{
    const std::string strFolder = RuntimeFolder(strError);
    if (strFolder.empty())
        return nullptr;
    std::unique_ptr<SocketListener> listener(new SocketListener(std::move(handler), log));
    if (!listener->Bind(strFolder, strTitle, strError))
        return nullptr;
    return listener->Start(strError) ? std::move(listener) : nullptr;
}

bool SocketListener::Bind(const std::string& strFolder, std::string_view strTitle, std::string& strError)
{
    const auto fail = [&](const std::string& strReason) {
        strError = std::string(strTitle) + ": " + strReason;
        return false;
    };
    const FileDescriptor lock = LockFolder(strFolder);
    if (!lock.IsOpen())
        return fail("cannot lock " + strFolder);
    const SocketAddress address(strFolder, PartnerSocketName(strTitle));
    m_wake = FileDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    FileDescriptor socket = MakeSocket();
    if (!m_wake.IsOpen() || !socket.IsOpen() || !address.IsUsable())
        return fail(std::strerror(errno));
    if (!IsStale(address))
        return fail("another program listens under this title");
    unlink(address.File().c_str());

    struct stat status = {};
    if (bind(socket.Number(), address.Get(), address.Size()) != 0 || lstat(address.File().c_str(), &status) != 0)
        return fail(std::strerror(errno));
    if (listen(socket.Number(), SOMAXCONN) != 0) {
        const std::string strReason = std::strerror(errno);
        unlink(address.File().c_str());
        return fail(strReason);
    }
    m_strTitle = strTitle;
    m_strFolder = strFolder;
    m_strFile = address.File();
    m_device = status.st_dev;
    m_inode = status.st_ino;
    m_socket = std::move(socket);
    return true;
}

bool SocketListener::Start(std::string& strError)
{
    bool bStarted = false;
    // Signals belong to the program's own threads.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before);
    try {
        m_handlerThread = std::thread([this] { RunHandler(); });
        m_peerThread = std::thread([this] { TalkToPeers(); });
        bStarted = true;
    } catch (const std::system_error& failure) {
        strError = m_strTitle + ": no thread: " + failure.code().message();
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return bStarted;
}

SocketListener::~SocketListener()
{
    {
        std::lock_guard lock(m_mutex);
        m_bStop = true;
    }
    m_changed.notify_all();
    if (m_handlerThread.joinable())
        m_handlerThread.join();
    {
        std::lock_guard lock(m_mutex);
        m_bHandlerEnded = true;
    }
    if (m_wake.IsOpen())
        Wake();
    if (m_peerThread.joinable())
        m_peerThread.join();
    if (m_socket.IsOpen())
        RemoveFile();
}

void SocketListener::RemoveFile()
{
    const FileDescriptor lock = LockFolder(m_strFolder);
    struct stat status = {};
    if (lstat(m_strFile.c_str(), &status) == 0 && status.st_dev == m_device && status.st_ino == m_inode)
        unlink(m_strFile.c_str());
}

void SocketListener::RunHandler()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_bStop || !m_work.empty(); });
        if (m_bStop)
            return;
        const Work work = std::move(m_work.front());
        m_work.pop_front();
        lock.unlock();
        m_handler(work.message);
        lock.lock();
        m_finished.push_back(work.uiPeer);
        Wake();
    }
}

void SocketListener::Wake()
{
    const std::uint64_t uiOne = 1;
    [[maybe_unused]] const ssize_t iWritten = write(m_wake.Number(), &uiOne, sizeof uiOne);
}

void SocketListener::TalkToPeers()
{
    bool bConnections = false;
    std::vector<Peer*> readable;
    while (WaitForEvents(bConnections, readable)) {
        AnswerFinished();
        for (Peer* pPeer : readable)
            Receive(*pPeer);
        std::erase_if(m_peers, [](const std::unique_ptr<Peer>& peer) { return peer->bClosed; });
        if (bConnections)
            AcceptPeers();
    }
    AnswerFinished(); // the message that ended the listener has been handled like any other
    m_peers.clear();
}

/// False when the listener ends. Peers whose message is being handled are not looked at: a closed one
/// would end every wait at once.
bool SocketListener::WaitForEvents(bool& bConnections, std::vector<Peer*>& readable)
{
    const bool bAllBusy = m_peers.size() >= kMaxPeers
        && std::ranges::all_of(m_peers, [](const std::unique_ptr<Peer>& peer) { return peer->bBusy; });
    const bool bAccept = !bAllBusy && !m_bAcceptPaused;
    std::vector<pollfd> waits { { m_wake.Number(), POLLIN, 0 }, { bAccept ? m_socket.Number() : -1, POLLIN, 0 } };
    for (const std::unique_ptr<Peer>& peer : m_peers)
        waits.push_back({ peer->bBusy ? -1 : peer->socket.Number(), POLLIN, 0 });
    poll(waits.data(), waits.size(), m_bAcceptPaused ? kAcceptPauseMs : -1);

    m_bAcceptPaused = false;
    bConnections = waits[1].revents != 0;
    readable.clear();
    for (std::size_t i = 0; i < m_peers.size(); ++i)
        if (waits[i + 2].revents != 0)
            readable.push_back(m_peers[i].get());
    std::uint64_t uiCount = 0;
    [[maybe_unused]] const ssize_t iRead = read(m_wake.Number(), &uiCount, sizeof uiCount);
    std::lock_guard lock(m_mutex);
    return !m_bHandlerEnded;
}

void SocketListener::AcceptPeers()
{
    for (int i = 0; i < kAcceptLot; ++i) {
        if (m_peers.size() >= kMaxPeers && !MakeRoom())
            return;
        FileDescriptor socket(accept4(m_socket.Number(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (!socket.IsOpen()) {
            const bool bNoDescriptor = errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM;
            if (bNoDescriptor && !std::exchange(m_bReportedShortage, true))
                Report("no file descriptor is left for a new connection");
            m_bAcceptPaused = bNoDescriptor && !MakeRoom();
            return;
        }
        if (!PeerIsSameUser(socket)) {
            Report("a peer of another user was refused");
            continue;
        }
        auto peer = std::make_unique<Peer>();
        peer->uiNumber = ++m_uiPeers;
        peer->uiLastHeard = ++m_uiHeard;
        peer->socket = std::move(socket);
        m_peers.push_back(std::move(peer));
    }
}

/// Closes the peer that has been silent longest. False when every peer waits for its answer.
bool SocketListener::MakeRoom()
{
    for (;;) {
        const auto silent = std::ranges::min_element(
            m_peers, {}, [](const std::unique_ptr<Peer>& peer) { return std::pair(peer->bBusy, peer->uiLastHeard); });
        if (silent == m_peers.end() || (*silent)->bBusy)
            return false;
        Receive(**silent); // its line may have come just now
        if ((*silent)->bBusy)
            continue;
        if (!std::exchange(m_bReportedCrowd, true))
            Report("too many connections: the silent ones are closed");
        m_peers.erase(silent);
        return true;
    }
}

void SocketListener::AnswerFinished()
{
    std::vector<std::uint64_t> finished;
    {
        std::lock_guard lock(m_mutex);
        finished.swap(m_finished);
    }
    for (const std::uint64_t uiNumber : finished) {
        const auto found = std::ranges::find_if(
            m_peers, [uiNumber](const std::unique_ptr<Peer>& peer) { return peer->uiNumber == uiNumber; });
        if (found == m_peers.end())
            continue;
        (*found)->bBusy = false;
        Answer(**found, kAnswerDone);
        HandleLines(**found);
    }
}

void SocketListener::Receive(Peer& peer)
{
    char block[kMaxPartnerLine + 1];
    const ssize_t iRead = recv(peer.socket.Number(), block, sizeof block, 0);
    if (iRead < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    peer.uiLastHeard = ++m_uiHeard;
    if (iRead <= 0)
        peer.bEnded = true;
    else
        peer.strInput.append(block, static_cast<std::size_t>(iRead));
    HandleLines(peer);
}

/// Gives the next complete line to the handler, one at a time.
void SocketListener::HandleLines(Peer& peer)
{
    if (peer.bBusy || peer.bClosed)
        return;
    const std::size_t uiEnd = peer.strInput.find('\n');
    if (std::min(uiEnd, peer.strInput.size()) > kMaxPartnerLine)
        return Reject(peer, "a line is too long");
    if (uiEnd == std::string::npos) {
        peer.bClosed = peer.bEnded; // half a line is none
        return;
    }
    std::optional<PartnerMessage> message = ParsePartnerLine(std::string_view(peer.strInput).substr(0, uiEnd));
    if (!message)
        return Reject(peer, "a line was not understood");
    peer.strInput.erase(0, uiEnd + 1);
    peer.bBusy = true;
    {
        std::lock_guard lock(m_mutex);
        m_work.push_back({ peer.uiNumber, std::move(*message) });
    }
    m_changed.notify_all();
}

void SocketListener::Reject(Peer& peer, const std::string& strReason)
{
    Report(strReason);
    Answer(peer, kAnswerUnknown);
    peer.bClosed = true;
}

void SocketListener::Answer(Peer& peer, std::string_view strAnswer)
{
    // A peer that has gone, or takes nothing in, misses its answer; its lines are handled all the same.
    const std::string strLine = std::string(strAnswer) + '\n';
    [[maybe_unused]] const ssize_t iSent = send(peer.socket.Number(), strLine.data(), strLine.size(), MSG_NOSIGNAL);
}

void SocketListener::Report(const std::string& strText) { m_log.Write("partner link " + m_strTitle + ": " + strText); }

} // namespace vireo
