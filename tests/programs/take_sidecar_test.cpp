#include "platform/imaging/mjpeg_video.h"
#include "platform/imaging/video_checks.h"
#include "programs/take_report_writer.h"
#include "programs/take_sidecar.h"
#include "support/recorded_log.h"
#include "take.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using namespace vireo;
using namespace vireo::test;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

using Texts = std::vector<std::string>;

class Sidecar : public testing::Test {
protected:
    /// Two cameras of three frames, saved in full.
    TakeReport MakeReport() const
    {
        TakeReport report;
        report.dOffsetLimitUs = 5000.0;
        for (const int iNumber : { 1, 2 }) {
            CameraReport camera;
            camera.iNumber = iNumber;
            camera.files = { m_folder / ("take-cam" + std::to_string(iNumber) + "-0000.avi"),
                m_folder / ("take-cam" + std::to_string(iNumber) + "-0001.avi") };
            camera.iSaved = camera.iReadBack = camera.iFrames = 3;
            camera.times = { 1.0, 1.01, 1.02 };
            camera.exposures = { 7, 8, 9 };
            camera.bCompared = true;
            if (iNumber == 2)
                camera.offsetsUs = { 1.5, -2.25, 0.0 };
            report.cameras.push_back(camera);
        }
        return report;
    }
    Texts Entries() const { return EntriesOf(m_folder.Path()); }
    static Texts EntriesOf(const std::string& strFolder)
    {
        Texts names;
        for (const auto& entry : std::filesystem::directory_iterator(strFolder))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    TemporaryFolder m_folder;
    RecordedLog m_log;
    std::unique_ptr<TakeSidecar> m_sidecar = MakeTakeSidecar("", m_log);
};

TEST_F(Sidecar, IsATableForEachCameraAndAReportBesideTheFirst)
{
    const TakeReport report = MakeReport();
    m_sidecar->Write(report);
    EXPECT_THAT(Entries(), ElementsAre("take-cam1.csv", "take-cam1.json", "take-cam2.csv"));
    EXPECT_EQ(ReadFile(m_folder / "take-cam1.csv"), TakeCsv(report, 0));
    EXPECT_EQ(ReadFile(m_folder / "take-cam2.csv"), TakeCsv(report, 1));
    EXPECT_EQ(ReadFile(m_folder / "take-cam1.json"), TakeReportJson(report));
    EXPECT_TRUE(m_log.Lines().empty());
}

TEST_F(Sidecar, IsSwitchedOffByAZeroAlone)
{
    EXPECT_EQ(MakeTakeSidecar("0", m_log), nullptr);
    for (const char* pSetting : { "", "1", "00" })
        EXPECT_NE(MakeTakeSidecar(pSetting, m_log), nullptr) << pSetting;
}

TEST_F(Sidecar, LeavesAFileThatExistsAloneAndSaysSoInALineEach)
{
    WriteFile(m_folder / "take-cam1.csv", "somebody's notes");
    m_sidecar->Write(MakeReport());
    EXPECT_EQ(ReadFile(m_folder / "take-cam1.csv"), "somebody's notes");
    EXPECT_THAT(Entries(), ElementsAre("take-cam1.csv", "take-cam1.json", "take-cam2.csv")) << "the others are written";
    EXPECT_THAT(
        m_log.Lines(), ElementsAre("the take is not described: " + m_folder / "take-cam1.csv" + ": File exists"));
}

TEST_F(Sidecar, DescribesNoCameraWhoseFilesWereNotCompleted)
{
    TakeReport report = MakeReport();
    report.cameras[0].iReadBack = -1;
    m_sidecar->Write(report);
    EXPECT_THAT(Entries(), ElementsAre("take-cam2.csv", "take-cam2.json"));
    report.cameras[1].files.clear();
    report.cameras[1].iReadBack = -1;
    m_sidecar->Write(report);
    EXPECT_EQ(Entries().size(), 2U);
    EXPECT_TRUE(m_log.Lines().empty());
}

TEST_F(Sidecar, OfATakeWithoutANameWouldBeHiddenAndIsLeftOut)
{
    TakeReport report = MakeReport();
    report.cameras.pop_back();
    for (const std::string& strFile : { m_folder / "-0000.avi", std::string("-0000.avi") }) {
        report.cameras[0].files = { strFile };
        m_sidecar->Write(report);
    }
    EXPECT_TRUE(Entries().empty());
    EXPECT_EQ(m_log.Lines().size(), 2U);
    EXPECT_FALSE(std::filesystem::exists(".csv"));
}

TEST_F(Sidecar, OfARealTakeSaysWhatTheReportSays)
{
    const auto video = MakeVideoWriters({ .uiPartLimitBytes = 600'000 });
    Take take("simulated:2xFL3-U3-13Y3M", "drop:1@150x2", At(100, 2), { .pVideo = video.get() });
    take.m_pSidecar = m_sidecar.get();
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kSaved) << outcome.strError;
    EXPECT_TRUE(m_log.Lines().empty());
    const std::string strBase = take.Folder() / "take-cam";
    const std::string strReport = ReadFile(strBase + "1.json");
    EXPECT_EQ(strReport, TakeReportJson(outcome.report));
    const auto report = nlohmann::json::parse(strReport);
    EXPECT_EQ(report.at("verdict"), "frames missed");
    for (std::size_t c = 0; c < 2; ++c) {
        SCOPED_TRACE(c);
        const auto& camera = report.at("cameras").at(c);
        EXPECT_EQ(camera.at("saved"), 200);
        EXPECT_EQ(camera.at("read_back"), 200);
        int iDecoded = 0;
        for (const std::string strFile : camera.at("files"))
            iDecoded += Probe(strFile).iFrames;
        EXPECT_EQ(iDecoded, 200);
        EXPECT_GE(camera.at("files").size(), 2U) << "one table for all parts";
        std::istringstream table(ReadFile(strBase + std::to_string(c + 1) + ".csv"));
        int iRows = 0;
        Texts notOk;
        std::string strLine;
        for (std::getline(table, strLine); std::getline(table, strLine); ++iRows)
            if (!strLine.ends_with(",ok"))
                notOk.push_back(strLine);
        EXPECT_EQ(iRows, 200);
        if (c == 0)
            EXPECT_TRUE(notOk.empty()) << notOk[0];
        else
            EXPECT_THAT(notOk, testing::Contains(HasSubstr(",missed-before 2")));
    }
}

TEST_F(Sidecar, ThatCannotBeWrittenHarmsNoRecording)
{
    Take take("simulated:2xFL3-U3-13Y3M", "", At(100, 1));
    // Without real files beside it; directories stand in the way of all three names.
    for (const char* pName : { "take-cam1.csv", "take-cam1.json", "take-cam2.csv" })
        std::filesystem::create_directory(take.Folder() / pName);
    take.m_pSidecar = m_sidecar.get();
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kSaved) << outcome.strError;
    EXPECT_EQ(take.Files().size(), 2U);
    EXPECT_EQ(m_log.Lines().size(), 3U);
    EXPECT_TRUE(take.Messages().empty());
}

} // namespace
