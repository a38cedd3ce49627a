#include "platform/imaging/frame_ratio.h"

#include <cmath>
#include <limits>

namespace vireo {
namespace {

struct Fraction {
    std::int64_t iNumerator;
    std::int64_t iDenominator;
};

/// The fraction with the smallest denominator between `dLow` and `dHigh` (0 < dLow <= dHigh): the
/// continued fraction that both have in common, then the smallest whole number between their rests.
Fraction SimplestBetween(double dLow, double dHigh)
{
    const double dWhole = std::floor(dLow);
    const auto iWhole = static_cast<std::int64_t>(dWhole);
    if (dWhole == dLow)
        return { iWhole, 1 };
    if (dWhole + 1.0 <= dHigh)
        return { iWhole + 1, 1 };
    const Fraction rest = SimplestBetween(1.0 / (dHigh - dWhole), 1.0 / (dLow - dWhole));
    return { iWhole * rest.iNumerator + rest.iDenominator, rest.iNumerator };
}

} // namespace

std::optional<FrameRatio> ExactFrameRatio(float fRate)
{
    if (!(fRate >= kLowestFrameRate && fRate <= kHighestFrameRate))
        return std::nullopt;
    // Every number nearer to fRate than half the step to its neighbours reads back as fRate.
    const double dRate = fRate;
    const double dBelow = (dRate - std::nextafterf(fRate, 0.0F)) / 2;
    const double dAbove = (std::nextafterf(fRate, std::numeric_limits<float>::max()) - dRate) / 2;
    constexpr double kInside = 0.99; // the ends themselves may round away
    const Fraction ratio = SimplestBetween(dRate - dBelow * kInside, dRate + dAbove * kInside);
    return FrameRatio { static_cast<std::uint32_t>(ratio.iNumerator), static_cast<std::uint32_t>(ratio.iDenominator) };
}

} // namespace vireo
