#include "capture/frame_store_alloc.h"
#include "capture/recording_rules.h"
#include "capture/sync_check.h"
#include "support/test_platform.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

using namespace vireo;
using namespace vireo::test;

namespace {

constexpr int kFps = 100;
constexpr int kSlots = 164;
constexpr double kTick = 1.0 / (8000.0 * 3072.0); ///< s, resolution of a stamp

bool Never(std::size_t) { return false; }

/// A store whose slots carry times that a test writes down; every camera is done.
class SyncCheck : public testing::Test {
protected:
    SyncCheck()
        : m_app(m_test.m_platform)
        , m_doc(m_app)
    {
        UseCameras(2);
    }
    void UseCameras(unsigned int uiCameras)
    {
        m_doc.m_cameras.m_uiNumCameras = uiCameras;
        m_doc.m_parameters.m_iFps = kFps;
        m_doc.m_parameters.m_iRecordSec = 1;
        AllocateFrameStore(m_doc);
        m_doc.m_capture.m_running.iFps = kFps;
        Store().m_iRecordTarget = RecordTargetFor(kSlots);
        for (unsigned int c = 0; c < uiCameras; ++c) {
            Store().m_bRecordDone[c] = true;
            Store().m_istartFrame[c] = 20;
            for (int i = 0; i < kSlots; ++i)
                Stamp(c, i, 10.0 + i / static_cast<double>(kFps));
        }
    }
    FrameStore& Store() { return m_doc.m_store; }
    CaptureFlags& Flags() { return m_doc.m_capture; }
    void Stamp(std::size_t c, int iSlot, double dSeconds, std::uint8_t pins = 0)
    {
        const auto uiTicks = static_cast<std::uint64_t>(std::llround(dSeconds / kTick));
        const auto uiValue = static_cast<std::uint32_t>(
            uiTicks / (8000 * 3072) % 128 << 25 | uiTicks / 3072 % 8000 << 12 | uiTicks % 3072);
        std::uint8_t* pSlot = Store().Slot(c, iSlot);
        for (int i = 0; i < 4; ++i)
            pSlot[i] = static_cast<std::uint8_t>(uiValue >> (24 - 8 * i));
        pSlot[4] = pins;
    }
    /// Camera c's frames are all that much later than camera 0's.
    void Shift(std::size_t c, double dSeconds)
    {
        for (int i = 0; i < kSlots; ++i)
            Stamp(c, i, 10.0 + i / static_cast<double>(kFps) + dSeconds);
    }
    std::vector<std::string> Texts() { return m_test.m_window.MessageTexts(); }

    TestPlatform m_test;
    CVireoApp m_app;
    CVireoDoc m_doc;
};

} // namespace

TEST_F(SyncCheck, StartsUpTo250MicrosecondsApartAreAlignedAsTheyAre)
{
    const struct {
        const char* m_strName;
        double m_dTicks;
        int m_iStart; ///< of camera 1 afterwards
        bool m_bTold;
    } kRows[] = {
        { "together", 0, 20, false },
        { "exactly 250 us", 6144, 20, false },
        { "250 us the other way", -6144, 20, false },
        { "a tick more, and no frame is nearer", 6145, 20, true },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.m_strName);
        m_test.m_window.Clear();
        Store().m_istartFrame[1] = 20;
        Shift(1, row.m_dTicks * kTick);
        EXPECT_TRUE(AlignStartFrames(m_doc, Never));
        EXPECT_EQ(Store().m_istartFrame[1], row.m_iStart);
        EXPECT_EQ(!Texts().empty(), row.m_bTold);
    }
}

TEST_F(SyncCheck, TheSearchFindsTheFrameWithinThreeBackAndSixOn)
{
    const struct {
        int m_iFramesLate; ///< camera 1's slots against camera 0's
        int m_iStart;
        bool m_bTold;
    } kRows[] = { { -3, 23, false }, { -6, 26, false }, { 3, 17, false }, { 1, 19, false }, { 4, 20, true },
        { -7, 20, true } };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.m_iFramesLate);
        m_test.m_window.Clear();
        Store().m_istartFrame[1] = 20;
        Shift(1, row.m_iFramesLate / static_cast<double>(kFps));
        EXPECT_TRUE(AlignStartFrames(m_doc, Never));
        EXPECT_EQ(Store().m_istartFrame[1], row.m_iStart);
        EXPECT_EQ(
            Texts(), row.m_bTold ? std::vector<std::string> { "sync Match Error[1]" } : std::vector<std::string> {});
    }
}

TEST_F(SyncCheck, AFrameOfTheSearchMustComeCloserThan250Microseconds)
{
    Shift(1, 0.01 + 6144 * kTick);
    EXPECT_TRUE(AlignStartFrames(m_doc, Never));
    EXPECT_EQ(Texts(), std::vector<std::string> { "sync Match Error[1]" });
    m_test.m_window.Clear();
    Shift(1, 0.01 + 6143 * kTick);
    EXPECT_TRUE(AlignStartFrames(m_doc, Never));
    EXPECT_EQ(Store().m_istartFrame[1], 19);
    EXPECT_TRUE(Texts().empty());
}

TEST_F(SyncCheck, MovingBackAcrossTheWrapLandsOneSlotShort)
{
    // Three back from slot 1 of 164 begins the search at 161; the frame that fits is put there.
    Store().m_istartFrame[1] = 1;
    Stamp(1, 1, 50.0);
    const double dStart0 = 10.0 + 20.0 / kFps;
    for (int i = 0; i < kSlots; ++i)
        Stamp(1, i, i == 161 ? dStart0 : 50.0);
    EXPECT_TRUE(AlignStartFrames(m_doc, Never));
    EXPECT_EQ(Store().m_istartFrame[1], 161);
    // A frame at 162 is within the ten, one at 160 is not.
    Store().m_istartFrame[1] = 1;
    Stamp(1, 161, 50.0);
    Stamp(1, 160, dStart0);
    EXPECT_TRUE(AlignStartFrames(m_doc, Never));
    EXPECT_EQ(Store().m_istartFrame[1], 1);
    EXPECT_EQ(Texts().size(), 1U);
}

TEST_F(SyncCheck, CameraZeroBeginsWhereItsInputPinsChange)
{
    const struct {
        int m_iChange; ///< slot from which the pins are high
        int m_iStart;
    } kRows[] = { { 18, 18 }, { 20, 20 }, { 26, 26 }, { 27, 20 }, { 17, 20 } };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.m_iChange);
        Store().m_istartFrame[0] = Store().m_istartFrame[1] = 20;
        for (int i = 0; i < kSlots; ++i)
            Stamp(0, i, 10.0 + i / static_cast<double>(kFps), i >= row.m_iChange ? 0x20 : 0x00);
        EXPECT_TRUE(AlignStartFrames(m_doc, Never));
        EXPECT_EQ(Store().m_istartFrame[0], row.m_iStart);
        EXPECT_EQ(Store().m_istartFrame[1], row.m_iStart) << "the others follow it";
    }
    // Only the top three bits are pins.
    Store().m_istartFrame[0] = 20;
    for (int i = 0; i < kSlots; ++i)
        Stamp(0, i, 10.0 + i / static_cast<double>(kFps), i % 2 == 0 ? 0x1F : 0x00);
    EXPECT_TRUE(AlignStartFrames(m_doc, Never));
    EXPECT_EQ(Store().m_istartFrame[0], 20);
}

TEST_F(SyncCheck, EveryCameraIsAlignedAndToldByItsOwnNumber)
{
    UseCameras(4);
    Shift(1, 0.5);
    Shift(2, -0.02);
    Shift(3, 0.7);
    EXPECT_TRUE(AlignStartFrames(m_doc, Never));
    EXPECT_EQ(Texts(), (std::vector<std::string> { "sync Match Error[1]", "sync Match Error[3]" }));
    EXPECT_EQ(Store().m_istartFrame[1], 20);
    EXPECT_EQ(Store().m_istartFrame[2], 22);
}

TEST_F(SyncCheck, AConstantOffsetCountsOnce)
{
    Shift(1, 1.5 / kFps);
    Flags().m_uiMissedCount = 77;
    EXPECT_TRUE(SyncCheck2(m_doc, Never));
    EXPECT_EQ(Flags().m_uiOutOfSyncCount, 1U);
    EXPECT_EQ(Flags().m_uiMissedCount, 1U);
    EXPECT_EQ(Texts(), std::vector<std::string> { "同期がずれています。1\n" });
    EXPECT_TRUE(m_test.m_log.Contains("SyncCheck2()->start frame1 20 20 10.200000 10.215000 0.015000 0.010500"));
}

TEST_F(SyncCheck, OnlyAGrowingDriftCountsAgain)
{
    UseCameras(3);
    // Grows by a tenth of a period a frame: from the eleventh frame on beyond 1.05 periods.
    for (int i = 0; i < kSlots; ++i)
        Stamp(2, i, 10.0 + i / static_cast<double>(kFps) + (i - 20) * 0.1 / kFps);
    EXPECT_TRUE(SyncCheck2(m_doc, Never));
    EXPECT_EQ(Flags().m_uiOutOfSyncCount, 89U);
    EXPECT_EQ(Flags().m_uiMissedCount, 89U);
}

TEST_F(SyncCheck, OnePeriodApartIsWithinTheTolerance)
{
    Shift(1, 1.0 / kFps);
    EXPECT_TRUE(SyncCheck2(m_doc, Never));
    EXPECT_EQ(Flags().m_uiOutOfSyncCount, 0U);
    EXPECT_TRUE(Texts().empty());
}

TEST_F(SyncCheck, TheWrapOfTheCycleTimeIsNoDrift)
{
    for (int i = 0; i < kSlots; ++i) {
        Stamp(0, i, 127.6 + i / static_cast<double>(kFps));
        Stamp(1, i, 127.6 + i / static_cast<double>(kFps) - 0.0001); // wraps a frame later
    }
    EXPECT_TRUE(AlignStartFrames(m_doc, Never));
    EXPECT_TRUE(SyncCheck2(m_doc, Never));
    EXPECT_EQ(Flags().m_uiOutOfSyncCount, 0U);
    // A start that lies beyond the wrap on one camera only is found as well.
    Store().m_istartFrame[0] = Store().m_istartFrame[1] = 40; // 128.0 s
    for (int i = 0; i < kSlots; ++i)
        Stamp(1, i, 127.6 + (i + 2) / static_cast<double>(kFps));
    EXPECT_TRUE(AlignStartFrames(m_doc, Never));
    EXPECT_EQ(Store().m_istartFrame[1], 38);
    EXPECT_TRUE(Texts().empty());
}

TEST_F(SyncCheck, TheRecordingIsReadAcrossTheRingsEnd)
{
    // Recordings of 100 frames from slot 120 go on at slot 0; a frame there that disagrees is found.
    Store().m_istartFrame[0] = Store().m_istartFrame[1] = 120;
    Stamp(1, 10, 10.0 + 10.0 / kFps + 0.02);
    EXPECT_TRUE(SyncCheck2(m_doc, Never));
    EXPECT_EQ(Flags().m_uiOutOfSyncCount, 1U);
    EXPECT_TRUE(m_test.m_log.Contains("SyncCheck2()->start frame1 10 10 "));
}

TEST_F(SyncCheck, WithOneCameraNothingIsCounted)
{
    UseCameras(1);
    EXPECT_TRUE(AlignStartFrames(m_doc, Never));
    EXPECT_TRUE(SyncCheck2(m_doc, Never));
    EXPECT_EQ(Flags().m_uiOutOfSyncCount, 0U);
    EXPECT_EQ(Flags().m_uiMissedCount, 0U);
    EXPECT_TRUE(Texts().empty());
}

TEST_F(SyncCheck, ItWaitsForTheLastFramesOfEveryCamera)
{
    UseCameras(3);
    Store().m_bRecordDone[2] = false;
    Shift(2, 0.5);
    int iAsked = 0;
    const auto doneAfterAWhile = [&](std::size_t c) {
        if (c == 2 && ++iAsked == 20)
            Store().m_bRecordDone[2] = true;
        return false;
    };
    EXPECT_TRUE(AlignStartFrames(m_doc, doneAfterAWhile));
    EXPECT_GE(iAsked, 20);
    EXPECT_GE(m_test.m_clock.Now(), 19 * kNsPerMs) << "it polls, it does not spin";
    EXPECT_EQ(Texts().size(), 1U);
}

TEST_F(SyncCheck, ACheckThatWasBrokenOffTellsNothing)
{
    UseCameras(3);
    Store().m_bRecordDone[2] = false;
    Shift(2, 0.5);
    Shift(1, 1.5 / kFps);
    const auto abandoned = [](std::size_t c) { return c == 2; };
    CheckSynchronisation(m_doc, abandoned);
    EXPECT_EQ(Store().m_istartFrame[2], 20);
    EXPECT_FALSE(SyncCheck2(m_doc, abandoned));
    for (const std::string& strText : Texts())
        EXPECT_EQ(strText.find("同期"), std::string::npos) << strText;
}

TEST_F(SyncCheck, ACheckWhoseAlignmentWasBrokenOffCountsNothingEither)
{
    UseCameras(3);
    Store().m_bRecordDone[2] = false;
    Shift(1, 1.5 / kFps);
    // The stop comes while the alignment waits; then the last frames are there, too late for a verdict.
    const auto stopped = [this](std::size_t c) {
        if (c != 2)
            return false;
        Store().m_bRecordDone[2] = true;
        return true;
    };
    CheckSynchronisation(m_doc, stopped);
    EXPECT_EQ(Flags().m_uiOutOfSyncCount, 0U);
    EXPECT_EQ(Flags().m_uiMissedCount, 0U);
    EXPECT_FALSE(m_test.m_log.Contains("SyncCheck2()"));
}

TEST_F(SyncCheck, TheCheckFoldsOneIntervalIntoTheMeasuredRate)
{
    m_test.m_clock.SleepMs(50);
    Flags().m_llPreviousCount = m_test.m_clock.Now() - 10 * kNsPerMs;
    Flags().m_dMeasuredFps = 0.0;
    EXPECT_TRUE(SyncCheck2(m_doc, Never));
    EXPECT_NEAR(Flags().m_dMeasuredFps, 10.0, 1e-6);
}
