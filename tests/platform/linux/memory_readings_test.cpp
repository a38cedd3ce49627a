#include "machine_files.h"
#include "platform/linux/memory_readings.h"

#include <gtest/gtest.h>
#include <limits>

namespace vireo {
namespace {

constexpr std::uint64_t kMiB = std::uint64_t { 1 } << 20;
constexpr std::uint64_t kGiB = std::uint64_t { 1 } << 30;
const MemoryReading kUnlimited {};

class MemoryReadings : public testing::Test {
protected:
    MemoryReading Groups() const { return ReadControlGroupMemory(m_files.Root()); }
    static std::string Bytes(std::uint64_t uiBytes) { return std::to_string(uiBytes); }

    test::MachineFiles m_files { 64 * kGiB, 50 * kGiB };
};

TEST_F(MemoryReadings, TheSystemHasWhatMeminfoCallsAvailable)
{
    EXPECT_EQ(ReadSystemMemory(m_files.Root()), (MemoryReading { 50 * kGiB, 64 * kGiB }));
}

TEST_F(MemoryReadings, NothingIsFreeWhenMeminfoCannotBeRead)
{
    m_files.Remove("/proc/meminfo");
    EXPECT_EQ(ReadSystemMemory(m_files.Root()), (MemoryReading { 0, 0 }));
    m_files.Write("/proc/meminfo", "MemTotal: many kB\n\nMemAvailable:\n");
    EXPECT_EQ(ReadSystemMemory(m_files.Root()), (MemoryReading { 0, 0 }));
}

TEST_F(MemoryReadings, WithoutControlGroupsThereIsNoLimit)
{
    EXPECT_EQ(Groups(), kUnlimited);
    m_files.MountVersion2("/");
    EXPECT_EQ(Groups(), kUnlimited) << "mounted, but without the memory files";
    m_files.Write("/proc/self/mountinfo", "31 23 0:27\n- - -\n\nx y - cgroup2\n");
    m_files.Write("/proc/self/cgroup", "::\nno colon\n");
    EXPECT_EQ(Groups(), kUnlimited) << "text that is none of the kernel's";
}

TEST_F(MemoryReadings, HeadroomIsTheLimitLessWhatCannotBeReclaimed)
{
    m_files.MountVersion2("/box");
    m_files.Version2("/box", Bytes(4 * kGiB), 3 * kGiB, 512 * kMiB, 256 * kMiB);
    EXPECT_EQ(Groups(), (MemoryReading { 4 * kGiB - 3 * kGiB + 768 * kMiB, 4 * kGiB }));
}

TEST_F(MemoryReadings, Version1CountsTheSame)
{
    m_files.MountVersion1("/box");
    m_files.Version1("/box", Bytes(4 * kGiB), 3 * kGiB, 512 * kMiB, 256 * kMiB);
    EXPECT_EQ(Groups(), (MemoryReading { 4 * kGiB - 3 * kGiB + 768 * kMiB, 4 * kGiB }));
}

TEST_F(MemoryReadings, TheTightestAncestorCounts)
{
    m_files.MountVersion2("/a/b/c");
    m_files.Version2("/a", Bytes(10 * kGiB), 9 * kGiB);
    m_files.Version2("/a/b", "max", 9 * kGiB);
    m_files.Version2("/a/b/c", Bytes(4 * kGiB), 2 * kGiB);
    EXPECT_EQ(Groups(), (MemoryReading { 1 * kGiB, 4 * kGiB })) << "headroom of /a, limit of /a/b/c";
    m_files.Version2("/a", "max", 9 * kGiB);
    EXPECT_EQ(Groups(), (MemoryReading { 2 * kGiB, 4 * kGiB }));
    m_files.Version2("/a/b/c", "max", 2 * kGiB);
    EXPECT_EQ(Groups(), kUnlimited);
    m_files.Version2("/x", Bytes(1), 0);
    EXPECT_EQ(Groups(), kUnlimited) << "a group that this process is not in";
    m_files.Version2("", Bytes(7 * kGiB), 4 * kGiB);
    EXPECT_EQ(Groups(), (MemoryReading { 3 * kGiB, 7 * kGiB })) << "the root of a container has a limit too";
}

TEST_F(MemoryReadings, TheTightestAncestorCountsInVersion1)
{
    m_files.MountVersion1("/a/b");
    m_files.Version1("", "9223372036854771712", 60 * kGiB);
    m_files.Version1("/a", Bytes(3 * kGiB), 1 * kGiB);
    m_files.Version1("/a/b", "9223372036854771712", 1 * kGiB);
    EXPECT_EQ(Groups(), (MemoryReading { 2 * kGiB, 3 * kGiB })) << "near 2^63 means no limit";
    m_files.Version1("/a", "-1", 1 * kGiB);
    EXPECT_EQ(Groups(), kUnlimited);
}

TEST_F(MemoryReadings, AboveTheSoftLimitAProcessHardlyAdvances)
{
    m_files.MountVersion2("/box");
    m_files.Version2("/box", Bytes(4 * kGiB), 1 * kGiB);
    m_files.Write("/sys/fs/cgroup/box/memory.high", Bytes(3 * kGiB) + "\n");
    EXPECT_EQ(Groups(), (MemoryReading { 2 * kGiB, 3 * kGiB }));
    m_files.Write("/sys/fs/cgroup/box/memory.high", "max\n");
    EXPECT_EQ(Groups(), (MemoryReading { 3 * kGiB, 4 * kGiB }));
}

TEST_F(MemoryReadings, AMountThatShowsAPartOfTheTreeIsReadFromThere)
{
    const struct {
        const char* pName;
        const char* pMountRoot;
        const char* pGroup;
        const char* pFolder; ///< where the files are, below the mount
    } rows[] = {
        { "the container's own group", "/docker/abc", "/docker/abc", "" },
        { "a group inside it", "/docker/abc", "/docker/abc/inner", "/inner" },
        { "another with the same beginning", "/docker/abc", "/docker/abcdef", "" },
        { "a group outside it", "/docker/abc", "/../other", "" },
        { "outside what the name space shows", "/", "/../other", "" },
        { "a group that the mount does not show", "/", "/gone/away", "" },
        { "a name space of its own", "/", "/", "" },
    };
    for (const auto& row : rows)
        for (const bool bVersion2 : { false, true }) {
            SCOPED_TRACE(std::string(row.pName) + (bVersion2 ? ", version 2" : ", version 1"));
            test::MachineFiles files(64 * kGiB, 50 * kGiB);
            if (bVersion2) {
                files.MountVersion2(row.pGroup, row.pMountRoot);
                files.Version2(row.pFolder, Bytes(2 * kGiB), 1 * kGiB);
            } else {
                files.MountVersion1(row.pGroup, row.pMountRoot);
                files.Version1(row.pFolder, Bytes(2 * kGiB), 1 * kGiB);
            }
            // What stands beside the mounts is no group.
            files.Write("/sys/fs/other/memory.max", "1\n");
            files.Write("/sys/fs/cgroupdef/memory.max", "1\n");
            EXPECT_EQ(ReadControlGroupMemory(files.Root()), (MemoryReading { 1 * kGiB, 2 * kGiB }));
        }
}

TEST_F(MemoryReadings, AGroupAboveItsLimitHasNothingFree)
{
    m_files.MountVersion2("/box");
    m_files.Version2("/box", Bytes(1 * kGiB), 2 * kGiB);
    EXPECT_EQ(Groups(), (MemoryReading { 0, 1 * kGiB }));
    m_files.Version2("/box", Bytes(1 * kGiB), 2 * kGiB, 50 * kGiB, 50 * kGiB);
    EXPECT_EQ(Groups(), (MemoryReading { 1 * kGiB, 1 * kGiB })) << "more file pages than usage: counted at other times";
}

TEST_F(MemoryReadings, MissingUsageOrStatisticsCountAsNothing)
{
    m_files.MountVersion2("/box");
    m_files.Write("/sys/fs/cgroup/box/memory.max", Bytes(1 * kGiB) + "\n");
    EXPECT_EQ(Groups(), (MemoryReading { 1 * kGiB, 1 * kGiB }));
    m_files.Write("/sys/fs/cgroup/box/memory.current", Bytes(300 * kMiB) + "\n");
    EXPECT_EQ(Groups(), (MemoryReading { 1 * kGiB - 300 * kMiB, 1 * kGiB }));
}

TEST(MemoryReading, TheTighterOfTwoTakesTheSmallerOfEach)
{
    EXPECT_EQ(Tighter({ 5, 10 }, { 7, 8 }), (MemoryReading { 5, 8 }));
    EXPECT_EQ(Tighter(kUnlimited, { 7, 8 }), (MemoryReading { 7, 8 }));
}

TEST(ByteCount, IsDecimalDigitsOnly)
{
    EXPECT_EQ(ParseByteCount("0"), 0U);
    EXPECT_EQ(ParseByteCount("18446744073709551615"), std::numeric_limits<std::uint64_t>::max());
    for (const char* pText : { "", "18446744073709551616", "-1", "1G", " 1", "1 ", "max", "0x10", "1.5", "+1" })
        EXPECT_EQ(ParseByteCount(pText), std::nullopt) << pText;
}

} // namespace
} // namespace vireo
