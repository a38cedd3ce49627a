#include "capture/recording_rules.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

using namespace vireo;

namespace {

constexpr int kSlots = 1064;

RecordingSituation Ring(bool bRecording, int iMark, bool bDone = false)
{
    return { .iMode = capture_mode::kRing,
        .bRecording = bRecording,
        .bDone = bDone,
        .iStartMark = iMark,
        .iBufferFrames = kSlots };
}

RecordingSituation Linear(bool bRecording, bool bDone = false)
{
    return { .iMode = capture_mode::kLinear, .bRecording = bRecording, .bDone = bDone, .iBufferFrames = kSlots };
}

} // namespace

TEST(RecordingRules, ACameraJoinsWithItsDistanceFromTheMark)
{
    const struct {
        const char* m_strName;
        int m_iMark, m_iEnd;
        std::optional<int> m_iCount;
    } kRows[] = {
        { "at the mark", 100, 100, 0 },
        { "ahead of it", 100, 104, 4 },
        { "nine behind, still the same lap", 100, 91, -9 },
        { "ten behind is told from one lap ahead and stays idle", 100, 90, std::nullopt },
        { "across the wrap", 1060, 3, 7 },
        { "the mark in the first slot, the camera just past it", 0, 2, 2 },
        { "the mark just past the wrap, the camera still before it", 3, 1060, std::nullopt },
        { "half a ring is the most", 0, kSlots / 2, kSlots / 2 },
        { "more than half is a lag", 0, kSlots / 2 + 1, std::nullopt },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.m_strName);
        EXPECT_EQ(JoinCount(row.m_iMark, row.m_iEnd, kSlots), row.m_iCount);
    }
}

TEST(RecordingRules, AnIdleCameraMovesOnWithoutCounting)
{
    const RecordingPlace place = CountFrame({ .iEnd = 7 }, Ring(false, -1));
    EXPECT_EQ(place, (RecordingPlace { .iEnd = 8, .iCount = kIdleFrameCount }));
}

TEST(RecordingRules, WithoutAPublishedMarkARingCameraStaysIdleOneMoreFrame)
{
    const RecordingPlace place = CountFrame({ .iEnd = 7 }, Ring(true, -1));
    EXPECT_EQ(place, (RecordingPlace { .iEnd = 8, .iCount = kIdleFrameCount }));
}

TEST(RecordingRules, TheFirstCountedFrameTakesTheMarkAsItsStart)
{
    EXPECT_EQ(CountFrame({ .iEnd = 20 }, Ring(true, 20)),
        (RecordingPlace { .iEnd = 21, .iCount = 1, .iStart = 20, .bJoined = true }));
    EXPECT_EQ(CountFrame({ .iEnd = 3 }, Ring(true, 1060)),
        (RecordingPlace { .iEnd = 4, .iCount = 8, .iStart = 1060, .bJoined = true }));
    // Nine behind counts up to the mark first; the sentinel of an idle camera is never reached.
    EXPECT_EQ(CountFrame({ .iEnd = 91 }, Ring(true, 100)),
        (RecordingPlace { .iEnd = 92, .iCount = -8, .iStart = 100, .bJoined = true }));
}

TEST(RecordingRules, AJoinedCameraCountsFrameByFrame)
{
    EXPECT_EQ(CountFrame({ .iEnd = 92, .iCount = -8, .iStart = 100 }, Ring(true, 100)),
        (RecordingPlace { .iEnd = 93, .iCount = -7, .iStart = 100 }));
    // Also when the state has gone back to live: the other cameras finish their frames.
    EXPECT_EQ(CountFrame({ .iEnd = 92, .iCount = 5, .iStart = 100 }, Ring(false, 100)),
        (RecordingPlace { .iEnd = 93, .iCount = 6, .iStart = 100 }));
}

TEST(RecordingRules, ALinearCameraBeginsWithItsOwnFrame)
{
    EXPECT_EQ(CountFrame({ .iEnd = 20 }, Linear(true)),
        (RecordingPlace { .iEnd = 21, .iCount = 1, .iStart = 20, .bJoined = true }));
    EXPECT_EQ(CountFrame({ .iEnd = 21, .iCount = 1, .iStart = 20 }, Linear(true)),
        (RecordingPlace { .iEnd = 22, .iCount = 2, .iStart = 20 }));
}

TEST(RecordingRules, NothingAdvancesOnceTheCameraIsDone)
{
    const RecordingPlace place { .iEnd = 92, .iCount = 1006, .iStart = 100 };
    EXPECT_EQ(CountFrame(place, Ring(true, 100, true)), place);
    EXPECT_EQ(CountFrame(place, Linear(true, true)), place);
}

TEST(RecordingRules, TheTwoLoopsEndWithTheirOwnMargins)
{
    const struct {
        const char* m_strName;
        int m_iMode, m_iCount, m_iTarget;
        bool m_bDone;
    } kRows[] = {
        { "ring, one short", capture_mode::kRing, 1005, 1000, false },
        { "ring, six beyond the target", capture_mode::kRing, 1006, 1000, true },
        { "ring, a target that a stop has lowered", capture_mode::kRing, 1000, 300, true },
        { "ring, idle with a target of nothing", capture_mode::kRing, kIdleFrameCount, -20, false },
        { "linear, one short", capture_mode::kLinear, kSlots - 33, 1000, false },
        { "linear, 32 slots left", capture_mode::kLinear, kSlots - 32, 1000, true },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.m_strName);
        EXPECT_EQ(IsRecordingDone(row.m_iMode, row.m_iCount, row.m_iTarget, kSlots), row.m_bDone);
    }
}

TEST(RecordingRules, WholePeriodsBeyondTheFirstAreMissedFrames)
{
    constexpr double kPeriod = 1.0 / 400;
    const double dInfinity = std::numeric_limits<double>::infinity();
    const struct {
        const char* m_strName;
        double m_dPeriods;
        std::uint32_t m_uiMissed;
    } kRows[] = {
        { "one period", 1.0, 0 },
        { "1.9 periods", 1.9, 0 },
        { "2.4 periods", 2.4, 1 },
        { "two periods, less the rounding of the stamps", 2.0 - 0.00005, 1 },
        { "four periods", 4.0, 3 },
        { "four periods, a little less", 4.0 - 0.00005, 3 },
        { "backwards, as at the wrap", -51'000.0, 0 },
        { "the same frame", 0.0, 0 },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.m_strName);
        EXPECT_EQ(MissedBetween(5.0, 5.0 + row.m_dPeriods * kPeriod, kPeriod), row.m_uiMissed);
    }
    EXPECT_EQ(MissedBetween(5.0, 6.0, dInfinity), 0U) << "a rate of zero has no period to miss";
    EXPECT_EQ(MissedBetween(5.0, 5.00009, 1e-6), 0U) << "intervals of 0.1 ms and less are no frames";
}

TEST(RecordingRules, CountersWrapToZeroBeyondSixDigits)
{
    EXPECT_EQ(AddToCount(41, 1), 42U);
    EXPECT_EQ(AddToCount(999'998, 1), 999'999U);
    EXPECT_EQ(AddToCount(999'999, 1), 0U);
    EXPECT_EQ(AddToCount(999'999, 0xFFFFFFFF), 0U);
}

TEST(RecordingRules, FramesMoreThanAPeriodApartAreOutOfStep)
{
    const struct {
        const char* m_strName;
        double m_dApart;
        bool m_bOut;
    } kRows[] = {
        { "together", 0.0, false },
        { "one frame apart: read between two writers", 1.0 / 30, false },
        { "one frame apart and a rounding", 1.0 / 30 + 5e-8, false },
        { "one and a half periods", 1.5 / 30, true },
        { "the other way round", -1.5 / 30, true },
        { "seconds", 126.9, true },
        { "127 s and more come from the wrap", 127.0, false },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.m_strName);
        EXPECT_EQ(IsOutOfStep(127.5, 127.5 - row.m_dApart, 30), row.m_bOut);
    }
}

TEST(RecordingRules, TheMeasuredRateIsSmoothed)
{
    EXPECT_DOUBLE_EQ(SmoothedFps(100.0, 0.9, 0, 1'000'000'000), 100.0);
    EXPECT_DOUBLE_EQ(SmoothedFps(100.0, 0.9, 5'000'000, 1'000'000'000), 110.0);
    // A counter slower than a million counts a second must not divide by zero.
    EXPECT_NEAR(SmoothedFps(0.0, 0.9, 100, 10'000), 10.0, 1e-9);
}

TEST(RecordingRules, RingNeighboursWrap)
{
    EXPECT_EQ(RingBefore(0, 94), 93);
    EXPECT_EQ(RingBefore(94, 94), 93) << "a write index that stands behind the last slot";
}
