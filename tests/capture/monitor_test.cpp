#include "capture/monitor.h"
#include "capture/recording_rules.h"
#include "scripted_capture.h"

#include <gtest/gtest.h>

using namespace vireo;
using namespace vireo::test;

namespace {

ScriptedCapture::Setup Linear(std::size_t uiCameras = 2)
{
    return { .uiCameras = uiCameras, .strModel = kOlderModel, .iMode = capture_mode::kLinear };
}

} // namespace

TEST(Monitor, FramesInStepAreNotCounted)
{
    ScriptedCapture capture(Linear(4));
    capture.Start(ThreadStartOrder::LowestFirst);
    ASSERT_TRUE(capture.WaitFrames(0, 200));
    EXPECT_EQ(capture.Flags().m_uiOutOfSyncCount, 0U);
    EXPECT_TRUE(capture.WaitFor(
        [&] { return capture.Store().m_iLastFrame[0] == RingBefore(capture.Store().m_iendFrame[0], 164); }));
}

TEST(Monitor, OneCameraOutOfStepCountsOncePerFrameOfCameraZero)
{
    ScriptedCapture capture(Linear(4));
    capture.Cam(1).m_dClockOffset = 0.5;
    capture.Cam(3).m_dClockOffset = 0.7;
    capture.Start(ThreadStartOrder::LowestFirst);
    ASSERT_TRUE(capture.WaitFrames(0, 50));
    EXPECT_NEAR(static_cast<double>(capture.Flags().m_uiOutOfSyncCount), 49.0, 2.0);
}

TEST(Monitor, TimesAWrapApartAreNotCounted)
{
    ScriptedCapture capture(Linear());
    capture.Cam(1).m_dClockOffset = 127.2;
    capture.Start(ThreadStartOrder::LowestFirst);
    ASSERT_TRUE(capture.WaitFrames(0, 50));
    EXPECT_EQ(capture.Flags().m_uiOutOfSyncCount, 0U);
}

TEST(Monitor, WithOneCameraNothingIsCounted)
{
    ScriptedCapture capture(Linear(1));
    capture.Start(ThreadStartOrder::LowestFirst);
    ASSERT_TRUE(capture.WaitFrames(0, 50));
    EXPECT_EQ(capture.Flags().m_uiOutOfSyncCount, 0U);
}

TEST(Monitor, NothingIsComparedBeforeEveryCameraHasAFrame)
{
    ScriptedCapture capture(Linear());
    capture.Cam(0).m_delay = 500 * kNsPerMs;
    capture.Cam(1).m_dClockOffset = 60.0;
    capture.Start(ThreadStartOrder::LowestFirst);
    ASSERT_TRUE(capture.WaitFrames(1, 40));
    EXPECT_EQ(capture.Flags().m_uiOutOfSyncCount, 0U);
}

TEST(Monitor, StrobeCapableModelsAreNotComparedLive)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Cam(1).m_dClockOffset = 0.5;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 50));
    EXPECT_EQ(capture.Flags().m_uiOutOfSyncCount, 0U);
}

TEST(Monitor, TheStartPulseEndsAfterHalfASecond)
{
    ScriptedCapture capture(Linear());
    capture.Start(ThreadStartOrder::LowestFirst);
    ASSERT_TRUE(capture.WaitFrames(0, 5));
    capture.Cam(0).m_uiInputRegister = 0x80000000; // reads as 1, not the configured 0
    capture.Flags().m_llStartTime = capture.GetClock().Now();
    capture.Flags().m_bLevelToggled = true;
    capture.GetClock().SleepMs(490);
    EXPECT_TRUE(capture.Flags().m_bLevelToggled);
    EXPECT_EQ(capture.Cam(0).m_iLevelWrites, 0);
    capture.GetClock().SleepMs(20);
    EXPECT_FALSE(capture.Flags().m_bLevelToggled);
    EXPECT_EQ(capture.Cam(0).m_iLevelWrites, 1);
}

TEST(Monitor, ALevelThatReadsAsConfiguredIsNotAppliedAgain)
{
    ScriptedCapture capture(Linear());
    capture.Start(ThreadStartOrder::LowestFirst);
    ASSERT_TRUE(capture.WaitFrames(0, 5));
    capture.Flags().m_llStartTime = capture.GetClock().Now();
    capture.Flags().m_bLevelToggled = true;
    capture.GetClock().SleepMs(510);
    EXPECT_FALSE(capture.Flags().m_bLevelToggled);
    EXPECT_EQ(capture.Cam(0).m_iLevelWrites, 0);
}

TEST(Monitor, StrobeCapableModelsKeepTheirLevel)
{
    ScriptedCapture capture({ .uiCameras = 2 });
    capture.Cam(0).m_uiInputRegister = 0x80000000;
    capture.Flags().m_bLevelToggled = true;
    capture.Start();
    ASSERT_TRUE(capture.WaitFrames(0, 80));
    EXPECT_TRUE(capture.Flags().m_bLevelToggled);
}

TEST(Monitor, KeyPromptsFollowTheStateOfACooperationRun)
{
    const struct {
        bool m_bCooperation;
        int m_iSwitches;
        bool m_bPrompts;
    } kRows[] = { { true, 11, true }, { true, 111, true }, { true, 10, false }, { true, 1, false }, { true, 0, false },
        { true, -11, false }, { false, 11, false } };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.m_iSwitches);
        ScriptedCapture capture({ .uiCameras = 1 });
        CooperationRequest request;
        request.CooperationMode = row.m_bCooperation;
        request.CoopSwitches = row.m_iSwitches;
        capture.App().SetRequest(request);
        capture.Start();
        ASSERT_TRUE(capture.WaitFrames(0, 20));
        capture.Store().m_bStartRequest = true;
        ASSERT_TRUE(capture.WaitFrames(0, 40));
        const std::vector<std::string> expected = row.m_bPrompts
            ? std::vector<std::string> { "START[ENTER]key, CANCEL[ESC]key", "FINISH[ENTER]key" }
            : std::vector<std::string> {};
        EXPECT_EQ(capture.Window().Record().mainTitles, expected) << "each title once, not per pass";
    }
}

TEST(Monitor, OlderModelsShowNoPrompts)
{
    ScriptedCapture capture(Linear(1));
    CooperationRequest request;
    request.CooperationMode = true;
    request.CoopSwitches = 11;
    capture.App().SetRequest(request);
    capture.Start(ThreadStartOrder::LowestFirst);
    ASSERT_TRUE(capture.WaitFrames(0, 20));
    EXPECT_TRUE(capture.Window().Record().mainTitles.empty());
}

TEST(Monitor, AModelThatCannotBeReadIsTakenForAStrobeCapableOne)
{
    ScriptedCapture capture(Linear());
    capture.Cam(0).m_infoResult = ErrorType::TransportFailed;
    capture.Cam(1).m_dClockOffset = 0.5;
    capture.Start(ThreadStartOrder::LowestFirst);
    ASSERT_TRUE(capture.WaitFrames(0, 30));
    EXPECT_EQ(capture.Flags().m_uiOutOfSyncCount, 0U);
    EXPECT_TRUE(capture.Test().m_log.Contains("GetCameraInfo() of camera 0: error 20"));
}
