#pragma once
#include "platform/genicam/open_device.h"

namespace vireo {

// Frame rate, shutter, gain and white balance of an open camera, in fps, ms, dB and raw numbers.
// The device's own thread.

Error ReadPropertyInfo(OpenDevice& device, PropertyInfo& info);
Error ReadProperty(OpenDevice& device, Property& property);
Error WriteProperty(OpenDevice& device, const Property& property);

/// Asks for a rate. What the present image size and shutter forbid is held back and asked for again by
/// ApplyFrameRate, because a program sets the rate before the size that allows it.
Error AskFrameRate(OpenDevice& device, double dFps);
/// Gives the camera the rate that was asked for, or the highest it takes now.
Error ApplyFrameRate(OpenDevice& device);
/// Whether the camera keeps the rate it was asked for; when not, it runs as fast as it can.
Error SwitchFrameRate(OpenDevice& device, bool bOn);
Error FrameRateIsOn(OpenDevice& device, bool& bOn);

} // namespace vireo
