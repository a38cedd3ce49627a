#include "camera_contract.h"

#include <bit>
#include <cmath>

// The other half of what camera_library.h promises: registers, properties, trigger, strobe and image settings.

namespace vireo {

namespace {

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
        const char* pName;
        const char* pUnit;
    } kRows[] = { { PropertyType::FrameRate, 60.0F, "frame rate", " fps" },
        { PropertyType::Shutter, 2.0F, "shutter", " ms" }, { PropertyType::Gain, 6.0F, "gain", " dB" } };
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
            const Error error = Cam().SetProperty(property);
            EXPECT_EQ(error, ErrorType::InvalidParameter) << fBad;
            if (error.HasDescription()) { // a simulated camera says nothing
                EXPECT_NE(error.GetDescription().find(row.pName), std::string::npos) << error.GetDescription();
                EXPECT_TRUE(error.GetDescription().ends_with(row.pUnit)) << error.GetDescription();
            }
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

TEST_P(CameraContract, ARateThatTheShutterForbidsComesWithTheShutterThatAllowsIt)
{
    Open();
    SetAbsolute(PropertyType::FrameRate, 5.0F);
    SetAbsolute(PropertyType::Shutter, 100.0F); // as another program may have left it
    SetAbsolute(PropertyType::FrameRate, 220.0F);
    SetAbsolute(PropertyType::Shutter, 1.0F);
    Property property;
    property.type = PropertyType::FrameRate;
    Check(Cam().GetProperty(property));
    EXPECT_NEAR(property.absValue, 220.0F, 0.5F);
}

TEST_P(CameraContract, AShutterLongerThanThePeriodIsShortenedAndTheRateHolds)
{
    Open();
    SetAbsolute(PropertyType::Shutter, 25.0F);
    Property property;
    property.type = PropertyType::FrameRate;
    Check(Cam().GetProperty(property));
    EXPECT_NEAR(property.absValue, 100.0F, 0.1F);
    property.type = PropertyType::Shutter;
    Check(Cam().GetProperty(property));
    EXPECT_LE(property.absValue, 10.01F);
    EXPECT_GE(property.absValue, 9.0F);
    Check(Cam().StartCapture());
    Image image;
    Check(Cam().RetrieveBuffer(image));
    const auto first = ReadBarCode(image);
    Check(Cam().RetrieveBuffer(image));
    const auto second = ReadBarCode(image);
    ASSERT_TRUE(first && second);
    EXPECT_EQ(*second - *first, 10000U);
}

TEST_P(CameraContract, AStandardModeHoldsACameraToItsRateThatRanOnItsOwn)
{
    Open();
    if (m_gige)
        return; // it has no standard modes
    Property property;
    property.type = PropertyType::FrameRate;
    Check(Cam().GetProperty(property));
    property.autoManualMode = true;
    Check(Cam().SetProperty(property));
    Check(m_usb->SetVideoModeAndFrameRate(VideoMode::Mode640x480Y8, FrameRateCode::Fps60));
    Check(Cam().StartCapture());
    Image image;
    Check(Cam().RetrieveBuffer(image));
    const auto first = ReadBarCode(image);
    Check(Cam().RetrieveBuffer(image));
    const auto second = ReadBarCode(image);
    ASSERT_TRUE(first && second);
    EXPECT_NEAR(*second - *first, 16667, 100);
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
    bool bPlain = false; // some models are always set to mode 2, which then has all pixels
    Format7Info plain;
    plain.mode = 2;
    if (m_gige)
        Check(m_gige->QueryGigEImagingMode(2, bPlain));
    else
        Check(m_usb->GetFormat7Info(plain, bPlain));
    if (m_gige)
        EXPECT_EQ(m_gige->SetGigEImagingMode(2), bPlain ? ErrorType::Ok : ErrorType::NotSupported);
    else
        EXPECT_TRUE(!bPlain || (plain.maxWidth >= 1280 && plain.maxHeight >= 960)) << plain.maxWidth;
    if (m_gige) {
        EXPECT_EQ(m_gige->SetGigEImagingMode(7), ErrorType::NotSupported);
        Check(m_gige->SetGigEImagingMode(1));
        Check(m_gige->SetGigEImagingMode(0));
    }
}

TEST_P(CameraContract, AnImageModeThatWasLeftBehindNarrowsNoOther)
{
    Open();
    Format7PacketInfo packet;
    bool bValid = false;
    const Format7ImageSettings binned { 1, 0, 0, 640, 480, PixelFormat::Raw8 };
    if (m_gige) {
        Check(m_gige->SetGigEImagingMode(1));
        Check(SetImage(0, 0, 640, 480));
    } else {
        Check(m_usb->ValidateFormat7Settings(binned, bValid, packet));
        ASSERT_TRUE(bValid);
        Check(m_usb->SetFormat7Configuration(binned, packet.maxBytesPerPacket));
    }
    Check(Cam().Disconnect());
    Check(Cam().Connect(m_guid));
    if (m_gige) {
        Check(m_gige->SetGigEImagingMode(0));
    } else {
        Check(m_usb->ValidateFormat7Settings({ 0, 0, 0, 1280, 960, PixelFormat::Raw8 }, bValid, packet));
        EXPECT_TRUE(bValid);
    }
    Check(SetImage(0, 0, 1280, 960));
}

TEST_P(GigECameraContract, ThereAreChannelsAndPackets)
{
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

} // namespace

} // namespace vireo
