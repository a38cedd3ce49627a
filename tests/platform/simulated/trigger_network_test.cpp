#include "platform/simulated/trigger_network.h"
#include "rig.h"

#include <gmock/gmock.h>

namespace vireo {
namespace {

using Codes = std::vector<std::uint32_t>;

Codes Steps(const Codes& codes)
{
    Codes steps;
    for (std::size_t i = 1; i < codes.size(); ++i)
        steps.push_back(codes[i] - codes[i - 1]);
    return steps;
}

TEST(TtlGenerator, IsHighInTheFirstHalfOfEachPeriod)
{
    TtlGenerator generator(GeneratorSetup { 100'000, std::nullopt });
    EXPECT_FALSE(generator.High(0)); // no wave yet
    EXPECT_EQ(generator.NextEdge(0), kForever);
    generator.StartWave(7 * kNsPerMs);
    EXPECT_FALSE(generator.High(7 * kNsPerMs - 1));
    EXPECT_TRUE(generator.High(7 * kNsPerMs));
    EXPECT_TRUE(generator.High(12 * kNsPerMs - 1));
    EXPECT_FALSE(generator.High(12 * kNsPerMs));
    EXPECT_TRUE(generator.High(17 * kNsPerMs));
    EXPECT_EQ(generator.NextEdge(0), 7 * kNsPerMs);
    EXPECT_EQ(generator.NextEdge(7 * kNsPerMs), 12 * kNsPerMs);
    EXPECT_EQ(generator.NextEdge(16 * kNsPerMs), 17 * kNsPerMs);
}

TEST(TtlGenerator, UnevenRatesAddUpExactly)
{
    TtlGenerator generator(GeneratorSetup { 3'000, std::nullopt });
    generator.StartWave(0);
    ClockTime edge = 0;
    for (int i = 0; i < 6000; ++i) { // 1000 s, two edges a period of 1/3 s
        const ClockTime next = generator.NextEdge(edge);
        ASSERT_GT(next, edge);
        edge = next;
    }
    EXPECT_EQ(edge, 1000 * kNsPerSecond);
}

TEST(FreeRun, ExposesAtExactMultiplesOfThePeriod)
{
    Rig rig("simulated:FL3-U3-13Y3M");
    rig.Configure(0, 30.0F, 1.0F);
    rig.GetClock().SleepMs(40);
    ASSERT_TRUE(rig[0].StartCapture().IsOk());
    const Codes codes = rig.FetchMany(0, 300);
    ASSERT_EQ(codes.size(), 300U);
    for (std::size_t i = 0; i < codes.size(); ++i)
        ASSERT_EQ(codes[i], (i + 2) * 1'000'000 / 30) << i; // no rounding adds up
}

TEST(FreeRun, NothingIsExposedBeforeTheStart)
{
    Rig rig("simulated:FL3-U3-13Y3M");
    rig.Configure(0, 100.0F, 1.0F);
    rig.GetClock().SleepMs(1001);
    ASSERT_TRUE(rig[0].StartCapture().IsOk());
    rig.GetClock().SleepMs(1000);
    EXPECT_EQ(rig.FetchMany(0, 1), Codes { 1'010'000 });
}

TEST(FreeRun, AFrameArrivesAfterExposureAndReadOut)
{
    Rig rig("simulated:FL3-U3-13Y3M");
    rig.Configure(0, 100.0F, 2.0F);
    ASSERT_TRUE(rig[0].StartCapture().IsOk());
    Image image;
    ASSERT_TRUE(rig[0].RetrieveBuffer(image).IsOk());
    EXPECT_EQ(image.GetArrivalTime(), rig.GetClock().Now());
    EXPECT_EQ(image.GetArrivalTime(), 2 * kNsPerMs + 480 * 4000); // exposed at 0; 480 rows of 4 us
}

TEST(FreeRun, ANewRateCountsFromTheNextFrameOn)
{
    Rig rig("simulated:FL3-U3-13Y3M");
    rig.Configure(0, 100.0F, 1.0F);
    ASSERT_TRUE(rig[0].StartCapture().IsOk());
    EXPECT_EQ(rig.FetchMany(0, 3), (Codes { 0, 10'000, 20'000 }));
    rig.SetManual(0, PropertyType::FrameRate, 25.0F);
    EXPECT_EQ(rig.FetchMany(0, 2), (Codes { 40'000, 80'000 }));
}

TEST(FreeRun, ASynchronisedStartGivesAllTheSameFirstFrame)
{
    Rig rig("simulated:GRAS-03K2+DX-BW+GS3-PGE-23S6M");
    rig.ConfigureAll(100.0F, 1.0F);
    rig.GetClock().SleepMs(3);
    const std::vector<CameraBase*> cameras { &rig[0], &rig[1], &rig[2] };
    ASSERT_TRUE(rig.Library().StartSyncCapture(cameras).IsOk());
    for (std::size_t c = 0; c < 3; ++c)
        EXPECT_EQ(rig.FetchMany(c, 3), (Codes { 10'000, 20'000, 30'000 }));
}

class Strobe : public testing::Test {
protected:
    Rig m_rig { "simulated:2xFL3-U3-13Y3M" };
    void SetUp() override
    {
        m_rig.ConfigureAll(100.0F, 4.0F);
        m_rig.LockToStrobe();
    }
    void ExpectSlaveAfter(std::uint32_t uiMicroseconds)
    {
        m_rig.StartDown();
        const Codes master = m_rig.FetchMany(0, 4), slave = m_rig.FetchMany(1, 4);
        ASSERT_EQ(slave.size(), 4U);
        for (std::size_t i = 0; i < slave.size(); ++i)
            EXPECT_EQ(slave[i], master[i] + uiMicroseconds);
    }
};

TEST_F(Strobe, FallsWithTheExposureWhenActiveLow) { ExpectSlaveAfter(0); }

TEST_F(Strobe, RisesWhenTheExposureEndsWhenActiveLow)
{
    m_rig.SetTrigger(1, true, 1);
    ExpectSlaveAfter(4000);
}

TEST_F(Strobe, RisesWithTheExposureWhenActiveHigh)
{
    m_rig.SetStrobe(true, 1);
    m_rig.SetTrigger(1, true, 1);
    ExpectSlaveAfter(0);
}

TEST_F(Strobe, LastsAsLongAsItIsTold)
{
    ASSERT_TRUE(m_rig[0].SetStrobe({ 2, true, 0, 1.5F, 2.0F }).IsOk());
    m_rig.SetTrigger(1, true, 1);
    ExpectSlaveAfter(3500);
}

TEST_F(Strobe, ThatNeverGoesOffHasNoEdges)
{
    m_rig.SetManual(0, PropertyType::Shutter, 10.0F); // the whole period
    m_rig.StartDown();
    EXPECT_EQ(m_rig.FetchMany(0, 10).size(), 10U);
    EXPECT_EQ(m_rig.FetchMany(1, 10).size(), 1U); // the first one, when it went on for good
}

TEST_F(Strobe, SwitchedOffInMidRunStopsTheSlaves)
{
    m_rig.StartDown();
    EXPECT_EQ(m_rig.FetchMany(1, 5).size(), 5U);
    m_rig.SetStrobe(false);
    EXPECT_LE(m_rig.FetchMany(1, 5).size(), 1U); // one may be under way
    EXPECT_EQ(m_rig.FetchMany(0, 20).size(), 20U);
}

TEST_F(Strobe, AnotherTriggerSourceHearsNothing)
{
    ASSERT_TRUE(m_rig[1].SetTriggerMode({ true, 0, 3, 14, 0 }).IsOk());
    m_rig.StartDown();
    EXPECT_TRUE(m_rig.FetchMany(1, 1).empty());
}

TEST(TriggerMode, OverlapsReadOutOnlyInMode14)
{
    // 250 Hz, exposure 3 ms, read-out 1.92 ms: together longer than the 4 ms between the edges.
    for (const auto& [uiMode, uiStep] : { std::pair { 14U, 4000U }, std::pair { 0U, 8000U } }) {
        SCOPED_TRACE(uiMode);
        Rig rig("simulated:FL3-U3-13Y3M", "trigger:250");
        rig.Configure(0, 100.0F, 3.0F);
        rig.SetTrigger(0, true, 1, uiMode);
        ASSERT_TRUE(rig[0].StartCapture().IsOk());
        EXPECT_THAT(Steps(rig.FetchMany(0, 20)), testing::Each(uiStep));
    }
}

TEST(TriggerMode, IgnoresEdgesThatComeTooClose)
{
    // Read-out takes 1.92 ms and the edges are 1.25 ms apart: every second one counts.
    Rig rig("simulated:FL3-U3-13Y3M", "trigger:800");
    rig.Configure(0, 400.0F, 0.5F);
    rig.SetTrigger(0, true, 1);
    ASSERT_TRUE(rig[0].StartCapture().IsOk());
    EXPECT_THAT(Steps(rig.FetchMany(0, 20)), testing::Each(2500U));
}

TEST(TriggerMode, IgnoresEdgesDuringExposure)
{
    Rig rig("simulated:FL3-U3-13Y3M", "trigger:250");
    rig.Configure(0, 100.0F, 9.0F);
    rig.SetTrigger(0, true, 1);
    ASSERT_TRUE(rig[0].StartCapture().IsOk());
    EXPECT_THAT(Steps(rig.FetchMany(0, 20)), testing::Each(12000U)); // the third edge comes after 9 ms
}

TEST(Generator, RunsAllTheTimeWithoutDelay)
{
    Rig rig("simulated:2xFL3-U3-13Y3M", "trigger:100");
    rig.ConfigureAll(400.0F, 1.0F);
    rig.SetTrigger(0, true, 1);
    rig.SetTrigger(1, true, 0);
    rig.GetClock().SleepMs(12);
    rig.StartDown();
    EXPECT_EQ(rig.FetchMany(0, 3), (Codes { 20'000, 30'000, 40'000 })); // rising edges
    EXPECT_EQ(rig.FetchMany(1, 3), (Codes { 15'000, 25'000, 35'000 })); // falling edges
}

TEST(Generator, WithDelayCountsFromTheLastCamerasStart)
{
    Rig rig("simulated:2xFL3-U3-13Y3M", "trigger:100@50");
    rig.ConfigureAll(400.0F, 1.0F);
    rig.SetTrigger(0, true, 1);
    rig.SetTrigger(1, true, 1);
    ASSERT_TRUE(rig[0].StartCapture().IsOk());
    rig.GetClock().SleepMs(300);
    ASSERT_TRUE(rig[1].StartCapture().IsOk());
    for (std::size_t c = 0; c < 2; ++c)
        EXPECT_EQ(rig.FetchMany(c, 3), (Codes { 350'000, 360'000, 370'000 }));
    ASSERT_TRUE(rig[1].StopCapture().IsOk());
    EXPECT_LE(rig.FetchMany(0, 5).size(), 1U); // the wave has ended
}

TEST(Generator, IsTurnedOverByTheOutputLevel)
{
    Rig rig("simulated:2xFL3-U3-13Y3M", "trigger:100");
    rig.ConfigureAll(400.0F, 1.0F);
    rig.SetTrigger(1, true, 1);
    ASSERT_TRUE(rig[0].WriteRegister(0x11F0, 0x90000000).IsOk());
    ASSERT_TRUE(rig[1].StartCapture().IsOk());
    EXPECT_EQ(rig.FetchMany(1, 2), (Codes { 5'000, 15'000 })); // the line rises when the generator falls
}

TEST(TriggerLine, ShowsItsLevelInThePinRegister)
{
    Rig rig("simulated:2xFL3-U3-13Y3M", "trigger:100");
    const auto pins = [&rig](std::size_t c) {
        std::uint32_t uiValue = 0;
        EXPECT_TRUE(rig[c].ReadRegister(0x11F4, uiValue).IsOk());
        return uiValue;
    };
    EXPECT_EQ(pins(0), 0xF0000000U); // first half of the generator's period
    rig.GetClock().SleepMs(5);
    EXPECT_EQ(pins(0), 0x80000000U);
    EXPECT_EQ(pins(1), 0x80000000U);
    ASSERT_TRUE(rig[0].WriteRegister(0x11F0, 0x90000001).IsOk());
    EXPECT_EQ(pins(0), 0xF0000000U);
    EXPECT_EQ(pins(1), 0xF0000000U);
    ASSERT_TRUE(rig[1].WriteRegister(0x11F0, 0x90000000).IsOk()); // only camera 0's output is wired
    EXPECT_EQ(pins(0), 0xF0000000U);
    rig.GetClock().SleepMs(5);
    EXPECT_EQ(pins(1), 0x80000000U);
}

TEST(TriggerLine, ALevelSetByHandIsAnEdge)
{
    Rig rig("simulated:2xFL3-U3-13Y3M");
    rig.ConfigureAll(400.0F, 1.0F);
    rig.SetTrigger(0, true, 1);
    rig.SetTrigger(1, true, 1);
    rig.StartDown();
    rig.GetClock().SleepMs(7);
    ASSERT_TRUE(rig[0].WriteRegister(0x11F0, 0x90000000).IsOk());
    rig.GetClock().SleepMs(7);
    ASSERT_TRUE(rig[0].WriteRegister(0x11F0, 0x90000000).IsOk()); // no change, no edge
    rig.GetClock().SleepMs(7);
    ASSERT_TRUE(rig[0].WriteRegister(0x11F0, 0).IsOk()); // falls: not theirs
    EXPECT_EQ(rig.FetchMany(0, 2), Codes { 7'000 });
    EXPECT_EQ(rig.FetchMany(1, 2), Codes { 7'000 });
}

TEST(TriggerLine, ShowsItsLevelInEveryFrame)
{
    Rig rig("simulated:2xFL3-U3-13Y3M");
    rig.ConfigureAll(100.0F, 1.0F);
    rig.StartDown();
    Image image;
    for (const int iExpected : { 0x00, 0xE0, 0x00 }) {
        for (std::size_t c = 0; c < 2; ++c) {
            ASSERT_TRUE(rig[c].RetrieveBuffer(image).IsOk());
            EXPECT_EQ(image.GetData()[4], iExpected);
            EXPECT_EQ(image.GetData()[5], 0);
        }
        ASSERT_TRUE(rig[0].WriteRegister(0x11F0, iExpected == 0 ? 0x90000000 : 0).IsOk());
    }
}

TEST(TriggerLine, AllCamerasWaitForTheExternalTrigger)
{
    Rig rig("simulated", "trigger:200@30");
    rig.ConfigureAll(400.0F, 2.0F);
    for (std::size_t c = 0; c < rig.Count(); ++c)
        rig.SetTrigger(c, true, 1);
    for (std::size_t c = 0; c < rig.Count(); ++c)
        ASSERT_TRUE(rig[c].StartCapture().IsOk());
    for (std::size_t c = 0; c < rig.Count(); ++c)
        EXPECT_EQ(rig.FetchMany(c, 3), (Codes { 30'000, 35'000, 40'000 }));
}

} // namespace
} // namespace vireo
