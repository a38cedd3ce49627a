#pragma once
#include <cmath>
#include <cstdio>
#include <optional>
#include <string>

namespace vireo {

/// What the log is told of a camera that runs slower than it was asked to, such as "camera 15000001: 340 of 400 fps";
/// nothing when it does as it was asked. A camera has steps of its own: a difference below one percent is none.
/// `strCamera` as in "camera 15000001"; rates in fps.
inline std::optional<std::string> RateNote(const std::string& strCamera, double dRuns, double dAsked)
{
    constexpr double kLeastPart = 0.99;
    if (!(dAsked > 0.0) || dRuns >= kLeastPart * dAsked)
        return std::nullopt;
    const auto text = [](double dRate) {
        char szText[32];
        std::snprintf(szText, sizeof szText, "%.6g", std::round(dRate * 10.0) / 10.0); // no ".0" behind a whole rate
        return std::string(szText);
    };
    return strCamera + ": " + text(dRuns) + " of " + text(dAsked) + " fps";
}

} // namespace vireo
