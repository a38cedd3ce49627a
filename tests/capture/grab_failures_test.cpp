#include "capture/grab_threads.h"
#include "capture/take_report.h"
#include "timed_stop.h"

#include <algorithm>
#include <gtest/gtest.h>

using namespace vireo;
using namespace vireo::test;

// ---- Fetches that fail

namespace {

struct FetchFailure {
    const char* m_strName;
    int m_iMode;
    std::size_t m_uiCamera;
    bool m_bTriggerWait;
    const char* m_strText;
};

class GrabFailure : public testing::TestWithParam<FetchFailure> { };

const FetchFailure kFetchFailures[] = {
    { "RingMaster", capture_mode::kRing, 0, false, "カメラ１のデータ取得に失敗しました(20)\n" },
    { "RingSlave1NamesItsWriteIndex", capture_mode::kRing, 1, false, "カメラ２のデータ取得に失敗しました(20) (7)\n" },
    { "RingSlave2", capture_mode::kRing, 2, false, "カメラ３のデータ取得に失敗しました(20)\n" },
    { "RingSlave3", capture_mode::kRing, 3, false, "カメラ４のデータ取得に失敗しました(20)\n" },
    { "LinearMaster", capture_mode::kLinear, 0, false, "[0]->RetrieveBuffer()に失敗1(20)\n" },
    { "LinearMasterWatchingTheTrigger", capture_mode::kLinear, 0, true, "[0]->RetrieveBuffer()に失敗2(20)\n" },
    { "LinearSlave1", capture_mode::kLinear, 1, false, "[1]->RetrieveBuffer()に失敗(20)\n" },
    { "LinearSlave2", capture_mode::kLinear, 2, false, "[2]->RetrieveBuffer()に失敗(20)\n" },
    { "LinearSlave3", capture_mode::kLinear, 3, false, "[3]->RetrieveBuffer()に失敗(20)\n" },
};

} // namespace

TEST_P(GrabFailure, IsToldOnceAndEndsTheCapture)
{
    const FetchFailure& row = GetParam();
    const bool bLinear = row.m_iMode == capture_mode::kLinear;
    ScriptedCapture capture({ .uiCameras = 4, .strModel = bLinear ? kOlderModel : kLockedModel, .iMode = row.m_iMode });
    capture.Flags().m_bTriggerWaitLinear = row.m_bTriggerWait;
    capture.Cam(row.m_uiCamera).m_fetchErrors[7] = ErrorType::TransportFailed;
    capture.Start(bLinear ? ThreadStartOrder::LowestFirst : ThreadStartOrder::HighestFirst);
    ASSERT_TRUE(capture.WaitStopped());

    EXPECT_EQ(capture.Window().MessageTexts(), Texts({ row.m_strText }));
    EXPECT_TRUE(capture.Test().m_log.Contains("RetrieveBuffer() of camera"));
    EXPECT_EQ(capture.Flags().m_ePhase, CapturePhase::Failed);
    EXPECT_EQ(capture.Flags().m_iCaptureState, capture_state::kLive);
    EXPECT_FALSE(capture.Flags().m_bCapturing);
    EXPECT_GE(capture.Window().Record().iPanelRefreshes, 1);
    EXPECT_TRUE(capture.Window().Record().commands.empty());
    for (std::size_t c = 0; c < 4; ++c) {
        EXPECT_TRUE(capture.Flags().m_bThreadEnded[c]);
        EXPECT_EQ(capture.Cam(c).m_iStops, 1);
        EXPECT_FALSE(capture.Store().m_bRecordDone[c]);
    }
    EXPECT_TRUE(StopGrab(capture.Doc()));
}

INSTANTIATE_TEST_SUITE_P(EveryFetchPoint, GrabFailure, testing::ValuesIn(kFetchFailures),
    [](const auto& row) { return row.param.m_strName; });

TEST(GrabFetch, NothingToDeliverIsSkippedSilentlyAndDoesNotSpin)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    for (int i = 5; i < 205; ++i)
        capture.Cam(1).m_fetchErrors[i] = ErrorType::NothingToDeliver;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(1, 5));
    const ClockTime before = capture.GetClock().Now();
    ASSERT_TRUE(capture.WaitFrames(1, 6));
    EXPECT_GE(capture.GetClock().Now() - before, 190 * kNsPerMs);
    EXPECT_TRUE(capture.Window().MessageTexts().empty());
}

TEST(GrabFetch, OneDroppedFrameCostsNoTime)
{
    ScriptedCapture capture({ .uiCameras = 1 });
    capture.Cam(0).m_fetchErrors[3] = ErrorType::NothingToDeliver;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 20));
    EXPECT_EQ(capture.Store().m_iLostBefore[0], 0);
    // The clock stands while a thread works: a pause before the next fetch would have let its frame wait.
    EXPECT_EQ(capture.Cam(0).m_longestInHand, 0);
}

TEST(GrabFetch, ATimeOutIsAnotherPassForTheMaster)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Cam(0).m_fetchErrors[3] = ErrorType::Timeout;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 10));
    EXPECT_TRUE(capture.Window().MessageTexts().empty());
}

TEST(GrabFetch, ATimeOutIsAFailureForASlave)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Cam(1).m_fetchErrors[3] = ErrorType::Timeout;
    capture.Start();
    ASSERT_TRUE(capture.WaitStopped());
    EXPECT_EQ(capture.Window().MessageTexts(), Texts({ "カメラ２のデータ取得に失敗しました(18) (3)\n" }));
}

TEST(GrabFetch, ACameraThatDoesNotTellItsModelIsTakenForAStrobeCapableOne)
{
    ScriptedCapture capture({ .uiCameras = 2, .strModel = kOlderModel, .iMode = capture_mode::kLinear });
    capture.Cam(0).m_infoResult = ErrorType::TransportFailed;
    capture.Cam(1).m_dClockOffset = 0.5; // the checks at the end would tell
    capture.Start(ThreadStartOrder::LowestFirst);
    ASSERT_TRUE(capture.WaitFrames(0, 5));
    ASSERT_TRUE(capture.Record());
    EXPECT_TRUE(capture.Test().m_log.Contains("GetCameraInfo() of camera 0: error 20"));
    EXPECT_EQ(capture.Flags().m_uiOutOfSyncCount, 0U);
    EXPECT_TRUE(capture.Store().m_bRecordDone[1]);
}

TEST(GrabFetch, APictureThatCannotBeConvertedIsTracedOnceAndRecordedAllTheSame)
{
    ScriptedCapture capture({ .uiCameras = 1 });
    capture.Cam(0).m_uiRows = 2; // more rows than the frame's bytes hold
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 5));
    ASSERT_TRUE(capture.Record());
    const std::vector<std::string> lines = capture.Test().m_log.Lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "Convert() of camera 0: error 14: pixel conversion failed"), 1);
    EXPECT_TRUE(capture.Window().MessageTexts().empty());
    EXPECT_TRUE(capture.Store().m_bRecordDone[0]);
}

// ---- Failures in the middle of a recording

TEST(BrokenRecording, WhatEveryCameraHasIsKept)
{
    ScriptedCapture capture({ .uiCameras = 3 });
    capture.Doc().m_windows.m_bControlPanelShown = true;
    capture.Flags().m_bSaveAfterRecord = true;
    capture.Cam(1).m_fetchErrors[50] = ErrorType::Disconnected;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 10));
    ASSERT_TRUE(capture.Record());
    const int iTarget = capture.Store().m_iRecordTarget;
    int iShortest = kFrames;
    for (std::size_t c = 0; c < 3; ++c)
        iShortest = std::min<int>(iShortest, capture.Store().m_isaveFrameCount[c]);
    EXPECT_EQ(iTarget, iShortest);
    EXPECT_EQ(capture.Store().m_iCutFrom, kFrames);
    EXPECT_GT(iTarget, 30);
    EXPECT_LT(iTarget, 50);
    for (std::size_t c = 0; c < 3; ++c) {
        EXPECT_TRUE(capture.Store().m_bRecordDone[c]);
        EXPECT_EQ(capture.Exposures(c, iTarget), Consecutive(capture.Exposures(0, 1)[0], iTarget));
    }
    EXPECT_EQ(capture.Store().m_uiDoneCameras, 3U);
    EXPECT_EQ(capture.Flags().m_iCaptureState, capture_state::kLive);
    EXPECT_TRUE(capture.Window().Record().commands.empty()) << "no automatic save of a broken recording";
    EXPECT_EQ(capture.Window().MessageTexts().size(), 1U);
}

TEST(BrokenRecording, NothingIsKeptBeforeEveryCameraHasAFrame)
{
    ScriptedCapture capture({ .uiCameras = 3 });
    capture.Cam(2).m_delay += 300 * kNsPerMs; // has not seen the recording begin
    capture.Cam(1).m_fetchErrors[20] = ErrorType::Disconnected;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 10));
    ASSERT_TRUE(capture.Record());
    EXPECT_EQ(capture.Store().m_iRecordTarget, kFrames);
    for (std::size_t c = 0; c < 3; ++c)
        EXPECT_FALSE(capture.Store().m_bRecordDone[c]);
    EXPECT_EQ(capture.Flags().m_iCaptureState, capture_state::kLive);
}

TEST(BrokenRecording, ACooperationRunEndsAsACompleteOne)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    CooperationRequest request;
    request.CooperationMode = true;
    capture.App().SetRequest(request);
    capture.Cam(1).m_fetchErrors[50] = ErrorType::Disconnected;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 10));
    ASSERT_TRUE(capture.Record());
    EXPECT_EQ(capture.Window().Record().iExitTimers, 1);
}

TEST(BrokenRecording, ARecordingThatTheOperatorEndsIsKeptAndNotCalledCut)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 10));
    capture.Store().m_bStartRequest = true;
    ASSERT_TRUE(capture.WaitFrames(0, 40));
    capture.Doc().m_grabThreads->KeepRecording();
    TimeStop(capture);
    EXPECT_EQ(capture.Flags().m_ePhase, CapturePhase::Stopped);
    EXPECT_GT(capture.Store().m_iRecordTarget, 20);
    EXPECT_LT(capture.Store().m_iRecordTarget, 40);
    EXPECT_TRUE(capture.Store().m_bRecordDone[0]);
    EXPECT_EQ(capture.Store().m_iCutFrom, 0);
}

TEST(BrokenRecording, SpareFramesOfOlderCamerasServeTheAlignment)
{
    const struct {
        int iFramesBeyond; ///< the target, when the camera fails
        int iExpected; ///< frames kept
    } kRows[] = { { 20, kFrames }, { 9, kFrames }, { 4, kFrames - 5 }, { -10, kFrames - 19 } };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.iFramesBeyond);
        ScriptedCapture capture({ .uiCameras = 2, .strModel = kOlderModel, .iMode = capture_mode::kLinear });
        capture.Start(ThreadStartOrder::LowestFirst);
        ASSERT_TRUE(capture.WaitFrames(0, 10));
        capture.Store().m_bStartRequest = true;
        ASSERT_TRUE(
            capture.WaitFor([&] { return capture.Store().m_isaveFrameCount[1] >= kFrames + row.iFramesBeyond; }));
        capture.Cam(1).Rewrite(
            [](ScriptedCamera& camera) { camera.m_fetchErrors[camera.m_iFetches] = ErrorType::Disconnected; });
        ASSERT_TRUE(capture.WaitStopped());
        EXPECT_NEAR(capture.Store().m_iRecordTarget, row.iExpected, 1);
        EXPECT_EQ(capture.Store().m_iCutFrom, capture.Store().m_iRecordTarget < kFrames ? kFrames : 0);
    }
}

TEST(BrokenRecording, OnlyACameraThatWentBeforeTheTakeWasWholeIsCalledLost)
{
    ScriptedCapture whole({ .uiCameras = 2 });
    whole.Start();
    ASSERT_TRUE(whole.WaitFrames(0, 10));
    ASSERT_TRUE(whole.Record());
    whole.Cam(1).m_infoResult = ErrorType::Disconnected; // unplugged before the save
    EXPECT_FALSE(CollectTake(whole.Doc()).cameras[1].bLost);

    ScriptedCapture cut({ .uiCameras = 2 });
    cut.Cam(1).m_fetchErrors[50] = ErrorType::Disconnected;
    cut.Start();
    ASSERT_TRUE(cut.WaitFrames(0, 10));
    ASSERT_TRUE(cut.Record());
    cut.Cam(1).m_infoResult = ErrorType::Disconnected;
    EXPECT_TRUE(CollectTake(cut.Doc()).cameras[1].bLost);
    EXPECT_FALSE(CollectTake(cut.Doc()).cameras[0].bLost);
}

TEST(BrokenRecording, AnOperatorsStopIsNoFailure)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 10));
    capture.Store().m_bStartRequest = true;
    ASSERT_TRUE(capture.WaitFrames(0, 30));
    TimeStop(capture);
    EXPECT_EQ(capture.Flags().m_ePhase, CapturePhase::Stopped);
    EXPECT_EQ(capture.Store().m_iRecordTarget, kFrames);
    EXPECT_FALSE(capture.Store().m_bRecordDone[0]);
}

// ---- Cameras that fall silent

TEST(StalledCamera, ASlaveFailsAfterFourSecondsAndTheOthersFramesAreKept)
{
    ScriptedCapture capture({ .uiCameras = 3 });
    capture.Cam(2).m_hangsFrom = 40;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 10));
    const ClockTime before = capture.GetClock().Now();
    ASSERT_TRUE(capture.Record());
    EXPECT_EQ(capture.Window().MessageTexts(), Texts({ "カメラ３のデータ取得に失敗しました(18)\n" }));
    EXPECT_NEAR(static_cast<double>(capture.GetClock().Now() - before) / kNsPerSecond, 4.3, 0.2);
    EXPECT_EQ(capture.Store().m_iRecordTarget, capture.Store().m_isaveFrameCount[2]);
    EXPECT_TRUE(capture.Store().m_bRecordDone[0]);
    EXPECT_EQ(capture.Flags().m_ePhase, CapturePhase::Failed);
}

TEST(StalledCamera, CameraZeroFailsWhileLive)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Cam(0).m_hangsFrom = 0;
    capture.Start();
    ASSERT_TRUE(capture.WaitStopped());
    EXPECT_EQ(capture.Window().MessageTexts(), Texts({ "カメラ１のデータ取得に失敗しました(18)\n" }));
    EXPECT_NEAR(static_cast<double>(capture.GetClock().Now()) / kNsPerSecond, 4.0, 0.1);
}

TEST(StalledCamera, SlavesThatWaitForASilentCameraZeroAreNotBlamed)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Cam(0).m_hangsFrom = 20;
    capture.Cam(0).m_iGrabTimeoutMs = -1;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(1, 19));
    capture.Store().m_bStartRequest = true; // camera 0 is not there to take it
    ASSERT_TRUE(capture.WaitStopped());
    EXPECT_EQ(capture.Window().MessageTexts(), Texts({ "カメラ１のデータ取得に失敗しました(18)\n" }));
}

TEST(StalledCamera, NoTriggerIsNoStall)
{
    ScriptedCapture capture({ .uiCameras = 2, .bTriggerWait = true });
    for (std::size_t c = 0; c < 2; ++c)
        capture.Cam(c).m_firstExposure = 20 * kNsPerSecond;
    capture.Store().m_bStartRequest = true;
    capture.Start();
    ASSERT_TRUE(capture.WaitStopped());
    EXPECT_TRUE(capture.Window().MessageTexts().empty());
    EXPECT_TRUE(capture.Store().m_bRecordDone[1]);
}

TEST(StalledCamera, ASlaveThatMissesEveryTriggerFails)
{
    ScriptedCapture capture({ .uiCameras = 2, .iRecordSec = 10, .bTriggerWait = true });
    capture.Cam(1).m_hangsFrom = 5;
    capture.Store().m_bStartRequest = true;
    capture.Start();
    ASSERT_TRUE(capture.WaitStopped());
    EXPECT_EQ(capture.Window().MessageTexts(), Texts({ "カメラ２のデータ取得に失敗しました(18) (5)\n" }));
}
