#pragma once
#include "camera/video_mode.h"
#include "camera/vireo_doc.h"

#include <cstddef>

namespace vireo {

// Puts one camera into the chosen image mode and frame rate; capture is stopped. False: shown.
// User-interface thread.

/// The custom mode: frame-rate registers and property, size, pixel format, packets.
bool SetCustomMode(CVireoDoc& doc, std::size_t uiCamera, const CameraInfo& info, const VideoModeChoice& choice);
/// The standard mode with its fixed rates; not for GigE cameras, which have none.
bool SetStandardMode(CVireoDoc& doc, std::size_t uiCamera, const VideoModeChoice& choice);

} // namespace vireo
