#include "platform/iidc/iidc_library.h"
#include "usb_fixture.h"

#include <atomic>
#include <bit>

namespace vireo {

namespace {

constexpr unsigned int kSerial = 17000042;

/// The IIDC camera on the software USB cable.
class IidcCameraTest : public UsbTest {
protected:
    IidcCameraTest()
        : UsbTest(MakeIidcLibrary, 1, kSerial)
    {
    }
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
    Configure(*camera, 200.0F);
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

TEST_F(IidcCameraTest, APictureThatCameInPiecesIsDroppedAndCounted) { TornPicturesAreDroppedAndCounted(2); }

TEST_F(IidcCameraTest, APulledPlugIsToldAndTheCameraIsUsableWhenItIsBack)
{
    APulledPlugIsToldAndTheCameraIsUsableWhenItIsBack();
}

TEST_F(IidcCameraTest, ACameraThatHoldsOnToEveryRequestHoldsNobodyUp)
{
    const auto camera = Open();
    Configure(*camera, 100.0F, -1);
    Check(camera->StartCapture());
    Image image;
    Check(camera->RetrieveBuffer(image));
    peers::HangUsb(1, true);
    auto rest = std::async(std::launch::async, [&] { // as the program stops, before anybody has noticed a silence
        camera->CancelRetrieve();
        const Error error = camera->StopCapture();
        EXPECT_EQ(error, ErrorType::Disconnected);
        EXPECT_EQ(error.GetDescription(), "camera 17000042: it does not answer");
        TriggerMode trigger;
        EXPECT_EQ(camera->GetTriggerMode(trigger), ErrorType::Disconnected);
        EXPECT_TRUE(camera->Disconnect().IsOk());
    });
    EXPECT_TRUE(rest.wait_for(kNoLonger) == std::future_status::ready);
    peers::HangUsb(1, false);
    rest.wait();
    Check(camera->Connect(Find())); // what was left in the background has let go of it
}

TEST_F(IidcCameraTest, ARequestWithoutAnAnswerEndsNoStreamThatFlows)
{
    const auto camera = Open();
    Configure(*camera, 100.0F);
    Check(camera->StartCapture());
    std::atomic<bool> bEnough = false;
    auto grab = std::async(std::launch::async, [&] {
        std::uint32_t uiLast = 0;
        for (int i = 0; !bEnough; i++) {
            Image image;
            Check(camera->RetrieveBuffer(image));
            const auto code = ReadBarCode(image);
            ASSERT_TRUE(code && (i == 0 || *code - uiLast == 10000U)) << "frame " << i;
            uiLast = *code;
        }
    });
    peers::MuteUsb(1, true);
    std::uint32_t uiValue = 0;
    const Error error = camera->ReadRegister(0x0968, uiValue);
    EXPECT_EQ(error, ErrorType::TransportFailed);
    EXPECT_EQ(error.GetDescription(), "camera 17000042: it did not answer in time");
    peers::MuteUsb(1, false);
    Check(camera->ReadRegister(0x0968, uiValue));
    bEnough = true;
    grab.wait();
    Check(camera->StopCapture());
}

TEST_F(IidcCameraTest, ACameraThatNeitherAnswersNorSendsIsGivenUp)
{
    const auto camera = Open();
    Configure(*camera, 100.0F, -1);
    Check(camera->SetTriggerMode({ true, 1, 2, 0, 0 }));
    Check(camera->StartCapture());
    peers::MuteUsb(1, true);
    auto grab = std::async(std::launch::async, [&] {
        Image image;
        EXPECT_EQ(camera->RetrieveBuffer(image), ErrorType::Disconnected);
    });
    EXPECT_TRUE(grab.wait_for(kNoLonger) == std::future_status::ready);
    peers::MuteUsb(1, false);
    grab.wait();
    peers::PlugUsb(1, false); // the trigger goes with the power
}

TEST_F(IidcCameraTest, FramesThatArrivedBeforeTheCameraWentAreStillDelivered)
{
    const auto camera = Open();
    Configure(*camera, 100.0F);
    Check(camera->StartCapture());
    Image image;
    Check(camera->RetrieveBuffer(image));
    std::uint32_t uiLast = *ReadBarCode(image);
    m_clock.SleepUntil(image.GetArrivalTime() + 200 * kNsPerMs); // some twenty frames come meanwhile
    peers::PlugUsb(1, false);
    Error error = ErrorType::TransportFailed; // as long as the last frame is young
    for (std::uint32_t uiValue = 0; error == ErrorType::TransportFailed;)
        error = camera->ReadRegister(0x0968, uiValue);
    EXPECT_EQ(error, ErrorType::Disconnected);
    int iFrames = 0;
    for (error = camera->RetrieveBuffer(image); error.IsOk(); error = camera->RetrieveBuffer(image)) {
        EXPECT_EQ(*ReadBarCode(image) - uiLast, 10000U);
        uiLast = *ReadBarCode(image);
        iFrames++;
    }
    EXPECT_EQ(error, ErrorType::Disconnected);
    EXPECT_GE(iFrames, 5);
    EXPECT_EQ(camera->GetStreamStatistics().incomplete, 0U); // what the pulled plug broke off was none
}

TEST_F(IidcCameraTest, ACameraThatGoesSilentWhileItIsOpenedHoldsNobodyUp)
{
    const PGRGuid guid = Find();
    const auto camera = m_library->CreateCamera(guid);
    peers::HangUsb(1, true);
    auto opening = std::async(std::launch::async, [&] {
        const Error error = camera->Connect(guid);
        EXPECT_EQ(error, ErrorType::NotFound);
        EXPECT_EQ(error.GetDescription(), "camera 17000042: it does not answer");
    });
    EXPECT_TRUE(opening.wait_for(kNoLonger) == std::future_status::ready);
    peers::HangUsb(1, false);
    opening.wait();
    Check(camera->Connect(Find()));
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

TEST_F(IidcCameraTest, AShutterIsAsLongAsTheRateAllows)
{
    const auto camera = Open();
    Configure(*camera, 200.0F);
    const struct {
        PropertyType eType;
        float fAsked;
        float fShutter; ///< ms
        float fRate; ///< fps
    } kRows[] = {
        { PropertyType::Shutter, 20.0F, 5.0F, 200.0F }, // the rate goes before
        { PropertyType::FrameRate, 100.0F, 10.0F, 100.0F },
        { PropertyType::FrameRate, 400.0F, 2.5F, 400.0F },
        { PropertyType::FrameRate, 10.0F, 20.0F, 10.0F }, // there is room for all of it
        { PropertyType::FrameRate, 1000.0F, 2.4F, 416.7F }, // the image takes that long
        { PropertyType::Shutter, 1.0F, 1.0F, 416.7F },
        { PropertyType::FrameRate, 5.0F, 1.0F, 5.0F },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.fAsked);
        SetAbsolute(*camera, row.eType, row.fAsked);
        Property property;
        property.type = PropertyType::Shutter;
        Check(camera->GetProperty(property));
        EXPECT_NEAR(property.absValue, row.fShutter, 0.01F);
        property.type = PropertyType::FrameRate;
        Check(camera->GetProperty(property));
        EXPECT_NEAR(property.absValue, row.fRate, 0.1F);
    }
}

TEST_F(IidcCameraTest, AShutterIsNoLongerThanAStandardModeAllows)
{
    const auto camera = Open();
    Configure(*camera, 10.0F);
    SetAbsolute(*camera, PropertyType::Shutter, 50.0F);
    Check(camera->SetVideoModeAndFrameRate(VideoMode::Mode640x480Y8, FrameRateCode::Fps60));
    Check(camera->StartCapture());
    Image image;
    Check(camera->RetrieveBuffer(image));
    const auto first = ReadBarCode(image);
    Check(camera->RetrieveBuffer(image));
    EXPECT_NEAR(*ReadBarCode(image) - *first, 16667, 2);
}

TEST_F(IidcCameraTest, ARateThatTheCameraCannotReachIsToldOnce)
{
    const auto camera = Open();
    Configure(*camera, 200.0F);
    const Format7ImageSettings whole { 0, 0, 0, 1920, 1200, PixelFormat::Raw8 };
    bool bValid = false;
    Format7PacketInfo packet;
    Check(camera->ValidateFormat7Settings(whole, bValid, packet));
    Check(camera->SetFormat7Configuration(whole, packet.maxBytesPerPacket));
    const auto run = [&] {
        Check(camera->StartCapture());
        Check(camera->StopCapture());
    };
    run();
    run();
    EXPECT_EQ(m_log.Count(" fps"), 1U);
    EXPECT_TRUE(m_log.Contains("camera 17000042: 166.7 of 200 fps"));
    SetAbsolute(*camera, PropertyType::FrameRate, 150.0F);
    run();
    EXPECT_EQ(m_log.Count(" fps"), 1U);
    SetAbsolute(*camera, PropertyType::FrameRate, 200.0F);
    Check(camera->SetTriggerMode({ true, 1, 2, 0, 0 }));
    run(); // it has no rate of its own
    EXPECT_EQ(m_log.Count(" fps"), 1U);
    Check(camera->SetTriggerMode({ false, 0, 4, 0, 0 }));
    run();
    EXPECT_EQ(m_log.Count("166.7 of 200 fps"), 2U);
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

TEST_F(IidcCameraTest, ACameraThatWasLeftSendingIsStoppedWhenItIsOpened)
{
    constexpr std::uint32_t kSending = 0x0614;
    const auto camera = Open();
    Configure(*camera, 100.0F);
    Check(camera->WriteRegister(kSending, 0x80000000)); // closed as a killed program leaves it
    Check(camera->Disconnect());
    Check(camera->Connect(Find()));
    std::uint32_t uiValue = 0x80000000;
    Check(camera->ReadRegister(kSending, uiValue));
    EXPECT_EQ(uiValue & 0x80000000U, 0U);
}

TEST_F(IidcCameraTest, AStandardModeNeedsNoSettings)
{
    const auto camera = Open();
    PrepareFetching(*camera, 2000);
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

TEST_F(IidcCameraTest, ACameraOfAnotherProgramIsDenied) { ACameraOfAnotherProgramIsDenied(); }

TEST_F(IidcCameraTest, WithoutAThreadACameraIsRefusedWithTheReason) { WithoutAThreadACameraIsRefusedWithTheReason(); }

} // namespace

} // namespace vireo
