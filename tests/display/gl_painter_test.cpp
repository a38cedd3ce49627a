#include "display/gl_painter.h"

#include <QImage>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>
#include <gtest/gtest.h>

namespace vireo {
namespace {

/// A picture whose quarters are red and green above, blue and white below.
Image Quarters(std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    Image image;
    std::uint8_t* pPixel = image.Reshape(uiHeight, uiWidth, PixelFormat::Bgr);
    for (std::uint32_t uiRow = 0; uiRow < uiHeight; ++uiRow)
        for (std::uint32_t uiCol = 0; uiCol < uiWidth; ++uiCol, pPixel += 3) {
            const bool bBelow = uiRow >= uiHeight / 2;
            const bool bRight = uiCol >= uiWidth / 2;
            pPixel[0] = bBelow ? 255 : 0;
            pPixel[1] = bRight ? 255 : 0;
            pPixel[2] = bBelow == bRight ? 255 : 0;
        }
    return image;
}

class GlPainterTest : public testing::Test {
protected:
    void SetUp() override
    {
        QSurfaceFormat format;
        format.setVersion(2, 1);
        format.setProfile(QSurfaceFormat::CompatibilityProfile);
        m_context.setFormat(format);
        m_surface.setFormat(format);
        m_surface.create();
        ASSERT_TRUE(m_context.create());
        ASSERT_TRUE(m_context.makeCurrent(&m_surface));
        m_target = std::make_unique<QOpenGLFramebufferObject>(QSize(200, 100));
        ASSERT_TRUE(m_target->bind());
        m_context.functions()->glViewport(0, 0, 200, 100);
        m_context.functions()->glClearColor(0, 0, 0, 1);
        m_context.functions()->glClear(GL_COLOR_BUFFER_BIT);
        ASSERT_TRUE(m_painter.Init());
    }
    void TearDown() override
    {
        m_painter.Release();
        m_target.reset();
        m_context.doneCurrent();
    }
    void ExpectQuarters(const char* strName)
    {
        SCOPED_TRACE(strName);
        const QImage drawn = m_target->toImage();
        EXPECT_EQ(drawn.pixelColor(50, 25), QColor(Qt::red)) << "row 0 is at the top";
        EXPECT_EQ(drawn.pixelColor(150, 25), QColor(Qt::green));
        EXPECT_EQ(drawn.pixelColor(50, 75), QColor(Qt::blue));
        EXPECT_EQ(drawn.pixelColor(150, 75), QColor(Qt::white));
    }

    QOffscreenSurface m_surface;
    QOpenGLContext m_context;
    std::unique_ptr<QOpenGLFramebufferObject> m_target;
    GlPainter m_painter;
};

TEST_F(GlPainterTest, StretchesThePictureOverTheTargetOnEveryRoad)
{
    const Image image = Quarters(1920, 1080);
    const struct {
        const char* strName;
        GlUpload eUpload;
    } roads[] = { { "whole", GlUpload::Whole }, { "power of two", GlUpload::PowerOfTwo },
        { "tiles", GlUpload::Tiles } };
    for (const auto& road : roads) {
        m_context.functions()->glClear(GL_COLOR_BUFFER_BIT);
        EXPECT_EQ(m_painter.Draw(image, road.eUpload), road.eUpload) << road.strName;
        ExpectQuarters(road.strName);
    }
}

TEST_F(GlPainterTest, RowsOfAnOddLengthStayInStep)
{
    m_painter.Draw(Quarters(641, 480));
    ExpectQuarters("641 pixels are no multiple of four bytes");
}

TEST_F(GlPainterTest, FallsBackWhenTheDriverRefusesThePicture)
{
    GLint iLargest = 0;
    m_context.functions()->glGetIntegerv(GL_MAX_TEXTURE_SIZE, &iLargest);
    const Image image = Quarters(static_cast<std::uint32_t>(iLargest) + 2, 2);
    EXPECT_EQ(m_painter.Draw(image), GlUpload::Tiles);
}

TEST_F(GlPainterTest, ReadsTheDriversVersion) { EXPECT_FALSE(m_painter.Version().empty()); }

TEST(GlPainterWithoutContext, IsNotReady)
{
    GlPainter painter;
    EXPECT_FALSE(painter.Init());
}

} // namespace
} // namespace vireo
