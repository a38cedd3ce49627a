#include "lean_memory.h"
#include "take.h"

using namespace vireo;
using namespace vireo::test;

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
    for (const bool bStrict : { false, true }) {
        RecordOptions options = At(400, 2);
        options.bStrict = bStrict;
        Take take(kFour, "drop:2@5", options);
        const RecordOutcome outcome = take.Run();
        EXPECT_EQ(outcome.iStatus, bStrict ? record_status::kStrict : record_status::kSaved) << outcome.strError;
        EXPECT_EQ(outcome.report.eVerdict, Verdict::InSync) << outcome.report.strReason;
        for (std::size_t c = 0; c < 4; ++c) {
            EXPECT_EQ(outcome.report.cameras[c].iLostBefore, c == 2 ? 1 : 0) << "camera " << c;
            EXPECT_TRUE(outcome.report.cameras[c].gaps.empty());
        }
        EXPECT_TRUE(PicturesAgree(take.Files()));
        EXPECT_EQ(take.Files()[2].exposuresUs.size(), 800U);
    }
}

TEST(Recorder, ExposuresThatPartAreToldAtTheirFrameAndCamera)
{
    const struct {
        const char* pFaults;
        std::size_t uiCamera;
    } kRows[] = { { "phase:2=3000", 2 }, { "untrigger:3@400", 3 }, { "untrigger:1@500", 1 } };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pFaults);
        RecordOptions options = At(400, 2);
        options.bStrict = true;
        Take take(kFour, row.pFaults, options);
        const RecordOutcome outcome = take.Run();
        EXPECT_EQ(outcome.iStatus, record_status::kStrict) << outcome.strError;
        EXPECT_EQ(outcome.report.eVerdict, Verdict::OutOfSync);
        const auto files = take.Files();
        ASSERT_EQ(files.size(), 4U);
        const double dLargestUs = LargestOffsetOfPictures(files, row.uiCamera);
        const int iFirst = FirstOffsetOfPictures(files, row.uiCamera, 1250.0);
        ASSERT_GE(iFirst, 0);
        EXPECT_EQ(outcome.report.strReason,
            "camera " + std::to_string(row.uiCamera + 1) + " is up to " + std::to_string(std::lround(dLargestUs))
                + " us away from camera 1, first at frame " + std::to_string(iFirst));
        for (std::size_t c = 0; c < 4; ++c) {
            EXPECT_EQ(files[c].exposuresUs.size(), 800U);
            EXPECT_TRUE(outcome.report.cameras[c].gaps.empty());
            EXPECT_NEAR(outcome.report.cameras[c].dMaxOffsetUs, LargestOffsetOfPictures(files, c), 1.0);
        }
    }
}

TEST(Recorder, AClockThatNoCrystalExplainsIsOutOfSync)
{
    RecordOptions options = At(400, 1);
    options.bStrict = true;
    Take take(kFour, "drift:1=2000", options);
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kStrict);
    EXPECT_EQ(outcome.report.eVerdict, Verdict::OutOfSync);
    EXPECT_TRUE(outcome.report.strReason.starts_with("the clock of camera 2 is 2000 ppm off"))
        << outcome.report.strReason;
}

// Two cameras keep the evidence of 20 s at 400 fps, not the memory: the middle of a picture is given back.
TEST(Recorder, ACrystalAHundredPpmOffIsInSyncAndToldAfterTwentySeconds)
{
    LeanMemory memory;
    LeanConverter converter(memory, 307200);
    Take take("simulated:2xFL3-U3-13Y3M", "drift:1=100", At(400, 20), { .pMemory = &memory, .pConverter = &converter });
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kSaved) << outcome.strError;
    EXPECT_EQ(outcome.report.eVerdict, Verdict::InSync) << outcome.report.strReason;
    EXPECT_NEAR(outcome.report.cameras[1].dClockPpm, 100.0, 5.0);
    ASSERT_EQ(take.Files().size(), 2U);
    EXPECT_EQ(take.Files()[1].exposuresUs.size(), 8000U);
    EXPECT_TRUE(PicturesAgree(take.Files()));
}

TEST(Recorder, TheExternalTriggerStartsTheTake)
{
    for (const char* pCameras :
        { "simulated", "simulated:2xGS3-U3-23S6M@17000001", "simulated:2xGRAS-03K2@12000001" }) {
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

TEST(Recorder, APresetGivesTheValuesThatNoOptionGives)
{
    RecordOptions options;
    options.iPreset = 2;
    options.iSeconds = 1;
    Take take(kFour, "", options);
    WriteFile(take.Folder().Path() + "/Tessel.ini",
        "[CAM_PROPERTY_DATA2]\r\nFrameRate=60\r\nRecTime=2\r\nInitialCameraNumber=5\r\n");
    const RecordOutcome outcome = take.Run();
    EXPECT_EQ(outcome.iStatus, record_status::kSaved) << outcome.strError;
    EXPECT_EQ(outcome.report.iFpsRequested, 60);
    EXPECT_EQ(outcome.report.iFrames, 60) << "one second of it";
    EXPECT_EQ(outcome.report.cameras.front().iNumber, 5);
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

TEST(Recorder, AStopIsHeardThoughNoTriggerComes)
{
    const struct {
        const char* pFaults;
        int iStopSeconds;
        bool bSaved;
    } kRows[] = { { "", 3, false }, { "trigger:0.5@100", 9, true } };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pFaults);
        RecordOptions options = At(100, 2);
        options.bTriggerWait = true;
        Take take("simulated", row.pFaults, options);
        take.m_stopAt = row.iStopSeconds * kNsPerSecond;
        const RecordOutcome outcome = take.Run();
        EXPECT_EQ(outcome.iStatus, row.bSaved ? record_status::kSaved : record_status::kFailed);
        EXPECT_EQ(outcome.strError, row.bSaved ? "" : "stopped before the recording began");
        EXPECT_EQ(take.Files().empty(), !row.bSaved);
        EXPECT_TRUE(!row.bSaved || PicturesAgree(take.Files()));
        EXPECT_LT(take.m_clock.Now(), (row.iStopSeconds + 5) * kNsPerSecond);
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
