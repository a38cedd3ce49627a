#include "recorded_document.h"

#include <gtest/gtest.h>

namespace vireo::test {
namespace {

// The verbs of the views: redraws, playback, and the save that ends a cooperation run.

using Redraws = std::map<int, int>;

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
    CooperationRequest request;
    request.CooperationMode = true;
    OpenDocument bench("simulated:2xFL3-U3-13Y3M", request);
    request.CoopFileNames = { bench.m_folder / "a.avi", bench.m_folder / "b.avi" };
    bench.m_app.SetRequest(request);
    bench.MakeRecording(10);
    HandleTimer(bench.Doc(), timer::kExit);
    ASSERT_EQ(bench.m_test.m_video.Videos().size(), 2U);
    EXPECT_EQ(bench.m_test.m_video.Videos()[0].strFileName, bench.m_folder / "a-cam1.avi");
    EXPECT_EQ(bench.Asked().settleMs, std::vector<int> { 500 });
    EXPECT_EQ(bench.Asked().commands, std::vector<int> { command::kExit });
    EXPECT_TRUE(GrabThreadsAsked().starts.empty()) << "nothing is prepared for another recording";
}

} // namespace
} // namespace vireo::test
