#include "gige_fixture.h"

// What a camera is set to, whatever its maker calls it.

namespace vireo {

namespace {

// Registers of the software camera, looked at behind the backend's back.
constexpr std::uint32_t kPeerLineSource2 = 0xA238, kPeerTriggerSource = 0xA144, kPeerExposure = 0xA11C,
                        kPeerGain = 0xA180, kPeerGainRaw = 0xA188, kPeerGainSelector = 0xA19C, kPeerChunks = 0xA304,
                        kPeerGainAvailable = 0xA1A0, kPeerFrameRateEnable = 0xA10C, kPeerFrameRate = 0xA110,
                        kPeerBinning = 0xA014, kPeerExposureRaw = 0xA120, kPeerBalanceRed = 0xA190,
                        kPeerOffsetX = 0xA008, kPeerOffsetY = 0xA00C, kPeerExposureMode = 0xA128,
                        kPeerFrameRateAuto = 0xA124, kPeerAcquisitionTrigger = 0xA158, kPeerBalanceRaw = 0xA1A4,
                        kPeerStrobeDelay2 = 0xA278, kPeerStrobeDuration2 = 0xA288, kPeerStrobeEnable2 = 0xA298;

TEST_F(GigeCameraTest, ARawExposureIsConvertedAsItsDescriptionSaysAndSetInItsSteps)
{
    const auto camera = StartAndOpen("GS3-PGE-23S6M", "raw");
    ASSERT_NE(camera, nullptr);
    const struct {
        float fAskedMs;
        std::uint32_t uiRaw; ///< 20 us each, five at a time
        float fSetMs;
    } kRows[] = { { 2.5F, 125, 2.5F }, { 2.0F, 100, 2.0F }, { 2.54F, 125, 2.5F }, { 2.56F, 130, 2.6F },
        { 0.05F, 5, 0.1F }, { 1000.0F, 50000, 1000.0F } };
    PropertyInfo info;
    info.type = PropertyType::Shutter;
    Check(camera->GetPropertyInfo(info));
    EXPECT_FLOAT_EQ(info.absMin, 0.1F);
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.fAskedMs);
        Property property;
        property.type = PropertyType::Shutter;
        Check(camera->GetProperty(property));
        property.absControl = true;
        property.autoManualMode = false;
        property.absValue = row.fAskedMs;
        const Error error = camera->SetProperty(property);
        if (row.fAskedMs < info.absMin) {
            EXPECT_EQ(error, ErrorType::InvalidParameter);
            continue;
        }
        Check(error);
        EXPECT_EQ(Peer(*camera, kPeerExposureRaw), row.uiRaw);
        Check(camera->GetProperty(property));
        EXPECT_FLOAT_EQ(property.absValue, row.fSetMs);
    }
}

TEST_F(GigeCameraTest, AShutterIsAsLongAsTheFramesAllow)
{
    const struct {
        const char* pDialect;
        std::uint32_t uiWidth, uiHeight;
        float fRate;
        float fShutterMs;
        float fSetRate;
        float fSetShutterMs;
    } kRows[] = {
        { "modern", 640, 480, 400.0F, 4.0F, 400.0F, 2.5F }, { "modern", 640, 480, 400.0F, 2.0F, 400.0F, 2.0F },
        { "modern", 640, 480, 100.0F, 4.0F, 100.0F, 4.0F },
        { "modern", 1920, 1200, 400.0F, 20.0F, 166.67F, 6.0F }, // the image takes so long
        { "modern", 1920, 1200, 400.0F, 1.0F, 166.67F, 1.0F },
        { "raw", 640, 480, 280.0F, 4.0F, 280.0F, 3.5F }, // 3.6 ms is its nearest step
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.fRate);
        SCOPED_TRACE(row.fShutterMs);
        const auto camera = StartAndOpen("GS3-PGE-23S6M", row.pDialect);
        ASSERT_NE(camera, nullptr);
        Configure(*camera, row.uiWidth, row.uiHeight, row.fRate);
        SetAbsolute(*camera, PropertyType::Shutter, row.fShutterMs);
        Property property;
        property.type = PropertyType::FrameRate;
        Check(camera->GetProperty(property));
        EXPECT_NEAR(property.absValue, row.fSetRate, 0.01F);
        property.type = PropertyType::Shutter;
        Check(camera->GetProperty(property));
        EXPECT_NEAR(property.absValue, row.fSetShutterMs, 0.001F);
    }
}

TEST_F(GigeCameraTest, TheShutterFollowsTheRateUpToWhatWasAskedFor)
{
    const auto camera = StartAndOpen("GS3-PGE-23S6M", "modern");
    ASSERT_NE(camera, nullptr);
    Configure(*camera, 640, 480, 400.0F);
    SetAbsolute(*camera, PropertyType::Shutter, 8.0F);
    EXPECT_FLOAT_EQ(PeerFloat(*camera, kPeerExposure), 2500.0F);
    SetAbsolute(*camera, PropertyType::FrameRate, 200.0F);
    EXPECT_FLOAT_EQ(PeerFloat(*camera, kPeerExposure), 5000.0F);
    SetAbsolute(*camera, PropertyType::FrameRate, 50.0F);
    EXPECT_FLOAT_EQ(PeerFloat(*camera, kPeerExposure), 8000.0F);
    Property automatic;
    automatic.type = PropertyType::Shutter;
    automatic.autoManualMode = true;
    Check(camera->SetProperty(automatic)); // the camera's own choice is left alone
    SetAbsolute(*camera, PropertyType::FrameRate, 100.0F);
    EXPECT_FLOAT_EQ(PeerFloat(*camera, kPeerExposure), 8000.0F);
}

TEST_F(GigeCameraTest, ARateBelowTheOneAskedForIsTold)
{
    const auto camera = StartAndOpen("GS3-PGE-23S6M", "modern");
    ASSERT_NE(camera, nullptr);
    Configure(*camera, 1920, 1200, 400.0F);
    for (int i = 0; i < 3; i++) {
        Check(camera->StartCapture());
        Check(camera->StopCapture());
    }
    EXPECT_EQ(m_log.Count("camera 15000007: 166.7 of 400 fps"), 1U); // and not at every start
    Configure(*camera, 640, 480, 400.0F);
    Check(camera->StartCapture());
    Check(camera->StopCapture());
    EXPECT_EQ(m_log.Count("of 400 fps"), 1U);
}

TEST_F(GigeCameraTest, AnArmedCameraKeepsItsRateForLater)
{
    const auto camera = StartAndOpen("GS3-PGE-23S6M", "modern");
    ASSERT_NE(camera, nullptr);
    Configure(*camera, 640, 480, 400.0F);
    Arm(*camera, 1);
    SetAbsolute(*camera, PropertyType::Shutter, 4.0F);
    EXPECT_FLOAT_EQ(PeerFloat(*camera, kPeerExposure), 2500.0F);
    SetAbsolute(*camera, PropertyType::Shutter, 2.0F);
    SetAbsolute(*camera, PropertyType::FrameRate, 200.0F); // this camera takes none just now
    Check(camera->StartCapture());
    Check(camera->StopCapture());
    EXPECT_FLOAT_EQ(PeerFloat(*camera, kPeerFrameRate), 400.0F);
    Check(camera->SetTriggerMode({ false, 0, 4, 0, 0 }));
    EXPECT_FLOAT_EQ(PeerFloat(*camera, kPeerFrameRate), 200.0F);
    EXPECT_FALSE(m_log.Contains(" fps"));
}

TEST_F(GigeCameraTest, ARawExposureThatSaysNoUnitIsNotGuessed)
{
    const auto camera = StartAndOpen("GS3-PGE-23S6M", "unitless");
    ASSERT_NE(camera, nullptr);
    Property property;
    property.type = PropertyType::Shutter;
    const Error error = camera->GetProperty(property);
    EXPECT_EQ(error, ErrorType::NotSupported);
    EXPECT_EQ(error.GetDescription(), "camera 15000007: ExposureTimeRaw does not say what it counts");
}

TEST_F(GigeCameraTest, PropertiesAreConvertedToTheCamerasUnits)
{
    const auto camera = StartAndOpen("GS3-PGE-23S6C", "modern");
    ASSERT_NE(camera, nullptr);
    SetAbsolute(*camera, PropertyType::Shutter, 2.5F);
    EXPECT_EQ(PeerFloat(*camera, kPeerExposure), 2500.0F); // us
    SetAbsolute(*camera, PropertyType::Gain, 12.0F);
    EXPECT_EQ(PeerFloat(*camera, kPeerGain), 12.0F);
    Property tooMuch;
    tooMuch.type = PropertyType::Gain;
    tooMuch.absControl = true;
    tooMuch.absValue = 99.0F;
    EXPECT_EQ(camera->SetProperty(tooMuch), ErrorType::InvalidParameter);
    EXPECT_TRUE(m_log.Contains("camera 15000007: gain 99 dB lies outside 0 to 29 dB"));
    EXPECT_EQ(PeerFloat(*camera, kPeerGain), 12.0F);
    Property balance;
    balance.type = PropertyType::WhiteBalance;
    Check(camera->GetProperty(balance));
    EXPECT_TRUE(balance.present);
    balance.autoManualMode = false;
    balance.valueA = 1023;
    balance.valueB = 0;
    Check(camera->SetProperty(balance));
    EXPECT_EQ(PeerFloat(*camera, kPeerBalanceRed), 4.0F); // the raw scale spans the camera's
    EXPECT_EQ(PeerFloat(*camera, kPeerBalanceRed + 4), 0.0F);
}

TEST_F(GigeCameraTest, OtherNamesForTheSameFeaturesWorkAsWell)
{
    const auto camera = StartAndOpen("GS3-PGE-23S6C", "older");
    ASSERT_NE(camera, nullptr);
    Configure(*camera, 640, 480, 300.0F);
    SetAbsolute(*camera, PropertyType::Gain, 12.5F);
    EXPECT_EQ(Peer(*camera, kPeerGainRaw), 125U); // tenths
    EXPECT_EQ(PeerFloat(*camera, kPeerExposure), 1000.0F);
    bool bSupported = false;
    Check(camera->QueryGigEImagingMode(1, bSupported));
    EXPECT_TRUE(bSupported);
    Check(camera->SetGigEImagingMode(1));
    EXPECT_EQ(Peer(*camera, kPeerBinning), 2U);
    GigEImageSettingsInfo info;
    Check(camera->GetGigEImageSettingsInfo(info));
    EXPECT_EQ(info.maxWidth, 960U);
    Check(camera->QueryGigEImagingMode(2, bSupported)); // what some models are always set to
    EXPECT_TRUE(bSupported);
    Check(camera->SetGigEImagingMode(2));
    EXPECT_EQ(Peer(*camera, kPeerBinning), 1U);
    Check(camera->GetGigEImageSettingsInfo(info));
    EXPECT_EQ(info.maxWidth, 1920U);
    Check(camera->SetGigEImagingMode(0));
    StrobeInfo strobe { 2, true, true };
    Check(camera->GetStrobeInfo(strobe));
    EXPECT_FALSE(strobe.present);
    std::uint32_t uiValue = 0;
    Check(camera->WriteRegister(0x11F8, 0x20000000)); // no lines: kept, and nothing else
    Check(camera->ReadRegister(0x11F8, uiValue));
    EXPECT_EQ(uiValue, 0x20000000U);
    Check(camera->StartCapture());
    const std::vector<std::uint32_t> codes = Codes(*camera, 20);
    EXPECT_NEAR(codes[19] - codes[0], 19 * 3333, 40);
}

TEST_F(GigeCameraTest, WhatAnotherProgramLeftBehindIsPutRight)
{
    const auto camera = StartAndOpen("GS3-PGE-23S6M", "modern");
    ASSERT_NE(camera, nullptr);
    EXPECT_EQ(Peer(*camera, kPeerGainSelector), 0U); // another gain than the one of the picture
    EXPECT_EQ(Peer(*camera, kPeerChunks), 1U);
    SetAbsolute(*camera, PropertyType::Gain, 6.0F);
    EXPECT_EQ(Peer(*camera, kPeerGainSelector), 1U);
    Configure(*camera, 640, 480, 100.0F);
    Check(camera->StartCapture());
    EXPECT_EQ(Peer(*camera, kPeerChunks), 0U);
}

TEST_F(GigeCameraTest, AFeatureThatCouldNotBeAskedForIsNotMissingForGood)
{
    const auto camera = StartAndOpen("GS3-PGE-23S6M", "modern");
    ASSERT_NE(camera, nullptr);
    Property gain;
    gain.type = PropertyType::Gain;
    gain.absControl = true;
    gain.absValue = 6.0F;
    Check(camera->WriteGVCPRegister(kPeerGainAvailable, 2)); // the question fails
    const Error unanswered = camera->SetProperty(gain);
    EXPECT_EQ(unanswered, ErrorType::PropertyFailed) << unanswered.GetDescription();
    EXPECT_NE(unanswered.GetDescription().find("camera 15000007: Gain: "), std::string::npos);
    Check(camera->WriteGVCPRegister(kPeerGainAvailable, 0));
    EXPECT_EQ(camera->SetProperty(gain).GetDescription(), "camera 15000007: lacks Gain");
    Check(camera->WriteGVCPRegister(kPeerGainAvailable, 1));
    Check(camera->SetProperty(gain));
    EXPECT_EQ(PeerFloat(*camera, kPeerGain), 6.0F);
}

TEST_F(GigeCameraTest, AMissingFeatureIsNamedWithItsCamera)
{
    const auto camera = StartAndOpen("GS3-PGE-23S6M", "bare");
    ASSERT_NE(camera, nullptr);
    Property property;
    property.type = PropertyType::FrameRate;
    Check(camera->GetProperty(property));
    EXPECT_FALSE(property.present);
    property.absControl = true;
    property.absValue = 30.0F;
    Error error = camera->SetProperty(property);
    EXPECT_EQ(error, ErrorType::NotSupported);
    EXPECT_EQ(error.GetDescription(), "camera 15000007: lacks AcquisitionFrameRate");
    property.type = PropertyType::Shutter;
    EXPECT_EQ(camera->SetProperty(property).GetDescription(), "camera 15000007: lacks ExposureTime");
    EXPECT_TRUE(m_log.Contains("camera 15000007: lacks ExposureTime"));
    property.type = PropertyType::Gain;
    EXPECT_EQ(camera->SetProperty(property).GetDescription(), "camera 15000007: lacks Gain");
    error = camera->SetTriggerMode({ true, 0, 2, 0, 0 });
    EXPECT_EQ(error.GetDescription(), "camera 15000007: lacks TriggerMode");
    Check(camera->SetTriggerMode({ false, 0, 4, 0, 0 })); // what it cannot, it does not do either
    Check(camera->SetGigEImageSettings({ 0, 0, 640, 480, PixelFormat::Mono8 }));
    Check(camera->StartCapture());
    Image image;
    Check(camera->RetrieveBuffer(image));
}

TEST_F(GigeCameraTest, TheNamesThatFewGiveWorkAsWell)
{
    const auto camera = StartAndOpen("GS3-PGE-23S6C", "rare");
    ASSERT_NE(camera, nullptr);
    EXPECT_EQ(Peer(*camera, kPeerExposureMode), 1U); // as another program may have left it
    EXPECT_EQ(Peer(*camera, kPeerAcquisitionTrigger), 1U);
    Configure(*camera, 640, 480, 300.0F);
    EXPECT_EQ(Peer(*camera, kPeerExposureMode), 0U);
    EXPECT_EQ(PeerFloat(*camera, kPeerExposure), 1000.0F);
    SetAbsolute(*camera, PropertyType::Gain, 12.5F);
    EXPECT_EQ(PeerFloat(*camera, kPeerGain), 12.5F);
    Property balance;
    balance.type = PropertyType::WhiteBalance;
    balance.valueA = 1023;
    balance.valueB = 512;
    Check(camera->SetProperty(balance));
    EXPECT_EQ(Peer(*camera, kPeerBalanceRaw), 4095U);
    EXPECT_EQ(Peer(*camera, kPeerBalanceRaw + 4), 2050U);
    Check(camera->GetProperty(balance));
    EXPECT_EQ(balance.valueB, 512U);
    Property rate;
    rate.type = PropertyType::FrameRate;
    rate.autoManualMode = true;
    Check(camera->SetProperty(rate));
    EXPECT_EQ(Peer(*camera, kPeerFrameRateEnable), 0U);
    EXPECT_EQ(Peer(*camera, kPeerFrameRateAuto), 2U);
    SetAbsolute(*camera, PropertyType::Shutter, 1.5F); // while the rate is the camera's own business
    SetAbsolute(*camera, PropertyType::FrameRate, 300.0F);
    EXPECT_EQ(Peer(*camera, kPeerFrameRateEnable), 1U);
    EXPECT_EQ(Peer(*camera, kPeerFrameRateAuto), 0U);
    StrobeControl strobe { 2, true, 0, 1.5F, 0.25F };
    Check(camera->SetStrobe(strobe));
    EXPECT_EQ(Peer(*camera, kPeerStrobeEnable2), 1U);
    EXPECT_EQ(Peer(*camera, kPeerLineSource2), 1U);
    EXPECT_EQ(PeerFloat(*camera, kPeerStrobeDelay2), 1500.0F);
    EXPECT_EQ(PeerFloat(*camera, kPeerStrobeDuration2), 250.0F);
    strobe.onOff = false;
    Check(camera->SetStrobe(strobe));
    EXPECT_EQ(Peer(*camera, kPeerStrobeEnable2), 0U);
    EXPECT_EQ(Peer(*camera, kPeerLineSource2), 2U); // the level that is set for it
    Arm(*camera, 1);
    EXPECT_EQ(Peer(*camera, kPeerTriggerSource), 3U); // input 2
    Check(camera->SetTriggerMode({ false, 0, 4, 0, 0 }));
    Check(camera->StartCapture());
    EXPECT_EQ(Peer(*camera, kPeerAcquisitionTrigger), 0U); // no frame would come
    Image image;
    ASSERT_TRUE(camera->RetrieveBuffer(image).IsOk());
    const std::vector<std::uint32_t> codes = Codes(*camera, 20);
    EXPECT_NEAR(codes[19] - codes[0], 19 * 3333, 40);
}

TEST_F(GigeCameraTest, AnImageThatItsOffsetForbidsIsMeasuredWithoutIt)
{
    for (const char* pDialect : { "modern", "rare" }) { // with limits, and without
        SCOPED_TRACE(pDialect);
        const auto camera = StartAndOpen("GS3-PGE-23S6M", pDialect);
        ASSERT_NE(camera, nullptr);
        Check(camera->SetGigEImageSettings({ 640, 360, 640, 480, PixelFormat::Mono8 }));
        GigEImageSettingsInfo info;
        Check(camera->GetGigEImageSettingsInfo(info));
        EXPECT_EQ(info.maxWidth, 1920U);
        EXPECT_EQ(info.maxHeight, 1200U);
        EXPECT_EQ(Peer(*camera, kPeerOffsetX), 640U); // asking moves nothing
        EXPECT_EQ(Peer(*camera, kPeerOffsetY), 360U);
        Check(camera->SetGigEImageSettings({ 0, 0, 1920, 1200, PixelFormat::Mono8 }));
    }
}

} // namespace

} // namespace vireo
