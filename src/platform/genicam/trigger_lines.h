#pragma once
#include "platform/genicam/open_device.h"

namespace vireo {

// Trigger inputs, strobe outputs and the lines they run on. The device's own thread. Lines that the
// camera lacks keep their setting in the program and change nothing.

Error ReadTrigger(OpenDevice& device, TriggerMode& mode);
/// @return NotSupported for an unknown mode or source of a trigger that is to be on.
Error WriteTrigger(OpenDevice& device, const TriggerMode& mode);
/// Switches off what another program may have left on, such as a trigger before the first frame: no frame would
/// come, and nobody would know why.
Error ClearOtherTriggers(OpenDevice& device);
/// The camera waits for a trigger before each frame.
Error IsArmed(OpenDevice& device, bool& bArmed);

Error ReadStrobeInfo(OpenDevice& device, StrobeInfo& info);
Error ReadStrobe(OpenDevice& device, StrobeControl& control);
/// @return NotSupported for a line without strobe.
Error WriteStrobe(OpenDevice& device, const StrobeControl& control);

Error GetLineDirection(OpenDevice& device, unsigned int uiLine, bool& bOutput);
Error SetLineDirection(OpenDevice& device, unsigned int uiLine, bool bOutput);
Error GetLineLevel(OpenDevice& device, unsigned int uiLine, bool& bHigh);
Error SetOutputLevel(OpenDevice& device, unsigned int uiLine, bool bHigh);

} // namespace vireo
