#pragma once
#include <cstdint>
#include <optional>
#include <string>

namespace vireo {

/// The FireWire card that the node with this unique identifier hangs on: the lowest number that the kernel has given to
/// a node of that card. Nothing when the kernel does not tell. `strNodes` is where it lists them.
std::optional<std::uint32_t> FindFirewireCard(
    std::uint64_t uiGuid, const std::string& strNodes = "/sys/bus/firewire/devices");

} // namespace vireo
