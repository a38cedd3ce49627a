#pragma once
#include "platform/genicam/open_device.h"

namespace vireo {

// Frame rate and exposure of an open camera, which limit each other: the rate goes before, and the exposure is as
// long as it was asked to be, or as the rate allows. The device's own thread.

/// Asks for a rate. What the present image size and shutter forbid is held back and asked for again by
/// ApplyFrameRate, because a program sets the rate before the size that allows it. So is what a camera that waits
/// for a trigger does not take.
Error AskFrameRate(OpenDevice& device, double dFps);
/// Asks for an exposure, us. While the camera keeps a rate it is cut to the time from frame to frame.
Error AskExposure(OpenDevice& device, double dMicroseconds);
/// Gives the camera the rate that was asked for, or the highest it takes now. A camera that waits for a trigger is
/// given the exposure alone: some hold their rate locked meanwhile.
Error ApplyFrameRate(OpenDevice& device);
/// Whether the camera keeps the rate it was asked for; when not, it runs as fast as it can.
Error SwitchFrameRate(OpenDevice& device, bool bOn);
Error FrameRateIsOn(OpenDevice& device, bool& bOn);
/// The words for the log when the camera is slower than the rate it keeps was asked to be; else empty.
Error ReadRateNote(OpenDevice& device, std::string& strNote);

} // namespace vireo
