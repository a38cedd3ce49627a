#include "capture/grab_threads.h"
#include "capture/recording_rules.h"
#include "scripted_capture.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <utility>

using namespace vireo;
using namespace vireo::test;

namespace {

constexpr int kFrames = 100; ///< of one second at 100 fps

// Every camera's recorded slots hold the same exposures, one after the other.
void ExpectInStep(ScriptedCapture& capture, std::size_t uiCameras, int iFrames)
{
    const std::int64_t iFirst = capture.Exposures(0, 1)[0];
    for (std::size_t c = 0; c < uiCameras; ++c)
        EXPECT_EQ(capture.Exposures(c, iFrames), Consecutive(iFirst, iFrames)) << "camera " << c;
}

} // namespace

TEST(GrabRecording, OneCameraMarksItsOwnStartAndRecordsSixFramesMore)
{
    ScriptedCapture capture({ .uiCameras = 1 });
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 20));
    EXPECT_EQ(capture.Store().m_isaveFrameCount[0], kIdleFrameCount) << "live frames are not counted";
    ASSERT_TRUE(capture.Record());
    EXPECT_EQ(capture.Store().m_isaveFrameCount[0], kFrames + kRingMargin);
    EXPECT_TRUE(capture.Store().m_bRecordDone[0]);
    EXPECT_EQ(capture.Store().m_iStartMark, capture.Store().m_istartFrame[0]);
    EXPECT_EQ(capture.Store().m_iRecordTarget, kFrames);
    EXPECT_EQ(capture.Flags().m_iCaptureState, capture_state::kLive);
    EXPECT_EQ(capture.Flags().m_ePhase, CapturePhase::Stopped);
    EXPECT_FALSE(capture.Flags().m_bCapturing);
    EXPECT_EQ(capture.Cam(0).m_iStops, 1);
    ExpectInStep(capture, 1, kFrames);
}

TEST(GrabRecording, FrameIOfEveryCameraIsTheSameExposureWhereverTheRingStands)
{
    // The ring has 164 slots; the later starts lie beyond one and two laps, some right at the wrap.
    for (const std::uint64_t uiLive : { 1U, 2U, 5U, 120U, 160U, 161U, 162U, 163U, 164U, 165U, 166U, 330U, 331U }) {
        SCOPED_TRACE(uiLive);
        ScriptedCapture capture({ .uiCameras = 4 });
        capture.Start();
        ASSERT_TRUE(capture.WaitFrames(0, uiLive));
        ASSERT_TRUE(capture.Record());
        ExpectInStep(capture, 4, kFrames + kRingMargin);
        EXPECT_EQ(capture.Flags().m_uiMissedCount, 0U);
        for (std::size_t c = 0; c < 4; ++c) {
            EXPECT_EQ(capture.Number(c, 1) - capture.Number(c, 0), 1);
            EXPECT_EQ(capture.Store().m_iLostBefore[c], 0);
            EXPECT_EQ(capture.Store().m_istartFrame[c], capture.Store().m_iStartMark);
        }
        EXPECT_EQ(capture.Store().m_uiDoneCameras, 4U);
    }
}

TEST(GrabRecording, ARecordingThatIsAskedForBeforeTheFirstFrameBeginsWithTheFirstExposure)
{
    ScriptedCapture capture({ .uiCameras = 3 });
    capture.Store().m_bStartRequest = true;
    capture.Start();
    ASSERT_TRUE(capture.WaitStopped());
    ExpectInStep(capture, 3, kFrames + kRingMargin);
    EXPECT_EQ(capture.Exposures(0, 1)[0], 0);
    EXPECT_EQ(capture.Store().m_iStartMark, 0);
}

TEST(GrabRecording, TheFirstFrameOfARecordingWritesItsPlaceAndCountToTheLog)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 5));
    ASSERT_TRUE(capture.Record());
    const int iFirst = capture.Store().m_istartFrame[0];
    std::vector<std::string> told;
    for (const std::string& strLine : capture.Test().m_log.Lines())
        if (strLine.starts_with("m_i"))
            told.push_back(strLine);
    // The first frame stands in two slots: it makes up for the one that was set aside.
    EXPECT_EQ(told,
        (std::vector<std::string> {
            "m_iendFrame[0]=(" + std::to_string(iFirst + 2) + ")", "m_isaveFrameCount[0]=(2)" }));
}

TEST(GrabRecording, CameraZerosFirstFrameIsSetAsideInTheLastSlot)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 5));
    StopGrab(capture.Doc());
    const auto exposure = [&capture](std::size_t c, int iSlot) {
        return ScriptedCamera::ExposureOf(capture.Store().Slot(c, iSlot));
    };
    EXPECT_EQ(exposure(0, capture.Store().m_iBufferFrames - 1), 0);
    EXPECT_EQ(exposure(0, 0), 1);
    EXPECT_EQ(exposure(1, 0), 0);
    EXPECT_EQ(capture.Store().m_iendFrame[0], 5);
}

TEST(GrabRecording, WaitingForTheTriggerKeepsEveryFrameFromTheFirst)
{
    ScriptedCapture capture({ .uiCameras = 3, .bTriggerWait = true });
    for (std::size_t c = 0; c < 3; ++c)
        capture.Cam(c).m_firstExposure = 900 * kNsPerMs; // camera 0 times out again and again until then
    capture.Store().m_bStartRequest = true;
    capture.Start(ThreadStartOrder::HighestFirst);
    ASSERT_TRUE(capture.WaitStopped());
    EXPECT_TRUE(capture.Window().MessageTexts().empty());
    ExpectInStep(capture, 3, kFrames + kRingMargin);
    EXPECT_EQ(capture.Exposures(0, 1)[0], 0);
    EXPECT_GT(capture.Cam(0).m_iFetches, kFrames + kRingMargin);
    EXPECT_EQ(capture.Store().m_evidence[0].back().uiBytes, 0U) << "no frame was set aside";
}

TEST(GrabRecording, TriggersSlowerThanTheFrameRateShiftNothing)
{
    ScriptedCapture capture({ .uiCameras = 3, .bTriggerWait = true });
    for (std::size_t c = 0; c < 3; ++c)
        capture.Cam(c).m_period = 35 * kNsPerMs;
    capture.Store().m_bStartRequest = true;
    capture.Start();
    ASSERT_TRUE(capture.WaitStopped());
    ExpectInStep(capture, 3, kFrames + kRingMargin);
}

TEST(GrabRecording, CamerasThatDeliverFramesLateJoinByTheMark)
{
    // Up to 9 frames are one lap; beyond that a camera stays idle until it has caught up with the mark.
    for (const std::size_t uiLate : { 0U, 1U, 2U })
        for (const int iFrames : { 3, 8, 9, 10, 11, 25, 60 })
            for (const std::uint64_t uiLive : { 60U, 155U, 170U }) {
                SCOPED_TRACE(
                    testing::Message() << "camera " << uiLate << " " << iFrames << " frames late, start at " << uiLive);
                ScriptedCapture capture({ .uiCameras = 3 });
                capture.Cam(uiLate).m_delay += iFrames * 10 * kNsPerMs;
                capture.Start();
                ASSERT_TRUE(capture.WaitFrames(0, uiLive));
                ASSERT_TRUE(capture.Record());
                ExpectInStep(capture, 3, kFrames + kRingMargin);
            }
}

TEST(GrabRecording, AFrameLostWhileLiveShiftsNoRecording)
{
    for (std::size_t uiLoser : { 0U, 1U, 2U }) {
        SCOPED_TRACE(uiLoser);
        ScriptedCapture capture({ .uiCameras = 3 });
        capture.Cam(uiLoser).m_lost = { 5, 9, 10, 11 };
        capture.Start();
        ASSERT_TRUE(capture.WaitFrames(0, 30));
        ASSERT_TRUE(capture.Record());
        ExpectInStep(capture, 3, kFrames);
        EXPECT_EQ(capture.Store().m_iLostBefore[uiLoser], 4);
        EXPECT_EQ(capture.Flags().m_uiMissedCount, 0U) << "counted anew for each recording";
    }
}

TEST(GrabRecording, AFrameLostAroundTheStartIsTheOnlyOneThatIsWrong)
{
    // Which exposure is lost is swept across the frame at which the recording begins.
    for (const std::size_t uiLoser : { 0U, 1U })
        for (const auto& [iLate, iLost] :
            { std::pair { 0, 1 }, std::pair { 0, 2 }, std::pair { 4, 1 }, std::pair { 4, 2 } })
            for (std::int64_t iExposure = 26; iExposure < 40; ++iExposure) {
                SCOPED_TRACE(testing::Message()
                    << "camera " << uiLoser << ", " << iLate << " frames late, loses " << iLost << " at " << iExposure);
                ScriptedCapture capture({ .uiCameras = 3 });
                capture.Cam(uiLoser).m_delay += iLate * 10 * kNsPerMs;
                for (int i = 0; i < iLost; ++i)
                    capture.Cam(uiLoser).m_lost.insert(iExposure + i);
                capture.Start();
                ASSERT_TRUE(capture.WaitFrames(2, 30));
                ASSERT_TRUE(capture.Record());
                const std::int64_t iFirst = capture.Exposures(2, 1)[0];
                ASSERT_EQ(capture.Exposures(2, kFrames), Consecutive(iFirst, kFrames));
                const std::vector<std::int64_t> recorded = capture.Exposures(uiLoser, kFrames);
                // A loss once the recording runs is a gap: later frames are consecutive behind it.
                std::int64_t iShift = 0;
                int iTold = 0;
                for (int i = 0; i < kFrames; ++i) {
                    const std::int64_t iTrue = iFirst + i + iShift;
                    if (capture.Number(uiLoser, i) < 0) { // stands in for a lost frame, and says so
                        EXPECT_TRUE(capture.Cam(uiLoser).m_lost.contains(iTrue)) << "frame " << i;
                        ++iTold;
                        continue;
                    }
                    const std::int64_t iBefore = i > 0 ? capture.Number(uiLoser, i - 1) : -1;
                    if (iBefore >= 0)
                        iShift += capture.Number(uiLoser, i) - iBefore - 1;
                    EXPECT_EQ(recorded[static_cast<std::size_t>(i)], iFirst + i + iShift) << "frame " << i;
                }
                EXPECT_EQ(capture.Store().m_iLostBefore[uiLoser] + iTold + iShift, iLost);
            }
}

TEST(GrabRecording, LossesOfCameraZeroWhileRecordingAreCountedExactly)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Cam(0).m_lost = { 60, 61, 62 };
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 20));
    ASSERT_TRUE(capture.Record());
    EXPECT_EQ(capture.Flags().m_uiMissedCount, 3U);
    EXPECT_EQ(capture.Store().m_iLostBefore[0], 0);
    const std::int64_t iFirst = capture.Exposures(1, 1)[0];
    std::vector<std::int64_t> expected;
    for (std::int64_t i = iFirst; expected.size() < kFrames; ++i)
        if (!capture.Cam(0).m_lost.contains(i))
            expected.push_back(i);
    EXPECT_EQ(capture.Exposures(0, kFrames), expected) << "frames stay consecutive";
    for (int i = 1; i < kFrames; ++i)
        EXPECT_EQ(capture.Number(0, i) - capture.Number(0, i - 1), expected[static_cast<std::size_t>(i)] == 63 ? 4 : 1);
}

TEST(GrabRecording, AStopRequestEndsTheRecordingWithTheFramesThatCameraZeroHas)
{
    ScriptedCapture capture({ .uiCameras = 4 });
    capture.Cam(2).m_delay += 35 * kNsPerMs; // is behind when the stop is taken
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 10));
    capture.Store().m_bStartRequest = true;
    ASSERT_TRUE(capture.WaitFor([&] { return capture.Store().m_isaveFrameCount[0] >= 40; }));
    capture.Store().m_bStopRequest = true;
    ASSERT_TRUE(capture.WaitStopped());
    const int iTarget = capture.Store().m_iRecordTarget;
    EXPECT_GE(iTarget, 40);
    EXPECT_LE(iTarget, 42);
    EXPECT_EQ(capture.Store().m_iStopMark,
        RingSlot(capture.Store().m_istartFrame[0], iTarget, capture.Store().m_iBufferFrames));
    for (std::size_t c = 0; c < 4; ++c)
        EXPECT_EQ(capture.Store().m_isaveFrameCount[c], iTarget + kRingMargin) << "camera " << c;
    ExpectInStep(capture, 4, iTarget);
}

TEST(GrabRecording, AStopRequestWithoutARecordingIsDropped)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 5));
    capture.Store().m_bStopRequest = true;
    ASSERT_TRUE(capture.WaitFor([&] { return !capture.Store().m_bStopRequest; }));
    EXPECT_EQ(capture.Store().m_iRecordTarget, kFrames);
    ASSERT_TRUE(capture.Record());
    EXPECT_EQ(capture.Store().m_isaveFrameCount[1], kFrames + kRingMargin);
}

TEST(GrabRecording, AStopRequestBehindTheLastFrameChangesNothing)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Cam(1).m_delay += 200 * kNsPerMs; // keeps the capture alive after camera 0 is done
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 5));
    capture.Store().m_bStartRequest = true;
    ASSERT_TRUE(capture.WaitFor([&] { return capture.Store().m_bRecordDone[0].load(); }));
    EXPECT_FALSE(capture.Store().m_bRecordDone[1]);
    capture.Store().m_bStopRequest = true;
    ASSERT_TRUE(capture.WaitStopped());
    EXPECT_EQ(capture.Store().m_iRecordTarget, kFrames);
    EXPECT_EQ(capture.Store().m_iStopMark, -1);
    ExpectInStep(capture, 2, kFrames);
}

TEST(GrabRecording, AStopInTheLastFramesDoesNotRaiseTheTarget)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 5));
    capture.Store().m_bStartRequest = true;
    ASSERT_TRUE(capture.WaitFor([&] { return capture.Store().m_isaveFrameCount[0] >= kFrames + 2; }));
    capture.Store().m_bStopRequest = true;
    ASSERT_TRUE(capture.WaitStopped());
    EXPECT_EQ(capture.Store().m_iRecordTarget, kFrames);
}

TEST(GrabRecording, TheDoneFlagTakenBackByTheOperatorIsCountedOnce)
{
    ScriptedCapture capture({ .uiCameras = 3 });
    capture.Cam(0).m_delay += 300 * kNsPerMs;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 5));
    capture.Store().m_bStartRequest = true;
    ASSERT_TRUE(capture.WaitFor([&] { return capture.Store().m_bRecordDone[1].load(); }));
    ASSERT_FALSE(capture.Store().m_bRecordDone[0]);
    for (std::size_t c = 0; c < 3; ++c)
        capture.Store().m_bRecordDone[c] = false; // "save after recording" was switched on
    ASSERT_TRUE(capture.WaitStopped());
    EXPECT_EQ(capture.Store().m_uiDoneCameras, 3U);
    EXPECT_EQ(capture.Store().m_isaveFrameCount[0], kFrames + kRingMargin) << "camera 0 was not cut short";
    ExpectInStep(capture, 3, kFrames);
}

TEST(GrabRecording, ASecondCaptureStartsAfreshAfterTheFirst)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    for (int iTake = 0; iTake < 3; ++iTake) {
        SCOPED_TRACE(iTake);
        FrameStore& store = capture.Store();
        for (std::size_t c = 0; c < 2; ++c) {
            store.m_bRecordDone[c] = false;
            store.m_iendFrame[c] = 0;
            store.m_isaveFrameCount[c] = kIdleFrameCount;
        }
        capture.Start();
        EXPECT_EQ(store.m_uiDoneCameras, 0U);
        EXPECT_FALSE(capture.Flags().m_bThreadEnded[0]);
        ASSERT_TRUE(capture.WaitFrames(0, 5)) << "what the last take left must not end this one";
        ASSERT_TRUE(capture.Record());
        EXPECT_TRUE(capture.Flags().m_bThreadEnded[0]);
        ExpectInStep(capture, 2, kFrames);
    }
}

// ---- Linear loop

TEST(GrabRecording, LinearCamerasRecordAllButThirtyTwoSlotsAndKeepTheTarget)
{
    ScriptedCapture capture({ .uiCameras = 3, .strModel = kOlderModel, .iMode = capture_mode::kLinear });
    capture.Start(ThreadStartOrder::LowestFirst);
    ASSERT_TRUE(capture.WaitFrames(0, 10));
    ASSERT_TRUE(capture.Record());
    EXPECT_TRUE(capture.Window().MessageTexts().empty());
    EXPECT_EQ(capture.Store().m_iRecordTarget, kFrames);
    for (std::size_t c = 0; c < 3; ++c)
        EXPECT_EQ(capture.Store().m_isaveFrameCount[c], capture.Store().m_iBufferFrames - kLinearMargin);
    EXPECT_EQ(capture.Flags().m_uiOutOfSyncCount, 0U);
    ExpectInStep(capture, 3, kFrames);
}

TEST(GrabRecording, LinearCamerasThatBeganAFewFramesApartAreAligned)
{
    ScriptedCapture capture({ .uiCameras = 3, .strModel = kOlderModel, .iMode = capture_mode::kLinear });
    capture.Cam(1).m_delay += 25 * kNsPerMs; // its first recorded frame is an older exposure
    capture.Start(ThreadStartOrder::LowestFirst);
    ASSERT_TRUE(capture.WaitFrames(0, 10));
    ASSERT_TRUE(capture.Record());
    ExpectInStep(capture, 3, kFrames);
    EXPECT_TRUE(capture.Window().MessageTexts().empty());
}

TEST(GrabRecording, CamerasTooFarApartAreToldByNumber)
{
    ScriptedCapture capture({ .uiCameras = 3, .strModel = kOlderModel, .iMode = capture_mode::kLinear });
    capture.Cam(2).m_dClockOffset = 0.004;
    capture.Start(ThreadStartOrder::LowestFirst);
    ASSERT_TRUE(capture.WaitFrames(0, 10));
    ASSERT_TRUE(capture.Record());
    EXPECT_EQ(capture.Window().MessageTexts(), std::vector<std::string> { "sync Match Error[2]" });
}

TEST(GrabRecording, ALinearStopRequestIsTakenAndIgnored)
{
    ScriptedCapture capture({ .uiCameras = 2, .strModel = kOlderModel, .iMode = capture_mode::kLinear });
    capture.Start(ThreadStartOrder::LowestFirst);
    ASSERT_TRUE(capture.WaitFrames(0, 10));
    capture.Store().m_bStartRequest = true;
    ASSERT_TRUE(capture.WaitFor([&] { return capture.Store().m_isaveFrameCount[0] >= 20; }));
    capture.Store().m_bStopRequest = true;
    ASSERT_TRUE(capture.WaitStopped());
    EXPECT_FALSE(capture.Store().m_bStopRequest);
    EXPECT_EQ(capture.Store().m_iStopMark, -1);
    EXPECT_EQ(capture.Store().m_iRecordTarget, kFrames);
    EXPECT_EQ(capture.Store().m_isaveFrameCount[1], capture.Store().m_iBufferFrames - kLinearMargin);
}

TEST(GrabRecording, TheLinearLoopStartsWhenTheTriggerInputLeavesItsLevel)
{
    ScriptedCapture capture({ .uiCameras = 2, .strModel = kOlderModel, .iMode = capture_mode::kLinear });
    // Digit 3 counts for a master; "1" reads as level 0, the configured one.
    capture.Cam(0).m_uiInputRegister = 0x90000000;
    capture.Flags().m_bTriggerWaitLinear = true;
    capture.Start(ThreadStartOrder::LowestFirst);
    ASSERT_TRUE(capture.WaitFrames(0, 30));
    EXPECT_EQ(capture.Flags().m_iCaptureState, capture_state::kLive);
    capture.Cam(0).m_uiInputRegister = 0x80000000;
    ASSERT_TRUE(capture.WaitStopped());
    EXPECT_TRUE(capture.Store().m_bRecordDone[0]);
    EXPECT_TRUE(capture.Store().m_bRecordDone[1]);
    EXPECT_GE(capture.Exposures(0, 1)[0], 27);
    ExpectInStep(capture, 2, kFrames);
}

TEST(GrabRecording, AnAlreadyActiveTriggerLineStartsAtOnce)
{
    ScriptedCapture capture({ .uiCameras = 1, .strModel = kOlderModel, .iMode = capture_mode::kLinear });
    capture.Cam(0).m_uiInputRegister = 0x80000000;
    capture.Flags().m_bTriggerWaitLinear = true;
    capture.Start(ThreadStartOrder::LowestFirst);
    ASSERT_TRUE(capture.WaitStopped());
    EXPECT_EQ(capture.Exposures(0, 1)[0], 0);
}

// ---- Memory that ran short

TEST(GrabRecording, NoRoadLeadsToARecordingWhileMemoryIsShort)
{
    const struct {
        const char* pName;
        int iMode;
        bool bTriggerWait; ///< the request stands before the first frame
        bool bLinearTrigger;
    } rows[] = { { "asked for while live", capture_mode::kRing, false, false },
        { "waiting for the trigger", capture_mode::kRing, true, false },
        { "linear, asked for", capture_mode::kLinear, false, false },
        { "linear trigger", capture_mode::kLinear, false, true } };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.pName);
        const bool bRing = row.iMode == capture_mode::kRing;
        ScriptedCapture capture({ .uiCameras = 2,
            .strModel = bRing ? kLockedModel : kOlderModel,
            .iMode = row.iMode,
            .bTriggerWait = row.bTriggerWait });
        capture.Test().m_memory.State().m_bRunsShort = true;
        capture.Store().m_arena->StartTouching(0, 0, [] {});
        capture.Store().m_bStartRequest = row.bTriggerWait;
        capture.Cam(0).m_uiInputRegister = 0x80000000; // active
        capture.Flags().m_bTriggerWaitLinear = row.bLinearTrigger;
        capture.Start(bRing ? ThreadStartOrder::HighestFirst : ThreadStartOrder::LowestFirst);
        ASSERT_TRUE(capture.WaitFrames(1, 10));
        if (!row.bLinearTrigger)
            capture.Store().m_bStartRequest = true;
        const std::uint64_t uiFrames = capture.Status(1).m_uiFrames;
        ASSERT_TRUE(capture.WaitFrames(1, uiFrames + 5)) << "the live view goes on";
        EXPECT_FALSE(capture.Store().m_bStartRequest);
        EXPECT_EQ(capture.Flags().m_iCaptureState, capture_state::kLive);
        for (std::size_t c = 0; c < 2; ++c)
            EXPECT_EQ(capture.Store().m_isaveFrameCount[c], kIdleFrameCount);
        EXPECT_TRUE(capture.Test().m_log.Contains("no recording can begin"));
        StopGrab(capture.Doc());
    }
}

// ---- Counters and requests

TEST(RecordToggle, LiveBecomesRecordingAndEverythingElseLive)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    FrameStore& store = capture.Store();
    CaptureFlags& flags = capture.Flags();
    const auto spoil = [&] {
        flags.m_uiMissedCount = 7;
        flags.m_uiOutOfSyncCount = 8;
        flags.m_iMarkStart = 12;
        flags.m_iMarkEnd = 40;
        flags.m_iSaveFirstFrame = 12;
        flags.m_iSaveLastFrame = 40;
        for (std::size_t c = 0; c < 2; ++c) {
            store.m_isaveFrameCount[c] = 106;
            store.m_bRecordDone[c] = true;
        }
        store.m_iStartMark = 3;
        store.m_iStopMark = 4;
        store.m_bStartRequest = true;
        store.m_bStopRequest = true;
        store.m_uiDoneCameras = 2;
    };
    for (const int iExpected : { capture_state::kRecording, capture_state::kLive }) {
        spoil();
        ResetRecordCounters(capture.Doc());
        EXPECT_EQ(flags.m_iCaptureState, iExpected);
        EXPECT_EQ(flags.m_uiMissedCount, 0U);
        EXPECT_EQ(flags.m_uiOutOfSyncCount, 0U);
        EXPECT_EQ(flags.m_iMarkStart, 0);
        EXPECT_EQ(flags.m_iMarkEnd, kFrames - 1);
        EXPECT_EQ(flags.m_iSaveFirstFrame, 0);
        EXPECT_EQ(flags.m_iSaveLastFrame, -1);
        for (std::size_t c = 0; c < 2; ++c) {
            EXPECT_EQ(store.m_isaveFrameCount[c], kIdleFrameCount);
            EXPECT_FALSE(store.m_bRecordDone[c]);
        }
        EXPECT_EQ(store.m_iStartMark, -1);
        EXPECT_EQ(store.m_iStopMark, -1);
        EXPECT_FALSE(store.m_bStartRequest);
        EXPECT_FALSE(store.m_bStopRequest);
        EXPECT_EQ(store.m_uiDoneCameras, 0U);
    }
}

TEST(MeasuredFps, FollowsTheFramesOfCameraZero)
{
    ScriptedCapture capture({ .uiCameras = 1 });
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 80));
    EXPECT_NEAR(capture.Flags().m_dMeasuredFps, 100.0, 0.2);
    StopGrab(capture.Doc());
    UpdateMeasuredFps(capture.Doc());
    const double dMeasured = capture.Flags().m_dMeasuredFps;
    UpdateMeasuredFps(capture.Doc()); // no time has passed
    EXPECT_EQ(capture.Flags().m_dMeasuredFps, dMeasured);
}
