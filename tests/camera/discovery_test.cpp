#include "camera/camera_connection.h"
#include "camera/discovery.h"
#include "support/camera_document.h"
#include "support/fake_grab_threads.h"

#include <gtest/gtest.h>

namespace vireo::test {
namespace {

using Texts = std::vector<std::string>;

CooperationRequest Imposed(int iCameras, int iFps = 100, int iWidth = 640, int iHeight = 480)
{
    CooperationRequest request;
    request.CooperationMode = true;
    request.CoopFlag = 1;
    request.CoopFrameRate = iFps;
    request.CoopWidth = iWidth;
    request.CoopHeight = iHeight;
    request.CoopShutter = 1000;
    request.CoopGain = 6;
    request.CoopFileCount = iCameras;
    return request;
}

// ---- Finding and ordering

TEST(OnNewDocument, OpensThePanelAndTheTimersOverCapturingCameras)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M");
    EXPECT_TRUE(bench.Open());
    const WindowRecord record = bench.m_test.m_window.Record();
    EXPECT_TRUE(record.messages.empty());
    EXPECT_TRUE(record.commands.empty());
    EXPECT_EQ(record.panelShown, std::vector<bool> { true });
    EXPECT_EQ(record.viewTimers, std::vector<bool> { true });
    EXPECT_EQ(bench.m_app.WindowCount(), 2U);
    EXPECT_TRUE(bench.Doc().m_capture.m_bCapturing);
    EXPECT_TRUE(bench.Doc().m_cameras.m_bCameraConnected);
    EXPECT_TRUE(bench.Doc().m_store.Exists());
}

TEST(OnNewDocument, EndsSilentlyWhenTheOperatorCancelsTheConfirmation)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M");
    bench.m_test.m_window.AnswerConfirmCameras(false);
    EXPECT_FALSE(bench.Open());
    EXPECT_TRUE(bench.Messages().empty());
    EXPECT_TRUE(bench.m_library.Calls().empty());
    const auto confirmed = bench.m_test.m_window.Record().confirmedCameras;
    ASSERT_EQ(confirmed.size(), 1U);
    EXPECT_EQ(confirmed[0].size(), 2U);
    EXPECT_EQ(bench.m_app.CooperationResult(), cooperation_result::kOk);
}

TEST(OnNewDocument, ReportsThatNoCameraIsThere)
{
    TestPlatform empty;
    CVireoApp app(empty.m_platform);
    CVireoDoc doc(app);
    EXPECT_FALSE(OnNewDocument(doc));
    EXPECT_EQ(empty.m_window.MessageTexts(), Texts { "ｶﾒﾗが接続されていません 接続を確認してください。\n" });
    EXPECT_EQ(app.CooperationResult(), -1);
}

TEST(OnNewDocument, NumbersTheCamerasByTheirSerialNumbers)
{
    CameraDocument bench("simulated:FL3-U3-13Y3M@20000002+FL3-U3-13Y3M@20000001");
    ASSERT_TRUE(bench.Open());
    const CameraSlots& cameras = bench.Doc().m_cameras;
    EXPECT_EQ(cameras.m_uiSerialNumber[0], 20000001U);
    EXPECT_EQ(cameras.m_uiSerialNumber[1], 20000002U);
    for (const std::size_t uiCamera : { std::size_t { 0 }, std::size_t { 1 } }) {
        CameraInfo info;
        ASSERT_TRUE(CameraOf(bench.Doc(), uiCamera).GetCameraInfo(info).IsOk());
        EXPECT_EQ(info.serialNumber, cameras.m_uiSerialNumber[uiCamera]);
    }
}

TEST(ConnectCameras, ComparesSerialNumbersAsNumbers)
{
    CameraDocument bench("simulated:FL3-U3-13Y3M@100000000+FL3-U3-13Y3M@20000001+FL3-U3-13Y3M@3000000");
    ASSERT_TRUE(bench.Connect());
    const CameraSlots& cameras = bench.Doc().m_cameras;
    EXPECT_EQ(cameras.m_uiSerialNumber[0], 3000000U);
    EXPECT_EQ(cameras.m_uiSerialNumber[1], 20000001U);
    EXPECT_EQ(cameras.m_uiSerialNumber[2], 100000000U);
}

TEST(ConnectCameras, PutsEachCameraIntoItsKindsSlots)
{
    CameraDocument bench("simulated:GS3-U3-23S6M@17000001+GS3-PGE-23S6C@15000001");
    ASSERT_TRUE(bench.Connect());
    const CameraSlots& cameras = bench.Doc().m_cameras;
    EXPECT_TRUE(cameras.m_bIsGigE[0]);
    EXPECT_FALSE(cameras.m_bIsGigE[1]);
    EXPECT_EQ(cameras.m_ppCamera[0], nullptr);
    EXPECT_NE(cameras.m_ppGigECamera[0], nullptr);
    EXPECT_NE(cameras.m_ppCamera[1], nullptr);
    EXPECT_EQ(cameras.m_ppGigECamera[1], nullptr);
    EXPECT_EQ(cameras.m_strModel[0], "GS3-PGE-23S6C");
    EXPECT_EQ(cameras.m_strModel[1], "GS3-U3-23S6M");
    EXPECT_TRUE(cameras.m_bCameraConnected);
}

TEST(ConnectCameras, QueuesEveryFrameAndEmbedsTimeAndPins)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    for (const int iCamera : { 0, 1 }) {
        EXPECT_EQ(bench.m_library.Arguments(Operation::SetConfiguration, iCamera),
            Texts { "grab mode 1 time-out -1 buffers 256" });
        EXPECT_EQ(bench.m_library.Arguments(Operation::WriteRegister, iCamera), Texts { "0x12F8=0x80000101" });
    }
}

TEST(ConnectCameras, StreamsEachGigECameraToAGroupOfItsSlot)
{
    CameraDocument bench("simulated:4xGS3-PGE-23S6M");
    ASSERT_TRUE(bench.Connect());
    for (const int iCamera : { 0, 1, 2, 3 })
        for (const std::string& strChannel : bench.m_library.Arguments(Operation::SetGigEStreamChannelInfo, iCamera))
            EXPECT_TRUE(strChannel.ends_with(" to 224.0.0." + std::to_string(iCamera + 1))) << strChannel;
    EXPECT_FALSE(bench.m_library.Calls(Operation::SetGigEStreamChannelInfo, 3).empty()); // slot 3: 224.0.0.4
}

TEST(ConnectCameras, ChangesNothingElseOfAStreamChannel)
{
    CameraDocument bench("simulated:GS3-PGE-23S6M");
    GigEStreamChannel before;
    {
        CameraDocument untouched("simulated:GS3-PGE-23S6M");
        ASSERT_TRUE(untouched.Connect());
        ASSERT_TRUE(untouched.Doc().m_cameras.m_ppGigECamera[0]->GetGigEStreamChannelInfo(0, before).IsOk());
    }
    ASSERT_TRUE(bench.Connect());
    GigEStreamChannel after;
    ASSERT_TRUE(bench.Doc().m_cameras.m_ppGigECamera[0]->GetGigEStreamChannelInfo(0, after).IsOk());
    EXPECT_EQ(after.destinationIpAddress, (IPAddress { { 224, 0, 0, 1 } }));
    EXPECT_EQ(after.hostPort, before.hostPort);
    EXPECT_EQ(after.packetSize, before.packetSize);
    EXPECT_EQ(after.interPacketDelay, before.interPacketDelay);
    EXPECT_EQ(after.doNotFragment, before.doNotFragment);
}

TEST(ConnectCameras, DisablesTheHeartbeatWhereTheCameraAllowsIt)
{
    CameraDocument bench("simulated:GS3-PGE-23S6M");
    bench.m_library.Answers().gvcpRegisters = { { 0x0934, 0x20000000 }, { 0x0954, 0x00000010 } };
    ASSERT_TRUE(bench.Connect());
    EXPECT_EQ(bench.m_library.Arguments(Operation::WriteGVCPRegister), Texts { "0x0954=0x0011" });
}

TEST(ConnectCameras, LeavesTheHeartbeatOfACameraThatNeedsIt)
{
    CameraDocument bench("simulated:GS3-PGE-23S6M");
    bench.m_library.Answers().gvcpRegisters = { { 0x0934, 0xDFFFFFFF } };
    ASSERT_TRUE(bench.Connect());
    EXPECT_EQ(bench.m_library.Arguments(Operation::ReadGVCPRegister), Texts { "0x0934" });
    EXPECT_TRUE(bench.m_library.Calls(Operation::WriteGVCPRegister).empty());
}

TEST(ConnectCameras, MakesRoomForMoreCamerasThanCanCapture)
{
    CameraDocument bench("simulated:11xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    EXPECT_EQ(bench.Doc().m_cameras.m_uiSerialNumber[10], 13000011U);
    EXPECT_TRUE(bench.Doc().m_capture.m_bThreadEnded[10]);
    EXPECT_TRUE(bench.Doc().m_capture.m_bThreadEnded[0]);
    EXPECT_EQ(bench.Doc().m_store.m_isaveFrameCount[10], kIdleFrameCount);
}

TEST(ConnectCameras, KeepsWhatIsConnectedUntilTheDocumentCloses)
{
    CameraDocument bench("simulated:3xFL3-U3-13Y3M");
    bench.m_library.Fail({ .eOperation = Operation::Connect, .eType = ErrorType::AccessDenied, .iCamera = 2 });
    EXPECT_FALSE(bench.Open());
    EXPECT_EQ(bench.Messages(), Texts { "ｶﾒﾗの接続に失敗しました。(4)\n" });
    EXPECT_TRUE(CameraOf(bench.Doc(), 0).IsConnected());
    EXPECT_TRUE(CameraOf(bench.Doc(), 1).IsConnected());
    OnCloseDocument(bench.Doc());
    EXPECT_EQ(bench.m_library.Calls(Operation::Disconnect).size(), 2U);
    EXPECT_TRUE(bench.m_library.Calls(Operation::Disconnect, 2).empty());
}

// ---- Limits

TEST(ApplyModelLimits, LowersTheLimitsToTheModel)
{
    const struct {
        const char* strModel;
        int iGainMin, iGainMax, iMaxFps;
    } kRows[] = {
        { "GS3-U3-23S6M", 0, 29, 350 },
        { "GS3-U3-23S6C", 0, 29, 350 },
        { "GS3-PGE-23S6M", 0, 29, 250 },
        { "GS3-PGE-23S6C", 0, 29, 250 },
        { "FL3-U3-13Y3M", 0, 18, 400 },
        { "FL3-U3-13E4C", 0, 18, 118 },
        { "Dragonfly Express", -6, 30, 200 },
        { "GRAS-03K2", 0, 24, 200 },
        { "FFMV-03M2M", 0, 12, 60 },
        { "DR2-COL", 0, 24, 60 },
        { "Flea 2", 0, 24, 60 },
        { "Flea3", -6, 30, 400 },
        { "FL2-03S2C", 0, 24, 60 },
        { "DX-BW", -6, 30, 400 },
        { "GRAS-03 FFMV-03", 0, 12, 60 },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.strModel);
        CaptureParameters parameters;
        ApplyModelLimits(parameters, ClassifyModel(row.strModel));
        EXPECT_EQ(parameters.m_iGainMinDb, row.iGainMin);
        EXPECT_EQ(parameters.m_iGainMaxDb, row.iGainMax);
        EXPECT_EQ(parameters.m_iModelMaxFps, row.iMaxFps);
    }
}

TEST(ApplyModelLimits, NeverRaisesALimit)
{
    CaptureParameters parameters;
    parameters.m_iGainMinDb = -3;
    parameters.m_iGainMaxDb = 12;
    parameters.m_iModelMaxFps = 60;
    ApplyModelLimits(parameters, ClassifyModel("GS3-U3-23S6M"));
    ApplyModelLimits(parameters, ClassifyModel("FFMV-03")); // equal, so the minimum stays too
    EXPECT_EQ(parameters.m_iGainMinDb, -3);
    EXPECT_EQ(parameters.m_iGainMaxDb, 12);
    EXPECT_EQ(parameters.m_iModelMaxFps, 60);
}

TEST(OnNewDocument, LowersTheLimitsToTheWeakestConnectedModel)
{
    CameraDocument bench("simulated:GRAS-03K2+FFMV-03M2M");
    ASSERT_TRUE(bench.Open());
    EXPECT_EQ(bench.Parameters().m_iGainMaxDb, 12);
    EXPECT_EQ(bench.Parameters().m_iModelMaxFps, 60);
}

// ---- Preset and store

TEST(OnNewDocument, LoadsPresetZeroBeforeItReservesTheStore)
{
    CameraDocument bench("simulated:2xGS3-U3-23S6M");
    WriteFile(bench.m_folder / "Tessel.ini",
        "[CAM_PROPERTY_DATA0]\r\nFrameRate=100\r\nShutter=250\r\nWindowSize=1\r\nRecTime=2\r\n");
    ASSERT_TRUE(bench.Open());
    EXPECT_EQ(bench.Parameters().m_iFps, 100);
    EXPECT_EQ(bench.Doc().m_store.m_iBufferFrames, 264);
    EXPECT_EQ(bench.Doc().m_store.m_uiSlotBytes, 786432U);
}

TEST(OnNewDocument, StartsFromAnEmptySettingsFile)
{
    CameraDocument bench("simulated:FL3-U3-13Y3M");
    ASSERT_TRUE(bench.Open());
    EXPECT_EQ(bench.Parameters().m_iFps, 30);
    EXPECT_EQ(bench.Parameters().m_fGain, 0.0F);
    EXPECT_TRUE(bench.Parameters().IsMaster);
    EXPECT_EQ(bench.Parameters().InitialCameraNumber, 1);
    EXPECT_EQ(bench.Doc().m_store.m_iBufferFrames, 94);
}

TEST(OnNewDocument, RefusesARecordingThatMemoryCannotHold)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M");
    // 94 frames of 300 KiB for two cameras are 56400 KiB; nine tenths of 62666 KiB are one too few.
    bench.m_test.m_memory.SetAvailableKiB(62666);
    EXPECT_FALSE(bench.Open());
    EXPECT_EQ(
        bench.Messages(), Texts { "ｶﾒﾗﾊﾞｯﾌｧを取得できません。ﾌﾚｰﾑﾚｰﾄか録画時間を少なくしてください。 1sec 30fps\n" });
    EXPECT_EQ(bench.Doc().m_cameras.m_uiNumCameras, 0U);
    EXPECT_EQ(bench.m_app.CooperationResult(), cooperation_result::kOk);
    OnCloseDocument(bench.Doc()); // the cameras are let go although they are not counted any more
    EXPECT_EQ(bench.m_library.Calls(Operation::Disconnect).size(), 2U);
}

TEST(OnNewDocument, OpensWithJustEnoughMemory)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M");
    bench.m_test.m_memory.SetAvailableKiB(62667);
    EXPECT_TRUE(bench.Open());
}

TEST(OnNewDocument, EndsTheProgramWithOneMessageWhenTheStoreCannotBeHad)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M");
    bench.m_test.m_memory.State().m_bReserveFails = true;
    EXPECT_TRUE(bench.Open());
    EXPECT_EQ(
        bench.Messages(), Texts { "ｶﾒﾗﾊﾞｯﾌｧを取得できません。ﾌﾚｰﾑﾚｰﾄか録画時間を少なくしてください。 1sec 30fps\n" });
    EXPECT_EQ(bench.m_test.m_window.Record().commands, std::vector<int> { 0xE141 });
    EXPECT_FALSE(bench.Doc().m_capture.m_bCapturing);
}

TEST(OnNewDocument, ChecksMemoryForTheImageSizeOfThePreset)
{
    CameraDocument bench("simulated:2xGS3-U3-23S6M");
    WriteFile(bench.m_folder / "Tessel.ini", "[CAM_PROPERTY_DATA0]\r\nWindowSize=3\r\n");
    bench.m_test.m_memory.SetAvailableKiB(62667); // enough for the smallest size only
    EXPECT_FALSE(bench.Open());
}

TEST(OnNewDocument, ComputesTheRecordTimesOfTheSmallestSize)
{
    CameraDocument bench("simulated:FL3-U3-13Y3M");
    bench.m_test.m_memory.SetAvailableKiB(8 << 20);
    ASSERT_TRUE(bench.Open());
    EXPECT_EQ(
        bench.Parameters().m_iMaxRecordSec, (std::array<int, 10> { 740, 371, 223, 186, 148, 111, 89, 74, 63, 55 }));
}

TEST(OnNewDocument, PostsTheExitCommandWhenTheConfigurationFailsAndGoesOn)
{
    CameraDocument bench("simulated:FL3-U3-13Y3M");
    bench.m_library.Fail({ .eOperation = Operation::SetFormat7Configuration });
    EXPECT_TRUE(bench.Open());
    const WindowRecord record = bench.m_test.m_window.Record();
    EXPECT_EQ(record.MessageTexts(), Texts { "ｶﾒﾗの設定に失敗しました。(2)(20)\n" });
    EXPECT_EQ(record.commands, std::vector<int> { 0xE141 });
    EXPECT_EQ(record.panelShown, std::vector<bool> { true });
    EXPECT_EQ(record.viewTimers, std::vector<bool> { true });
    EXPECT_EQ(bench.m_app.CooperationResult(), cooperation_result::kOk);
}

// ---- Values imposed by a partner program

TEST(ImposedStart, UsesAsManyCamerasAsFilesAreNamed)
{
    CameraDocument bench("simulated:FL3-U3-13Y3M@13000009+FL3-U3-13Y3M@13000005+FL3-U3-13Y3M@13000001", Imposed(2));
    ASSERT_TRUE(bench.Open());
    EXPECT_EQ(bench.Doc().m_cameras.m_uiNumCameras, 2U);
    EXPECT_EQ(bench.Doc().m_cameras.m_uiSerialNumber[0], 13000005U); // the first two of the bus, in order
    EXPECT_EQ(bench.Doc().m_cameras.m_uiSerialNumber[1], 13000009U);
    EXPECT_TRUE(bench.m_library.Calls(Operation::Connect, 0).empty()); // 13000001 is left alone
    EXPECT_EQ(bench.m_app.WindowCount(), 2U);
}

TEST(ImposedStart, AsksNobodyAndOpensNoPanel)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M", Imposed(2));
    ASSERT_TRUE(bench.Open());
    const WindowRecord record = bench.m_test.m_window.Record();
    EXPECT_TRUE(record.confirmedCameras.empty());
    EXPECT_TRUE(record.panelShown.empty());
    EXPECT_TRUE(record.messages.empty());
    EXPECT_EQ(record.viewTimers, std::vector<bool> { true });
    EXPECT_EQ(bench.m_app.CooperationResult(), cooperation_result::kOk);
    EXPECT_TRUE(bench.Doc().m_capture.m_bCapturing);
}

TEST(ImposedStart, RefusesTooFewCameras)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M", Imposed(3));
    EXPECT_FALSE(bench.Open());
    EXPECT_EQ(bench.Messages(), Texts { "Marten, Quill連携時は設定台数(3台)のｶﾒﾗを接続して下さい。(ｶﾒﾗ 2台)\n" });
    EXPECT_EQ(bench.m_app.CooperationResult(), -6);
}

TEST(ImposedStart, RefusesAModelThatThePartnerDoesNotKnow)
{
    CameraDocument bench("simulated:GRAS-03K2", Imposed(1));
    EXPECT_FALSE(bench.Open());
    EXPECT_EQ(bench.Messages(), Texts { "Marten対応のカメラではありません。GRAS-03K2\n" });
    EXPECT_EQ(bench.m_app.CooperationResult(), -6);
}

TEST(ImposedStart, TakesThePartnersValues)
{
    CameraDocument bench("simulated:2xGS3-U3-23S6M", Imposed(2, 120, 1280, 720));
    WriteFile(bench.m_folder / "Tessel.ini",
        "[CAM_PROPERTY_DATA0]\r\nTriggerLowHigh=0\r\nMasterOrSlave=1\r\nInitialCameraNumber=5\r\n");
    ASSERT_TRUE(bench.Open());
    const CaptureParameters& parameters = bench.Parameters();
    EXPECT_TRUE(parameters.m_bCooperation);
    EXPECT_EQ(parameters.m_iFps, 120);
    EXPECT_TRUE(parameters.m_bRateFixed);
    EXPECT_EQ(parameters.m_iShutter, 1000);
    EXPECT_EQ(parameters.m_iImageSizeIndex, 2);
    EXPECT_EQ(parameters.m_fGain, 6.0F);
    EXPECT_TRUE(parameters.TriggerLowHigh);
    EXPECT_TRUE(parameters.IsMaster);
    EXPECT_EQ(parameters.InitialCameraNumber, 1);
}

TEST(ImposedStart, TellsTheImageSizeByWidthAndHeight)
{
    const struct {
        int iWidth, iHeight, iIndex;
    } kRows[] = { { 1920, 1080, 3 }, { 1280, 720, 2 }, { 1024, 768, 1 }, { 640, 480, 0 }, { 1920, 720, 0 },
        { 0, 0, 0 } };
    for (const auto& row : kRows) {
        CameraDocument bench("simulated:GS3-U3-23S6M", Imposed(1, 30, row.iWidth, row.iHeight));
        ASSERT_TRUE(bench.Open());
        EXPECT_EQ(bench.Parameters().m_iImageSizeIndex, row.iIndex) << row.iWidth << "x" << row.iHeight;
    }
}

TEST(ImposedStart, KeepsTheGainInsideTheModelsRange)
{
    const struct {
        int iGain;
        float fExpected;
    } kRows[] = { { -4, 0.0F }, { 0, 0.0F }, { 12, 12.0F }, { 40, 29.0F } };
    for (const auto& row : kRows) {
        CooperationRequest request = Imposed(1);
        request.CoopGain = row.iGain;
        CameraDocument bench("simulated:GS3-U3-23S6M", request);
        ASSERT_TRUE(bench.Open());
        EXPECT_EQ(bench.Parameters().m_fGain, row.fExpected) << row.iGain;
    }
}

TEST(ImposedStart, RecordsAsLongAsMemoryAllows)
{
    CameraDocument bench("simulated:2xGS3-U3-23S6M", Imposed(2, 100, 1024, 768));
    bench.m_test.m_memory.SetAvailableKiB(1 << 20);
    ASSERT_TRUE(bench.Open());
    // Of 1 GiB, what the first store holds included: 838860 / (2 * 100 * 768 + 64).
    EXPECT_GE(bench.Parameters().m_iRecordSec, 5);
    EXPECT_EQ(bench.Parameters().m_iRecordSec, bench.Parameters().m_iMaxRecordSec[2]);
    EXPECT_EQ(bench.Doc().m_store.m_iBufferFrames, bench.Parameters().m_iRecordSec * 100 + 64);
    EXPECT_TRUE(bench.m_test.m_log.Contains(
        "最大計測時間は、(" + std::to_string(bench.Parameters().m_iRecordSec) + ")秒です。"));
    EXPECT_TRUE(bench.Messages().empty());
}

TEST(ImposedStart, EndsTheProgramWhenTheRateIsTooHighForTheSize)
{
    CameraDocument bench("simulated:GS3-U3-23S6M+GS3-PGE-23S6M", Imposed(2, 60, 1920, 1080));
    bench.m_test.m_memory.SetAvailableKiB(3 << 20); // the ring's headroom takes its share of little memory
    EXPECT_TRUE(bench.Open());
    EXPECT_EQ(bench.m_app.CooperationResult(), -5);
    const WindowRecord record = bench.m_test.m_window.Record();
    EXPECT_EQ(record.commands, std::vector<int> { 0xE141 });
    EXPECT_TRUE(record.messages.empty());
    EXPECT_EQ(bench.Parameters().m_strCameraQuery, "この解像度の最大ＦＰＳは、(30)fpsです。\n");
    EXPECT_EQ(bench.Parameters().m_iFps, 30);
    EXPECT_EQ(bench.Parameters().m_iRecordSec, bench.Parameters().m_iMaxRecordSec[0]); // still computed
    EXPECT_EQ(record.viewTimers, std::vector<bool> { true });
}

TEST(ImposedStart, EndsTheProgramWhenTheConfigurationFails)
{
    CameraDocument bench("simulated:FL3-U3-13Y3M", Imposed(1));
    bench.m_library.Fail({ .eOperation = Operation::SetFormat7Configuration });
    EXPECT_TRUE(bench.Open());
    EXPECT_EQ(bench.m_app.CooperationResult(), -2);
    EXPECT_EQ(bench.m_test.m_window.Record().commands, std::vector<int> { 0xE141 });
    EXPECT_EQ(bench.Parameters().m_iFps, 30);
    EXPECT_EQ(bench.Parameters().m_iRecordSec, 1);
}

TEST(ImposedStart, LeavesAPartnerWithoutImposedValuesInNormalMode)
{
    CooperationRequest request = Imposed(1, 400);
    request.CoopFlag = 0;
    CameraDocument bench("simulated:2xFL3-U3-13Y3M", request);
    ASSERT_TRUE(bench.Open());
    EXPECT_FALSE(bench.Parameters().m_bCooperation);
    EXPECT_EQ(bench.Parameters().m_iFps, 30);
    EXPECT_EQ(bench.Doc().m_cameras.m_uiNumCameras, 2U);
    EXPECT_EQ(bench.m_test.m_window.Record().confirmedCameras.size(), 1U);
    EXPECT_TRUE(bench.Doc().m_capture.m_running.bCooperation);
}

} // namespace
} // namespace vireo::test
