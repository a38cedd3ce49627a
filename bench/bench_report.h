#pragma once
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace vireo::bench {

enum class Goal { AtLeast, AtMost };

/// The line that says whether a goal is met; details belong before it.
inline bool Report(const char* pName, double dRatio, Goal eGoal, double dGoal)
{
    const bool bMet = eGoal == Goal::AtLeast ? dRatio >= dGoal : dRatio <= dGoal;
    std::printf("bench %s ratio=%.3f goal=%g %s\n", pName, dRatio, dGoal, bMet ? "met" : "short");
    std::fflush(stdout);
    return bMet;
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
