#include "capture/recording_rules.h"

#include <algorithm>
#include <cmath>

namespace vireo {

namespace {

constexpr double kShortestInterval = 0.0001; // s
constexpr double kLongestDifference = 127.0; // s; what is above comes from the wrap after 128 s

// False when the camera stays idle for this frame.
bool Join(RecordingPlace& place, const RecordingSituation& situation)
{
    if (situation.iMode == capture_mode::kLinear) {
        place.iCount = 0;
        place.iStart = place.iEnd;
        return true;
    }
    if (situation.iStartMark < 0)
        return false;
    const std::optional<int> iCount = JoinCount(situation.iStartMark, place.iEnd, situation.iBufferFrames);
    if (!iCount)
        return false;
    place.iCount = *iCount;
    place.iStart = situation.iStartMark;
    return true;
}

} // namespace

std::optional<int> JoinCount(int iMark, int iEnd, int iBufferFrames)
{
    const int iDistance = RingDistance(iMark, iEnd, iBufferFrames);
    if (iDistance > iBufferFrames / 2)
        return std::nullopt;
    return iDistance;
}

RecordingPlace CountFrame(RecordingPlace place, const RecordingSituation& situation)
{
    place.bJoined = false;
    if (situation.bRecording && place.iCount == kIdleFrameCount)
        place.bJoined = Join(place, situation);
    if (situation.bDone)
        return place;
    if (place.iCount > kIdleFrameCount)
        ++place.iCount;
    ++place.iEnd;
    return place;
}

std::uint32_t MissedBetween(double dPrevious, double dTime, double dPeriod)
{
    const double dInterval = dTime - dPrevious;
    if (!(dInterval > kShortestInterval))
        return 0;
    const double dMissing = std::abs((dInterval - dPeriod) / dPeriod) + kPeriodSlack;
    if (!(dMissing >= 1.0))
        return 0;
    return static_cast<std::uint32_t>(std::min(dMissing, static_cast<double>(kHighestCount)));
}

std::uint32_t AddToCount(std::uint32_t uiCount, std::uint32_t uiMore)
{
    const std::uint64_t uiSum = std::uint64_t { uiCount } + uiMore;
    return uiSum > kHighestCount ? 0 : static_cast<std::uint32_t>(uiSum);
}

bool IsOutOfStep(double dTime0, double dTimeC, int iFps)
{
    const double dDifference = std::abs(dTime0 - dTimeC);
    return dDifference < kLongestDifference && dDifference > (1.0 + kPeriodSlack) / iFps;
}

double SmoothedFps(double dFps, double dAlpha, std::int64_t llCounts, std::int64_t llFrequency)
{
    if (llCounts == 0)
        return dFps;
    const double dIntervalUs = static_cast<double>(llCounts) / (static_cast<double>(llFrequency) / 1'000'000.0);
    return dAlpha * dFps + (1.0 - dAlpha) * (1'000'000.0 / dIntervalUs);
}

} // namespace vireo
