// Whole captures of simulated cameras: what the core says of a take is held against the bar codes, which tell
// when each frame was really exposed.
#include "capture/recording_rules.h"
#include "simulated_capture.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

using namespace vireo;
using namespace vireo::test;

namespace {

/// Every camera's frame i was exposed at one moment, and they follow each other without a gap.
void ExpectLocked(SimulatedCapture& capture, std::uint32_t uiPeriodUs)
{
    const std::vector<std::uint32_t> first = capture.Codes(0);
    ASSERT_FALSE(first.empty());
    for (std::size_t i = 1; i < first.size(); ++i)
        EXPECT_NEAR(first[i] - first[i - 1], uiPeriodUs, 2) << "frame " << i;
    for (std::size_t c = 1; c < capture.Cameras(); ++c)
        EXPECT_EQ(capture.Codes(c), first) << "camera " << c;
}

/// The frames at which a camera's exposures leave a hole, from the bar codes.
std::vector<Gap> GapsInCodes(SimulatedCapture& capture, std::size_t c, std::uint32_t uiPeriodUs)
{
    const std::vector<std::uint32_t> codes = capture.Codes(c);
    std::vector<Gap> gaps;
    for (std::size_t i = 1; i < codes.size(); ++i) {
        const int iMissing = static_cast<int>((codes[i] - codes[i - 1] + uiPeriodUs / 2) / uiPeriodUs) - 1;
        if (iMissing > 0)
            gaps.push_back({ static_cast<int>(i), iMissing });
    }
    return gaps;
}

void ExpectInSync(SimulatedCapture& capture)
{
    const TakeReport report = capture.Report();
    EXPECT_EQ(report.eVerdict, Verdict::InSync) << report.strReason;
    EXPECT_EQ(report.uiMissed, 0U);
    EXPECT_EQ(report.uiOutOfSync, 0U);
    for (const CameraReport& camera : report.cameras) {
        EXPECT_EQ(camera.iFrames, capture.Frames());
        EXPECT_TRUE(camera.gaps.empty());
    }
    EXPECT_TRUE(capture.Window().MessageTexts().empty());
}

/// Only camera `c` has gaps, and they are those that the bar codes show.
void ExpectGapsOf(SimulatedCapture& capture, std::size_t c, std::uint32_t uiPeriodUs, int iMissing)
{
    const TakeReport report = capture.Report();
    EXPECT_EQ(report.eVerdict, Verdict::FramesMissed) << report.strReason;
    ASSERT_EQ(report.cameras.size(), capture.Cameras());
    for (std::size_t k = 0; k < report.cameras.size(); ++k) {
        EXPECT_EQ(report.cameras[k].gaps, GapsInCodes(capture, k, uiPeriodUs)) << "camera " << k;
        int iSum = 0;
        for (const Gap& gap : report.cameras[k].gaps)
            iSum += gap.iMissing;
        EXPECT_EQ(iSum, k == c ? iMissing : 0) << "camera " << k;
    }
}

} // namespace

// ---- Takes without a fault

TEST(LockedCapture, TheReportNumbersTheCamerasAsTheTakeDid)
{
    SimulatedCapture capture({ .strSource = "simulated:2xFL3-U3-13Y3M" });
    ASSERT_TRUE(capture.Record());
    const int iFirst = capture.Flags().m_running.iFirstCamera;
    capture.Doc().m_parameters.InitialCameraNumber = iFirst + 4; // for the next take
    const TakeReport report = capture.Report();
    ASSERT_EQ(report.cameras.size(), 2U);
    EXPECT_EQ(report.cameras[0].iNumber, iFirst);
    EXPECT_EQ(report.cameras[1].iNumber, iFirst + 1);
}

TEST(LockedCapture, OneToFourCamerasAreLockedFromTheFirstFrame)
{
    for (const char* pSource : { "simulated:FL3-U3-13Y3M", "simulated:2xGS3-U3-23S6M", "simulated:3xFL3-U3-13E4C",
             "simulated:4xFL3-U3-13Y3M", "simulated:2xGS3-U3-23S6M+FL3-U3-13Y3M+GS3-PGE-23S6C" }) {
        SCOPED_TRACE(pSource);
        SimulatedCapture capture({ .strSource = pSource });
        ASSERT_TRUE(capture.Record());
        EXPECT_EQ(capture.Frames(), 100);
        ExpectLocked(capture, 10'000);
        ExpectInSync(capture);
    }
}

TEST(LockedCapture, EveryListedRateIsKept)
{
    for (const int iFps : { 30, 60, 120, 250, 400 }) {
        SCOPED_TRACE(iFps);
        SimulatedCapture capture({ .strSource = "simulated:2xFL3-U3-13Y3M", .iFps = iFps });
        ASSERT_TRUE(capture.Record());
        EXPECT_EQ(capture.Frames(), iFps);
        ExpectLocked(capture, 1'000'000U / static_cast<unsigned>(iFps));
        ExpectInSync(capture);
    }
}

TEST(LockedCapture, GigECamerasAreLockedAsWell)
{
    SimulatedCapture capture({ .strSource = "simulated:2xGS3-PGE-23S6M", .iFps = 200 });
    ASSERT_TRUE(capture.Record());
    ExpectLocked(capture, 5'000);
    ExpectInSync(capture);
}

TEST(LockedCapture, ARecordingIsRightAfterTheRingHasTurned)
{
    for (const std::uint64_t uiLive : { 162U, 163U, 164U, 165U, 340U }) {
        SCOPED_TRACE(uiLive);
        SimulatedCapture capture({ .strSource = "simulated:3xFL3-U3-13Y3M" });
        ASSERT_TRUE(capture.Record(uiLive));
        ExpectLocked(capture, 10'000);
        ExpectInSync(capture);
    }
}

TEST(LockedCapture, ARecordingThatStartsByItselfIsLockedFromTheFirstExposure)
{
    SimulatedCapture capture({ .strSource = "simulated:3xFL3-U3-13Y3M", .iCoopSwitches = 10 });
    ASSERT_TRUE(capture.WaitStopped());
    ExpectLocked(capture, 10'000);
    ExpectInSync(capture);
}

TEST(LockedCapture, WaitingForTheTriggerRecordsFromTheFirstEdge)
{
    SimulatedCapture capture({ .strFaults = "trigger:100@500", .bTriggerWait = true });
    const ClockTime prepared = capture.GetClock().Now();
    ASSERT_TRUE(capture.WaitStopped());
    EXPECT_GE(capture.GetClock().Now() - prepared, 1400 * kNsPerMs);
    ExpectLocked(capture, 10'000);
    ExpectInSync(capture);
}

TEST(LockedCapture, ATriggerSlowerThanTheFrameRateIsNoLoss)
{
    SimulatedCapture capture(
        { .strSource = "simulated:3xFL3-U3-13Y3M", .strFaults = "trigger:50@100", .bTriggerWait = true });
    ASSERT_TRUE(capture.WaitStopped());
    ExpectLocked(capture, 20'000);
    const TakeReport report = capture.Report();
    EXPECT_EQ(report.eVerdict, Verdict::InSync) << report.strReason;
    // The counters of the status bar know the frame rate only: every interval is a long one to them.
    EXPECT_EQ(report.uiMissed, static_cast<std::uint32_t>(capture.Codes(0).size()) - 1);
}

TEST(LockedCapture, ALossUnderAnOutsideTriggerIsToldAtItsFrame)
{
    SimulatedCapture capture(
        { .strSource = "simulated:3xFL3-U3-13Y3M", .strFaults = "trigger:100@500;drop:2@60x2", .bTriggerWait = true });
    ASSERT_TRUE(capture.WaitStopped());
    ExpectGapsOf(capture, 2, 10'000, 2);
}

TEST(LockedCapture, ATriggerThatRunsBeforeTheCamerasIsNeverCalledInSyncUnlessItIs)
{
    for (const char* pFaults :
        { "trigger:100", "trigger:99", "trigger:37", "trigger:100;drop:1@0", "trigger:100;missedge:2@0" }) {
        SCOPED_TRACE(pFaults);
        SimulatedCapture capture(
            { .strSource = "simulated:3xFL3-U3-13Y3M", .strFaults = pFaults, .bTriggerWait = true });
        ASSERT_TRUE(capture.WaitStopped());
        bool bLocked = true;
        for (std::size_t c = 1; c < capture.Cameras(); ++c)
            bLocked = bLocked && capture.Codes(c) == capture.Codes(0);
        const TakeReport report = capture.Report();
        EXPECT_EQ(report.eVerdict == Verdict::InSync, bLocked) << report.strReason;
    }
}

// ---- Losses

TEST(LockedCapture, LossesOfCameraZeroAreCountedAndTold)
{
    SimulatedCapture capture({ .strFaults = "drop:0@70x3" });
    ASSERT_TRUE(capture.Record());
    EXPECT_EQ(capture.Flags().m_uiMissedCount, 3U);
    ExpectGapsOf(capture, 0, 10'000, 3);
}

TEST(LockedCapture, ALossOfAnotherCameraIsToldAtItsFrame)
{
    SimulatedCapture capture({ .strFaults = "drop:2@70" });
    ASSERT_TRUE(capture.Record());
    EXPECT_EQ(capture.Flags().m_uiMissedCount, 0U) << "the counter is camera 0's";
    ExpectGapsOf(capture, 2, 10'000, 1);
    EXPECT_EQ(capture.Report().cameras[2].iLostBefore, 0);
}

TEST(LockedCapture, ALossBeforeTheRecordingShiftsNothing)
{
    SimulatedCapture capture({ .strFaults = "drop:2@5;drop:0@9x2" });
    ASSERT_TRUE(capture.Record());
    ExpectLocked(capture, 10'000);
    ExpectInSync(capture);
    const TakeReport report = capture.Report();
    EXPECT_EQ(report.cameras[2].iLostBefore, 1);
    EXPECT_EQ(report.cameras[0].iLostBefore, 2);
    EXPECT_EQ(report.cameras[1].iLostBefore, 0);
}

TEST(LockedCapture, ALossWhereTheRecordingBeginsIsNeverCalledInSync)
{
    for (const int iCamera : { 0, 1 })
        for (int iExposure = 18; iExposure < 26; ++iExposure) {
            SCOPED_TRACE(testing::Message() << "camera " << iCamera << ", exposure " << iExposure);
            SimulatedCapture capture({ .strSource = "simulated:2xFL3-U3-13Y3M",
                .strFaults = "drop:" + std::to_string(iCamera) + "@" + std::to_string(iExposure) });
            ASSERT_TRUE(capture.Record());
            const bool bLocked = capture.Codes(0) == capture.Codes(1);
            const TakeReport report = capture.Report();
            EXPECT_EQ(report.eVerdict, bLocked ? Verdict::InSync : Verdict::FramesMissed) << report.strReason;
        }
}

TEST(LockedCapture, TheVeryFirstExposuresMayBeLost)
{
    // Nothing of the camera's own tells that a frame came before its first; the arrival does.
    for (const char* pFaults : { "drop:0@0", "drop:1@0", "drop:0@1", "drop:1@1" }) {
        SCOPED_TRACE(pFaults);
        SimulatedCapture capture({ .strSource = "simulated:2xFL3-U3-13Y3M", .strFaults = pFaults });
        ASSERT_TRUE(capture.Record());
        const bool bLocked = capture.Codes(0) == capture.Codes(1);
        const TakeReport report = capture.Report();
        EXPECT_EQ(report.eVerdict, bLocked ? Verdict::InSync : Verdict::OutOfSync) << report.strReason;
    }
}

TEST(LockedCapture, AnIncompleteFrameIsDroppedAndCountedAndTheTakeGoesOn)
{
    SimulatedCapture capture({ .strFaults = "torn:1@70x2" });
    ASSERT_TRUE(capture.Record());
    EXPECT_TRUE(capture.Window().MessageTexts().empty());
    ExpectGapsOf(capture, 1, 10'000, 2);
    EXPECT_EQ(capture.Report().cameras[1].statistics.incomplete, 2U);
}

TEST(LockedCapture, AnUnansweredTriggerIsToldAtItsFrame)
{
    SimulatedCapture capture({ .strFaults = "missedge:1@70" });
    ASSERT_TRUE(capture.Record());
    ExpectGapsOf(capture, 1, 10'000, 1);
}

// ---- Partings

TEST(LockedCapture, ACameraThatFallsOutOfItsTriggerIsOutOfSync)
{
    SimulatedCapture capture({ .strFaults = "untrigger:3@70" });
    ASSERT_TRUE(capture.Record());
    const TakeReport report = capture.Report();
    EXPECT_NE(capture.Codes(3), capture.Codes(0));
    EXPECT_EQ(report.eVerdict, Verdict::OutOfSync) << report.strReason;
    EXPECT_NE(report.strReason.find("camera 4"), std::string::npos) << report.strReason;
    EXPECT_LT(report.cameras[2].dMaxOffsetUs, 5.0);
}

TEST(LockedCapture, ACameraThatExposesMoreThanAPeriodLateIsOutOfSync)
{
    SimulatedCapture capture({ .strSource = "simulated:3xFL3-U3-13Y3M", .strFaults = "phase:2=3000", .iFps = 400 });
    ASSERT_TRUE(capture.Record());
    const TakeReport report = capture.Report();
    EXPECT_EQ(report.eVerdict, Verdict::OutOfSync) << report.strReason;
    EXPECT_NEAR(report.cameras[2].dMaxOffsetUs, 3000.0, 5.0);
}

TEST(LockedCapture, ClocksOfTheirOwnAreNoFault)
{
    for (const char* pFaults : { "drift:1=100", "skew:1=777777", "stall:1@70=30", "drift:0=-150;drift:1=150" }) {
        SCOPED_TRACE(pFaults);
        SimulatedCapture capture({ .strSource = "simulated:2xFL3-U3-13Y3M", .strFaults = pFaults });
        ASSERT_TRUE(capture.Record());
        ExpectLocked(capture, 10'000);
        ExpectInSync(capture);
    }
}

TEST(LockedCapture, AClockHundredPpmFastIsInSyncForTwentySeconds)
{
    SimulatedCapture capture({ .strSource = "simulated:2xFL3-U3-13Y3M", .strFaults = "drift:1=100", .iFps = 400 });
    StopGrab(capture.Doc());
    capture.KeepHeadersOnly(20);
    ASSERT_TRUE(Prepare(capture.Doc(), false));
    ASSERT_TRUE(capture.Record());
    EXPECT_EQ(capture.Frames(), 8000);
    const TakeReport report = capture.Report();
    EXPECT_EQ(report.eVerdict, Verdict::InSync) << report.strReason;
    EXPECT_NEAR(report.cameras[1].dClockPpm, 100.0, 5.0);
}

TEST(LockedCapture, AClockThatNoCrystalExplainsIsOutOfSync)
{
    SimulatedCapture capture({ .strSource = "simulated:2xFL3-U3-13Y3M", .strFaults = "drift:1=2000" });
    ASSERT_TRUE(capture.Record());
    const TakeReport report = capture.Report();
    EXPECT_EQ(report.eVerdict, Verdict::OutOfSync) << report.strReason;
    EXPECT_NEAR(report.cameras[1].dClockPpm, 2000.0, 5.0);
}

// ---- Cameras that fail

TEST(LockedCapture, ASilentCameraLeavesTheOthersFrames)
{
    for (const int iCamera : { 0, 3 }) {
        SCOPED_TRACE(iCamera);
        SimulatedCapture capture({ .strFaults = "hang:" + std::to_string(iCamera) + "@70" });
        const ClockTime before = capture.GetClock().Now();
        ASSERT_TRUE(capture.Record());
        EXPECT_LT(capture.GetClock().Now() - before, 6 * kNsPerSecond);
        ASSERT_EQ(capture.Window().MessageTexts().size(), 1U);
        EXPECT_NE(capture.Window().MessageTexts()[0].find("(18)"), std::string::npos);
        EXPECT_GT(capture.Frames(), 30);
        EXPECT_LT(capture.Frames(), 60);
        EXPECT_TRUE(capture.Store().m_bRecordDone[0]);
        ExpectLocked(capture, 10'000);
        const TakeReport report = capture.Report();
        EXPECT_EQ(report.eVerdict, Verdict::FramesMissed) << "what was asked for is not there";
        EXPECT_EQ(report.strReason, "cut short: " + std::to_string(capture.Frames()) + " of 100 frames");
    }
}

TEST(LockedCapture, AnUnpluggedCameraEndsTheTakeWithWhatThereIs)
{
    for (const int iCamera : { 0, 2 }) {
        SCOPED_TRACE(iCamera);
        SimulatedCapture capture({ .strFaults = "unplug:" + std::to_string(iCamera) + "@70" });
        ASSERT_TRUE(capture.Record());
        EXPECT_NE(capture.Window().MessageTexts()[0].find("(12)"), std::string::npos);
        EXPECT_GT(capture.Frames(), 30);
        EXPECT_LT(capture.Frames(), 60);
        ExpectLocked(capture, 10'000);
        for (std::size_t c = 0; c < 4; ++c)
            EXPECT_TRUE(capture.Store().m_bRecordDone[c]);
    }
}

TEST(LockedCapture, ACameraUnpluggedWhileLiveEndsTheCapture)
{
    SimulatedCapture capture({ .strFaults = "unplug:1@30" });
    ASSERT_TRUE(capture.WaitStopped());
    EXPECT_NE(capture.Window().MessageTexts()[0].find("カメラ２のデータ取得に失敗しました(12)"), std::string::npos);
    EXPECT_FALSE(capture.Store().m_bRecordDone[0]);
    EXPECT_TRUE(capture.Flags().m_bThreadEnded[0]);
}

// ---- Calls of the library that fail

TEST(LockedCapture, AFetchThatFailsIsToldOnce)
{
    SimulatedCapture capture({ .strFaults = "error:RetrieveBuffer:20@120#2" });
    ASSERT_TRUE(capture.WaitStopped());
    EXPECT_EQ(capture.Window().MessageTexts(), std::vector<std::string> { "カメラ３のデータ取得に失敗しました(20)\n" });
    EXPECT_TRUE(Prepare(capture.Doc(), false)) << "the program goes on";
    ASSERT_TRUE(capture.Record());
    ExpectLocked(capture, 10'000);
}

// ---- Older cameras

TEST(LockedCapture, FourOlderCamerasRunFreeOnOneBusAndAreChecked)
{
    SimulatedCapture capture({ .strSource = "simulated:4xGRAS-03K2" });
    ASSERT_EQ(capture.Flags().m_iCaptureMode, capture_mode::kLinear);
    ASSERT_TRUE(capture.Record());
    ExpectLocked(capture, 10'000);
    ExpectInSync(capture);
}

TEST(LockedCapture, OlderCamerasOfOneBusThatDriftAreFound)
{
    // The clock of a drifting camera leaves the bus's, so its times say nothing about its exposures.
    SimulatedCapture capture({ .strSource = "simulated:2xGRAS-03K2", .strFaults = "drift:1=5000" });
    ASSERT_TRUE(capture.Record());
    EXPECT_NE(capture.Codes(0), capture.Codes(1));
    EXPECT_NE(capture.Report().eVerdict, Verdict::InSync);
}

TEST(LockedCapture, FreeRunningCamerasWithClocksOfTheirOwnAreNotChecked)
{
    SimulatedCapture capture({ .strSource = "simulated:GS3-U3-23S6M@17000001+GRAS-03K2" });
    ASSERT_EQ(capture.Flags().m_iCaptureMode, capture_mode::kLinear);
    ASSERT_TRUE(capture.Record());
    const TakeReport report = capture.Report();
    EXPECT_EQ(report.eVerdict, Verdict::NotChecked) << report.strReason;
    EXPECT_FALSE(report.strReason.empty());
}
