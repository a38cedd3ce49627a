#pragma once
#include "capture/capture_state.h"
#include "capture/frame_store.h"

#include <cstdint>
#include <optional>

namespace vireo {

// The rules of a recording as functions over values: no thread, no clock, no camera.

constexpr int kRingMargin = 6; ///< frames that a ring recording goes beyond its target
constexpr int kLinearMargin = 32; ///< slots of the ring that a linear recording leaves free
constexpr std::uint32_t kHighestCount = 999'999; ///< the status bar shows six digits
/// Time stamps are multiples of 1/24576000 s, so an interval of exactly one period misses its mark by a
/// rounding error as often as not; comparisons in periods allow this much.
constexpr double kPeriodSlack = 0.05;

/// Frames that each camera is to record, from the slots of its ring.
constexpr int RecordTargetFor(int iBufferFrames) { return iBufferFrames - kRingHeadroom; }

/// The ring index before `iIndex`, and the one after it.
constexpr int RingBefore(int iIndex, int iBufferFrames) { return iIndex < 1 ? iBufferFrames - 1 : iIndex - 1; }

/// The frame count with which a camera whose write index is `iEnd` joins a recording marked at `iMark`.
/// None: more than half a ring apart is a camera that lags across the wrap; it joins at a later frame.
std::optional<int> JoinCount(int iMark, int iEnd, int iBufferFrames);

/// One camera's place in the ring and in the recording.
struct RecordingPlace {
    int iEnd = 0; ///< slot of the frame in hand; afterwards the slot of the next one
    int iCount = kIdleFrameCount; ///< frames recorded
    int iStart = 0; ///< slot of the first recorded frame
    bool bJoined = false; ///< this frame is the first that was counted
    friend bool operator==(const RecordingPlace&, const RecordingPlace&) = default;
};
/// What the frame is counted against.
struct RecordingSituation {
    int iMode = capture_mode::kRing;
    bool bRecording = false; ///< the state is "recording"
    bool bDone = false; ///< this camera has all its frames: nothing advances any more
    int iStartMark = -1; ///< ring index where the recording began; -1 = not published yet
    int iBufferFrames = 0;
};
/// Counts the frame that was stored in slot `place.iEnd` and moves on.
RecordingPlace CountFrame(RecordingPlace place, const RecordingSituation& situation);

/// The camera has all frames of the recording.
constexpr bool IsRecordingDone(int iMode, int iCount, int iRecordTarget, int iBufferFrames)
{
    if (iMode == capture_mode::kLinear)
        return iCount >= iBufferFrames - kLinearMargin;
    return iCount >= 0 && iCount >= iRecordTarget + kRingMargin;
}

/// Exposures missing between two frame times, s apart from each other: whole periods beyond the first.
/// 0 for times that do not go forward.
std::uint32_t MissedBetween(double dPrevious, double dTime, double dPeriod);
/// A count of the status bar after adding; 0 when it would need a seventh digit.
std::uint32_t AddToCount(std::uint32_t uiCount, std::uint32_t uiMore);

/// Two cameras' newest frames are too far apart. Times near the 128 s of a wrap are thrown away, and so is
/// one period: a reader between two writers sees that in health.
bool IsOutOfStep(double dTime0, double dTimeC, int iFps);

/// The smoothed frame rate after one more frame, fps. Unchanged for an interval of 0.
double SmoothedFps(double dFps, double dAlpha, std::int64_t llCounts, std::int64_t llFrequency);

} // namespace vireo
