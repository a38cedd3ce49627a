#pragma once
#include <string>

namespace vireo::peers {

/// Moves this process, before it starts threads, into a network of its own that has nothing but a loopback
/// interface: cameras are looked for with broadcasts, and none of these may leave the computer.
/// @return empty, or why the kernel did not allow it.
std::string EnterOwnNetwork();

} // namespace vireo::peers
