#pragma once
#include "platform/camera_library.h"
#include "platform/clock.h"
#include "platform/simulated/simulated_setup.h"

#include <memory>

namespace vireo {

/// Cameras that stand in for hardware in tests, demonstrations and lessons, modelled on what cameras do:
/// registers, properties, trigger and strobe wires, clocks, frames that carry their time, and faults.
/// The clock outlives the library, the library its cameras. No thread runs on its own: frames come into
/// being when somebody asks for them, and every wait goes through the clock.
std::unique_ptr<CameraLibrary> MakeSimulatedLibrary(Clock& clock, const SimulatedSetup& setup);

} // namespace vireo
