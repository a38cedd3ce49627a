#include "app/number_text.h"

#include <gtest/gtest.h>

namespace vireo {
namespace {

TEST(TextToInt, TakesTheNumberThatTheTextBeginsWith)
{
    const struct {
        const char* strText;
        std::int32_t iValue;
    } kRows[] = {
        { "", 0 },
        { "abc", 0 },
        { "12abc", 12 },
        { " -5", -5 },
        { "\t +7", 7 },
        { "- 5", 0 },
        { "+-5", 0 },
        { "0x10", 0 },
        { "1.9", 1 },
        { "1,000", 1 },
        { "007", 7 },
        { "１２", 0 },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.strText);
        EXPECT_EQ(TextToInt(row.strText), row.iValue);
    }
}

TEST(TextToInt, LimitsToWhat32BitsHold)
{
    EXPECT_EQ(TextToInt("2147483647"), 2147483647);
    EXPECT_EQ(TextToInt("2147483648"), 2147483647);
    EXPECT_EQ(TextToInt("-2147483648"), -2147483647 - 1);
    EXPECT_EQ(TextToInt("-2147483649"), -2147483647 - 1);
    EXPECT_EQ(TextToInt(std::string(5000, '9')), 2147483647);
    EXPECT_EQ(TextToInt("-" + std::string(5000, '9')), -2147483647 - 1);
    EXPECT_EQ(TextToInt("00000000000000000000012"), 12);
}

TEST(TextToFloat, TakesTheNumberThatTheTextBeginsWith)
{
    const struct {
        const char* strText;
        float fValue;
    } kRows[] = {
        { "", 0.0F },
        { "abc", 0.0F },
        { "2.500000", 2.5F },
        { " +2.5dB", 2.5F },
        { "-6", -6.0F },
        { "+-6", 0.0F },
        { ".5", 0.5F },
        { "1e2", 100.0F },
        { "2,5", 2.0F },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.strText);
        EXPECT_FLOAT_EQ(TextToFloat(row.strText), row.fValue);
    }
}

TEST(TextToFloat, TakesNothingThatNoFloatHolds)
{
    for (const char* strText : { "nan", "inf", "-inf", "infinity", "1e39", "1e999" }) {
        SCOPED_TRACE(strText);
        EXPECT_EQ(TextToFloat(strText), 0.0F);
    }
}

TEST(FloatToText, WritesSixDecimals)
{
    EXPECT_EQ(FloatToText(2.5F), "2.500000");
    EXPECT_EQ(FloatToText(0.0F), "0.000000");
    EXPECT_EQ(FloatToText(-6.0F), "-6.000000");
    EXPECT_EQ(FloatToText(1.0F / 3.0F), "0.333333");
    EXPECT_EQ(FloatToText(3.4e38F).size(), 39U + 7U);
}

} // namespace
} // namespace vireo
