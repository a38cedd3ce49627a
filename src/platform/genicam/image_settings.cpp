#include "platform/genicam/image_settings.h"

#include "platform/genicam/frame_rate.h"

#include <algorithm>

namespace vireo {

namespace {

struct BayerName {
    const char* strName;
    BayerTileFormat eTile;
};
constexpr BayerName kBayerNames[] = {
    { "BayerRG8", BayerTileFormat::Rggb },
    { "BayerGR8", BayerTileFormat::Grbg },
    { "BayerGB8", BayerTileFormat::Gbrg },
    { "BayerBG8", BayerTileFormat::Bggr },
};
constexpr ImagingMode kPlainMode = 2; ///< as mode 0; some models are always set to it
constexpr ImagingMode kModes = 32; ///< numbers that a mode can have
constexpr std::int64_t kModeBins = 2; ///< pixels binned both ways in mode 1 of a camera without video modes

std::string ModeName(ImagingMode mode) { return "Mode" + std::to_string(mode); }

bool HasBinning(Features& features)
{
    FeatureRange range;
    return features.Has(Feature::BinningHorizontal) && features.Has(Feature::BinningVertical)
        && features.GetRange(Feature::BinningHorizontal, range).IsOk() && range.dMax >= static_cast<double>(kModeBins);
}

/// The camera's word for a pixel format of ours; empty when it has none.
std::string CameraFormat(Features& features, PixelFormat eFormat)
{
    if (eFormat == PixelFormat::Raw8)
        for (const BayerName& row : kBayerNames)
            if (features.HasChoice(Feature::PixelFormat, row.strName))
                return row.strName;
    // The raw bytes of a camera without colour are its grey values.
    const bool bGrey = eFormat == PixelFormat::Mono8 || eFormat == PixelFormat::Raw8;
    return bGrey && features.HasChoice(Feature::PixelFormat, "Mono8") ? "Mono8" : "";
}

/// A camera without an offset has its image where it is.
Error SetOffset(Features& features, Feature eFeature, std::uint32_t uiOffset)
{
    if (!features.Has(eFeature))
        return uiOffset == 0 ? Error() : features.Missing(eFeature);
    return features.SetInteger(eFeature, uiOffset);
}

/// Without a limit of its own, a size may be as large as the offset leaves it.
Error MeasureRoom(OpenDevice& device, Feature eSize, Feature eOffset, FeatureRange& range)
{
    Features& features = *device.features;
    std::int64_t iOffset = 0;
    if (features.Has(eOffset) && !device.bCapturing)
        if (Error error = features.GetInteger(eOffset, iOffset); !error.IsOk())
            return error;
    if (iOffset != 0)
        if (Error error = features.SetInteger(eOffset, 0); !error.IsOk())
            return error;
    Error error = features.GetRange(eSize, range);
    if (iOffset != 0)
        if (Error restored = features.SetInteger(eOffset, iOffset); !restored.IsOk())
            return restored;
    return error;
}

Error ReadLimit(OpenDevice& device, Feature eMax, Feature eSize, Feature eOffset, std::uint32_t& uiMax)
{
    std::int64_t iMax = 0;
    FeatureRange range;
    Error error = device.features->Has(eMax) ? device.features->GetInteger(eMax, iMax)
                                             : MeasureRoom(device, eSize, eOffset, range);
    if (error.IsOk())
        uiMax = static_cast<std::uint32_t>(std::max(iMax, static_cast<std::int64_t>(range.dMax)));
    return error;
}

Error ReadStep(Features& features, Feature eFeature, std::uint32_t& uiStep)
{
    uiStep = 1;
    if (!features.Has(eFeature))
        return {};
    std::int64_t iStep = 1;
    Error error = features.GetStep(eFeature, iStep);
    uiStep = static_cast<std::uint32_t>(iStep);
    return error;
}

Error SetPlaceAndSize(Features& features, const GigEImageSettings& settings)
{
    // The offsets go first, since they narrow what the size may be.
    if (Error error = SetOffset(features, Feature::OffsetX, 0); !error.IsOk())
        return error;
    if (Error error = SetOffset(features, Feature::OffsetY, 0); !error.IsOk())
        return error;
    if (Error error = features.SetInteger(Feature::Width, settings.width); !error.IsOk())
        return error;
    if (Error error = features.SetInteger(Feature::Height, settings.height); !error.IsOk())
        return error;
    if (Error error = SetOffset(features, Feature::OffsetX, settings.offsetX); !error.IsOk())
        return error;
    return SetOffset(features, Feature::OffsetY, settings.offsetY);
}

} // namespace

Error QueryMode(OpenDevice& device, ImagingMode mode, bool& bSupported)
{
    Features& features = *device.features;
    if (features.Has(Feature::VideoMode))
        bSupported = features.HasChoice(Feature::VideoMode, ModeName(mode));
    else
        bSupported = mode == 0 || mode == kPlainMode || (mode == 1 && HasBinning(features));
    return {};
}

Error ReadMode(OpenDevice& device, ImagingMode& mode)
{
    Features& features = *device.features;
    mode = 0;
    if (features.Has(Feature::VideoMode)) {
        std::string strMode;
        if (Error error = features.GetChoice(Feature::VideoMode, strMode); !error.IsOk())
            return error;
        for (ImagingMode known = 0; known < kModes; known++)
            if (strMode == ModeName(known))
                mode = known;
    } else if (HasBinning(features)) {
        std::int64_t iBins = 1;
        if (Error error = features.GetInteger(Feature::BinningHorizontal, iBins); !error.IsOk())
            return error;
        mode = iBins == kModeBins ? 1 : 0;
    }
    return {};
}

Error SetMode(OpenDevice& device, ImagingMode mode)
{
    Features& features = *device.features;
    bool bSupported = false;
    if (Error error = QueryMode(device, mode, bSupported); !error.IsOk())
        return error;
    if (!bSupported)
        return features.Fail(ErrorType::NotSupported, "no image mode " + std::to_string(mode));
    if (device.bCapturing)
        return features.Fail(ErrorType::AlreadyStarted, "the image mode cannot change while capturing");
    if (features.Has(Feature::VideoMode)) {
        if (Error error = features.SetChoice(Feature::VideoMode, ModeName(mode)); !error.IsOk())
            return error;
    } else if (HasBinning(features)) {
        const std::int64_t iBins = mode == 1 ? kModeBins : 1;
        if (Error error = features.SetInteger(Feature::BinningHorizontal, iBins); !error.IsOk())
            return error;
        if (Error error = features.SetInteger(Feature::BinningVertical, iBins); !error.IsOk())
            return error;
    }
    device.remembered.mode = mode;
    return {};
}

Error ReadImageInfo(OpenDevice& device, GigEImageSettingsInfo& info)
{
    Features& features = *device.features;
    GigEImageSettingsInfo read;
    if (Error error = ReadLimit(device, Feature::WidthMax, Feature::Width, Feature::OffsetX, read.maxWidth);
        !error.IsOk())
        return error;
    if (Error error = ReadLimit(device, Feature::HeightMax, Feature::Height, Feature::OffsetY, read.maxHeight);
        !error.IsOk())
        return error;
    if (Error error = ReadStep(features, Feature::OffsetX, read.offsetHStepSize); !error.IsOk())
        return error;
    if (Error error = ReadStep(features, Feature::OffsetY, read.offsetVStepSize); !error.IsOk())
        return error;
    if (Error error = ReadStep(features, Feature::Width, read.imageHStepSize); !error.IsOk())
        return error;
    if (Error error = ReadStep(features, Feature::Height, read.imageVStepSize); !error.IsOk())
        return error;
    for (const PixelFormat eFormat : { PixelFormat::Mono8, PixelFormat::Raw8 })
        if (!CameraFormat(features, eFormat).empty())
            read.pixelFormatBitField |= static_cast<std::uint32_t>(eFormat);
    info = read;
    return {};
}

Error ReadFormat7Info(OpenDevice& device, Format7Info& info, bool& bSupported)
{
    Format7Info read;
    read.mode = info.mode;
    bool bThere = false;
    if (Error error = QueryMode(device, info.mode, bThere); !error.IsOk())
        return error;
    const ImagingMode before = device.remembered.mode;
    const bool bSwitch = bThere && info.mode != before && !device.bCapturing;
    GigEImageSettingsInfo limits;
    if (bSwitch)
        if (Error error = SetMode(device, info.mode); !error.IsOk())
            return error;
    Error error = bThere ? ReadImageInfo(device, limits) : Error();
    if (bSwitch)
        if (Error restored = SetMode(device, before); !restored.IsOk())
            return restored;
    if (!error.IsOk())
        return error;
    if (bThere)
        read = { info.mode, limits.maxWidth, limits.maxHeight, limits.offsetHStepSize, limits.offsetVStepSize,
            limits.imageHStepSize, limits.imageVStepSize, limits.pixelFormatBitField };
    info = read;
    bSupported = bThere;
    return {};
}

Error CheckImage(const Features& features, const GigEImageSettingsInfo& info, const GigEImageSettings& settings)
{
    const auto fits = [](std::uint32_t uiOffset, std::uint32_t uiSize, std::uint32_t uiMax) {
        return uiSize > 0 && uiSize <= uiMax && uiOffset <= uiMax - uiSize;
    };
    const auto wanted = static_cast<std::uint32_t>(settings.pixelFormat);
    if (!fits(settings.offsetX, settings.width, info.maxWidth)
        || !fits(settings.offsetY, settings.height, info.maxHeight))
        return features.Fail(ErrorType::InvalidSettings, "the image does not fit on the sensor");
    if (settings.width % info.imageHStepSize != 0 || settings.height % info.imageVStepSize != 0
        || settings.offsetX % info.offsetHStepSize != 0 || settings.offsetY % info.offsetVStepSize != 0)
        return features.Fail(ErrorType::InvalidSettings, "the image is not in the camera's steps");
    if (wanted == 0 || (info.pixelFormatBitField & wanted) != wanted)
        return features.Fail(ErrorType::InvalidSettings, "no such pixel format");
    return {};
}

Error SetImage(OpenDevice& device, const GigEImageSettings& settings)
{
    Features& features = *device.features;
    if (device.bCapturing)
        return features.Fail(ErrorType::AlreadyStarted, "the image cannot change while capturing");
    GigEImageSettingsInfo info;
    if (Error error = ReadImageInfo(device, info); !error.IsOk())
        return error;
    if (Error error = CheckImage(features, info, settings); !error.IsOk())
        return error;
    if (Error error = SetPlaceAndSize(features, settings); !error.IsOk())
        return error == ErrorType::InvalidParameter || error == ErrorType::PropertyFailed
            ? Error(ErrorType::InvalidSettings, error.GetDescription())
            : error;
    if (Error error = features.SetChoice(Feature::PixelFormat, CameraFormat(features, settings.pixelFormat));
        !error.IsOk())
        return error;
    device.remembered.ePixelFormat = settings.pixelFormat;
    return ApplyFrameRate(device);
}

Error ReadFrameShape(OpenDevice& device, FrameShape& shape)
{
    Features& features = *device.features;
    std::int64_t iWidth = 0;
    std::int64_t iHeight = 0;
    std::string strFormat;
    if (Error error = features.GetInteger(Feature::Width, iWidth); !error.IsOk())
        return error;
    if (Error error = features.GetInteger(Feature::Height, iHeight); !error.IsOk())
        return error;
    if (Error error = features.GetChoice(Feature::PixelFormat, strFormat); !error.IsOk())
        return error;
    FrameShape read { static_cast<std::uint32_t>(iWidth), static_cast<std::uint32_t>(iHeight), PixelFormat::Mono8,
        BayerTileFormat::None };
    const auto* pBayer = std::find_if(
        std::begin(kBayerNames), std::end(kBayerNames), [&](const BayerName& row) { return strFormat == row.strName; });
    if (pBayer != std::end(kBayerNames)) {
        read.ePixelFormat = PixelFormat::Raw8;
        read.eBayer = pBayer->eTile;
    } else if (strFormat != "Mono8") {
        return features.Fail(ErrorType::InvalidSettings, "pixel format " + strFormat + " cannot be recorded");
    } else if (device.remembered.ePixelFormat == PixelFormat::Raw8) {
        read.ePixelFormat = PixelFormat::Raw8;
    }
    shape = read;
    return {};
}

} // namespace vireo
