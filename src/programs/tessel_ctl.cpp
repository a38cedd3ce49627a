#include "platform/linux/file_descriptor.h"
#include "platform/linux/partner_client.h"
#include "platform/linux/partner_protocol.h"
#include "platform/linux/socket_partner_link.h"
#include "platform/linux/stderr_log.h"
#include "programs/ctl_options.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {

using namespace vireo;

constexpr std::string_view kProgramTitle = "Tessel"; ///< of the desktop program's main window, whatever its caption
constexpr const char* kStartText = "2";
constexpr const char* kStopText = "1";

int Fail(int iStatus, const char* pReason)
{
    std::fprintf(stderr, "tessel-ctl: %s\n", pReason);
    return iStatus;
}

int FailAbsent(PartnerClient::Absence eAbsence)
{
    switch (eAbsence) {
    case PartnerClient::Absence::Refused: return Fail(ctl_status::kRefused, "the program is another user's");
    case PartnerClient::Absence::Hung: return Fail(ctl_status::kNoAnswer, "the program takes no messages");
    case PartnerClient::Absence::NobodyListens: break;
    }
    return Fail(ctl_status::kNobody, "no program is running");
}

int Tell(const char* pText)
{
    PartnerClient::Absence eAbsence {};
    const auto window = PartnerClient::Find(kProgramTitle, eAbsence);
    if (window == nullptr)
        return FailAbsent(eAbsence);
    switch (window->Ask({ PartnerMessage::Kind::CopyData, partner::kCopyDataIdentifier, pText })) {
    case PartnerClient::Answer::Done: return ctl_status::kDone;
    case PartnerClient::Answer::Unknown: return Fail(ctl_status::kUnknown, "the program did not understand");
    case PartnerClient::Answer::None: return Fail(ctl_status::kNoAnswer, "the program has not answered");
    case PartnerClient::Answer::Lost: break;
    }
    return Fail(ctl_status::kRefused, "the program hung up");
}

/// Writes lines to the standard output, at once. A reader that takes nothing in holds up no end.
class Output {
public:
    /// False when the line could not be written, or not before the end.
    bool WriteLine(std::string_view strLine)
    {
        while (!strLine.empty()) {
            pollfd waits[] = { { STDOUT_FILENO, POLLOUT, 0 }, { m_ended.Number(), POLLIN, 0 } };
            if (poll(waits, std::size(waits), -1) < 0 && errno == EINTR)
                continue;
            if (waits[1].revents != 0)
                return false;
            // A pipe that is ready takes this much without waiting.
            const ssize_t iWritten =
                write(STDOUT_FILENO, strLine.data(), std::min<std::size_t>(strLine.size(), PIPE_BUF));
            if (iWritten < 0 && errno != EINTR && errno != EAGAIN)
                return false;
            strLine.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(iWritten, 0)));
        }
        return true;
    }
    /// Ends a WriteLine that waits, and those to come. Any thread.
    void End()
    {
        const std::uint64_t uiOne = 1;
        [[maybe_unused]] const ssize_t iWritten = write(m_ended.Number(), &uiOne, sizeof uiOne);
    }

private:
    const FileDescriptor m_ended { eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK) };
};

int Listen(const std::string& strTitle)
{
    // Taken by sigwait below. SIGPIPE also stands for an output that is gone.
    sigset_t ends;
    sigemptyset(&ends);
    for (const int iSignal : { SIGINT, SIGTERM, SIGPIPE })
        sigaddset(&ends, iSignal);
    if (std::signal(SIGHUP, SIG_DFL) != SIG_IGN)
        sigaddset(&ends, SIGHUP);
    else
        std::signal(SIGHUP, SIG_IGN); // under nohup the terminal may go
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);

    StderrLog log;
    SocketPartnerLink link(log);
    Output output;
    std::string strError;
    auto listener = link.Listen(
        strTitle,
        [&output](const PartnerMessage& message) {
            if (!output.WriteLine(FormatPartnerLine(message)))
                kill(getpid(), SIGPIPE);
        },
        strError);
    if (listener == nullptr)
        return Fail(ctl_status::kNobody, strError.c_str());
    std::fprintf(stderr, "tessel-ctl: listening as %s\n", strTitle.c_str());

    int iSignal = 0;
    while (sigwait(&ends, &iSignal) != 0) { }
    output.End(); // the listener waits for its handler
    listener.reset();
    return iSignal == SIGPIPE ? Fail(ctl_status::kNobody, "the output takes no lines") : ctl_status::kDone;
}

} // namespace

int main(int iCount, char** ppArguments)
{
    const ParsedCtl parsed = ParseCtlOptions(iCount, ppArguments);
    if (!parsed.bRun) {
        std::fputs(parsed.strText.c_str(), parsed.iStatus == 0 ? stdout : stderr);
        return parsed.iStatus;
    }
    switch (parsed.options.eVerb) {
    case CtlOptions::Verb::Start: return Tell(kStartText);
    case CtlOptions::Verb::Stop: return Tell(kStopText);
    case CtlOptions::Verb::Listen: break;
    }
    return Listen(parsed.options.strTitle);
}
