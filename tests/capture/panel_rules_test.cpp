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

// Each control by what it needs and what shuts it off, in every state of all flags and in every mode.
TEST(PanelRules, EveryControlFollowsItsConditionsInEveryState)
{
    enum Flag : unsigned {
        kDone = 1,
        kEnded = 2,
        kRecording = 4,
        kPlayback = 8,
        kContinuous = 16,
        kWaitRing = 32,
        kWaitLinear = 64,
        kEveryFlag = 127,
    };
    const struct {
        const char* pName;
        bool PanelState::*pControl;
        unsigned uiNeedsOneOf; ///< 0: needs nothing
        unsigned uiShutOffBy;
        int iEnabledStates; ///< of 128, counted by hand
    } kControls[] = {
        { "preset buttons", &PanelState::bInputGroup, 0, kDone | kWaitRing | kWaitLinear | kContinuous, 8 },
        { "計測準備", &PanelState::bPrepare, kEnded | kDone, 0, 96 },
        { "スタート", &PanelState::bStart, 0, kEveryFlag, 1 },
        { "再生", &PanelState::bPlay, kDone, kContinuous, 32 },
        { "保存", &PanelState::bSave, kDone, 0, 64 },
        { "録画後保存", &PanelState::bSaveAfterRecord, 0, kDone, 64 },
        { "steps and marks", &PanelState::bPlaybackControls, kPlayback, 0, 64 },
        { "ﾄﾘｶﾞ待, mode 1", &PanelState::bTriggerWait, 0, kDone, 64 },
        { "ﾄﾘｶﾞ待, mode 2", &PanelState::bTriggerWait, 0, 0, 128 },
    };
    for (const int iMode : { capture_mode::kLinear, capture_mode::kRing }) {
        for (const auto& control : kControls) {
            const bool bTriggerWait = control.pControl == &PanelState::bTriggerWait;
            const bool bOfMode1 = control.uiShutOffBy == kDone;
            if (bTriggerWait && bOfMode1 != (iMode == capture_mode::kLinear))
                continue;
            int iEnabled = 0;
            for (unsigned uiFlags = 0; uiFlags <= kEveryFlag; ++uiFlags) {
                const PanelFlags flags { .bDone = (uiFlags & kDone) != 0,
                    .bEnded = (uiFlags & kEnded) != 0,
                    .bRecording = (uiFlags & kRecording) != 0,
                    .bPlayback = (uiFlags & kPlayback) != 0,
                    .bContinuous = (uiFlags & kContinuous) != 0,
                    .bTriggerWaitRing = (uiFlags & kWaitRing) != 0,
                    .bTriggerWaitLinear = (uiFlags & kWaitLinear) != 0,
                    .iCaptureMode = iMode };
                const bool bNeeds = control.uiNeedsOneOf == 0 || (uiFlags & control.uiNeedsOneOf) != 0;
                const bool bShutOff = (uiFlags & control.uiShutOffBy) != 0;
                const bool bEnabled = ComputePanelState(flags).*control.pControl;
                EXPECT_EQ(bEnabled, bNeeds && !bShutOff) << control.pName << " in state " << uiFlags;
                iEnabled += bEnabled ? 1 : 0;
            }
            EXPECT_EQ(iEnabled, control.iEnabledStates) << control.pName << " in mode " << iMode;
        }
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
