#pragma once
#include "peers/soft_camera.h"

#include <string>

namespace vireo::peers {

/// The camera's description of itself: names for its feature registers, which begin at `uiFeatureBase`.
std::string MakeGenicamXml(const SoftCameraSetup& setup, std::uint32_t uiFeatureBase);

} // namespace vireo::peers
