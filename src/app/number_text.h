#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace vireo {

/// The whole number that a text begins with: leading blanks, a sign and digits count, the rest is
/// ignored. No digits: 0. What goes beyond 32 bits is limited to them.
std::int32_t TextToInt(std::string_view strText);

/// The decimal number that a text begins with, in the same way; 0 without one, and for what no float
/// holds (infinite, not a number). Always with a point, whatever the locale.
float TextToFloat(std::string_view strText);

/// Six decimals, with a point: 2.5 is "2.500000".
std::string FloatToText(float fValue);

} // namespace vireo
