#pragma once
#include "platform/genicam/open_device.h"

#include <string>

namespace vireo {

// Stream channels and packet size of an open GigE camera. The device's own thread.

struct NumberedChannel {
    std::uint32_t uiChannel = 0;
    GigEStreamChannel channel;
};

Error CountStreamChannels(OpenDevice& device, std::uint32_t& uiChannels);
/// @return InvalidParameter for a channel that does not exist.
Error ReadStreamChannel(OpenDevice& device, NumberedChannel& numbered);
/// A multicast destination is remembered and read back, and `strNote` says so: the driver's stream, which
/// sets the destination itself, could not receive it.
Error WriteStreamChannel(OpenDevice& device, const NumberedChannel& numbered, std::string& strNote);

/// A bootstrap register. A multicast destination is treated as WriteStreamChannel does; that the heartbeat is off is
/// remembered and read back, while it stays on.
Error ReadBootstrap(OpenDevice& device, std::uint32_t uiAddress, std::uint32_t& uiValue);
Error WriteBootstrap(OpenDevice& device, std::uint32_t uiAddress, std::uint32_t uiValue, std::string& strNote);

/// In: the size to begin with; out: the largest packet, up to that size, that arrives whole.
Error FindPacketSize(OpenDevice& device, std::uint32_t& uiPacketSize);

} // namespace vireo
