#pragma once
#include "platform/log.h"
#include "platform/partner_link.h"

namespace vireo {

/// Window messages over Unix-domain sockets, one socket per listening window in the runtime folder.
/// Programs of other users are refused.
///
/// Its limits (2 s for an answer and the like) run in real time, not on the program's clock: what it waits for are
/// other processes, which no virtual time moves. Tests on virtual time put a link of their own in its place.
class SocketPartnerLink : public PartnerLink {
public:
    explicit SocketPartnerLink(Log& log)
        : m_log(log)
    {
    }
    std::shared_ptr<PartnerWindow> FindWindow(std::string_view strTitle) override;
    std::unique_ptr<PartnerListener> Listen(
        std::string_view strTitle, std::function<void(const PartnerMessage&)> handler, std::string& strError) override;

private:
    Log& m_log;
};

} // namespace vireo
