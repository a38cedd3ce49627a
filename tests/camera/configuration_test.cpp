#include "camera/configuration.h"
#include "configuration_bench.h"

#include <gtest/gtest.h>

namespace vireo::test {
namespace {

std::size_t IndexOf(const std::vector<LibraryCall>& calls, Operation eOperation, const std::string& strArguments = {})
{
    for (std::size_t i = 0; i < calls.size(); ++i)
        if (calls[i].eOperation == eOperation && calls[i].strArguments.starts_with(strArguments))
            return i;
    ADD_FAILURE() << OperationName(eOperation) << " " << strArguments << " was not called";
    return calls.size();
}

// ---- Exposure

TEST(ExposureMs, IsTheShutterOrTheFramePeriodButNeverAboveThirty)
{
    const struct {
        int iShutter, iFps;
        float fMs;
    } kRows[] = { { 500, 30, 2.0F }, { 100, 400, 10.0F }, { -1, 400, 2.5F }, { -1, 30, 30.0F }, { 30, 30, 30.0F },
        { 1, 30, 30.0F }, { 0, 30, 30.0F }, { -1, 0, 30.0F } };
    for (const auto& row : kRows)
        EXPECT_FLOAT_EQ(ExposureMs(row.iShutter, row.iFps), row.fMs) << row.iShutter << " at " << row.iFps;
}

// ---- What stands in the way

TEST(ConfigureCameras, DoesNothingWhileACaptureRuns)
{
    Bench bench("simulated:FL3-U3-13Y3M");
    ASSERT_TRUE(bench.Configure());
    bench.Forget();
    EXPECT_TRUE(bench.Configure());
    EXPECT_TRUE(bench.m_library.Calls().empty());
    EXPECT_EQ(GrabThreadsAsked().starts.size(), 1U);
}

TEST(ConfigureCameras, RefusesSilentlyWhileASaveRuns)
{
    Bench bench("simulated:FL3-U3-13Y3M");
    bench.Doc().m_capture.m_bSaving = true;
    EXPECT_FALSE(bench.Configure());
    EXPECT_TRUE(bench.Messages().empty());
    EXPECT_TRUE(bench.m_library.Calls().empty());
}

TEST(ConfigureCameras, RefusesARateThatTheModelsCannotDo)
{
    Bench bench("simulated:FFMV-03M2M", 100);
    EXPECT_FALSE(bench.Configure());
    EXPECT_EQ(
        bench.Messages(), Texts { "100fpsに対応していないｶﾒﾗが接続されています。60fps以下に設定してください。\n" });
    EXPECT_TRUE(bench.m_library.Calls().empty());
}

TEST(ConfigureCameras, ChecksTheRateAtTheSmallestSizeOnly)
{
    Bench bench("simulated:GS3-U3-23S6M", 350, 1);
    bench.Parameters().m_iModelMaxFps = 100;
    EXPECT_TRUE(bench.Configure());
}

TEST(ConfigureCameras, RefusesToCaptureWithoutAStore)
{
    Bench bench("simulated:FL3-U3-13Y3M");
    FreeFrameStore(bench.Doc());
    EXPECT_FALSE(bench.Configure());
    EXPECT_TRUE(bench.Messages().empty()); // the allocation has told why there is none
    EXPECT_TRUE(bench.m_library.Calls().empty());
    EXPECT_FALSE(bench.Doc().m_capture.m_bCapturing);
}

TEST(ConfigureCameras, RefusesToCaptureWithoutCameras)
{
    CameraDocument bench("simulated:FL3-U3-13Y3M");
    EXPECT_FALSE(ConfigureCameras(bench.Doc()));
    EXPECT_EQ(bench.Messages(), Texts { "ｶﾒﾗが接続されていません 接続を確認してください。\n" });
}

TEST(ConfigureCameras, StartsEveryCaptureWithFreshCountersAndRequests)
{
    for (const char* strSource : { "simulated:FL3-U3-13Y3M", "simulated:GRAS-03K2" }) {
        Bench bench(strSource);
        CaptureFlags& capture = bench.Doc().m_capture;
        FrameStore& store = bench.Doc().m_store;
        capture.m_uiMissedCount = 5;
        capture.m_uiOutOfSyncCount = 6;
        capture.m_iCaptureState = capture_state::kRecording;
        store.m_iRecordTarget = 7;
        store.m_uiDoneCameras = 1;
        store.m_iStartMark = 8;
        store.m_bStartRequest = true;
        store.m_iStopMark = 9;
        store.m_bStopRequest = true;
        ASSERT_TRUE(bench.Configure());
        EXPECT_EQ(capture.m_uiMissedCount, 0U);
        EXPECT_EQ(capture.m_uiOutOfSyncCount, 0U);
        EXPECT_EQ(capture.m_iCaptureState, capture_state::kLive);
        EXPECT_EQ(store.m_iRecordTarget, store.m_iBufferFrames - 64);
        EXPECT_EQ(store.m_uiDoneCameras, 0U);
        EXPECT_EQ(store.m_iStartMark, -1);
        EXPECT_FALSE(store.m_bStartRequest);
        EXPECT_EQ(store.m_iStopMark, -1);
        EXPECT_FALSE(store.m_bStopRequest);
    }
}

// ---- One camera's settings

TEST(ConfigureCameras, PutsAUsbCameraIntoItsCustomMode)
{
    Bench bench("simulated:FL3-U3-13Y3M", 400);
    bench.Parameters().m_iShutter = -1;
    ASSERT_TRUE(bench.Configure());
    EXPECT_EQ(WritesTo(bench, 0x083C), Texts { "0xC20001E0" });
    EXPECT_EQ(WritesTo(bench, 0x0968), Texts { "0x41F00000" }); // the property carries the rate
    EXPECT_EQ(SetsOf(bench, PropertyType::FrameRate).back(), "manual 400");
    EXPECT_EQ(bench.m_library.Arguments(Operation::GetFormat7Info), Texts { "mode 1" });
    EXPECT_EQ(bench.m_library.Arguments(Operation::SetFormat7Configuration),
        Texts { "mode 1 0,0 640x480 0x400000 packet 48000" });
    EXPECT_EQ(SetsOf(bench, PropertyType::Shutter)[1], "manual 2.5");
    EXPECT_EQ(SetsOf(bench, PropertyType::Gain).back(), "manual 3");
}

TEST(ConfigureCameras, WritesThirtyToTheRateRegisterOfAWidePictureButKeepsTheProperty)
{
    Bench bench("simulated:GS3-U3-23S6M", 250, 2);
    ASSERT_TRUE(bench.Configure());
    EXPECT_EQ(WritesTo(bench, 0x0968), Texts { "0x41F00000" });
    EXPECT_EQ(SetsOf(bench, PropertyType::FrameRate).back(), "manual 250");
}

TEST(ConfigureCameras, ReadsTheRateControlOfAGrasBeforeItIsWritten)
{
    Bench bench("simulated:GRAS-03K2", 100);
    ASSERT_TRUE(bench.Configure());
    const auto calls = bench.m_library.Calls();
    EXPECT_LT(IndexOf(calls, Operation::ReadRegister, "0x083C"), IndexOf(calls, Operation::WriteRegister, "0x083C"));
    EXPECT_EQ(WritesTo(bench, 0x083C), Texts { "0xC20001D7" });
    EXPECT_EQ(WritesTo(bench, 0x0968), Texts { "0x42C80000" });
    EXPECT_EQ(bench.m_library.Arguments(Operation::SetFormat7Configuration),
        Texts { "mode 0 0,0 640x480 0x80000000 packet 8192" });
}

TEST(ConfigureCameras, SetsTheRateAgainAfterTheModeAtOneHundredAndTwenty)
{
    for (const int iFps : { 100, 120 }) {
        Bench bench("simulated:GS3-U3-23S6M", iFps);
        ASSERT_TRUE(bench.Configure());
        const std::string strRate = "manual " + std::to_string(iFps);
        const Texts sets = SetsOf(bench, PropertyType::FrameRate);
        EXPECT_EQ(sets.size(), iFps == 120 ? 4U : 2U);
        EXPECT_EQ(sets.back(), strRate);
    }
}

TEST(ConfigureCameras, PutsAGigECameraIntoItsImagingMode)
{
    Bench bench("simulated:GS3-PGE-23S6M", 100, 1);
    ASSERT_TRUE(bench.Configure());
    EXPECT_EQ(bench.m_library.Arguments(Operation::DiscoverGigEPacketSize), Texts { "from 9000" });
    EXPECT_EQ(bench.m_library.Arguments(Operation::QueryGigEImagingMode), Texts { "0" });
    EXPECT_EQ(bench.m_library.Arguments(Operation::SetGigEImagingMode), Texts { "0" });
    EXPECT_EQ(bench.m_library.Arguments(Operation::SetGigEImageSettings), Texts { "448,216 1024x768 0x400000" });
    EXPECT_EQ(bench.m_library.Arguments(Operation::SetGigEConfig), Texts { "resend" });
    EXPECT_EQ(WritesTo(bench, 0x0968), Texts { "0x42C80000" });
    EXPECT_LE(bench.Doc().m_cameras.m_uiGigEPacketSize, 9000U);
    EXPECT_TRUE(bench.m_library.Calls(Operation::SetFormat7Configuration).empty());
}

TEST(ConfigureCameras, RequestsTheLargestPacketAtEveryStart)
{
    Bench bench("simulated:GS3-PGE-23S6M", 100);
    bench.Doc().m_cameras.m_uiGigEPacketSize = 576;
    ASSERT_TRUE(bench.Configure());
    EXPECT_EQ(bench.m_library.Arguments(Operation::DiscoverGigEPacketSize), Texts { "from 9000" });
}

TEST(ConfigureCameras, LeavesAnUnknownModelInTheStandardModeWhateverTheSize)
{
    const struct {
        int iFps;
        const char* strMode;
    } kRows[] = { { 30, "mode 5 rate 4" }, { 60, "mode 5 rate 5" } };
    for (const auto& row : kRows) {
        Bench bench("simulated:FFMV-03M2M", row.iFps, 1);
        ASSERT_TRUE(bench.Configure());
        EXPECT_EQ(bench.m_library.Arguments(Operation::SetVideoModeAndFrameRate), Texts { row.strMode });
        EXPECT_TRUE(bench.m_library.Calls(Operation::SetFormat7Configuration).empty());
        EXPECT_TRUE(SetsOf(bench, PropertyType::FrameRate).empty());
        EXPECT_EQ(SetsOf(bench, PropertyType::Shutter).back(), "manual 2");
    }
}

TEST(ConfigureCameras, GivesAGigECameraItsImageSettingsAlsoWhereNoRuleNamesIt)
{
    Bench bench("simulated:GS3-PGE-23S6M", 250);
    ASSERT_TRUE(bench.Configure());
    EXPECT_EQ(bench.m_library.Arguments(Operation::SetGigEImageSettings), Texts { "0,0 640x480 0x400000" });
    EXPECT_EQ(WritesTo(bench, 0x0968), Texts { "0x437A0000" });
    EXPECT_EQ(SetsOf(bench, PropertyType::FrameRate).back(), "manual 250");
}

TEST(ConfigureCameras, ReportsAPictureThatIsLargerThanTheSensor)
{
    Bench bench("simulated:FL3-U3-13Y3M", 30, 3);
    EXPECT_FALSE(bench.Configure());
    EXPECT_EQ(bench.Messages(), Texts { "ｶﾒﾗの設定に失敗しました。\n" });
}

TEST(ConfigureCameras, TracesAMissingPixelFormatAndGoesOn)
{
    for (const char* strSource : { "simulated:FL3-U3-13Y3M", "simulated:GS3-PGE-23S6M" }) {
        Bench bench(strSource);
        bench.m_library.Answers().pixelFormats = 0x12;
        EXPECT_TRUE(bench.Configure());
        EXPECT_TRUE(bench.m_test.m_log.Contains("Pixel format is not supported"));
        EXPECT_TRUE(bench.Messages().empty());
    }
}

TEST(ConfigureCameras, TracesAnUnsupportedImagingModeAndGoesOn)
{
    Bench bench("simulated:GS3-PGE-23S6M");
    bench.m_library.Answers().imagingModeSupported = false;
    EXPECT_TRUE(bench.Configure());
    EXPECT_TRUE(bench.m_test.m_log.Contains("Mode is not supported"));
    EXPECT_TRUE(bench.Messages().empty());
}

TEST(ConfigureCameras, TakesTheColourRegisterAndAutomaticRateFirst)
{
    Bench bench("simulated:FL3-U3-13E4C", 100);
    ASSERT_TRUE(bench.Configure());
    EXPECT_EQ(WritesTo(bench, 0x1048), Texts { "0x80000080" });
    EXPECT_TRUE(SetsOf(bench, PropertyType::FrameRate).front().starts_with("auto"));
    const auto calls = bench.m_library.Calls();
    EXPECT_LT(IndexOf(calls, Operation::WriteRegister, "0x1048"), IndexOf(calls, Operation::WriteRegister, "0x083C"));
    EXPECT_LT(IndexOf(calls, Operation::SetProperty, "16 auto"), IndexOf(calls, Operation::WriteRegister, "0x083C"));
    EXPECT_EQ(bench.m_library.Arguments(Operation::SetFormat7Configuration),
        Texts { "mode 2 0,0 640x480 0x400000 packet 48000" });
}

TEST(ConfigureCameras, PreparesThePinsOfCamerasThatCannotBeLocked)
{
    Bench bench("simulated:FL3-U3-13Y3M+GRAS-03K2@14000001");
    ASSERT_TRUE(bench.Configure());
    EXPECT_TRUE(WritesTo(bench, 0x11F8, 0).empty());
    EXPECT_EQ(WritesTo(bench, 0x11F8, 1).size(), 1U);
}

// ---- The snapshot

TEST(ConfigureCameras, TakesASnapshotThatLaterChangesDoNotReach)
{
    Bench bench("simulated:GS3-U3-23S6M@17000001+GS3-PGE-23S6C@15000001", 100, 1);
    bench.Parameters().m_iShutter = 250;
    bench.Parameters().TriggerLowHigh = true;
    bench.Parameters().IsMaster = false;
    bench.Parameters().InitialCameraNumber = 5;
    bench.Parameters().m_bCooperation = true;
    bench.Parameters().m_bRateFixed = true;
    bench.Doc().m_capture.m_running.bView24 = true; // the views' choice
    ASSERT_TRUE(bench.Configure());
    bench.Parameters().m_iFps = 30;
    bench.Parameters().InitialCameraNumber = 1;
    bench.Parameters().m_bCooperation = false;
    bench.Parameters().m_bRateFixed = false;

    const CaptureSnapshot& running = bench.Doc().m_capture.m_running;
    EXPECT_EQ(running.iFps, 100);
    EXPECT_EQ(running.iImageSizeIndex, 1);
    EXPECT_EQ(running.iWidth, 1024);
    EXPECT_EQ(running.iHeight, 768);
    EXPECT_EQ(running.iShutter, 250);
    EXPECT_FLOAT_EQ(running.fExposureMs, 4.0F);
    EXPECT_EQ(running.iBufferFrames, 164);
    EXPECT_EQ(running.uiSlotBytes, 786432U);
    EXPECT_EQ(running.uiCameras, 2U);
    EXPECT_EQ(running.iMode, capture_mode::kRing);
    EXPECT_FALSE(running.bTriggerWaitRing);
    EXPECT_TRUE(running.bLowHigh);
    EXPECT_FALSE(running.bMaster);
    EXPECT_TRUE(running.bStrobeCapable);
    EXPECT_FALSE(running.bCooperation);
    EXPECT_TRUE(running.bImposed);
    EXPECT_TRUE(running.bRateFixed);
    EXPECT_EQ(running.iFirstCamera, 5);
    EXPECT_TRUE(running.bView24);
    EXPECT_EQ(running.models, (std::vector<std::string> { "GS3-PGE-23S6C", "GS3-U3-23S6M" }));
    EXPECT_EQ(running.serials, (std::vector<std::uint32_t> { 15000001, 17000001 }));
    EXPECT_EQ(running.interfaces, (std::vector<InterfaceType> { InterfaceType::GigE, InterfaceType::Usb3 }));
    ASSERT_EQ(running.clockDomains.size(), 2U);
    EXPECT_NE(running.clockDomains[0], running.clockDomains[1]);
    EXPECT_NE(running.clockDomains[0], 0U);
}

TEST(ConfigureCameras, TellsInTheSnapshotWhetherCameraZeroCanBeLocked)
{
    Bench bench("simulated:GRAS-03K2+FL3-U3-13Y3M");
    ASSERT_TRUE(bench.Configure());
    EXPECT_FALSE(bench.Doc().m_capture.m_running.bStrobeCapable); // the smaller serial number is the GRAS
    EXPECT_EQ(bench.Doc().m_capture.m_running.iMode, capture_mode::kLinear);
}

} // namespace
} // namespace vireo::test
