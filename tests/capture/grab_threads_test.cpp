#include "camera/configuration.h"
#include "capture/grab_threads.h"
#include "capture/recording_rules.h"
#include "support/other_user.h"
#include "timed_stop.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sys/resource.h>

using namespace vireo;
using namespace vireo::test;

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
    for (const std::size_t c : { 1U, 3U }) {
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

// Else the camera would refuse every configuration for as long as the program runs.
TEST(StopGrab, TriesAgainForAsLongAsACameraMayRunOn)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Cam(1).m_stopResult = ErrorType::TransportFailed;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(1, 3));
    TimeStop(capture, false);
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(StopGrab(capture.Doc()));
    EXPECT_EQ(capture.Cam(1).m_iStops, 4);
    capture.Cam(1).m_stopResult = ErrorType::NotStarted;
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(StopGrab(capture.Doc()));
    EXPECT_EQ(capture.Cam(1).m_iStops, 5);
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

TEST(StopGrab, ALateThreadIsJoinedBeforeItsCameraIsConfiguredAgain)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Cam(0).m_hangsFrom = 3;
    capture.Cam(0).m_bIgnoresStop = true;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 2));
    TimeStop(capture);
    ClockThread later(capture.GetClock(), [&] {
        capture.GetClock().SleepMs(300);
        capture.Cam(0).Release();
    });
    ConfigureCameras(capture.Doc()); // fails at a mode that this camera does not have
    EXPECT_GT(capture.Cam(0).m_iModes, 0);
    EXPECT_EQ(capture.Cam(0).m_iModesWhileFetching, 0) << "it would have taken the next capture's first frame";
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
