#include "app/format_text.h"
#include "camera/discovery.h"
#include "camera/document_lifecycle.h"
#include "capture/avi_export.h"
#include "capture/frame_store_alloc.h"
#include "capture/grab_threads.h"
#include "capture/take_sidecar.h"
#include "platform/simulated/simulated_library.h"
#include "platform/time/virtual_clock.h"
#include "support/temporary_folder.h"
#include "support/test_platform.h"

#include <fstream>
#include <gtest/gtest.h>

using namespace vireo;
using namespace vireo::test;

namespace {

constexpr int kFrames = 30; ///< recorded by each camera

/// A document with simulated cameras whose store holds a recording made by hand: byte 0 of a frame is its
/// camera, byte 1 its number. No thread runs.
class AviExport : public ::testing::Test {
protected:
    explicit AviExport(unsigned int uiCameras = 2)
    {
        SimulatedSetup setup;
        for (unsigned int c = 0; c < uiCameras; ++c)
            setup.cameras.push_back({ "FL3-U3-13Y3M", 13000001 + c });
        m_library = MakeSimulatedLibrary(m_clock, setup);
        m_test = std::make_unique<TestPlatform>(TestPlatformParts { .pClock = &m_clock, .pCameras = m_library.get() });
        m_app = std::make_unique<CVireoApp>(m_test->m_platform);
        m_app->SetIniFolder(m_folder.Path() + "/");
        std::ofstream(m_folder.Path() + "/Tessel.ini");
        m_doc = std::make_unique<CVireoDoc>(*m_app);
        EXPECT_TRUE(OnNewDocument(*m_doc));
        StopGrab(*m_doc);
        m_doc->m_naming.m_strSaveFolder = m_folder.Path();
        m_doc->m_naming.m_strFileTitle = "take";
        FillStore();
        m_test->m_window.Clear();
    }
    ~AviExport() override { OnCloseDocument(*m_doc); }

    void FillStore()
    {
        FrameStore& store = m_doc->m_store;
        store.m_geometry.uiRows = 480;
        store.m_geometry.uiCols = 640;
        store.m_geometry.uiStride = 640;
        store.m_geometry.uiDataSize = 640 * 480;
        store.m_geometry.uiPixelFormat = static_cast<std::uint32_t>(PixelFormat::Raw8);
        store.m_geometry.uiBayerTile = 0;
        store.m_iRecordTarget = kFrames;
        for (unsigned int c = 0; c < m_doc->m_cameras.m_uiNumCameras; ++c) {
            store.m_istartFrame[c] = 0;
            store.m_isaveFrameCount[c] = kFrames + 6;
            store.m_bRecordDone[c] = true;
            for (int i = 0; i < kFrames; ++i)
                Mark(c, i, i);
        }
    }
    void Mark(unsigned int uiCamera, int iSlot, int iFrame)
    {
        std::uint8_t* pSlot = m_doc->m_store.Slot(uiCamera, iSlot);
        pSlot[0] = static_cast<std::uint8_t>(uiCamera);
        pSlot[1] = static_cast<std::uint8_t>(iFrame);
    }
    static std::vector<int> FrameNumbers(const RecordedVideo& video)
    {
        std::vector<int> numbers;
        for (const auto& frame : video.frames)
            numbers.push_back(frame[1]);
        return numbers;
    }
    static std::vector<int> Range(int iFirst, int iLast)
    {
        std::vector<int> numbers;
        for (int i = iFirst; i <= iLast; ++i)
            numbers.push_back(i);
        return numbers;
    }
    std::string Path(const std::string& strName) const { return m_folder.Path() + "/" + strName; }
    std::vector<std::string> Messages() const { return m_test->m_window.MessageTexts(); }
    std::vector<RecordedVideo> Videos() const { return m_test->m_video.Videos(); }
    bool IsKept() const { return m_doc->m_store.m_bRecordDone[0]; }

    VirtualClock m_clock;
    TemporaryFolder m_folder;
    std::unique_ptr<CameraLibrary> m_library;
    std::unique_ptr<TestPlatform> m_test;
    std::unique_ptr<CVireoApp> m_app;
    std::unique_ptr<CVireoDoc> m_doc;
};

/// Keeps what it is told, and whether the recording stood when it was.
class RecordedSidecar : public TakeSidecar {
public:
    explicit RecordedSidecar(const CVireoDoc& doc)
        : m_doc(doc)
    {
    }
    void Write(const TakeReport& report) override
    {
        m_reports.push_back(report);
        m_bRecordingStood = m_doc.m_store.m_bRecordDone[0];
    }
    std::vector<TakeReport> m_reports;
    bool m_bRecordingStood = false;

private:
    const CVireoDoc& m_doc;
};

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
    m_test->m_video.m_appendError = ErrorType::FileWriteFailed;
    EXPECT_FALSE(SaveAviAutomatic(*m_doc).bComplete);
    EXPECT_EQ(Messages(), (std::vector<std::string> { "AVIﾌｧｲﾙの作成に失敗しました。\n" }));
    EXPECT_EQ(m_app->CooperationResult(), -7);
    EXPECT_TRUE(IsKept());
    ASSERT_EQ(Videos().size(), 1U);
    EXPECT_TRUE(Videos()[0].bClosed); // the part stays as far as it was written
}

TEST_F(AviExport, AFileThatCannotBeClosedEndsTheSaveAndKeepsTheRecording)
{
    m_test->m_video.m_closeError = ErrorType::FileCloseFailed;
    EXPECT_FALSE(SaveAviAutomatic(*m_doc).bComplete);
    EXPECT_EQ(Messages(), (std::vector<std::string> { "AVIﾌｧｲﾙのｸﾛｰｽﾞに失敗しました。\n" }));
    EXPECT_EQ(m_app->CooperationResult(), -7);
    EXPECT_TRUE(IsKept());
}

TEST_F(AviExport, WhatTheFilesHoldIsCountedAfterEachSave)
{
    const ExportResult result = SaveAviAutomatic(*m_doc);
    for (const ExportedCamera& camera : result.cameras)
        EXPECT_EQ(camera.iReadBack, kFrames);
    EXPECT_TRUE(Messages().empty());
}

TEST_F(AviExport, AFileThatCannotBeReadBackIsNamedAndTheRecordingIsKept)
{
    m_test->m_video.m_readBackError = Error(ErrorType::FileCloseFailed, "the file ends too early");
    const ExportResult result = SaveAviAutomatic(*m_doc);
    EXPECT_FALSE(result.bComplete);
    EXPECT_EQ(Messages(),
        (std::vector<std::string> {
            "AVIﾌｧｲﾙの確認に失敗しました。" + Path("take-cam1-0000.avi") + ": the file ends too early\n",
            "AVIﾌｧｲﾙの確認に失敗しました。" + Path("take-cam2-0000.avi") + ": the file ends too early\n" }))
        << "the other camera is saved too";
    EXPECT_EQ(m_app->CooperationResult(), -7);
    EXPECT_TRUE(IsKept());
    EXPECT_EQ(m_doc->m_capture.m_iCaptureState, capture_state::kLive);
    EXPECT_FALSE(m_doc->m_capture.m_bSaving);
    m_test->m_video.m_readBackError = {};
    EXPECT_TRUE(SaveAviAutomatic(*m_doc).bComplete) << "and can be saved again";
}

TEST_F(AviExport, AFileWithFewerFramesThanWereSavedIsNamed)
{
    m_test->m_video.m_iLostOnDisk = 2;
    const ExportResult result = SaveAviAutomatic(*m_doc);
    EXPECT_FALSE(result.bComplete);
    EXPECT_EQ(result.cameras[0].iReadBack, kFrames - 2);
    ASSERT_EQ(Messages().size(), 2U);
    EXPECT_EQ(Messages()[0], "AVIﾌｧｲﾙの確認に失敗しました。" + Path("take-cam1-0000.avi") + ": 28 of 30 frames\n");
    EXPECT_TRUE(IsKept());
}

TEST_F(AviExport, InCooperationAFailedCheckIsAResultAndALineOfTheLogNotABox)
{
    CooperationRequest request;
    request.CooperationMode = true;
    request.CoopFileNames = { Path("a.avi"), Path("b.avi") };
    m_app->SetRequest(request);
    m_test->m_video.m_readBackError = Error(ErrorType::FileCloseFailed, "there is no index");
    EXPECT_FALSE(SaveAvi(*m_doc).bComplete);
    EXPECT_TRUE(Messages().empty());
    EXPECT_EQ(m_app->CooperationResult(), -7);
    const std::vector<std::string> lines = m_test->m_log.Lines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_NE(lines[0].find(Path("a-cam1-0000.avi") + ": there is no index"), std::string::npos) << lines[0];
    EXPECT_NE(lines[1].find(Path("b-cam2-0000.avi")), std::string::npos) << lines[1];
}

TEST_F(AviExport, EverySaveTellsTheSidecarWhatWasWrittenWhileTheRecordingStands)
{
    RecordedSidecar sidecar(*m_doc);
    m_app->SetSidecar(&sidecar);
    m_doc->m_capture.m_iSaveFirstFrame = 5;
    m_doc->m_capture.m_iSaveLastFrame = 14;
    ASSERT_TRUE(SaveAviAutomatic(*m_doc).bComplete);
    ASSERT_EQ(sidecar.m_reports.size(), 1U);
    EXPECT_TRUE(sidecar.m_bRecordingStood);
    ASSERT_EQ(sidecar.m_reports[0].cameras.size(), 2U);
    for (const CameraReport& camera : sidecar.m_reports[0].cameras) {
        EXPECT_EQ(camera.files, (std::vector<std::string> { Path(FormatText("take-cam%d-0000.avi", camera.iNumber)) }));
        EXPECT_EQ(camera.iFirstSaved, 5);
        EXPECT_EQ(camera.iSaved, 10);
        EXPECT_EQ(camera.iReadBack, 10);
        EXPECT_EQ(camera.times.size(), static_cast<std::size_t>(kFrames)) << "of the whole recording";
    }

    FillStore();
    CooperationRequest request;
    request.CooperationMode = true;
    request.CoopFileNames = { Path("a.avi"), Path("b.avi") };
    m_app->SetRequest(request);
    ASSERT_TRUE(SaveAvi(*m_doc).bComplete);
    ASSERT_EQ(sidecar.m_reports.size(), 2U) << "in cooperation too";
    EXPECT_EQ(sidecar.m_reports[1].cameras[1].files, (std::vector<std::string> { Path("b-cam2-0000.avi") }));
}

TEST_F(AviExport, ACameraWhoseFileFailedIsToldToTheSidecarAsNotReadBack)
{
    RecordedSidecar sidecar(*m_doc);
    m_app->SetSidecar(&sidecar);
    m_test->m_video.m_closeError = ErrorType::FileCloseFailed;
    EXPECT_FALSE(SaveAviAutomatic(*m_doc).bComplete);
    ASSERT_EQ(sidecar.m_reports.size(), 1U);
    EXPECT_EQ(sidecar.m_reports[0].cameras[0].iReadBack, -1);
    EXPECT_EQ(sidecar.m_reports[0].cameras[1].iReadBack, -1);
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
