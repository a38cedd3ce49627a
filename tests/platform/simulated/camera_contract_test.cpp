#include "platform/simulated/operations.h"
#include "rig.h"

#include <functional>
#include <gmock/gmock.h>
#include <map>
#include <set>

namespace vireo {
namespace {

using Codes = std::vector<std::uint32_t>;
using Call = std::function<Error()>;

/// One call of every operation that each camera has.
std::map<Operation, Call> CommonCalls(CameraBase& camera)
{
    static FC2Config config;
    static Property property;
    static PropertyInfo propertyInfo;
    static TriggerMode trigger;
    static StrobeInfo strobeInfo;
    static StrobeControl strobe { 2 };
    static CameraInfo info;
    static Image image;
    static std::uint32_t uiValue;
    property.type = PropertyType::Gain;
    property.autoManualMode = true;
    return {
        { Operation::GetCameraInfo, [&] { return camera.GetCameraInfo(info); } },
        { Operation::GetConfiguration, [&] { return camera.GetConfiguration(config); } },
        { Operation::SetConfiguration, [&] { return camera.SetConfiguration(config); } },
        { Operation::ReadRegister, [&] { return camera.ReadRegister(0x12F8, uiValue); } },
        { Operation::WriteRegister, [&] { return camera.WriteRegister(0x2000, 1); } },
        { Operation::GetProperty, [&] { return camera.GetProperty(property); } },
        { Operation::SetProperty, [&] { return camera.SetProperty(property); } },
        { Operation::GetPropertyInfo, [&] { return camera.GetPropertyInfo(propertyInfo); } },
        { Operation::GetTriggerMode, [&] { return camera.GetTriggerMode(trigger); } },
        { Operation::SetTriggerMode, [&] { return camera.SetTriggerMode(TriggerMode()); } },
        { Operation::GetStrobeInfo, [&] { return camera.GetStrobeInfo(strobeInfo); } },
        { Operation::GetStrobe, [&] { return camera.GetStrobe(strobe); } },
        { Operation::SetStrobe, [&] { return camera.SetStrobe(strobe); } },
        { Operation::StartCapture, [&] { return camera.StartCapture(); } },
        { Operation::RetrieveBuffer, [&] { return camera.RetrieveBuffer(image); } },
        { Operation::StopCapture, [&] { return camera.StopCapture(); } },
    };
}

std::map<Operation, Call> UsbCalls(Camera& camera)
{
    static Format7Info info;
    static Format7PacketInfo packets;
    static bool bFlag;
    static const Format7ImageSettings image { 0, 0, 0, 640, 480, PixelFormat::Mono8 };
    return {
        { Operation::SetVideoModeAndFrameRate,
            [&] { return camera.SetVideoModeAndFrameRate(VideoMode::Mode640x480Y8, FrameRateCode::Fps30); } },
        { Operation::GetFormat7Info, [&] { return camera.GetFormat7Info(info, bFlag); } },
        { Operation::ValidateFormat7Settings, [&] { return camera.ValidateFormat7Settings(image, bFlag, packets); } },
        { Operation::SetFormat7Configuration, [&] { return camera.SetFormat7Configuration(image, 4096); } },
    };
}

std::map<Operation, Call> GigECalls(GigECamera& camera)
{
    static std::uint32_t uiValue;
    static GigEStreamChannel channel;
    static GigEImageSettingsInfo info;
    static GigEConfig config;
    static bool bFlag;
    return {
        { Operation::ReadGVCPRegister, [&] { return camera.ReadGVCPRegister(0x934, uiValue); } },
        { Operation::WriteGVCPRegister, [&] { return camera.WriteGVCPRegister(0x954, 1); } },
        { Operation::GetNumStreamChannels, [&] { return camera.GetNumStreamChannels(uiValue); } },
        { Operation::GetGigEStreamChannelInfo, [&] { return camera.GetGigEStreamChannelInfo(0, channel); } },
        { Operation::SetGigEStreamChannelInfo, [&] { return camera.SetGigEStreamChannelInfo(0, channel); } },
        { Operation::DiscoverGigEPacketSize,
            [&] {
                uiValue = 9000;
                return camera.DiscoverGigEPacketSize(uiValue);
            } },
        { Operation::QueryGigEImagingMode, [&] { return camera.QueryGigEImagingMode(0, bFlag); } },
        { Operation::SetGigEImagingMode, [&] { return camera.SetGigEImagingMode(0); } },
        { Operation::GetGigEImageSettingsInfo, [&] { return camera.GetGigEImageSettingsInfo(info); } },
        { Operation::SetGigEImageSettings,
            [&] {
                return camera.SetGigEImageSettings({ 0, 0, 640, 480, PixelFormat::Mono8 });
            } },
        { Operation::GetGigEConfig, [&] { return camera.GetGigEConfig(config); } },
        { Operation::SetGigEConfig, [&] { return camera.SetGigEConfig(config); } },
    };
}

TEST(CameraContract, EveryCallNeedsAConnectedCamera)
{
    Rig rig("simulated:FL3-U3-13Y3M@1+GS3-PGE-23S6M@2");
    std::map<Operation, Call> calls[] = { CommonCalls(rig[0]), CommonCalls(rig[1]), UsbCalls(rig.Usb(0)),
        GigECalls(rig.GigE(1)) };
    ASSERT_TRUE(rig[0].Disconnect().IsOk());
    ASSERT_TRUE(rig[1].Disconnect().IsOk());
    for (const auto& table : calls)
        for (const auto& [eOperation, call] : table)
            EXPECT_EQ(call(), ErrorType::NotConnected) << OperationName(eOperation);
    EXPECT_EQ(rig[0].Disconnect(), ErrorType::NotConnected);
    EXPECT_EQ(rig[0].GetStreamStatistics().incomplete, 0U);
    rig[0].CancelRetrieve(); // harmless
}

TEST(CameraContract, EveryCallCanBeMadeToFail)
{
    std::string strFaults;
    for (std::size_t i = 0; i < kOperationCount; ++i)
        strFaults += "error:" + std::string(OperationName(static_cast<Operation>(i))) + ":13@2;";
    std::set<Operation> seen;
    for (const bool bGigE : { false, true }) {
        VirtualClock clock;
        SimulatedSetup setup;
        ASSERT_EQ(
            ParseSimulatedSource(bGigE ? "simulated:GS3-PGE-23S6M" : "simulated:FL3-U3-13Y3M", setup.cameras), "");
        ASSERT_EQ(ParseSimulatedFaults(strFaults, 1, setup.faults), "");
        const auto library = MakeSimulatedLibrary(clock, setup);
        BusManager& bus = library->GetBusManager();
        unsigned int uiNumber = 0;
        PGRGuid guid;
        InterfaceType eInterface {};
        const std::map<Operation, Call> busCalls {
            { Operation::GetNumOfCameras, [&] { return bus.GetNumOfCameras(uiNumber); } },
            { Operation::GetCameraSerialNumberFromIndex,
                [&] { return bus.GetCameraSerialNumberFromIndex(0, uiNumber); } },
            { Operation::GetCameraFromSerialNumber,
                [&] { return bus.GetCameraFromSerialNumber(setup.cameras[0].uiSerial, guid); } },
            { Operation::GetInterfaceTypeFromGuid, [&] { return bus.GetInterfaceTypeFromGuid(guid, eInterface); } },
        };
        const auto expectSecondFails = [&seen](Operation eOperation, const Call& call) {
            EXPECT_TRUE(call().IsOk()) << OperationName(eOperation);
            EXPECT_EQ(call(), ErrorType::OutOfResources) << OperationName(eOperation);
            seen.insert(eOperation);
        };
        expectSecondFails(Operation::GetCameraFromSerialNumber, busCalls.at(Operation::GetCameraFromSerialNumber));
        for (const auto& [eOperation, call] : busCalls)
            if (eOperation != Operation::GetCameraFromSerialNumber)
                expectSecondFails(eOperation, call);

        std::unique_ptr<Camera> usb = library->CreateCamera(guid);
        std::unique_ptr<GigECamera> gige = library->CreateGigECamera(guid);
        ASSERT_EQ(usb == nullptr, bGigE);
        CameraBase& camera = bGigE ? static_cast<CameraBase&>(*gige) : *usb;
        expectSecondFails(Operation::Connect, [&] { return camera.Connect(guid); });
        for (const auto& [eOperation, call] : bGigE ? GigECalls(*gige) : UsbCalls(*usb))
            expectSecondFails(eOperation, call);
        CameraBase* const cameras[] = { &camera };
        expectSecondFails(Operation::StartSyncCapture, [&] { return library->StartSyncCapture(cameras); });
        Image image;
        expectSecondFails(Operation::RetrieveBuffer, [&] { return camera.RetrieveBuffer(image); });
        expectSecondFails(Operation::StopCapture, [&] { return camera.StopCapture(); });
        expectSecondFails(Operation::StartCapture, [&] { return camera.StartCapture(); });
        for (const auto& [eOperation, call] : CommonCalls(camera))
            if (seen.count(eOperation) == 0 || (bGigE && eOperation < Operation::StartCapture))
                expectSecondFails(eOperation, call);
        EXPECT_TRUE(camera.Disconnect().IsOk());
        EXPECT_EQ(camera.Disconnect(), ErrorType::OutOfResources);
        seen.insert(Operation::Disconnect);
    }
    EXPECT_EQ(seen.size(), kOperationCount);
}

TEST(CameraContract, OneProgramHoldsACameraAtATime)
{
    Rig rig("simulated:FL3-U3-13Y3M");
    EXPECT_EQ(rig[0].Connect(rig.Guid(0)), ErrorType::AlreadyConnected);
    const auto second = rig.Library().CreateCamera(rig.Guid(0));
    EXPECT_EQ(second->Connect(rig.Guid(0)), ErrorType::AccessDenied);
    EXPECT_EQ(second->StartCapture(), ErrorType::NotConnected);
    rig.Release(0);
    EXPECT_TRUE(second->Connect(rig.Guid(0)).IsOk());
}

TEST(CameraContract, TheBusListsWhatThereIs)
{
    Rig rig("simulated:GRAS-03K2@30+GS3-PGE-23S6C@10+FL3-U3-13E4C@20");
    BusManager& bus = rig.Library().GetBusManager();
    unsigned int uiCount = 0, uiSerial = 0;
    ASSERT_TRUE(bus.GetNumOfCameras(uiCount).IsOk());
    EXPECT_EQ(uiCount, 3U);
    const std::uint32_t kBusOrder[] = { 30, 10, 20 };
    const InterfaceType kInterfaces[] = { InterfaceType::Ieee1394, InterfaceType::GigE, InterfaceType::Usb3 };
    const std::vector<CameraInfo> infos = rig.Library().ListCameras();
    for (unsigned int i = 0; i < 3; ++i) {
        PGRGuid guid;
        InterfaceType eInterface {};
        ASSERT_TRUE(bus.GetCameraSerialNumberFromIndex(i, uiSerial).IsOk());
        EXPECT_EQ(uiSerial, kBusOrder[i]);
        EXPECT_EQ(infos[i].serialNumber, kBusOrder[i]);
        ASSERT_TRUE(bus.GetCameraFromSerialNumber(uiSerial, guid).IsOk());
        ASSERT_TRUE(bus.GetInterfaceTypeFromGuid(guid, eInterface).IsOk());
        EXPECT_EQ(eInterface, kInterfaces[i]);
        EXPECT_EQ(rig.Library().CreateCamera(guid) == nullptr, eInterface == InterfaceType::GigE);
        EXPECT_EQ(rig.Library().CreateGigECamera(guid) == nullptr, eInterface != InterfaceType::GigE);
    }
    PGRGuid guid;
    InterfaceType eInterface {};
    EXPECT_EQ(bus.GetCameraSerialNumberFromIndex(3, uiSerial), ErrorType::NotFound);
    EXPECT_EQ(bus.GetCameraFromSerialNumber(40, guid), ErrorType::NotFound);
    EXPECT_EQ(bus.GetInterfaceTypeFromGuid(PGRGuid(), eInterface), ErrorType::NotFound);
    EXPECT_EQ(rig.Library().CreateCamera(PGRGuid()), nullptr);
}

TEST(CameraContract, CaptureStartsAndStopsOnce)
{
    Rig rig("simulated:FL3-U3-13Y3M");
    rig.Configure(0, 100.0F, 1.0F);
    Image image;
    EXPECT_EQ(rig[0].StopCapture(), ErrorType::NotStarted);
    EXPECT_EQ(rig[0].RetrieveBuffer(image), ErrorType::NothingToDeliver);
    ASSERT_TRUE(rig[0].StartCapture().IsOk());
    EXPECT_EQ(rig[0].StartCapture(), ErrorType::AlreadyStarted);
    EXPECT_EQ(
        rig.Usb(0).SetVideoModeAndFrameRate(VideoMode::Mode640x480Y8, FrameRateCode::Fps30), ErrorType::AlreadyStarted);
    EXPECT_EQ(
        rig.Usb(0).SetFormat7Configuration({ 0, 0, 0, 640, 480, PixelFormat::Mono8 }, 4096), ErrorType::AlreadyStarted);
    EXPECT_TRUE(rig[0].RetrieveBuffer(image).IsOk());
    ASSERT_TRUE(rig[0].StopCapture().IsOk());
    EXPECT_EQ(rig[0].RetrieveBuffer(image), ErrorType::NothingToDeliver);
}

TEST(CameraContract, AStartBeginsWithAnEmptyQueue)
{
    Rig rig("simulated:FL3-U3-13Y3M");
    rig.Configure(0, 100.0F, 1.0F);
    ASSERT_TRUE(rig[0].StartCapture().IsOk());
    rig.GetClock().SleepMs(500);
    ASSERT_TRUE(rig[0].StopCapture().IsOk());
    ASSERT_TRUE(rig[0].StartCapture().IsOk());
    EXPECT_EQ(rig.FetchMany(0, 2), (Codes { 500'000, 510'000 }));
}

TEST(CameraContract, TheGrabTimeoutIsKept)
{
    Rig rig("simulated:FL3-U3-13Y3M");
    rig.Configure(0, 2.0F, 1.0F, 0);
    ASSERT_TRUE(rig[0].StartCapture().IsOk());
    for (const int iTimeoutMs : { 0, 1, 100 }) {
        rig.SetConfig(0, iTimeoutMs);
        ErrorType eResult {};
        ClockTime before = rig.GetClock().Now();
        (void)rig.Fetch(0, eResult);
        if (eResult == ErrorType::Ok) { // the frame at 0
            before = rig.GetClock().Now();
            (void)rig.Fetch(0, eResult);
        }
        EXPECT_EQ(eResult, ErrorType::Timeout);
        EXPECT_EQ(rig.GetClock().Now() - before, iTimeoutMs * kNsPerMs);
    }
    rig.SetConfig(0, -1);
    EXPECT_EQ(rig.FetchMany(0, 2).size(), 2U); // waits as long as it takes
}

TEST(CameraContract, AFullQueueLosesNewFrames)
{
    Rig rig("simulated:FL3-U3-13Y3M");
    rig.Configure(0, 100.0F, 1.0F);
    rig.SetConfig(0, 1000, 4);
    ASSERT_TRUE(rig[0].StartCapture().IsOk());
    rig.GetClock().SleepMs(105); // frames 0 to 10 have arrived
    EXPECT_EQ(rig[0].GetStreamStatistics().underruns, 7U);
    EXPECT_EQ(rig.FetchMany(0, 6), (Codes { 0, 10'000, 20'000, 30'000, 110'000, 120'000 }));
    ASSERT_TRUE(rig[0].StopCapture().IsOk());
    ASSERT_TRUE(rig[0].StartCapture().IsOk());
    EXPECT_EQ(rig[0].GetStreamStatistics().underruns, 0U);
}

TEST(CameraContract, InDropFramesModeOnlyTheNewestWaits)
{
    Rig rig("simulated:FL3-U3-13Y3M");
    rig.Configure(0, 100.0F, 1.0F);
    rig.SetConfig(0, 1000, 4, GrabMode::DropFrames);
    ASSERT_TRUE(rig[0].StartCapture().IsOk());
    rig.GetClock().SleepMs(105);
    EXPECT_EQ(rig.FetchMany(0, 2), (Codes { 100'000, 110'000 }));
    EXPECT_EQ(rig[0].GetStreamStatistics().underruns, 0U);
}

/// A camera that never gets an edge, with a thread that waits for its frame without limit.
class WaitingThread : public testing::Test {
protected:
    void SetUp() override
    {
        m_rig.Configure(0, 100.0F, 1.0F, -1);
        m_rig.SetTrigger(0, true);
        ASSERT_TRUE(m_rig[0].StartCapture().IsOk());
        m_thread = ClockThread(m_rig.GetClock(), [this] {
            Image image;
            m_eResult = m_rig[0].RetrieveBuffer(image).GetType();
            m_ended = m_rig.GetClock().Now();
        });
        m_rig.GetClock().SleepMs(50);
    }
    void ExpectEnd(ErrorType eResult)
    {
        m_thread.Join();
        EXPECT_EQ(m_eResult, eResult);
        EXPECT_EQ(m_ended, 50 * kNsPerMs);
    }
    Rig m_rig { "simulated:FL3-U3-13Y3M" };
    ErrorType m_eResult {};
    ClockTime m_ended = 0;
    ClockThread m_thread;
};

TEST_F(WaitingThread, IsWokenByAStop)
{
    ASSERT_TRUE(m_rig[0].StopCapture().IsOk());
    ExpectEnd(ErrorType::NothingToDeliver);
}

TEST_F(WaitingThread, IsWokenByAStopThatARestartFollows)
{
    ASSERT_TRUE(m_rig[0].StopCapture().IsOk());
    ASSERT_TRUE(m_rig[0].StartCapture().IsOk());
    ExpectEnd(ErrorType::NothingToDeliver);
}

TEST_F(WaitingThread, IsWokenByADisconnection)
{
    ASSERT_TRUE(m_rig[0].Disconnect().IsOk());
    ExpectEnd(ErrorType::NothingToDeliver);
}

TEST_F(WaitingThread, IsWokenByACancellationThatLasts)
{
    m_rig[0].CancelRetrieve();
    ExpectEnd(ErrorType::NothingToDeliver);
    m_rig.SetTrigger(0, false);
    m_rig.GetClock().SleepMs(100); // the camera goes on
    Image image;
    EXPECT_EQ(m_rig[0].RetrieveBuffer(image), ErrorType::NothingToDeliver);
    ASSERT_TRUE(m_rig[0].StopCapture().IsOk());
    ASSERT_TRUE(m_rig[0].StartCapture().IsOk());
    EXPECT_TRUE(m_rig[0].RetrieveBuffer(image).IsOk());
}

TEST_F(WaitingThread, IsWokenByAnEdgeThatNobodyExpected)
{
    ASSERT_TRUE(m_rig[0].WriteRegister(0x11F0, 0x90000000).IsOk());
    ASSERT_TRUE(m_rig[0].WriteRegister(0x11F0, 0).IsOk());
    m_thread.Join();
    EXPECT_EQ(m_eResult, ErrorType::Ok);
    EXPECT_EQ(m_ended, 50 * kNsPerMs + kNsPerMs + 480 * 4000);
}

TEST_F(WaitingThread, FollowsANewTimeout)
{
    m_rig.SetConfig(0, 200);
    m_thread.Join();
    EXPECT_EQ(m_eResult, ErrorType::Timeout);
    EXPECT_EQ(m_ended, 200 * kNsPerMs);
}

TEST(CameraContract, ASynchronisedStartIsAllOrNothing)
{
    Rig rig("simulated:3xFL3-U3-13Y3M");
    rig.ConfigureAll(100.0F, 1.0F);
    const std::vector<CameraBase*> cameras { &rig[0], &rig[1], &rig[2] };
    ASSERT_TRUE(rig[1].StartCapture().IsOk());
    EXPECT_EQ(rig.Library().StartSyncCapture(cameras), ErrorType::AlreadyStarted);
    EXPECT_EQ(rig[0].StopCapture(), ErrorType::NotStarted);
    ASSERT_TRUE(rig[1].Disconnect().IsOk());
    EXPECT_EQ(rig.Library().StartSyncCapture(cameras), ErrorType::NotConnected);
    EXPECT_EQ(rig[2].StopCapture(), ErrorType::NotStarted);
    const std::vector<CameraBase*> withNull { &rig[0], nullptr };
    EXPECT_EQ(rig.Library().StartSyncCapture(withNull), ErrorType::InvalidParameter);
    Rig other("simulated:FL3-U3-13Y3M");
    const std::vector<CameraBase*> foreign { &rig[0], &other[0] };
    EXPECT_EQ(rig.Library().StartSyncCapture(foreign), ErrorType::InvalidParameter);
    EXPECT_EQ(rig[0].StopCapture(), ErrorType::NotStarted);
}

TEST(CameraContract, SettingsOutliveTheConnection)
{
    Rig rig("simulated:FL3-U3-13Y3M");
    rig.SetManual(0, PropertyType::Gain, 7.0F);
    ASSERT_TRUE(rig[0].WriteRegister(0x2000, 5).IsOk());
    ASSERT_TRUE(rig[0].Disconnect().IsOk());
    ASSERT_TRUE(rig[0].Connect(rig.Guid(0)).IsOk());
    Property property;
    property.type = PropertyType::Gain;
    ASSERT_TRUE(rig[0].GetProperty(property).IsOk());
    EXPECT_EQ(property.absValue, 7.0F);
    std::uint32_t uiValue = 0;
    ASSERT_TRUE(rig[0].ReadRegister(0x2000, uiValue).IsOk());
    EXPECT_EQ(uiValue, 5U);
}

TEST(CameraContract, ImagesHaveTheShapeThatWasSet)
{
    Rig rig("simulated:GS3-U3-23S6C");
    ASSERT_TRUE(rig.Usb(0).SetFormat7Configuration({ 0, 448, 216, 1024, 768, PixelFormat::Raw8 }, 48000).IsOk());
    ASSERT_TRUE(rig[0].StartCapture().IsOk());
    Image image;
    ASSERT_TRUE(rig[0].RetrieveBuffer(image).IsOk());
    EXPECT_EQ(image.GetCols(), 1024U);
    EXPECT_EQ(image.GetRows(), 768U);
    EXPECT_EQ(image.GetStride(), 1024U);
    EXPECT_EQ(image.GetDataSize(), 1024U * 768U);
    EXPECT_EQ(image.GetPixelFormat(), PixelFormat::Raw8);
    EXPECT_EQ(image.GetBayerTileFormat(), BayerTileFormat::Rggb);
    EXPECT_EQ(ReadBarCode(image), 0U);
    ASSERT_TRUE(rig[0].StopCapture().IsOk());
    ASSERT_TRUE(rig.Usb(0).SetVideoModeAndFrameRate(VideoMode::Mode640x480Y8, FrameRateCode::Fps60).IsOk());
    ASSERT_TRUE(rig[0].StartCapture().IsOk());
    ASSERT_TRUE(rig[0].RetrieveBuffer(image).IsOk());
    EXPECT_EQ(image.GetCols(), 640U);
    EXPECT_EQ(image.GetPixelFormat(), PixelFormat::Mono8);
    EXPECT_EQ(image.GetBayerTileFormat(), BayerTileFormat::None);
}

TEST(CameraContract, TheHeaderIsWrittenOnlyOnceSwitchedOn)
{
    Rig rig("simulated:GRAS-03K2");
    rig.Configure(0, 100.0F, 1.0F);
    ASSERT_TRUE(rig[0].WriteRegister(0x12F8, 0x80000000).IsOk());
    rig.GetClock().SleepMs(1000);
    ASSERT_TRUE(rig[0].StartCapture().IsOk());
    const auto header = [&rig] {
        Image image;
        EXPECT_TRUE(rig[0].RetrieveBuffer(image).IsOk());
        return std::vector<int>(image.GetData(), image.GetData() + 8);
    };
    EXPECT_THAT(header(), testing::Each(testing::Gt(10))); // background
    ASSERT_TRUE(rig[0].WriteRegister(0x12F8, 0x80000101).IsOk());
    EXPECT_EQ(header(), (std::vector { 0x02, 0x05, 0x00, 0x00, 0, 0, 0, 0 })); // 1.01 s: 80 cycles
}

TEST(GigEContract, StreamChannelsAreBootstrapRegisters)
{
    Rig rig("simulated:GS3-PGE-23S6M");
    GigECamera& camera = rig.GigE(0);
    std::uint32_t uiChannels = 0, uiValue = 0;
    ASSERT_TRUE(camera.GetNumStreamChannels(uiChannels).IsOk());
    EXPECT_EQ(uiChannels, 1U);
    GigEStreamChannel channel;
    ASSERT_TRUE(camera.GetGigEStreamChannelInfo(0, channel).IsOk());
    EXPECT_EQ(channel.packetSize, 1400U);
    EXPECT_TRUE(channel.doNotFragment);
    channel.destinationIpAddress = { { 224, 0, 0, 4 } };
    ASSERT_TRUE(camera.SetGigEStreamChannelInfo(0, channel).IsOk());
    ASSERT_TRUE(camera.ReadGVCPRegister(0x0D18, uiValue).IsOk());
    EXPECT_EQ(uiValue, 0xE0000004U);
    ASSERT_TRUE(camera.WriteGVCPRegister(0x0D04, 9000).IsOk());
    ASSERT_TRUE(camera.GetGigEStreamChannelInfo(0, channel).IsOk());
    EXPECT_EQ(channel.packetSize, 9000U);
    EXPECT_FALSE(channel.doNotFragment);
    EXPECT_EQ(channel.destinationIpAddress, (IPAddress { { 224, 0, 0, 4 } }));
    EXPECT_EQ(camera.GetGigEStreamChannelInfo(1, channel), ErrorType::InvalidParameter);
    EXPECT_EQ(camera.SetGigEStreamChannelInfo(1, channel), ErrorType::InvalidParameter);
    channel.packetSize = 70000;
    EXPECT_EQ(camera.SetGigEStreamChannelInfo(0, channel), ErrorType::InvalidParameter);
}

TEST(GigEContract, FindsThePacketSizeAndTheImagingModes)
{
    Rig rig("simulated:GS3-PGE-23S6M");
    GigECamera& camera = rig.GigE(0);
    std::uint32_t uiSize = 16000;
    EXPECT_TRUE(camera.DiscoverGigEPacketSize(uiSize).IsOk());
    EXPECT_EQ(uiSize, 9000U);
    uiSize = 1400;
    EXPECT_TRUE(camera.DiscoverGigEPacketSize(uiSize).IsOk());
    EXPECT_EQ(uiSize, 1400U);
    uiSize = 100;
    EXPECT_EQ(camera.DiscoverGigEPacketSize(uiSize), ErrorType::InvalidParameter);
    bool bSupported = false;
    EXPECT_TRUE(camera.QueryGigEImagingMode(1, bSupported).IsOk());
    EXPECT_TRUE(bSupported);
    EXPECT_TRUE(camera.QueryGigEImagingMode(2, bSupported).IsOk());
    EXPECT_FALSE(bSupported);
    EXPECT_EQ(camera.SetGigEImagingMode(2), ErrorType::NotSupported);
    GigEImageSettingsInfo info;
    EXPECT_TRUE(camera.GetGigEImageSettingsInfo(info).IsOk());
    EXPECT_EQ(info.maxWidth, 1920U);
    EXPECT_EQ(info.maxHeight, 1200U);
    EXPECT_EQ(info.pixelFormatBitField, 0x80400000U);
    EXPECT_TRUE(camera.SetGigEImagingMode(1).IsOk());
    EXPECT_TRUE(camera.GetGigEImageSettingsInfo(info).IsOk());
    EXPECT_EQ(info.maxWidth, 960U);
    EXPECT_EQ(camera.SetGigEImageSettings({ 0, 0, 1920, 1080, PixelFormat::Raw8 }), ErrorType::InvalidSettings);
    EXPECT_TRUE(camera.SetGigEImageSettings({ 0, 0, 640, 480, PixelFormat::Raw8 }).IsOk());
}

} // namespace
} // namespace vireo
