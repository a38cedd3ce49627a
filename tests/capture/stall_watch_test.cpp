#include "capture/stall_watch.h"

#include <gtest/gtest.h>

using namespace vireo;

namespace {

constexpr ClockTime Ms(std::int64_t iMs) { return iMs * kNsPerMs; }

} // namespace

TEST(StallWatch, FourSecondsWithoutAFrameAreAStallWhereFramesAreDue)
{
    StallWatch watch(false);
    const ClockTime last[] = { Ms(5000), Ms(1000), Ms(5000) };
    EXPECT_EQ(watch.Check(Ms(4999), last), std::nullopt);
    EXPECT_EQ(watch.Check(Ms(5000), last), 1U);
}

TEST(StallWatch, OfCamerasThatFellSilentTogetherTheLowestIsBlamed)
{
    // Without camera 0 nobody is triggered; its last frame may be the later one by a hair.
    StallWatch watch(false);
    const ClockTime together[] = { Ms(1003), Ms(1000), Ms(1001) };
    EXPECT_EQ(watch.Check(Ms(6000), together), 0U);
    StallWatch other(false);
    const ClockTime oneByOne[] = { Ms(1500), Ms(1400), Ms(1000) };
    EXPECT_EQ(other.Check(Ms(6000), oneByOne), 2U);
}

TEST(StallWatch, NobodyIsLateWhileNoTriggerComes)
{
    StallWatch watch(true);
    const ClockTime last[] = { Ms(1000), Ms(1001) };
    EXPECT_EQ(watch.Check(Ms(1000'000), last), std::nullopt);
}

TEST(StallWatch, ACameraThatMissesTriggersForFourSecondsIsStalled)
{
    StallWatch watch(true);
    std::optional<std::size_t> stalled;
    std::int64_t iMs = 1000;
    for (; !stalled && iMs < 20'000; ++iMs) {
        const ClockTime last[] = { Ms(iMs / 10 * 10), Ms(1000) };
        stalled = watch.Check(Ms(iMs), last);
    }
    EXPECT_EQ(stalled, 1U);
    EXPECT_NEAR(static_cast<double>(iMs), 5010.0, 20.0);
}

TEST(StallWatch, RareTriggersAreNoStall)
{
    // One trigger every ten seconds; camera 1 has each frame 20 ms after camera 0.
    StallWatch watch(true);
    for (std::int64_t iMs = 10'000; iMs < 60'000; ++iMs) {
        const ClockTime last[] = { Ms(iMs / 10'000 * 10'000), Ms((iMs - 20) / 10'000 * 10'000 + 20) };
        ASSERT_EQ(watch.Check(Ms(iMs), last), std::nullopt) << iMs;
    }
}

TEST(StallWatch, OneMissedTriggerBeforeALongPauseIsNoStall)
{
    StallWatch watch(true);
    for (std::int64_t iMs = 10'000; iMs < 25'000; ++iMs) {
        const ClockTime last0 = iMs < 20'000 ? Ms(10'000) : Ms(20'000);
        const ClockTime last1 = iMs < 20'030 ? Ms(1000) : Ms(20'030);
        const ClockTime last[] = { last0, last1 };
        ASSERT_EQ(watch.Check(Ms(iMs), last), std::nullopt) << iMs;
    }
}
