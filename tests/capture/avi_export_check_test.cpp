#include "app/format_text.h"
#include "avi_export_bench.h"
#include "capture/take_sidecar.h"

using namespace vireo;
using namespace vireo::test;

// What follows on the files: they are read back, and the take is described beside them.

namespace {

class AviExportCheck : public AviExport { };

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

} // namespace

TEST_F(AviExportCheck, WhatTheFilesHoldIsCountedAfterEachSave)
{
    const ExportResult result = SaveAviAutomatic(*m_doc);
    for (const ExportedCamera& camera : result.cameras)
        EXPECT_EQ(camera.iReadBack, kFrames);
    EXPECT_TRUE(Messages().empty());
}

TEST_F(AviExportCheck, AFileThatCannotBeReadBackIsNamedAndTheRecordingIsKept)
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

TEST_F(AviExportCheck, AFileWithFewerFramesThanWereSavedIsNamed)
{
    m_test->m_video.m_iLostOnDisk = 2;
    const ExportResult result = SaveAviAutomatic(*m_doc);
    EXPECT_FALSE(result.bComplete);
    EXPECT_EQ(result.cameras[0].iReadBack, kFrames - 2);
    ASSERT_EQ(Messages().size(), 2U);
    EXPECT_EQ(Messages()[0], "AVIﾌｧｲﾙの確認に失敗しました。" + Path("take-cam1-0000.avi") + ": 28 of 30 frames\n");
    EXPECT_TRUE(IsKept());
}

TEST_F(AviExportCheck, InCooperationAFailedCheckIsAResultAndALineOfTheLogNotABox)
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

TEST_F(AviExportCheck, EverySaveTellsTheSidecarWhatWasWrittenWhileTheRecordingStands)
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

TEST_F(AviExportCheck, ASidecarThatThrowsHarmsNoSave)
{
    class Throwing : public TakeSidecar {
        void Write(const TakeReport&) override { throw std::bad_alloc(); }
    } sidecar;
    m_app->SetSidecar(&sidecar);
    EXPECT_TRUE(SaveAviAutomatic(*m_doc).bComplete);
    EXPECT_FALSE(m_doc->m_capture.m_bSaving);
    EXPECT_TRUE(m_test->m_log.Contains("no take report: "));
    EXPECT_TRUE(m_test->m_window.MessageTexts().empty());
}

TEST_F(AviExportCheck, ACameraWhoseFileFailedIsToldToTheSidecarAsNotReadBack)
{
    RecordedSidecar sidecar(*m_doc);
    m_app->SetSidecar(&sidecar);
    m_test->m_video.m_closeError = ErrorType::FileCloseFailed;
    EXPECT_FALSE(SaveAviAutomatic(*m_doc).bComplete);
    ASSERT_EQ(sidecar.m_reports.size(), 1U);
    EXPECT_EQ(sidecar.m_reports[0].cameras[0].iReadBack, -1);
    EXPECT_EQ(sidecar.m_reports[0].cameras[1].iReadBack, -1);
}
