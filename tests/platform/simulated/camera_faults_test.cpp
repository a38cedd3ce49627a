#include "rig.h"

#include <cmath>
#include <gmock/gmock.h>

namespace vireo {
namespace {

using Codes = std::vector<std::uint32_t>;

/// Two strobe-locked cameras at 400 fps, exposed from 0 in steps of 2500 us.
class CameraFault : public testing::Test {
protected:
    void Build(std::string_view strFaults, std::string_view strSource = "simulated:2xFL3-U3-13Y3M", float fFps = 400.0F)
    {
        m_rig = std::make_unique<Rig>(strSource, strFaults);
        m_rig->ConfigureAll(fFps, 2.0F, 200);
        m_rig->LockToStrobe();
        m_rig->StartDown();
    }
    Rig& TheRig() { return *m_rig; }
    /// Numbers of the next exposures that arrive.
    Codes Numbers(std::size_t uiCamera, std::size_t uiCount)
    {
        Codes numbers = m_rig->FetchMany(uiCamera, uiCount);
        for (std::uint32_t& uiNumber : numbers)
            uiNumber /= 2500;
        return numbers;
    }
    std::unique_ptr<Rig> m_rig;
};

TEST_F(CameraFault, DroppedFramesAreMissing)
{
    Build("drop:1@2x3;drop:1@7");
    EXPECT_EQ(Numbers(0, 9), (Codes { 0, 1, 2, 3, 4, 5, 6, 7, 8 }));
    EXPECT_EQ(Numbers(1, 5), (Codes { 0, 1, 5, 6, 8 }));
}

TEST_F(CameraFault, ADroppedFrameOfTheMasterStillStrobes)
{
    Build("drop:0@1");
    EXPECT_EQ(Numbers(0, 3), (Codes { 0, 2, 3 }));
    EXPECT_EQ(Numbers(1, 3), (Codes { 0, 1, 2 }));
}

TEST_F(CameraFault, NumbersCountFromEachStart)
{
    Build("drop:1@1");
    EXPECT_EQ(Numbers(1, 2), (Codes { 0, 2 }));
    ASSERT_TRUE(TheRig()[1].StopCapture().IsOk());
    ASSERT_TRUE(TheRig()[1].StartCapture().IsOk());
    const Codes again = Numbers(1, 3);
    EXPECT_EQ(again[1], again[0] + 2);
    EXPECT_EQ(again[2], again[0] + 3);
}

TEST_F(CameraFault, MissedEdgesAreNotExposed)
{
    Build("missedge:1@2x2");
    EXPECT_EQ(Numbers(1, 4), (Codes { 0, 1, 4, 5 }));
    Build("missedge:1@2;drop:1@2"); // the third exposure is the fourth edge's
    EXPECT_EQ(Numbers(1, 3), (Codes { 0, 1, 4 }));
}

TEST_F(CameraFault, APhasedCameraExposesAfterItsEdge)
{
    Build("phase:1=3000"); // longer than the period
    EXPECT_EQ(TheRig().FetchMany(1, 4), (Codes { 3000, 5500, 8000, 10500 }));
    EXPECT_EQ(TheRig().FetchMany(0, 2), (Codes { 0, 2500 }));
}

TEST_F(CameraFault, AnUntriggeredCameraPartsFromTheOthers)
{
    Build("untrigger:1@3");
    const Codes master = TheRig().FetchMany(0, 40), slave = TheRig().FetchMany(1, 40);
    for (std::size_t i = 0; i < 40; ++i)
        EXPECT_EQ(slave[i] == master[i], i < 3) << i;
    for (std::size_t i = 1; i < 40; ++i)
        EXPECT_LT(slave[i] - slave[i - 1], 3750U) << i; // it goes on, with no gap that rounds to a frame
}

TEST_F(CameraFault, UntriggeredFromTheFirstFrameNeedsNoEdge)
{
    Build("untrigger:1@0");
    TheRig().SetStrobe(false);
    EXPECT_EQ(TheRig().FetchMany(1, 20).size(), 20U);
}

TEST_F(CameraFault, TornFramesAreCountedAndNotDelivered)
{
    Build("torn:1@1x2");
    std::vector<ErrorType> results;
    Codes codes;
    for (int i = 0; i < 4; ++i) {
        ErrorType eResult {};
        if (const auto code = TheRig().Fetch(1, eResult))
            codes.push_back(*code);
        results.push_back(eResult);
    }
    EXPECT_THAT(results,
        testing::ElementsAre(ErrorType::Ok, ErrorType::NothingToDeliver, ErrorType::NothingToDeliver, ErrorType::Ok));
    EXPECT_EQ(codes, (Codes { 0, 7500 }));
    EXPECT_EQ(TheRig()[1].GetStreamStatistics().incomplete, 2U);
    EXPECT_EQ(TheRig()[0].GetStreamStatistics().incomplete, 0U);
}

TEST_F(CameraFault, AStalledFrameIsLateAndHoldsUpTheNext)
{
    Build("stall:1@2=50");
    std::vector<ClockTime> arrivals;
    Image image;
    for (int i = 0; i < 25; ++i) {
        ASSERT_TRUE(TheRig()[1].RetrieveBuffer(image).IsOk());
        arrivals.push_back(image.GetArrivalTime());
        EXPECT_EQ(ReadBarCode(image), static_cast<std::uint32_t>(i) * 2500U);
    }
    constexpr ClockTime kLatency = 2 * kNsPerMs + 480 * 4000;
    EXPECT_EQ(arrivals[1], 2500 * kNsPerUs + kLatency);
    EXPECT_EQ(arrivals[2], 5000 * kNsPerUs + kLatency + 50 * kNsPerMs);
    EXPECT_EQ(arrivals[3], arrivals[2]);
    EXPECT_EQ(arrivals[24], 60 * kNsPerMs + kLatency); // has caught up
}

TEST_F(CameraFault, AHungCameraDeliversNothingButStrobes)
{
    Build("hang:0@3");
    EXPECT_EQ(Numbers(0, 10), (Codes { 0, 1, 2 }));
    ErrorType eResult {};
    (void)TheRig().Fetch(0, eResult);
    EXPECT_EQ(eResult, ErrorType::Timeout);
    EXPECT_EQ(Numbers(1, 10).size(), 10U);
    ASSERT_TRUE(TheRig()[0].StopCapture().IsOk());
}

TEST_F(CameraFault, AnUnpluggedCameraAnswersEveryCallThatItIsGone)
{
    Build("unplug:1@3");
    EXPECT_EQ(Numbers(1, 3), (Codes { 0, 1, 2 }));
    ErrorType eResult {};
    const ClockTime before = TheRig().GetClock().Now();
    (void)TheRig().Fetch(1, eResult);
    EXPECT_EQ(eResult, ErrorType::Disconnected);
    EXPECT_LT(TheRig().GetClock().Now() - before, 10 * kNsPerMs);
    CameraInfo info;
    EXPECT_EQ(TheRig()[1].GetCameraInfo(info), ErrorType::Disconnected);
    EXPECT_EQ(TheRig()[1].WriteRegister(0x11F8, 0), ErrorType::Disconnected);
    EXPECT_EQ(TheRig()[1].StopCapture(), ErrorType::Disconnected);
    EXPECT_EQ(TheRig()[1].StartCapture(), ErrorType::Disconnected);
    EXPECT_EQ(TheRig()[1].Disconnect(), ErrorType::Disconnected);
    EXPECT_FALSE(TheRig()[1].IsConnected());
    EXPECT_EQ(TheRig()[1].Connect(TheRig().Guid(1)), ErrorType::NotFound);
    unsigned int uiCount = 0;
    EXPECT_TRUE(TheRig().Library().GetBusManager().GetNumOfCameras(uiCount).IsOk());
    EXPECT_EQ(uiCount, 1U);
    EXPECT_EQ(TheRig().Library().ListCameras().size(), 1U);
    EXPECT_EQ(Numbers(0, 20).size(), 20U);
}

TEST_F(CameraFault, WithoutTheMasterTheSlavesStop)
{
    Build("unplug:0@5");
    EXPECT_EQ(Numbers(1, 20), (Codes { 0, 1, 2, 3, 4 }));
}

TEST_F(CameraFault, ASkewedClockStampsDifferently)
{
    const auto firstStamp = [this](std::string_view strFaults) {
        Build(strFaults, "simulated:2xGRAS-03K2", 100.0F);
        Image image;
        EXPECT_TRUE(TheRig()[1].RetrieveBuffer(image).IsOk());
        const std::uint8_t* const p = image.GetData();
        return std::uint32_t { p[0] } << 24 | std::uint32_t { p[1] } << 16 | std::uint32_t { p[2] } << 8 | p[3];
    };
    const auto build = [&](std::string_view strFaults) {
        m_rig.reset();
        return firstStamp(strFaults);
    };
    EXPECT_EQ(build(""), 0U);
    EXPECT_EQ(build("skew:1=375"), 0x3000U); // three cycles
}

TEST(ClockDrift, PacesAFreeRunningCamera)
{
    Rig rig("simulated:2xFL3-U3-13Y3M", "drift:1=1000");
    rig.ConfigureAll(100.0F, 1.0F);
    rig.StartDown();
    const Codes straight = rig.FetchMany(0, 101), fast = rig.FetchMany(1, 101);
    EXPECT_EQ(straight.back(), 1'000'000U);
    EXPECT_EQ(fast.back(), 999'000U); // 1000 ppm sooner, rounded down
}

TEST(ClockDrift, OnlyStampsATriggeredCamera)
{
    Rig rig("simulated:2xFL3-U3-13Y3M", "drift:1=1000");
    rig.ConfigureAll(100.0F, 1.0F);
    rig.LockToStrobe();
    rig.StartDown();
    EXPECT_EQ(rig.FetchMany(1, 101), rig.FetchMany(0, 101));
}

TEST(ClockDrift, ShowsInTheTimeStamps)
{
    Rig rig("simulated:2xFL3-U3-13Y3M", "drift:1=1000");
    rig.ConfigureAll(10.0F, 1.0F);
    rig.LockToStrobe();
    rig.StartDown();
    const auto seconds = [&rig](std::size_t c) {
        Image image;
        EXPECT_TRUE(rig[c].RetrieveBuffer(image).IsOk());
        const std::uint8_t* const p = image.GetData();
        const std::uint32_t v =
            std::uint32_t { p[0] } << 24 | std::uint32_t { p[1] } << 16 | std::uint32_t { p[2] } << 8 | p[3];
        return (v >> 25) + ((v >> 12 & 0x1FFF) + (v & 0xFFF) / 3072.0) / 8000.0;
    };
    const double dFirst[] = { seconds(0), seconds(1) };
    for (int i = 0; i < 99; ++i) {
        (void)rig.FetchMany(0, 1);
        (void)rig.FetchMany(1, 1);
    }
    EXPECT_NEAR(std::fmod(seconds(0) - dFirst[0] + 128, 128), 10.0, 1e-6); // this serial number has no rate error
    EXPECT_NEAR(std::fmod(seconds(1) - dFirst[1] + 128, 128), 10.01, 1e-6);
}

TEST(FailingCalls, FailOnceAndDoNothing)
{
    Rig rig("simulated:2xFL3-U3-13Y3M", "error:WriteRegister:9@2;error:GetCameraInfo:20@2#1");
    EXPECT_TRUE(rig[0].WriteRegister(0x2000, 1).IsOk());
    const Error error = rig[1].WriteRegister(0x2000, 2); // the second over all cameras
    EXPECT_EQ(error, ErrorType::RegisterFailed);
    EXPECT_FALSE(error.GetDescription().empty());
    std::uint32_t uiValue = 99;
    EXPECT_TRUE(rig[1].ReadRegister(0x2000, uiValue).IsOk());
    EXPECT_EQ(uiValue, 0U);
    EXPECT_TRUE(rig[1].WriteRegister(0x2000, 3).IsOk());

    CameraInfo info;
    EXPECT_TRUE(rig[0].GetCameraInfo(info).IsOk());
    EXPECT_TRUE(rig[0].GetCameraInfo(info).IsOk());
    EXPECT_TRUE(rig[1].GetCameraInfo(info).IsOk());
    EXPECT_EQ(rig[1].GetCameraInfo(info), ErrorType::TransportFailed); // the second of camera 1
    EXPECT_TRUE(rig[1].GetCameraInfo(info).IsOk());
}

} // namespace
} // namespace vireo
