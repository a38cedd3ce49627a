#pragma once
#include "platform/linux/file_descriptor.h"
#include "platform/linux/unix_socket.h"
#include "platform/partner_link.h"

#include <atomic>
#include <memory>
#include <string>
#include <string_view>

namespace vireo {

/// A window of another program, reached through its socket. Each message takes a connection of its own;
/// the one that proved the window's existence carries the first.
class PartnerClient : public PartnerWindow {
public:
    /// Null when nobody takes connections under this title.
    static std::shared_ptr<PartnerClient> Find(std::string_view strTitle);

    /// Why there is no window.
    enum class Absence {
        NobodyListens,
        Refused, ///< the folder or the listener is another user's
        Hung, ///< its program takes no connections
    };
    /// As above; when null, the reason is in `eAbsence`.
    static std::shared_ptr<PartnerClient> Find(std::string_view strTitle, Absence& eAbsence);

    bool Post(int iCommand) override;
    bool Send(int iCommand) override;
    void Cancel() override;

    enum class Answer {
        Done, ///< the other program's handler has run
        Unknown, ///< it did not understand the line
        None, ///< handed over; it has not answered in time, or the wait was cancelled
        Lost, ///< not handed over (also when one line cannot carry it), or the other program went away before it
              ///< answered
    };
    /// Hands a message over and waits for the answer as Send does.
    Answer Ask(const PartnerMessage& message);

private:
    PartnerClient(const std::string& strFolder, std::string_view strTitle);
    bool HandOver(const std::string& strLine, SocketTime deadline);
    Answer ReadAnswer(SocketTime deadline);

    SocketAddress m_address;
    FileDescriptor m_connection; ///< open while it has carried nothing yet
    int m_iConnectError; ///< errno of the first attempt; means something when that failed
    FileDescriptor m_cancelled; ///< readable once cancelled
};

} // namespace vireo
