#include "platform/iidc/iidc_device.h"

#include <algorithm>

// Image modes: one standard mode, and the camera's own ones with size, place and packet size.

namespace vireo {

namespace {

constexpr int kModes = DC1394_VIDEO_MODE_FORMAT7_NUM;

dc1394video_mode_t ModeOf(ImagingMode mode)
{
    return static_cast<dc1394video_mode_t>(static_cast<int>(DC1394_VIDEO_MODE_FORMAT7_0) + mode);
}

bool HasMode(dc1394camera_t* pCamera, dc1394video_mode_t eMode)
{
    dc1394video_modes_t modes {};
    if (dc1394_video_get_supported_modes(pCamera, &modes) != DC1394_SUCCESS)
        return false;
    return std::find(modes.modes, modes.modes + modes.num, eMode) != modes.modes + modes.num;
}

std::uint32_t FormatBit(dc1394color_coding_t eCoding)
{
    switch (eCoding) {
    case DC1394_COLOR_CODING_MONO8: return static_cast<std::uint32_t>(PixelFormat::Mono8);
    case DC1394_COLOR_CODING_RAW8: return static_cast<std::uint32_t>(PixelFormat::Raw8);
    default: return 0;
    }
}

dc1394color_coding_t CodingOf(PixelFormat eFormat)
{
    return eFormat == PixelFormat::Raw8 ? DC1394_COLOR_CODING_RAW8 : DC1394_COLOR_CODING_MONO8;
}

} // namespace

Error IidcDevice::SetStandardMode(FrameRateCode eRate)
{
    const bool b30 = eRate == FrameRateCode::Fps30;
    if ((!b30 && eRate != FrameRateCode::Fps60) || !HasMode(Get(), DC1394_VIDEO_MODE_640x480_MONO8))
        return IfThere(Fail(ErrorType::NotSupported, "no such video mode"));
    if (Error error = Translate(
            dc1394_video_set_mode(Get(), DC1394_VIDEO_MODE_640x480_MONO8), "video mode", ErrorType::InvalidSettings);
        !error.IsOk())
        return error;
    const dc1394error_t eCode = dc1394_video_set_framerate(Get(), b30 ? DC1394_FRAMERATE_30 : DC1394_FRAMERATE_60);
    const Error error = Translate(eCode, "frame rate of the video mode", ErrorType::NotSupported);
    return error.IsOk() ? ApplyRate() : error;
}

Error IidcDevice::ReadFormat7Info(Format7Info& info, bool& bSupported)
{
    Format7Info read;
    read.mode = info.mode;
    const dc1394video_mode_t eMode = ModeOf(info.mode);
    if (info.mode < 0 || info.mode >= kModes || !HasMode(Get(), eMode)) {
        if (Error error = IfThere({}); !error.IsOk())
            return error;
        info = read;
        bSupported = false;
        return {};
    }
    dc1394color_codings_t codings {};
    dc1394error_t eCode = dc1394_format7_get_max_image_size(Get(), eMode, &read.maxWidth, &read.maxHeight);
    if (eCode == DC1394_SUCCESS)
        eCode = dc1394_format7_get_unit_size(Get(), eMode, &read.imageHStepSize, &read.imageVStepSize);
    if (eCode == DC1394_SUCCESS)
        eCode = dc1394_format7_get_unit_position(Get(), eMode, &read.offsetHStepSize, &read.offsetVStepSize);
    if (eCode == DC1394_SUCCESS)
        eCode = dc1394_format7_get_color_codings(Get(), eMode, &codings);
    if (Error error = Translate(eCode, "image mode", ErrorType::RegisterFailed); !error.IsOk())
        return error;
    for (std::uint32_t i = 0; i < codings.num; i++)
        read.pixelFormatBitField |= FormatBit(codings.codings[i]);
    info = read;
    bSupported = true;
    return {};
}

Error IidcDevice::CheckSettings(const Format7ImageSettings& settings)
{
    Format7Info info;
    info.mode = settings.mode;
    bool bSupported = false;
    if (Error error = ReadFormat7Info(info, bSupported); !error.IsOk())
        return error;
    const auto fits = [](std::uint32_t uiOffset, std::uint32_t uiSize, std::uint32_t uiMax, std::uint32_t uiOffsetStep,
                          std::uint32_t uiStep) {
        return uiSize > 0 && uiSize <= uiMax && uiOffset <= uiMax - uiSize && uiSize % std::max(uiStep, 1U) == 0
            && uiOffset % std::max(uiOffsetStep, 1U) == 0;
    };
    const auto uiFormat = static_cast<std::uint32_t>(settings.pixelFormat);
    const bool bGood = bSupported && uiFormat != 0 && (info.pixelFormatBitField & uiFormat) == uiFormat
        && fits(settings.offsetX, settings.width, info.maxWidth, info.offsetHStepSize, info.imageHStepSize)
        && fits(settings.offsetY, settings.height, info.maxHeight, info.offsetVStepSize, info.imageVStepSize);
    return bGood ? Error() : Fail(ErrorType::InvalidSettings, "the image does not fit the camera");
}

Error IidcDevice::Validate(
    const Format7ImageSettings& settings, bool bMayTry, bool& bValid, Format7PacketInfo& packetInfo)
{
    Error checked = CheckSettings(settings);
    if (!checked.IsOk() && !(checked == ErrorType::InvalidSettings))
        return checked;
    bool bGood = checked.IsOk();
    Format7PacketInfo read;
    if (bGood) {
        // The camera says what packets go with a size only once it has the size.
        const dc1394video_mode_t eMode = ModeOf(settings.mode);
        dc1394error_t eCode = DC1394_SUCCESS;
        if (bMayTry)
            eCode = dc1394_format7_set_roi(Get(), eMode, CodingOf(settings.pixelFormat), DC1394_USE_RECOMMENDED,
                static_cast<std::int32_t>(settings.offsetX), static_cast<std::int32_t>(settings.offsetY),
                static_cast<std::int32_t>(settings.width), static_cast<std::int32_t>(settings.height));
        bGood = eCode == DC1394_SUCCESS;
        if (bGood)
            eCode =
                dc1394_format7_get_packet_parameters(Get(), eMode, &read.unitBytesPerPacket, &read.maxBytesPerPacket);
        if (eCode == DC1394_SUCCESS
            && dc1394_format7_get_recommended_packet_size(Get(), eMode, &read.recommendedBytesPerPacket)
                != DC1394_SUCCESS)
            read.recommendedBytesPerPacket = read.maxBytesPerPacket;
        if (eCode != DC1394_SUCCESS)
            if (Error error = IfThere({}); !error.IsOk())
                return error;
        bGood = eCode == DC1394_SUCCESS;
    }
    if (read.recommendedBytesPerPacket == 0)
        read.recommendedBytesPerPacket = read.maxBytesPerPacket;
    bValid = bGood;
    packetInfo = read;
    return {};
}

Error IidcDevice::SetFormat7(const Format7ImageSettings& settings, std::uint32_t uiBytesPerPacket)
{
    if (Error error = CheckSettings(settings); !error.IsOk())
        return error;
    const dc1394video_mode_t eMode = ModeOf(settings.mode);
    if (Error error = Translate(dc1394_video_set_mode(Get(), eMode), "image mode", ErrorType::InvalidSettings);
        !error.IsOk())
        return error;
    const dc1394color_coding_t eCoding = CodingOf(settings.pixelFormat);
    const dc1394error_t eSet = dc1394_format7_set_roi(Get(), eMode, eCoding, DC1394_USE_RECOMMENDED,
        static_cast<std::int32_t>(settings.offsetX), static_cast<std::int32_t>(settings.offsetY),
        static_cast<std::int32_t>(settings.width), static_cast<std::int32_t>(settings.height));
    if (Error error = Translate(eSet, "image", ErrorType::InvalidSettings); !error.IsOk())
        return error;
    std::uint32_t uiUnit = 0;
    std::uint32_t uiMax = 0;
    if (Error error = Translate(dc1394_format7_get_packet_parameters(Get(), eMode, &uiUnit, &uiMax), "packet size",
            ErrorType::InvalidSettings);
        !error.IsOk())
        return error;
    if (uiBytesPerPacket < uiUnit || uiBytesPerPacket > uiMax || uiUnit == 0 || uiBytesPerPacket % uiUnit != 0)
        return Fail(ErrorType::InvalidParameter, "no such packet size");
    if (Error error = Translate(
            dc1394_format7_set_packet_size(Get(), eMode, uiBytesPerPacket), "packet size", ErrorType::InvalidParameter);
        !error.IsOk())
        return error;
    return ApplyRate();
}

Error IidcDevice::ReadFrameShape(ImageView& shape)
{
    dc1394video_mode_t eMode = DC1394_VIDEO_MODE_640x480_MONO8;
    ImageView read;
    dc1394error_t eCode = dc1394_video_get_mode(Get(), &eMode);
    if (eCode == DC1394_SUCCESS)
        eCode = dc1394_get_image_size_from_video_mode(Get(), eMode, &read.uiCols, &read.uiRows);
    dc1394color_coding_t eCoding = DC1394_COLOR_CODING_MONO8;
    if (eCode == DC1394_SUCCESS)
        eCode = dc1394_get_color_coding_from_video_mode(Get(), eMode, &eCoding);
    if (Error error = Translate(eCode, "video mode", ErrorType::InvalidSettings); !error.IsOk())
        return error;
    if (FormatBit(eCoding) == 0)
        return Fail(ErrorType::InvalidSettings, "this pixel format cannot be recorded");
    read.eFormat = static_cast<PixelFormat>(FormatBit(eCoding));
    read.eBayer = read.eFormat == PixelFormat::Raw8 ? ReadTile() : BayerTileFormat::None;
    read.uiStride = read.uiCols;
    read.uiDataSize = read.uiCols * read.uiRows;
    shape = read;
    return {};
}

} // namespace vireo
