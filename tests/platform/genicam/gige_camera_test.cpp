#include "gige_fixture.h"
#include "support/bar_code.h"

#include <bit>
#include <cstring>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vireo {

namespace {

// Registers of the software camera, looked at behind the backend's back.
constexpr std::uint32_t kPeerLineMode2 = 0xA218, kPeerLineInverter2 = 0xA228, kPeerLineSource2 = 0xA238,
                        kPeerUserOutput0 = 0xA250, kPeerUserOutput3 = 0xA25C, kPeerTriggerSource = 0xA144,
                        kPeerTriggerActivation = 0xA148, kPeerTriggerOverlap = 0xA14C, kPeerExposure = 0xA11C,
                        kPeerGain = 0xA180, kPeerGainRaw = 0xA188, kPeerGainSelector = 0xA19C, kPeerChunks = 0xA304,
                        kPeerGainAvailable = 0xA1A0, kPeerFrameRateEnable = 0xA10C, kPeerFrameRate = 0xA110,
                        kPeerBinning = 0xA014, kPeerExposureRaw = 0xA120, kPeerBalanceRed = 0xA190,
                        kPeerDestination = 0x0D18, kPeerPacket = 0x0D04;

class GigeCameraTest : public GigeTest {
protected:
    static std::uint32_t Peer(GigECamera& camera, std::uint32_t uiAddress)
    {
        std::uint32_t uiValue = 0xDEADBEEF;
        Check(camera.ReadGVCPRegister(uiAddress, uiValue));
        return uiValue;
    }
    static float PeerFloat(GigECamera& camera, std::uint32_t uiAddress)
    {
        return std::bit_cast<float>(Peer(camera, uiAddress));
    }
    std::unique_ptr<GigECamera> StartAndOpen(const char* strModel, const char* strDialect)
    {
        StartPeer({ "--camera", std::string("127.0.0.1,15000007,") + strModel + "," + strDialect });
        MakeLibrary();
        return Open(15000007);
    }
    /// The codes of the next frames of a camera.
    static std::vector<std::uint32_t> Codes(GigECamera& camera, int iCount)
    {
        std::vector<std::uint32_t> codes;
        for (int i = 0; i < iCount; i++) {
            Image image;
            Check(camera.RetrieveBuffer(image));
            codes.push_back(ReadBarCode(image).value_or(0));
        }
        return codes;
    }
    static void Arm(GigECamera& camera, unsigned int uiPolarity)
    {
        TriggerMode mode;
        Check(camera.GetTriggerMode(mode));
        mode = { true, uiPolarity, 2, 14, 0 };
        Check(camera.SetTriggerMode(mode));
    }
};

TEST_F(GigeCameraTest, FramesFollowEachOtherWithoutALoss)
{
    StartPeer({ "--count", "1" });
    MakeLibrary();
    const auto camera = Open(15000001);
    ASSERT_NE(camera, nullptr);
    Configure(*camera, 640, 480, 400.0F);
    EXPECT_EQ(Peer(*camera, kPeerPacket) & 0xFFFFU, 9000U);
    Check(camera->StartCapture());
    std::uint32_t uiLast = 0;
    for (int i = 0; i < 400; i++) { // the 16-bit frame number of the stream wraps meanwhile
        Image image;
        Check(camera->RetrieveBuffer(image));
        const auto code = ReadBarCode(image);
        ASSERT_TRUE(code.has_value());
        ASSERT_TRUE(i == 0 || *code - uiLast == 2500U) << "frame " << i << " after " << *code - uiLast << " us";
        uiLast = *code;
    }
    Check(camera->StopCapture());
    EXPECT_EQ(camera->GetStreamStatistics().incomplete, 0U);
    EXPECT_EQ(camera->GetStreamStatistics().underruns, 0U);
    Check(camera->Disconnect());
}

/// Another largest packet on the loopback interface of the test's own network.
class LoopbackMtu {
public:
    explicit LoopbackMtu(int iBytes) { Set(iBytes); }
    ~LoopbackMtu() { Set(65536); }
    LoopbackMtu(const LoopbackMtu&) = delete;
    LoopbackMtu& operator=(const LoopbackMtu&) = delete;

private:
    static void Set(int iBytes)
    {
        ifreq request {};
        std::strcpy(request.ifr_name, "lo");
        request.ifr_mtu = iBytes;
        const int iSocket = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(ioctl(iSocket, SIOCSIFMTU, &request), 0);
        close(iSocket);
    }
};

TEST_F(GigeCameraTest, PacketsFitTheLinkOfACameraThatSendsNoTestPackets)
{
    const LoopbackMtu usual(1500);
    StartPeer({ "--count", "1", "--no-test-packets" });
    MakeLibrary();
    const auto camera = Open(15000001);
    ASSERT_NE(camera, nullptr);
    Configure(*camera, 640, 480, 100.0F);
    std::uint32_t uiPacket = 9000;
    Check(camera->DiscoverGigEPacketSize(uiPacket));
    EXPECT_EQ(uiPacket, 1500U);
    EXPECT_EQ(Peer(*camera, kPeerPacket) & 0xFFFFU, 1500U);
    Check(camera->StartCapture());
    const std::vector<std::uint32_t> codes = Codes(*camera, 20);
    for (std::size_t i = 1; i < codes.size(); i++)
        EXPECT_EQ(codes[i] - codes[i - 1], 10000U);
    EXPECT_EQ(camera->GetStreamStatistics().incomplete, 0U);
}

TEST_F(GigeCameraTest, TheStrobeOfOneExposesTheOthersWithIt)
{
    StartPeer({ "--count", "4" });
    MakeLibrary();
    const auto cameras = OpenFour();
    ASSERT_EQ(cameras.size(), 4U);
    for (const auto& camera : cameras)
        Configure(*camera, 640, 480, 100.0F, -1);
    std::uint32_t uiDirections = 0;
    Check(cameras[0]->ReadRegister(0x11F8, uiDirections));
    Check(cameras[0]->WriteRegister(0x11F8, (uiDirections | 0x20000000U) & ~0x40000000U));
    StrobeControl strobe;
    strobe.source = 2;
    Check(cameras[0]->GetStrobe(strobe));
    strobe.onOff = true;
    Check(cameras[0]->SetStrobe(strobe));
    for (unsigned int i = 1; i < 4; i++)
        Arm(*cameras[i], 0);
    for (unsigned int i = 4; i-- > 0;)
        Check(cameras[i]->StartCapture());
    const std::vector<std::uint32_t> codes = Codes(*cameras[0], 50);
    for (unsigned int i = 1; i < 4; i++)
        EXPECT_EQ(Codes(*cameras[i], 50), codes) << "camera " << i;
}

TEST_F(GigeCameraTest, AnExternalEdgeExposesWhatWaitsForIt)
{
    StartPeer({ "--count", "2", "--trigger", "50" });
    MakeLibrary();
    std::vector<std::unique_ptr<GigECamera>> cameras;
    for (unsigned int i = 0; i < 2; i++) {
        cameras.push_back(Open(15000001 + i));
        ASSERT_NE(cameras.back(), nullptr);
        Configure(*cameras[i], 640, 480, 100.0F, -1);
        Arm(*cameras[i], 1);
        Check(cameras[i]->StartCapture());
    }
    const std::vector<std::uint32_t> first = Codes(*cameras[0], 20);
    for (std::size_t i = 1; i < first.size(); i++)
        EXPECT_EQ(first[i] - first[i - 1], 20000U);
    for (const std::uint32_t uiCode : Codes(*cameras[1], 20)) // it began later, at one of the same edges
        EXPECT_EQ((uiCode - first[0]) % 20000U, 0U);
}

TEST_F(GigeCameraTest, CamerasThatStartTogetherRunTogether)
{
    StartPeer({ "--count", "3" });
    MakeLibrary();
    std::vector<std::unique_ptr<GigECamera>> cameras;
    std::vector<CameraBase*> all;
    for (unsigned int i = 0; i < 3; i++) {
        cameras.push_back(Open(15000001 + i));
        ASSERT_NE(cameras.back(), nullptr);
        Configure(*cameras[i], 640, 480, 100.0F);
        all.push_back(cameras[i].get());
    }
    Check(m_library->StartSyncCapture(all));
    for (const auto& camera : cameras)
        EXPECT_EQ(Codes(*camera, 3).size(), 3U);
}

TEST_F(GigeCameraTest, ControlRegistersMoveTheFeaturesBehindThem)
{
    const auto camera = StartAndOpen("GS3-PGE-23S6M", "modern");
    ASSERT_NE(camera, nullptr);
    Check(camera->WriteRegister(0x11F8, 0x20000000)); // line 2 is an output, the others are not
    EXPECT_EQ(Peer(*camera, kPeerLineMode2), 1U);
    EXPECT_EQ(Peer(*camera, kPeerLineMode2 - 4), 0U);
    Check(camera->WriteRegister(0x11F0, 0x90000000)); // lines 0 and 3 high
    EXPECT_EQ(Peer(*camera, kPeerUserOutput0), 1U);
    EXPECT_EQ(Peer(*camera, kPeerUserOutput0 + 4), 0U);
    EXPECT_EQ(Peer(*camera, kPeerUserOutput3), 1U);
    Check(camera->WriteRegister(0x11F8, 0x10000000)); // line 3 shows its level
    std::uint32_t uiValue = 0;
    Check(camera->ReadRegister(0x11F4, uiValue));
    EXPECT_EQ(uiValue, 0x90000000U);
    Check(camera->WriteRegister(0x11F0, 0));
    Check(camera->ReadRegister(0x11F4, uiValue));
    EXPECT_EQ(uiValue, 0x80000000U);
    Check(camera->WriteRegister(0x083C, 0x80000000)); // the rate is not held
    EXPECT_EQ(Peer(*camera, kPeerFrameRateEnable), 0U);
    Check(camera->WriteRegister(0x083C, 0xC20001E0));
    EXPECT_EQ(Peer(*camera, kPeerFrameRateEnable), 1U);
    Check(camera->WriteRegister(0x0968, std::bit_cast<std::uint32_t>(5000.0F))); // the nearest the camera can
    Check(camera->ReadRegister(0x0968, uiValue));
    EXPECT_NEAR(std::bit_cast<float>(uiValue), 166.67F, 0.01F); // its whole image takes 6 ms
    EXPECT_EQ(camera->ReadRegister(0x2000, uiValue), ErrorType::RegisterFailed);
    EXPECT_EQ(camera->WriteRegister(0x11F4, 1), ErrorType::RegisterFailed);
}

TEST_F(GigeCameraTest, TriggerAndStrobeReachTheCamera)
{
    const auto camera = StartAndOpen("GS3-PGE-23S6M", "modern");
    ASSERT_NE(camera, nullptr);
    Arm(*camera, 0);
    EXPECT_EQ(Peer(*camera, kPeerTriggerSource), 3U); // line 2
    EXPECT_EQ(Peer(*camera, kPeerTriggerActivation), 1U); // falling
    EXPECT_EQ(Peer(*camera, kPeerTriggerOverlap), 1U);
    StrobeControl strobe { 2, true, 0, 1.5F, 0.25F };
    Check(camera->SetStrobe(strobe));
    EXPECT_EQ(Peer(*camera, kPeerLineMode2), 1U);
    EXPECT_EQ(Peer(*camera, kPeerLineInverter2), 1U); // low while exposing
    EXPECT_EQ(Peer(*camera, kPeerLineSource2), 1U);
    strobe.polarity = 1;
    Check(camera->SetStrobe(strobe));
    EXPECT_EQ(Peer(*camera, kPeerLineInverter2), 0U);
    strobe.onOff = false;
    Check(camera->SetStrobe(strobe));
    EXPECT_EQ(Peer(*camera, kPeerLineSource2), 0U);
}

TEST_F(GigeCameraTest, AnInputIsSeenAsItIsAfterTheStrobe)
{
    const auto camera = StartAndOpen("GS3-PGE-23S6M", "modern");
    ASSERT_NE(camera, nullptr);
    StrobeControl strobe { 2, true, 0, 0.0F, 0.0F };
    Check(camera->SetStrobe(strobe));
    ASSERT_EQ(Peer(*camera, kPeerLineInverter2), 1U);
    strobe.onOff = false;
    Check(camera->SetStrobe(strobe));
    EXPECT_EQ(Peer(*camera, kPeerLineInverter2), 0U);
    strobe.onOff = true;
    Check(camera->SetStrobe(strobe));
    Check(camera->WriteRegister(0x11F8, 0)); // line 2 in
    EXPECT_EQ(Peer(*camera, kPeerLineInverter2), 0U);
    Check(camera->WriteGVCPRegister(kPeerLineInverter2, 1)); // as another program may have left it
    Arm(*camera, 1);
    EXPECT_EQ(Peer(*camera, kPeerLineInverter2), 0U);
}

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

TEST_F(GigeCameraTest, AMulticastDestinationIsNotedAndNotGivenToTheCamera)
{
    const auto camera = StartAndOpen("GS3-PGE-23S6M", "modern");
    ASSERT_NE(camera, nullptr);
    const std::uint32_t uiBefore = Peer(*camera, kPeerDestination);
    GigEStreamChannel channel;
    Check(camera->GetGigEStreamChannelInfo(0, channel));
    channel.destinationIpAddress = { { 224, 0, 0, 1 } };
    channel.interPacketDelay = 77;
    Check(camera->SetGigEStreamChannelInfo(0, channel));
    Check(camera->WriteGVCPRegister(0x0D18, 0xE0000002));
    EXPECT_EQ(Peer(*camera, kPeerDestination), uiBefore);
    GigEStreamChannel read;
    Check(camera->GetGigEStreamChannelInfo(0, read));
    EXPECT_EQ(read.destinationIpAddress, (IPAddress { { 224, 0, 0, 2 } }));
    EXPECT_EQ(read.interPacketDelay, 77U);
    EXPECT_TRUE(m_log.Contains("camera 15000007: stream destination 224.0.0.1"));
    channel.destinationIpAddress = { { 127, 0, 0, 1 } }; // a plain one goes through
    Check(camera->SetGigEStreamChannelInfo(0, channel));
    EXPECT_EQ(Peer(*camera, kPeerDestination), 0x7F000001U);
}

TEST_F(GigeCameraTest, OnlyCamerasOfTheNamedInterfaceAreListed)
{
    StartPeer({ "--count", "2" });
    for (const char* strInterface : { "lo", "127.0.0.1" }) {
        MakeLibrary({ strInterface });
        const auto camera = Open(15000002);
        ASSERT_NE(camera, nullptr) << strInterface;
        Configure(*camera, 640, 480, 100.0F);
        Check(camera->StartCapture());
        EXPECT_EQ(Codes(*camera, 2).size(), 2U);
    }
    MakeLibrary({ "nosuch0" });
    unsigned int uiCount = 0;
    const Error error = m_library->GetBusManager().GetNumOfCameras(uiCount);
    EXPECT_EQ(error, ErrorType::NotFound);
    EXPECT_NE(error.GetDescription().find("nosuch0"), std::string::npos);
}

TEST_F(GigeCameraTest, PinsComeWithTheFrames)
{
    const auto camera = StartAndOpen("GS3-PGE-23S6M", "modern");
    ASSERT_NE(camera, nullptr);
    Configure(*camera, 640, 480, 100.0F);
    Check(camera->WriteRegister(0x11F8, 0x10000000)); // line 3 shows its level
    Check(camera->WriteRegister(0x11F0, 0x10000000));
    Check(camera->WriteRegister(0x12F8, 0x80000101));
    Check(camera->StartCapture());
    Image image;
    Check(camera->RetrieveBuffer(image));
    EXPECT_EQ(image.GetData()[4], 0x10);
    Check(camera->WriteRegister(0x11F0, 0));
    int iFrames = 0;
    do {
        Check(camera->RetrieveBuffer(image));
    } while (image.GetData()[4] != 0 && ++iFrames < 200); // asked for now and then, not per frame
    EXPECT_EQ(image.GetData()[4], 0);
}

} // namespace

} // namespace vireo
