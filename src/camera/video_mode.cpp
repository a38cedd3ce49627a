#include "camera/video_mode.h"

#include "capture/frame_store.h"

#include <bit>
#include <span>

namespace vireo {

namespace {

bool Contains(std::string_view strModel, std::string_view strText) { return strModel.find(strText) != strModel.npos; }

template <typename Texts> bool ContainsAny(std::string_view strModel, const Texts& texts)
{
    for (const std::string_view strText : texts)
        if (Contains(strModel, strText))
            return true;
    return false;
}

// Models a rule is for: any of the texts, anywhere in the name.
using Texts = std::span<const std::string_view>;
constexpr std::string_view kGs3Texts[] = { "GS3-U3-23S6M", "GS3-U3-23S6C", "GS3-PGE-23S6M", "GS3-PGE-23S6C" };
constexpr std::string_view kGs3UsbTexts[] = { "GS3-U3-23S6M", "GS3-U3-23S6C" };
constexpr std::string_view kFl3MonoTexts[] = { "FL3-U3-13Y3M" };
constexpr std::string_view kFl3ColourTexts[] = { "FL3-U3-13E4C" };
constexpr std::string_view kGrasTexts[] = { "GRAS-03K2" };
constexpr std::string_view kDxTexts[] = { "DX-BW" };

enum class Offsets { Keep, Fixed, CentreGs3, CentreFl3 };
constexpr ImagingMode kKeepMode = -1;

struct ModeRule {
    Texts texts;
    ImagingMode mode;
    Offsets eOffsets;
};
constexpr ModeRule kGs3 { kGs3Texts, kKeepMode, Offsets::CentreGs3 };
constexpr ModeRule kGs3Usb { kGs3UsbTexts, kKeepMode, Offsets::CentreGs3 };
constexpr ModeRule kFl3MonoSlow { kFl3MonoTexts, 0, Offsets::CentreFl3 };
constexpr ModeRule kFl3MonoFast { kFl3MonoTexts, 1, Offsets::Keep };
constexpr ModeRule kFl3Colour { kFl3ColourTexts, 2, Offsets::Keep };
constexpr ModeRule kGras { kGrasTexts, kKeepMode, Offsets::Keep };
constexpr ModeRule kDx { kDxTexts, kKeepMode, Offsets::Fixed };

constexpr ModeRule kRules30[] = { kGs3, kFl3MonoSlow, kFl3Colour, kGras };
constexpr ModeRule kRules100[] = { kDx, kGs3, kFl3MonoSlow, kFl3Colour, kGras };
constexpr ModeRule kRules118[] = { kFl3Colour };
constexpr ModeRule kRules120[] = { kDx, kGs3, kFl3MonoFast, kGras };
constexpr ModeRule kRules150[] = { kDx, kGras, kGs3, kFl3MonoFast };
constexpr ModeRule kRules200[] = { kDx, kGs3, kFl3MonoFast, kGras };
constexpr ModeRule kRules250[] = { kGs3Usb, kFl3MonoFast };
constexpr ModeRule kRules400[] = { kFl3MonoFast };

// One row per frame rate; a rate without a row leaves every camera in the standard mode.
struct ModeRow {
    int iFps;
    FrameRateCode eRate;
    std::span<const ModeRule> rules; // in order; each that fits acts, a later one over an earlier one
};
constexpr ModeRow kModeRows[] = {
    { 30, FrameRateCode::Fps30, kRules30 },
    { 60, FrameRateCode::Fps60, kRules30 },
    { 100, FrameRateCode::Fps30, kRules100 },
    { 118, FrameRateCode::Fps30, kRules118 },
    { 120, FrameRateCode::Fps30, kRules120 },
    { 150, FrameRateCode::Fps30, kRules150 },
    { 200, FrameRateCode::Fps30, kRules200 },
    { 250, FrameRateCode::Fps30, kRules250 },
    { 300, FrameRateCode::Fps30, kRules250 },
    { 350, FrameRateCode::Fps30, kRules250 },
    { 400, FrameRateCode::Fps30, kRules400 },
};

void Centre(VideoModeChoice& choice, int iSensorWidth, int iSensorHeight)
{
    choice.iOffsetX = (iSensorWidth - choice.iWidth) / 2;
    choice.iOffsetY = (iSensorHeight - choice.iHeight) / 2;
}

void Apply(const ModeRule& rule, VideoModeChoice& choice)
{
    choice.bCustom = true;
    if (rule.mode != kKeepMode)
        choice.mode = rule.mode;
    switch (rule.eOffsets) {
    case Offsets::Keep: break;
    case Offsets::Fixed:
        choice.iOffsetX = 2;
        choice.iOffsetY = 4;
        break;
    case Offsets::CentreGs3: Centre(choice, 1920, 1200); break;
    case Offsets::CentreFl3: Centre(choice, 1280, 1024); break;
    }
}

// Frame-rate control: presence, absolute control and "on" in the first register, the rate in the second.
constexpr std::uint32_t kRateControl = 0x083C;
constexpr std::uint32_t kRateValue = 0x0968;
constexpr std::uint32_t kRateOnGras = 0xC20001D7; // raw value 471
constexpr std::uint32_t kRateOn = 0xC20001E0; // raw value 480

constexpr int kAnyWidth = 1 << 16;
struct RateRow {
    int iFps;
    int iMaxWidth; // pixels up to which the rate is written as it is
};
constexpr RateRow kGrasRates[] = {
    { 30, kAnyWidth },
    { 60, kAnyWidth },
    { 100, kAnyWidth },
    { 120, kAnyWidth },
    { 150, kAnyWidth },
    { 200, kAnyWidth },
};
constexpr RateRow kFl3MonoRates[] = {
    { 30, kAnyWidth },
    { 60, kAnyWidth },
    { 100, kAnyWidth },
    { 120, kAnyWidth },
    { 150, kAnyWidth },
    { 200, kAnyWidth },
    { 250, kAnyWidth },
    { 300, kAnyWidth },
    { 350, kAnyWidth },
}; // 400 comes from the frame-rate property
constexpr RateRow kFl3ColourRates[] = { { 30, kAnyWidth }, { 60, kAnyWidth }, { 100, kAnyWidth }, { 118, kAnyWidth } };
constexpr RateRow kGs3UsbRates[] = {
    { 30, kAnyWidth },
    { 60, kAnyWidth },
    { 100, kAnyWidth },
    { 120, kAnyWidth },
    { 150, kAnyWidth },
    { 200, 1280 },
    { 250, 640 },
    { 300, 640 },
    { 350, 640 },
};
constexpr RateRow kGs3GigERates[] = { { 30, kAnyWidth }, { 60, 1280 }, { 100, 1024 }, { 120, 640 }, { 150, 640 },
    { 200, 640 }, { 250, 640 } };

struct RateModel {
    Texts texts;
    std::uint32_t uiControl;
    bool bReadFirst;
    std::span<const RateRow> rates;
};
constexpr std::string_view kGs3GigETexts[] = { "GS3-PGE-23S6M", "GS3-PGE-23S6C" };
constexpr RateModel kRateModels[] = {
    { kGrasTexts, kRateOnGras, true, kGrasRates },
    { kFl3MonoTexts, kRateOn, false, kFl3MonoRates },
    { kFl3ColourTexts, kRateOn, false, kFl3ColourRates },
    { kGs3UsbTexts, kRateOn, false, kGs3UsbRates },
    { kGs3GigETexts, kRateOn, false, kGs3GigERates },
};

float WrittenRate(std::span<const RateRow> rates, int iFps, int iWidth)
{
    for (const RateRow& row : rates)
        if (row.iFps == iFps && iWidth <= row.iMaxWidth)
            return static_cast<float>(iFps);
    return 30.0F;
}

// Mono models that deliver their raw data, per path.
constexpr std::string_view kRawMonoFormat7[] = { "FL3-U3-13Y3M", "GS3-U3-23S6M" };
constexpr std::string_view kRawMonoGigE[] = { "GS3-PGE-23S6M" };

constexpr std::string_view kLargestPacket[] = { "FL3-U3-13Y3M", "FL3-U3-13E4C", "GS3-U3-23S6M", "GS3-U3-23S6C" };

} // namespace

VideoModeChoice ChooseVideoMode(std::string_view strModel, int iImageSizeIndex, int iFps)
{
    VideoModeChoice choice;
    const ImageSize size = SizeOfIndex(iImageSizeIndex);
    choice.iWidth = size.iWidth;
    choice.iHeight = size.iHeight;
    for (const ModeRow& row : kModeRows) {
        if (row.iFps != iFps)
            continue;
        choice.eRate = row.eRate;
        for (const ModeRule& rule : row.rules)
            if (ContainsAny(strModel, rule.texts))
                Apply(rule, choice);
    }
    return choice;
}

std::vector<FrameRateRegister> FrameRateRegisters(std::string_view strModel, int iFps, int iWidth)
{
    std::vector<FrameRateRegister> registers;
    for (const RateModel& row : kRateModels) {
        if (!ContainsAny(strModel, row.texts))
            continue;
        registers.push_back({ kRateControl, row.uiControl, row.bReadFirst });
        registers.push_back({ kRateValue, std::bit_cast<std::uint32_t>(WrittenRate(row.rates, iFps, iWidth)), false });
    }
    return registers;
}

PixelFormat ChooseFormat7PixelFormat(std::string_view strModel, bool bColour)
{
    return bColour || ContainsAny(strModel, kRawMonoFormat7) ? PixelFormat::Raw8 : PixelFormat::Mono8;
}

PixelFormat ChooseGigEPixelFormat(std::string_view strModel, bool bColour)
{
    return bColour || ContainsAny(strModel, kRawMonoGigE) ? PixelFormat::Raw8 : PixelFormat::Mono8;
}

std::uint32_t ChoosePacketSize(std::string_view strModel, int iPreferred, const Format7PacketInfo& packetInfo)
{
    const auto uiPreferred = static_cast<std::uint32_t>(iPreferred);
    if (iPreferred > 0 && uiPreferred >= packetInfo.unitBytesPerPacket && uiPreferred <= packetInfo.maxBytesPerPacket)
        return uiPreferred;
    return ContainsAny(strModel, kLargestPacket) ? packetInfo.maxBytesPerPacket : packetInfo.recommendedBytesPerPacket;
}

} // namespace vireo
