#pragma once
#include "platform/system.h"

#include <array>
#include <cstdint>
#include <map>

namespace vireo {

/// Code page 932, Microsoft's Shift_JIS. The tables are made once by iconv; afterwards any thread may
/// use them. Text that would not come back as it was is refused by Encode, so a path that was stored
/// names the same file when it is read.
class CodePage932 : public TextEncoding {
public:
    CodePage932();
    std::string Decode(std::string_view strBytes) const override;
    std::optional<std::string> Encode(std::string_view strText) const override;

private:
    static constexpr std::size_t kBytes = 256;
    std::array<char32_t, kBytes> m_single {}; ///< character of a byte; kNoCharacter when it is none by itself
    std::map<std::uint16_t, char32_t> m_double; ///< character of two bytes, first byte high
    std::map<char32_t, std::string> m_bytes; ///< bytes of a character
};

} // namespace vireo
