#pragma once
#include "platform/genicam/open_device.h"

#include <cstdint>

namespace vireo {

// The camera control registers that the program uses, played on the features of a camera that has no
// such registers. The device's own thread.

/// @return RegisterFailed for a register that nothing stands for.
Error ReadControlRegister(OpenDevice& device, std::uint32_t uiAddress, std::uint32_t& uiValue);
Error WriteControlRegister(OpenDevice& device, std::uint32_t uiAddress, std::uint32_t uiValue);

/// Levels of the lines, line 0 in the highest bit. Zero for a camera without lines.
Error ReadPins(OpenDevice& device, std::uint32_t& uiPins);

} // namespace vireo
