#pragma once
#include <algorithm>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

namespace vireo::bench {

enum class Goal { AtLeast, AtMost };

/// What is measured, in the words of the table in docs/performance.md, which has a row for each.
struct Figure {
    const char* pName;
};

/// Text as of printf.
[[gnu::format(printf, 1, 2)]] inline std::string Text(const char* pFormat, ...)
{
    char text[200];
    va_list arguments;
    va_start(arguments, pFormat);
    std::vsnprintf(text, sizeof(text), pFormat, arguments);
    va_end(arguments);
    return text;
}

/// The line that scripts/bench makes a row of; details belong before it.
inline bool PrintRow(const Figure& figure, const std::string& strValue, const std::string& strAgainst,
    const std::string& strRatio, const std::string& strGoal, bool bMet)
{
    std::printf("bench | %s | %s | %s | %s | %s | %s |\n", figure.pName, strValue.c_str(), strAgainst.c_str(),
        strRatio.c_str(), strGoal.c_str(), bMet ? "met" : "short");
    std::fflush(stdout);
    return bMet;
}

/// A figure beside another one of the same run: what `strAgainst` says. Whether the goal of their ratio is met.
inline bool AgainstPeer(const Figure& figure, const std::string& strValue, const std::string& strAgainst, double dRatio,
    Goal eGoal, double dGoal)
{
    const bool bAtLeast = eGoal == Goal::AtLeast;
    return PrintRow(figure, strValue, strAgainst, Text("%.2f", dRatio),
        Text("at %s %g", bAtLeast ? "least" : "most", dGoal), bAtLeast ? dRatio >= dGoal : dRatio <= dGoal);
}

/// A figure that must not exceed `dLimit`; both in `strUnit`, which may be empty. Whether it does not.
inline bool AgainstLimit(const Figure& figure, double dValue, const std::string& strUnit, double dLimit)
{
    const std::string strWithUnit = strUnit.empty() ? "" : " " + strUnit;
    return PrintRow(figure, Text(dLimit > 0.0 ? "%.2f" : "%.0f", dValue) + strWithUnit,
        Text("%g", dLimit) + strWithUnit, dLimit > 0.0 ? Text("%.2f", dValue / dLimit) : "-", "at most the limit",
        dValue <= dLimit);
}

/// Seconds that `work` takes.
template <typename Work> double Seconds(Work work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// The middle one; what a noisy neighbour does to a few rounds does not show in it.
inline double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? 0.0 : values[values.size() / 2];
}

} // namespace vireo::bench
