#include "display/gl_driver.h"
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

/// Refuses one of the steps to OpenGL.
struct RefusingDriver : GlDriver {
    enum Step { kSurface, kContext, kBind, kNone };
    explicit RefusingDriver(Step eRefused)
        : m_eRefused(eRefused)
    {
    }
    bool ObtainSurface(QOffscreenSurface& surface) override
    {
        return m_eRefused != kSurface && GlDriver::ObtainSurface(surface);
    }
    bool CreateContext(QOpenGLContext& context) override
    {
        return m_eRefused != kContext && GlDriver::CreateContext(context);
    }
    bool Bind(QOpenGLContext& context, QSurface& surface) override
    {
        return m_eRefused != kBind && GlDriver::Bind(context, surface);
    }
    bool IsBound(const QOpenGLContext*) override { return false; }
    Step m_eRefused;
};

TEST_F(VireoViewGl, EveryStepThatTheDriverRefusesIsToldAndTheViewStays)
{
    const struct {
        RefusingDriver::Step eRefused;
        const char* pText;
    } rows[] = {
        { RefusingDriver::kSurface, "Error Obtaining DC" },
        { RefusingDriver::kContext, "Error Creating RC." },
        { RefusingDriver::kBind, "Error binding OpenGL." },
    };
    for (const auto& row : rows) {
        m_document.Forget();
        Doc().m_windows.m_iViewCount = 0;
        CVireoView& view = OpenView({ true, false }, {}, {}, std::make_shared<RefusingDriver>(row.eRefused));
        EXPECT_EQ(m_document.Messages(), std::vector<std::string> { row.pText });
        EXPECT_FALSE(view.IsOpenGLReady());
        SetPicture(0, 320, 240, 100, PixelFormat::Bgr);
        view.Refresh();
        Pump();
        EXPECT_EQ(view.grab().toImage().pixelColor(10, 10), QColor(Qt::black)) << row.pText;
        EXPECT_EQ(FrameOf(view).windowTitle(), QStringLiteral("CAM01: 13000001"));
        FrameOf(view).close();
        Pump();
        EXPECT_EQ(m_document.Messages().size(), 1U) << "nothing is left to be given back";
    }
}

TEST_F(VireoViewGl, ContextThatIsNotHadAnyMoreAtTheEndIsTold)
{
    CVireoView& view = OpenView({ true, false }, {}, {}, std::make_shared<RefusingDriver>(RefusingDriver::kNone));
    SetPicture(0, 320, 240, 100, PixelFormat::Bgr);
    view.Refresh();
    Pump();
    EXPECT_TRUE(m_document.Messages().empty());
    FrameOf(view).close();
    delete &FrameOf(view);
    EXPECT_EQ(m_document.Messages(), std::vector<std::string> { "Error unbinding OpenGL." });
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
