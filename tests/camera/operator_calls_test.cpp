#include "capture/grab_threads.h"
#include "recorded_document.h"

#include <gtest/gtest.h>

namespace vireo::test {
namespace {

// What each verb asks of cameras and screen; no thread runs.

constexpr int kFrames = 10;

std::vector<std::size_t> PlacesOf(const OpenDocument& bench, Operation eOperation, const std::string& strArguments = {})
{
    std::vector<std::size_t> places;
    const auto calls = bench.m_library.Calls();
    for (std::size_t i = 0; i < calls.size(); ++i)
        if (calls[i].eOperation == eOperation && calls[i].strArguments.starts_with(strArguments))
            places.push_back(i);
    return places;
}

// ---- "計測準備"

TEST(Prepare, StopsThenPutsTheLevelBackThenConfiguresThenStarts)
{
    OpenDocument bench;
    bench.Flags().m_bLevelToggled = true;
    ASSERT_TRUE(Prepare(bench.Doc(), false));
    const auto strobeOff = PlacesOf(bench, Operation::SetStrobe, "off");
    const auto stops = PlacesOf(bench, Operation::StopCapture);
    const auto levels = PlacesOf(bench, Operation::WriteRegister, "0x11F0");
    const auto modes = PlacesOf(bench, Operation::SetFormat7Configuration);
    const auto starts = PlacesOf(bench, Operation::StartCapture);
    ASSERT_FALSE(strobeOff.empty() || stops.empty() || levels.empty() || modes.empty() || starts.empty());
    EXPECT_LT(strobeOff.front(), stops.front());
    EXPECT_LT(stops[1], levels.front()) << "both cameras are stopped first";
    EXPECT_LT(levels.front(), modes.front());
    EXPECT_LT(modes.back(), starts.front());
    EXPECT_FALSE(bench.Flags().m_bLevelToggled);
    EXPECT_EQ(bench.Asked().settleMs.front(), 100) << "before the cameras are configured";
    EXPECT_EQ(GrabThreadsAsked().iStops, 1);
    EXPECT_EQ(GrabThreadsAsked().starts.size(), 1U);
    EXPECT_GE(bench.Asked().iPanelRefreshes, 1);
}

TEST(Prepare, ForgetsTheLastRecordingAndItsMarks)
{
    OpenDocument bench;
    bench.MakeRecording(kFrames);
    bench.Flags().m_iSaveFirstFrame = 4;
    bench.Flags().m_iSaveLastFrame = 6;
    bench.Flags().m_bPlayback = true;
    ASSERT_TRUE(Prepare(bench.Doc(), false));
    const FrameStore& store = bench.Store();
    for (std::size_t c = 0; c < 2; ++c) {
        EXPECT_FALSE(store.m_bRecordDone[c]);
        EXPECT_EQ(store.m_isaveFrameCount[c], kIdleFrameCount);
        EXPECT_EQ(store.m_iendFrame[c], 0);
        EXPECT_EQ(store.m_iLastFrame[c], 0);
    }
    EXPECT_EQ(store.m_iStartMark, -1);
    EXPECT_EQ(store.m_iStopMark, -1);
    EXPECT_EQ(store.m_uiDoneCameras, 0U);
    EXPECT_EQ(bench.Flags().m_iSaveFirstFrame, 0);
    EXPECT_EQ(bench.Flags().m_iSaveLastFrame, -1);
    EXPECT_FALSE(bench.Flags().m_bPlayback);
}

TEST(Prepare, TakesTheTriggerBoxForTheModeThatRan)
{
    for (const int iMode : { capture_mode::kRing, capture_mode::kLinear }) {
        OpenDocument bench;
        bench.Flags().m_iCaptureMode = iMode;
        ASSERT_TRUE(Prepare(bench.Doc(), true));
        EXPECT_EQ(bench.Flags().m_bTriggerWaitRing, iMode == capture_mode::kRing);
        EXPECT_EQ(bench.Flags().m_bTriggerWaitLinear, iMode == capture_mode::kLinear);
    }
}

TEST(Prepare, AsksForTheRecordingInContinuousPulseOperationOnceTheCamerasRun)
{
    const struct {
        bool bPulse, bFails, bAsked;
    } kRows[] = { { false, false, false }, { true, false, true }, { true, true, false } };
    for (const auto& row : kRows) {
        OpenDocument bench;
        bench.Flags().m_bPulseSync = row.bPulse;
        if (row.bFails)
            bench.m_library.Fail({ .eOperation = Operation::SetFormat7Configuration });
        EXPECT_EQ(Prepare(bench.Doc(), false), !row.bFails);
        EXPECT_EQ(bench.Store().m_bStartRequest, row.bAsked);
        EXPECT_TRUE(bench.Asked().commands.empty()) << "a failure leaves the program open";
    }
}

// ---- Presets

TEST(SelectPreset, GoesBackToASafeSettingAndEndsTheProgramWhenTheCamerasRefuse)
{
    OpenDocument bench;
    WriteFile(bench.m_folder / "Tessel.ini", "[CAM_PROPERTY_DATA2]\r\nFrameRate=100\r\nRecTime=3\r\nGain=99\r\n");
    bench.m_library.Fail({ .eOperation = Operation::SetFormat7Configuration });
    EXPECT_FALSE(SelectPreset(bench.Doc(), 2));
    EXPECT_EQ(bench.Messages(), Texts { "ｶﾒﾗの設定に失敗しました。(2)(20)\n" });
    EXPECT_EQ(bench.Asked().commands, std::vector<int> { command::kExit });
    EXPECT_EQ(bench.Parameters().m_iRecordSec, 1);
    EXPECT_EQ(bench.Parameters().m_iFps, 30);
    EXPECT_EQ(bench.Parameters().PresetIndex, 2);
    EXPECT_FALSE(bench.Flags().m_bCapturing);
    EXPECT_GE(bench.Asked().iPanelRefreshes, 1);
}

TEST(SelectPreset, AppliesWhatStandsInTheFileWithTheGainWithinTheModelsLimits)
{
    OpenDocument bench;
    WriteFile(bench.m_folder / "Tessel.ini", "[CAM_PROPERTY_DATA2]\r\nFrameRate=100\r\nRecTime=1\r\nGain=99\r\n");
    EXPECT_TRUE(SelectPreset(bench.Doc(), 2)) << testing::PrintToString(bench.Messages());
    EXPECT_EQ(bench.Parameters().m_iFps, 100);
    EXPECT_EQ(bench.Parameters().m_fGain, 18.0F);
    EXPECT_EQ(bench.Store().m_iAllocatedFrames, 164);
    EXPECT_EQ(bench.Asked().iPlacements, 1);
    EXPECT_EQ(GrabThreadsAsked().starts.size(), 1U);
    EXPECT_TRUE(bench.Asked().commands.empty());
}

TEST(OperatorActions, DoNothingWhileASaveRuns)
{
    OpenDocument bench;
    bench.MakeRecording(kFrames);
    CVireoDoc& doc = bench.Doc();
    bench.Flags().m_bSaving = true;
    EXPECT_FALSE(SelectPreset(doc, 2));
    EXPECT_FALSE(ApplyPresetValues(doc, {}));
    EXPECT_FALSE(Prepare(doc, true));
    EXPECT_FALSE(Start(doc));
    EXPECT_FALSE(ToggleTriggerWait(doc));
    EXPECT_FALSE(TogglePulseSync(doc));
    EXPECT_FALSE(SaveFromMenu(doc).bRan);
    TogglePlayback(doc);
    Save(doc);
    EXPECT_FALSE(bench.Flags().m_bPlayback);
    EXPECT_TRUE(bench.Store().m_bRecordDone[0]);
    EXPECT_EQ(bench.Parameters().PresetIndex, 0);
    EXPECT_TRUE(bench.m_library.Calls().empty());
    EXPECT_TRUE(bench.m_test.m_video.Videos().empty());
    bench.Flags().m_bSaving = false;
}

// ---- "スタート"

TEST(Start, FlipsTheLevelOnlyForCamerasThatAreNotStrobeLocked)
{
    const struct {
        const char* pCameras;
        std::size_t uiWrites;
    } kRows[] = { { "simulated:2xFL3-U3-13Y3M", 0 }, { "simulated:2xGRAS-03K2", 1 } };
    for (const auto& row : kRows) {
        OpenDocument bench(row.pCameras);
        EXPECT_TRUE(Start(bench.Doc()));
        EXPECT_TRUE(Start(bench.Doc())) << "pressed again before a frame came";
        EXPECT_EQ(PlacesOf(bench, Operation::WriteRegister, "0x11F0").size(), row.uiWrites);
        EXPECT_EQ(bench.Flags().m_bLevelToggled, row.uiWrites == 1);
        EXPECT_TRUE(bench.Store().m_bStartRequest);
    }
}

TEST(Start, IsRefusedUnlessFramesFlowAndNothingIsRecorded)
{
    OpenDocument bench;
    bench.Flags().m_iCaptureState = capture_state::kRecording;
    EXPECT_FALSE(Start(bench.Doc()));
    bench.Flags().m_iCaptureState = capture_state::kLive;
    bench.Flags().m_bCapturing = false;
    EXPECT_FALSE(Start(bench.Doc()));
    EXPECT_FALSE(bench.Store().m_bStartRequest);
    bench.Flags().m_bCapturing = true;
    EXPECT_TRUE(Start(bench.Doc()));
}

// ---- Saving and preparing the next recording

TEST(SaveAviAndRearm, ASaveThatEndsEarlyKeepsTheRecordingAndPreparesNothing)
{
    const struct {
        const char* pName;
        void (*arrange)(OpenDocument& bench);
        std::size_t uiMessages;
    } kRows[] = {
        { "open", [](OpenDocument& bench) { bench.m_test.m_video.m_openError = ErrorType::FileOpenFailed; }, 1 },
        { "append", [](OpenDocument& bench) { bench.m_test.m_video.m_appendError = ErrorType::FileWriteFailed; }, 1 },
        { "close", [](OpenDocument& bench) { bench.m_test.m_video.m_closeError = ErrorType::FileCloseFailed; }, 1 },
        { "name", [](OpenDocument& bench) { bench.Doc().m_naming.m_strFileTitle = std::string(300, 'x'); }, 1 },
        { "drive", [](OpenDocument& bench) { bench.Doc().m_naming.m_strSaveFolder = "q:\\none"; }, 1 },
        { "every question cancelled",
            [](OpenDocument& bench) {
                WriteFile(bench.m_folder / "take-cam1-0000.avi", "older");
                WriteFile(bench.m_folder / "take-cam2-0000.avi", "older");
            },
            0 },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pName);
        OpenDocument bench;
        bench.MakeRecording(kFrames);
        row.arrange(bench);
        Save(bench.Doc());
        EXPECT_EQ(bench.Messages().size(), row.uiMessages);
        const FrameStore& store = bench.Store();
        for (std::size_t c = 0; c < 2; ++c) {
            EXPECT_TRUE(store.m_bRecordDone[c]);
            EXPECT_EQ(store.m_isaveFrameCount[c], kFrames + 6);
            EXPECT_EQ(store.m_istartFrame[c], 3);
        }
        EXPECT_EQ(store.m_iStartMark, 3);
        EXPECT_EQ(bench.Flags().m_iCaptureState, capture_state::kLive);
        EXPECT_FALSE(bench.Flags().m_bCapturing) << "live frames would overwrite it";
        EXPECT_TRUE(GrabThreadsAsked().starts.empty());
        EXPECT_TRUE(bench.Asked().commands.empty());
        EXPECT_TRUE(bench.Doc().m_naming.m_astrFileHistory.empty());
        EXPECT_GE(bench.Asked().iPanelRefreshes, 1) << "saving is offered again";

        bench.m_test.m_video.m_openError = bench.m_test.m_video.m_appendError = bench.m_test.m_video.m_closeError = {};
        bench.Doc().m_naming.m_strSaveFolder = bench.m_folder.Path();
        bench.Doc().m_naming.m_strFileTitle = "second";
        Save(bench.Doc());
        ASSERT_FALSE(bench.m_test.m_video.Videos().empty());
        EXPECT_EQ(bench.m_test.m_video.Videos().back().frames.size(), static_cast<std::size_t>(kFrames));
        EXPECT_FALSE(store.m_bRecordDone[0]);
        EXPECT_TRUE(bench.Flags().m_bCapturing);
    }
}

TEST(SaveAviAndRearm, AsksForTheRateBeforeTheNameIsJudged)
{
    OpenDocument bench;
    bench.MakeRecording(kFrames);
    bench.Doc().m_naming.m_strFileTitle = std::string(300, 'x');
    Save(bench.Doc());
    EXPECT_EQ(bench.Messages(), Texts { "文字の変換に失敗しました" });
    EXPECT_EQ(PlacesOf(bench, Operation::GetProperty, "16").size(), 1U);
}

TEST(SaveAviAndRearm, ACompleteSavePutsEveryCounterBackAndStartsTheCameras)
{
    OpenDocument bench;
    bench.MakeRecording(kFrames);
    bench.Store().m_bStartRequest = true;
    bench.Store().m_bStopRequest = true;
    Save(bench.Doc());
    const FrameStore& store = bench.Store();
    for (std::size_t c = 0; c < 2; ++c) {
        EXPECT_FALSE(store.m_bRecordDone[c]);
        EXPECT_EQ(store.m_isaveFrameCount[c], kIdleFrameCount);
        EXPECT_EQ(store.m_iendFrame[c], 0);
        EXPECT_EQ(store.m_iLastFrame[c], 0);
    }
    EXPECT_EQ(store.m_iStartMark, -1);
    EXPECT_EQ(store.m_iStopMark, -1);
    EXPECT_FALSE(store.m_bStartRequest || store.m_bStopRequest);
    EXPECT_EQ(store.m_uiDoneCameras, 0U) << "else the next capture would end at once";
    EXPECT_EQ(GrabThreadsAsked().starts.size(), 1U);
    EXPECT_EQ(bench.Doc().m_naming.m_astrFileHistory, Texts { "take" });
    EXPECT_EQ(bench.Asked().settleMs.front(), 100);
    const auto levels = PlacesOf(bench, Operation::WriteRegister, "0x11F0");
    const auto starts = PlacesOf(bench, Operation::StartCapture);
    ASSERT_FALSE(levels.empty() || starts.empty());
    EXPECT_LT(levels.front(), starts.front());
}

TEST(SaveAviAndRearm, EndsTheProgramWhenTheCamerasCannotBePreparedAgain)
{
    OpenDocument bench;
    bench.MakeRecording(kFrames);
    bench.m_library.Fail({ .eOperation = Operation::SetFormat7Configuration });
    Save(bench.Doc());
    EXPECT_EQ(bench.m_test.m_video.Videos().size(), 2U);
    EXPECT_EQ(bench.Asked().commands, std::vector<int> { command::kExit });
    EXPECT_TRUE(bench.m_test.m_log.Contains("error saveavi"));
    EXPECT_EQ(bench.Messages(), Texts { "ｶﾒﾗの設定に失敗しました。(2)(20)\n" });
}

TEST(Save, EndsPlaybackAndTakesEachRecordingOnce)
{
    OpenDocument bench;
    bench.MakeRecording(kFrames);
    bench.Flags().m_bPlayback = true;
    Save(bench.Doc());
    EXPECT_FALSE(bench.Flags().m_bPlayback);
    bench.Forget();
    Save(bench.Doc());
    EXPECT_TRUE(bench.m_library.Calls().empty()) << "the capture that was rearmed goes on";
    EXPECT_EQ(bench.m_test.m_video.Videos().size(), 2U);
}

TEST(Save, FromTheMenuPreparesNothing)
{
    CooperationRequest request;
    OpenDocument bench;
    request.CoopFileNames = { bench.m_folder / "a.avi", bench.m_folder / "b.avi" };
    bench.m_app.SetRequest(request);
    bench.MakeRecording(kFrames);
    EXPECT_TRUE(SaveFromMenu(bench.Doc()).bComplete);
    EXPECT_EQ(bench.m_test.m_video.Videos()[1].strFileName, bench.m_folder / "b-cam2.avi");
    EXPECT_TRUE(GrabThreadsAsked().starts.empty());
    EXPECT_TRUE(bench.Doc().m_naming.m_astrFileHistory.empty());
}

// ---- Switches

TEST(ToggleTriggerWait, RestartsTheCamerasInTheRingAndOnlyQuietsTheViewsElse)
{
    for (const int iMode : { capture_mode::kRing, capture_mode::kLinear }) {
        const bool bRing = iMode == capture_mode::kRing;
        OpenDocument bench;
        bench.Flags().m_iCaptureMode = iMode;
        EXPECT_TRUE(ToggleTriggerWait(bench.Doc()));
        EXPECT_EQ(GrabThreadsAsked().starts.size(), bRing ? 1U : 0U);
        EXPECT_EQ(bench.Asked().viewTimers, std::vector<bool> { bRing });
        EXPECT_EQ(bench.Flags().m_running.bTriggerWaitRing, bRing);
        bench.Flags().m_iCaptureMode = iMode;
        EXPECT_FALSE(ToggleTriggerWait(bench.Doc()));
        EXPECT_EQ(bench.Asked().viewTimers.back(), true);
    }
}

TEST(TogglePulseSync, NeedsAHundredFpsAndASetShutterAndGoesBackToLive)
{
    const struct {
        int iFps, iShutter;
        Texts messages;
    } kRows[] = {
        { 120, 500, { "ﾌﾚｰﾑﾚｰﾄを100Hzに変更してください。\n" } },
        { 100, -1, { "ｼｬｯﾀｰｽﾋﾟｰﾄﾞがｵｰﾌﾟﾝです変更してください。\n" } },
        { 100, 500, {} },
    };
    for (const auto& row : kRows) {
        OpenDocument bench;
        bench.Parameters().m_iFps = row.iFps;
        bench.Parameters().m_iShutter = row.iShutter;
        EXPECT_EQ(TogglePulseSync(bench.Doc()), row.messages.empty());
        EXPECT_EQ(bench.Messages(), row.messages);
        EXPECT_EQ(bench.Flags().m_bPulseSync, row.messages.empty());
        if (!row.messages.empty())
            continue;
        bench.Flags().m_iCaptureState = capture_state::kRecording;
        EXPECT_FALSE(TogglePulseSync(bench.Doc()));
        EXPECT_EQ(bench.Flags().m_iCaptureState, capture_state::kLive);
    }
}

TEST(ToggleSaveAfterRecord, ForgetsARecordingWhenItIsSwitchedOn)
{
    OpenDocument bench;
    bench.MakeRecording(kFrames);
    EXPECT_TRUE(ToggleSaveAfterRecord(bench.Doc()));
    EXPECT_FALSE(bench.Store().m_bRecordDone[0] || bench.Store().m_bRecordDone[1]);
    bench.Store().m_bRecordDone[0] = true;
    EXPECT_FALSE(ToggleSaveAfterRecord(bench.Doc()));
    EXPECT_TRUE(bench.Store().m_bRecordDone[0]);
}

} // namespace
} // namespace vireo::test
