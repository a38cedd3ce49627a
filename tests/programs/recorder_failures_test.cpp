#include "take.h"

using namespace vireo;
using namespace vireo::test;

TEST(RecorderFailure, ACameraThatFailsCutsTheTakeToWhatEveryCameraHas)
{
    const struct {
        const char* pCameras;
        const char* pFaults;
        const char* pError;
        unsigned int uiLost;
        int iFewest;
    } kRows[] = {
        { "simulated:2xGRAS-03K2@12000001", "hang:1@400", "[1]->RetrieveBuffer()に失敗(18)", 12000002, 200 },
        { kFour, "hang:3@400", "カメラ４のデータ取得に失敗しました(18)", 13000004, 300 },
        { kFour, "hang:0@400", "カメラ１のデータ取得に失敗しました(18)", 13000001, 300 },
        { kFour, "unplug:0@400", "カメラ１のデータ取得に失敗しました(12)", 13000001, 300 },
        { kFour, "unplug:2@400", "カメラ３のデータ取得に失敗しました(12)", 13000003, 300 },
        { "simulated:2xGRAS-03K2@12000001", "unplug:1@400", "[1]->RetrieveBuffer()に失敗(12)", 12000002, 200 },
    };
    for (const auto& row : kRows)
        for (const bool bStrict : { false, true }) {
            SCOPED_TRACE(testing::Message() << row.pFaults << (bStrict ? ", strict" : ""));
            RecordOptions options = At(200, 5);
            options.bStrict = bStrict;
            Take take(row.pCameras, row.pFaults, options);
            const RecordOutcome outcome = take.Run();
            EXPECT_EQ(outcome.iStatus, bStrict ? record_status::kStrict : record_status::kFailed);
            EXPECT_EQ(outcome.strError, row.pError + (" (lost: camera " + std::to_string(row.uiLost) + ")"));
            EXPECT_EQ(take.Messages().front(), row.pError) << "a camera that is gone may set off another message";
            EXPECT_EQ(outcome.report.eVerdict, Verdict::FramesMissed);
            EXPECT_EQ(
                outcome.report.strReason, "cut short: " + std::to_string(outcome.report.iFrames) + " of 1000 frames");
            const auto files = take.Files();
            ASSERT_EQ(files.size(), outcome.report.cameras.size());
            EXPECT_GT(outcome.report.iFrames, row.iFewest);
            EXPECT_LT(outcome.report.iFrames, 400);
            for (const BarCodeFile& file : files)
                EXPECT_EQ(file.exposuresUs.size(), static_cast<std::size_t>(outcome.report.iFrames));
            EXPECT_TRUE(PicturesAgree(files));
            EXPECT_LT(take.m_clock.Now(), 12 * kNsPerSecond);
        }
}

TEST(RecorderFailure, ACameraThatNeverDeliversIsNamedWithinFiveSeconds)
{
    const struct {
        const char* pCameras;
        const char* pFaults;
        const char* pError;
    } kRows[] = {
        { kFour, "hang:3@0", "カメラ４のデータ取得に失敗しました(18) (lost: camera 13000004)" },
        { kFour, "hang:0@0", "カメラ１のデータ取得に失敗しました(18) (lost: camera 13000001)" },
        { "simulated:2xGRAS-03K2@12000001", "hang:1@0", "[1]->RetrieveBuffer()に失敗(18) (lost: camera 12000002)" },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(testing::Message() << row.pCameras << " " << row.pFaults);
        Take take(row.pCameras, row.pFaults, At(200, 5));
        const RecordOutcome outcome = take.Run();
        EXPECT_EQ(outcome.iStatus, record_status::kFailed);
        EXPECT_EQ(outcome.strError, row.pError);
        EXPECT_TRUE(take.Files().empty());
        EXPECT_LT(take.m_clock.Now(), 7 * kNsPerSecond) << "two seconds of pauses, then five";
    }
}

TEST(RecorderFailure, AnOlderMessageIsNoReason)
{
    Take take(kFour, "", At(100, 1));
    take.m_window.ShowMessage({ "something older", "", false });
    take.m_window.PostCommand(command::kExit);
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kFailed);
    EXPECT_EQ(outcome.strError, "the cameras could not be connected");
}

TEST(RecorderFailure, MemoryThatRunsShortIsToldAlsoWhileATriggerIsWaitedFor)
{
    for (const bool bTriggerWait : { false, true }) {
        RecordOptions options = At(100, 1);
        options.bTriggerWait = bTriggerWait;
        Take take(kFour, "", options);
        take.Memory().State().m_bRunsShort = true;
        const RecordOutcome outcome = take.Run();
        EXPECT_EQ(outcome.iStatus, record_status::kFailed);
        EXPECT_EQ(outcome.strError, "memory is short: the recording could not be whole");
        EXPECT_TRUE(take.Files().empty());
    }
}

TEST(RecorderFailure, AFailureBeforeTheRecordingTellsTheRateThatWasAskedFor)
{
    RecordOptions options = At(100, 1);
    options.strBase = "/nowhere/at/all/take";
    EXPECT_EQ(Take(kFour, "", options).Run().report.iFpsRequested, 100);
}

TEST(RecorderFailure, AWaitForATriggerThatNeverComesEndsAtItsTimeout)
{
    RecordOptions options = At(100, 1);
    options.bTriggerWait = true;
    options.dTimeoutSeconds = 3.0;
    Take take(kFour, "", options);
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kFailed);
    EXPECT_EQ(outcome.strError, "no recording within the time-out");
    EXPECT_TRUE(take.Files().empty());
}

TEST(RecorderFailure, ATimeoutCountsOnlyUntilTheRecordingBegins)
{
    RecordOptions options = At(100, 4);
    options.bTriggerWait = true;
    options.dTimeoutSeconds = 3.0;
    Take take(kFour, "trigger:100@2000", options);
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kSaved) << outcome.strError;
    EXPECT_EQ(take.Files()[0].exposuresUs.size(), 400U);
}

TEST(RecorderFailure, ATakeThatMemoryCannotHoldIsRefusedAlsoWhenItIsShort)
{
    Take take(kFour, "", At(400, 1));
    take.Memory().SetAvailableKiB(200 * 1024); // holds the cameras' first second at 30 fps
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kFailed);
    EXPECT_EQ(outcome.strError, "ｶﾒﾗﾊﾞｯﾌｧを取得できません。ﾌﾚｰﾑﾚｰﾄか録画時間を少なくしてください。 1sec 400fps");
    EXPECT_TRUE(take.Files().empty());
}

TEST(RecorderFailure, ANameThatNoFileCanHaveIsToldBeforeAnythingIsRecorded)
{
    for (const std::size_t uiLength : { 245U, 300U }) {
        RecordOptions options = At(100, 1);
        options.strBase = "/tmp/" + std::string(uiLength, 'x');
        Take take(kFour, "", options);
        const RecordOutcome outcome = take.Run();
        EXPECT_EQ(outcome.iStatus, record_status::kFailed);
        EXPECT_NE(outcome.strError.find("the name is too long"), std::string::npos) << outcome.strError;
    }
}

TEST(RecorderFailure, APresetWithARateOutsideTheListIsWrongUse)
{
    RecordOptions options;
    options.iPreset = 1;
    Take take(kFour, "", options);
    WriteFile(take.Folder().Path() + "/Tessel.ini", "[CAM_PROPERTY_DATA1]\r\nFrameRate=77\r\n");
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kUsage);
    EXPECT_EQ(outcome.strError, "77 fps is no frame rate of this program");
}

TEST(RecorderFailure, AStopBeforeTheRecordingSavesNothing)
{
    Take take(kFour, "", At(100, 30));
    take.m_stopAt = 0;
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kFailed);
    EXPECT_EQ(outcome.strError, "stopped before the recording began");
    EXPECT_TRUE(take.Files().empty());
}

TEST(RecorderFailure, ARateBeyondTheCamerasIsWrongUse)
{
    const struct {
        const char* pCameras;
        RecordOptions options;
        const char* pError;
    } kRows[] = {
        { "simulated:GS3-U3-23S6M@17000001", At(400, 1),
            "400 fps is more than these cameras allow at this size: at most 350 fps" },
        { "simulated:GS3-PGE-23S6M@15000001", At(60, 1, 3),
            "60 fps is more than these cameras allow at this size: at most 30 fps" },
        { "simulated:FL3-U3-13E4C@14000001", At(120, 1),
            "120 fps is more than these cameras allow at this size: at most 118 fps" },
        { "simulated:FL3-U3-13Y3M@13000001", At(118, 1), "118 fps is no rate of camera 13000001 (FL3-U3-13Y3M)" },
        { "simulated:Dragonfly Express@1", At(200, 1), "200 fps is no rate of camera 1 (Dragonfly Express)" },
    };
    for (const auto& row : kRows) {
        Take take(row.pCameras, "", row.options);
        const RecordOutcome outcome = take.Run();
        EXPECT_EQ(outcome.iStatus, record_status::kUsage);
        EXPECT_EQ(outcome.strError, row.pError);
    }
}

TEST(RecorderFailure, ATargetThatExistsIsWrongUseAndIsLeftAlone)
{
    Take take(kFour, "", At(100, 1));
    WriteFile(take.Folder().Path() + "/take-cam3-0001.avi", "older");
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kUsage);
    EXPECT_NE(outcome.strError.find("take-cam3"), std::string::npos);
    EXPECT_EQ(ReadFile(take.Folder().Path() + "/take-cam3-0001.avi"), "older");
}

TEST(RecorderFailure, AMissingFolderIsToldBeforeAnythingIsRecorded)
{
    RecordOptions options = At(100, 1);
    options.strBase = "/nowhere/at/all/take";
    Take take(kFour, "", options);
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kFailed);
    EXPECT_EQ(outcome.strError, "there is no folder /nowhere/at/all");
    EXPECT_LT(take.m_clock.Now(), 2 * kNsPerSecond);
}

TEST(RecorderFailure, AFileThatCannotBeMadeFailsWithItsReason)
{
    Take take(kFour, "", At(100, 1));
    take.m_videos.m_openError = Error(ErrorType::FileOpenFailed, "Read-only file system");
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kFailed);
    EXPECT_EQ(outcome.strError, "AVIﾌｧｲﾙのｵｰﾌﾟﾝに失敗しました。Read-only file system");
    EXPECT_TRUE(outcome.bRecorded);
}

TEST(RecorderFailure, CamerasThatCannotBeUsedFailWithTheirMessage)
{
    const struct {
        const char* pCameras;
        const char* pFaults;
        const char* pError;
    } kRows[] = {
        { "simulated:5xFL3-U3-13Y3M", "", "Camera MAX Over 5" },
        { "simulated:11xFL3-U3-13Y3M", "", "SynchroStrobePre()->m_uiNumCameras(11 > 10)" },
        { "simulated", "error:Connect:4@3", "ｶﾒﾗの接続に失敗しました。(4)" },
        { "simulated", "error:GetNumOfCameras:20", "ｶﾒﾗが接続されていません 接続を確認してください。(20)" },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pError);
        Take take(row.pCameras, row.pFaults, At(100, 1));
        const RecordOutcome outcome = take.Run();
        EXPECT_EQ(outcome.iStatus, record_status::kFailed);
        EXPECT_EQ(outcome.strError, row.pError);
        EXPECT_TRUE(take.Files().empty());
    }
}
