#pragma once
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

/// What a fuzzed function is given: bytes, taken from the front. Zeros follow when they are used up.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* pBytes, std::size_t uiBytes)
        : m_pBytes(pBytes)
        , m_uiLeft(uiBytes)
    {
    }
    [[nodiscard]] bool IsEmpty() const { return m_uiLeft == 0; }
    std::uint8_t Byte()
    {
        if (m_uiLeft == 0)
            return 0;
        --m_uiLeft;
        return *m_pBytes++;
    }
    std::uint32_t Word()
    {
        std::uint32_t uiWord = 0;
        for (int i = 0; i < 4; ++i)
            uiWord = uiWord << 8 | Byte();
        return uiWord;
    }
    /// Up to the next zero byte.
    std::string Text()
    {
        std::string strText;
        while (m_uiLeft > 0) {
            const std::uint8_t uiByte = Byte();
            if (uiByte == 0)
                break;
            strText += static_cast<char>(uiByte);
        }
        return strText;
    }
    /// All that is left.
    std::string Rest()
    {
        std::string strRest(reinterpret_cast<const char*>(m_pBytes), m_uiLeft);
        m_uiLeft = 0;
        return strRest;
    }

private:
    const std::uint8_t* m_pBytes;
    std::size_t m_uiLeft;
};

/// Ends the program, which the fuzzer takes for a finding, unless `bHolds`.
inline void Require(bool bHolds, const char* pWhat)
{
    if (bHolds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", pWhat);
    std::abort();
}
