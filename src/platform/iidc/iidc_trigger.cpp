#include "platform/iidc/iidc_device.h"

#include <cmath>

// Trigger and strobe: the registers of the IIDC standard, bit by bit.

namespace vireo {

namespace {

constexpr std::uint32_t kTriggerInquiry = 0x0530;
constexpr std::uint32_t kTriggerMode = 0x0830;
constexpr std::uint32_t kPresent = 0x80000000;
constexpr std::uint32_t kOn = 0x02000000;
constexpr std::uint32_t kRising = 0x01000000;
constexpr unsigned int kSourceShift = 21;
constexpr unsigned int kModeShift = 16;
constexpr std::uint32_t kParameterMask = 0xFFF;
constexpr unsigned int kLargestSource = 7;

constexpr std::uint32_t kOptionalFunctions = 0x040C;
constexpr std::uint32_t kHasStrobe = 0x10000000;
constexpr std::uint32_t kStrobeRegisters = 0x048C; ///< tells where they stand, in words
constexpr std::uint32_t kStrobePresence = 0x000; ///< offsets in the strobe registers
constexpr std::uint32_t kStrobeInquiry = 0x100;
constexpr std::uint32_t kStrobeControl = 0x200;
constexpr std::uint32_t kStrobeSwitchable = 0x04000000;
constexpr unsigned int kStrobeLines = 4;
constexpr double kStrobeTicksPerMs = 1024.0;
constexpr std::uint32_t kStrobeMask = 0xFFF;

/// Bit of a trigger mode in the inquiry register; 0 for a mode that does not exist.
constexpr std::uint32_t ModeBit(unsigned int uiMode)
{
    return uiMode <= 5 || uiMode == 14 || uiMode == 15 ? 0x8000U >> uiMode : 0U;
}
constexpr std::uint32_t SourceBit(unsigned int uiSource)
{
    if (uiSource <= 3)
        return 0x00800000U >> uiSource;
    return uiSource == 7 ? 0x00010000U : 0U; // the software trigger
}
static_assert(ModeBit(0) == 0x8000 && ModeBit(14) == 0x2 && ModeBit(6) == 0);

std::uint32_t StrobeTicks(float fMs)
{
    const double dTicks = std::round(static_cast<double>(fMs) * kStrobeTicksPerMs);
    return dTicks <= 0.0 ? 0U : static_cast<std::uint32_t>(std::fmin(dTicks, kStrobeMask));
}

} // namespace

Error IidcDevice::ReadTrigger(TriggerMode& mode)
{
    std::uint32_t uiValue = 0;
    if (Error error = ReadControl(kTriggerMode, uiValue); !error.IsOk())
        return error;
    mode.onOff = (uiValue & kOn) != 0;
    mode.polarity = (uiValue & kRising) != 0 ? 1 : 0;
    mode.source = uiValue >> kSourceShift & 7U;
    mode.mode = uiValue >> kModeShift & 15U;
    mode.parameter = uiValue & kParameterMask;
    return {};
}

Error IidcDevice::WriteTrigger(const TriggerMode& mode)
{
    std::uint32_t uiInquiry = 0;
    if (Error error = ReadControl(kTriggerInquiry, uiInquiry); !error.IsOk())
        return error;
    // A trigger that is off may stand on a source that the camera lacks.
    const bool bSource = mode.source <= kLargestSource && (!mode.onOff || (uiInquiry & SourceBit(mode.source)) != 0);
    if ((uiInquiry & kPresent) == 0 || !bSource || (uiInquiry & ModeBit(mode.mode)) == 0)
        return Fail(ErrorType::NotSupported, "no such trigger mode or source");
    const std::uint32_t uiValue = kPresent | (mode.onOff ? kOn : 0U) | (mode.polarity != 0 ? kRising : 0U)
        | mode.source << kSourceShift | mode.mode << kModeShift | (mode.parameter & kParameterMask);
    return WriteControl(kTriggerMode, uiValue);
}

/// Where the strobe registers stand; 0 for a camera without them. The driver does not look for them.
std::uint64_t IidcDevice::StrobeBase()
{
    std::uint32_t uiOptional = 0;
    std::uint32_t uiWords = 0;
    if (dc1394_get_control_register(Get(), kOptionalFunctions, &uiOptional) != DC1394_SUCCESS
        || (uiOptional & kHasStrobe) == 0
        || dc1394_get_control_register(Get(), kStrobeRegisters, &uiWords) != DC1394_SUCCESS)
        return 0;
    return std::uint64_t { uiWords } * 4;
}

bool IidcDevice::StrobePresent(unsigned int uiSource, std::uint32_t& uiInquiry, std::uint64_t& uiControl)
{
    const std::uint64_t uiBase = StrobeBase();
    std::uint32_t uiPresence = 0;
    uiInquiry = 0;
    uiControl = uiBase + kStrobeControl + std::uint64_t { 4 } * uiSource;
    if (uiBase == 0 || uiSource >= kStrobeLines
        || dc1394_get_register(Get(), uiBase + kStrobePresence, &uiPresence) != DC1394_SUCCESS
        || (uiPresence & kPresent >> uiSource) == 0)
        return false;
    return dc1394_get_register(Get(), uiBase + kStrobeInquiry + std::uint64_t { 4 } * uiSource, &uiInquiry)
        == DC1394_SUCCESS
        && (uiInquiry & kPresent) != 0;
}

Error IidcDevice::ReadStrobeInfo(StrobeInfo& info)
{
    std::uint32_t uiInquiry = 0;
    std::uint64_t uiControl = 0;
    const bool bPresent = StrobePresent(info.source, uiInquiry, uiControl);
    if (!bPresent)
        if (Error error = IfThere({}); !error.IsOk())
            return error;
    info.present = bPresent;
    info.onOffSupported = (uiInquiry & kStrobeSwitchable) != 0;
    return {};
}

Error IidcDevice::ReadStrobe(StrobeControl& control)
{
    std::uint32_t uiInquiry = 0;
    std::uint64_t uiControl = 0;
    std::uint32_t uiValue = 0;
    if (!StrobePresent(control.source, uiInquiry, uiControl))
        return IfThere(Fail(ErrorType::NotSupported, "no strobe on line " + std::to_string(control.source)));
    if (Error error = Translate(dc1394_get_register(Get(), uiControl, &uiValue), "strobe", ErrorType::RegisterFailed);
        !error.IsOk())
        return error;
    control.onOff = (uiValue & kOn) != 0;
    control.polarity = (uiValue & kRising) != 0 ? 1 : 0;
    control.delay = static_cast<float>((uiValue >> 12 & kStrobeMask) / kStrobeTicksPerMs);
    control.duration = static_cast<float>((uiValue & kStrobeMask) / kStrobeTicksPerMs);
    return {};
}

Error IidcDevice::WriteStrobe(const StrobeControl& control)
{
    std::uint32_t uiInquiry = 0;
    std::uint64_t uiControl = 0;
    if (!StrobePresent(control.source, uiInquiry, uiControl))
        return IfThere(Fail(ErrorType::NotSupported, "no strobe on line " + std::to_string(control.source)));
    const std::uint32_t uiValue = kPresent | (control.onOff ? kOn : 0U) | (control.polarity != 0 ? kRising : 0U)
        | StrobeTicks(control.delay) << 12 | StrobeTicks(control.duration);
    return Translate(dc1394_set_register(Get(), uiControl, uiValue), "strobe", ErrorType::RegisterFailed);
}

} // namespace vireo
