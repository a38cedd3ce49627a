#include "view_fixture.h"

#include <QMouseEvent>
#include <cmath>

namespace vireo {
namespace {

using test::Pump;
using test::PumpUntil;

/// On whatever scale the screen has: these tests are run on several.
class ScaledView : public test::ViewFixture {
protected:
    qreal Scale() const { return m_area.devicePixelRatioF(); }
    int ToDevice(int iLogical) const { return static_cast<int>(std::floor(iLogical * Scale())); }

    /// A picture in which no pixel is like its neighbours or like another of its row or column.
    static QRgb PixelAt(int iX, int iY) { return qRgb(iX & 255, iY & 255, (iX >> 8) * 16 + (iY >> 8)); }
    void SetPattern(int iWidth, int iHeight)
    {
        ViewImage& view = Doc().m_capture.m_view[0];
        const std::lock_guard lock(view.m_csView);
        std::uint8_t* pPixels = view.m_viewImage.Reshape(
            static_cast<std::uint32_t>(iHeight), static_cast<std::uint32_t>(iWidth), PixelFormat::Bgru);
        for (int iY = 0; iY < iHeight; ++iY)
            for (int iX = 0; iX < iWidth; ++iX, pPixels += 4) {
                const QRgb pixel = PixelAt(iX, iY);
                pPixels[0] = static_cast<std::uint8_t>(qBlue(pixel));
                pPixels[1] = static_cast<std::uint8_t>(qGreen(pixel));
                pPixels[2] = static_cast<std::uint8_t>(qRed(pixel));
                pPixels[3] = 0;
            }
    }
    /// Whether the whole pattern stands on this picture of the screen, one pixel on one, with its corner there.
    static bool StandsAt(const QImage& screen, QPoint corner, int iWidth, int iHeight)
    {
        for (int iY = 0; iY < iHeight; ++iY)
            for (int iX = 0; iX < iWidth; ++iX)
                if (!screen.valid(corner + QPoint(iX, iY))
                    || (screen.pixel(corner + QPoint(iX, iY)) & 0xFFFFFF) != (PixelAt(iX, iY) & 0xFFFFFF))
                    return false;
        return true;
    }
    /// The same with its corner where the view begins; half a device pixel may be rounded either way.
    bool StandsInView(const CVireoView& view, int iWidth, int iHeight)
    {
        const QImage screen = m_area.grab().toImage();
        const QPoint corner = view.mapTo(&m_area, QPoint(0, 0));
        const QPoint device(ToDevice(corner.x()), ToDevice(corner.y()));
        for (const QPoint& half : { QPoint(0, 0), QPoint(1, 0), QPoint(0, 1), QPoint(1, 1) })
            if (StandsAt(screen, device + half, iWidth, iHeight))
                return true;
        return false;
    }
    /// The frame leaves no room beside the picture; less than one pixel of the toolkit's is none.
    bool Fits(const CVireoView& view, int iWidth, int iHeight) const
    {
        const qreal dRight = view.width() * Scale() - iWidth;
        const qreal dBottom = view.height() * Scale() - iHeight;
        return dRight >= 0 && dRight < Scale() && dBottom >= 0 && dBottom < Scale();
    }
};

TEST_F(ScaledView, EachPixelOfThePictureIsOnePixelOfTheScreenWhereverTheFrameStands)
{
    CVireoView& view = OpenView();
    const QSize sizes[] = { { 640, 480 }, { 1024, 768 } };
    for (const QSize& size : sizes) {
        SetPattern(size.width(), size.height());
        view.Refresh();
        ASSERT_TRUE(PumpUntil([&] { return Fits(view, size.width(), size.height()); })) << size.width();
        for (const QPoint& place : { QPoint(0, 0), QPoint(7, 0), QPoint(0, 3), QPoint(15, 22), QPoint(101, 33) }) {
            FrameOf(view).move(place);
            Pump();
            EXPECT_TRUE(StandsInView(view, size.width(), size.height()))
                << size.width() << " at " << place.x() << ", " << place.y();
        }
    }
}

TEST_F(ScaledView, ResizedFrameFitsThePictureAgain)
{
    CVireoView& view = OpenView();
    const QSize sizes[] = { { 640, 480 }, { 1024, 768 }, { 1280, 720 }, { 1920, 1080 } };
    for (const QSize& size : sizes) {
        SetPattern(size.width(), size.height());
        view.Refresh();
        EXPECT_TRUE(PumpUntil([&] { return Fits(view, size.width(), size.height()); })) << size.width();
        FrameOf(view).resize(300, 700);
        EXPECT_TRUE(PumpUntil([&] { return Fits(view, size.width(), size.height()); })) << size.width();
    }
}

TEST_F(ScaledView, TransformMovesByThePixelsOfTheScreen)
{
    CVireoView& view = OpenView();
    const auto send = [&view](QEvent::Type eType, QPointF point, Qt::MouseButton eButton, Qt::MouseButtons held) {
        QMouseEvent event(eType, point, view.mapToGlobal(point), eButton, held, Qt::NoModifier);
        QApplication::sendEvent(&view, &event);
    };
    send(QEvent::MouseButtonPress, { 10, 10 }, Qt::LeftButton, Qt::LeftButton);
    send(QEvent::MouseButtonPress, { 10, 10 }, Qt::RightButton, Qt::LeftButton | Qt::RightButton);
    send(QEvent::MouseMove, { 30, 50 }, Qt::NoButton, Qt::LeftButton | Qt::RightButton);
    EXPECT_EQ(view.Affine()._31, static_cast<float>(20 * Scale()));
    EXPECT_EQ(view.Affine()._32, static_cast<float>(40 * Scale()));
}

} // namespace
} // namespace vireo
