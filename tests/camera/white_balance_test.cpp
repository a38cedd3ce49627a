#include "camera/white_balance.h"
#include "configuration_bench.h"

#include <gtest/gtest.h>

namespace vireo::test {
namespace {

TEST(WhiteBalanceValues, DifferForTwoFamilies)
{
    const WhiteBalance stored { .GB = 1, .GR = 2, .B = 3, .R = 4 };
    EXPECT_EQ(WhiteBalanceValues("GRAS-03K2C", stored), (RedBlue { 2, 1 }));
    EXPECT_EQ(WhiteBalanceValues("FFMV-03M2C", stored), (RedBlue { 2, 1 }));
    EXPECT_EQ(WhiteBalanceValues("Flea 2C", stored), (RedBlue { 4, 3 }));
}

TEST(WritesWhiteBalance, SparesTheModelsThatKeepTheirOwn)
{
    for (const char* strModel : { "FL2-03S2C", "FL3-U3-13E4C", "GS3-U3-23S6C", "GS3-PGE-23S6C" })
        EXPECT_FALSE(WritesWhiteBalance(strModel)) << strModel;
    for (const char* strModel : { "GRAS-03K2C", "FFMV-03M2C", "DR2-COLC" })
        EXPECT_TRUE(WritesWhiteBalance(strModel)) << strModel;
}

TEST(ConfigureCameras, GivesColourCamerasTheWhiteBalanceKeptUnderTheirSerialNumber)
{
    Bench bench("simulated:GRAS-03K2C@4100000001+DR2-COLC@4100000002+FFMV-03M2C@4100000003");
    WriteFile(bench.m_folder / "Tessel.ini",
        "[4100000001]\r\nWhiteBalanceGB=300\r\nWhiteBalanceGR=200\r\n[4100000002]\r\nWhiteBalanceB=30\r\n"
        "WhiteBalanceR=20\r\n");
    ASSERT_TRUE(bench.Configure());
    EXPECT_EQ(SetsOf(bench, PropertyType::WhiteBalance, 0), Texts { "auto 200/300" });
    EXPECT_EQ(SetsOf(bench, PropertyType::WhiteBalance, 1), Texts { "auto 20/30" });
    EXPECT_EQ(SetsOf(bench, PropertyType::WhiteBalance, 2), Texts { "auto 645/715" }); // nothing is kept
}

TEST(ConfigureCameras, ReadsButDoesNotWriteTheWhiteBalanceOfOthers)
{
    Bench colour("simulated:GS3-U3-23S6C");
    ASSERT_TRUE(colour.Configure());
    EXPECT_TRUE(SetsOf(colour, PropertyType::WhiteBalance).empty());
    EXPECT_GT(colour.m_library.Calls(Operation::GetProperty).size(), 0U);
    Bench mono("simulated:GRAS-03K2");
    ASSERT_TRUE(mono.Configure());
    EXPECT_TRUE(SetsOf(mono, PropertyType::WhiteBalance).empty());
}

} // namespace
} // namespace vireo::test
