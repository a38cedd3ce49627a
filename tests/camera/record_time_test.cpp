#include "camera/record_time.h"
#include "configuration_bench.h"

#include <gtest/gtest.h>

namespace vireo::test {
namespace {

constexpr std::uint64_t kGiB = std::uint64_t { 1 } << 20; // in KiB
constexpr std::uint64_t kPlenty = kGiB << 20;

TEST(MaxRecordSeconds, IsWhatFourFifthsOfTheMemoryHold)
{
    EXPECT_EQ(MaxRecordSeconds(8 * kGiB, 1, 0), (RecordTimes { 740, 371, 223, 186, 148, 111, 89, 74, 63, 55 }));
    EXPECT_EQ(MaxRecordSeconds(8 * kGiB, 4, 0), (RecordTimes { 186, 93, 55, 46, 37, 27, 22, 18, 15, 13 }));
    EXPECT_EQ(MaxRecordSeconds(8 * kGiB, 2, 1), (RecordTimes { 145, 72, 43, 36, 29, 21, 17, 14, 12, 10 }));
    EXPECT_EQ(MaxRecordSeconds(16 * kGiB, 4, 2), (RecordTimes { 124, 62, 37, 31, 24, 18, 14, 12, 10, 9 }));
    EXPECT_EQ(MaxRecordSeconds(64 * kGiB, 4, 3), (RecordTimes { 220, 110, 66, 55, 44, 33, 26, 22, 18, 16 }));
    EXPECT_EQ(MaxRecordSeconds(1000, 1, 3), RecordTimes {});
}

TEST(MaxRecordSeconds, EndsWhereAFileWouldPassTwoGiB)
{
    EXPECT_EQ(MaxRecordSeconds(kPlenty, 4, 0), (RecordTimes { 4660, 2330, 1398, 1165, 932, 699, 559, 466, 399, 349 }));
}

TEST(MaxRecordSeconds, RoundsTheFrameSizeAtSixtyAndFourHundredOnly)
{
    // 768 / 20 = 38: 919 and 137 instead of 910 and 136.
    EXPECT_EQ(MaxRecordSeconds(kPlenty, 1, 1), (RecordTimes { 1820, 919, 546, 455, 364, 273, 218, 182, 156, 137 }));
    EXPECT_EQ(MaxRecordSeconds(kPlenty, 1, 3), (RecordTimes { 690, 346, 207, 172, 138, 103, 82, 69, 59, 51 }));
}

TEST(LongestRecordSec, IsTheRatesEntryButNeverAboveAnHour)
{
    CaptureParameters parameters;
    parameters.m_iMaxRecordSec = { 4660, 10, 11, 12, 13, 14, 15, 16, 17, 18 };
    const struct {
        int iFps, iSeconds;
    } kRows[] = { { 30, 3600 }, { 60, 10 }, { 100, 11 }, { 118, 12 }, { 120, 12 }, { 150, 13 }, { 200, 14 },
        { 250, 15 }, { 300, 16 }, { 350, 17 }, { 400, 18 }, { 90, 3600 }, { 0, 3600 } };
    for (const auto& row : kRows)
        EXPECT_EQ(LongestRecordSec(parameters, row.iFps), row.iSeconds) << row.iFps;
}

TEST(HighestRateOfSize, IsLowerWithAGigECamera)
{
    const struct {
        int iIndex, iOthers, iGigE;
    } kRows[] = { { 0, 350, 250 }, { 1, 200, 100 }, { 2, 200, 60 }, { 3, 150, 30 } };
    for (const auto& row : kRows) {
        EXPECT_EQ(HighestRateOfSize(row.iIndex, false), row.iOthers);
        EXPECT_EQ(HighestRateOfSize(row.iIndex, true), row.iGigE);
    }
    EXPECT_EQ(HighestRateOfSize(4, false), std::nullopt);
    EXPECT_EQ(HighestRateOfSize(-1, true), std::nullopt);
}

TEST(HighestFrameRate, AsksEveryCameraAndRecomputesTheRecordTimes)
{
    Bench usb("simulated:GS3-U3-23S6M+FL3-U3-13E4C");
    int iRate = 0;
    EXPECT_TRUE(HighestFrameRate(usb.Doc(), 1, iRate));
    EXPECT_EQ(iRate, 200);
    EXPECT_EQ(usb.Parameters().m_strCameraQuery, "この解像度の最大ＦＰＳは、(200)fpsです。\n");
    const std::uint64_t uiHeldKiB = usb.Doc().m_store.m_arena->ResidentKiB();
    EXPECT_EQ(usb.Parameters().m_iMaxRecordSec, MaxRecordSeconds(usb.m_test.m_memory.AvailableKiB() + uiHeldKiB, 2, 1));

    Bench mixed("simulated:GS3-U3-23S6M+GS3-PGE-23S6C");
    EXPECT_TRUE(HighestFrameRate(mixed.Doc(), 1, iRate));
    EXPECT_EQ(iRate, 100);
}

TEST(HighestFrameRate, KnowsOnlySixModelsAndFourSizes)
{
    Bench other("simulated:FL3-U3-13Y3M+GRAS-03K2");
    int iRate = 77;
    EXPECT_FALSE(HighestFrameRate(other.Doc(), 3, iRate));
    EXPECT_EQ(iRate, 77);
    const std::uint64_t uiHeldKiB = other.Doc().m_store.m_arena->ResidentKiB();
    EXPECT_EQ(
        other.Parameters().m_iMaxRecordSec, MaxRecordSeconds(other.m_test.m_memory.AvailableKiB() + uiHeldKiB, 2, 0));
    EXPECT_TRUE(other.Messages().empty());

    Bench known("simulated:FL3-U3-13Y3M");
    EXPECT_FALSE(HighestFrameRate(known.Doc(), 4, iRate));
    EXPECT_EQ(iRate, 77);
}

TEST(HighestFrameRate, ReportsACameraThatDoesNotAnswer)
{
    Bench bench("simulated:2xFL3-U3-13Y3M");
    bench.m_library.Fail({ .eOperation = Operation::GetCameraInfo, .iCamera = 1 });
    int iRate = 77;
    EXPECT_FALSE(HighestFrameRate(bench.Doc(), 1, iRate));
    EXPECT_EQ(iRate, 77);
    EXPECT_EQ(bench.Messages(), Texts { "ｶﾒﾗ情報の取得に失敗しました。(20)\n" });
    EXPECT_GT(bench.Parameters().m_iMaxRecordSec[0], 0); // of the smallest size
}

} // namespace
} // namespace vireo::test
