#pragma once
#include "platform/camera_library.h"
#include "platform/clock.h"
#include "platform/log.h"

#include <memory>
#include <string>

namespace vireo {

struct GenicamSetup {
    /// Name or address of a network interface of this computer. Then only GigE cameras on its networks
    /// are used; empty: every GigE and USB3 Vision camera that can be reached.
    std::string strInterface;
};

/// GigE Vision and USB3 Vision cameras. Discovery sends one broadcast from every network interface and
/// takes about a second. `clock` (a real one) and `log` outlive the library.
std::unique_ptr<CameraLibrary> MakeGenicamLibrary(Clock& clock, Log& log, const GenicamSetup& setup);

} // namespace vireo
