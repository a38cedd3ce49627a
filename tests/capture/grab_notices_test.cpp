#include "capture/grab_threads.h"
#include "timed_stop.h"

#include <algorithm>
#include <gtest/gtest.h>

using namespace vireo;
using namespace vireo::test;

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
