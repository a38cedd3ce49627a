#pragma once
#include <cstdint>
#include <optional>

namespace vireo {

/// A frame rate as a file keeps it: uiRate / uiScale frames a second.
struct FrameRatio {
    std::uint32_t uiRate = 0;
    std::uint32_t uiScale = 1;
    bool operator==(const FrameRatio&) const = default;
};

constexpr float kLowestFrameRate = 0.001F;
constexpr float kHighestFrameRate = 1'000'000.0F;

/// The simplest ratio that a 32-bit float cannot tell from `fRate`: 118 becomes 118/1, 29.97F becomes
/// 2997/100, what was computed as 30000/1001 becomes that again.
/// Nothing for a rate that is no number or outside kLowestFrameRate..kHighestFrameRate.
std::optional<FrameRatio> ExactFrameRatio(float fRate);

} // namespace vireo
