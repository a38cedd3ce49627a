#include "avi_export_bench.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

using namespace vireo;
using namespace vireo::test;

namespace {

class AviExportOneCamera : public AviExport {
protected:
    AviExportOneCamera()
        : AviExport(1)
    {
    }
};

} // namespace

TEST_F(AviExportOneCamera, ASingleCameraHasNoNumberInItsFileName)
{
    const ExportResult result = SaveAviAutomatic(*m_doc);
    EXPECT_TRUE(result.bComplete);
    ASSERT_EQ(Videos().size(), 1U);
    EXPECT_EQ(Videos()[0].strFileName, Path("take.avi"));
    EXPECT_EQ(result.cameras[0].files, (std::vector<std::string> { Path("take-0000.avi") }));
}

TEST_F(AviExport, SeveralCamerasAreNumberedFromTheFirstCamerasNumber)
{
    m_doc->m_capture.m_running.iFirstCamera = 3;
    m_doc->m_parameters.InitialCameraNumber = 7; // for the next take
    SaveAviAutomatic(*m_doc);
    ASSERT_EQ(Videos().size(), 2U);
    EXPECT_EQ(Videos()[0].strFileName, Path("take-cam3.avi"));
    EXPECT_EQ(Videos()[1].strFileName, Path("take-cam4.avi"));
}

TEST_F(AviExport, EveryCamerasFramesAreWrittenInOrderWithItsRateAndQuality)
{
    const ExportResult result = SaveAviAutomatic(*m_doc);
    EXPECT_TRUE(result.bRan && result.bComplete);
    for (unsigned int c = 0; c < 2; ++c) {
        EXPECT_EQ(FrameNumbers(Videos()[c]), Range(0, kFrames - 1));
        EXPECT_EQ(Videos()[c].frames[0][0], c);
        EXPECT_EQ(Videos()[c].option.frameRate, 30.0F);
        EXPECT_EQ(Videos()[c].option.quality, 75U);
        EXPECT_TRUE(Videos()[c].bClosed);
        EXPECT_EQ(result.cameras[c].iFrames, kFrames);
    }
    EXPECT_TRUE(Messages().empty());
}

TEST_F(AviExport, ARecordingRunsOnFromTheEndOfTheRingToItsBeginning)
{
    FrameStore& store = m_doc->m_store;
    const int iSlots = store.m_iBufferFrames;
    store.m_istartFrame[0] = iSlots - 5;
    for (int i = 0; i < kFrames; ++i)
        Mark(0, (iSlots - 5 + i) % iSlots, i);
    SaveAviAutomatic(*m_doc);
    EXPECT_EQ(FrameNumbers(Videos()[0]), Range(0, kFrames - 1));
}

TEST_F(AviExport, NothingHappensWithoutARecordingOfTheFirstCamera)
{
    m_doc->m_store.m_bRecordDone[0] = false;
    m_doc->m_naming.m_bSerialSuffix = true;
    EXPECT_FALSE(SaveAviAutomatic(*m_doc).bRan);
    EXPECT_FALSE(SaveAvi(*m_doc).bRan);
    EXPECT_TRUE(Videos().empty());
    EXPECT_EQ(m_doc->m_naming.m_strSerialSuffix, "1");
    EXPECT_TRUE(m_test->m_window.Record().progressRanges.empty());
}

TEST_F(AviExport, NothingHappensWhileAnotherSaveRuns)
{
    m_doc->m_capture.m_bSaving = true;
    EXPECT_FALSE(SaveAviAutomatic(*m_doc).bRan);
    EXPECT_FALSE(SaveAvi(*m_doc).bRan);
    EXPECT_TRUE(m_doc->m_capture.m_bSaving);
    m_doc->m_capture.m_bSaving = false;
}

TEST_F(AviExport, MarksLimitTheSavedRangeWhicheverWayRoundTheyAre)
{
    const struct {
        int iFirst, iLast, iFromFrame, iToFrame;
    } kRows[] = { { 5, 9, 5, 9 }, { 9, 5, 5, 9 }, { 7, 7, 7, 7 }, { 0, -1, 0, kFrames - 1 }, { 4, -1, 4, kFrames - 1 },
        { -3, 99, 0, kFrames - 1 } };
    for (const auto& row : kRows) {
        SCOPED_TRACE(testing::Message() << row.iFirst << ".." << row.iLast);
        FillStore();
        m_doc->m_capture.m_iSaveFirstFrame = row.iFirst;
        m_doc->m_capture.m_iSaveLastFrame = row.iLast;
        ASSERT_TRUE(SaveAviAutomatic(*m_doc).bComplete);
        EXPECT_EQ(FrameNumbers(Videos().back()), Range(row.iFromFrame, row.iToFrame));
    }
}

TEST_F(AviExport, ACompleteSaveForgetsTheRecordingAndItsMarks)
{
    m_doc->m_capture.m_iSaveFirstFrame = 5;
    m_doc->m_capture.m_iSaveLastFrame = 9;
    m_doc->m_capture.m_iCaptureState = capture_state::kRecording;
    SaveAviAutomatic(*m_doc);
    EXPECT_FALSE(m_doc->m_store.m_bRecordDone[0]);
    EXPECT_FALSE(m_doc->m_store.m_bRecordDone[1]);
    EXPECT_EQ(m_doc->m_capture.m_iSaveFirstFrame, 0);
    EXPECT_EQ(m_doc->m_capture.m_iSaveLastFrame, -1);
    EXPECT_EQ(m_doc->m_capture.m_iCaptureState, capture_state::kLive);
    EXPECT_FALSE(m_doc->m_capture.m_bSaving);
}

TEST_F(AviExport, TheRunningNumberStandsBehindTheTitleAndMovesOnOncePerSave)
{
    m_doc->m_naming.m_bSerialSuffix = true;
    m_doc->m_naming.m_strSerialSuffix = "0009";
    SaveAviAutomatic(*m_doc);
    EXPECT_EQ(Videos()[0].strFileName, Path("take-0009-cam1.avi"));
    EXPECT_EQ(Videos()[1].strFileName, Path("take-0009-cam2.avi"));
    EXPECT_EQ(m_doc->m_naming.m_strSerialSuffix, "0010");
}

TEST_F(AviExport, AnEmptyRunningNumberAddsNothing)
{
    m_doc->m_naming.m_bSerialSuffix = true;
    m_doc->m_naming.m_strSerialSuffix.clear();
    SaveAviAutomatic(*m_doc);
    EXPECT_EQ(Videos()[0].strFileName, Path("take-cam1.avi"));
    EXPECT_EQ(m_doc->m_naming.m_strSerialSuffix, "");
}

TEST_F(AviExport, PartnerNamesLoseWhatFollowsTheirLastDot)
{
    CooperationRequest request;
    request.CooperationMode = true;
    request.CoopFileNames = { Path("x/take.1.avi"), Path("noextension") };
    m_app->SetRequest(request);
    SaveAvi(*m_doc);
    EXPECT_EQ(Videos()[0].strFileName, Path("x/take.1-cam1.avi"));
    EXPECT_EQ(Videos()[1].strFileName, Path("noextension-cam2.avi"));
}

TEST_F(AviExport, ACameraWithoutAPartnerNameGetsItsSuffixAlone)
{
    SaveAvi(*m_doc);
    EXPECT_EQ(Videos()[0].strFileName, "-cam1.avi");
}

TEST_F(AviExport, ImposedRatesGoIntoTheFiles)
{
    CooperationRequest request;
    request.CoopFrameRate = 118;
    request.CoopFileNames = { Path("a.avi"), Path("b.avi") };
    m_app->SetRequest(request);
    m_doc->m_capture.m_running.bImposed = true;
    SaveAvi(*m_doc);
    EXPECT_EQ(Videos()[0].option.frameRate, 118.0F);

    FillStore();
    m_doc->m_capture.m_running.iFps = 200;
    SaveAviAutomatic(*m_doc);
    EXPECT_EQ(Videos()[2].option.frameRate, 30.0F); // camera 0 keeps its own until its rate is fixed
    EXPECT_EQ(Videos()[3].option.frameRate, 200.0F);

    FillStore();
    m_doc->m_capture.m_running.bRateFixed = true;
    m_doc->m_naming.m_strFileTitle = "again";
    SaveAviAutomatic(*m_doc);
    EXPECT_EQ(Videos()[4].option.frameRate, 200.0F);
}

TEST_F(AviExport, WhatIsChangedAfterTheTakeChangesNoFileOfIt)
{
    m_doc->m_capture.m_running.iFps = 200;
    m_doc->m_parameters.m_bCooperation = true;
    m_doc->m_parameters.m_bRateFixed = true;
    m_doc->m_parameters.InitialCameraNumber = 7;
    SaveAviAutomatic(*m_doc);
    ASSERT_EQ(Videos().size(), 2U);
    for (const RecordedVideo& video : Videos())
        EXPECT_EQ(video.option.frameRate, 30.0F) << "the cameras' own";
    EXPECT_EQ(Videos()[1].strFileName, Path("take-cam2.avi"));
}

TEST_F(AviExport, ATakenNameAsksForAnotherPathWhichIsCutAtItsFirstDot)
{
    std::ofstream(Path("take-cam2-0003.avi")); // any part makes the name taken
    m_test->m_window.AnswerSavePath(Path("new.name.avi"));
    EXPECT_TRUE(SaveAviAutomatic(*m_doc).bComplete);
    EXPECT_EQ(Videos()[0].strFileName, Path("take-cam1.avi"));
    EXPECT_EQ(Videos()[1].strFileName, Path("new-cam2.avi"));
    const auto requests = m_test->m_window.Record().savePathRequests;
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].strFilter, "ファイル(*.avi)");
    EXPECT_EQ(requests[0].strInitialName, "*.avi");
    EXPECT_EQ(requests[0].strDefaultExtension, "avi");
    EXPECT_EQ(requests[0].strInitialFolder, m_folder.Path());
}

TEST_F(AviExport, TheQuestionBeginsInTheSaveFolderAsTheSystemNamesIt)
{
    m_test->m_paths.m_drives['c'] = m_folder.Path();
    const struct {
        const char* pSaveFolder;
        std::string strInitialFolder;
    } kRows[] = { { "c:\\takes\\today", Path("takes/today") }, { "c:\\", Path("") }, { "x:\\takes", "" } };
    for (const auto& row : kRows) {
        FillStore();
        m_test->m_window.Clear();
        m_doc->m_naming.m_strSaveFolder = row.pSaveFolder;
        m_doc->m_naming.m_strFileTitle = "take";
        std::filesystem::create_directories(Path("takes/today"));
        for (const char* pFolder : { "", "takes/today/" })
            std::ofstream(Path(std::string(pFolder) + "take-cam1-0000.avi"));
        SaveAviAutomatic(*m_doc);
        const auto requests = m_test->m_window.Record().savePathRequests;
        if (row.strInitialFolder.empty()) {
            EXPECT_TRUE(requests.empty()) << "a drive without a folder fails before anything is asked";
            continue;
        }
        ASSERT_EQ(requests.size(), 1U) << row.pSaveFolder;
        EXPECT_EQ(requests[0].strInitialFolder, row.strInitialFolder);
    }
}

TEST_F(AviExport, TheQuestionIsRepeatedWhileTheNewNameIsTakenToo)
{
    std::ofstream(Path("take-cam1-0000.avi"));
    std::ofstream(Path("other-cam1-0000.avi"));
    m_test->m_window.AnswerSavePath(Path("other.avi"));
    m_test->m_window.AnswerSavePath(Path("third.avi"));
    SaveAviAutomatic(*m_doc);
    EXPECT_EQ(Videos()[0].strFileName, Path("third-cam1.avi"));
    EXPECT_EQ(Videos()[1].strFileName, Path("take-cam2.avi")); // a chosen name is for that camera only
}

TEST_F(AviExport, ACancelledQuestionPassesThatCameraOverAndWritesTheOthers)
{
    std::ofstream(Path("take-cam1-0000.avi"));
    m_test->m_window.AnswerSavePath(std::nullopt);
    const ExportResult result = SaveAviAutomatic(*m_doc);
    EXPECT_TRUE(result.bComplete);
    ASSERT_EQ(Videos().size(), 1U);
    EXPECT_EQ(Videos()[0].strFileName, Path("take-cam2.avi"));
    EXPECT_FALSE(IsKept());
    EXPECT_TRUE(Messages().empty());
}

TEST_F(AviExport, ASaveIsRememberedByOneFileWhateverItWrote)
{
    const auto remembered = [this] { return m_test->m_window.Record().recentFiles; };
    SaveAviAutomatic(*m_doc);
    EXPECT_EQ(remembered(), (std::vector<std::string> { Path("take-cam1-0000.avi") }));

    std::ofstream(Path("next-cam1-0000.avi"));
    m_doc->m_naming.m_strFileTitle = "next";
    FillStore();
    SaveAviAutomatic(*m_doc); // the question is cancelled
    EXPECT_EQ(remembered().back(), Path("next-cam2-0000.avi")) << "the first camera that was written";

    m_test->m_window.Clear();
    m_doc->m_naming.m_strFileTitle = "last";
    m_test->m_video.m_appendError = ErrorType::FileWriteFailed;
    FillStore();
    SaveAviAutomatic(*m_doc);
    EXPECT_TRUE(remembered().empty()) << "nothing whole was written";
}

TEST_F(AviExport, TheRecordingIsKeptWhenEveryQuestionIsCancelled)
{
    std::ofstream(Path("take-cam1-0000.avi"));
    std::ofstream(Path("take-cam2-0000.avi"));
    EXPECT_FALSE(SaveAviAutomatic(*m_doc).bComplete);
    EXPECT_TRUE(IsKept());
    EXPECT_TRUE(Videos().empty());
}

TEST_F(AviExport, AFailedOpenEndsTheSaveAndKeepsTheRecording)
{
    m_test->m_video.m_openError = Error(ErrorType::FileOpenFailed, "No space left on device");
    EXPECT_FALSE(SaveAviAutomatic(*m_doc).bComplete);
    EXPECT_EQ(Messages(), (std::vector<std::string> { "AVIﾌｧｲﾙのｵｰﾌﾟﾝに失敗しました。No space left on device\n" }));
    EXPECT_EQ(m_app->CooperationResult(), -3);
    EXPECT_TRUE(IsKept());
    EXPECT_EQ(m_doc->m_capture.m_iCaptureState, capture_state::kLive);
    EXPECT_FALSE(m_doc->m_capture.m_bSaving);
}

TEST_F(AviExport, ATextOfTheLibraryIsNeverReadAsAFormat)
{
    m_test->m_video.m_openError = Error(ErrorType::FileOpenFailed, "100%d full %s");
    SaveAviAutomatic(*m_doc);
    EXPECT_EQ(Messages(), (std::vector<std::string> { "AVIﾌｧｲﾙのｵｰﾌﾟﾝに失敗しました。100%d full %s\n" }));
}

TEST_F(AviExport, AFrameThatCannotBeWrittenEndsTheSaveAndKeepsTheRecording)
{
    m_test->m_video.m_appendError = Error(ErrorType::FileWriteFailed, "the disk is full");
    EXPECT_FALSE(SaveAviAutomatic(*m_doc).bComplete);
    EXPECT_EQ(Messages(), (std::vector<std::string> { "AVIﾌｧｲﾙの作成に失敗しました。\n" }));
    EXPECT_EQ(m_test->m_log.Count("AVI file of camera 0: "), 1U) << "the cause";
    EXPECT_TRUE(m_test->m_log.Contains("the disk is full"));
    EXPECT_EQ(m_app->CooperationResult(), -7);
    EXPECT_TRUE(IsKept());
    ASSERT_EQ(Videos().size(), 1U);
    EXPECT_TRUE(Videos()[0].bClosed); // the part stays as far as it was written
}

TEST_F(AviExport, AFileThatCannotBeClosedEndsTheSaveAndKeepsTheRecording)
{
    m_test->m_video.m_closeError = Error(ErrorType::FileCloseFailed, "the disk is gone");
    EXPECT_FALSE(SaveAviAutomatic(*m_doc).bComplete);
    EXPECT_EQ(Messages(), (std::vector<std::string> { "AVIﾌｧｲﾙのｸﾛｰｽﾞに失敗しました。\n" }));
    EXPECT_TRUE(m_test->m_log.Contains("the disk is gone"));
    EXPECT_EQ(m_app->CooperationResult(), -7);
    EXPECT_TRUE(IsKept());
}

TEST_F(AviExport, TheSameRecordingCanBeSavedAgainAfterAFailure)
{
    m_test->m_video.m_appendError = ErrorType::FileWriteFailed;
    SaveAviAutomatic(*m_doc);
    m_test->m_video.m_appendError = {};
    EXPECT_TRUE(SaveAviAutomatic(*m_doc).bComplete);
    EXPECT_EQ(FrameNumbers(Videos().back()), Range(0, kFrames - 1));
}

TEST_F(AviExport, ANameBeyondTwoHundredAndSixtyBytesIsRefused)
{
    // The name of the first part counts, "-0000" and the extension included.
    const std::size_t uiRest = Path("").size() + std::string("-cam1-0000.avi").size();
    m_doc->m_naming.m_strFileTitle = std::string(261 - uiRest, 'x');
    EXPECT_FALSE(SaveAviAutomatic(*m_doc).bComplete);
    const auto messages = m_test->m_window.Record().messages;
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].strText, "文字の変換に失敗しました");
    EXPECT_EQ(messages[0].strTitle, "エラー");
    EXPECT_TRUE(messages[0].bError);
    EXPECT_EQ(m_app->CooperationResult(), 0);
    EXPECT_TRUE(IsKept());
    EXPECT_TRUE(Videos().empty());

    m_doc->m_naming.m_strFileTitle.pop_back();
    EXPECT_TRUE(SaveAviAutomatic(*m_doc).bComplete);
    EXPECT_EQ(Videos()[0].strFileName.size(), 255U) << "the writer inserts five more";
}

TEST_F(AviExport, ACameraWithFewerFramesIsWrittenAsFarAsItGot)
{
    m_doc->m_store.m_isaveFrameCount[1] = 12;
    EXPECT_TRUE(SaveAviAutomatic(*m_doc).bComplete);
    EXPECT_EQ(FrameNumbers(Videos()[1]), Range(0, 11));
}

TEST_F(AviExport, ACameraWithoutFramesIsNamedAndTheOthersAreWrittenAndKept)
{
    m_doc->m_store.m_isaveFrameCount[0] = kIdleFrameCount;
    EXPECT_FALSE(SaveAviAutomatic(*m_doc).bComplete);
    EXPECT_EQ(Messages(), (std::vector<std::string> { "ｶﾒﾗ1の録画ﾃﾞｰﾀがありません。\n" }));
    ASSERT_EQ(Videos().size(), 1U);
    EXPECT_EQ(Videos()[0].strFileName, Path("take-cam2.avi"));
    EXPECT_EQ(m_app->CooperationResult(), -7);
    EXPECT_TRUE(IsKept());
}

TEST_F(AviExport, ProgressFollowsTheFramesAndGoesBackAfterEachFile)
{
    SaveAviAutomatic(*m_doc);
    const WindowRecord record = m_test->m_window.Record();
    EXPECT_EQ(record.progressRanges, (std::vector<int> { kFrames + 6 }));
    std::vector<int> expected;
    for (int c = 0; c < 2; ++c) {
        for (int i = 0; i < kFrames; ++i)
            expected.push_back(i);
        expected.push_back(0);
    }
    EXPECT_EQ(record.progressPositions, expected);
    EXPECT_EQ(record.iProgressEnds, 1);
}

TEST_F(AviExport, PartnerSavesShowTheTargetAsRange)
{
    SaveAvi(*m_doc);
    EXPECT_EQ(m_test->m_window.Record().progressRanges, (std::vector<int> { kFrames }));
}

TEST_F(AviExport, AFixedBaseIsNotAskedAboutWhenTaken)
{
    m_test->m_video.m_openError = Error(ErrorType::FileOpenFailed, "File exists");
    std::ofstream(Path("base-cam1-0000.avi"));
    EXPECT_FALSE(SaveAviAs(*m_doc, Path("base")).bComplete);
    EXPECT_TRUE(m_test->m_window.Record().savePathRequests.empty());
}

TEST(AviExportNames, RunningNumbersKeepTheirLength)
{
    const struct {
        const char* pNumber;
        const char* pNext;
    } kRows[] = { { "0009", "0010" }, { "0099", "0100" }, { "99", "100" }, { "9", "10" }, { "1", "2" },
        { "abc", "001" }, { "12a", "013" }, { "0", "1" }, { " 7", "08" }, { "-5", "01" },
        { "9223372036854775807", "9223372036854775808" }, { "99999999999999999999", "00000000000000000001" } };
    for (const auto& row : kRows)
        EXPECT_EQ(NextSerialSuffix(row.pNumber), row.pNext) << row.pNumber;
}

TEST(AviExportNames, ExtensionsAreCutAsTheirSourceAsks)
{
    EXPECT_EQ(CutLastExtension("D:\\x\\take.1.avi"), "D:\\x\\take.1");
    EXPECT_EQ(CutLastExtension("plain"), "plain");
    EXPECT_EQ(CutAtFirstDot("D:\\new.dir\\name.avi"), "D:\\new");
    EXPECT_EQ(CutAtFirstDot("plain"), "plain");
    EXPECT_EQ(CameraSuffix(1, 3), "");
    EXPECT_EQ(CameraSuffix(2, 3), "-cam3");
}

TEST(AviExportNames, OnlyPartsOfTheSameBaseMakeItTaken)
{
    const TemporaryFolder folder;
    for (const char* pName : { "a-0007.avi", "b-000x.avi", "b-00001.avi", "bb-0000.avi", "b-0000.avi.txt" })
        std::ofstream(folder.Path() + "/" + pName);
    EXPECT_TRUE(IsBaseTaken(folder.Path() + "/a"));
    EXPECT_FALSE(IsBaseTaken(folder.Path() + "/b"));
    EXPECT_FALSE(IsBaseTaken(folder.Path() + "/nowhere/b"));
}
