#pragma once
#include "platform/linux/file_descriptor.h"
#include "platform/log.h"
#include "platform/partner_link.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace vireo {

/// One listening window. A thread of its own talks to the peers, another one runs the handler, so that
/// a slow handler keeps nobody from being heard; messages are handled one at a time, in the order in
/// which their lines were complete. A peer's next line is read when its last one has been answered.
///
/// At most 64 peers are connected; a new one takes the place of the one that has been silent longest.
/// The destructor waits for a running handler, whose sender is still answered: a handler must not wait for the
/// thread that ends it.
class SocketListener : public PartnerListener {
public:
    using Handler = std::function<void(const PartnerMessage&)>;

    /// Null, with the reason in `strError`, when the title is in use, or the socket or the threads cannot be
    /// made.
    static std::unique_ptr<SocketListener> Open(
        std::string_view strTitle, Handler handler, Log& log, std::string& strError);
    ~SocketListener() override;

private:
    struct Peer {
        std::uint64_t uiNumber = 0;
        FileDescriptor socket;
        std::string strInput; ///< received, not understood yet
        std::uint64_t uiLastHeard = 0; ///< counts up over all peers
        bool bBusy = false; ///< a message of it waits for the handler or is in it
        bool bEnded = false; ///< it has closed its side
        bool bClosed = false; ///< to be removed
    };
    struct Work {
        std::uint64_t uiPeer = 0;
        PartnerMessage message;
    };

    SocketListener(Handler handler, Log& log)
        : m_handler(std::move(handler))
        , m_log(log)
    {
    }
    bool Bind(const std::string& strFolder, std::string_view strTitle, std::string& strError);
    bool Start(std::string& strError);
    void RemoveFile();

    void RunHandler();
    void Wake();

    // All below: the thread that talks to the peers.
    void TalkToPeers();
    bool WaitForEvents(bool& bConnections, std::vector<Peer*>& readable);
    void AcceptPeers();
    bool MakeRoom();
    void AnswerFinished();
    void Receive(Peer& peer);
    void HandleLines(Peer& peer);
    void Reject(Peer& peer, const std::string& strReason);
    void Answer(Peer& peer, std::string_view strAnswer);
    void Report(const std::string& strText);

    Handler m_handler;
    Log& m_log;
    std::string m_strTitle;
    std::string m_strFolder;
    std::string m_strFile;
    dev_t m_device = 0; ///< of the socket file, to know it again
    ino_t m_inode = 0;
    FileDescriptor m_socket;
    FileDescriptor m_wake;

    // The peers' thread only.
    std::vector<std::unique_ptr<Peer>> m_peers;
    std::uint64_t m_uiPeers = 0;
    std::uint64_t m_uiHeard = 0;
    bool m_bAcceptPaused = false; ///< the system gave no descriptor
    bool m_bReportedCrowd = false;
    bool m_bReportedShortage = false;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Work> m_work;
    std::vector<std::uint64_t> m_finished; ///< peers whose message has been handled
    bool m_bStop = false; ///< no further message is handled
    bool m_bHandlerEnded = false; ///< what has been handled is answered, then the peers' thread ends

    std::thread m_peerThread;
    std::thread m_handlerThread;
};

} // namespace vireo
