#pragma once
#include "export_footage.h"

#include <string>

namespace vireo::bench {

/// What was found in a Motion-JPEG AVI file, whoever wrote it.
struct AviCheck {
    std::size_t uiFrames = 0; ///< that decode, have the right size and show the right moment
    std::size_t uiBad = 0; ///< that do not
    std::uint64_t uiBytes = 0; ///< of the compressed frames
    double dPsnr = 0.0; ///< of the grey values over all frames, dB
};

/// Decodes every frame of the file and holds it against the footage, on all cores.
AviCheck CheckAvi(const std::string& strFile, const Footage& footage);

} // namespace vireo::bench
