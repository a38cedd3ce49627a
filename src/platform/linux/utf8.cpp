#include "platform/linux/utf8.h"

#include <array>

namespace vireo {

namespace {

std::uint8_t Byte(char c) { return static_cast<std::uint8_t>(c); }

} // namespace

char32_t TakeUtf8(std::string_view& strText)
{
    const std::uint8_t uiFirst = Byte(strText[0]);
    const std::size_t uiLength = uiFirst < 0x80 ? 1 : uiFirst < 0xE0 ? 2 : uiFirst < 0xF0 ? 3 : 4;
    constexpr std::array<char32_t, 5> kSmallest = { 0, 0, 0x80, 0x800, 0x10000 };
    if ((uiFirst >= 0x80 && uiFirst < 0xC2) || uiFirst > 0xF4 || strText.size() < uiLength)
        return kNoCharacter;
    char32_t c = uiLength == 1 ? uiFirst : uiFirst & (0x7FU >> uiLength);
    for (std::size_t i = 1; i < uiLength; ++i) {
        if ((Byte(strText[i]) & 0xC0U) != 0x80U)
            return kNoCharacter;
        c = (c << 6) | (Byte(strText[i]) & 0x3FU);
    }
    if (c < kSmallest[uiLength] || c > kLastCharacter || (c >= 0xD800 && c < 0xE000))
        return kNoCharacter;
    strText.remove_prefix(uiLength);
    return c;
}

void AppendUtf8(std::string& strText, char32_t c)
{
    const auto tail = [c](unsigned uiShift) { return static_cast<char>(0x80U | ((c >> uiShift) & 0x3FU)); };
    if (c < 0x80) {
        strText += static_cast<char>(c);
    } else if (c < 0x800) {
        strText += { static_cast<char>(0xC0U | (c >> 6)), tail(0) };
    } else if (c < 0x10000) {
        strText += { static_cast<char>(0xE0U | (c >> 12)), tail(6), tail(0) };
    } else {
        strText += { static_cast<char>(0xF0U | (c >> 18)), tail(12), tail(6), tail(0) };
    }
}

bool IsUtf8(std::string_view strText)
{
    while (!strText.empty())
        if (TakeUtf8(strText) == kNoCharacter)
            return false;
    return true;
}

} // namespace vireo
