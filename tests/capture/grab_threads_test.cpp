#include "capture/grab_threads.h"
#include "capture/recording_rules.h"
#include "scripted_capture.h"
#include "support/other_user.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sys/resource.h>

using namespace vireo;
using namespace vireo::test;

namespace {

constexpr int kFrames = 100; ///< of one second at 100 fps
constexpr ClockTime kStopBound = 1200 * kNsPerMs;

std::vector<std::string> Texts(std::initializer_list<const char*> texts) { return { texts.begin(), texts.end() }; }

/// Duration of a stop on the user-interface thread, in virtual time.
ClockTime TimeStop(ScriptedCapture& capture, bool bExpected = true)
{
    const ClockTime before = capture.GetClock().Now();
    EXPECT_EQ(StopGrab(capture.Doc()), bExpected);
    return capture.GetClock().Now() - before;
}

} // namespace

// ---- Stopping

TEST(StopGrab, WithNothingRunningItTouchesNothing)
{
    ScriptedCapture capture({});
    capture.Flags().m_iCaptureState = capture_state::kRecording;
    EXPECT_TRUE(StopGrab(capture.Doc()));
    EXPECT_EQ(capture.Flags().m_iCaptureState, capture_state::kRecording);
    EXPECT_EQ(capture.Cam(0).m_iStops + capture.Cam(0).m_iCancels, 0);
    EXPECT_EQ(capture.Flags().m_ePhase, CapturePhase::Stopped);
}

TEST(StopGrab, EndsACaptureForWhichTheSystemHasNoThreads)
{
    EXPECT_TRUE(RunAsOtherUser([] {
        const rlimit none {};
        ASSERT_EQ(setrlimit(RLIMIT_NPROC, &none), 0);
        ScriptedCapture capture({ .uiCameras = 2 });
        capture.Start();
        EXPECT_EQ(capture.Flags().m_ePhase, CapturePhase::Failed);
        EXPECT_FALSE(capture.Flags().m_bCapturing);
        for (std::size_t c = 0; c < 2; ++c) {
            EXPECT_TRUE(capture.Flags().m_bThreadEnded[c]);
            EXPECT_EQ(capture.Cam(c).m_iStops, 1);
        }
    }));
}

TEST(StopGrab, WakesCamerasThatWaitWithoutLimit)
{
    ScriptedCapture capture({ .uiCameras = 4 });
    for (std::size_t c = 0; c < 4; ++c)
        capture.Cam(c).m_hangsFrom = 3;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(3, 3));
    EXPECT_EQ(capture.Flags().m_ePhase, CapturePhase::Running);
    EXPECT_LT(TimeStop(capture), 10 * kNsPerMs);
    for (std::size_t c = 0; c < 4; ++c) {
        EXPECT_EQ(capture.Cam(c).m_iStops, 1);
        EXPECT_GE(capture.Cam(c).m_iCancels, 1);
        EXPECT_TRUE(capture.Flags().m_bThreadEnded[c]);
        EXPECT_FALSE(capture.Flags().m_bGrabRun[c]);
    }
    EXPECT_FALSE(capture.Flags().m_bKeyWaitRun);
    EXPECT_FALSE(capture.Flags().m_bStopping);
    EXPECT_TRUE(capture.Window().MessageTexts().empty()) << "a fetch that the stop ended is no failure";
    EXPECT_TRUE(StopGrab(capture.Doc()));
    EXPECT_EQ(capture.Cam(0).m_iStops, 1);
}

TEST(StopGrab, NoAnswerOfACameraToItIsAFailure)
{
    ScriptedCapture capture({ .uiCameras = 3 });
    capture.Cam(1).m_cancelledResult = ErrorType::Disconnected;
    capture.Cam(2).m_cancelledResult = ErrorType::InconsistentFrame;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(2, 3));
    TimeStop(capture);
    EXPECT_TRUE(capture.Window().MessageTexts().empty());
    EXPECT_EQ(capture.Flags().m_ePhase, CapturePhase::Stopped);
}

TEST(StopGrab, SwitchesTheStrobeOffBeforeItStopsTheCameras)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 3));
    TimeStop(capture);
    EXPECT_EQ(capture.Cam(0).m_iStrobeOffs, 1);
    EXPECT_EQ(capture.Cam(0).m_iStopsBeforeStrobeOff, 0);
}

TEST(StopGrab, ComesBackAlthoughCamerasIgnoreIt)
{
    ScriptedCapture capture({ .uiCameras = 4 });
    for (const std::size_t c : { 1, 3 }) {
        capture.Cam(c).m_hangsFrom = 3;
        capture.Cam(c).m_bIgnoresStop = true;
    }
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(3, 3));
    ASSERT_TRUE(capture.WaitFrames(0, 6));
    EXPECT_LE(TimeStop(capture), kStopBound) << "the threads share one limit";
    EXPECT_EQ(capture.Cam(2).m_iStops, 1);
    EXPECT_LE(TimeStop(capture), kStopBound);

    // The store can go meanwhile: a thread that wakes late touches nothing any more.
    FreeFrameStore(capture.Doc());
    capture.Cam(1).Release();
    capture.Cam(3).Release();
    capture.Doc().m_grabThreads->Join();
    EXPECT_TRUE(capture.Flags().m_bThreadEnded[1]);
    EXPECT_TRUE(capture.Window().MessageTexts().empty());
}

TEST(StopGrab, TriesOnceMoreWhenACameraDidNotTakeItsStop)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Cam(1).m_stopResult = ErrorType::TransportFailed;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(1, 3));
    TimeStop(capture, false);
    capture.Cam(1).m_stopResult = ErrorType::Ok;
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(StopGrab(capture.Doc()));
    EXPECT_EQ(capture.Cam(1).m_iStops, 2);
    EXPECT_TRUE(capture.Window().MessageTexts().empty());
}

// A camera's failure has begun the stop; the operator's comes while it runs.
TEST(StopGrab, WaitsForAWorkersStopWithinTheSameLimit)
{
    const struct {
        const char* pName;
        ClockTime stopDelay;
        bool bLateThread;
        bool bEnds;
    } kRows[] = {
        { "that ends soon", 20 * kNsPerMs, false, true },
        { "that ends late, with a thread that stays", 140 * kNsPerMs, true, true },
        { "that does not end", 3 * kNsPerSecond, false, false },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pName);
        ScriptedCapture capture({ .uiCameras = 3 });
        capture.Cam(1).m_fetchErrors[5] = ErrorType::Disconnected;
        capture.Cam(0).m_stopDelay = row.stopDelay;
        if (row.bLateThread) {
            capture.Cam(2).m_hangsFrom = 3;
            capture.Cam(2).m_bIgnoresStop = true;
        }
        capture.Start();
        ASSERT_TRUE(capture.WaitFor([&] { return capture.Flags().m_ePhase == CapturePhase::Stopping; }));
        EXPECT_LE(TimeStop(capture, row.bEnds), kStopBound);
        EXPECT_EQ(capture.Flags().m_ePhase == CapturePhase::Stopping, !row.bEnds);
        if (row.bLateThread)
            capture.Cam(2).Release();
        ASSERT_TRUE(capture.WaitFor([&] { return capture.Flags().m_ePhase == CapturePhase::Failed; }));
        EXPECT_TRUE(StopGrab(capture.Doc()));
        EXPECT_EQ(capture.Cam(0).m_iStops, 1);
    }
}

TEST(StopGrab, ALateThreadOfTheLastRunIsJoinedBeforeTheNext)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Cam(1).m_hangsFrom = 3;
    capture.Cam(1).m_bIgnoresStop = true;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(1, 3));
    TimeStop(capture);
    capture.Cam(1).Rewrite([](ScriptedCamera& camera) { camera.m_hangsFrom.reset(); });
    ClockThread later(capture.GetClock(), [&] {
        capture.GetClock().SleepMs(300);
        capture.Cam(1).Release();
    });
    capture.Start();
    EXPECT_TRUE(capture.WaitFrames(1, 3));
    TimeStop(capture);
}

TEST(StopGrab, TheFirstCameraErrorIsTracedAndTheOthersAreStoppedAllTheSame)
{
    ScriptedCapture capture({ .uiCameras = 3 });
    capture.Cam(0).m_stopResult = ErrorType::TransportFailed;
    capture.Cam(1).m_stopResult = ErrorType::Disconnected;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 3));
    TimeStop(capture, false);
    EXPECT_TRUE(capture.Test().m_log.Contains("StopGrab()->StopCapture(): error 20"));
    EXPECT_FALSE(capture.Test().m_log.Contains("error 12"));
    EXPECT_EQ(capture.Cam(2).m_iStops, 1);
    EXPECT_TRUE(capture.Window().MessageTexts().empty());
    EXPECT_TRUE(StopGrab(capture.Doc()));
}

TEST(StopGrab, CalledByCameraZeroItDoesNotWaitForItself)
{
    ScriptedCapture capture({ .uiCameras = 1 });
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 3));
    capture.Store().m_bStartRequest = true;
    ASSERT_TRUE(capture.WaitFor([&] { return capture.Store().m_bRecordDone[0].load(); }));
    const ClockTime done = capture.GetClock().Now();
    ASSERT_TRUE(capture.WaitStopped());
    EXPECT_LT(capture.GetClock().Now() - done, 100 * kNsPerMs);
}

TEST(StopGrab, TheOperatorsStopWaitsForTheOneThatRuns)
{
    // Camera 1 falls silent behind its last frame and ignores the stop, so camera 0's own stop at the end of
    // the recording takes its full second.
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Cam(1).m_bIgnoresStop = true;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 3));
    capture.Store().m_bStartRequest = true;
    ASSERT_TRUE(capture.WaitFor([&] { return capture.Store().m_isaveFrameCount[0] >= 2; }));
    const std::int64_t iEnd = capture.Exposures(0, 1)[0] + kFrames + kRingMargin;
    capture.Cam(1).Rewrite([iEnd](ScriptedCamera& camera) { camera.m_hangsFrom = iEnd; });
    ASSERT_TRUE(capture.WaitFor([&] { return capture.Flags().m_ePhase == CapturePhase::Stopping; }));
    capture.GetClock().SleepMs(300);
    ASSERT_EQ(capture.Flags().m_ePhase, CapturePhase::Stopping);
    const ClockTime stop = TimeStop(capture);
    EXPECT_GE(stop, 500 * kNsPerMs);
    EXPECT_LE(stop, kStopBound);
    EXPECT_EQ(capture.Flags().m_ePhase, CapturePhase::Stopped);
    EXPECT_EQ(capture.Cam(0).m_iStops, 1) << "one stop, not two";
    EXPECT_TRUE(capture.Flags().m_bThreadEnded[0]);
}

TEST(StopGrab, ACaptureWhoseThreadsNeverStartedIsStoppedAtOnce)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.StartCameras();
    capture.Flags().m_bCapturing = true;
    EXPECT_LT(TimeStop(capture), 10 * kNsPerMs);
    EXPECT_FALSE(capture.Flags().m_bCapturing);
    EXPECT_EQ(capture.Cam(1).m_iStops, 1);
}

TEST(StopGrab, TheDocumentCanGoWhileEverythingRuns)
{
    ScriptedCapture capture({ .uiCameras = 3 });
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(2, 3));
    capture.Doc().m_grabThreads.reset();
    EXPECT_EQ(capture.Cam(2).m_iStops, 1);
    EXPECT_FALSE(capture.Flags().m_bCapturing);
}

TEST(StopGrab, LetsSlavesGoThatWaitForCameraZeroToStart)
{
    ScriptedCapture capture({ .uiCameras = 3 });
    capture.Cam(0).m_hangsFrom = 5;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(1, 5));
    capture.Store().m_bStartRequest = true; // camera 0 will take it only after its time-out
    capture.GetClock().SleepMs(50);
    EXPECT_LT(TimeStop(capture), 20 * kNsPerMs);
}

TEST(StopGrab, LetsSlavesGoThatWaitForCameraZeroToFixTheEnd)
{
    ScriptedCapture capture({ .uiCameras = 3 });
    capture.Cam(0).m_hangsFrom = 30;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 5));
    capture.Store().m_bStartRequest = true;
    ASSERT_TRUE(capture.WaitFrames(0, 28));
    capture.GetClock().SleepMs(20);
    capture.Store().m_bStopRequest = true;
    capture.GetClock().SleepMs(50);
    EXPECT_EQ(capture.Store().m_iStopMark, -1) << "camera 0 has no frame to take it with";
    EXPECT_LT(TimeStop(capture), 20 * kNsPerMs);
}

// ---- Starting

TEST(StartGrabThreads, MoreCamerasThanThreadsHaveNoMonitor)
{
    ScriptedCapture capture({ .uiCameras = 5 });
    capture.Start();
    EXPECT_EQ(capture.Doc().m_grabThreads->Cameras(), 4U);
    EXPECT_FALSE(capture.Flags().m_bKeyWaitRun);
    EXPECT_FALSE(capture.Flags().m_bGrabRun[4]);
    EXPECT_TRUE(capture.Flags().m_bThreadEnded[4]);
    ASSERT_TRUE(capture.WaitFrames(3, 3));
    TimeStop(capture);
    EXPECT_EQ(capture.Cam(4).m_iStops, 1);
}

TEST(StartGrabThreads, AModeThatDoesNotExistEndsTheThreadsAtOnce)
{
    ScriptedCapture capture({ .uiCameras = 2, .iMode = 3 });
    capture.Start();
    capture.GetClock().SleepMs(20);
    EXPECT_EQ(capture.Cam(0).m_iFetches, 0);
    EXPECT_LT(TimeStop(capture), 10 * kNsPerMs);
}

TEST(StartGrabThreads, AThreadThatFailsWhileTheOthersAreStartedStopsAll)
{
    ScriptedCapture capture({ .uiCameras = 4 });
    capture.Cam(3).m_fetchErrors[0] = ErrorType::TransportFailed;
    capture.Start();
    ASSERT_TRUE(capture.WaitStopped());
    EXPECT_EQ(capture.Window().MessageTexts(), Texts({ "カメラ４のデータ取得に失敗しました(20)\n" }));
    EXPECT_EQ(capture.Flags().m_ePhase, CapturePhase::Failed);
    EXPECT_EQ(capture.Cam(0).m_iStops, 1);
    capture.Cam(3).m_fetchErrors.clear();
    capture.Start();
    EXPECT_TRUE(capture.WaitFrames(3, 3)) << "a failure is no hindrance to the next start";
}

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

// ---- What the end of a recording sets off

TEST(RecordingEnd, TheSaveIsPostedOnlyWhenItIsAskedForAndThePanelIsThere)
{
    for (const bool bAsked : { false, true })
        for (const bool bShown : { false, true }) {
            ScriptedCapture capture({ .uiCameras = 2 });
            capture.Flags().m_bSaveAfterRecord = bAsked;
            capture.Doc().m_windows.m_bControlPanelShown = bShown;
            capture.Start();
            ASSERT_TRUE(capture.WaitFrames(0, 5));
            ASSERT_TRUE(capture.Record());
            const std::vector<int> expected =
                bAsked && bShown ? std::vector<int> { command::kSave } : std::vector<int> {};
            EXPECT_EQ(capture.Window().Record().commands, expected);
            EXPECT_EQ(capture.Window().Record().iExitTimers, 0);
        }
}

TEST(RecordingEnd, TheOperatorMaySaveTheMomentItIsPosted)
{
    ScriptedCapture capture({ .uiCameras = 3 });
    capture.Flags().m_bSaveAfterRecord = true;
    capture.Doc().m_windows.m_bControlPanelShown = true;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 5));
    capture.Store().m_bStartRequest = true;
    ASSERT_TRUE(capture.WaitFor([&] { return !capture.Window().Record().commands.empty(); }));
    TimeStop(capture); // camera 0 may not have left its loop yet
    EXPECT_FALSE(capture.Doc().m_grabThreads->Leaving(0) && capture.Flags().m_bCapturing);
    for (std::size_t c = 0; c < 3; ++c) {
        EXPECT_TRUE(capture.Flags().m_bThreadEnded[c]);
        EXPECT_EQ(capture.Cam(c).m_iStops, 1);
    }
}

TEST(RecordingEnd, ThePanelFollowsAtCameraZerosEndAndAtTheLast)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Cam(1).m_delay += 100 * kNsPerMs;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 5));
    capture.Store().m_bStartRequest = true;
    ASSERT_TRUE(capture.WaitFor([&] { return capture.Store().m_bRecordDone[0].load(); }));
    EXPECT_EQ(capture.Window().Record().iPanelRefreshes, 1);
    ASSERT_TRUE(capture.WaitStopped());
    EXPECT_EQ(capture.Window().Record().iPanelRefreshes, 2);
}

TEST(RecordingStart, TheViewTimersAreSwitchedOnOnce)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 5));
    EXPECT_TRUE(capture.Window().Record().viewTimers.empty());
    ASSERT_TRUE(capture.Record());
    EXPECT_EQ(capture.Window().Record().viewTimers, std::vector<bool> { true });
}

// ---- The partner program

namespace {

class Partner : public testing::Test {
protected:
    Partner()
        : m_capture({ .uiCameras = 2 })
    {
        CooperationRequest request;
        request.CooperationMode = true;
        request.PartnerPresent = true;
        request.PartnerTitle = "Marten";
        m_capture.App().SetRequest(request);
        m_capture.Test().m_partner.Open("Marten");
    }
    std::vector<int> Commands()
    {
        std::vector<int> commands;
        for (const auto& sent : m_capture.Test().m_partner.Messages())
            commands.push_back(sent.iCommand);
        return commands;
    }
    ScriptedCapture m_capture;
};

} // namespace

TEST_F(Partner, IsToldOnceOfTheStartAndOnceOfTheEnd)
{
    m_capture.Start();
    ASSERT_TRUE(m_capture.WaitFrames(0, 5));
    EXPECT_TRUE(Commands().empty());
    m_capture.Store().m_bStartRequest = true;
    ASSERT_TRUE(m_capture.WaitFor([&] { return m_capture.Store().m_isaveFrameCount[0] >= kFrames - 1; }));
    EXPECT_EQ(Commands(), std::vector<int> { partner::kRecordingStarted });
    ASSERT_TRUE(m_capture.WaitFor([&] { return m_capture.Store().m_isaveFrameCount[0] >= kFrames; }));
    EXPECT_EQ(Commands(), (std::vector<int> { partner::kRecordingStarted, partner::kRecordingFinished }));
    ASSERT_TRUE(m_capture.WaitStopped());
    EXPECT_EQ(Commands().size(), 2U);
    EXPECT_EQ(m_capture.Window().Record().iExitTimers, 1);
}

TEST_F(Partner, IsNotToldAgainOfAStartThatTheViewHasTold)
{
    m_capture.Start();
    ASSERT_TRUE(m_capture.WaitFrames(0, 5));
    m_capture.Flags().m_bStartNotified = true;
    ASSERT_TRUE(m_capture.Record());
    EXPECT_EQ(Commands(), std::vector<int> { partner::kRecordingFinished });
    EXPECT_TRUE(m_capture.Flags().m_bStartNotified) << "a key pressed late tells no second time";
    m_capture.Start();
    EXPECT_FALSE(m_capture.Flags().m_bStartNotified) << "the next recording is a new one";
}

TEST_F(Partner, IsKnownToHaveBeenToldOfTheEnd)
{
    m_capture.Start();
    ASSERT_TRUE(m_capture.WaitFrames(0, 5));
    EXPECT_FALSE(m_capture.Flags().m_bEndNotified);
    ASSERT_TRUE(m_capture.Record());
    EXPECT_TRUE(m_capture.Flags().m_bEndNotified) << "the end of the run tells no second time";
    m_capture.Start();
    EXPECT_FALSE(m_capture.Flags().m_bEndNotified) << "the next recording is a new one";
}

TEST_F(Partner, IsLookedUpAfreshBeforeItIsToldOfTheEnd)
{
    m_capture.Test().m_partner.Close("Marten");
    m_capture.Start();
    ASSERT_TRUE(m_capture.WaitFrames(0, 5));
    m_capture.Store().m_bStartRequest = true;
    ASSERT_TRUE(m_capture.WaitFor([&] { return m_capture.Store().m_isaveFrameCount[0] >= 5; }));
    m_capture.Test().m_partner.Open("Marten");
    ASSERT_TRUE(m_capture.WaitStopped());
    EXPECT_EQ(Commands(), std::vector<int> { partner::kRecordingFinished });
}

TEST_F(Partner, ThatAnswersLateCostsNoMissedFrames)
{
    m_capture.Test().m_partner.OnSend([this](int) { m_capture.GetClock().SleepMs(2000); });
    m_capture.Start();
    ASSERT_TRUE(m_capture.WaitFrames(0, 9));
    m_capture.Store().m_bStartRequest = true;
    ASSERT_TRUE(m_capture.WaitFor([&] { return m_capture.Store().m_isaveFrameCount[0] >= 2; }));
    // The driver's queue overflows while the partner is told, behind the last frame of the target.
    const std::int64_t iFirst = m_capture.Exposures(0, 1)[0];
    m_capture.Cam(0).Rewrite([iFirst](ScriptedCamera& camera) {
        for (int i = 102; i < 300; ++i)
            camera.m_lost.insert(iFirst + i);
    });
    ASSERT_TRUE(m_capture.WaitStopped());
    EXPECT_EQ(m_capture.Flags().m_uiMissedCount, 0U);
    EXPECT_TRUE(m_capture.Window().MessageTexts().empty());
    EXPECT_TRUE(m_capture.Store().m_bRecordDone[0]);
}

TEST_F(Partner, ALossInTheLastFramesOfTheTargetIsStillCounted)
{
    m_capture.Start();
    ASSERT_TRUE(m_capture.WaitFrames(0, 9));
    m_capture.Store().m_bStartRequest = true;
    ASSERT_TRUE(m_capture.WaitFor([&] { return m_capture.Store().m_isaveFrameCount[0] >= 2; }));
    // Of the hundred frames that count, the last one follows a loss.
    const std::int64_t iFirst = m_capture.Exposures(0, 1)[0];
    m_capture.Cam(0).Rewrite([iFirst](ScriptedCamera& camera) { camera.m_lost = { iFirst + 99 }; });
    ASSERT_TRUE(m_capture.WaitStopped());
    EXPECT_EQ(m_capture.Exposures(0, kFrames).back(), iFirst + 100);
    EXPECT_EQ(m_capture.Flags().m_uiMissedCount, 1U);
}

TEST_F(Partner, ThatHangsIsLeftWhenTheCaptureStops)
{
    m_capture.Test().m_partner.OnSend([this](int) {
        const ClockTime deadline = m_capture.GetClock().Now() + 2 * kNsPerSecond;
        while (m_capture.Test().m_partner.Cancels() == 0 && m_capture.GetClock().Now() < deadline)
            m_capture.GetClock().SleepMs(1);
    });
    m_capture.Start();
    ASSERT_TRUE(m_capture.WaitFrames(0, 9));
    m_capture.Store().m_bStartRequest = true;
    ASSERT_TRUE(m_capture.WaitFor([&] { return m_capture.Store().m_isaveFrameCount[0] >= kFrames; }));
    EXPECT_LT(TimeStop(m_capture), 20 * kNsPerMs);
}
