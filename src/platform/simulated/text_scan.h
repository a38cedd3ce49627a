#pragma once
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace vireo {

/// The text in double quotes, on one line whatever it holds: control characters as "\xNN".
inline std::string Quoted(std::string_view strText)
{
    constexpr const char* kDigits = "0123456789abcdef";
    std::string strQuoted = "\"";
    for (const char cText : strText) {
        const auto uiByte = static_cast<unsigned char>(cText);
        if (uiByte < 0x20 || uiByte == 0x7F)
            strQuoted += { '\\', 'x', kDigits[uiByte >> 4], kDigits[uiByte & 15] };
        else
            strQuoted += cText;
    }
    return strQuoted + '"';
}

/// The whole text as a decimal number without sign; none for anything else or above `uiMax`.
inline std::optional<std::uint64_t> ScanNumber(std::string_view strText, std::uint64_t uiMax = UINT64_MAX)
{
    std::uint64_t uiValue = 0;
    const char* const pEnd = strText.data() + strText.size();
    const auto [pRest, eError] = std::from_chars(strText.data(), pEnd, uiValue);
    if (strText.empty() || eError != std::errc() || pRest != pEnd || uiValue > uiMax)
        return std::nullopt;
    return uiValue;
}

/// The whole text as a decimal number with up to `iDigits` places and an optional sign, times 10^iDigits,
/// so that the value stays exact. None for anything else or a result beyond `iMax` either way.
inline std::optional<std::int64_t> ScanFixedPoint(std::string_view strText, int iDigits, std::int64_t iMax)
{
    const bool bNegative = strText.starts_with('-');
    if (bNegative || strText.starts_with('+'))
        strText.remove_prefix(1);
    const std::size_t uiPoint = strText.find('.');
    std::string_view strPlaces = uiPoint == std::string_view::npos ? "" : strText.substr(uiPoint + 1);
    const auto whole = ScanNumber(strText.substr(0, uiPoint), static_cast<std::uint64_t>(iMax));
    if (!whole || strPlaces.size() > static_cast<std::size_t>(iDigits)
        || (uiPoint != std::string_view::npos && strPlaces.empty()))
        return std::nullopt;
    std::int64_t iValue = static_cast<std::int64_t>(*whole);
    for (int i = 0; i < iDigits; ++i) {
        const int iDigit = (strPlaces.empty() ? '0' : strPlaces.front()) - '0';
        if (iDigit < 0 || iDigit > 9 || iValue > (iMax - iDigit) / 10)
            return std::nullopt;
        iValue = iValue * 10 + iDigit;
        if (!strPlaces.empty())
            strPlaces.remove_prefix(1);
    }
    return bNegative ? -iValue : iValue;
}

} // namespace vireo
