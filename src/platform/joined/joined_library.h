#pragma once
#include "platform/camera_library.h"
#include "platform/log.h"

#include <memory>
#include <vector>

namespace vireo {

/// Several camera libraries as one, their cameras in the order of the libraries. A camera that two of
/// them see (the same serial number, the same model) is listed once, by the first; different cameras with
/// one serial number are an error that names it (GetCameraFromSerialNumber, InvalidParameter; a line in `log`,
/// which outlives the library).
/// Threads as CameraLibrary.
std::unique_ptr<CameraLibrary> MakeJoinedLibrary(Log& log, std::vector<std::unique_ptr<CameraLibrary>> libraries);

} // namespace vireo
