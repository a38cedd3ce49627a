#pragma once
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace vireo {

/// How much memory there is and how much of it can still be taken, in bytes.
struct MemoryReading {
    std::uint64_t uiFreeBytes = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t uiTotalBytes = std::numeric_limits<std::uint64_t>::max();
    friend bool operator==(const MemoryReading&, const MemoryReading&) = default;
};

/// The smaller value of each.
MemoryReading Tighter(const MemoryReading& a, const MemoryReading& b);

/// What the system has: MemAvailable and MemTotal of `strRoot`/proc/meminfo. Nothing free when it cannot
/// be read.
MemoryReading ReadSystemMemory(const std::string& strRoot);

/// What the control groups of this process leave: the smallest headroom and the smallest limit over the
/// group and its ancestors, of both versions. Headroom is the limit less the usage, not counting file
/// pages, which the kernel takes back. Without any limit, everything.
/// @param strRoot  stands before the paths of /proc and of the mounts; "" for the real ones.
MemoryReading ReadControlGroupMemory(const std::string& strRoot);

/// A number of bytes: decimal digits only. None for any other text and for what 64 bits cannot hold.
std::optional<std::uint64_t> ParseByteCount(std::string_view strText);

} // namespace vireo
