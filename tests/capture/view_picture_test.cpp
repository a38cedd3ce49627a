#include "capture/view_picture.h"
#include "support/test_platform.h"

#include <gtest/gtest.h>
#include <vector>

using namespace vireo;

namespace {

class ViewPicture : public testing::Test {
protected:
    ViewPicture()
        : m_app(m_test.m_platform)
        , m_doc(m_app)
    {
        m_doc.m_capture.m_running.iWidth = 8;
        m_doc.m_capture.m_running.iHeight = 4;
    }
    Error Show(std::uint32_t uiRows, std::uint32_t uiCols, std::uint8_t uiGrey)
    {
        m_pixels.assign(std::size_t { uiRows } * uiCols, uiGrey);
        Image frame(uiRows, uiCols, uiCols, m_pixels.data(), static_cast<std::uint32_t>(m_pixels.size()),
            PixelFormat::Mono8, BayerTileFormat::None);
        frame.SetArrivalTime(5);
        return ShowInView(m_doc, 0, frame);
    }
    const Image& Picture() { return m_doc.m_capture.m_view[0].m_viewImage; }
    /// Blue of each pixel, row by row; '.' = black, '#' = anything else.
    std::string Pattern()
    {
        std::string strPattern;
        const std::uint32_t uiBytes = BytesPerPixel(Picture().GetPixelFormat());
        for (std::uint32_t y = 0; y < Picture().GetRows(); ++y) {
            for (std::uint32_t x = 0; x < Picture().GetCols(); ++x)
                strPattern += Picture().GetData()[y * Picture().GetStride() + x * uiBytes] == 0 ? '.' : '#';
            strPattern += '\n';
        }
        return strPattern;
    }

    test::TestPlatform m_test;
    CVireoApp m_app;
    CVireoDoc m_doc;
    std::vector<std::uint8_t> m_pixels;
};

} // namespace

TEST_F(ViewPicture, AFrameOfTheDisplaySizeFillsIt)
{
    EXPECT_TRUE(Show(4, 8, 200).IsOk());
    EXPECT_EQ(Pattern(), "########\n########\n########\n########\n");
    EXPECT_EQ(Picture().GetPixelFormat(), PixelFormat::Bgru);
    EXPECT_EQ(Picture().GetArrivalTime(), 5);
}

TEST_F(ViewPicture, TheViewsFormatDecidesTheBytesOfAPixel)
{
    m_doc.m_capture.m_running.bView24 = true;
    EXPECT_TRUE(Show(4, 8, 200).IsOk());
    EXPECT_EQ(Picture().GetPixelFormat(), PixelFormat::Bgr);
    EXPECT_EQ(Picture().GetStride(), 24U);
}

TEST_F(ViewPicture, ASmallerFrameStandsAtTheTopLeftWithBlackAroundIt)
{
    EXPECT_TRUE(Show(2, 5, 200).IsOk());
    EXPECT_EQ(Pattern(), "#####...\n#####...\n........\n........\n");
}

TEST_F(ViewPicture, ALargerFrameIsCut)
{
    EXPECT_TRUE(Show(9, 20, 200).IsOk());
    EXPECT_EQ(Picture().GetRows(), 4U);
    EXPECT_EQ(Picture().GetCols(), 8U);
    EXPECT_EQ(Pattern(), "########\n########\n########\n########\n");
}

TEST_F(ViewPicture, NothingOfAnEarlierLargerFrameStaysVisible)
{
    EXPECT_TRUE(Show(4, 8, 200).IsOk());
    EXPECT_TRUE(Show(3, 3, 100).IsOk());
    EXPECT_EQ(Pattern(), "###.....\n###.....\n###.....\n........\n");
}

TEST_F(ViewPicture, PreparingItMakesRoomBeforeTheFirstFrame)
{
    PrepareView(m_doc, 0);
    const std::uint8_t* pPixels = Picture().GetData();
    EXPECT_EQ(Pattern(), "........\n........\n........\n........\n");
    EXPECT_TRUE(Show(4, 8, 200).IsOk());
    EXPECT_EQ(Picture().GetData(), pPixels) << "no frame allocates";
}

TEST_F(ViewPicture, AFrameThatCannotBeConvertedReturnsTheConvertersError)
{
    EXPECT_TRUE(Show(4, 8, 200).IsOk());
    const std::uint8_t uiByte = 0;
    EXPECT_EQ(ShowInView(m_doc, 0, Image(4, 8, 8, &uiByte, 1, PixelFormat::Mono8, BayerTileFormat::None)).GetType(),
        ErrorType::ConversionFailed);
    EXPECT_EQ(Pattern(), "########\n########\n########\n########\n");
}
