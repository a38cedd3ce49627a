#include "camera_contract.h"

#include <cmath>
#include <cstdio>
#include <map>

// What camera_library.h promises, held against every backend with a camera that speaks the real protocol (or
// is simulated) on real time. What only one backend has is tested beside it.

namespace vireo {

namespace {

INSTANTIATE_TEST_SUITE_P(Backends, CameraContract, testing::ValuesIn(kBackends),
    [](const testing::TestParamInfo<Backend>& backend) { return std::string(backend.param.strName); });

INSTANTIATE_TEST_SUITE_P(Backends, GigECameraContract, testing::Values(kBackends[1], kBackends[2]),
    [](const testing::TestParamInfo<Backend>& backend) { return std::string(backend.param.strName); });

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
    const std::vector<CameraInfo> infos = Library().ListCameras();
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
        EXPECT_EQ(Library().CreateGigECamera(guid) != nullptr, eInterface == InterfaceType::GigE);
        EXPECT_EQ(Library().CreateCamera(guid) != nullptr, eInterface != InterfaceType::GigE);
    }
    unsigned int uiSerial = 77;
    PGRGuid guid;
    InterfaceType eInterface = InterfaceType::Unknown;
    EXPECT_EQ(Bus().GetCameraSerialNumberFromIndex(uiCount, uiSerial), ErrorType::NotFound);
    EXPECT_EQ(uiSerial, 77U);
    EXPECT_EQ(Bus().GetCameraFromSerialNumber(4, guid), ErrorType::NotFound);
    EXPECT_EQ(Bus().GetInterfaceTypeFromGuid(PGRGuid(), eInterface), ErrorType::NotFound);
    EXPECT_EQ(Library().CreateCamera(PGRGuid()), nullptr);
    EXPECT_EQ(Library().CreateGigECamera(PGRGuid()), nullptr);
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
        EXPECT_LE(image.GetArrivalTime(), s_ground->clock.Now());
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
        const ClockTime begin = s_ground->clock.Now();
        EXPECT_EQ(Cam().RetrieveBuffer(image), ErrorType::Timeout);
        EXPECT_GE(s_ground->clock.Now() - begin, iTimeoutMs * kNsPerMs);
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

TEST_P(CameraContract, ACancelledCameraDeliversNoFrameThatWaited)
{
    Open();
    Check(Cam().StartCapture());
    Image image;
    Check(Cam().RetrieveBuffer(image));
    s_ground->clock.SleepUntil(image.GetArrivalTime() + 100 * kNsPerMs); // some ten frames come meanwhile
    Cam().CancelRetrieve();
    for (int i = 0; i < 3; i++)
        EXPECT_EQ(Cam().RetrieveBuffer(image), ErrorType::NothingToDeliver);
    Check(Cam().StopCapture());
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
            Check(Cam().WriteRegister(0x11F0, i % 2 == 0 ? 0x40000000U : 0U));
            CameraInfo info;
            Check(Cam().GetCameraInfo(info));
        }
        Cam().CancelRetrieve();
    }),
        ErrorType::NothingToDeliver);
}

TEST_P(CameraContract, CamerasStartTogetherOrNotAtAll)
{
    Open();
    CameraBase* cameras[] = { &Cam() };
    Check(Library().StartSyncCapture(cameras));
    Image image;
    Check(Cam().RetrieveBuffer(image));
    CameraBase* twice[] = { &Cam(), nullptr };
    EXPECT_EQ(Library().StartSyncCapture(cameras), ErrorType::AlreadyStarted);
    Check(Cam().RetrieveBuffer(image)); // the failed start did not stop it
    Check(Cam().StopCapture());
    EXPECT_EQ(Library().StartSyncCapture(twice), ErrorType::InvalidParameter);
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
    s_ground->clock.SleepUntil(image.GetArrivalTime() + 200 * kNsPerMs); // some twenty frames pass meanwhile
    Check(Cam().RetrieveBuffer(image));
    const auto later = ReadBarCode(image);
    ASSERT_TRUE(first && later);
    EXPECT_GE(*later - *first, 100'000U);
    Check(Cam().StopCapture());
    config.grabMode = GrabMode::BufferFrames;
    Check(Cam().SetConfiguration(config));
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
