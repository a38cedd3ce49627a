// A line that came over the partner's socket.
#include "fuzz_input.h"
#include "platform/linux/partner_protocol.h"

using namespace vireo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t uiBytes)
{
    FuzzInput input(pBytes, uiBytes);
    const std::string strLine = input.Rest();
    const std::optional<PartnerMessage> message = ParsePartnerLine(strLine);
    const std::string strSocket = PartnerSocketName(strLine);
    Require(strSocket.find('/') == std::string::npos && strSocket.size() <= 96, "a socket's name is a plain name");
    if (!message)
        return 0;
    const std::string strAgain = FormatPartnerLine(*message);
    if (strAgain.empty())
        return 0; // one line could not carry it
    Require(strAgain.size() <= kMaxPartnerLine + 1 && strAgain.find('\n') == strAgain.size() - 1, "one line");
    const std::optional<PartnerMessage> once = ParsePartnerLine(strAgain.substr(0, strAgain.size() - 1));
    Require(once.has_value() && FormatPartnerLine(*once) == strAgain, "a message survives its line");
    return 0;
}
