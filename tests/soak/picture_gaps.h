#pragma once
#include "capture/take_report.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vireo::test {

/// The losses within a file, told by the moments that its pictures show: it knows nothing of what the program counted.
/// A picture that is shown twice stands in for a lost one the first time. Moments and period in microseconds.
inline std::vector<Gap> GapsBetweenPictures(const std::vector<std::uint32_t>& codes, double dPeriodUs)
{
    std::vector<Gap> gaps;
    std::size_t uiLast = codes.size(); // the last picture that is one of its own; none yet
    for (std::size_t i = 0; i < codes.size(); ++i) {
        if (i + 1 < codes.size() && codes[i] == codes[i + 1]) {
            gaps.push_back({ static_cast<int>(i), 1 });
            continue;
        }
        if (uiLast < i) {
            const auto lExposures = std::lround((codes[i] - codes[uiLast]) / dPeriodUs);
            const auto lMissing = lExposures - static_cast<long>(i - uiLast);
            if (lMissing > 0)
                gaps.push_back({ static_cast<int>(i), static_cast<int>(lMissing) });
        }
        uiLast = i;
    }
    return gaps;
}

} // namespace vireo::test
