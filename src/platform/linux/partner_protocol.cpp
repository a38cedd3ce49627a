#include "platform/linux/partner_protocol.h"

#include "platform/linux/utf8.h"

#include <charconv>
#include <cstdint>

namespace vireo {

namespace {

constexpr std::string_view kCommandWord = "command";
constexpr std::string_view kCopyDataWord = "copydata";
constexpr std::size_t kMaxHexTitle = 40; ///< bytes

std::uint64_t HashFnv1a(std::string_view strBytes)
{
    std::uint64_t uiHash = 0xCBF29CE484222325U;
    for (const char c : strBytes)
        uiHash = (uiHash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
    return uiHash;
}

void AppendHex(std::string& strText, unsigned uiByte)
{
    constexpr std::string_view kDigits = "0123456789abcdef";
    strText += kDigits[uiByte >> 4 & 0xFU];
    strText += kDigits[uiByte & 0xFU];
}

/// Takes the text up to the next blank, and the blank.
std::string_view TakeWord(std::string_view& strRest)
{
    const std::size_t uiEnd = strRest.find(' ');
    const std::string_view strWord = strRest.substr(0, uiEnd);
    strRest.remove_prefix(uiEnd == std::string_view::npos ? strRest.size() : uiEnd + 1);
    return strWord;
}

/// Digits only, nothing beside them.
bool ParseIdentifier(std::string_view strText, int& iValue)
{
    if (strText.empty() || strText.front() < '0' || strText.front() > '9')
        return false;
    const auto result = std::from_chars(strText.data(), strText.data() + strText.size(), iValue);
    return result.ec == std::errc() && result.ptr == strText.data() + strText.size();
}

} // namespace

std::string PartnerSocketName(std::string_view strTitle)
{
    std::string strName;
    if (strTitle.size() <= kMaxHexTitle) {
        for (const char c : strTitle)
            AppendHex(strName, static_cast<unsigned char>(c));
    } else {
        const std::uint64_t uiHash = HashFnv1a(strTitle);
        for (int iShift = 56; iShift >= 0; iShift -= 8)
            AppendHex(strName, static_cast<unsigned>(uiHash >> iShift & 0xFFU));
    }
    return strName + ".sock";
}

std::optional<PartnerMessage> ParsePartnerLine(std::string_view strLine)
{
    if (strLine.size() > kMaxPartnerLine || !IsUtf8(strLine))
        return std::nullopt;
    PartnerMessage message;
    const std::string_view strWord = TakeWord(strLine);
    if (strWord == kCommandWord) {
        message.eKind = PartnerMessage::Kind::Command;
        return ParseIdentifier(strLine, message.iIdentifier) ? std::optional(message) : std::nullopt;
    }
    if (strWord != kCopyDataWord || !ParseIdentifier(TakeWord(strLine), message.iIdentifier))
        return std::nullopt;
    message.eKind = PartnerMessage::Kind::CopyData;
    message.strText = strLine;
    return message;
}

std::string FormatPartnerLine(const PartnerMessage& message)
{
    const bool bCommand = message.eKind == PartnerMessage::Kind::Command;
    std::string strLine(bCommand ? kCommandWord : kCopyDataWord);
    strLine += ' ' + std::to_string(message.iIdentifier);
    if (!bCommand)
        strLine += ' ' + message.strText;
    if (strLine.size() > kMaxPartnerLine || strLine.find('\n') != std::string::npos)
        return {};
    return strLine + '\n';
}

} // namespace vireo
