#include "view_fixture.h"

#include <QOpenGLWidget>

namespace vireo {
namespace {

using test::Pump;
using test::PumpUntil;

class VireoViewGl : public test::ViewFixture { };

TEST_F(VireoViewGl, FillsTheViewWithThePictureAndLeavesTheFrame)
{
    CVireoView& view = OpenView({ true, false });
    ASSERT_TRUE(view.IsOpenGLReady());
    EXPECT_TRUE(m_document.Messages().empty());
    SetPicture(0, 320, 240, 100, PixelFormat::Bgr);
    FrameOf(view).resize(500, 400);
    view.Refresh();
    Pump();
    const auto* pSurface = view.findChild<QOpenGLWidget*>();
    ASSERT_NE(pSurface, nullptr);
    EXPECT_EQ(pSurface->size(), view.size());
    EXPECT_NE(view.size(), QSize(320, 240)) << "stretched, not fitted";
    const QImage drawn = view.grab().toImage();
    for (const QPoint& point : { QPoint(5, 5), QPoint(drawn.width() - 20, 5), QPoint(5, drawn.height() - 20) })
        EXPECT_EQ(drawn.pixelColor(point).red(), 100);
    EXPECT_GT(drawn.pixelColor(drawn.width() - 1, drawn.height() - 1).red(), 200) << "row 0 is at the top";
}

TEST_F(VireoViewGl, ClosesWithoutAWord)
{
    CVireoView& view = OpenView({ true, false });
    SetPicture(0, 320, 240, 100, PixelFormat::Bgr);
    view.Refresh();
    Pump();
    FrameOf(view).close();
    Pump();
    EXPECT_TRUE(m_document.Messages().empty());
}

TEST_F(VireoViewGl, PictureOfTheOtherFormatDrawsNothing)
{
    CVireoView& view = OpenView({ true, false });
    SetPicture(0, 320, 240, 100, PixelFormat::Bgru);
    view.Refresh();
    Pump();
    EXPECT_EQ(view.grab().toImage().pixelColor(10, 10), QColor(Qt::black));
}

} // namespace
} // namespace vireo
