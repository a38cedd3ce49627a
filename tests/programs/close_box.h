#pragma once
#include <string>

namespace vireo::test {

/// Presses a window's close box, as a window manager does; for displays without one. `strWindow`: its number.
/// False when the display cannot be reached.
bool PressCloseBox(const std::string& strDisplay, const std::string& strWindow);

} // namespace vireo::test
