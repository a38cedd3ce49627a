#include "peers/network_test.h"
#include "platform/iidc/iidc_library.h"
#include "platform/time/real_clock.h"
#include "support/bar_code.h"
#include "support/recorded_log.h"

#include <bit>

namespace vireo {

namespace {

constexpr unsigned int kSerial = 17000042;

/// The IIDC camera on the software USB cable.
class IidcCameraTest : public testing::Test {
protected:
    void SetUp() override { peers::PlugUsb(1, true); }
    std::unique_ptr<Camera> Open()
    {
        unsigned int uiCount = 0;
        EXPECT_TRUE(m_library->GetBusManager().GetNumOfCameras(uiCount).IsOk());
        PGRGuid guid;
        EXPECT_TRUE(m_library->GetBusManager().GetCameraFromSerialNumber(kSerial, guid).IsOk());
        auto camera = m_library->CreateCamera(guid);
        EXPECT_TRUE(camera && camera->Connect(guid).IsOk());
        return camera;
    }
    static void Check(const Error& error)
    {
        ASSERT_TRUE(error.IsOk()) << error.GetTypeNumber() << " " << error.GetDescription();
    }
    static void SetAbsolute(CameraBase& camera, PropertyType eType, float fValue)
    {
        Property property;
        property.type = eType;
        Check(camera.GetProperty(property));
        property.absControl = true;
        property.onOff = true;
        property.autoManualMode = false;
        property.absValue = fValue;
        Check(camera.SetProperty(property));
    }
    static void Configure(Camera& camera, std::uint32_t uiWidth, std::uint32_t uiHeight, float fFps)
    {
        FC2Config config;
        Check(camera.GetConfiguration(config));
        config.grabMode = GrabMode::BufferFrames;
        config.grabTimeout = 2000;
        Check(camera.SetConfiguration(config));
        Check(camera.WriteRegister(0x12F8, 0x80000101));
        SetAbsolute(camera, PropertyType::FrameRate, fFps);
        const Format7ImageSettings settings { 0, 0, 0, uiWidth, uiHeight, PixelFormat::Raw8 };
        bool bValid = false;
        Format7PacketInfo packet;
        Check(camera.ValidateFormat7Settings(settings, bValid, packet));
        ASSERT_TRUE(bValid);
        Check(camera.SetFormat7Configuration(settings, packet.maxBytesPerPacket));
        SetAbsolute(camera, PropertyType::Shutter, 1.0F);
    }

    RealClock m_clock;
    test::RecordedLog m_log;
    std::unique_ptr<CameraLibrary> m_library = MakeIidcLibrary(m_clock, m_log);
};

TEST_F(IidcCameraTest, SaysWhoItIs)
{
    const auto camera = Open();
    CameraInfo info;
    Check(camera->GetCameraInfo(info));
    EXPECT_EQ(info.serialNumber, kSerial);
    EXPECT_EQ(info.modelName, "GS3-U3-23S6C");
    EXPECT_TRUE(info.interfaceType == InterfaceType::Usb3);
    EXPECT_TRUE(info.isColorCamera);
    EXPECT_EQ(info.sensorResolution, "1920x1200");
    EXPECT_NE(info.clockDomain, 0U);
}

TEST_F(IidcCameraTest, FramesFollowEachOtherWithoutALossAndCarryTheCamerasOwnHeader)
{
    const auto camera = Open();
    Configure(*camera, 640, 480, 200.0F);
    Check(camera->StartCapture());
    std::uint32_t uiLastCode = 0;
    std::uint32_t uiLastTime = 0;
    for (int i = 0; i < 200; i++) {
        Image image;
        Check(camera->RetrieveBuffer(image));
        EXPECT_EQ(image.GetPixelFormat(), PixelFormat::Raw8);
        EXPECT_EQ(image.GetBayerTileFormat(), BayerTileFormat::Rggb);
        const auto code = ReadBarCode(image);
        ASSERT_TRUE(code.has_value());
        const std::uint8_t* p = image.GetData();
        const auto uiTime = static_cast<std::uint32_t>(p[0] << 24 | p[1] << 16 | p[2] << 8 | p[3]);
        EXPECT_EQ(p[4] & 0xE0, 0x80); // the pins: line 0 reads 1
        if (i > 0) {
            ASSERT_EQ(*code - uiLastCode, 5000U) << "frame " << i;
            ASSERT_EQ(((uiTime >> 12 & 0x1FFF) + 8000 - (uiLastTime >> 12 & 0x1FFF)) % 8000, 40U); // cycles of 125 us
        }
        uiLastCode = *code;
        uiLastTime = uiTime;
    }
    Check(camera->StopCapture());
    Check(camera->Disconnect());
}

TEST_F(IidcCameraTest, APictureThatCameInPiecesIsDroppedAndCounted)
{
    const auto camera = Open();
    Configure(*camera, 640, 480, 100.0F);
    Check(camera->StartCapture());
    Image image;
    Check(camera->RetrieveBuffer(image));
    peers::TearUsb(1, 2);
    int iDropped = 0;
    for (int i = 0; i < 20; i++) {
        const Error error = camera->RetrieveBuffer(image);
        ASSERT_TRUE(error.IsOk() || error == ErrorType::NothingToDeliver) << error.GetDescription();
        iDropped += error.IsOk() ? 0 : 1;
    }
    EXPECT_EQ(iDropped, 2);
    EXPECT_EQ(camera->GetStreamStatistics().incomplete, 2U);
}

TEST_F(IidcCameraTest, APulledPlugEndsTheStreamWithTheCamerasNumber)
{
    const auto camera = Open();
    Configure(*camera, 640, 480, 100.0F);
    FC2Config config;
    Check(camera->GetConfiguration(config));
    config.grabTimeout = -1;
    Check(camera->SetConfiguration(config));
    Check(camera->StartCapture());
    Image image;
    Check(camera->RetrieveBuffer(image));
    peers::PlugUsb(1, false);
    Error error;
    while (error.IsOk() || error == ErrorType::NothingToDeliver)
        error = camera->RetrieveBuffer(image);
    EXPECT_EQ(error, ErrorType::Disconnected);
    EXPECT_NE(error.GetDescription().find("17000042"), std::string::npos);
    std::uint32_t uiValue = 0;
    EXPECT_EQ(camera->ReadRegister(0x0968, uiValue), ErrorType::Disconnected);
    EXPECT_EQ(camera->StopCapture(), ErrorType::Disconnected);
    EXPECT_TRUE(camera->Disconnect().IsOk());
}

TEST_F(IidcCameraTest, PropertiesKeepTheCamerasUnits)
{
    const auto camera = Open();
    std::uint32_t uiValue = 0;
    SetAbsolute(*camera, PropertyType::Shutter, 2.5F);
    Check(camera->ReadRegister(0x0918, uiValue)); // seconds
    EXPECT_NEAR(std::bit_cast<float>(uiValue), 0.0025F, 1e-6F);
    SetAbsolute(*camera, PropertyType::Gain, 12.0F);
    Check(camera->ReadRegister(0x0928, uiValue));
    EXPECT_EQ(std::bit_cast<float>(uiValue), 12.0F);
    Property balance;
    balance.type = PropertyType::WhiteBalance;
    Check(camera->GetProperty(balance));
    balance.autoManualMode = false;
    balance.valueA = 645;
    balance.valueB = 715;
    Check(camera->SetProperty(balance));
    Check(camera->ReadRegister(0x080C, uiValue));
    EXPECT_EQ(uiValue & 0x00FFFFFFU, 715U << 12 | 645U); // blue, red
}

TEST_F(IidcCameraTest, TriggerAndStrobeAreTheStandardsRegisters)
{
    const auto camera = Open();
    Check(camera->SetTriggerMode({ true, 1, 2, 14, 5 }));
    std::uint32_t uiValue = 0;
    Check(camera->ReadRegister(0x0830, uiValue));
    EXPECT_EQ(uiValue, 0x834E0005U); // present, on, rising, source 2, mode 14
    StrobeControl strobe { 2, true, 1, 1.0F, 2.0F };
    Check(camera->SetStrobe(strobe));
    Check(camera->ReadRegister(0x1508, uiValue));
    EXPECT_EQ(uiValue, 0x83000000U | 1024U << 12 | 2048U);
    StrobeControl read;
    read.source = 2;
    Check(camera->GetStrobe(read));
    EXPECT_EQ(read.delay, 1.0F);
    EXPECT_EQ(read.duration, 2.0F);
    Check(camera->SetTriggerMode({ false, 0, 4, 0, 0 }));
}

TEST_F(IidcCameraTest, AStandardModeNeedsNoSettings)
{
    const auto camera = Open();
    FC2Config config;
    Check(camera->GetConfiguration(config));
    config.grabMode = GrabMode::BufferFrames;
    config.grabTimeout = 2000;
    Check(camera->SetConfiguration(config));
    SetAbsolute(*camera, PropertyType::Shutter, 1.0F);
    Check(camera->SetVideoModeAndFrameRate(VideoMode::Mode640x480Y8, FrameRateCode::Fps60));
    Check(camera->StartCapture());
    Image image;
    Check(camera->RetrieveBuffer(image));
    EXPECT_EQ(image.GetCols(), 640U);
    EXPECT_TRUE(image.GetPixelFormat() == PixelFormat::Mono8);
    const auto first = ReadBarCode(image);
    Check(camera->RetrieveBuffer(image));
    EXPECT_NEAR(*ReadBarCode(image) - *first, 16667, 2);
}

TEST_F(IidcCameraTest, ACameraOfAnotherProgramIsDenied)
{
    unsigned int uiCount = 0;
    Check(m_library->GetBusManager().GetNumOfCameras(uiCount));
    PGRGuid guid;
    Check(m_library->GetBusManager().GetCameraFromSerialNumber(kSerial, guid));
    const auto camera = m_library->CreateCamera(guid);
    ASSERT_NE(camera, nullptr);
    peers::ClaimUsb(1, true);
    const Error error = camera->Connect(guid);
    peers::ClaimUsb(1, false);
    EXPECT_EQ(error, ErrorType::AccessDenied);
    EXPECT_EQ(error.GetDescription(), "camera 17000042: another program controls it");
    EXPECT_FALSE(camera->IsConnected());
    Check(camera->Connect(guid));
}

} // namespace

} // namespace vireo
