#pragma once
#include <cstdint>

namespace vireo {

/// A time as the bus cycle time that the cameras write into their frames: 7 bits of seconds, 13 bits of
/// 125 us cycles, 12 bits of 1/3072 cycle. It wraps after 128 s.
constexpr std::uint32_t CycleTimeOf(std::uint64_t uiNanoseconds)
{
    constexpr std::uint64_t kSecond = 1'000'000'000;
    constexpr std::uint64_t kCycle = 125'000;
    constexpr std::uint64_t kTicks = 3072;
    const std::uint64_t uiSeconds = uiNanoseconds / kSecond % 128;
    const std::uint64_t uiCycles = uiNanoseconds % kSecond / kCycle;
    const std::uint64_t uiOffset = uiNanoseconds % kCycle * kTicks / kCycle;
    return static_cast<std::uint32_t>(uiSeconds << 25 | uiCycles << 12 | uiOffset);
}

static_assert(CycleTimeOf(0) == 0);
static_assert(CycleTimeOf(125'000) == 0x1000); // one cycle
static_assert(CycleTimeOf(127'999'999'999) == (127U << 25 | 7999U << 12 | 3071U));
static_assert(CycleTimeOf(128'000'000'000) == 0);

} // namespace vireo
