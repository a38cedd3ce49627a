#pragma once
#include <optional>
#include <string_view>

namespace vireo {

enum class Quantity {
    None, ///< counted as it is
    Time, ///< us
    Level, ///< dB
};

/// How many of our units one step of a feature is, as its unit says ("ms", "10 us").
std::optional<double> UnitsPerStep(Quantity eQuantity, std::string_view strUnit);
/// The same from a sentence ("Exposure time in steps of 20 us."); only what leaves no doubt is taken.
std::optional<double> UnitsPerStepInText(Quantity eQuantity, std::string_view strText);

} // namespace vireo
