#pragma once
#include "platform/camera_library.h"
#include "platform/clock.h"
#include "platform/log.h"

#include <memory>

namespace vireo {

/// IIDC cameras on IEEE 1394 and, for those that speak it there, on USB. Control registers, image modes,
/// packet sizes and the embedded header are the camera's own. `clock` (a real one) and `log` outlive the
/// library. A computer without such buses has no cameras, which is no error.
std::unique_ptr<CameraLibrary> MakeIidcLibrary(Clock& clock, Log& log);

} // namespace vireo
