#include "display/affine_painter.h"

#include <QColor>
#include <algorithm>
#include <gtest/gtest.h>

namespace vireo {
namespace {

/// A Bgru picture of one colour with one pixel of another at the top left.
Image Picture(int iWidth, int iHeight, std::uint8_t uiGrey)
{
    Image image;
    std::uint8_t* pPixels =
        image.Reshape(static_cast<std::uint32_t>(iHeight), static_cast<std::uint32_t>(iWidth), PixelFormat::Bgru);
    std::fill_n(pPixels, image.GetDataSize(), uiGrey);
    return image;
}

TEST(AffinePainter, DrawsThroughTheTransformOnBlack)
{
    AffinePainter painter;
    ASSERT_TRUE(painter.CreateDeviceResources({ 40, 30 }));
    ASSERT_TRUE(painter.UpdateBitmap(Picture(10, 10, 200)));
    ASSERT_TRUE(painter.Draw({ 2, 0, 0, 2, 5, 3 }));
    const QImage& surface = painter.Surface();
    EXPECT_EQ(surface.pixelColor(2, 10), QColor(Qt::black));
    EXPECT_EQ(surface.pixelColor(15, 13).red(), 200);
    EXPECT_EQ(surface.pixelColor(28, 10), QColor(Qt::black));
}

TEST(AffinePainter, KeepsACopyOfThePicture)
{
    AffinePainter painter;
    painter.CreateDeviceResources({ 10, 10 });
    {
        const Image image = Picture(10, 10, 77);
        ASSERT_TRUE(painter.UpdateBitmap(image));
    }
    ASSERT_TRUE(painter.Draw({}));
    EXPECT_EQ(painter.Surface().pixelColor(5, 5).red(), 77);
}

TEST(AffinePainter, TakesRowsThatArePadded)
{
    std::uint8_t pixels[2][16];
    std::fill_n(pixels[0], 8, std::uint8_t { 10 });
    std::fill_n(pixels[0] + 8, 8, std::uint8_t { 99 }); // beside the picture
    std::fill_n(pixels[1], 16, std::uint8_t { 20 });
    AffinePainter painter;
    painter.CreateDeviceResources({ 2, 2 });
    ASSERT_TRUE(painter.UpdateBitmap(Image(2, 2, 16, pixels[0], 32, PixelFormat::Bgru, BayerTileFormat::None)));
    ASSERT_TRUE(painter.Draw({}));
    EXPECT_EQ(painter.Surface().pixelColor(1, 0).red(), 10);
    EXPECT_EQ(painter.Surface().pixelColor(0, 1).red(), 20);
}

TEST(AffinePainter, FollowsTheViewsSize)
{
    AffinePainter painter;
    painter.Resize({ 20, 20 });
    EXPECT_TRUE(painter.Surface().isNull()) << "nothing to resize yet";
    painter.CreateDeviceResources({ 10, 10 });
    painter.Resize({ 20, 20 });
    EXPECT_EQ(painter.Surface().size(), QSize(20, 20));
}

TEST(AffinePainter, DrawsNothingWithoutSurfaceOrPicture)
{
    AffinePainter painter;
    EXPECT_FALSE(painter.UpdateBitmap(Picture(10, 10, 1))) << "no surface";
    EXPECT_FALSE(painter.Draw({}));
    painter.CreateDeviceResources({ 10, 10 });
    EXPECT_FALSE(painter.Draw({})) << "no picture";
    EXPECT_FALSE(painter.UpdateBitmap(Image())) << "a picture without pixels";
    painter.UpdateBitmap(Picture(4, 4, 1));
    EXPECT_TRUE(painter.Draw({}));
    painter.DiscardDeviceResources();
    EXPECT_FALSE(painter.Draw({}));
}

TEST(AffinePainter, ReportsASurfaceThatCannotBeHad)
{
    AffinePainter painter([](QSize) { return QImage(); });
    EXPECT_FALSE(painter.CanStore({ 10, 10 }));
    EXPECT_FALSE(painter.CreateDeviceResources({ 10, 10 }));
}

} // namespace
} // namespace vireo
