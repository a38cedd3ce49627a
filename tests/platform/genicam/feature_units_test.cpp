#include "platform/genicam/feature_units.h"

#include <gtest/gtest.h>

namespace vireo {

namespace {

TEST(FeatureUnits, AUnitMayCarryANumber)
{
    const struct {
        Quantity eQuantity;
        const char* pUnit;
        std::optional<double> units;
    } kRows[] = {
        { Quantity::Time, "us", 1.0 },
        { Quantity::Time, "\xC2\xB5s", 1.0 },
        { Quantity::Time, "\xCE\xBCs", 1.0 },
        { Quantity::Time, "ms", 1000.0 },
        { Quantity::Time, "ns", 0.001 },
        { Quantity::Time, "s", 1e6 },
        { Quantity::Time, "10 us", 10.0 },
        { Quantity::Time, "20us", 20.0 },
        { Quantity::Time, "dB", std::nullopt },
        { Quantity::Time, "", std::nullopt },
        { Quantity::Time, "raw", std::nullopt },
        { Quantity::Level, "dB", 1.0 },
        { Quantity::Level, "0.1 dB", 0.1 },
        { Quantity::None, "us", std::nullopt },
    };
    for (const auto& row : kRows)
        EXPECT_EQ(UnitsPerStep(row.eQuantity, row.pUnit), row.units) << row.pUnit;
}

TEST(FeatureUnits, ASentenceTellsTheUnitWhereItLeavesNoDoubt)
{
    const struct {
        Quantity eQuantity;
        const char* pText;
        std::optional<double> units;
    } kRows[] = {
        { Quantity::Time, "Exposure in steps of 20 us.", 20.0 },
        { Quantity::Time, "Sets the exposure time (in microseconds).", 1.0 },
        { Quantity::Time, "Exposure time, 0.5 ms per step", 500.0 },
        { Quantity::Time, "The camera's exposure, raw", std::nullopt },
        { Quantity::Time, "one s of many", std::nullopt }, // a letter is no second
        { Quantity::Time, "at most 1 s", 1e6 },
        { Quantity::Time, "12 bit value of 3 registers, ms", 1000.0 }, // the number belongs to something else
        { Quantity::Time, "inf us", 1.0 },
        { Quantity::Time, "0 us", 1.0 },
        { Quantity::Level, "Gain in 0.0359 dB", 0.0359 },
    };
    for (const auto& row : kRows)
        EXPECT_EQ(UnitsPerStepInText(row.eQuantity, row.pText), row.units) << row.pText;
}

} // namespace

} // namespace vireo
