#include "capture/panel_rules.h"
#include "support/test_platform.h"

#include <gtest/gtest.h>

using namespace vireo;

TEST(PanelRules, EveryStateOfTheCaptureHasItsControls)
{
    constexpr int kRing = capture_mode::kRing;
    const struct {
        const char* m_strName;
        PanelFlags m_flags;
        PanelState m_state;
    } kRows[] = {
        { "live", { .iCaptureMode = kRing },
            { .bInputGroup = true, .bStart = true, .bSaveAfterRecord = true, .bTriggerWait = true } },
        { "live, linear", {}, { .bInputGroup = true, .bStart = true, .bSaveAfterRecord = true, .bTriggerWait = true } },
        { "recording", { .bRecording = true, .iCaptureMode = kRing },
            { .bInputGroup = true, .bSaveAfterRecord = true, .bTriggerWait = true } },
        { "recorded", { .bDone = true, .bEnded = true, .iCaptureMode = kRing },
            { .bPrepare = true, .bPlay = true, .bSave = true, .bTriggerWait = true } },
        { "recorded, linear: no trigger wait", { .bDone = true, .bEnded = true },
            { .bPrepare = true, .bPlay = true, .bSave = true } },
        { "camera 0 done, its thread still running", { .bDone = true, .bRecording = true, .iCaptureMode = kRing },
            { .bPrepare = true, .bPlay = true, .bSave = true, .bTriggerWait = true } },
        { "stopped or failed before anything was recorded", { .bEnded = true, .iCaptureMode = kRing },
            { .bInputGroup = true, .bPrepare = true, .bSaveAfterRecord = true, .bTriggerWait = true } },
        { "waiting for the trigger, ring", { .bTriggerWaitRing = true, .iCaptureMode = kRing },
            { .bSaveAfterRecord = true, .bTriggerWait = true } },
        { "waiting for the trigger, linear", { .bTriggerWaitLinear = true },
            { .bSaveAfterRecord = true, .bTriggerWait = true } },
        { "continuous pulses", { .bContinuous = true, .iCaptureMode = kRing },
            { .bSaveAfterRecord = true, .bTriggerWait = true } },
        { "recorded with continuous pulses: no playback",
            { .bDone = true, .bEnded = true, .bContinuous = true, .iCaptureMode = kRing },
            { .bPrepare = true, .bSave = true, .bTriggerWait = true } },
        { "playback", { .bDone = true, .bEnded = true, .bPlayback = true, .iCaptureMode = kRing },
            { .bPrepare = true, .bPlay = true, .bSave = true, .bTriggerWait = true, .bPlaybackControls = true } },
        { "a mode that does not exist", { .iCaptureMode = 3 },
            { .bInputGroup = true, .bStart = true, .bSaveAfterRecord = true } },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.m_strName);
        EXPECT_TRUE(ComputePanelState(row.m_flags) == row.m_state);
    }
}

TEST(PanelRules, TheDocumentsFlagsAreRead)
{
    test::TestPlatform platform;
    CVireoApp app(platform.m_platform);
    CVireoDoc doc(app);
    EXPECT_TRUE(PanelFlagsOf(doc).bEnded) << "no thread has been started yet";

    const auto flag = [&doc](auto set) {
        set(doc);
        return PanelFlagsOf(doc);
    };
    EXPECT_FALSE(flag([](CVireoDoc& d) { d.m_capture.m_bThreadEnded[0] = false; }).bEnded);
    EXPECT_FALSE(flag([](CVireoDoc& d) { d.m_store.m_bRecordDone[1] = true; }).bDone) << "camera 0 counts";
    EXPECT_TRUE(flag([](CVireoDoc& d) { d.m_store.m_bRecordDone[0] = true; }).bDone);
    EXPECT_TRUE(flag([](CVireoDoc& d) { d.m_capture.m_iCaptureState = capture_state::kRecording; }).bRecording);
    EXPECT_TRUE(flag([](CVireoDoc& d) { d.m_capture.m_bPlayback = true; }).bPlayback);
    EXPECT_TRUE(flag([](CVireoDoc& d) { d.m_capture.m_bPulseSync = true; }).bContinuous);
    EXPECT_TRUE(flag([](CVireoDoc& d) { d.m_capture.m_bTriggerWaitRing = true; }).bTriggerWaitRing);
    EXPECT_TRUE(flag([](CVireoDoc& d) { d.m_capture.m_bTriggerWaitLinear = true; }).bTriggerWaitLinear);
    EXPECT_EQ(
        flag([](CVireoDoc& d) { d.m_capture.m_iCaptureMode = capture_mode::kRing; }).iCaptureMode, capture_mode::kRing);
}

TEST(PanelRules, AnUpdateHasThePanelFollow)
{
    test::TestPlatform platform;
    CVireoApp app(platform.m_platform);
    CVireoDoc doc(app);
    UpdatePanelState(doc);
    EXPECT_EQ(platform.m_window.Record().iPanelRefreshes, 1);
}
