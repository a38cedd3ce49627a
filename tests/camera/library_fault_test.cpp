#include "fault_scenarios.h"
#include "stated_messages.h"
#include "support/fake_grab_threads.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <set>

namespace vireo::test {
namespace {

/// One place in the code that calls the library.
struct FaultRow {
    const char* strScenario;
    Operation eOperation;
    int iCall; ///< of that operation in the scenario
    const char* strMessage;
};

const FaultRow kFaultRows[] = {
    // clang-format off
    { "FindCameras", Operation::GetNumOfCameras, 1, kCount },
    { "ConnectUsb", Operation::GetCameraSerialNumberFromIndex, 1, kSerial },
    { "ConnectUsb", Operation::GetCameraFromSerialNumber, 1, kIndex },
    { "ConnectUsb", Operation::GetInterfaceTypeFromGuid, 1, kInterface },
    { "ConnectUsb", Operation::Connect, 1, kConnect },
    { "ConnectUsb", Operation::GetCameraInfo, 1, kInfo },
    { "ConnectUsb", Operation::GetConfiguration, 1, kInfo },
    { "ConnectUsb", Operation::SetConfiguration, 1, kInfoSet }, // grab mode 1 time-out -1 buffers 256
    { "ConnectUsb", Operation::WriteRegister, 1, kRegister }, // 0x12F8
    { "ConnectGigE", Operation::GetCameraSerialNumberFromIndex, 1, kSerial },
    { "ConnectGigE", Operation::GetCameraFromSerialNumber, 1, kIndex },
    { "ConnectGigE", Operation::GetInterfaceTypeFromGuid, 1, kInterface },
    { "ConnectGigE", Operation::Connect, 1, kConnect },
    { "ConnectGigE", Operation::ReadGVCPRegister, 1, kHeartbeat1 },
    { "ConnectGigE", Operation::ReadGVCPRegister, 2, kHeartbeat2 },
    { "ConnectGigE", Operation::WriteGVCPRegister, 1, kHeartbeatSet },
    { "ConnectGigE", Operation::GetNumStreamChannels, 1, kStreams },
    { "ConnectGigE", Operation::GetGigEStreamChannelInfo, 1, kStreamGet },
    { "ConnectGigE", Operation::SetGigEStreamChannelInfo, 1, kStreamSet },
    { "ConnectGigE", Operation::GetCameraInfo, 1, kInfo },
    { "ConnectGigE", Operation::GetConfiguration, 1, kInfo },
    { "ConnectGigE", Operation::SetConfiguration, 1, kInfoSet }, // grab mode 1 time-out -1 buffers 256
    { "ConnectGigE", Operation::WriteRegister, 1, kRegister }, // 0x12F8
    { "ConfigureColour", Operation::GetCameraInfo, 1, kInfo },
    { "ConfigureColour", Operation::ReadRegister, 1, kSilent }, // 0x11F8
    { "ConfigureColour", Operation::WriteRegister, 1, kGpio }, // 0x11F8
    { "ConfigureColour", Operation::ReadRegister, 2, kSilent }, // 0x11F0
    { "ConfigureColour", Operation::WriteRegister, 2, kLevel }, // 0x11F0
    { "ConfigureColour", Operation::WriteRegister, 3, kRegister }, // 0x1048
    { "ConfigureColour", Operation::GetProperty, 1, kGet }, // 16
    { "ConfigureColour", Operation::SetProperty, 1, kSet }, // 16 auto 200
    { "ConfigureColour", Operation::ReadRegister, 3, kRateRead }, // 0x083C
    { "ConfigureColour", Operation::WriteRegister, 4, kRateWrite }, // 0x083C
    { "ConfigureColour", Operation::WriteRegister, 5, kRateWrite }, // 0x0968
    { "ConfigureColour", Operation::GetProperty, 2, kGet }, // 16
    { "ConfigureColour", Operation::SetProperty, 2, kSet }, // 16 manual 120
    { "ConfigureColour", Operation::GetProperty, 3, kGet }, // 16
    { "ConfigureColour", Operation::SetProperty, 3, kSet }, // 16 manual 120
    { "ConfigureColour", Operation::GetFormat7Info, 1, kSilent },
    { "ConfigureColour", Operation::ValidateFormat7Settings, 1, kValidate },
    { "ConfigureColour", Operation::SetFormat7Configuration, 1, kFormat7 },
    { "ConfigureColour", Operation::GetProperty, 4, kGet }, // 16
    { "ConfigureColour", Operation::SetProperty, 4, kSet }, // 16 manual 120
    { "ConfigureColour", Operation::GetProperty, 5, kGet }, // 16
    { "ConfigureColour", Operation::SetProperty, 5, kSet }, // 16 manual 120
    { "ConfigureColour", Operation::GetProperty, 6, kGet }, // 12
    { "ConfigureColour", Operation::SetProperty, 6, kSet }, // 12 manual 4.16667
    { "ConfigureColour", Operation::GetProperty, 7, kGet }, // 12
    { "ConfigureColour", Operation::SetProperty, 7, kSet }, // 12 manual 2
    { "ConfigureColour", Operation::GetProperty, 8, kGet }, // 13
    { "ConfigureColour", Operation::SetProperty, 8, kSet }, // 13 manual 0
    { "ConfigureColour", Operation::GetProperty, 9, kGet }, // 13
    { "ConfigureColour", Operation::SetProperty, 9, kSet }, // 13 manual 3
    { "ConfigureColour", Operation::GetCameraInfo, 2, kSilent },
    { "ConfigureColour", Operation::GetProperty, 10, kGet }, // 3
    { "ConfigureColour", Operation::GetCameraInfo, 3, kInfo },
    { "ConfigureColour", Operation::SetProperty, 10, kSet }, // 3 auto 645/715
    { "ConfigureColour", Operation::ReadRegister, 4, kSilent }, // 0x11F0
    { "ConfigureColour", Operation::WriteRegister, 6, kLevel }, // 0x11F0
    { "ConfigureColour", Operation::GetCameraInfo, 4, kClearInfo },
    { "ConfigureColour", Operation::GetCameraInfo, 5, kPreInfo },
    { "ConfigureColour", Operation::StartSyncCapture, 1, kSyncStart },
    { "ConfigureLocked", Operation::GetCameraInfo, 1, kInfo },
    { "ConfigureLocked", Operation::WriteRegister, 1, kRateWrite }, // 0x083C
    { "ConfigureLocked", Operation::WriteRegister, 2, kRateWrite }, // 0x0968
    { "ConfigureLocked", Operation::GetProperty, 1, kGet }, // 16
    { "ConfigureLocked", Operation::SetProperty, 1, kSet }, // 16 manual 30
    { "ConfigureLocked", Operation::GetProperty, 2, kGet }, // 16
    { "ConfigureLocked", Operation::SetProperty, 2, kSet }, // 16 manual 400
    { "ConfigureLocked", Operation::GetFormat7Info, 1, kSilent },
    { "ConfigureLocked", Operation::ValidateFormat7Settings, 1, kValidate },
    { "ConfigureLocked", Operation::SetFormat7Configuration, 1, kFormat7 },
    { "ConfigureLocked", Operation::GetProperty, 3, kGet }, // 12
    { "ConfigureLocked", Operation::SetProperty, 3, kSet }, // 12 manual 1.25
    { "ConfigureLocked", Operation::GetProperty, 4, kGet }, // 12
    { "ConfigureLocked", Operation::SetProperty, 4, kSet }, // 12 manual 2.5
    { "ConfigureLocked", Operation::GetProperty, 5, kGet }, // 13
    { "ConfigureLocked", Operation::SetProperty, 5, kSet }, // 13 manual 0
    { "ConfigureLocked", Operation::GetProperty, 6, kGet }, // 13
    { "ConfigureLocked", Operation::SetProperty, 6, kSet }, // 13 manual 3
    { "ConfigureLocked", Operation::GetCameraInfo, 2, kSilent },
    { "ConfigureLocked", Operation::ReadRegister, 1, kSilent }, // 0x11F0
    { "ConfigureLocked", Operation::WriteRegister, 3, kLevel }, // 0x11F0
    { "ConfigureLocked", Operation::GetCameraInfo, 3, kClearInfo },
    { "ConfigureLocked", Operation::GetConfiguration, 1, kClearInfo },
    { "ConfigureLocked", Operation::SetConfiguration, 1, kClearSet }, // grab mode 1 time-out 0 buffers 256
    { "ConfigureLocked", Operation::StartCapture, 1, kClearStart },
    { "ConfigureLocked", Operation::RetrieveBuffer, 1, kClearRetrieve },
    { "ConfigureLocked", Operation::StopCapture, 1, kClearStop },
    { "ConfigureLocked", Operation::SetConfiguration, 2, kClearSet }, // grab mode 1 time-out 2000 buffers 256
    { "ConfigureLocked", Operation::GetCameraInfo, 4, kPreInfo },
    { "ConfigureLocked", Operation::GetTriggerMode, 1, kMasterGetTrigger },
    { "ConfigureLocked", Operation::SetTriggerMode, 1, kMasterSetTrigger }, // off polarity 0 source 4 mode 0 parameter 0
    { "ConfigureLocked", Operation::ReadRegister, 2, kSilent }, // 0x11F8
    { "ConfigureLocked", Operation::WriteRegister, 4, kMasterWrite }, // 0x11F8
    { "ConfigureLocked", Operation::GetStrobeInfo, 1, kStrobeInfo },
    { "ConfigureLocked", Operation::GetStrobe, 1, kPreGetStrobe },
    { "ConfigureLocked", Operation::SetStrobe, 1, kPreSetStrobe },
    { "ConfigureLocked", Operation::GetProperty, 7, kGet }, // 16
    { "ConfigureLocked", Operation::GetProperty, 8, kGet }, // 12
    { "ConfigureLocked", Operation::SetProperty, 7, kSet }, // 12 manual 2
    { "ConfigureLocked", Operation::StartCapture, 2, kStart },
    { "ConfigureLocked", Operation::GetStrobe, 2, kStartStrobe },
    { "ConfigureLocked", Operation::GetProperty, 9, kGet }, // 16
    { "ConfigureLocked", Operation::GetProperty, 10, kGet }, // 12
    { "GigEMode", Operation::WriteRegister, 1, kRateWrite }, // 0x083C
    { "GigEMode", Operation::WriteRegister, 2, kRateWrite }, // 0x0968
    { "GigEMode", Operation::GetProperty, 1, kGet }, // 16
    { "GigEMode", Operation::SetProperty, 1, kSet }, // 16 manual 30
    { "GigEMode", Operation::GetProperty, 2, kGet }, // 16
    { "GigEMode", Operation::SetProperty, 2, kSet }, // 16 manual 30
    { "GigEMode", Operation::DiscoverGigEPacketSize, 1, kPacket },
    { "GigEMode", Operation::QueryGigEImagingMode, 1, kQueryMode },
    { "GigEMode", Operation::SetGigEImagingMode, 1, kSetMode },
    { "GigEMode", Operation::GetGigEImageSettingsInfo, 1, kImageInfo },
    { "GigEMode", Operation::SetGigEImageSettings, 1, kImageSet },
    { "GigEMode", Operation::GetGigEConfig, 1, kGigEGet },
    { "GigEMode", Operation::SetGigEConfig, 1, kGigESet },
    { "StandardMode", Operation::SetVideoModeAndFrameRate, 1, kVideoMode },
    { "ArmTrigger", Operation::GetCameraInfo, 1, kPreInfo },
    { "ArmTrigger", Operation::ReadRegister, 1, kSilent }, // 0x11F8
    { "ArmTrigger", Operation::WriteRegister, 1, kPreWrite }, // 0x11F8
    { "ArmTrigger", Operation::GetTriggerMode, 1, kPreGetTrigger },
    { "ArmTrigger", Operation::SetTriggerMode, 1, kPreTriggerOff }, // off polarity 0 source 0 mode 0 parameter 0
    { "ArmTrigger", Operation::SetTriggerMode, 2, kPreTriggerOn }, // on polarity 1 source 2 mode 14 parameter 0
    { "ArmTrigger", Operation::GetProperty, 1, kGet }, // 16
    { "ArmTrigger", Operation::GetProperty, 2, kGet }, // 12
    { "ArmTrigger", Operation::SetProperty, 1, kSet }, // 12 auto 0.5
    { "PutBack", Operation::GetCameraInfo, 1, kPostInfo },
    { "PutBack", Operation::GetStrobe, 1, kPostGetStrobe },
    { "PutBack", Operation::SetStrobe, 1, kPostSetStrobe },
    { "PutBack", Operation::GetTriggerMode, 1, kPostGetTrigger },
    { "PutBack", Operation::SetTriggerMode, 1, kPostSetTrigger }, // off polarity 0 source 4 mode 0 parameter 0
    { "HighestRate", Operation::GetCameraInfo, 1, kInfo },
    { "ReadTrigger", Operation::ReadRegister, 1, kSilent }, // 0x11F4
    { "ConfigureSlave", Operation::GetCameraInfo, 1, kInfo },
    { "ConfigureSlave", Operation::WriteRegister, 1, kRateWrite }, // 0x083C
    { "ConfigureSlave", Operation::WriteRegister, 2, kRateWrite }, // 0x0968
    { "ConfigureSlave", Operation::GetProperty, 1, kGet }, // 16
    { "ConfigureSlave", Operation::SetProperty, 1, kSet }, // 16 manual 250
    { "ConfigureSlave", Operation::GetProperty, 2, kGet }, // 16
    { "ConfigureSlave", Operation::SetProperty, 2, kSet }, // 16 manual 250
    { "ConfigureSlave", Operation::DiscoverGigEPacketSize, 1, kPacket2 },
    { "ConfigureSlave", Operation::QueryGigEImagingMode, 1, kQueryMode2 },
    { "ConfigureSlave", Operation::SetGigEImagingMode, 1, kSetMode2 },
    { "ConfigureSlave", Operation::GetGigEImageSettingsInfo, 1, kImageInfo2 },
    { "ConfigureSlave", Operation::SetGigEImageSettings, 1, kImageSet2 },
    { "ConfigureSlave", Operation::GetGigEConfig, 1, kGigEGet2 },
    { "ConfigureSlave", Operation::SetGigEConfig, 1, kGigESet2 },
    { "ConfigureSlave", Operation::GetProperty, 3, kGet }, // 12
    { "ConfigureSlave", Operation::SetProperty, 3, kSet }, // 12 manual 2
    { "ConfigureSlave", Operation::GetProperty, 4, kGet }, // 12
    { "ConfigureSlave", Operation::SetProperty, 4, kSet }, // 12 manual 4
    { "ConfigureSlave", Operation::GetProperty, 5, kGet }, // 13
    { "ConfigureSlave", Operation::SetProperty, 5, kSet }, // 13 manual 0
    { "ConfigureSlave", Operation::GetProperty, 6, kGet }, // 13
    { "ConfigureSlave", Operation::SetProperty, 6, kSet }, // 13 manual 3
    { "ConfigureSlave", Operation::GetCameraInfo, 2, kSilent },
    { "ConfigureSlave", Operation::GetCameraInfo, 3, kClearInfo2 },
    { "ConfigureSlave", Operation::GetConfiguration, 1, kClearInfo2 },
    { "ConfigureSlave", Operation::SetConfiguration, 1, kClearSet2 }, // time-out 0
    { "ConfigureSlave", Operation::StartCapture, 1, kClearStart2 },
    { "ConfigureSlave", Operation::RetrieveBuffer, 1, kClearRetrieve2 },
    { "ConfigureSlave", Operation::StopCapture, 1, kClearStop2 },
    { "ConfigureSlave", Operation::SetConfiguration, 2, kClearSet2 }, // time-out -1
    { "ConfigureSlave", Operation::GetCameraInfo, 4, kPreInfo },
    { "ConfigureSlave", Operation::ReadRegister, 1, kSilent }, // 0x11F8
    { "ConfigureSlave", Operation::WriteRegister, 3, kPreWrite }, // 0x11F8
    { "ConfigureSlave", Operation::GetTriggerMode, 1, kPreGetTrigger },
    { "ConfigureSlave", Operation::SetTriggerMode, 1, kPreTriggerOn }, // on polarity 0 source 2 mode 14 parameter 0
    { "ConfigureSlave", Operation::GetProperty, 7, kGet }, // 16
    { "ConfigureSlave", Operation::GetProperty, 8, kGet }, // 12
    { "ConfigureSlave", Operation::SetProperty, 7, kSet }, // 12 manual 3.5
    { "ConfigureSlave", Operation::StartCapture, 2, kStart },
    { "StartButton", Operation::GetCameraInfo, 1, kSilent },
    { "StartButton", Operation::ReadRegister, 1, kSilent }, // 0x11F0
    { "StartButton", Operation::WriteRegister, 1, kLevel }, // 0x11F0
    { "Save", Operation::GetCameraInfo, 1, kPostInfo },
    { "Save", Operation::GetStrobe, 1, kPostGetStrobe },
    { "Save", Operation::SetStrobe, 1, kPostSetStrobe },
    { "Save", Operation::GetTriggerMode, 1, kPostGetTrigger },
    { "Save", Operation::SetTriggerMode, 1, kPostSetTrigger },
    { "Save", Operation::StopCapture, 1, kSilent },
    { "Save", Operation::GetProperty, 1, kSilent }, // 16, the rate of the file
    { "Rearm", Operation::GetProperty, 1, kSilent }, // 16, the rate of the file
    { "Rearm", Operation::ReadRegister, 1, kSilent }, // 0x11F0
    { "Rearm", Operation::WriteRegister, 1, kLevel }, // 0x11F0
    { "Rearm", Operation::GetCameraInfo, 1, kInfo },
    { "Info", Operation::GetProperty, 1, kSilent }, // 16
    { "Info", Operation::GetProperty, 2, kSilent }, // 13
    { "Close", Operation::Disconnect, 1, kSilent },
    // clang-format on
};

using Texts = std::vector<std::string>;

bool Counts(const FaultScenario& scenario, const LibraryCall& call)
{
    return scenario.iCamera == kNoCamera || call.iCamera == scenario.iCamera;
}

class LibraryFaultTable : public testing::TestWithParam<FaultRow> { };

void ExpectNothingRuns(CameraDocument& bench)
{
    const CaptureFlags& capture = bench.Doc().m_capture;
    EXPECT_FALSE(capture.m_bCapturing);
    EXPECT_FALSE(capture.m_bKeyWaitRun);
    EXPECT_FALSE(capture.m_bGrabRun[0]);
    CameraBase& camera = CameraOf(bench.Doc(), 0);
    TriggerMode trigger;
    StrobeControl strobe;
    strobe.source = 2;
    ASSERT_TRUE(camera.GetTriggerMode(trigger).IsOk());
    EXPECT_FALSE(trigger.onOff);
    if (camera.GetStrobe(strobe).IsOk()) {
        EXPECT_FALSE(strobe.onOff);
    }
    EXPECT_EQ(camera.StopCapture().GetType(), ErrorType::NotStarted);
}

// Whatever failed: the cameras can be configured, or the document be closed and opened again.
void ExpectTheProgramGoesOn(CameraDocument& bench, const FaultScenario& scenario)
{
    bench.m_library.ClearFaults();
    bench.m_library.Answers() = {};
    bench.Forget();
    if (scenario.bConnected && !bench.Doc().m_cameras.m_owners.empty()) {
        EXPECT_TRUE(ConfigureCameras(bench.Doc()));
    } else {
        OnCloseDocument(bench.Doc());
        EXPECT_TRUE(bench.Open());
    }
    EXPECT_TRUE(bench.Doc().m_capture.m_bCapturing);
    OnCloseDocument(bench.Doc());
    EXPECT_TRUE(bench.Doc().m_cameras.m_owners.empty());
    EXPECT_EQ(bench.Messages(), Texts {});
}

TEST_P(LibraryFaultTable, ShowsItsMessageOnceAndGivesUpCleanly)
{
    const FaultRow& row = GetParam();
    const FaultScenario& scenario = ScenarioOf(row.strScenario);
    CameraDocument bench(scenario.strSource);
    Begin(bench, scenario);
    bench.m_library.Fail({ .eOperation = row.eOperation, .iCall = row.iCall, .iCamera = scenario.iCamera });

    const bool bSilent = std::string(row.strMessage).empty();
    EXPECT_EQ(scenario.run(bench), bSilent);
    EXPECT_EQ(bench.Messages(), bSilent ? Texts {} : Texts { row.strMessage });

    auto calls = bench.m_library.Calls(row.eOperation);
    std::erase_if(calls, [&](const LibraryCall& call) { return !Counts(scenario, call); });
    const auto bFailed = [](const LibraryCall& call) { return call.eResult == ErrorType::TransportFailed; };
    ASSERT_GE(calls.size(), static_cast<std::size_t>(row.iCall)) << "the call was not reached";
    EXPECT_TRUE(bFailed(calls[static_cast<std::size_t>(row.iCall) - 1]));
    EXPECT_EQ(std::count_if(calls.begin(), calls.end(), bFailed), 1);

    if (scenario.run == Configure && !bSilent)
        ExpectNothingRuns(bench);
    ExpectTheProgramGoesOn(bench, scenario);
}

std::string RowName(const testing::TestParamInfo<FaultRow>& info)
{
    return std::string(info.param.strScenario) + "_" + std::string(OperationName(info.param.eOperation)) + "_"
        + std::to_string(info.param.iCall);
}
INSTANTIATE_TEST_SUITE_P(Rows, LibraryFaultTable, testing::ValuesIn(kFaultRows), RowName);

// The table is whole: every call of a scenario that goes well has its row, and no row is about another one.
TEST(LibraryFaults, HaveOneRowForEachCall)
{
    for (const FaultScenario& scenario : kFaultScenarios) {
        SCOPED_TRACE(scenario.strName);
        CameraDocument bench(scenario.strSource);
        Begin(bench, scenario);
        ASSERT_TRUE(scenario.run(bench));
        std::map<Operation, int> counts;
        std::set<std::pair<Operation, int>> seen;
        for (const LibraryCall& call : bench.m_library.Calls()) {
            if (!Counts(scenario, call))
                continue;
            seen.emplace(call.eOperation, ++counts[call.eOperation]);
        }
        std::set<std::pair<Operation, int>> rows;
        for (const FaultRow& row : kFaultRows) {
            if (row.strScenario != std::string(scenario.strName))
                continue;
            EXPECT_TRUE(rows.emplace(row.eOperation, row.iCall).second) << "two rows for one call";
        }
        if (scenario.bPart)
            std::erase_if(seen, [&](const auto& call) { return !rows.contains(call); });
        EXPECT_EQ(seen, rows);
    }
}

// Beside them: failures that no single call explains.

TEST(LibraryFaults, CountAFailedBusQueryAsNoCamera)
{
    CameraDocument bench("simulated:FL3-U3-13Y3M");
    bench.m_library.Fail({ .eOperation = Operation::GetNumOfCameras });
    EXPECT_FALSE(bench.Open());
    EXPECT_EQ(bench.m_app.CooperationResult(), cooperation_result::kNoCamera);
}

TEST(LibraryFaults, TraceWhatIsNoReasonToGiveUp)
{
    const struct {
        const char* strScenario;
        Operation eOperation;
        int iCall;
        const char* strTrace;
    } kRows[] = {
        { "ConfigureLocked", Operation::GetFormat7Info, 1, "GetFormat7Info: error 20" },
        { "ConfigureColour", Operation::GetCameraInfo, 2, "GetCameraInfo: error 20" },
        { "Close", Operation::Disconnect, 1, "Disconnect: error 20" },
    };
    for (const auto& row : kRows) {
        const FaultScenario& scenario = ScenarioOf(row.strScenario);
        CameraDocument bench(scenario.strSource);
        Begin(bench, scenario);
        bench.m_library.Fail({ .eOperation = row.eOperation, .iCall = row.iCall });
        EXPECT_TRUE(scenario.run(bench));
        EXPECT_TRUE(bench.m_test.m_log.Contains(row.strTrace)) << row.strTrace;
    }
}

TEST(LibraryFaults, LeaveNoTriggerArmedWhenTheyMeetASlave)
{
    for (const Operation eOperation :
        { Operation::WriteRegister, Operation::GetTriggerMode, Operation::SetTriggerMode }) {
        CameraDocument bench("simulated:3xFL3-U3-13Y3M");
        ASSERT_TRUE(bench.Connect());
        ASSERT_TRUE(AllocateFrameStore(bench.Doc()));
        bench.Forget();
        // Of camera 2, after camera 1 was armed; its first two writes are the rate registers.
        const int iCall = eOperation == Operation::WriteRegister ? 3 : 1;
        bench.m_library.Fail({ .eOperation = eOperation, .iCall = iCall, .iCamera = 2 });
        EXPECT_FALSE(ConfigureCameras(bench.Doc()));
        EXPECT_EQ(bench.Messages().size(), 1U);
        EXPECT_TRUE(bench.Messages()[0].starts_with("SynchroStrobePre()->"));
        for (std::size_t uiCamera = 0; uiCamera < 3; ++uiCamera) {
            TriggerMode trigger;
            ASSERT_TRUE(CameraOf(bench.Doc(), uiCamera).GetTriggerMode(trigger).IsOk());
            EXPECT_FALSE(trigger.onOff) << OperationName(eOperation) << ", camera " << uiCamera;
        }
        bench.m_library.ClearFaults();
        EXPECT_TRUE(ConfigureCameras(bench.Doc()));
    }
}

TEST(LibraryFaults, ShowOneMessageForAnUnpluggedCamera)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    ASSERT_TRUE(AllocateFrameStore(bench.Doc()));
    bench.Forget();
    for (std::size_t i = 0; i < kOperationCount; ++i)
        bench.m_library.Fail({ .eOperation = static_cast<Operation>(i),
            .eType = ErrorType::Disconnected,
            .iCamera = 1,
            .iCalls = kEveryCall });
    EXPECT_FALSE(ConfigureCameras(bench.Doc()));
    EXPECT_EQ(bench.Messages(), Texts { "ｶﾒﾗ情報の取得に失敗しました。(12)\n" });
    OnCloseDocument(bench.Doc());
    EXPECT_TRUE(bench.Doc().m_cameras.m_owners.empty());
}

} // namespace
} // namespace vireo::test
