#pragma once
#include "export_footage.h"

#include <functional>
#include <string>
#include <vector>

namespace vireo::bench {

constexpr int kQuality = 75;
constexpr int kFrameRate = 118;

/// One way to make a Motion-JPEG AVI file of the footage.
struct Exporter {
    std::string strName;
    std::size_t uiFrames; ///< that one run writes
    /// Writes the file and returns the seconds that it took; what a program needs to start is taken off.
    std::function<double(const std::string& strFile)> run;
    bool bOnce = false; ///< far from the fastest: one round tells its rate
};

/// The limit: compresses every frame on all cores in the same JPEG mode and throws the result away.
/// Built from TurboJPEG and OpenCV directly, so that it does not share the writer's flaws. Seconds.
double EncodeOnly(const Footage& footage);

/// This program's own writer.
Exporter OwnWriter(const Footage& footage);

/// Other programs at the same quality; throws when one is not installed. Their raw frames lie in `strFolder`.
/// Of colour footage ffmpeg and GStreamer get finished BGR pictures: they are spared the interpolation.
std::vector<Exporter> Peers(const Footage& footage, const std::string& strFolder);

} // namespace vireo::bench
