#include "platform/simulated/simulated_library.h"
#include "platform/time/virtual_clock.h"
#include "programs/recorder.h"
#include "support/bar_code_videos.h"
#include "support/temporary_folder.h"
#include "support/test_platform.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>

using namespace vireo;
using namespace vireo::test;

namespace {

/// One take by tessel-record's recorder: simulated cameras, virtual time, and files that keep each frame's bar
/// code, so that what the report says can be held against what the pictures show.
class Take {
public:
    Take(std::string strCameras, std::string strFaults, RecordOptions options)
        : m_options(std::move(options))
    {
        SimulatedSetup setup;
        EXPECT_EQ(ParseSimulatedSource(strCameras, setup.cameras), "");
        EXPECT_EQ(ParseSimulatedFaults(strFaults, setup.cameras.size(), setup.faults), "");
        m_library = MakeSimulatedLibrary(m_clock, setup);
        m_test = std::make_unique<TestPlatform>(TestPlatformParts {
            .pClock = &m_clock, .pCameras = m_library.get(), .pWindow = &m_window, .pVideo = &m_videos });
        std::ofstream(m_folder.Path() + "/Tessel.ini");
        if (m_options.strBase.empty())
            m_options.strBase = m_folder.Path() + "/take";
    }

    RecordOutcome Run()
    {
        CVireoApp app(m_test->m_platform);
        app.SetIniFolder(m_folder.Path() + "/");
        Recorder recorder(
            app, m_window, m_options, [this] { return m_clock.Now() >= m_stopAt ? 1 : 0; }, [](const std::string&) {});
        return recorder.Run();
    }

    std::vector<BarCodeFile> Files() const { return m_videos.Files(); }
    std::vector<std::string> Messages() const { return m_window.Messages(); }
    const TemporaryFolder& Folder() const { return m_folder; }
    void SetAvailableKiB(std::uint64_t uiKiB) { m_test->m_memory.SetAvailableKiB(uiKiB); }

    ClockTime m_stopAt = kForever;
    BarCodeVideos m_videos;
    VirtualClock m_clock;

private:
    TemporaryFolder m_folder;
    HeadlessWindow m_window { m_clock, {} };
    RecordOptions m_options;
    std::unique_ptr<CameraLibrary> m_library;
    std::unique_ptr<TestPlatform> m_test;
};

RecordOptions At(int iFps, int iSeconds, int iSize = 0)
{
    RecordOptions options;
    options.iFps = iFps;
    options.iSeconds = iSeconds;
    options.iImageSizeIndex = iSize;
    return options;
}

/// Gaps as the pictures show them: intervals of several periods.
std::vector<Gap> GapsOfPictures(const BarCodeFile& file, double dPeriodUs)
{
    std::vector<Gap> gaps;
    for (std::size_t i = 1; i < file.exposuresUs.size(); ++i) {
        const double dPeriods = (file.exposuresUs[i] - file.exposuresUs[i - 1]) / dPeriodUs;
        const int iMissing = static_cast<int>(dPeriods + 0.5) - 1;
        if (iMissing > 0)
            gaps.push_back({ static_cast<int>(i), iMissing });
    }
    return gaps;
}

/// Whether frame i shows the same moment on every camera, for all i.
bool PicturesAgree(const std::vector<BarCodeFile>& files)
{
    for (const BarCodeFile& file : files)
        if (file.exposuresUs != files.front().exposuresUs)
            return false;
    return true;
}

void ExpectGapsAsPictured(const RecordOutcome& outcome, const std::vector<BarCodeFile>& files, double dPeriodUs)
{
    ASSERT_EQ(outcome.report.cameras.size(), files.size());
    for (std::size_t c = 0; c < files.size(); ++c) {
        SCOPED_TRACE(testing::Message() << "camera " << c);
        EXPECT_EQ(outcome.report.cameras[c].gaps, GapsOfPictures(files[c], dPeriodUs));
    }
}

constexpr const char* kFour = "simulated";

} // namespace

TEST(Recorder, FourCamerasAtFourHundredFpsGiveTheSameMomentInEveryFrame)
{
    Take take(kFour, "", At(400, 5));
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kSaved) << outcome.strError;
    const auto files = take.Files();
    ASSERT_EQ(files.size(), 4U);
    EXPECT_TRUE(PicturesAgree(files));
    for (const BarCodeFile& file : files) {
        ASSERT_EQ(file.exposuresUs.size(), 2000U);
        EXPECT_EQ(file.dRate, 400.0);
        for (std::size_t i = 1; i < 2000; ++i)
            ASSERT_EQ(file.exposuresUs[i] - file.exposuresUs[i - 1], 2500U) << "frame " << i;
    }
    EXPECT_EQ(outcome.report.eVerdict, Verdict::InSync) << outcome.report.strReason;
    EXPECT_EQ(outcome.report.uiMissed, 0U);
    EXPECT_EQ(outcome.report.uiOutOfSync, 0U);
    EXPECT_EQ(outcome.report.iFrames, 2000);
    EXPECT_NEAR(outcome.report.dFpsMeasured, 400.0, 0.02);
    EXPECT_TRUE(take.Messages().empty());
}

TEST(Recorder, CamerasOfEveryKindRecordInStep)
{
    const struct {
        const char* pName;
        const char* pCameras;
        RecordOptions options;
    } kRows[] = {
        { "four colour cameras at 1920x1080", "simulated:4xGS3-U3-23S6C@17000001", At(30, 2, 3) },
        { "two GigE cameras at 250 fps", "simulated:2xGS3-PGE-23S6M@15000001", At(250, 2) },
        { "one colour camera at its own rate", "simulated:FL3-U3-13E4C@14000001", At(118, 2) },
        { "one camera", "simulated:FL3-U3-13Y3M", At(400, 1) },
        { "USB3 and GigE together", "simulated:GS3-U3-23S6M@17000001+GS3-PGE-23S6C@15000001", At(150, 2) },
        { "FireWire cameras on one clock", "simulated:4xGRAS-03K2@12000001", At(200, 2) },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pName);
        Take take(row.pCameras, "", row.options);
        const RecordOutcome outcome = take.Run();
        EXPECT_EQ(outcome.iStatus, record_status::kSaved) << outcome.strError;
        EXPECT_EQ(outcome.report.eVerdict, Verdict::InSync) << outcome.report.strReason;
        EXPECT_TRUE(PicturesAgree(take.Files()));
        for (const BarCodeFile& file : take.Files())
            EXPECT_EQ(file.exposuresUs.size(),
                static_cast<std::size_t>(*row.options.iFps) * static_cast<std::size_t>(*row.options.iSeconds));
        EXPECT_TRUE(take.Messages().empty()) << take.Messages().front();
    }
}

TEST(Recorder, LossesAreToldAtTheirFrameAndCamera)
{
    const struct {
        const char* pFaults;
        std::size_t uiCamera;
        int iMissing;
        unsigned int uiMissedCount; ///< the status bar counts camera 0 alone
    } kRows[] = {
        { "drop:0@500x3", 0, 3, 3 },
        { "drop:2@500", 2, 1, 0 },
        { "missedge:1@500", 1, 1, 0 },
        { "torn:1@500", 1, 1, 0 },
        { "drop:3@400x100", 3, 100, 0 },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pFaults);
        RecordOptions options = At(400, 2);
        options.bStrict = true;
        Take take(kFour, row.pFaults, options);
        const RecordOutcome outcome = take.Run();
        EXPECT_EQ(outcome.iStatus, record_status::kStrict) << outcome.strError;
        EXPECT_EQ(outcome.report.eVerdict, Verdict::FramesMissed);
        EXPECT_EQ(outcome.report.uiMissed, row.uiMissedCount);
        ASSERT_EQ(outcome.report.cameras[row.uiCamera].gaps.size(), 1U);
        EXPECT_EQ(outcome.report.cameras[row.uiCamera].gaps[0].iMissing, row.iMissing);
        ExpectGapsAsPictured(outcome, take.Files(), 2500.0);
    }
}

TEST(Recorder, AFrameLostBeforeTheRecordingLeavesItAlignedFromItsFirstFrame)
{
    Take take(kFour, "drop:2@5", At(400, 2));
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.report.eVerdict, Verdict::InSync) << outcome.report.strReason;
    EXPECT_EQ(outcome.report.cameras[2].iLostBefore, 1);
    EXPECT_EQ(outcome.report.cameras[1].iLostBefore, 0);
    EXPECT_TRUE(PicturesAgree(take.Files()));
}

TEST(Recorder, ExposuresThatPartAreNeverCalledInSync)
{
    const struct {
        const char* pFaults;
        Verdict eVerdict;
    } kRows[] = {
        { "phase:2=3000", Verdict::OutOfSync },
        { "drift:1=2000", Verdict::OutOfSync },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pFaults);
        RecordOptions options = At(400, 1);
        options.bStrict = true;
        Take take(kFour, row.pFaults, options);
        const RecordOutcome outcome = take.Run();
        EXPECT_EQ(outcome.report.eVerdict, row.eVerdict) << outcome.report.strReason;
        EXPECT_EQ(outcome.iStatus, record_status::kStrict);
    }
}

TEST(Recorder, ACameraThatRunsFreeInMidTakeIsTold)
{
    Take take(kFour, "untrigger:3@400", At(400, 2));
    const RecordOutcome outcome = take.Run();
    EXPECT_FALSE(PicturesAgree(take.Files()));
    EXPECT_NE(outcome.report.eVerdict, Verdict::InSync);
}

TEST(Recorder, ACrystalAHundredPpmOffIsInSyncAndToldAfterTwentySeconds)
{
    Take take("simulated:2xFL3-U3-13Y3M", "drift:1=100", At(100, 20));
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.report.eVerdict, Verdict::InSync) << outcome.report.strReason;
    EXPECT_NEAR(outcome.report.cameras[1].dClockPpm, 100.0, 5.0);
    EXPECT_TRUE(PicturesAgree(take.Files()));
}

TEST(Recorder, ACameraThatFallsSilentKeepsWhatEveryCameraHas)
{
    Take take(kFour, "hang:3@400", At(400, 2));
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kFailed);
    EXPECT_EQ(outcome.strError, "カメラ４のデータ取得に失敗しました(18)");
    EXPECT_EQ(take.Messages(), (std::vector<std::string> { "カメラ４のデータ取得に失敗しました(18)" }));
    const auto files = take.Files();
    ASSERT_EQ(files.size(), 4U);
    EXPECT_GT(files[3].exposuresUs.size(), 300U);
    EXPECT_TRUE(PicturesAgree(files));
    EXPECT_LT(take.m_clock.Now(), 12 * kNsPerSecond);
}

TEST(Recorder, AnUnpluggedCameraEndsTheTakeAndKeepsIt)
{
    for (const char* pFaults : { "unplug:0@400", "unplug:2@400" }) {
        SCOPED_TRACE(pFaults);
        Take take(kFour, pFaults, At(400, 2));
        const RecordOutcome outcome = take.Run();
        EXPECT_EQ(outcome.iStatus, record_status::kFailed);
        ASSERT_EQ(take.Files().size(), 4U);
        EXPECT_GT(take.Files()[0].exposuresUs.size(), 300U);
        EXPECT_TRUE(PicturesAgree(take.Files()));
    }
}

TEST(Recorder, TheExternalTriggerStartsTheTake)
{
    for (const char* pCameras : { "simulated", "simulated:2xGS3-U3-23S6M@17000001" }) {
        SCOPED_TRACE(pCameras);
        RecordOptions options = At(100, 2);
        options.bTriggerWait = true;
        Take take(pCameras, "trigger:100@500", options);
        const RecordOutcome outcome = take.Run();
        EXPECT_EQ(outcome.iStatus, record_status::kSaved) << outcome.strError;
        EXPECT_EQ(outcome.report.eVerdict, Verdict::InSync) << outcome.report.strReason;
        EXPECT_TRUE(PicturesAgree(take.Files()));
        EXPECT_EQ(take.Files()[0].exposuresUs.size(), 200U);
    }
}

TEST(Recorder, ATriggerThatRunsBeforeTheCamerasIsNotCalledInSyncUnlessItIs)
{
    RecordOptions options = At(100, 2);
    options.bTriggerWait = true;
    Take take(kFour, "trigger:100", options);
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.report.eVerdict == Verdict::InSync, PicturesAgree(take.Files())) << outcome.report.strReason;
}

TEST(Recorder, AWaitForATriggerThatNeverComesEndsAtItsTimeout)
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

TEST(Recorder, ATimeoutCountsOnlyUntilTheRecordingBegins)
{
    RecordOptions options = At(100, 4);
    options.bTriggerWait = true;
    options.dTimeoutSeconds = 3.0;
    Take take(kFour, "trigger:100@2000", options);
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kSaved) << outcome.strError;
    EXPECT_EQ(take.Files()[0].exposuresUs.size(), 400U);
}

TEST(Recorder, ATakeThatMemoryCannotHoldIsRefusedAlsoWhenItIsShort)
{
    Take take(kFour, "", At(400, 1));
    take.SetAvailableKiB(200 * 1024); // holds the cameras' first second at 30 fps
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kFailed);
    EXPECT_EQ(outcome.strError, "ｶﾒﾗﾊﾞｯﾌｧを取得できません。ﾌﾚｰﾑﾚｰﾄか録画時間を少なくしてください。 1sec 400fps");
    EXPECT_TRUE(take.Files().empty());
}

TEST(Recorder, ANameThatNoFileCanHaveIsToldBeforeAnythingIsRecorded)
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

TEST(Recorder, APresetWithARateOutsideTheListIsWrongUse)
{
    RecordOptions options;
    options.iPreset = 1;
    Take take(kFour, "", options);
    WriteFile(take.Folder().Path() + "/Tessel.ini", "[CAM_PROPERTY_DATA1]\r\nFrameRate=77\r\n");
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kUsage);
    EXPECT_EQ(outcome.strError, "77 fps is no frame rate of this program");
}

TEST(Recorder, AStopSavesWhatIsRecordedSoFar)
{
    for (const char* pCameras : { "simulated", "simulated:2xGRAS-03K2" }) { // in step, and free-running
        SCOPED_TRACE(pCameras);
        Take take(pCameras, "", At(100, 30));
        take.m_stopAt = 5 * kNsPerSecond;
        const RecordOutcome outcome = take.Run();
        EXPECT_EQ(outcome.iStatus, record_status::kSaved) << outcome.strError;
        ASSERT_GE(take.Files().size(), 2U);
        EXPECT_GT(take.Files()[0].exposuresUs.size(), 300U);
        EXPECT_LT(take.Files()[0].exposuresUs.size(), 500U);
        EXPECT_EQ(outcome.report.iFrames, static_cast<int>(take.Files()[0].exposuresUs.size()));
        EXPECT_TRUE(PicturesAgree(take.Files()));
    }
}

TEST(Recorder, AStopBeforeTheRecordingSavesNothing)
{
    Take take(kFour, "", At(100, 30));
    take.m_stopAt = 0;
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kFailed);
    EXPECT_EQ(outcome.strError, "stopped before the recording began");
    EXPECT_TRUE(take.Files().empty());
}

TEST(Recorder, ARateBeyondTheCamerasIsWrongUse)
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
    };
    for (const auto& row : kRows) {
        Take take(row.pCameras, "", row.options);
        const RecordOutcome outcome = take.Run();
        EXPECT_EQ(outcome.iStatus, record_status::kUsage);
        EXPECT_EQ(outcome.strError, row.pError);
    }
}

TEST(Recorder, ATargetThatExistsIsWrongUseAndIsLeftAlone)
{
    Take take(kFour, "", At(100, 1));
    WriteFile(take.Folder().Path() + "/take-cam3-0001.avi", "older");
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kUsage);
    EXPECT_NE(outcome.strError.find("take-cam3"), std::string::npos);
    EXPECT_EQ(ReadFile(take.Folder().Path() + "/take-cam3-0001.avi"), "older");
}

TEST(Recorder, AMissingFolderIsToldBeforeAnythingIsRecorded)
{
    RecordOptions options = At(100, 1);
    options.strBase = "/nowhere/at/all/take";
    Take take(kFour, "", options);
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kFailed);
    EXPECT_EQ(outcome.strError, "there is no folder /nowhere/at/all");
    EXPECT_LT(take.m_clock.Now(), 2 * kNsPerSecond);
}

TEST(Recorder, AFileThatCannotBeMadeFailsWithItsReason)
{
    Take take(kFour, "", At(100, 1));
    take.m_videos.m_openError = Error(ErrorType::FileOpenFailed, "Read-only file system");
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kFailed);
    EXPECT_EQ(outcome.strError, "AVIﾌｧｲﾙのｵｰﾌﾟﾝに失敗しました。Read-only file system");
    EXPECT_TRUE(outcome.bRecorded);
}

TEST(Recorder, CamerasThatCannotBeUsedFailWithTheirMessage)
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

TEST(Recorder, MixedModelsRunFreeAndAreNotCheckedAcrossClocks)
{
    Take take("simulated:GS3-U3-23S6M@17000001+FFMV-03M2M@11000001", "", At(60, 2));
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kSaved) << outcome.strError;
    EXPECT_EQ(outcome.report.eVerdict, Verdict::NotChecked);
    EXPECT_NE(outcome.report.strReason, "");
}

TEST(Recorder, TheSameTakeComesOutTheSameEachTime)
{
    std::vector<std::vector<std::uint32_t>> first;
    for (int i = 0; i < 3; ++i) {
        Take take(kFour, "stall:1@50=30", At(200, 1));
        take.Run();
        std::vector<std::vector<std::uint32_t>> exposures;
        for (const BarCodeFile& file : take.Files())
            exposures.push_back(file.exposuresUs);
        if (i == 0)
            first = exposures;
        EXPECT_EQ(exposures, first);
    }
}
