#include "peers/network_test.h"
#include "peers/peer_process.h"
#include "platform/genicam/genicam_library.h"
#include "platform/iidc/iidc_library.h"
#include "platform/simulated/simulated_library.h"
#include "platform/time/real_clock.h"
#include "support/bar_code.h"
#include "support/recorded_log.h"

#include <bit>
#include <cmath>
#include <cstdio>
#include <functional>
#include <map>
#include <thread>

// What camera_library.h promises, held against every backend with a camera that speaks the real protocol (or
// is simulated) on real time. What only one backend has is tested beside it.

namespace vireo {

namespace {

using MakeLibrary = std::unique_ptr<CameraLibrary> (*)(Clock& clock, Log& log);

std::unique_ptr<CameraLibrary> Simulated(Clock& clock, const char* strSource)
{
    SimulatedSetup setup;
    EXPECT_EQ(ParseSimulatedSource(strSource, setup.cameras), "");
    return MakeSimulatedLibrary(clock, setup);
}

struct Backend {
    const char* strName;
    bool bGigE;
    unsigned int uiSerial;
    MakeLibrary pMake;
};
const Backend kBackends[] = {
    { "SimulatedUsb", false, 13000001,
        [](Clock& clock, Log&) { return Simulated(clock, "simulated:FL3-U3-13Y3M@13000001"); } },
    { "SimulatedGigE", true, 15000001,
        [](Clock& clock, Log&) { return Simulated(clock, "simulated:GS3-PGE-23S6M@15000001"); } },
    { "GenicamGigE", true, 15000001, [](Clock& clock, Log& log) { return MakeGenicamLibrary(clock, log, {}); } },
    { "GenicamUsb3", false, 17000001, [](Clock& clock, Log& log) { return MakeGenicamLibrary(clock, log, {}); } },
    { "Iidc", false, 17000042, [](Clock& clock, Log& log) { return MakeIidcLibrary(clock, log); } },
};

/// One camera of a backend, open and set to 640x480 at 100 fps.
class CameraContract : public peers::NetworkTest, public testing::WithParamInterface<Backend> {
protected:
    void SetUp() override
    {
        NetworkTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        if (std::string(GetParam().strName) == "GenicamGigE") {
            m_peer = std::make_unique<peers::PeerProcess>(std::vector<std::string> { "--count", "1" });
            ASSERT_TRUE(m_peer->Ready());
        }
        m_library = GetParam().pMake(m_clock, m_log);
        unsigned int uiCount = 0;
        Check(Bus().GetNumOfCameras(uiCount));
        ASSERT_GE(uiCount, 1U);
        Check(Bus().GetCameraFromSerialNumber(GetParam().uiSerial, m_guid));
        m_usb = m_library->CreateCamera(m_guid);
        m_gige = m_library->CreateGigECamera(m_guid);
        ASSERT_EQ(m_usb == nullptr, GetParam().bGigE);
        ASSERT_EQ(m_gige == nullptr, !GetParam().bGigE);
        m_pCamera = m_usb ? static_cast<CameraBase*>(m_usb.get()) : m_gige.get();
    }

    BusManager& Bus() { return m_library->GetBusManager(); }
    CameraBase& Cam() { return *m_pCamera; }
    static void Check(const Error& error)
    {
        ASSERT_TRUE(error.IsOk()) << error.GetTypeNumber() << " " << error.GetDescription();
    }
    void SetTimeout(int iTimeoutMs)
    {
        FC2Config config;
        Check(Cam().GetConfiguration(config));
        config.grabMode = GrabMode::BufferFrames;
        config.grabTimeout = iTimeoutMs;
        Check(Cam().SetConfiguration(config));
    }
    void SetAbsolute(PropertyType eType, float fValue)
    {
        Property property;
        property.type = eType;
        Check(Cam().GetProperty(property));
        property.absControl = true;
        property.onOff = true;
        property.autoManualMode = false;
        property.absValue = fValue;
        Check(Cam().SetProperty(property));
    }
    Error SetImage(std::uint32_t uiX, std::uint32_t uiY, std::uint32_t uiWidth, std::uint32_t uiHeight)
    {
        if (m_gige)
            return m_gige->SetGigEImageSettings({ uiX, uiY, uiWidth, uiHeight, PixelFormat::Raw8 });
        const Format7ImageSettings settings { 0, uiX, uiY, uiWidth, uiHeight, PixelFormat::Raw8 };
        bool bValid = false;
        Format7PacketInfo packet;
        if (Error error = m_usb->ValidateFormat7Settings(settings, bValid, packet); !error.IsOk())
            return error;
        return m_usb->SetFormat7Configuration(settings, bValid ? packet.maxBytesPerPacket : 4096);
    }
    void SetTrigger(bool bOn)
    {
        TriggerMode mode;
        Check(Cam().GetTriggerMode(mode));
        mode.onOff = bOn;
        mode.source = 2;
        mode.polarity = 1;
        mode.mode = 0;
        Check(Cam().SetTriggerMode(mode));
    }
    void Open(int iTimeoutMs = 2000)
    {
        Check(Cam().Connect(m_guid));
        SetTimeout(iTimeoutMs);
        SetAbsolute(PropertyType::FrameRate, 100.0F);
        Check(SetImage(0, 0, 640, 480));
        SetAbsolute(PropertyType::Shutter, 1.0F);
    }
    /// A camera that runs and has no frame, since it waits for an edge that never comes.
    void OpenSilent(int iTimeoutMs)
    {
        Open(iTimeoutMs);
        SetTrigger(true);
        Check(Cam().StartCapture());
    }
    /// Lets a thread wait for a frame without limit while `wake` runs, and returns what it got.
    Error WaitWhile(const std::function<void()>& wake)
    {
        Error result;
        std::thread waiting([&] {
            Image image;
            result = Cam().RetrieveBuffer(image);
        });
        wake();
        waiting.join();
        return result;
    }

    RealClock m_clock;
    test::RecordedLog m_log;
    std::unique_ptr<peers::PeerProcess> m_peer;
    std::unique_ptr<CameraLibrary> m_library;
    PGRGuid m_guid;
    std::unique_ptr<Camera> m_usb;
    std::unique_ptr<GigECamera> m_gige;
    CameraBase* m_pCamera = nullptr;
};

INSTANTIATE_TEST_SUITE_P(Backends, CameraContract, testing::ValuesIn(kBackends),
    [](const testing::TestParamInfo<Backend>& backend) { return std::string(backend.param.strName); });

std::map<std::string, std::function<Error()>> EveryCall(CameraBase& camera)
{
    return {
        { "GetCameraInfo", [&] { return camera.GetCameraInfo(*std::make_unique<CameraInfo>()); } },
        { "GetConfiguration", [&] { return camera.GetConfiguration(*std::make_unique<FC2Config>()); } },
        { "SetConfiguration", [&] { return camera.SetConfiguration(FC2Config()); } },
        { "ReadRegister", [&] { return camera.ReadRegister(0x12F8, *std::make_unique<std::uint32_t>()); } },
        { "WriteRegister", [&] { return camera.WriteRegister(0x12F8, 0x80000101); } },
        { "GetProperty", [&] { return camera.GetProperty(*std::make_unique<Property>()); } },
        { "SetProperty", [&] { return camera.SetProperty(Property()); } },
        { "GetPropertyInfo", [&] { return camera.GetPropertyInfo(*std::make_unique<PropertyInfo>()); } },
        { "GetTriggerMode", [&] { return camera.GetTriggerMode(*std::make_unique<TriggerMode>()); } },
        { "SetTriggerMode", [&] { return camera.SetTriggerMode(TriggerMode()); } },
        { "GetStrobeInfo", [&] { return camera.GetStrobeInfo(*std::make_unique<StrobeInfo>()); } },
        { "GetStrobe", [&] { return camera.GetStrobe(*std::make_unique<StrobeControl>()); } },
        { "SetStrobe", [&] { return camera.SetStrobe(StrobeControl()); } },
        { "StartCapture", [&] { return camera.StartCapture(); } },
        { "StopCapture", [&] { return camera.StopCapture(); } },
        { "RetrieveBuffer", [&] { return camera.RetrieveBuffer(*std::make_unique<Image>()); } },
        { "Disconnect", [&] { return camera.Disconnect(); } },
    };
}

TEST_P(CameraContract, EveryCallNeedsAConnectedCamera)
{
    for (const auto& [strName, call] : EveryCall(Cam()))
        EXPECT_EQ(call(), ErrorType::NotConnected) << strName;
    EXPECT_FALSE(Cam().IsConnected());
    EXPECT_EQ(Cam().GetStreamStatistics().incomplete, 0U);
    Cam().CancelRetrieve();
    Open();
    EXPECT_TRUE(Cam().IsConnected());
    Check(Cam().Disconnect());
    for (const auto& [strName, call] : EveryCall(Cam()))
        EXPECT_EQ(call(), ErrorType::NotConnected) << strName << " after Disconnect";
}

TEST_P(CameraContract, ACameraIsOpenedOnce)
{
    PGRGuid nobody;
    nobody.value = { 1, 2, 3, 4 };
    EXPECT_EQ(Cam().Connect(nobody), ErrorType::NotFound);
    Open();
    EXPECT_EQ(Cam().Connect(m_guid), ErrorType::AlreadyConnected);
}

TEST_P(CameraContract, TheBusListsWhatCanBeOpened)
{
    unsigned int uiCount = 0;
    Check(Bus().GetNumOfCameras(uiCount));
    const std::vector<CameraInfo> infos = m_library->ListCameras();
    ASSERT_EQ(infos.size(), uiCount);
    for (unsigned int i = 0; i < uiCount; i++) {
        unsigned int uiSerial = 0;
        PGRGuid guid;
        InterfaceType eInterface = InterfaceType::Unknown;
        Check(Bus().GetCameraSerialNumberFromIndex(i, uiSerial));
        EXPECT_EQ(uiSerial, infos[i].serialNumber);
        Check(Bus().GetCameraFromSerialNumber(uiSerial, guid));
        Check(Bus().GetInterfaceTypeFromGuid(guid, eInterface));
        EXPECT_TRUE(eInterface == infos[i].interfaceType);
        EXPECT_EQ(m_library->CreateGigECamera(guid) != nullptr, eInterface == InterfaceType::GigE);
        EXPECT_EQ(m_library->CreateCamera(guid) != nullptr, eInterface != InterfaceType::GigE);
    }
    unsigned int uiSerial = 77;
    PGRGuid guid;
    InterfaceType eInterface = InterfaceType::Unknown;
    EXPECT_EQ(Bus().GetCameraSerialNumberFromIndex(uiCount, uiSerial), ErrorType::NotFound);
    EXPECT_EQ(uiSerial, 77U);
    EXPECT_EQ(Bus().GetCameraFromSerialNumber(4, guid), ErrorType::NotFound);
    EXPECT_EQ(Bus().GetInterfaceTypeFromGuid(PGRGuid(), eInterface), ErrorType::NotFound);
    EXPECT_EQ(m_library->CreateCamera(PGRGuid()), nullptr);
    EXPECT_EQ(m_library->CreateGigECamera(PGRGuid()), nullptr);
}

TEST_P(CameraContract, ACameraSaysWhoItIs)
{
    Open();
    CameraInfo info;
    Check(Cam().GetCameraInfo(info));
    EXPECT_EQ(info.serialNumber, GetParam().uiSerial);
    EXPECT_FALSE(info.modelName.empty());
    EXPECT_FALSE(info.vendorName.empty());
    EXPECT_NE(info.sensorResolution.find('x'), std::string::npos);
    EXPECT_NE(info.clockDomain, 0U);
}

TEST_P(CameraContract, TheConfigurationIsKeptAndNonsenseRefused)
{
    Open();
    FC2Config config;
    Check(Cam().GetConfiguration(config));
    config.numBuffers = 32;
    config.grabMode = GrabMode::DropFrames;
    config.grabTimeout = 123;
    Check(Cam().SetConfiguration(config));
    FC2Config bad = config;
    bad.numBuffers = 0;
    EXPECT_EQ(Cam().SetConfiguration(bad), ErrorType::InvalidParameter);
    bad = config;
    bad.grabTimeout = -2;
    EXPECT_EQ(Cam().SetConfiguration(bad), ErrorType::InvalidParameter);
    FC2Config read;
    Check(Cam().GetConfiguration(read));
    EXPECT_EQ(read.numBuffers, 32U);
    EXPECT_TRUE(read.grabMode == GrabMode::DropFrames);
    EXPECT_EQ(read.grabTimeout, 123);
}

TEST_P(CameraContract, CaptureStartsAndStopsOnce)
{
    Open();
    Image image;
    EXPECT_EQ(Cam().StopCapture(), ErrorType::NotStarted);
    EXPECT_EQ(Cam().RetrieveBuffer(image), ErrorType::NothingToDeliver);
    Check(Cam().StartCapture());
    EXPECT_EQ(Cam().StartCapture(), ErrorType::AlreadyStarted);
    EXPECT_EQ(SetImage(0, 0, 320, 240), ErrorType::AlreadyStarted);
    Check(Cam().RetrieveBuffer(image));
    Check(Cam().StopCapture());
    EXPECT_EQ(Cam().StopCapture(), ErrorType::NotStarted);
    EXPECT_EQ(Cam().RetrieveBuffer(image), ErrorType::NothingToDeliver);
    Check(Cam().StartCapture());
    Check(Cam().RetrieveBuffer(image));
}

TEST_P(CameraContract, FramesComeInOrderWithTheirShape)
{
    Open();
    Check(Cam().StartCapture());
    std::uint32_t uiLast = 0;
    ClockTime last = 0;
    for (int i = 0; i < 20; i++) {
        Image image;
        Check(Cam().RetrieveBuffer(image));
        EXPECT_EQ(image.GetCols(), 640U);
        EXPECT_EQ(image.GetRows(), 480U);
        EXPECT_EQ(image.GetStride(), 640U);
        EXPECT_EQ(image.GetDataSize(), 640U * 480U);
        EXPECT_TRUE(image.GetPixelFormat() == PixelFormat::Raw8);
        const auto code = ReadBarCode(image);
        ASSERT_TRUE(code.has_value());
        ASSERT_TRUE(i == 0 || *code - uiLast == 10000U) << "frame " << i << " after " << *code - uiLast << " us";
        EXPECT_GE(image.GetArrivalTime(), last);
        EXPECT_LE(image.GetArrivalTime(), m_clock.Now());
        uiLast = *code;
        last = image.GetArrivalTime();
    }
    EXPECT_GT(last, 0);
}

TEST_P(CameraContract, TheHeaderIsWrittenOnceSwitchedOn)
{
    Open();
    std::uint32_t uiValue = 0;
    Check(Cam().WriteRegister(0x12F8, 0x80000101));
    Check(Cam().ReadRegister(0x12F8, uiValue));
    EXPECT_EQ(uiValue & 0x80000101U, 0x80000101U);
    Check(Cam().StartCapture());
    double dLast = 0.0;
    for (int i = 0; i < 10; i++) {
        Image image;
        Check(Cam().RetrieveBuffer(image));
        const std::uint8_t* p = image.GetData();
        const auto uiTime = static_cast<std::uint32_t>(p[0] << 24 | p[1] << 16 | p[2] << 8 | p[3]);
        const double dTime = (uiTime >> 25) + ((uiTime >> 12 & 0x1FFF) + (uiTime & 0xFFF) / 3072.0) / 8000.0;
        const double dStep = dTime - dLast < 0.0 ? dTime - dLast + 128.0 : dTime - dLast;
        ASSERT_TRUE(i == 0 || std::abs(dStep - 0.01) < 0.00001) << "frame " << i << " after " << dStep;
        dLast = dTime;
    }
}

TEST_P(CameraContract, AnEmptyQueueEndsTheWaitWithATimeout)
{
    OpenSilent(0);
    Image image;
    for (const int iTimeoutMs : { 0, 1, 150 }) {
        SetTimeout(iTimeoutMs);
        const ClockTime begin = m_clock.Now();
        EXPECT_EQ(Cam().RetrieveBuffer(image), ErrorType::Timeout);
        EXPECT_GE(m_clock.Now() - begin, iTimeoutMs * kNsPerMs);
    }
}

TEST_P(CameraContract, AWaitFollowsANewTimeout)
{
    OpenSilent(-1);
    EXPECT_EQ(WaitWhile([&] { SetTimeout(50); }), ErrorType::Timeout);
}

TEST_P(CameraContract, AStopWakesTheWaitingThread)
{
    OpenSilent(-1);
    EXPECT_EQ(WaitWhile([&] { Check(Cam().StopCapture()); }), ErrorType::NothingToDeliver);
}

TEST_P(CameraContract, ACancelledWaitStaysCancelledUntilTheNextStart)
{
    OpenSilent(-1);
    EXPECT_EQ(WaitWhile([&] { Cam().CancelRetrieve(); }), ErrorType::NothingToDeliver);
    Image image;
    EXPECT_EQ(Cam().RetrieveBuffer(image), ErrorType::NothingToDeliver);
    EXPECT_EQ(Cam().StartCapture(), ErrorType::AlreadyStarted); // the camera goes on
    Check(Cam().StopCapture());
    SetTrigger(false);
    Check(Cam().StartCapture());
    Check(Cam().RetrieveBuffer(image));
}

TEST_P(CameraContract, RegistersCanBeUsedWhileAThreadWaits)
{
    OpenSilent(-1);
    EXPECT_EQ(WaitWhile([&] {
        std::uint32_t uiValue = 0;
        for (int i = 0; i < 20; i++) {
            Check(Cam().ReadRegister(0x11F4, uiValue));
            EXPECT_NE(uiValue & 0x80000000U, 0U); // the highest bit always reads 1
            Check(Cam().WriteRegister(0x11F0, i % 2 == 0 ? 0x90000000U : 0U));
            CameraInfo info;
            Check(Cam().GetCameraInfo(info));
        }
        Cam().CancelRetrieve();
    }),
        ErrorType::NothingToDeliver);
}

TEST_P(CameraContract, TheControlRegistersOfTheProgramAreThere)
{
    Open();
    std::uint32_t uiValue = 0;
    Check(Cam().ReadRegister(0x083C, uiValue));
    EXPECT_NE(uiValue & 0x80000000U, 0U); // present
    Check(Cam().WriteRegister(0x083C, 0xC20001E0));
    Check(Cam().WriteRegister(0x0968, std::bit_cast<std::uint32_t>(60.0F)));
    Check(Cam().ReadRegister(0x0968, uiValue));
    EXPECT_NEAR(std::bit_cast<float>(uiValue), 60.0F, 0.1F);
    Check(Cam().WriteRegister(0x1048, 0x80000080));
    Check(Cam().ReadRegister(0x1048, uiValue));
    EXPECT_EQ(uiValue, 0x80000080U);
    Check(Cam().ReadRegister(0x11F8, uiValue));
    Check(Cam().WriteRegister(0x11F8, (uiValue | 0x20000000U) & ~0x40000000U)); // line 2 out, line 1 in
    Check(Cam().ReadRegister(0x11F8, uiValue));
    EXPECT_EQ(uiValue & 0x60000000U, 0x20000000U);
}

TEST_P(CameraContract, PropertiesKeepToTheirRange)
{
    Open();
    const struct {
        PropertyType eType;
        float fGood;
    } kRows[] = { { PropertyType::FrameRate, 60.0F }, { PropertyType::Shutter, 2.0F }, { PropertyType::Gain, 6.0F } };
    for (const auto& row : kRows) {
        SCOPED_TRACE(static_cast<int>(row.eType));
        PropertyInfo info;
        info.type = row.eType;
        Check(Cam().GetPropertyInfo(info));
        ASSERT_TRUE(info.present && info.absValSupported && info.manualSupported);
        EXPECT_LT(info.absMin, info.absMax);
        SetAbsolute(row.eType, row.fGood);
        for (const float fBad : { info.absMax * 2.0F + 1.0F, info.absMin - 1.0F, NAN }) {
            Property property;
            property.type = row.eType;
            Check(Cam().GetProperty(property));
            property.absControl = true;
            property.autoManualMode = false;
            property.absValue = fBad;
            EXPECT_EQ(Cam().SetProperty(property), ErrorType::InvalidParameter) << fBad;
        }
        Property property;
        property.type = row.eType;
        Check(Cam().GetProperty(property));
        EXPECT_TRUE(property.present);
        EXPECT_FALSE(property.autoManualMode);
        EXPECT_NEAR(property.absValue, row.fGood, 0.02F);
    }
}

TEST_P(CameraContract, ARateThatTheImageForbidsComesWithTheImageThatAllowsIt)
{
    Open();
    Check(SetImage(0, 0, 640, 1024));
    SetAbsolute(PropertyType::FrameRate, 220.0F);
    Check(SetImage(0, 0, 640, 480));
    SetAbsolute(PropertyType::Shutter, 1.0F);
    Property property;
    property.type = PropertyType::FrameRate;
    Check(Cam().GetProperty(property));
    EXPECT_NEAR(property.absValue, 220.0F, 0.5F);
}

TEST_P(CameraContract, AnAbsentPropertyIsNoErrorButCannotBeSet)
{
    Open();
    CameraInfo camera;
    Check(Cam().GetCameraInfo(camera));
    Property property;
    property.type = PropertyType::WhiteBalance;
    Check(Cam().GetProperty(property));
    EXPECT_EQ(property.present, camera.isColorCamera);
    PropertyInfo info;
    info.type = PropertyType::WhiteBalance;
    Check(Cam().GetPropertyInfo(info));
    EXPECT_EQ(info.present, camera.isColorCamera);
    property.autoManualMode = false;
    property.valueA = 500;
    property.valueB = 600;
    if (!camera.isColorCamera) {
        EXPECT_EQ(Cam().SetProperty(property), ErrorType::NotSupported);
        return;
    }
    Check(Cam().SetProperty(property));
    Check(Cam().GetProperty(property));
    EXPECT_EQ(property.valueA, 500U);
    EXPECT_EQ(property.valueB, 600U);
    property.valueA = 5000;
    EXPECT_EQ(Cam().SetProperty(property), ErrorType::InvalidParameter);
}

TEST_P(CameraContract, TheTriggerIsReadBackAndUnknownOnesRefused)
{
    Open();
    const TriggerMode wanted { true, 1, 2, 14, 0 };
    Check(Cam().SetTriggerMode(wanted));
    TriggerMode mode;
    Check(Cam().GetTriggerMode(mode));
    EXPECT_TRUE(mode.onOff);
    EXPECT_EQ(mode.polarity, 1U);
    EXPECT_EQ(mode.source, 2U);
    EXPECT_EQ(mode.mode, 14U);
    EXPECT_EQ(Cam().SetTriggerMode({ true, 1, 2, 9, 0 }), ErrorType::NotSupported);
    EXPECT_EQ(Cam().SetTriggerMode({ true, 1, 9, 0, 0 }), ErrorType::NotSupported);
    Check(Cam().SetTriggerMode({ false, 0, 4, 0, 0 })); // how the program leaves it
    Check(Cam().GetTriggerMode(mode));
    EXPECT_FALSE(mode.onOff);
    EXPECT_EQ(mode.source, 4U);
}

TEST_P(CameraContract, OnlyLinesWithAStrobeHaveOne)
{
    Open();
    StrobeInfo info;
    info.source = 2;
    Check(Cam().GetStrobeInfo(info));
    EXPECT_TRUE(info.present);
    info.source = 9;
    Check(Cam().GetStrobeInfo(info));
    EXPECT_FALSE(info.present);
    StrobeControl control;
    control.source = 9;
    EXPECT_EQ(Cam().GetStrobe(control), ErrorType::NotSupported);
    EXPECT_EQ(Cam().SetStrobe(control), ErrorType::NotSupported);
    control = {};
    control.source = 2;
    Check(Cam().GetStrobe(control));
    EXPECT_FALSE(control.onOff);
    control.onOff = true;
    Check(Cam().SetStrobe(control));
    control = {};
    control.source = 2;
    Check(Cam().GetStrobe(control));
    EXPECT_TRUE(control.onOff);
    EXPECT_EQ(control.source, 2U);
    control.onOff = false;
    Check(Cam().SetStrobe(control));
}

TEST_P(CameraContract, ImagesThatDoNotFitAreRefused)
{
    Open();
    EXPECT_EQ(SetImage(0, 0, 8000, 480), ErrorType::InvalidSettings);
    EXPECT_EQ(SetImage(0, 0, 640, 8000), ErrorType::InvalidSettings);
    EXPECT_EQ(SetImage(1000, 0, 1280, 480), ErrorType::InvalidSettings);
    EXPECT_EQ(SetImage(1, 0, 640, 480), ErrorType::InvalidSettings); // not in the camera's steps
    EXPECT_EQ(SetImage(0, 0, 0, 0), ErrorType::InvalidSettings);
    Check(SetImage(64, 32, 320, 240));
    Check(Cam().StartCapture());
    Image image;
    Check(Cam().RetrieveBuffer(image));
    EXPECT_EQ(image.GetCols(), 320U);
    EXPECT_EQ(image.GetRows(), 240U);
}

TEST_P(CameraContract, ImageModesAreKnownOrNot)
{
    Open();
    for (const ImagingMode mode : { 0, 1, 7 }) {
        bool bSupported = mode == 7;
        if (m_gige) {
            Check(m_gige->QueryGigEImagingMode(mode, bSupported));
        } else {
            Format7Info info;
            info.mode = mode;
            Check(m_usb->GetFormat7Info(info, bSupported));
            EXPECT_TRUE(!bSupported || (info.maxWidth >= 640 && info.maxHeight >= 480));
            EXPECT_TRUE(!bSupported || (info.pixelFormatBitField & 0x00400000U) != 0);
        }
        EXPECT_EQ(bSupported, mode != 7) << mode;
    }
    if (m_gige) {
        EXPECT_EQ(m_gige->SetGigEImagingMode(7), ErrorType::NotSupported);
        Check(m_gige->SetGigEImagingMode(1));
        Check(m_gige->SetGigEImagingMode(0));
    }
}

TEST_P(CameraContract, CamerasStartTogetherOrNotAtAll)
{
    Open();
    CameraBase* cameras[] = { &Cam() };
    Check(m_library->StartSyncCapture(cameras));
    Image image;
    Check(Cam().RetrieveBuffer(image));
    CameraBase* twice[] = { &Cam(), nullptr };
    EXPECT_EQ(m_library->StartSyncCapture(cameras), ErrorType::AlreadyStarted);
    Check(Cam().RetrieveBuffer(image)); // the failed start did not stop it
    Check(Cam().StopCapture());
    EXPECT_EQ(m_library->StartSyncCapture(twice), ErrorType::InvalidParameter);
    EXPECT_EQ(Cam().StopCapture(), ErrorType::NotStarted);
}

TEST_P(CameraContract, OnlyTheNewestFrameWaitsInDropFramesMode)
{
    Open();
    FC2Config config;
    Check(Cam().GetConfiguration(config));
    config.grabMode = GrabMode::DropFrames;
    Check(Cam().SetConfiguration(config));
    Check(Cam().StartCapture());
    Image image;
    Check(Cam().RetrieveBuffer(image));
    const auto first = ReadBarCode(image);
    m_clock.SleepUntil(image.GetArrivalTime() + 200 * kNsPerMs); // some twenty frames pass meanwhile
    Check(Cam().RetrieveBuffer(image));
    const auto later = ReadBarCode(image);
    ASSERT_TRUE(first && later);
    EXPECT_GE(*later - *first, 100'000U);
    Check(Cam().StopCapture());
    config.grabMode = GrabMode::BufferFrames;
    Check(Cam().SetConfiguration(config));
}

TEST_P(CameraContract, AGigECameraHasChannelsAndPackets)
{
    if (!GetParam().bGigE)
        return;
    Open();
    std::uint32_t uiChannels = 0;
    Check(m_gige->GetNumStreamChannels(uiChannels));
    ASSERT_EQ(uiChannels, 1U);
    GigEStreamChannel channel;
    Check(m_gige->GetGigEStreamChannelInfo(0, channel));
    channel.destinationIpAddress = { { 224, 0, 0, 3 } };
    Check(m_gige->SetGigEStreamChannelInfo(0, channel));
    GigEStreamChannel read;
    Check(m_gige->GetGigEStreamChannelInfo(0, read));
    EXPECT_EQ(read.destinationIpAddress, channel.destinationIpAddress);
    EXPECT_EQ(m_gige->GetGigEStreamChannelInfo(1, read), ErrorType::InvalidParameter);
    EXPECT_EQ(m_gige->SetGigEStreamChannelInfo(1, read), ErrorType::InvalidParameter);
    std::uint32_t uiPacket = 9000;
    Check(m_gige->DiscoverGigEPacketSize(uiPacket));
    EXPECT_GE(uiPacket, 576U);
    EXPECT_LE(uiPacket, 9000U);
    std::uint32_t uiValue = 0;
    Check(m_gige->ReadGVCPRegister(0x0934, uiValue));
    EXPECT_NE(uiValue & 0x20000000U, 0U); // the heartbeat may be switched off
    Check(m_gige->ReadGVCPRegister(0x0954, uiValue));
    Check(m_gige->WriteGVCPRegister(0x0954, uiValue | 1U));
    Check(m_gige->ReadGVCPRegister(0x0954, uiValue));
    EXPECT_NE(uiValue & 1U, 0U);
    GigEConfig config;
    Check(m_gige->GetGigEConfig(config));
    config.enablePacketResend = true;
    Check(m_gige->SetGigEConfig(config));
    Check(m_gige->GetGigEConfig(config));
    EXPECT_TRUE(config.enablePacketResend);
    Check(Cam().StartCapture()); // the multicast address does not lead the frames astray
    Image image;
    Check(Cam().RetrieveBuffer(image));
}

/// Counts at the end what ran on each backend, so that a skip does not hide in a green line.
class BackendCount : public testing::EmptyTestEventListener {
    void OnTestEnd(const testing::TestInfo& test) override
    {
        if (test.value_param() == nullptr)
            return;
        const std::string strName = test.name();
        Counts& counts = m_counts[strName.substr(strName.find('/') + 1)];
        (test.result()->Skipped() ? counts.iSkipped : counts.iRun)++;
        counts.iFailed += test.result()->Failed() ? 1 : 0;
    }
    void OnTestProgramEnd(const testing::UnitTest&) override
    {
        for (const auto& [strBackend, counts] : m_counts)
            std::printf("contract %s: %d run, %d skipped, %d failed\n", strBackend.c_str(), counts.iRun,
                counts.iSkipped, counts.iFailed);
    }
    struct Counts {
        int iRun = 0;
        int iSkipped = 0;
        int iFailed = 0;
    };
    std::map<std::string, Counts> m_counts;
};
[[maybe_unused]] const bool g_bCounting = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new BackendCount);
    return true;
}();

} // namespace

} // namespace vireo
