#include "platform/linux/code_page_932.h"

#include "platform/linux/utf8.h"

#include <algorithm>
#include <iconv.h>

namespace vireo {

namespace {

constexpr char32_t kUndecodable = 0x10FF00; ///< plus the byte, which is 0x80 or above

bool IsPlain(char c) { return static_cast<unsigned char>(c) < 0x80; }
std::uint8_t Byte(char c) { return static_cast<std::uint8_t>(c); }

/// One direction of the system's conversion.
class Converter {
public:
    Converter(const char* pTo, const char* pFrom)
        : m_conversion(iconv_open(pTo, pFrom))
    {
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    ~Converter()
    {
        if (IsOpen())
            iconv_close(m_conversion);
    }
    /// The whole text converted; empty when it cannot be.
    // cppcheck-suppress passedByValue; iconv wants a pointer it could write through
    std::string Convert(std::string strIn)
    {
        if (!IsOpen())
            return {};
        std::array<char, 16> buffer {};
        char* pIn = strIn.data();
        char* pOut = buffer.data();
        std::size_t uiIn = strIn.size();
        std::size_t uiOut = buffer.size();
        iconv(m_conversion, nullptr, nullptr, nullptr, nullptr);
        if (iconv(m_conversion, &pIn, &uiIn, &pOut, &uiOut) == static_cast<std::size_t>(-1) || uiIn != 0)
            return {};
        return { buffer.data(), pOut };
    }

private:
    // The value that iconv_open fails with is the pointer of all one bits.
    bool IsOpen() const { return reinterpret_cast<std::intptr_t>(m_conversion) != -1; }
    iconv_t m_conversion;
};

} // namespace

CodePage932::CodePage932()
{
    Converter toUtf8("UTF-8", "CP932");
    Converter toBytes("CP932", "UTF-8");
    const auto add = [&](const std::string& strBytes) {
        const std::string strText = toUtf8.Convert(strBytes);
        std::string_view strRest = strText;
        const char32_t c = strText.empty() ? kNoCharacter : TakeUtf8(strRest);
        // Some characters have several codes; the one that the conversion prefers is written.
        if (c != kNoCharacter && strRest.empty() && toBytes.Convert(strText) == strBytes)
            m_bytes.emplace(c, strBytes);
        return strRest.empty() ? c : kNoCharacter;
    };
    for (unsigned uiFirst = 0; uiFirst < kBytes; ++uiFirst) {
        m_single[uiFirst] = uiFirst < 0x80 ? uiFirst : add({ static_cast<char>(uiFirst) });
        if (m_single[uiFirst] != kNoCharacter)
            continue;
        for (unsigned uiSecond = 0x40; uiSecond < 0xFD; ++uiSecond) {
            const char32_t c = add({ static_cast<char>(uiFirst), static_cast<char>(uiSecond) });
            if (c != kNoCharacter)
                m_double.emplace(static_cast<std::uint16_t>(uiFirst << 8 | uiSecond), c);
        }
    }
}

std::string CodePage932::Decode(std::string_view strBytes) const
{
    if (std::ranges::all_of(strBytes, IsPlain))
        return std::string(strBytes);
    std::string strText;
    strText.reserve(strBytes.size() * 3 / 2);
    for (std::size_t i = 0; i < strBytes.size(); ++i) {
        const std::uint8_t uiFirst = Byte(strBytes[i]);
        if (m_single[uiFirst] != kNoCharacter) {
            AppendUtf8(strText, m_single[uiFirst]);
            continue;
        }
        const unsigned uiSecond = i + 1 < strBytes.size() ? Byte(strBytes[i + 1]) : 0;
        const auto found = m_double.find(static_cast<std::uint16_t>(unsigned { uiFirst } << 8 | uiSecond));
        if (found != m_double.end()) {
            AppendUtf8(strText, found->second);
            ++i;
        } else {
            AppendUtf8(strText, kUndecodable + uiFirst);
        }
    }
    return strText;
}

std::optional<std::string> CodePage932::Encode(std::string_view strText) const
{
    if (std::ranges::all_of(strText, IsPlain))
        return std::string(strText);
    std::string strBytes;
    for (std::string_view strRest = strText; !strRest.empty();) {
        const char32_t c = TakeUtf8(strRest);
        const auto found = m_bytes.find(c);
        if (c < 0x80)
            strBytes += static_cast<char>(c);
        else if (found != m_bytes.end())
            strBytes += found->second;
        else if (c >= kUndecodable + 0x80 && c <= kLastCharacter)
            strBytes += static_cast<char>(c - kUndecodable);
        else
            return std::nullopt;
    }
    // A lone byte may meet a byte after it and become another character.
    if (Decode(strBytes) != strText)
        return std::nullopt;
    return strBytes;
}

} // namespace vireo
