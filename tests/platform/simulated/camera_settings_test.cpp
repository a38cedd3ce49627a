#include "platform/simulated/camera_settings.h"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace vireo {
namespace {

CameraSettings Settings(std::string_view strModel) { return { *FindCameraModel(strModel), strModel }; }

Property Manual(PropertyType eType, float fValue)
{
    Property property;
    property.type = eType;
    property.onOff = true;
    property.absControl = true;
    property.absValue = fValue;
    return property;
}

Property Get(const CameraSettings& settings, PropertyType eType)
{
    Property property;
    property.type = eType;
    EXPECT_TRUE(settings.GetProperty(property).IsOk());
    return property;
}

ErrorType SetImage(CameraSettings& settings, const Format7ImageSettings& image)
{
    return settings.SetImage(image, settings.PacketInfo().maxBytesPerPacket).GetType();
}

TEST(CameraSettings, PropertiesHaveTheRangesOfTheModel)
{
    const struct {
        const char* pModel;
        float fMaxFps, fGainMin, fGainMax;
    } kRows[] = { { "GS3-U3-23S6M", 350, 0, 29 }, { "GS3-PGE-23S6C", 250, 0, 29 }, { "FL3-U3-13Y3M", 400, 0, 18 },
        { "FL3-U3-13E4C", 118, 0, 18 }, { "GRAS-03K2", 200, 0, 24 }, { "Dragonfly Express", 200, -6, 30 },
        { "FFMV-03M2M", 60, 0, 12 }, { "DR2-HIBW", 60, 0, 24 } };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pModel);
        CameraSettings settings = Settings(row.pModel);
        PropertyInfo info;
        info.type = PropertyType::FrameRate;
        EXPECT_TRUE(settings.GetPropertyInfo(info).IsOk());
        EXPECT_TRUE(info.present && info.autoSupported && info.manualSupported && info.absValSupported);
        EXPECT_EQ(info.absMax, row.fMaxFps);
        info.type = PropertyType::Gain;
        EXPECT_TRUE(settings.GetPropertyInfo(info).IsOk());
        EXPECT_EQ(info.absMin, row.fGainMin);
        EXPECT_EQ(info.absMax, row.fGainMax);
        EXPECT_TRUE(settings.SetProperty(Manual(PropertyType::FrameRate, row.fMaxFps)).IsOk());
        EXPECT_EQ(settings.SetProperty(Manual(PropertyType::FrameRate, row.fMaxFps + 1)), ErrorType::InvalidParameter);
        EXPECT_EQ(settings.SetProperty(Manual(PropertyType::Gain, row.fGainMax + 1)), ErrorType::InvalidParameter);
        EXPECT_EQ(settings.SetProperty(Manual(PropertyType::Gain, row.fGainMin - 1)), ErrorType::InvalidParameter);
        EXPECT_EQ(settings.SetProperty(Manual(PropertyType::Gain, std::nanf(""))), ErrorType::InvalidParameter);
        EXPECT_EQ(Get(settings, PropertyType::FrameRate).absValue, row.fMaxFps);
    }
}

TEST(CameraSettings, RawValuesSpanTheRange)
{
    CameraSettings settings = Settings("GRAS-03K2");
    Property property;
    property.type = PropertyType::Gain;
    property.valueA = 4095;
    EXPECT_TRUE(settings.SetProperty(property).IsOk());
    EXPECT_EQ(Get(settings, PropertyType::Gain).absValue, 24.0F);
    EXPECT_EQ(Get(settings, PropertyType::Gain).valueA, 4095U);
    property.valueA = 4096;
    EXPECT_EQ(settings.SetProperty(property), ErrorType::InvalidParameter);
}

TEST(CameraSettings, OnlyColourCamerasBalanceWhite)
{
    CameraSettings mono = Settings("GS3-U3-23S6M"), colour = Settings("GS3-U3-23S6C");
    Property property;
    property.type = PropertyType::WhiteBalance;
    property.valueA = 90;
    property.valueB = 80;
    EXPECT_FALSE(Get(mono, PropertyType::WhiteBalance).present);
    EXPECT_EQ(mono.SetProperty(property), ErrorType::NotSupported);
    EXPECT_TRUE(colour.SetProperty(property).IsOk());
    EXPECT_TRUE(Get(colour, PropertyType::WhiteBalance).present);
    EXPECT_EQ(Get(colour, PropertyType::WhiteBalance).valueA, 90U);
    EXPECT_EQ(Get(colour, PropertyType::WhiteBalance).valueB, 80U);
    property.valueB = 1024;
    EXPECT_EQ(colour.SetProperty(property), ErrorType::InvalidParameter);
}

TEST(CameraSettings, AShutterLongerThanThePeriodIsShortened)
{
    CameraSettings settings = Settings("FL3-U3-13Y3M");
    ASSERT_EQ(SetImage(settings, { 1, 0, 0, 640, 480, PixelFormat::Raw8 }), ErrorType::Ok);
    ASSERT_TRUE(settings.SetProperty(Manual(PropertyType::FrameRate, 400)).IsOk());
    ASSERT_TRUE(settings.SetProperty(Manual(PropertyType::Shutter, 30)).IsOk());
    EXPECT_EQ(Get(settings, PropertyType::Shutter).absValue, 2.5F);
    EXPECT_EQ(settings.Timing().exposure, 2'500'000);
    ASSERT_TRUE(settings.SetProperty(Manual(PropertyType::FrameRate, 20)).IsOk());
    EXPECT_EQ(Get(settings, PropertyType::Shutter).absValue, 30.0F);
    EXPECT_EQ(settings.SetProperty(Manual(PropertyType::Shutter, 40000)), ErrorType::InvalidParameter);
}

TEST(CameraSettings, TheFrameRateIsAlsoASetOfRegisters)
{
    CameraSettings settings = Settings("FL3-U3-13Y3M");
    EXPECT_NE(settings.ReadRegister(0x083C) & 0x01000000, 0U); // wakes up automatic
    EXPECT_TRUE(settings.WriteRegister(0x083C, 0xC20001E0).IsOk());
    EXPECT_TRUE(settings.WriteRegister(0x0968, 0x43160000).IsOk()); // 150.0
    EXPECT_EQ(settings.ReadRegister(0x083C) & 0xFF000000, 0xC2000000U);
    EXPECT_EQ(settings.ReadRegister(0x0968), 0x43160000U);
    EXPECT_FALSE(Get(settings, PropertyType::FrameRate).autoManualMode);
    EXPECT_EQ(Get(settings, PropertyType::FrameRate).absValue, 150.0F);
    ASSERT_TRUE(settings.SetProperty(Manual(PropertyType::FrameRate, 400)).IsOk());
    EXPECT_EQ(settings.ReadRegister(0x0968), std::bit_cast<std::uint32_t>(400.0F));
    EXPECT_TRUE(settings.WriteRegister(0x0968, std::bit_cast<std::uint32_t>(5000.0F)).IsOk());
    EXPECT_EQ(Get(settings, PropertyType::FrameRate).absValue, 400.0F); // the nearest it can
    EXPECT_EQ(settings.WriteRegister(0x0968, 0x7FC00000), ErrorType::RegisterFailed); // no number
}

TEST(CameraSettings, UnknownRegistersReadZeroAndKeepWhatIsWritten)
{
    CameraSettings settings = Settings("DX-BW");
    for (const std::uint32_t uiAddress : { 0x1048U, 0x11F0U, 0x11F8U, 0x2345U, 0xFFFFFFFFU }) {
        EXPECT_EQ(settings.ReadRegister(uiAddress), 0U);
        EXPECT_TRUE(settings.WriteRegister(uiAddress, 0x80000080).IsOk());
        EXPECT_EQ(settings.ReadRegister(uiAddress), 0x80000080U);
    }
    EXPECT_EQ(settings.ReadRegister(0x12F8), 0x80000000U);
    EXPECT_EQ(settings.WriteRegister(0x11F4, 0), ErrorType::RegisterFailed);
    EXPECT_EQ(settings.bootstrap.Read(0x0934) & 0x20000000U, 0x20000000U);
    EXPECT_EQ(settings.bootstrap.Write(0x0934, 0), ErrorType::RegisterFailed);
    EXPECT_TRUE(settings.bootstrap.Write(0x0954, 1).IsOk());
    EXPECT_EQ(settings.bootstrap.Read(0x0954), 1U);
    EXPECT_EQ(settings.bootstrap.Read(0x0904), 1U);
}

TEST(CameraSettings, TakesTheCustomModesThatTheProgramChooses)
{
    const struct {
        const char* pModel;
        Format7ImageSettings image;
        bool bValid;
    } kRows[] = {
        { "GS3-U3-23S6M", { 0, 640, 360, 640, 480, PixelFormat::Raw8 }, true },
        { "GS3-U3-23S6M", { 0, 448, 216, 1024, 768, PixelFormat::Raw8 }, true },
        { "GS3-U3-23S6C", { 0, 320, 240, 1280, 720, PixelFormat::Raw8 }, true },
        { "GS3-PGE-23S6M", { 0, 0, 60, 1920, 1080, PixelFormat::Mono8 }, true },
        { "FL3-U3-13Y3M", { 0, 320, 272, 640, 480, PixelFormat::Raw8 }, true },
        { "FL3-U3-13Y3M", { 0, 0, 152, 1280, 720, PixelFormat::Raw8 }, true },
        { "FL3-U3-13Y3M", { 1, 0, 0, 1280, 720, PixelFormat::Raw8 }, true },
        { "FL3-U3-13E4C", { 2, 0, 0, 1024, 768, PixelFormat::Raw8 }, true },
        { "GRAS-03K2", { 0, 0, 0, 640, 480, PixelFormat::Mono8 }, true },
        { "DX-BW", { 0, 2, 4, 640, 480, PixelFormat::Mono8 }, true },
        { "FL3-U3-13Y3M", { 0, static_cast<std::uint32_t>(-320), 0, 1920, 1080, PixelFormat::Raw8 }, false },
        { "GRAS-03K2", { 0, 0, 0, 1024, 768, PixelFormat::Mono8 }, false },
        { "GRAS-03K2", { 2, 0, 0, 320, 240, PixelFormat::Mono8 }, false },
        { "GRAS-03K2", { -1, 0, 0, 320, 240, PixelFormat::Mono8 }, false },
        { "GRAS-03K2", { 0, 0, 0, 0, 0, PixelFormat::Mono8 }, false },
        { "GRAS-03K2", { 0, 1, 0, 320, 240, PixelFormat::Mono8 }, false },
        { "GRAS-03K2", { 0, 0, 0, 324, 240, PixelFormat::Mono8 }, false },
        { "GRAS-03K2", { 0, 0, 0, 320, 240, PixelFormat::Bgr }, false },
        { "GRAS-03K2", { 0, 328, 0, 320, 240, PixelFormat::Mono8 }, false },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pModel);
        CameraSettings settings = Settings(row.pModel);
        const Format7ImageSettings before = settings.GetImage();
        EXPECT_EQ(settings.IsValidImage(row.image), row.bValid);
        EXPECT_EQ(SetImage(settings, row.image), row.bValid ? ErrorType::Ok : ErrorType::InvalidSettings);
        EXPECT_EQ(settings.GetImage().width, row.bValid ? row.image.width : before.width);
    }
}

TEST(CameraSettings, RefusesPacketSizesThatTheLinkCannotCarry)
{
    CameraSettings settings = Settings("GRAS-03K2");
    const Format7ImageSettings image { 0, 0, 0, 640, 480, PixelFormat::Mono8 };
    const Format7PacketInfo packets = settings.PacketInfo();
    EXPECT_TRUE(settings.SetImage(image, packets.recommendedBytesPerPacket).IsOk());
    EXPECT_TRUE(settings.SetImage(image, packets.unitBytesPerPacket).IsOk());
    for (const std::uint32_t uiBytes :
        { 0U, packets.unitBytesPerPacket + 1, packets.maxBytesPerPacket + packets.unitBytesPerPacket })
        EXPECT_EQ(settings.SetImage(image, uiBytes), ErrorType::InvalidParameter) << uiBytes;
}

TEST(CameraSettings, ReachesTheRatesThatItsModelIsUsedWith)
{
    const struct {
        const char* pModel;
        ImagingMode mode;
        std::uint32_t uiWidth, uiHeight;
        float fFps;
    } kRows[] = { { "FL3-U3-13Y3M", 1, 640, 480, 400 }, { "FL3-U3-13Y3M", 1, 1024, 768, 200 },
        { "FL3-U3-13Y3M", 0, 1280, 720, 100 }, { "FL3-U3-13E4C", 2, 1280, 720, 118 },
        { "GS3-U3-23S6M", 0, 640, 480, 350 }, { "GS3-U3-23S6M", 0, 1024, 768, 200 },
        { "GS3-U3-23S6M", 0, 1280, 720, 200 }, { "GS3-U3-23S6M", 0, 1920, 1080, 150 },
        { "GS3-PGE-23S6M", 0, 640, 480, 250 }, { "GS3-PGE-23S6M", 0, 1024, 768, 100 },
        { "GS3-PGE-23S6M", 0, 1280, 720, 60 }, { "GS3-PGE-23S6M", 0, 1920, 1080, 30 },
        { "GRAS-03K2", 0, 640, 480, 200 }, { "DX-BW", 0, 640, 480, 200 } };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pModel);
        CameraSettings settings = Settings(row.pModel);
        ASSERT_EQ(SetImage(settings, { row.mode, 0, 0, row.uiWidth, row.uiHeight, PixelFormat::Raw8 }), ErrorType::Ok);
        ASSERT_TRUE(settings.SetProperty(Manual(PropertyType::FrameRate, row.fFps)).IsOk());
        EXPECT_EQ(settings.Timing().period.Ns(), static_cast<ClockTime>(1e9 / static_cast<double>(row.fFps)));
    }
}

TEST(CameraSettings, ALargeImageBoundsTheRate)
{
    CameraSettings settings = Settings("GS3-PGE-23S6M");
    ASSERT_EQ(SetImage(settings, { 0, 0, 0, 1920, 1200, PixelFormat::Mono8 }), ErrorType::Ok);
    ASSERT_TRUE(settings.SetProperty(Manual(PropertyType::FrameRate, 250)).IsOk());
    const FrameTiming timing = settings.Timing();
    EXPECT_EQ(timing.period.Ns(), timing.smallestPeriod);
    EXPECT_GT(timing.smallestPeriod, 15 * kNsPerMs); // 2.3 MB through gigabit Ethernet
    EXPECT_EQ(Get(settings, PropertyType::FrameRate).absValue, 250.0F); // what was set stays set
}

TEST(CameraSettings, ASmallPacketBoundsTheRate)
{
    CameraSettings settings = Settings("GRAS-03K2");
    ASSERT_TRUE(settings.SetImage({ 0, 0, 0, 640, 480, PixelFormat::Mono8 }, 1024).IsOk());
    EXPECT_EQ(settings.Timing().smallestPeriod, 37'500'000); // 300 packets of 125 us
}

TEST(CameraSettings, StandardModesRunAtTheirOwnRate)
{
    CameraSettings settings = Settings("Flea ");
    EXPECT_TRUE(settings.SetStandardMode(VideoMode::Mode640x480Y8, FrameRateCode::Fps60).IsOk());
    EXPECT_EQ(settings.Timing().period.Ns(), 16'666'666);
    EXPECT_TRUE(settings.SetStandardMode(VideoMode::Mode640x480Y8, FrameRateCode::Fps30).IsOk());
    EXPECT_EQ(settings.Timing().period.Ns(), 33'333'333);
    EXPECT_EQ(settings.Shape(), (SceneShape { 640, 480, false }));
    EXPECT_EQ(settings.SetStandardMode(static_cast<VideoMode>(4), FrameRateCode::Fps30), ErrorType::NotSupported);
    EXPECT_EQ(
        settings.SetStandardMode(VideoMode::Mode640x480Y8, static_cast<FrameRateCode>(7)), ErrorType::NotSupported);
}

TEST(CameraSettings, ColourCamerasDeliverRawPatternsAndGreyWhenAsked)
{
    CameraSettings settings = Settings("GS3-U3-23S6C");
    ASSERT_EQ(SetImage(settings, { 0, 0, 0, 640, 480, PixelFormat::Raw8 }), ErrorType::Ok);
    EXPECT_EQ(settings.Bayer(), BayerTileFormat::Rggb);
    ASSERT_EQ(SetImage(settings, { 0, 0, 0, 640, 480, PixelFormat::Mono8 }), ErrorType::Ok);
    EXPECT_EQ(settings.Bayer(), BayerTileFormat::None);
    CameraSettings mono = Settings("GS3-U3-23S6M");
    ASSERT_EQ(SetImage(mono, { 0, 0, 0, 640, 480, PixelFormat::Raw8 }), ErrorType::Ok);
    EXPECT_EQ(mono.Bayer(), BayerTileFormat::None);
}

TEST(CameraSettings, RefusesWhatTriggerStrobeAndQueueLack)
{
    CameraSettings settings = Settings("FL3-U3-13Y3M");
    EXPECT_TRUE(settings.SetTriggerMode({ true, 1, 2, 14, 0 }).IsOk());
    EXPECT_TRUE(settings.SetTriggerMode({ false, 0, 4, 0, 0 }).IsOk());
    EXPECT_EQ(settings.SetTriggerMode({ true, 0, 2, 1, 0 }), ErrorType::NotSupported);
    EXPECT_EQ(settings.SetTriggerMode({ true, 0, 5, 0, 0 }), ErrorType::NotSupported);
    EXPECT_EQ(settings.SetTriggerMode({ true, 2, 2, 0, 0 }), ErrorType::InvalidParameter);
    EXPECT_EQ(settings.trigger.source, 4U);
    EXPECT_TRUE(settings.SetStrobe({ 2, true, 0, 0.0F, 0.0F }).IsOk());
    EXPECT_EQ(settings.SetStrobe({ 1, true, 0, 0.0F, 0.0F }), ErrorType::NotSupported);
    EXPECT_EQ(settings.SetStrobe({ 2, true, 0, -1.0F, 0.0F }), ErrorType::InvalidParameter);
    EXPECT_EQ(settings.SetStrobe({ 2, true, 0, 0.0F, std::nanf("") }), ErrorType::InvalidParameter);
    EXPECT_EQ(settings.SetConfiguration({ 0, GrabMode::BufferFrames, 0 }), ErrorType::InvalidParameter);
    EXPECT_EQ(settings.SetConfiguration({ 5000, GrabMode::BufferFrames, 0 }), ErrorType::InvalidParameter);
    EXPECT_EQ(settings.SetConfiguration({ 1, GrabMode::BufferFrames, -2 }), ErrorType::InvalidParameter);
    EXPECT_EQ(settings.SetConfiguration({ 1, static_cast<GrabMode>(2), 0 }), ErrorType::InvalidParameter);
    EXPECT_EQ(settings.config.numBuffers, 256U);
}

} // namespace
} // namespace vireo
