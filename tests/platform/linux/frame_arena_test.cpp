#include "platform/frame_copy.h"
#include "platform/linux/frame_arena.h"
#include "platform/time/virtual_clock.h"
#include "support/fakes.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <latch>
#include <sys/resource.h>
#include <unistd.h>

#if defined(__SANITIZE_THREAD__)
constexpr bool kThreadSanitizer = true;
#else
constexpr bool kThreadSanitizer = false;
#endif

namespace vireo {
namespace {

constexpr std::uint64_t kMiB = std::uint64_t { 1 } << 20;
constexpr std::uint64_t kGiB = std::uint64_t { 1 } << 30;
constexpr std::uint64_t kStep = 2 * kMiB;
constexpr std::uint64_t kAll = std::numeric_limits<std::uint64_t>::max();
const MemoryReading kPlenty { 100 * kGiB, 100 * kGiB };

TouchOptions Plenty(bool bPopulate = true)
{
    return { .read = [] { return kPlenty; }, .bPopulate = bPopulate };
}

// Physical memory of this process in bytes, pages of zeros that were only read not counted.
std::uint64_t ResidentBytes()
{
    std::ifstream file("/proc/self/statm");
    std::uint64_t uiSize = 0;
    std::uint64_t uiResident = 0;
    file >> uiSize >> uiResident;
    return uiResident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

class FrameArenaTest : public testing::Test {
protected:
    test::SteppedClock m_clock; // never moves here: StartTouching waits until the first bytes are touched
    LinuxFrameArena m_arena { m_clock, Plenty() };

    static void NeverShort() { ADD_FAILURE() << "memory did not run short"; }
    void TouchAll(LinuxFrameArena& arena) { arena.StartTouching(kAll, kNsPerSecond, NeverShort); }
};

TEST_F(FrameArenaTest, ReservesAlignedRegionsApartFromEachOther)
{
    ASSERT_TRUE(m_arena.Reserve(3, 5 * kMiB));
    for (std::size_t uiRegion = 0; uiRegion < 3; ++uiRegion) {
        ASSERT_NE(m_arena.Region(uiRegion), nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(m_arena.Region(uiRegion)) % kStep, 0U);
        EXPECT_EQ(m_arena.TouchedBytes(uiRegion), 0U);
        std::fill_n(m_arena.Region(uiRegion), 5 * kMiB, static_cast<std::byte>(uiRegion + 1));
    }
    for (std::size_t uiRegion = 0; uiRegion < 3; ++uiRegion)
        EXPECT_EQ(std::count(m_arena.Region(uiRegion), m_arena.Region(uiRegion) + 5 * kMiB,
                      static_cast<std::byte>(uiRegion + 1)),
            static_cast<std::ptrdiff_t>(5 * kMiB));
    EXPECT_EQ(m_arena.Region(3), nullptr);
    EXPECT_EQ(m_arena.TouchedBytes(3), 0U);
}

TEST_F(FrameArenaTest, TakesNoMemoryUntilItIsTouched)
{
    ASSERT_TRUE(m_arena.Reserve(2, 8 * kMiB));
    EXPECT_EQ(m_arena.ResidentKiB(), 0U);
    TouchAll(m_arena);
    EXPECT_EQ(m_arena.TouchedBytes(0), 8 * kMiB);
    EXPECT_EQ(m_arena.TouchedBytes(1), 8 * kMiB);
    EXPECT_EQ(m_arena.ResidentKiB(), 16 * kMiB / 1024);
    m_arena.Release();
    EXPECT_EQ(m_arena.Region(0), nullptr);
    EXPECT_EQ(m_arena.ResidentKiB(), 0U);
}

TEST_F(FrameArenaTest, CountsPagesThatWereWrittenAheadOfTouchingAsResident)
{
    ASSERT_TRUE(m_arena.Reserve(1, 64 * kMiB));
    m_arena.Region(0)[40 * kMiB] = std::byte { 1 };
    EXPECT_GT(m_arena.ResidentKiB(), 0U);
    EXPECT_EQ(m_arena.TouchedBytes(0), 0U);
}

TEST_F(FrameArenaTest, ReservingNoMoreThanThereIsKeepsWhatWasTouched)
{
    ASSERT_TRUE(m_arena.Reserve(2, 8 * kMiB));
    TouchAll(m_arena);
    std::byte* pFirst = m_arena.Region(0);
    pFirst[7 * kMiB] = std::byte { 42 };
    ASSERT_TRUE(m_arena.Reserve(1, 4 * kMiB));
    EXPECT_EQ(m_arena.Region(0), pFirst);
    EXPECT_EQ(m_arena.Region(1), nullptr) << "the surplus region is given back";
    EXPECT_EQ(m_arena.ResidentKiB(), 8 * kMiB / 1024);
    ASSERT_TRUE(m_arena.Reserve(2, 8 * kMiB));
    EXPECT_EQ(m_arena.Region(0), pFirst);
    EXPECT_EQ(m_arena.TouchedBytes(0), 8 * kMiB);
    EXPECT_EQ(pFirst[7 * kMiB], std::byte { 42 });
    EXPECT_EQ(m_arena.TouchedBytes(1), 0U);
}

TEST_F(FrameArenaTest, ReservingMoreBeginsAfresh)
{
    ASSERT_TRUE(m_arena.Reserve(1, 4 * kMiB));
    TouchAll(m_arena);
    ASSERT_TRUE(m_arena.Reserve(1, 16 * kMiB));
    EXPECT_EQ(m_arena.TouchedBytes(0), 0U);
    EXPECT_EQ(m_arena.ResidentKiB(), 0U);
    TouchAll(m_arena);
    EXPECT_EQ(m_arena.TouchedBytes(0), 16 * kMiB);
}

TEST_F(FrameArenaTest, IsEmptyWhenTheAddressSpaceCannotBeHad)
{
    ASSERT_TRUE(m_arena.Reserve(1, 4 * kMiB));
    for (const std::uint64_t uiBytes : { std::uint64_t { 1 } << 50, kAll, kAll - kMiB, kAll / 2 }) {
        EXPECT_FALSE(m_arena.Reserve(2, uiBytes)) << uiBytes;
        EXPECT_EQ(m_arena.Region(0), nullptr);
    }
    EXPECT_TRUE(m_arena.Reserve(1, 4 * kMiB));
}

TEST_F(FrameArenaTest, ReturnsWhenTheFirstBytesOfEachRegionAreTouched)
{
    ASSERT_TRUE(m_arena.Reserve(4, 64 * kMiB));
    m_arena.StartTouching(5 * kMiB, kNsPerSecond, NeverShort);
    for (std::size_t uiRegion = 0; uiRegion < 4; ++uiRegion)
        EXPECT_GE(m_arena.TouchedBytes(uiRegion), 5 * kMiB);
    TouchAll(m_arena); // again, while the background threads are at it
    for (std::size_t uiRegion = 0; uiRegion < 4; ++uiRegion)
        EXPECT_EQ(m_arena.TouchedBytes(uiRegion), 64 * kMiB);
}

TEST_F(FrameArenaTest, InVirtualTimeTheFirstBytesAreWaitedForAllTheSame)
{
    VirtualClock clock;
    LinuxFrameArena arena(clock, Plenty());
    ASSERT_TRUE(arena.Reserve(2, 32 * kMiB));
    arena.StartTouching(32 * kMiB, clock.Now() + 1, NeverShort);
    EXPECT_EQ(arena.TouchedBytes(0), 32 * kMiB);
    EXPECT_EQ(arena.TouchedBytes(1), 32 * kMiB);
    EXPECT_EQ(clock.Now(), 0);
}

TEST_F(FrameArenaTest, ReturnsAtTheDeadlineWithLessTouched)
{
    std::latch passed(1);
    LinuxFrameArena arena(m_clock, { .read = [&passed] {
        passed.wait(); // nothing is touched before headroom is known
        return kPlenty;
    } });
    ASSERT_TRUE(arena.Reserve(2, 4 * kMiB));
    arena.StartTouching(kStep, m_clock.Now(), NeverShort);
    EXPECT_EQ(arena.TouchedBytes(0), 0U);
    passed.count_down();
    arena.StopTouching();
}

TEST_F(FrameArenaTest, TouchesTheRestInTheBackground)
{
    std::latch returned(1);
    std::atomic<int> iReadings = 0;
    LinuxFrameArena arena(m_clock, { .read = [&] {
        if (++iReadings == 2)
            returned.wait(); // after 256 MiB, no further before StartTouching is back
        return kPlenty;
    } });
    ASSERT_TRUE(arena.Reserve(1, 260 * kMiB));
    arena.StartTouching(8 * kMiB, kNsPerSecond, NeverShort);
    EXPECT_GE(arena.TouchedBytes(0), 8 * kMiB);
    EXPECT_LT(arena.TouchedBytes(0), 260 * kMiB);
    returned.count_down();
    arena.StartTouching(kAll, kNsPerSecond, NeverShort);
    EXPECT_EQ(arena.TouchedBytes(0), 260 * kMiB);
}

TEST_F(FrameArenaTest, StopsBeforeEverythingIsTouched)
{
    std::latch stopping(1);
    std::atomic<int> iReadings = 0;
    LinuxFrameArena arena(m_clock, { .read = [&] {
        if (++iReadings == 2)
            stopping.wait(); // after 256 MiB
        return kPlenty;
    } });
    ASSERT_TRUE(arena.Reserve(1, kGiB));
    arena.StartTouching(0, 0, NeverShort);
    stopping.count_down();
    arena.StopTouching();
    const std::uint64_t uiTouched = arena.TouchedBytes(0);
    EXPECT_LT(uiTouched, kGiB);
    EXPECT_LE(arena.ResidentKiB(), (uiTouched + 2 * kStep) / 1024) << "at most the steps at work were finished";
    arena.StopTouching(); // harmless
}

TEST_F(FrameArenaTest, GoesOnWhereItStopped)
{
    ASSERT_TRUE(m_arena.Reserve(2, 64 * kMiB));
    m_arena.StartTouching(8 * kMiB, kNsPerSecond, NeverShort);
    m_arena.StopTouching();
    const std::uint64_t uiTouched = m_arena.TouchedBytes(1);
    EXPECT_GE(uiTouched, 8 * kMiB);
    m_arena.StartTouching(kAll, kNsPerSecond, NeverShort);
    EXPECT_EQ(m_arena.TouchedBytes(1), 64 * kMiB);
}

class FrameArenaTouch : public testing::TestWithParam<bool> {
protected:
    test::SteppedClock m_clock;
    LinuxFrameArena m_arena { m_clock, Plenty(GetParam()) };
};
INSTANTIATE_TEST_SUITE_P(WithAndWithoutTheKernelsHelp, FrameArenaTouch, testing::Bool(),
    [](const auto& test) { return test.param ? "populated" : "byAdding"; });

TEST_P(FrameArenaTouch, MakesPagesPresent)
{
    const std::uint64_t uiBefore = ResidentBytes();
    ASSERT_TRUE(m_arena.Reserve(2, 64 * kMiB));
    EXPECT_LT(ResidentBytes(), uiBefore + 32 * kMiB);
    m_arena.StartTouching(kAll, kNsPerSecond, [] {});
    EXPECT_GE(ResidentBytes(), uiBefore + 120 * kMiB);
}

TEST_P(FrameArenaTouch, LeavesWhatIsThereAlready)
{
    ASSERT_TRUE(m_arena.Reserve(1, 8 * kMiB));
    std::fill_n(m_arena.Region(0), 8 * kMiB, std::byte { 0xA5 });
    m_arena.StartTouching(kAll, kNsPerSecond, [] {});
    EXPECT_EQ(m_arena.TouchedBytes(0), 8 * kMiB);
    EXPECT_EQ(std::count(m_arena.Region(0), m_arena.Region(0) + 8 * kMiB, std::byte { 0xA5 }),
        static_cast<std::ptrdiff_t>(8 * kMiB));
}

TEST_P(FrameArenaTouch, LosesNothingThatIsWrittenMeanwhile)
{
    if (kThreadSanitizer && !GetParam())
        GTEST_SKIP() << "adding zero beside plain stores is a race by the letter, harmless on the machine";
    constexpr std::uint64_t uiBytes = 64 * kMiB;
    ASSERT_TRUE(m_arena.Reserve(1, uiBytes));
    m_arena.StartTouching(0, 0, [] {});
    std::vector<std::uint8_t> frame(kMiB);
    for (std::uint64_t uiFrame = 0; uiFrame < uiBytes / kMiB; ++uiFrame) {
        std::fill(frame.begin(), frame.end(), static_cast<std::uint8_t>(uiFrame + 1));
        CopyFrame(m_arena.Region(0) + uiFrame * kMiB, frame.data(), frame.size());
    }
    m_arena.StartTouching(kAll, kNsPerSecond, [] {});
    for (std::uint64_t uiFrame = 0; uiFrame < uiBytes / kMiB; ++uiFrame)
        ASSERT_EQ(std::count(m_arena.Region(0) + uiFrame * kMiB, m_arena.Region(0) + (uiFrame + 1) * kMiB,
                      static_cast<std::byte>(uiFrame + 1)),
            static_cast<std::ptrdiff_t>(kMiB))
            << uiFrame;
}

// Headroom as the n-th reading shows it (the last one for all later readings).
class FrameArenaShort : public testing::Test {
protected:
    LinuxFrameArena& Arena(std::vector<MemoryReading> readings)
    {
        m_readings = std::move(readings);
        m_arena.emplace(m_clock, TouchOptions { .read = [this] {
            const std::size_t uiReading = m_uiReadings++;
            return m_readings[std::min(uiReading, m_readings.size() - 1)];
        } });
        return *m_arena;
    }
    std::function<void()> OnShort()
    {
        return [this] { ++m_iShort; };
    }

    test::SteppedClock m_clock;
    std::vector<MemoryReading> m_readings;
    std::atomic<std::size_t> m_uiReadings = 0;
    std::atomic<int> m_iShort = 0;
    std::optional<LinuxFrameArena> m_arena;
};

TEST_F(FrameArenaShort, GivesUpWhenHeadroomFalls)
{
    LinuxFrameArena& arena = Arena({ kPlenty, { 512 * kMiB - 1, 8 * kGiB } });
    ASSERT_TRUE(arena.Reserve(4, 128 * kMiB));
    arena.StartTouching(kAll, kNsPerSecond, OnShort());
    arena.StopTouching();
    EXPECT_TRUE(arena.IsShort());
    EXPECT_EQ(m_iShort, 1);
    EXPECT_EQ(m_uiReadings, 2U) << "headroom is read at first and every 256 MiB";
    for (std::size_t uiRegion = 0; uiRegion < 4; ++uiRegion)
        EXPECT_EQ(arena.TouchedBytes(uiRegion), 64 * kMiB) << "the regions advance side by side";
    arena.StartTouching(kAll, kNsPerSecond, OnShort());
    EXPECT_EQ(m_iShort, 1) << "given up for good";
    EXPECT_EQ(arena.TouchedBytes(0), 64 * kMiB);
}

TEST_F(FrameArenaShort, KeepsThreePercentOfALargeMemory)
{
    const struct {
        MemoryReading reading;
        bool bShort;
    } rows[] = { { { 3 * kGiB, 100 * kGiB }, false }, { { 3 * kGiB - kGiB / 10, 100 * kGiB }, true },
        { { 512 * kMiB, 2 * kGiB }, false } };
    for (const auto& row : rows) {
        LinuxFrameArena& arena = Arena({ row.reading });
        ASSERT_TRUE(arena.Reserve(1, 260 * kMiB));
        arena.StartTouching(kAll, kNsPerSecond, [] {});
        EXPECT_EQ(arena.IsShort(), row.bShort) << row.reading.uiFreeBytes;
        EXPECT_EQ(arena.TouchedBytes(0) == 260 * kMiB, !row.bShort);
    }
}

TEST_F(FrameArenaShort, NothingIsTouchedWhenHeadroomIsTooLittleFromTheStart)
{
    const struct {
        MemoryReading reading;
        bool bShort;
    } rows[] = { { { 512 * kMiB, 8 * kGiB }, false }, { { 512 * kMiB - 1, 8 * kGiB }, true },
        { { 3 * kGiB - 1, 100 * kGiB }, true } };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.reading.uiFreeBytes);
        m_iShort = 0;
        LinuxFrameArena& arena = Arena({ row.reading });
        ASSERT_TRUE(arena.Reserve(2, 8 * kMiB)); // as small as it is
        arena.StartTouching(kAll, kNsPerSecond, OnShort());
        arena.StopTouching();
        EXPECT_EQ(arena.IsShort(), row.bShort);
        EXPECT_EQ(m_iShort, row.bShort ? 1 : 0);
        EXPECT_EQ(arena.TouchedBytes(1), row.bShort ? 0 : 8 * kMiB);
    }
}

TEST_F(FrameArenaShort, ASmallerStoreEndsItAndGivesTheRestBack)
{
    LinuxFrameArena& arena = Arena({ kPlenty, { 0, 8 * kGiB } });
    ASSERT_TRUE(arena.Reserve(1, 300 * kMiB));
    arena.StartTouching(kAll, kNsPerSecond, OnShort());
    ASSERT_TRUE(arena.IsShort());
    std::byte* pFirst = arena.Region(0);
    pFirst[0] = std::byte { 9 };
    ASSERT_TRUE(arena.Reserve(1, 16 * kMiB));
    EXPECT_FALSE(arena.IsShort());
    EXPECT_EQ(arena.Region(0), pFirst);
    EXPECT_EQ(pFirst[0], std::byte { 9 });
    EXPECT_EQ(arena.TouchedBytes(0), 16 * kMiB);
    EXPECT_LE(arena.ResidentKiB(), 16 * kMiB / 1024);
    arena.StartTouching(kAll, kNsPerSecond, OnShort());
    EXPECT_FALSE(arena.IsShort()) << "all of it was touched before";
    ASSERT_TRUE(arena.Reserve(1, 32 * kMiB));
    EXPECT_EQ(arena.TouchedBytes(0), 16 * kMiB) << "what was given back is cold";
    arena.Release();
    EXPECT_FALSE(arena.IsShort());
}

} // namespace
} // namespace vireo
