#include "platform/linux/socket_partner_link.h"

#include "platform/linux/partner_client.h"
#include "platform/linux/partner_listener.h"

namespace vireo {

std::shared_ptr<PartnerWindow> SocketPartnerLink::FindWindow(std::string_view strTitle)
{
    return PartnerClient::Find(strTitle);
}

std::unique_ptr<PartnerListener> SocketPartnerLink::Listen(
    std::string_view strTitle, std::function<void(const PartnerMessage&)> handler, std::string& strError)
{
    return SocketListener::Open(strTitle, std::move(handler), m_log, strError);
}

} // namespace vireo
