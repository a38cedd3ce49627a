#include "recorded_document.h"

#include <gtest/gtest.h>

namespace vireo::test {
namespace {

// The verbs of the views: redraws, timers, and what a partner program and its keys ask for.

using Redraws = std::map<int, int>;

CooperationRequest Cooperation(std::int32_t iSwitches = 0, bool bPresent = true)
{
    CooperationRequest request;
    request.CooperationMode = true;
    request.PartnerPresent = bPresent;
    request.PartnerTitle = "Marten";
    request.CoopSwitches = iSwitches;
    return request;
}

// ---- Redraws

TEST(RefreshViews, RedrawsTheCamerasThatHaveAPicture)
{
    const struct {
        const char* pName;
        int iEnd0, iEnd1;
        bool bDone0, bDone1, bCapturing;
        Redraws redraws;
    } kRows[] = {
        { "frames flow", 5, 5, false, false, true, { { 0, 1 }, { 1, 1 } } },
        { "camera 0's first frame", 1, 1, false, false, true, { { 0, 1 }, { 1, 1 } } },
        { "no frame yet", 0, 0, false, false, true, {} },
        { "camera 0 has none", 0, 7, false, false, true, {} },
        { "camera 1 has none", 5, 0, false, false, true, { { 0, 1 } } },
        { "camera 1 is done at the ring's start", 5, 0, false, true, true, { { 0, 1 }, { 1, 1 } } },
        { "the recording is done", 5, 5, true, true, true, {} },
        { "the capture has ended", 5, 5, false, false, false, {} },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pName);
        OpenDocument bench;
        bench.Store().m_iendFrame[0] = row.iEnd0;
        bench.Store().m_iendFrame[1] = row.iEnd1;
        bench.Store().m_bRecordDone[0] = row.bDone0;
        bench.Store().m_bRecordDone[1] = row.bDone1;
        bench.Flags().m_bCapturing = row.bCapturing;
        RefreshViews(bench.Doc());
        EXPECT_EQ(bench.Asked().redraws, row.redraws);
        bench.Flags().m_bCapturing = true; // as it was
    }
}

TEST(ViewTimers, TheFastOneRedrawsLiveAndTheSlowOneWhileRecording)
{
    for (const int iTimer : { timer::kRefreshLive, timer::kRefreshSlow, timer::kExit, 40 })
        for (const int iState : { capture_state::kLive, capture_state::kRecording })
            for (const bool bCapturing : { true, false }) {
                SCOPED_TRACE(testing::Message() << "timer " << iTimer << ", state " << iState << ", " << bCapturing);
                OpenDocument bench;
                bench.Store().m_iendFrame[0] = 5;
                bench.Store().m_iendFrame[1] = 5;
                bench.Flags().m_iCaptureState = iState;
                bench.Flags().m_bCapturing = bCapturing;
                HandleTimer(bench.Doc(), iTimer);
                const bool bRedraws = bCapturing
                    && iTimer == (iState == capture_state::kLive ? timer::kRefreshLive : timer::kRefreshSlow);
                EXPECT_EQ(bench.Asked().redraws, bRedraws ? Redraws({ { 0, 1 }, { 1, 1 } }) : Redraws {});
                EXPECT_TRUE(bench.Asked().commands.empty());
                bench.Flags().m_bCapturing = true;
            }
}

TEST(ShowPlaybackFrame, PutsEveryCamerasFrameIntoItsPictureAcrossTheRingsEnd)
{
    OpenDocument bench;
    bench.MakeRecording(10);
    const int iSlots = bench.Store().m_iBufferFrames;
    bench.Store().m_istartFrame[1] = iSlots - 2;
    bench.Store().Slot(0, 7)[0] = 40;
    bench.Store().Slot(1, 2)[0] = 50;
    ShowPlaybackFrame(bench.Doc(), 4);
    EXPECT_EQ(bench.Asked().redraws, (Redraws { { 0, 1 }, { 1, 1 } }));
    EXPECT_EQ(bench.Flags().m_view[0].m_viewImage.GetData()[0], 40);
    EXPECT_EQ(bench.Flags().m_view[1].m_viewImage.GetData()[0], 50);
}

TEST(Steps, StayWithinTheRecordingAndShowThePictureAgainAtItsEnds)
{
    OpenDocument bench;
    bench.MakeRecording(3);
    int& iShown = bench.Doc().m_windows.m_iCurFrame;
    iShown = 0;
    StepBack(bench.Doc());
    EXPECT_EQ(iShown, 0);
    EXPECT_EQ(bench.Asked().redraws, (Redraws { { 0, 1 }, { 1, 1 } }));
    for (const int iExpected : { 1, 2, 2 }) {
        StepForward(bench.Doc());
        EXPECT_EQ(iShown, iExpected);
    }
    EXPECT_EQ(bench.Asked().redraws, (Redraws { { 0, 4 }, { 1, 4 } }));
    SetMarkEnd(bench.Doc());
    StepBack(bench.Doc());
    SetMarkStart(bench.Doc());
    EXPECT_EQ(bench.Flags().m_iSaveFirstFrame, 1);
    EXPECT_EQ(bench.Flags().m_iSaveLastFrame, 2);
    EXPECT_EQ(bench.Flags().m_iMarkStart, 1);
    EXPECT_EQ(bench.Flags().m_iMarkEnd, 2);
}

TEST(Playback, ShowsTheFirstFrameAndTheWholeRangeAndGoesBackWithoutTouchingThem)
{
    OpenDocument bench;
    bench.MakeRecording(10);
    bench.Doc().m_windows.m_iCurFrame = 6;
    bench.Flags().m_iSaveFirstFrame = 4;
    bench.Flags().m_iSaveLastFrame = 6;
    TogglePlayback(bench.Doc());
    EXPECT_TRUE(bench.Flags().m_bPlayback);
    EXPECT_EQ(bench.Doc().m_windows.m_iCurFrame, 0);
    EXPECT_EQ(bench.Flags().m_iSaveFirstFrame, 0);
    EXPECT_EQ(bench.Flags().m_iSaveLastFrame, -1);
    EXPECT_EQ(bench.Asked().redraws, (Redraws { { 0, 1 }, { 1, 1 } }));
    bench.Flags().m_iSaveFirstFrame = 2;
    TogglePlayback(bench.Doc());
    EXPECT_FALSE(bench.Flags().m_bPlayback);
    EXPECT_EQ(bench.Flags().m_iSaveFirstFrame, 2);
}

// ---- The end of a cooperation run

TEST(ExitTimer, SavesTheRecordingAndEndsACooperationRun)
{
    CooperationRequest request = Cooperation();
    OpenDocument bench("simulated:2xFL3-U3-13Y3M", request);
    request.CoopFileNames = { bench.m_folder / "a.avi", bench.m_folder / "b.avi" };
    bench.m_app.SetRequest(request);
    bench.MakeRecording(10);
    HandleTimer(bench.Doc(), timer::kExit);
    ASSERT_EQ(bench.m_test.m_video.Videos().size(), 2U);
    EXPECT_EQ(bench.m_test.m_video.Videos()[0].strFileName, bench.m_folder / "a-cam1.avi");
    EXPECT_EQ(bench.Asked().settleMs.back(), 500);
    EXPECT_EQ(bench.Asked().commands, std::vector<int> { command::kExit });
    EXPECT_TRUE(GrabThreadsAsked().starts.empty()) << "nothing is prepared for another recording";
}

TEST(ExitTimer, WaitsForASaveThatRuns)
{
    OpenDocument bench("simulated:2xFL3-U3-13Y3M", Cooperation());
    bench.MakeRecording(10);
    bench.Flags().m_bSaving = true;
    HandleTimer(bench.Doc(), timer::kExit);
    EXPECT_EQ(bench.Asked().iExitTimers, 1);
    EXPECT_TRUE(bench.Asked().commands.empty());
    bench.Flags().m_bSaving = false;
}

TEST(ExitTimer, IsNothingWithoutCooperation)
{
    OpenDocument bench;
    bench.MakeRecording(10);
    HandleTimer(bench.Doc(), timer::kExit);
    EXPECT_TRUE(bench.m_test.m_video.Videos().empty());
    EXPECT_TRUE(bench.Asked().commands.empty());
}

// ---- Copy-data of the partner

TEST(PartnerCopyData, StartsAndStopsARecordingOrEndsALiveProgram)
{
    enum Effect { kNothing, kStart, kStop, kEnd };
    constexpr int kOurs = partner::kCopyDataIdentifier;
    const struct {
        int iIdentifier;
        const char* pPayload;
        int iState; ///< 0 = nothing captures
        Effect eEffect;
    } kRows[] = {
        { kOurs, "1", capture_state::kLive, kEnd },
        { kOurs, "1", capture_state::kRecording, kStop },
        { kOurs, "1", 0, kNothing },
        { kOurs, "2", capture_state::kLive, kStart },
        { kOurs, "2", capture_state::kRecording, kNothing },
        { kOurs, "2", 0, kNothing },
        { kOurs, "0", capture_state::kLive, kNothing },
        { kOurs, "3", capture_state::kLive, kNothing },
        { kOurs, "-1", capture_state::kRecording, kNothing },
        { kOurs, "", capture_state::kLive, kNothing },
        { kOurs, "stop", capture_state::kRecording, kNothing },
        { kOurs, "99999999999999999999", capture_state::kLive, kNothing },
        { kOurs + 1, "2", capture_state::kLive, kNothing },
        { 0, "1", capture_state::kRecording, kNothing },
    };
    for (const auto& row : kRows)
        for (const bool bPresent : { true, false }) {
            SCOPED_TRACE(testing::Message() << row.iIdentifier << " \"" << row.pPayload << "\" in " << row.iState);
            OpenDocument bench("simulated:2xFL3-U3-13Y3M", Cooperation(0, bPresent));
            bench.Flags().m_bCapturing = row.iState != 0;
            bench.Flags().m_iCaptureState = row.iState != 0 ? row.iState : capture_state::kLive;
            HandlePartnerCopyData(bench.Doc(), row.iIdentifier, row.pPayload);
            const Effect eEffect = bPresent ? row.eEffect : kNothing;
            EXPECT_EQ(bench.Store().m_bStartRequest, eEffect == kStart);
            EXPECT_EQ(bench.Store().m_bStopRequest, eEffect == kStop);
            EXPECT_EQ(
                bench.Asked().commands, eEffect == kEnd ? std::vector<int> { command::kExit } : std::vector<int> {});
            bench.Flags().m_bCapturing = true;
        }
}

// ---- Keys of a cooperation run

TEST(CooperationKeys, AreTakenOnlyWithTheHundredsOfTheSwitches)
{
    for (const std::int32_t iSwitches : { 0, 11, 99, -100, 100, 111, 1000 }) {
        const bool bTaken = iSwitches >= 100;
        OpenDocument bench("simulated:2xFL3-U3-13Y3M", Cooperation(iSwitches));
        EXPECT_EQ(HandleCooperationEnter(bench.Doc()), bTaken) << iSwitches;
        EXPECT_EQ(bench.Store().m_bStartRequest, bTaken);
        EXPECT_EQ(HandleCooperationEscape(bench.Doc()), bTaken);
        EXPECT_EQ(bench.Asked().commands.size(), bTaken ? 1U : 0U);
    }
    OpenDocument alone;
    EXPECT_FALSE(HandleCooperationEnter(alone.Doc()));
    EXPECT_FALSE(HandleCooperationEscape(alone.Doc()));
}

TEST(CooperationKeys, EnterEndsARunningRecordingAndEscapeLeavesItAlone)
{
    OpenDocument bench("simulated:2xFL3-U3-13Y3M", Cooperation(100));
    bench.Flags().m_iCaptureState = capture_state::kRecording;
    EXPECT_TRUE(HandleCooperationEscape(bench.Doc()));
    EXPECT_TRUE(bench.Asked().commands.empty());
    EXPECT_EQ(bench.m_app.CooperationResult(), 0);
    EXPECT_TRUE(HandleCooperationEnter(bench.Doc()));
    EXPECT_TRUE(bench.Store().m_bStopRequest);
    EXPECT_FALSE(bench.Store().m_bStartRequest);
}

TEST(CooperationKeys, EscapeCancelsALiveRun)
{
    OpenDocument bench("simulated:2xFL3-U3-13Y3M", Cooperation(100));
    EXPECT_TRUE(HandleCooperationEscape(bench.Doc()));
    EXPECT_EQ(bench.m_app.CooperationResult(), cooperation_result::kCancelled);
    EXPECT_EQ(bench.Asked().commands, std::vector<int> { command::kExit });
}

} // namespace
} // namespace vireo::test
