#include "platform/linux/partner_client.h"

#include "platform/linux/partner_protocol.h"
#include "platform/linux/runtime_folder.h"

#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>

namespace vireo {

namespace {

using namespace std::chrono_literals;

constexpr auto kAnswerTime = 2s;
// A grab thread posts; frames go on arriving meanwhile.
constexpr auto kPostTime = 20ms;

SocketTime After(std::chrono::milliseconds time) { return std::chrono::steady_clock::now() + time; }

} // namespace

PartnerClient::PartnerClient(const std::string& strFolder, std::string_view strTitle)
    : m_address(strFolder, PartnerSocketName(strTitle))
    , m_connection(ConnectSocket(m_address, After(kPostTime)))
    , m_iConnectError(errno)
    , m_cancelled(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

std::shared_ptr<PartnerClient> PartnerClient::Find(std::string_view strTitle)
{
    Absence eAbsence {};
    return Find(strTitle, eAbsence);
}

std::shared_ptr<PartnerClient> PartnerClient::Find(std::string_view strTitle, Absence& eAbsence)
{
    eAbsence = Absence::NobodyListens;
    if (strTitle.empty())
        return nullptr;
    std::string strError;
    const std::string strFolder = RuntimeFolder(strError);
    if (strFolder.empty()) {
        eAbsence = Absence::Refused;
        return nullptr;
    }
    std::shared_ptr<PartnerClient> client(new PartnerClient(strFolder, strTitle));
    if (client->m_connection.IsOpen())
        return client;
    if (client->m_iConnectError == EACCES)
        eAbsence = Absence::Refused;
    else if (client->m_iConnectError == EAGAIN)
        eAbsence = Absence::Hung;
    return nullptr;
}

bool PartnerClient::Post(int iCommand)
{
    const std::string strLine = FormatPartnerLine({ PartnerMessage::Kind::Command, iCommand, "" });
    const bool bHandedOver = HandOver(strLine, After(kPostTime));
    m_connection.Close(); // what was written reaches the other side all the same
    return bHandedOver;
}

bool PartnerClient::Send(int iCommand)
{
    const Answer eAnswer = Ask({ PartnerMessage::Kind::Command, iCommand, "" });
    return eAnswer == Answer::Done || eAnswer == Answer::None;
}

void PartnerClient::Cancel()
{
    const std::uint64_t uiOne = 1;
    // A full counter is as good: it stays readable for ever.
    [[maybe_unused]] const ssize_t iWritten = write(m_cancelled.Number(), &uiOne, sizeof uiOne);
}

PartnerClient::Answer PartnerClient::Ask(const PartnerMessage& message)
{
    const SocketTime deadline = After(kAnswerTime);
    const std::string strLine = FormatPartnerLine(message);
    const bool bHandedOver = !strLine.empty() && HandOver(strLine, deadline);
    const Answer eAnswer = bHandedOver ? ReadAnswer(deadline) : Answer::Lost;
    m_connection.Close();
    return eAnswer;
}

bool PartnerClient::HandOver(const std::string& strLine, SocketTime deadline)
{
    // A connection that has waited may have been closed by the other side: one new attempt.
    for (int iAttempt = 0; iAttempt < 2; ++iAttempt) {
        if (!m_connection.IsOpen())
            m_connection = ConnectSocket(m_address, deadline, m_cancelled.Number());
        if (!m_connection.IsOpen())
            return false;
        // A fresh connection takes a line at once or not at all.
        const ssize_t iSent = send(m_connection.Number(), strLine.data(), strLine.size(), MSG_NOSIGNAL);
        if (iSent == static_cast<ssize_t>(strLine.size()))
            return true;
        m_connection.Close();
    }
    return false;
}

PartnerClient::Answer PartnerClient::ReadAnswer(SocketTime deadline)
{
    std::string strAnswer;
    char block[64];
    while (strAnswer.find('\n') == std::string::npos && strAnswer.size() <= kAnswerUnknown.size()) {
        if (!WaitForSocket(m_connection, POLLIN, m_cancelled.Number(), deadline))
            return Answer::None;
        const ssize_t iRead = recv(m_connection.Number(), block, sizeof block, 0);
        if (iRead < 0 && (errno == EAGAIN || errno == EINTR))
            continue;
        if (iRead <= 0)
            return Answer::Lost;
        strAnswer.append(block, static_cast<std::size_t>(iRead));
    }
    const std::string_view strLine = std::string_view(strAnswer).substr(0, strAnswer.find('\n'));
    if (strLine == kAnswerDone)
        return Answer::Done;
    return strLine == kAnswerUnknown ? Answer::Unknown : Answer::Lost;
}

} // namespace vireo
