#include "display/gl_tiling.h"

#include <gtest/gtest.h>

namespace vireo {
namespace {

TEST(GlTiling, PowersOfTwoCountUpFromOne)
{
    static_assert(PowerOfTwoNotBelow(0) == 1);
    static_assert(PowerOfTwoNotBelow(1) == 1);
    static_assert(PowerOfTwoNotBelow(640) == 1024);
    static_assert(PowerOfTwoNotBelow(1024) == 1024);
    static_assert(PowerOfTwoNotBelow(1025) == 2048);
}

TEST(GlTiling, OldClampBelowVersion115)
{
    EXPECT_TRUE(UsesOldClamp("1.1.0 Software"));
    EXPECT_FALSE(UsesOldClamp("1.2 Mesa"));
    EXPECT_FALSE(UsesOldClamp("1.15"));
    EXPECT_FALSE(UsesOldClamp("4.5 (Compatibility Profile) Mesa"));
    EXPECT_TRUE(UsesOldClamp("")) << "a text without a number reads as 0";
}

TEST(GlTiling, LastTilesHoldTheRemainder)
{
    const auto tiles = GlTiles(1920, 1080);
    ASSERT_EQ(tiles.size(), 4U);
    EXPECT_EQ(tiles[0].iCols, 1024);
    EXPECT_EQ(tiles[0].iRows, 1024);
    EXPECT_EQ(tiles[3].iIndex, 3);
    EXPECT_EQ(tiles[3].iFirstCol, 1024);
    EXPECT_EQ(tiles[3].iFirstRow, 1024);
    EXPECT_EQ(tiles[3].iCols, 896);
    EXPECT_EQ(tiles[3].iRows, 56);
}

TEST(GlTiling, QuadsCoverThePictureFromTheTopLeft)
{
    const auto tiles = GlTiles(2048, 1024);
    ASSERT_EQ(tiles.size(), 2U);
    EXPECT_FLOAT_EQ(tiles[0].fX0, 0.0F);
    EXPECT_FLOAT_EQ(tiles[0].fX1, 0.5F);
    EXPECT_FLOAT_EQ(tiles[0].fY0, 0.0F);
    EXPECT_FLOAT_EQ(tiles[0].fY1, 1.0F);
    EXPECT_FLOAT_EQ(tiles[1].fX0, 0.5F);
    EXPECT_FLOAT_EQ(GlTiles(1920, 1080)[2].fY1, 1.0F - 1024.0F / 1080.0F) << "the second row hangs below the first";
}

TEST(GlTiling, ExactMultiplesHaveNoEmptyTile) { EXPECT_EQ(GlTiles(1024, 1024).size(), 1U); }

TEST(GlTiling, TilesFromTheSixteenthOnStayUndrawn)
{
    const auto tiles = GlTiles(5 * 1024, 4 * 1024); // 20 tiles
    ASSERT_EQ(tiles.size(), 16U);
    EXPECT_EQ(tiles.back().iIndex, 15);
    EXPECT_EQ(tiles.back().iFirstCol, 0) << "the first tile of the last row";
}

} // namespace
} // namespace vireo
