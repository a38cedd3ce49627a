#include "gige_fixture.h"

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
                        kPeerTriggerActivation = 0xA148, kPeerTriggerOverlap = 0xA14C, kPeerFrameRateEnable = 0xA10C,
                        kPeerDestination = 0x0D18, kPeerPacket = 0x0D04;

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

TEST_F(GigeCameraTest, ALineThatCanShowNothingElseIsAnInputWithoutItsStrobe)
{
    const auto camera = StartAndOpen("GS3-PGE-23S6M", "raw");
    ASSERT_NE(camera, nullptr);
    StrobeControl strobe { 2, true, 0, 0.0F, 0.0F };
    Check(camera->SetStrobe(strobe));
    EXPECT_EQ(Peer(*camera, kPeerLineMode2), 1U);
    strobe.onOff = false;
    Check(camera->SetStrobe(strobe));
    EXPECT_EQ(Peer(*camera, kPeerLineMode2), 0U);
    EXPECT_EQ(Peer(*camera, kPeerLineInverter2), 0U);
}

TEST_F(GigeCameraTest, ACameraWithoutAClockPutsNoTimeIntoItsFrames)
{
    StartPeer({ "--count", "1", "--no-clock" });
    MakeLibrary();
    const auto camera = Open(15000001);
    ASSERT_NE(camera, nullptr);
    Configure(*camera, 640, 480, 100.0F); // asks for the time
    std::uint32_t uiValue = 1;
    Check(camera->ReadRegister(0x12F8, uiValue));
    EXPECT_EQ(uiValue & 0x101U, 0x100U);
    Check(camera->StartCapture());
    for (int i = 0; i < 20; i++) {
        Image image;
        Check(camera->RetrieveBuffer(image));
        const std::uint8_t* p = image.GetData();
        EXPECT_EQ(p[0] | p[1] | p[2] | p[3], 0) << "frame " << i;
    }
}

TEST_F(GigeCameraTest, SlowAnswersAboutThePinsHoldNobodyUp)
{
    // Its lines are asked for one by one, and it takes longer than the time to the next question.
    StartPeer({ "--camera", "127.0.0.1,15000007,GS3-PGE-23S6M,rare", "--answer-delay", "4" });
    MakeLibrary();
    const auto camera = Open(15000007);
    ASSERT_NE(camera, nullptr);
    Configure(*camera, 640, 480, 100.0F);
    Check(camera->StartCapture());
    for (int i = 0; i < 400; i++) {
        Image image;
        ASSERT_TRUE(camera->RetrieveBuffer(image).IsOk());
    }
    Property property;
    property.type = PropertyType::Gain;
    Check(camera->GetProperty(property));
    Check(camera->WriteRegister(0x11F8, 0x10000000)); // line 3 shows its level
    Check(camera->WriteRegister(0x11F0, 0x10000000));
    Image image;
    int iFrames = 0;
    do {
        Check(camera->RetrieveBuffer(image));
    } while (image.GetData()[4] != 0x10 && ++iFrames < 200);
    EXPECT_EQ(image.GetData()[4], 0x10);
}

} // namespace

} // namespace vireo
