#include "camera/video_mode.h"

#include <gtest/gtest.h>
#include <string>

namespace vireo {
namespace {

// What a rule makes of a camera: custom mode number and offsets, at 640x480 unless the row says otherwise.
constexpr VideoModeChoice Standard(FrameRateCode eRate = FrameRateCode::Fps30) { return { false, eRate, 0, 0, 0 }; }
constexpr VideoModeChoice Custom(ImagingMode mode, int iX, int iY, FrameRateCode eRate = FrameRateCode::Fps30)
{
    return { true, eRate, mode, iX, iY };
}
constexpr VideoModeChoice kGs3 = Custom(0, 640, 360); // (1920 - 640) / 2, (1200 - 480) / 2
constexpr VideoModeChoice kFl3 = Custom(0, 320, 272); // (1280 - 640) / 2, (1024 - 480) / 2
constexpr VideoModeChoice kDx = Custom(0, 2, 4);

VideoModeChoice At60(VideoModeChoice choice)
{
    choice.eRate = FrameRateCode::Fps60;
    return choice;
}

struct ModeCase {
    int iFps;
    const char* strModel;
    VideoModeChoice expected;
};

class VideoModeTable : public testing::TestWithParam<ModeCase> { };

TEST_P(VideoModeTable, ChoosesTheRowsMode)
{
    const ModeCase& row = GetParam();
    SCOPED_TRACE(std::string(row.strModel) + " at " + std::to_string(row.iFps));
    EXPECT_EQ(ChooseVideoMode(row.strModel, 0, row.iFps), row.expected);
}

const ModeCase kModeCases[] = {
    { 0, "GS3-U3-23S6M", Standard() },
    { 30, "GS3-U3-23S6M", kGs3 },
    { 30, "GS3-U3-23S6C", kGs3 },
    { 30, "GS3-PGE-23S6M", kGs3 },
    { 30, "GS3-PGE-23S6C", kGs3 },
    { 30, "FL3-U3-13Y3M", kFl3 },
    { 30, "FL3-U3-13E4C", Custom(2, 0, 0) },
    { 30, "GRAS-03K2", Custom(0, 0, 0) },
    { 30, "DX-BW", Standard() },
    { 60, "GS3-U3-23S6M", At60(kGs3) },
    { 60, "GS3-PGE-23S6C", At60(kGs3) },
    { 60, "FL3-U3-13Y3M", At60(kFl3) },
    { 60, "FL3-U3-13E4C", At60(Custom(2, 0, 0)) },
    { 60, "GRAS-03K2", At60(Custom(0, 0, 0)) },
    { 60, "DX-BW", At60(Standard()) },
    { 100, "DX-BW", kDx },
    { 100, "GS3-U3-23S6C", kGs3 },
    { 100, "GS3-PGE-23S6M", kGs3 },
    { 100, "FL3-U3-13Y3M", kFl3 },
    { 100, "FL3-U3-13E4C", Custom(2, 0, 0) },
    { 100, "GRAS-03K2", Custom(0, 0, 0) },
    { 118, "FL3-U3-13E4C", Custom(2, 0, 0) },
    { 118, "GS3-U3-23S6M", Standard() },
    { 118, "FL3-U3-13Y3M", Standard() },
    { 118, "GRAS-03K2", Standard() },
    { 120, "DX-BW", kDx },
    { 120, "GS3-U3-23S6M", kGs3 },
    { 120, "GS3-PGE-23S6M", kGs3 },
    { 120, "FL3-U3-13Y3M", Custom(1, 0, 0) },
    { 120, "FL3-U3-13E4C", Standard() },
    { 120, "GRAS-03K2", Custom(0, 0, 0) },
    { 150, "DX-BW", kDx },
    { 150, "GRAS-03K2", Custom(0, 0, 0) },
    { 150, "GS3-PGE-23S6C", kGs3 },
    { 150, "FL3-U3-13Y3M", Custom(1, 0, 0) },
    { 150, "FL3-U3-13E4C", Standard() },
    { 200, "DX-BW", kDx },
    { 200, "GS3-U3-23S6M", kGs3 },
    { 200, "GS3-PGE-23S6M", kGs3 },
    { 200, "FL3-U3-13Y3M", Custom(1, 0, 0) },
    { 200, "GRAS-03K2", Custom(0, 0, 0) },
    { 250, "GS3-U3-23S6M", kGs3 },
    { 250, "GS3-U3-23S6C", kGs3 },
    { 250, "GS3-PGE-23S6M", Standard() },
    { 250, "FL3-U3-13Y3M", Custom(1, 0, 0) },
    { 250, "GRAS-03K2", Standard() },
    { 250, "DX-BW", Standard() },
    { 300, "GS3-U3-23S6M", kGs3 },
    { 300, "GS3-PGE-23S6M", Standard() },
    { 300, "FL3-U3-13Y3M", Custom(1, 0, 0) },
    { 350, "GS3-U3-23S6C", kGs3 },
    { 350, "FL3-U3-13Y3M", Custom(1, 0, 0) },
    { 350, "GRAS-03K2", Standard() },
    { 400, "FL3-U3-13Y3M", Custom(1, 0, 0) },
    { 400, "GS3-U3-23S6M", Standard() },
    { 90, "GS3-U3-23S6M", Standard() },
    // No rule knows these at any rate.
    { 30, "Flea 2", Standard() },
    { 60, "DR2-COL", At60(Standard()) },
    { 60, "FFMV-03MTC", At60(Standard()) },
    { 200, "Dragonfly Express", Standard() },
};
INSTANTIATE_TEST_SUITE_P(Rows, VideoModeTable, testing::ValuesIn(kModeCases));

TEST(ChooseVideoMode, CentresEverySizeOnTheSensor)
{
    const struct {
        int iIndex, iWidth, iHeight, iGs3X, iGs3Y, iFl3X, iFl3Y;
    } kRows[] = {
        { 0, 640, 480, 640, 360, 320, 272 }, { 1, 1024, 768, 448, 216, 128, 128 }, { 2, 1280, 720, 320, 240, 0, 152 },
        { 3, 1920, 1080, 0, 60, -320, -28 }, // larger than the sensor: the camera refuses it
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.iIndex);
        const VideoModeChoice gs3 = ChooseVideoMode("GS3-U3-23S6M", row.iIndex, 100);
        EXPECT_EQ(gs3.iWidth, row.iWidth);
        EXPECT_EQ(gs3.iHeight, row.iHeight);
        EXPECT_EQ(gs3.iOffsetX, row.iGs3X);
        EXPECT_EQ(gs3.iOffsetY, row.iGs3Y);
        const VideoModeChoice fl3 = ChooseVideoMode("FL3-U3-13Y3M", row.iIndex, 100);
        EXPECT_EQ(fl3.iOffsetX, row.iFl3X);
        EXPECT_EQ(fl3.iOffsetY, row.iFl3Y);
    }
}

TEST(ChooseVideoMode, LetsALaterRuleOverwriteTheOffsetsOfAnEarlierOne)
{
    EXPECT_EQ(ChooseVideoMode("DX-BW GS3-U3-23S6M", 0, 100), kGs3);
    EXPECT_EQ(ChooseVideoMode("GS3-U3-23S6M FL3-U3-13Y3M", 0, 100), kFl3);
    EXPECT_EQ(ChooseVideoMode("GS3-U3-23S6M FL3-U3-13Y3M", 0, 120), Custom(1, 640, 360));
}

TEST(ChooseVideoMode, PrefersNoPacketSize) { EXPECT_EQ(ChooseVideoMode("GS3-U3-23S6M", 0, 30).iPacketSize, -1); }

// ---- Frame-rate registers

constexpr std::uint32_t k30 = 0x41F00000;
constexpr std::uint32_t k60 = 0x42700000;
constexpr std::uint32_t k100 = 0x42C80000;
constexpr std::uint32_t k118 = 0x42EC0000;
constexpr std::uint32_t k120 = 0x42F00000;
constexpr std::uint32_t k150 = 0x43160000;
constexpr std::uint32_t k200 = 0x43480000;
constexpr std::uint32_t k250 = 0x437A0000;
constexpr std::uint32_t k300 = 0x43960000;
constexpr std::uint32_t k350 = 0x43AF0000;

struct RateCase {
    const char* strModel;
    int iFps;
    int iWidth;
    std::uint32_t uiValue;
};

class FrameRateTable : public testing::TestWithParam<RateCase> { };

TEST_P(FrameRateTable, WritesTheRateOrThirty)
{
    const RateCase& row = GetParam();
    SCOPED_TRACE(std::string(row.strModel) + " at " + std::to_string(row.iFps) + ", " + std::to_string(row.iWidth));
    const bool bGras = std::string(row.strModel) == "GRAS-03K2";
    const std::vector<FrameRateRegister> expected {
        { 0x083C, bGras ? 0xC20001D7 : 0xC20001E0, bGras },
        { 0x0968, row.uiValue, false },
    };
    EXPECT_EQ(FrameRateRegisters(row.strModel, row.iFps, row.iWidth), expected);
}

const RateCase kRateCases[] = {
    { "GRAS-03K2", 30, 640, k30 },
    { "GRAS-03K2", 60, 640, k60 },
    { "GRAS-03K2", 100, 640, k100 },
    { "GRAS-03K2", 118, 640, k30 },
    { "GRAS-03K2", 120, 640, k120 },
    { "GRAS-03K2", 150, 640, k150 },
    { "GRAS-03K2", 200, 1920, k200 },
    { "GRAS-03K2", 250, 640, k30 },
    { "FL3-U3-13Y3M", 30, 640, k30 },
    { "FL3-U3-13Y3M", 60, 640, k60 },
    { "FL3-U3-13Y3M", 100, 640, k100 },
    { "FL3-U3-13Y3M", 120, 640, k120 },
    { "FL3-U3-13Y3M", 150, 640, k150 },
    { "FL3-U3-13Y3M", 200, 640, k200 },
    { "FL3-U3-13Y3M", 250, 640, k250 },
    { "FL3-U3-13Y3M", 300, 640, k300 },
    { "FL3-U3-13Y3M", 350, 1280, k350 },
    { "FL3-U3-13Y3M", 400, 640, k30 },
    { "FL3-U3-13E4C", 30, 640, k30 },
    { "FL3-U3-13E4C", 60, 640, k60 },
    { "FL3-U3-13E4C", 100, 640, k100 },
    { "FL3-U3-13E4C", 118, 1280, k118 },
    { "FL3-U3-13E4C", 120, 640, k30 },
    { "GS3-U3-23S6M", 30, 1920, k30 },
    { "GS3-U3-23S6C", 60, 1920, k60 },
    { "GS3-U3-23S6M", 100, 1920, k100 },
    { "GS3-U3-23S6M", 120, 1920, k120 },
    { "GS3-U3-23S6M", 150, 1920, k150 },
    { "GS3-U3-23S6M", 200, 1280, k200 },
    { "GS3-U3-23S6M", 200, 1281, k30 },
    { "GS3-U3-23S6C", 250, 640, k250 },
    { "GS3-U3-23S6C", 250, 1280, k30 },
    { "GS3-U3-23S6M", 300, 640, k300 },
    { "GS3-U3-23S6M", 300, 1024, k30 },
    { "GS3-U3-23S6M", 350, 640, k350 },
    { "GS3-U3-23S6M", 350, 641, k30 },
    { "GS3-U3-23S6M", 400, 640, k30 },
    { "GS3-PGE-23S6M", 30, 1920, k30 },
    { "GS3-PGE-23S6C", 60, 1280, k60 },
    { "GS3-PGE-23S6M", 60, 1920, k30 },
    { "GS3-PGE-23S6M", 100, 1024, k100 },
    { "GS3-PGE-23S6M", 100, 1280, k30 },
    { "GS3-PGE-23S6M", 120, 640, k120 },
    { "GS3-PGE-23S6M", 120, 1024, k30 },
    { "GS3-PGE-23S6M", 150, 640, k150 },
    { "GS3-PGE-23S6M", 150, 1024, k30 },
    { "GS3-PGE-23S6M", 200, 640, k200 },
    { "GS3-PGE-23S6M", 200, 1024, k30 },
    { "GS3-PGE-23S6C", 250, 640, k250 },
    { "GS3-PGE-23S6C", 250, 1024, k30 },
    { "GS3-PGE-23S6C", 300, 640, k30 },
};
INSTANTIATE_TEST_SUITE_P(Rows, FrameRateTable, testing::ValuesIn(kRateCases));

TEST(FrameRateRegisters, LeavesOtherModelsAlone)
{
    EXPECT_TRUE(FrameRateRegisters("DX-BW", 100, 640).empty());
    EXPECT_TRUE(FrameRateRegisters("GRAS-03S2", 100, 640).empty());
    EXPECT_TRUE(FrameRateRegisters("Dragonfly Express", 100, 640).empty());
}

// ---- Pixel formats and packets

TEST(PixelFormats, AreRawForColourAndForSomeMonoModelsOfEachPath)
{
    const struct {
        const char* strModel;
        bool bColour;
        PixelFormat eFormat7, eGigE;
    } kRows[] = {
        { "GS3-U3-23S6C", true, PixelFormat::Raw8, PixelFormat::Raw8 },
        { "GRAS-03K2C", true, PixelFormat::Raw8, PixelFormat::Raw8 },
        { "FL3-U3-13Y3M", false, PixelFormat::Raw8, PixelFormat::Mono8 },
        { "GS3-U3-23S6M", false, PixelFormat::Raw8, PixelFormat::Mono8 },
        { "GS3-PGE-23S6M", false, PixelFormat::Mono8, PixelFormat::Raw8 },
        { "GRAS-03K2", false, PixelFormat::Mono8, PixelFormat::Mono8 },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.strModel);
        EXPECT_EQ(ChooseFormat7PixelFormat(row.strModel, row.bColour), row.eFormat7);
        EXPECT_EQ(ChooseGigEPixelFormat(row.strModel, row.bColour), row.eGigE);
    }
    EXPECT_EQ(static_cast<std::uint32_t>(PixelFormat::Raw8), 0x00400000U);
    EXPECT_EQ(static_cast<std::uint32_t>(PixelFormat::Mono8), 0x80000000U);
}

TEST(ChoosePacketSize, TakesThePreferredSizeWhereTheCameraCanDoIt)
{
    const Format7PacketInfo info {
        .recommendedBytesPerPacket = 4000, .maxBytesPerPacket = 8000, .unitBytesPerPacket = 8
    };
    EXPECT_EQ(ChoosePacketSize("GRAS-03K2", 8, info), 8U);
    EXPECT_EQ(ChoosePacketSize("GRAS-03K2", 8000, info), 8000U);
    EXPECT_EQ(ChoosePacketSize("GRAS-03K2", 7, info), 4000U);
    EXPECT_EQ(ChoosePacketSize("GRAS-03K2", 8001, info), 4000U);
    EXPECT_EQ(ChoosePacketSize("GRAS-03K2", 0, info), 4000U);
}

TEST(ChoosePacketSize, IsTheLargestForTheFastModelsElseTheRecommended)
{
    const Format7PacketInfo info {
        .recommendedBytesPerPacket = 4000, .maxBytesPerPacket = 8000, .unitBytesPerPacket = 8
    };
    for (const char* strModel : { "FL3-U3-13Y3M", "FL3-U3-13E4C", "GS3-U3-23S6M", "GS3-U3-23S6C" })
        EXPECT_EQ(ChoosePacketSize(strModel, -1, info), 8000U) << strModel;
    for (const char* strModel : { "GRAS-03K2", "DX-BW", "Flea 2" })
        EXPECT_EQ(ChoosePacketSize(strModel, -1, info), 4000U) << strModel;
}

} // namespace
} // namespace vireo
