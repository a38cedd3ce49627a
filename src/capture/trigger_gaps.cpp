#include "capture/trigger_gaps.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vireo {

namespace {

constexpr double kClocksPart = 4e-4; ///< as much may two clocks differ in rate that are still believed

/// An interval of several usual ones.
struct LongInterval {
    int iFrame = 0; ///< the frame behind it
    double dUsual = 0.0; ///< how many usual ones it is
};

/// One camera on its way along the edges.
struct Walk {
    std::vector<LongInterval> intervals;
    std::size_t uiNext = 0;
    int iLost = 0; ///< of its own until now
    std::vector<Gap> losses;

    [[nodiscard]] bool AtEnd() const { return uiNext == intervals.size(); }
    /// Number of the edge that it did not see in time, pauses not counted.
    [[nodiscard]] int Edge() const { return intervals[uiNext].iFrame + iLost; }
    /// What it still waited from `iEdge` on, in usual intervals.
    [[nodiscard]] double WaitedFrom(int iEdge) const { return intervals[uiNext].dUsual - (iEdge - Edge()); }
    /// Passes the interval; `iMissing` frames of it were this camera's own loss.
    void Pass(int iMissing)
    {
        if (iMissing > 0)
            losses.push_back({ intervals[uiNext].iFrame, iMissing });
        iLost += iMissing;
        ++uiNext;
    }
};

constexpr double kLong = 1.5; ///< usual intervals; between one and two

Walk MakeWalk(const std::vector<double>& times, double dUsual)
{
    Walk walk;
    for (std::size_t i = 1; i < times.size(); ++i) {
        const double dIntervals = (times[i] - times[i - 1]) / dUsual;
        if (dIntervals >= kLong)
            walk.intervals.push_back({ static_cast<int>(i), dIntervals });
    }
    return walk;
}

int Whole(double dIntervals) { return static_cast<int>(std::lround(dIntervals)); }

// Whether all wait for the same edge; they have passed it then.
bool PassPause(std::vector<Walk>& walks, std::vector<Gap>& pauses)
{
    if (std::any_of(walks.begin(), walks.end(), [](const Walk& walk) { return walk.AtEnd(); }))
        return false;
    int iEdge = 0;
    for (const Walk& walk : walks)
        iEdge = std::max(iEdge, walk.Edge());
    double dPause = std::numeric_limits<double>::max();
    for (const Walk& walk : walks)
        dPause = std::min(dPause, walk.WaitedFrom(iEdge));
    if (dPause < kLong)
        return false;
    pauses.push_back({ walks.front().intervals[walks.front().uiNext].iFrame, Whole(dPause) - 1 });
    for (Walk& walk : walks) {
        const double dLonger = walk.WaitedFrom(iEdge) - dPause - kClocksPart * dPause;
        walk.Pass(iEdge - walk.Edge() + std::max(0, Whole(dLonger)));
    }
    return true;
}

} // namespace

TriggerGaps FindTriggerGaps(const std::vector<std::vector<double>>& times, double dUsual)
{
    TriggerGaps gaps;
    std::vector<Walk> walks;
    walks.reserve(times.size());
    for (const std::vector<double>& camera : times)
        walks.push_back(MakeWalk(camera, dUsual));
    for (;;) {
        Walk* pFirst = nullptr;
        for (Walk& walk : walks)
            if (!walk.AtEnd() && (pFirst == nullptr || walk.Edge() < pFirst->Edge()))
                pFirst = &walk;
        if (pFirst == nullptr)
            break;
        if (!PassPause(walks, gaps.pauses))
            pFirst->Pass(Whole(pFirst->intervals[pFirst->uiNext].dUsual) - 1);
    }
    for (Walk& walk : walks)
        gaps.losses.push_back(std::move(walk.losses));
    return gaps;
}

} // namespace vireo
