#pragma once
#include "platform/genicam/open_device.h"

namespace vireo {

// Frame rate, shutter, gain and white balance of an open camera, in fps, ms, dB and raw numbers.
// The device's own thread.

Error ReadPropertyInfo(OpenDevice& device, PropertyInfo& info);
Error ReadProperty(OpenDevice& device, Property& property);
Error WriteProperty(OpenDevice& device, const Property& property);

} // namespace vireo
