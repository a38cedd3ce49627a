#pragma once
#include <cstdint>

namespace vireo::peers {

// Numbers on the wire stand most significant byte first.

inline std::uint16_t Load16(const std::uint8_t* p) { return static_cast<std::uint16_t>(p[0] << 8 | p[1]); }
inline std::uint32_t Load32(const std::uint8_t* p)
{
    return static_cast<std::uint32_t>(p[0]) << 24 | static_cast<std::uint32_t>(p[1]) << 16
        | static_cast<std::uint32_t>(p[2]) << 8 | p[3];
}
inline void Store16(std::uint8_t* p, std::uint32_t uiValue)
{
    p[0] = static_cast<std::uint8_t>(uiValue >> 8);
    p[1] = static_cast<std::uint8_t>(uiValue);
}
inline void Store32(std::uint8_t* p, std::uint32_t uiValue)
{
    Store16(p, uiValue >> 16);
    Store16(p + 2, uiValue);
}

} // namespace vireo::peers
