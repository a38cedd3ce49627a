#pragma once
#include "platform/genicam/open_device.h"

namespace vireo {

// Image modes, size, place and pixel format of an open camera. The device's own thread.

/// Whether the camera has custom mode `mode`. Mode 0 is the whole sensor and always there; the others
/// are the camera's own video modes, or for mode 1 pixels binned two by two.
Error QueryMode(OpenDevice& device, ImagingMode mode, bool& bSupported);
/// The mode that the camera is in; 0 when it is none of ours.
Error ReadMode(OpenDevice& device, ImagingMode& mode);
/// @return NotSupported.
Error SetMode(OpenDevice& device, ImagingMode mode);

/// Limits and steps of the mode that is set.
Error ReadImageInfo(OpenDevice& device, GigEImageSettingsInfo& info);
/// The same of any mode; the one that is set stays. `bSupported` is false for a mode that is not there.
Error ReadFormat7Info(OpenDevice& device, Format7Info& info, bool& bSupported);

/// @return InvalidSettings when the camera would not take them as they are.
Error CheckImage(const Features& features, const GigEImageSettingsInfo& info, const GigEImageSettings& settings);
/// @return InvalidSettings.
Error SetImage(OpenDevice& device, const GigEImageSettings& settings);

/// What frames look like now.
struct FrameShape {
    std::uint32_t uiWidth = 0;
    std::uint32_t uiHeight = 0;
    PixelFormat ePixelFormat = PixelFormat::Unspecified;
    BayerTileFormat eBayer = BayerTileFormat::None;
};
/// @return InvalidSettings for a pixel format of more than 8 bits.
Error ReadFrameShape(OpenDevice& device, FrameShape& shape);

} // namespace vireo
