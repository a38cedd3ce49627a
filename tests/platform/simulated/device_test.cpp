#include "platform/simulated/device.h"

#include <gtest/gtest.h>
#include <set>

namespace vireo {
namespace {

TEST(CameraClock, ShowsSecondsCyclesAndParts)
{
    const struct {
        const char* pName;
        CameraClock clock;
        ClockTime sinceStart;
        std::uint32_t uiShown;
    } kRows[] = {
        { "start", {}, 0, 0 },
        { "one cycle is 125 us", {}, 125'000, 0x0000'1000 },
        { "just before", {}, 124'999, 0x0000'0BFF },
        { "one second", {}, kNsPerSecond, 0x0200'0000 },
        { "last second", {}, 127 * kNsPerSecond, 0xFE00'0000 },
        { "wraps after 128 s", {}, 128 * kNsPerSecond, 0 },
        { "an offset", { 250'000, 0 }, kNsPerSecond, 0x0200'2000 },
        { "an offset backwards past the wrap", { -125'000, 0 }, 0, 0xFFF3'F000 },
        { "100 ppm fast after ten seconds", { 0, 100'000 }, 10 * kNsPerSecond, 0x1400'8000 },
        { "100 ppm slow after ten seconds", { 0, -100'000 }, 10 * kNsPerSecond, 0x1200'0000 + (7992U << 12) },
    };
    for (const auto& row : kRows)
        EXPECT_EQ(CycleTime(row.clock, row.sinceStart), row.uiShown) << row.pName;
}

TEST(CameraClock, EverySerialNumberHasItsOwnClockWithinTwentyPpm)
{
    std::set<ClockTime> offsets;
    std::set<std::int64_t> rates;
    for (std::uint32_t uiSerial = 13000001; uiSerial < 13000101; ++uiSerial) {
        const CameraClock clock = OwnClock(uiSerial);
        EXPECT_LE(std::abs(clock.iPpb), 20'000);
        EXPECT_GE(clock.offset, 0);
        EXPECT_LT(clock.offset, 128 * kNsPerSecond);
        offsets.insert(clock.offset);
        rates.insert(clock.iPpb);
    }
    EXPECT_EQ(offsets.size(), 100U);
    EXPECT_EQ(rates.size(), 41U);
    EXPECT_EQ(OwnClock(17000001).offset, OwnClock(17000001).offset);
}

TEST(CameraClock, CamerasOfOneBusShareItsClock)
{
    const Device a({ "GRAS-03K2", 1 }, 0, {}), b({ "DX-BW", 2 }, 1, {});
    const Device usb({ "FL3-U3-13Y3M", 3 }, 2, {}), gige({ "GS3-PGE-23S6M", 4 }, 3, {});
    EXPECT_EQ(a.info.clockDomain, b.info.clockDomain);
    EXPECT_EQ(a.clock.offset, b.clock.offset);
    EXPECT_EQ(a.clock.iPpb, b.clock.iPpb);
    EXPECT_EQ((std::set { a.info.clockDomain, usb.info.clockDomain, gige.info.clockDomain }).size(), 3U);
    EXPECT_NE(usb.clock.offset, gige.clock.offset);
}

TEST(CameraClock, ASkewedOrDriftingCameraLeavesTheBusClock)
{
    CameraFaults skew, drift;
    skew.skew = 5'000;
    drift.drift = 100'000;
    const Device healthy({ "GRAS-03K2", 1 }, 0, {});
    const Device skewed({ "GRAS-03K2", 2 }, 1, skew), drifting({ "GRAS-03K2", 3 }, 2, drift);
    EXPECT_NE(skewed.info.clockDomain, healthy.info.clockDomain);
    EXPECT_NE(drifting.info.clockDomain, healthy.info.clockDomain);
    EXPECT_EQ(skewed.clock.offset, healthy.clock.offset + 5'000);
    EXPECT_EQ(drifting.clock.iPpb, 100'000);
}

TEST(Device, TellsWhatItIs)
{
    const Device device({ "GS3-PGE-23S6C", 15100007 }, 0, {});
    EXPECT_EQ(device.info.serialNumber, 15100007U);
    EXPECT_EQ(device.info.interfaceType, InterfaceType::GigE);
    EXPECT_TRUE(device.info.isColorCamera);
    EXPECT_EQ(device.info.modelName, "GS3-PGE-23S6C");
    EXPECT_EQ(device.info.vendorName, "Simulated");
    EXPECT_EQ(device.info.sensorResolution, "1920x1200");
    EXPECT_NE(device.info.clockDomain, 0U);
}

} // namespace
} // namespace vireo
