#include "peers/network_test.h"
#include "platform/genicam/genicam_library.h"
#include "platform/time/real_clock.h"
#include "support/bar_code.h"
#include "support/recorded_log.h"

namespace vireo {

namespace {

constexpr unsigned int kSerial = 17000001;

/// The USB3 Vision camera on the software USB cable.
class UsbCameraTest : public peers::NetworkTest {
protected:
    void SetUp() override
    {
        NetworkTest::SetUp();
        peers::PlugUsb(0, true);
    }
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
        property.autoManualMode = false;
        property.absValue = fValue;
        Check(camera.SetProperty(property));
    }
    static void Configure(Camera& camera, float fFps)
    {
        FC2Config config;
        Check(camera.GetConfiguration(config));
        config.grabMode = GrabMode::BufferFrames;
        config.grabTimeout = 2000;
        Check(camera.SetConfiguration(config));
        Check(camera.WriteRegister(0x12F8, 0x80000101));
        SetAbsolute(camera, PropertyType::FrameRate, fFps);
        const Format7ImageSettings settings { 0, 640, 360, 640, 480, PixelFormat::Raw8 };
        bool bValid = false;
        Format7PacketInfo packet;
        Check(camera.ValidateFormat7Settings(settings, bValid, packet));
        ASSERT_TRUE(bValid);
        Check(camera.SetFormat7Configuration(settings, packet.maxBytesPerPacket));
        SetAbsolute(camera, PropertyType::Shutter, 1.0F);
    }

    RealClock m_clock;
    test::RecordedLog m_log;
    std::unique_ptr<CameraLibrary> m_library = MakeGenicamLibrary(m_clock, m_log, {});
};

TEST_F(UsbCameraTest, SaysWhoItIs)
{
    const auto camera = Open();
    CameraInfo info;
    Check(camera->GetCameraInfo(info));
    EXPECT_EQ(info.serialNumber, kSerial);
    EXPECT_EQ(info.modelName, "GS3-U3-23S6M");
    EXPECT_TRUE(info.interfaceType == InterfaceType::Usb3);
    EXPECT_FALSE(info.isColorCamera);
    EXPECT_EQ(info.sensorResolution, "1920x1200");
}

TEST_F(UsbCameraTest, FramesFollowEachOtherWithoutALoss)
{
    const auto camera = Open();
    Configure(*camera, 200.0F);
    Check(camera->StartCapture());
    std::uint32_t uiLast = 0;
    for (int i = 0; i < 200; i++) {
        Image image;
        Check(camera->RetrieveBuffer(image));
        const auto code = ReadBarCode(image);
        ASSERT_TRUE(code.has_value());
        ASSERT_TRUE(i == 0 || *code - uiLast == 5000U) << "frame " << i << " after " << *code - uiLast << " us";
        uiLast = *code;
    }
    Check(camera->StopCapture());
    Check(camera->Disconnect());
}

TEST_F(UsbCameraTest, APictureThatCameInPiecesIsDroppedAndCounted)
{
    const auto camera = Open();
    Configure(*camera, 100.0F);
    Check(camera->StartCapture());
    Image image;
    Check(camera->RetrieveBuffer(image));
    peers::TearUsb(0, 1);
    int iDropped = 0;
    for (int i = 0; i < 20; i++) {
        const Error error = camera->RetrieveBuffer(image);
        ASSERT_TRUE(error.IsOk() || error == ErrorType::NothingToDeliver) << error.GetDescription();
        iDropped += error.IsOk() ? 0 : 1;
    }
    EXPECT_EQ(iDropped, 1);
    EXPECT_EQ(camera->GetStreamStatistics().incomplete, 1U);
}

TEST_F(UsbCameraTest, APulledPlugEndsTheStreamWithTheCamerasNumber)
{
    const auto camera = Open();
    Configure(*camera, 100.0F);
    Check(camera->StartCapture());
    Image image;
    Check(camera->RetrieveBuffer(image));
    peers::PlugUsb(0, false);
    Error error;
    while (error.IsOk())
        error = camera->RetrieveBuffer(image);
    EXPECT_EQ(error, ErrorType::Disconnected);
    EXPECT_NE(error.GetDescription().find("17000001"), std::string::npos);
    std::uint32_t uiValue = 0;
    EXPECT_EQ(camera->ReadRegister(0x0968, uiValue), ErrorType::Disconnected);
    EXPECT_EQ(camera->StopCapture(), ErrorType::Disconnected);
    EXPECT_TRUE(camera->Disconnect().IsOk());
}

TEST_F(UsbCameraTest, ACameraOfAnotherProgramIsDenied)
{
    unsigned int uiCount = 0;
    Check(m_library->GetBusManager().GetNumOfCameras(uiCount));
    PGRGuid guid;
    Check(m_library->GetBusManager().GetCameraFromSerialNumber(kSerial, guid));
    const auto camera = m_library->CreateCamera(guid);
    ASSERT_NE(camera, nullptr);
    peers::ClaimUsb(0, true);
    const Error error = camera->Connect(guid);
    peers::ClaimUsb(0, false);
    EXPECT_EQ(error, ErrorType::AccessDenied);
    EXPECT_EQ(error.GetDescription(), "camera 17000001: another program controls it");
    EXPECT_FALSE(camera->IsConnected());
    Check(camera->Connect(guid));
}

} // namespace

} // namespace vireo
