#include "platform/genicam/genicam_library.h"
#include "usb_fixture.h"

namespace vireo {

namespace {

constexpr unsigned int kSerial = 17000001;

/// The USB3 Vision camera on the software USB cable.
class UsbCameraTest : public UsbTest {
protected:
    UsbCameraTest()
        : UsbTest([](Clock& clock, Log& log) { return MakeGenicamLibrary(clock, log, {}); }, 0, kSerial)
    {
    }
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

TEST_F(UsbCameraTest, APictureThatCameInPiecesIsDroppedAndCounted) { TornPicturesAreDroppedAndCounted(1); }

TEST_F(UsbCameraTest, APulledPlugIsToldAndTheCameraIsUsableWhenItIsBack)
{
    APulledPlugIsToldAndTheCameraIsUsableWhenItIsBack();
}

TEST_F(UsbCameraTest, ACameraOfAnotherProgramIsDenied) { ACameraOfAnotherProgramIsDenied(); }

TEST_F(UsbCameraTest, WithoutAThreadACameraIsRefusedWithTheReason) { WithoutAThreadACameraIsRefusedWithTheReason(); }

} // namespace

} // namespace vireo
