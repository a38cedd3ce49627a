#include "gige_fixture.h"
#include "support/bar_code.h"

#include <future>
#include <thread>

namespace vireo {

namespace {

constexpr auto kNoLonger = std::chrono::seconds(5); ///< nobody may be held up beyond this

class GigeFaultsTest : public GigeTest {
protected:
    struct Run {
        int iFrames = 0;
        int iDropped = 0; ///< answers that said so
        std::vector<std::uint32_t> steps; ///< us from frame to frame
    };
    /// Fetches until `iFrames` good ones have come.
    static Run Fetch(GigECamera& camera, int iFrames)
    {
        Run run;
        std::uint32_t uiLast = 0;
        while (run.iFrames < iFrames) {
            Image image;
            const Error error = camera.RetrieveBuffer(image);
            if (error == ErrorType::NothingToDeliver) {
                run.iDropped++;
                continue;
            }
            EXPECT_TRUE(error.IsOk()) << error.GetDescription();
            if (!error.IsOk())
                break;
            const std::uint32_t uiCode = ReadBarCode(image).value_or(0);
            if (run.iFrames++ > 0)
                run.steps.push_back(uiCode - uiLast);
            uiLast = uiCode;
        }
        return run;
    }
    std::unique_ptr<GigECamera> StartWithFault(const std::string& strFault)
    {
        StartPeer({ "--count", "1", "--fault", strFault });
        MakeLibrary();
        auto camera = Open(15000001);
        if (!camera)
            return nullptr;
        Configure(*camera, 640, 480, 100.0F);
        Check(camera->StartCapture());
        return camera;
    }
};

TEST_F(GigeFaultsTest, ALostPacketIsAskedForAgain)
{
    const auto camera = StartWithFault("lose:0@10x5");
    ASSERT_NE(camera, nullptr);
    const Run run = Fetch(*camera, 40);
    EXPECT_EQ(run.iDropped, 0);
    EXPECT_EQ(run.steps, std::vector<std::uint32_t>(39, 10000U));
    EXPECT_GE(camera->GetStreamStatistics().resends, 5U);
    EXPECT_EQ(camera->GetStreamStatistics().incomplete, 0U);
}

TEST_F(GigeFaultsTest, AFrameThatStaysIncompleteIsDroppedAndCounted)
{
    const auto camera = StartWithFault("torn:0@10x3");
    ASSERT_NE(camera, nullptr);
    const Run run = Fetch(*camera, 40);
    EXPECT_EQ(run.iDropped, 3);
    std::vector<std::uint32_t> steps(39, 10000U);
    steps[9] = 40000U;
    EXPECT_EQ(run.steps, steps);
    EXPECT_EQ(camera->GetStreamStatistics().incomplete, 3U);
}

TEST_F(GigeFaultsTest, WithoutResendALostPacketLosesItsFrame)
{
    StartPeer({ "--count", "1", "--fault", "lose:0@10" });
    MakeLibrary();
    const auto camera = Open(15000001);
    ASSERT_NE(camera, nullptr);
    Configure(*camera, 640, 480, 100.0F);
    GigEConfig config;
    Check(camera->GetGigEConfig(config));
    config.enablePacketResend = false;
    Check(camera->SetGigEConfig(config));
    Check(camera->StartCapture());
    const Run run = Fetch(*camera, 30);
    EXPECT_EQ(run.iDropped, 1);
    EXPECT_EQ(camera->GetStreamStatistics().incomplete, 1U);
    EXPECT_EQ(camera->GetStreamStatistics().resends, 0U);
}

TEST_F(GigeFaultsTest, FramesThatNeverCameAreCounted)
{
    const auto camera = StartWithFault("drop:0@10x4");
    ASSERT_NE(camera, nullptr);
    const Run run = Fetch(*camera, 30);
    EXPECT_EQ(run.steps[9], 50000U);
    EXPECT_EQ(camera->GetStreamStatistics().incomplete, 4U);
    EXPECT_EQ(camera->GetStreamStatistics().underruns, 0U);
    Check(camera->StopCapture());
    EXPECT_EQ(camera->GetStreamStatistics().incomplete, 4U); // until the next start
    Check(camera->StartCapture());
    (void)Fetch(*camera, 5);
    EXPECT_EQ(camera->GetStreamStatistics().incomplete, 0U);
}

TEST_F(GigeFaultsTest, FramesWithoutABufferAreUnderruns)
{
    StartPeer({ "--count", "1" });
    MakeLibrary();
    const auto camera = Open(15000001);
    ASSERT_NE(camera, nullptr);
    Configure(*camera, 640, 480, 200.0F);
    FC2Config config;
    Check(camera->GetConfiguration(config));
    config.numBuffers = 8;
    Check(camera->SetConfiguration(config));
    Check(camera->StartCapture());
    (void)Fetch(*camera, 1);
    m_clock.SleepMs(500); // a hundred frames for eight places
    (void)Fetch(*camera, 30);
    EXPECT_GT(camera->GetStreamStatistics().underruns, 50U);
}

TEST_F(GigeFaultsTest, ASilentCameraThatAnswersIsNotGone)
{
    const auto camera = StartWithFault("hang:0@5");
    ASSERT_NE(camera, nullptr);
    (void)Fetch(*camera, 5);
    Image image;
    EXPECT_EQ(camera->RetrieveBuffer(image), ErrorType::Timeout); // two seconds
    EXPECT_EQ(camera->RetrieveBuffer(image), ErrorType::Timeout);
    CameraInfo info;
    EXPECT_TRUE(camera->GetCameraInfo(info).IsOk());
    EXPECT_TRUE(camera->StopCapture().IsOk());
}

TEST_F(GigeFaultsTest, ACameraThatAnswersNothingWhileItsFramesFlowIsNotGone)
{
    const auto camera = StartWithFault("deaf:0@20x350"); // longer than a question is repeated
    ASSERT_NE(camera, nullptr);
    (void)Fetch(*camera, 40);
    Property property;
    property.type = PropertyType::Gain;
    const Error error = camera->GetProperty(property); // two seconds
    EXPECT_EQ(error, ErrorType::TransportFailed);
    EXPECT_EQ(error.GetDescription(), "camera 15000001: it did not answer in time");
    const Run run = Fetch(*camera, 400); // the levels of its lines are asked for meanwhile
    EXPECT_EQ(run.steps, std::vector<std::uint32_t>(399, 10000U));
    Check(camera->GetProperty(property));
    Check(camera->StopCapture());
}

TEST_F(GigeFaultsTest, PinsThatCouldNotBeReadStayAsTheyWere)
{
    StartPeer({ "--count", "1", "--fault", "deaf:0@20x350" });
    MakeLibrary();
    const auto camera = Open(15000001);
    ASSERT_NE(camera, nullptr);
    Configure(*camera, 640, 480, 100.0F);
    Check(camera->WriteRegister(0x11F8, 0x10000000)); // line 3 shows its level
    Check(camera->WriteRegister(0x11F0, 0x10000000));
    Check(camera->WriteRegister(0x12F8, 0x80000101));
    Check(camera->StartCapture());
    for (int i = 0; i < 450; i++) {
        Image image;
        Check(camera->RetrieveBuffer(image));
        ASSERT_EQ(image.GetData()[4], 0x10) << "frame " << i;
    }
}

TEST_F(GigeFaultsTest, AShortSilenceIsNoLoss)
{
    StartPeer({ "--count", "1" });
    MakeLibrary();
    const auto camera = Open(15000001);
    ASSERT_NE(camera, nullptr);
    Configure(*camera, 640, 480, 100.0F, -1);
    Check(camera->StartCapture());
    (void)Fetch(*camera, 5);
    m_peer->Freeze();
    m_clock.SleepMs(1200);
    m_peer->Thaw();
    EXPECT_EQ(Fetch(*camera, 20).iFrames, 20);
}

TEST_F(GigeFaultsTest, ACameraThatDiesIsGoneWithItsNumberAndHoldsNobodyUp)
{
    const auto camera = StartWithFault("quit:0@20");
    ASSERT_NE(camera, nullptr);
    const Error error = FetchToTheEnd(*camera);
    EXPECT_EQ(error, ErrorType::Disconnected);
    EXPECT_NE(error.GetDescription().find("15000001"), std::string::npos);
    auto rest = std::async(std::launch::async, [&] {
        CameraInfo info;
        std::uint32_t uiValue = 0;
        EXPECT_EQ(camera->GetCameraInfo(info), ErrorType::Disconnected);
        EXPECT_EQ(camera->ReadRegister(0x0968, uiValue), ErrorType::Disconnected);
        EXPECT_EQ(camera->StopCapture(), ErrorType::Disconnected);
        EXPECT_TRUE(camera->Disconnect().IsOk());
        EXPECT_FALSE(camera->IsConnected());
    });
    EXPECT_TRUE(rest.wait_for(kNoLonger) == std::future_status::ready);
    rest.wait();
}

TEST_F(GigeFaultsTest, ALostCameraSaysSoToEveryCall)
{
    const auto camera = StartWithFault("quit:0@20");
    ASSERT_NE(camera, nullptr);
    EXPECT_EQ(FetchToTheEnd(*camera), ErrorType::Disconnected);
    auto rest = std::async(std::launch::async, [&] {
        for (const char* pWhen : { "while it was capturing", "when it was stopped" })
            for (const auto& [strName, call] : EveryCall(*camera))
                if (strName != "Disconnect") {
                    EXPECT_EQ(call(), ErrorType::Disconnected) << strName << " " << pWhen;
                }
    });
    EXPECT_TRUE(rest.wait_for(kNoLonger) == std::future_status::ready);
    rest.wait();
}

TEST_F(GigeFaultsTest, ARefusedQuestionIsNoMissingStrobe)
{
    const auto camera = StartWithFault("release:0@20");
    ASSERT_NE(camera, nullptr);
    EXPECT_EQ(Fetch(*camera, 20).iDropped, 0);
    Error error;
    while (error.IsOk()) { // soon it takes no order from here any more
        StrobeControl strobe;
        strobe.source = 2;
        error = camera->GetStrobe(strobe);
    }
    EXPECT_TRUE(error == ErrorType::AccessDenied || error == ErrorType::Disconnected) << error.GetDescription();
}

TEST_F(GigeFaultsTest, ACameraWhoseControlIsLostWhileFramesFlowSaysSoWithItsNumber)
{
    const struct {
        const char* pFault;
        bool bFree; ///< nobody has taken it
    } kRows[] = { { "release:0@20", true }, { "seize:0@20", false } };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pFault);
        const auto camera = StartWithFault(row.pFault);
        ASSERT_NE(camera, nullptr);
        EXPECT_EQ(Fetch(*camera, 20).iDropped, 0); // those before are whole
        auto rest = std::async(std::launch::async, [&] {
            const Error error = FetchToTheEnd(*camera);
            EXPECT_EQ(error, ErrorType::Disconnected);
            EXPECT_EQ(error.GetDescription(), "camera 15000001: control of the camera was lost");
            EXPECT_EQ(camera->StopCapture(), ErrorType::Disconnected);
            EXPECT_TRUE(camera->Disconnect().IsOk());
        });
        EXPECT_TRUE(rest.wait_for(kNoLonger) == std::future_status::ready);
        rest.wait();
        const Error again = camera->Connect(GuidOf(15000001));
        EXPECT_EQ(again, row.bFree ? ErrorType::Ok : ErrorType::AccessDenied) << again.GetDescription();
    }
}

TEST_F(GigeFaultsTest, FourCamerasThatDieTogetherHoldNobodyUpFourTimes)
{
    StartPeer({ "--count", "4", "--fault", "quit:3@20" });
    MakeLibrary();
    const auto cameras = OpenFour();
    ASSERT_EQ(cameras.size(), 4U);
    for (const auto& camera : cameras)
        Configure(*camera, 640, 480, 100.0F, -1);
    std::vector<std::future<Error>> ends;
    for (const auto& camera : cameras) {
        Check(camera->StartCapture());
        ends.push_back(std::async(std::launch::async, [&camera] { return FetchToTheEnd(*camera); }));
    }
    // As the program stops: when the first one has failed, all are woken, then stopped and left one by one.
    EXPECT_EQ(ends[3].get(), ErrorType::Disconnected);
    for (const auto& camera : cameras)
        camera->CancelRetrieve();
    auto rest = std::async(std::launch::async, [&] {
        for (const auto& camera : cameras)
            EXPECT_EQ(camera->StopCapture(), ErrorType::Disconnected);
        for (const auto& camera : cameras)
            EXPECT_TRUE(camera->Disconnect().IsOk());
    });
    EXPECT_TRUE(rest.wait_for(kNoLonger) == std::future_status::ready);
    rest.wait();
}

TEST_F(GigeFaultsTest, FourCamerasThatDieAndAreStoppedAtOnceHoldNobodyUpFourTimes)
{
    StartPeer({ "--count", "4" });
    MakeLibrary();
    const auto cameras = OpenFour();
    ASSERT_EQ(cameras.size(), 4U);
    for (const auto& camera : cameras)
        Configure(*camera, 640, 480, 100.0F, -1);
    for (const auto& camera : cameras) {
        Check(camera->StartCapture());
        (void)Fetch(*camera, 1);
    }
    m_peer->Kill();
    auto rest = std::async(std::launch::async, [&] { // nobody has noticed a silence yet
        for (const auto& camera : cameras)
            camera->CancelRetrieve();
        for (const auto& camera : cameras)
            EXPECT_EQ(camera->StopCapture(), ErrorType::Disconnected);
        for (const auto& camera : cameras)
            EXPECT_TRUE(camera->Disconnect().IsOk());
    });
    EXPECT_TRUE(rest.wait_for(kNoLonger) == std::future_status::ready);
    rest.wait();
}

TEST_F(GigeFaultsTest, FourCamerasThatDieWhileIdleAreClosedWithoutHoldingAnybodyUpFourTimes)
{
    StartPeer({ "--count", "4" });
    MakeLibrary();
    const auto cameras = OpenFour();
    ASSERT_EQ(cameras.size(), 4U);
    m_peer->Kill();
    auto rest = std::async(std::launch::async, [&] {
        for (const auto& camera : cameras)
            EXPECT_TRUE(camera->Disconnect().IsOk());
    });
    EXPECT_TRUE(rest.wait_for(kNoLonger) == std::future_status::ready);
    rest.wait();
}

TEST_F(GigeFaultsTest, FourCamerasThatDiedWhileIdleAreGivenUpSideBySide)
{
    StartPeer({ "--count", "4" });
    MakeLibrary();
    const auto cameras = OpenFour();
    ASSERT_EQ(cameras.size(), 4U);
    m_peer->Kill();
    auto rest = std::async(std::launch::async, [&] { // as a start that failed puts the cameras back
        for (const auto& camera : cameras)
            camera->CancelRetrieve();
        for (const auto& camera : cameras) {
            TriggerMode trigger;
            EXPECT_EQ(camera->GetTriggerMode(trigger), ErrorType::Disconnected);
        }
    });
    EXPECT_TRUE(rest.wait_for(kNoLonger) == std::future_status::ready);
    rest.wait();
}

TEST_F(GigeFaultsTest, ACameraThatDiesWhileIdleFailsTheNextCallInTime)
{
    StartPeer({ "--count", "1" });
    MakeLibrary();
    const auto camera = Open(15000001);
    ASSERT_NE(camera, nullptr);
    m_peer->Kill();
    auto call = std::async(std::launch::async, [&] {
        return camera->SetGigEImageSettings({ 0, 0, 640, 480, PixelFormat::Mono8 });
    });
    EXPECT_TRUE(call.wait_for(kNoLonger) == std::future_status::ready);
    EXPECT_EQ(call.get(), ErrorType::Disconnected);
    EXPECT_EQ(camera->StartCapture(), ErrorType::Disconnected);
}

TEST_F(GigeFaultsTest, ACameraThatCameBackCanBeUsedAgain)
{
    StartPeer({ "--count", "1" });
    MakeLibrary();
    const auto camera = Open(15000001);
    ASSERT_NE(camera, nullptr);
    Configure(*camera, 640, 480, 100.0F);
    Check(camera->StartCapture());
    (void)Fetch(*camera, 5);
    m_peer->Kill();
    EXPECT_EQ(FetchToTheEnd(*camera), ErrorType::Disconnected);
    EXPECT_TRUE(camera->Disconnect().IsOk());
    StartPeer({ "--count", "1" });
    unsigned int uiCount = 0;
    Check(m_library->GetBusManager().GetNumOfCameras(uiCount));
    Check(camera->Connect(GuidOf(15000001)));
    Configure(*camera, 640, 480, 100.0F);
    Check(camera->StartCapture());
    EXPECT_EQ(Fetch(*camera, 20).iDropped, 0);
}

TEST_F(GigeFaultsTest, ACameraOfAnotherProgramIsDenied)
{
    StartPeer({ "--count", "1" });
    MakeLibrary();
    const auto first = Open(15000001);
    ASSERT_NE(first, nullptr);
    Configure(*first, 640, 480, 100.0F);
    Check(first->StartCapture());
    const PGRGuid guid = GuidOf(15000001);
    const auto second = m_library->CreateGigECamera(guid);
    const Error error = second->Connect(guid);
    EXPECT_EQ(error, ErrorType::AccessDenied);
    EXPECT_EQ(error.GetDescription(), "camera 15000001: another program controls it");
    EXPECT_FALSE(second->IsConnected());
    EXPECT_EQ(Fetch(*first, 20).iDropped, 0); // undisturbed
    Check(first->Disconnect());
    Check(second->Connect(guid));
}

TEST_F(GigeFaultsTest, TwoCamerasWithOneNumberAreNamed)
{
    StartPeer({ "--camera", "127.0.0.1,15000001,GS3-PGE-23S6M", "--camera", "127.0.0.2,15000001,GS3-PGE-23S6C" });
    MakeLibrary({ "lo" });
    unsigned int uiCount = 0;
    Check(m_library->GetBusManager().GetNumOfCameras(uiCount));
    EXPECT_EQ(uiCount, 2U);
    PGRGuid guid;
    const Error error = m_library->GetBusManager().GetCameraFromSerialNumber(15000001, guid);
    EXPECT_EQ(error, ErrorType::InvalidParameter);
    EXPECT_NE(error.GetDescription().find("15000001"), std::string::npos);
    EXPECT_NE(error.GetDescription().find("127.0.0.2"), std::string::npos);
    EXPECT_TRUE(m_log.Contains("two cameras have the serial number 15000001"));
}

TEST_F(GigeFaultsTest, ACameraThatLeftBeforeItWasOpenedIsNotFound)
{
    StartPeer({ "--count", "1" });
    MakeLibrary();
    unsigned int uiCount = 0;
    Check(m_library->GetBusManager().GetNumOfCameras(uiCount));
    const PGRGuid guid = GuidOf(15000001);
    m_peer->Kill();
    const auto camera = m_library->CreateGigECamera(guid);
    auto connecting = std::async(std::launch::async, [&] { return camera->Connect(guid); });
    EXPECT_TRUE(connecting.wait_for(kNoLonger) == std::future_status::ready);
    const Error error = connecting.get();
    EXPECT_EQ(error, ErrorType::NotFound);
    EXPECT_NE(error.GetDescription().find("15000001"), std::string::npos);
}

TEST_F(GigeFaultsTest, ACameraThatFallsSilentWhileItIsOpenedHoldsNobodyUp)
{
    StartPeer({ "--count", "1", "--fault", "mute:0@open" });
    MakeLibrary();
    unsigned int uiCount = 0;
    Check(m_library->GetBusManager().GetNumOfCameras(uiCount));
    const PGRGuid guid = GuidOf(15000001);
    const auto camera = m_library->CreateGigECamera(guid);
    auto connecting = std::async(std::launch::async, [&] { return camera->Connect(guid); });
    EXPECT_TRUE(connecting.wait_for(kNoLonger) == std::future_status::ready);
    const Error error = connecting.get();
    EXPECT_EQ(error, ErrorType::NotFound);
    EXPECT_NE(error.GetDescription().find("15000001"), std::string::npos);
}

TEST_F(GigeFaultsTest, NoCameraIsNoError)
{
    MakeLibrary({ "lo" });
    unsigned int uiCount = 7;
    Check(m_library->GetBusManager().GetNumOfCameras(uiCount));
    EXPECT_EQ(uiCount, 0U);
    EXPECT_TRUE(m_library->ListCameras().empty());
}

} // namespace

} // namespace vireo
