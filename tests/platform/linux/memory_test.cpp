#include "machine_files.h"
#include "platform/linux/memory.h"
#include "support/fakes.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>

namespace vireo {
namespace {

constexpr std::uint64_t kMiB = std::uint64_t { 1 } << 20;
constexpr std::uint64_t kGiB = std::uint64_t { 1 } << 30;
constexpr std::uint64_t kAll = std::numeric_limits<std::uint64_t>::max();

class LinuxMemoryTest : public testing::Test {
protected:
    LinuxMemoryTest()
    {
        m_files.MountVersion2("/box");
        m_files.Version2("/box", "max", 3 * kGiB);
    }
    LinuxMemory& Memory(std::optional<std::uint64_t> uiLimitBytes = std::nullopt)
    {
        return m_memory.emplace(m_clock, MemoryOptions { .strRoot = m_files.Root(), .uiLimitBytes = uiLimitBytes });
    }

    test::SteppedClock m_clock;
    test::MachineFiles m_files { 64 * kGiB, 50 * kGiB };
    std::optional<LinuxMemory> m_memory;
};

TEST_F(LinuxMemoryTest, TheSmallestOfMachineControlGroupAndLimitIsAvailable)
{
    EXPECT_EQ(Memory().AvailableKiB(), 50 * kGiB / 1024);
    EXPECT_EQ(Memory(70 * kGiB).AvailableKiB(), 50 * kGiB / 1024);
    m_files.Version2("/box", std::to_string(8 * kGiB), 3 * kGiB);
    EXPECT_EQ(Memory().AvailableKiB(), 5 * kGiB / 1024);
    EXPECT_EQ(Memory().Read(), (MemoryReading { 5 * kGiB, 8 * kGiB }));
    EXPECT_EQ(Memory(4 * kGiB).AvailableKiB(), 4 * kGiB / 1024);
    EXPECT_EQ(Memory(4 * kGiB).Read(), (MemoryReading { 4 * kGiB, 4 * kGiB }));
    m_files.Version2("/box", std::to_string(8 * kGiB), 7 * kGiB);
    EXPECT_EQ(Memory(4 * kGiB).AvailableKiB(), 1 * kGiB / 1024);
}

TEST_F(LinuxMemoryTest, WhatArenasHoldIsTakenFromTheLimit)
{
    LinuxMemory& memory = Memory(1 * kGiB);
    auto first = memory.CreateArena();
    auto second = memory.CreateArena();
    ASSERT_TRUE(first->Reserve(1, 8 * kMiB));
    EXPECT_EQ(memory.AvailableKiB(), 1024U * 1024) << "nothing is held before it is touched";
    first->StartTouching(kAll, kNsPerSecond, [] {});
    EXPECT_EQ(memory.AvailableKiB(), 1016U * 1024);
    ASSERT_TRUE(second->Reserve(2, 4 * kMiB));
    second->StartTouching(kAll, kNsPerSecond, [] {});
    EXPECT_EQ(memory.AvailableKiB(), 1008U * 1024);
    EXPECT_EQ(memory.AvailableKiB() + second->ResidentKiB(), 1016U * 1024) << "an arena's own memory is no loss to it";
    first->Release();
    EXPECT_EQ(memory.AvailableKiB(), 1016U * 1024);
    second.reset();
    EXPECT_EQ(memory.AvailableKiB(), 1024U * 1024);
}

TEST_F(LinuxMemoryTest, AnArenaThatHoldsMoreThanTheLimitLeavesNothing)
{
    LinuxMemory& memory = Memory(4 * kMiB);
    auto arena = memory.CreateArena();
    ASSERT_TRUE(arena->Reserve(1, 16 * kMiB));
    std::fill_n(arena->Region(0), 16 * kMiB, std::byte { 1 });
    EXPECT_EQ(memory.AvailableKiB(), 0U);
}

TEST_F(LinuxMemoryTest, AnArenaGivesUpWhenItsControlGroupRunsShort)
{
    // 512 MiB stay for the rest of the machine.
    m_files.Version2("/box", std::to_string(2 * kGiB), 2 * kGiB - 520 * kMiB);
    std::atomic<int> iShort = 0;
    auto arena = Memory().CreateArena();
    ASSERT_TRUE(arena->Reserve(1, 8 * kMiB));
    arena->StartTouching(kAll, kNsPerSecond, [&iShort] { ++iShort; });
    EXPECT_FALSE(arena->IsShort());
    EXPECT_EQ(arena->TouchedBytes(0), 8 * kMiB);
    m_files.Version2("/box", std::to_string(2 * kGiB), 2 * kGiB - 500 * kMiB);
    ASSERT_TRUE(arena->Reserve(1, 16 * kMiB));
    arena->StartTouching(kAll, kNsPerSecond, [&iShort] { ++iShort; });
    arena->StopTouching();
    EXPECT_TRUE(arena->IsShort());
    EXPECT_EQ(iShort, 1);
    EXPECT_LT(arena->TouchedBytes(0), 16 * kMiB);
}

TEST_F(LinuxMemoryTest, TheLimitComesFromTheEnvironment)
{
    const struct {
        const char* pText;
        std::optional<std::uint64_t> uiLimit;
    } rows[] = { { "", std::nullopt }, { "1073741824", kGiB }, { "0", 0 } };
    for (const auto& row : rows) {
        ASSERT_EQ(setenv("TESSEL_MEMORY_LIMIT", row.pText, 1), 0);
        std::string strError;
        const auto options = MemoryOptionsFromEnvironment(strError);
        ASSERT_TRUE(options.has_value()) << strError;
        EXPECT_EQ(options->uiLimitBytes, row.uiLimit) << row.pText;
        EXPECT_TRUE(strError.empty());
    }
    for (const char* pText : { "2G", "-1", "much" }) {
        ASSERT_EQ(setenv("TESSEL_MEMORY_LIMIT", pText, 1), 0);
        std::string strError;
        EXPECT_FALSE(MemoryOptionsFromEnvironment(strError).has_value());
        EXPECT_EQ(strError, std::string("TESSEL_MEMORY_LIMIT: \"") + pText + "\" is no number of bytes");
    }
    ASSERT_EQ(unsetenv("TESSEL_MEMORY_LIMIT"), 0);
    std::string strError;
    EXPECT_EQ(MemoryOptionsFromEnvironment(strError)->uiLimitBytes, std::nullopt);
}

TEST(LinuxMemory, TheRealMachineHasMemory)
{
    const test::SteppedClock clock;
    const LinuxMemory memory(clock);
    EXPECT_GT(memory.AvailableKiB(), 0U);
    const MemoryReading reading = memory.Read();
    EXPECT_LE(reading.uiFreeBytes, reading.uiTotalBytes);
}

} // namespace
} // namespace vireo
