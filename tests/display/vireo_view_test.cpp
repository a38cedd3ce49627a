#include "app/settings_records.h"
#include "view_fixture.h"

#include <QContextMenuEvent>
#include <QMouseEvent>
#include <QScrollBar>

namespace vireo {
namespace {

using test::Pump;
using test::PumpUntil;

constexpr DrawingPath kAffine { false, true };

void SendMouse(QWidget& view, QEvent::Type eType, QPointF point, Qt::MouseButton eButton)
{
    static Qt::MouseButtons held;
    held.setFlag(eButton, eType == QEvent::MouseButtonPress);
    const Qt::MouseButtons now = eType == QEvent::MouseMove ? held | Qt::RightButton : held;
    QMouseEvent event(eType, point, view.mapToGlobal(point), eButton, now, Qt::NoModifier);
    QApplication::sendEvent(&view, &event);
}

class VireoView : public test::ViewFixture { };

TEST_F(VireoView, IsTitledByCameraNumberAndSerial)
{
    Doc().m_parameters.InitialCameraNumber = 9;
    EXPECT_EQ(FrameOf(OpenView()).windowTitle(), QStringLiteral("CAM09: 13000001"));
    EXPECT_EQ(FrameOf(OpenView()).windowTitle(), QStringLiteral("CAM10: 13000002"));
    EXPECT_EQ(ViewTitle(0, 4294967295U), "CAM00: 4294967295");
}

TEST_F(VireoView, KeepsTheCameraItWasOpenedForWhenAnotherViewGoes)
{
    CVireoView& first = OpenView();
    CVireoView& second = OpenView();
    FrameOf(first).close();
    Pump();
    EXPECT_EQ(second.CameraIndex(), 1);
}

TEST_F(VireoView, DrawsEachPixelOnOneDevicePixel)
{
    CVireoView& view = OpenView();
    SetPicture(0, 640, 480);
    view.Refresh();
    Pump();
    ASSERT_EQ(view.size(), QSize(640, 480));
    const QImage drawn = view.grab().toImage();
    EXPECT_EQ(drawn.pixelColor(0, 0).red(), 100);
    EXPECT_EQ(drawn.pixelColor(639, 479), QColor(Qt::white));
    EXPECT_EQ(drawn.pixelColor(638, 479).red(), 100);
}

TEST_F(VireoView, FrameFitsThePictureAfterADrawAndUndoesAResize)
{
    CVireoView& view = OpenView();
    const struct {
        int iWidth, iHeight;
    } sizes[] = { { 1024, 768 }, { 1280, 720 }, { 1920, 1080 }, { 640, 480 } };
    for (const auto& size : sizes) {
        SetPicture(0, static_cast<std::uint32_t>(size.iWidth), static_cast<std::uint32_t>(size.iHeight));
        view.Refresh();
        EXPECT_TRUE(PumpUntil([&] { return view.size() == QSize(size.iWidth, size.iHeight); })) << size.iWidth;
    }
    const QPoint corner = FrameOf(view).pos();
    FrameOf(view).resize(300, 700);
    EXPECT_TRUE(PumpUntil([&] { return view.size() == QSize(640, 480); }));
    EXPECT_EQ(FrameOf(view).pos(), corner);
}

TEST_F(VireoView, IsAsLargeAsTheSizeIndexSaysUntilThereIsAPicture)
{
    const CVireoView& view = OpenView();
    const struct {
        int iIndex;
        QSize size;
    } rows[] = { { 0, { 640, 480 } }, { 1, { 1024, 768 } }, { 2, { 1280, 720 } }, { 3, { 1920, 1080 } },
        { 4, { 640, 480 } }, { -1, { 640, 480 } }, { 2147483647, { 640, 480 } } };
    for (const auto& row : rows) {
        Doc().m_parameters.m_iImageSizeIndex = row.iIndex;
        EXPECT_EQ(view.DefaultPictureSize(), row.size) << row.iIndex;
        EXPECT_EQ(view.sizeHint(), row.size) << row.iIndex;
    }
}

TEST_F(VireoView, KeepsItsPlaceInTheRowWhileDrawing)
{
    CVireoView& first = OpenView();
    OpenView();
    m_area.setActiveSubWindow(&FrameOf(first));
    SetPicture(1, 1024, 768);
    Pump();
    EXPECT_EQ(m_area.activeSubWindow(), &FrameOf(first)) << "fitting activates nothing";
}

TEST_F(VireoView, PictureWithoutPixelsDrawsNothing)
{
    CVireoView& view = OpenView();
    EXPECT_EQ(view.grab().toImage().pixelColor(10, 10), QColor(Qt::black));
}

TEST_F(VireoView, HandsTheCountersOverAtEveryDrawWithoutThePicturesLock)
{
    int iCalls = 0;
    ViewHooks hooks;
    hooks.updateCaptureStatus = [&](double dFps, unsigned uiMissed, unsigned uiOutOfSync) {
        ++iCalls;
        EXPECT_EQ(dFps, 29.97);
        EXPECT_EQ(uiMissed, 42U);
        EXPECT_EQ(uiOutOfSync, 7U);
        std::mutex& lock = Doc().m_capture.m_view[0].m_csView;
        ASSERT_TRUE(lock.try_lock());
        lock.unlock();
    };
    Doc().m_capture.m_dMeasuredFps = 29.97;
    Doc().m_capture.m_uiMissedCount = 42;
    Doc().m_capture.m_uiOutOfSyncCount = 7;
    CVireoView& view = OpenView({}, hooks);
    SetPicture(0, 640, 480);
    iCalls = 0;
    view.repaint();
    EXPECT_EQ(iCalls, 1);
}

TEST_F(VireoView, OpensAtItsStoredPlace)
{
    SaveViewRect(m_document.m_app, "CAM01", { 100, 50, 748, 560 });
    CVireoView& view = OpenView();
    EXPECT_TRUE(m_bPlaced);
    EXPECT_EQ(view.FrameRect(), QRect(100, 50, 648, 510));
    OpenView();
    EXPECT_FALSE(m_bPlaced) << "nothing is stored for CAM02";
}

TEST_F(VireoView, AbsurdStoredPlacesEndUpInReach)
{
    const WindowRect rects[] = { { 2000000000, 2000000000, 2000000640, 2000000530 }, { -2147483647, 0, 2147483647, 9 },
        { -5000, -5000, -4360, -4470 } };
    for (const WindowRect& rect : rects) {
        Doc().m_windows.m_iViewCount = 0;
        SaveViewRect(m_document.m_app, "CAM01", rect);
        const QRect place = OpenView().FrameRect();
        EXPECT_GE(place.top(), 0);
        EXPECT_GE(place.right(), 40);
        EXPECT_LT(place.left(), 4000);
        EXPECT_LT(place.top(), 4000);
    }
}

TEST_F(VireoView, StoresPlaceAndTransformUnderTheNameInItsTitle)
{
    CVireoView& view = OpenView();
    FrameOf(view).setGeometry(30, 40, 648, 510);
    SendMouse(view, QEvent::MouseButtonPress, { 10, 10 }, Qt::LeftButton);
    SendMouse(view, QEvent::MouseButtonPress, { 10, 10 }, Qt::RightButton);
    SendMouse(view, QEvent::MouseMove, { 22, 15 }, Qt::NoButton);
    Doc().m_parameters.InitialCameraNumber = 5; // another preset: the title stays
    view.OnDestroy();
    WindowRect rect;
    EXPECT_TRUE(LoadViewRect(m_document.m_app, "CAM01", rect));
    EXPECT_EQ(rect, (WindowRect { 30, 40, 678, 550 }));
    EXPECT_EQ(LoadViewAffine(m_document.m_app, "CAM01_AFFINE"), (AffineTransform { 1, 0, 0, 1, 12, 5 }));
    EXPECT_FALSE(LoadViewRect(m_document.m_app, "CAM05", rect));
}

TEST_F(VireoView, PlacesRoundTripWhileTheAreaIsScrolled)
{
    m_area.setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    m_area.setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    CVireoView& view = OpenView();
    FrameOf(view).setGeometry(1300, 1100, 648, 510);
    Pump();
    m_area.horizontalScrollBar()->setValue(m_area.horizontalScrollBar()->maximum());
    m_area.verticalScrollBar()->setValue(m_area.verticalScrollBar()->maximum());
    Pump();
    ASSERT_NE(FrameOf(view).pos(), QPoint(1300, 1100));
    view.OnDestroy();
    WindowRect rect;
    LoadViewRect(m_document.m_app, "CAM01", rect);
    EXPECT_EQ(rect.left, 1300);
    EXPECT_EQ(rect.top, 1100);
    view.MoveToStoredPlace();
    EXPECT_EQ(view.FrameRect().topLeft(), QPoint(1300, 1100));
}

TEST_F(VireoView, LoadsItsTransformAndADoubleClickTakesItBack)
{
    const AffineTransform stored { 0.5F, 0, 0, 0.5F, 10, 20 };
    SaveViewAffine(m_document.m_app, "CAM01_AFFINE", stored);
    CVireoView& view = OpenView();
    EXPECT_EQ(view.Affine(), stored);
    EXPECT_EQ(Doc().m_windows.m_affine[0], stored);
    SendMouse(view, QEvent::MouseButtonDblClick, { 5, 5 }, Qt::LeftButton);
    EXPECT_EQ(view.Affine(), AffineTransform {});
    view.OnDestroy();
    EXPECT_EQ(LoadViewAffine(m_document.m_app, "CAM01_AFFINE"), AffineTransform {});
}

TEST_F(VireoView, CameraNumberZeroNeitherLoadsNorSavesATransform)
{
    Doc().m_parameters.InitialCameraNumber = 0;
    SaveViewAffine(m_document.m_app, "CAM00_AFFINE", { 2, 0, 0, 2, 0, 0 });
    CVireoView& view = OpenView();
    EXPECT_EQ(FrameOf(view).windowTitle(), QStringLiteral("CAM00: 13000001"));
    EXPECT_EQ(view.Affine(), AffineTransform {});
    view.OnDestroy();
    EXPECT_EQ(LoadViewAffine(m_document.m_app, "CAM00_AFFINE"), (AffineTransform { 2, 0, 0, 2, 0, 0 }));
    WindowRect rect;
    EXPECT_TRUE(LoadViewRect(m_document.m_app, "CAM00", rect)) << "its place is stored all the same";
}

TEST_F(VireoView, CameraNumbersBeyondTheTransformsAreHarmless)
{
    Doc().m_parameters.InitialCameraNumber = 20;
    CVireoView& view = OpenView();
    EXPECT_EQ(FrameOf(view).windowTitle(), QStringLiteral("CAM20: 13000001"));
    view.OnDestroy();
}

TEST_F(VireoView, ANewCameraNumberMovesTheViewAndKeepsTheTitle)
{
    CVireoView& view = OpenView();
    SaveViewRect(m_document.m_app, "CAM07", { 200, 100, 848, 610 });
    Doc().m_parameters.InitialCameraNumber = 7;
    EXPECT_TRUE(view.MoveToStoredPlace());
    EXPECT_EQ(view.FrameRect().topLeft(), QPoint(200, 100));
    EXPECT_EQ(FrameOf(view).windowTitle(), QStringLiteral("CAM01: 13000001"));
}

TEST_F(VireoView, TakesTheCaptureKeysAndLeavesTheOthers)
{
    int iPrepared = 0;
    int iStarted = 0;
    ViewHooks hooks;
    hooks.prepare = [&] { ++iPrepared; };
    hooks.start = [&] { ++iStarted; };
    CVireoView& view = OpenView({}, hooks);
    EXPECT_TRUE(view.FilterKey(Qt::Key_F8));
    EXPECT_TRUE(view.FilterKey(Qt::Key_F9));
    EXPECT_EQ(iPrepared, 1);
    EXPECT_EQ(iStarted, 1);
    for (const int iKey : { Qt::Key_Return, Qt::Key_Enter, Qt::Key_Escape, Qt::Key_F7, Qt::Key_A })
        EXPECT_FALSE(view.FilterKey(iKey)) << iKey;
}

TEST_F(VireoView, CooperationKeysNeedTheHundredsDigit)
{
    CooperationRequest request;
    request.CooperationMode = true;
    CVireoView& view = OpenView();
    Doc().m_capture.m_bCapturing = true;
    const struct {
        std::int32_t iSwitches;
        bool bTaken;
    } rows[] = { { 99, false }, { 100, true }, { 111, true }, { -100, false }, { 0, false } };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.iSwitches);
        request.CoopSwitches = row.iSwitches;
        m_document.m_app.SetRequest(request);
        Doc().m_store.m_bStartRequest = false;
        EXPECT_EQ(view.FilterKey(Qt::Key_Return), row.bTaken);
        EXPECT_EQ(Doc().m_store.m_bStartRequest, row.bTaken);
    }
    Doc().m_capture.m_bCapturing = false;
}

TEST_F(VireoView, EscapeAbandonsALiveCooperationRunOnly)
{
    CooperationRequest request;
    request.CooperationMode = true;
    request.CoopSwitches = 100;
    m_document.m_app.SetRequest(request);
    CVireoView& view = OpenView();
    Doc().m_capture.m_bCapturing = true;
    Doc().m_capture.m_iCaptureState = capture_state::kRecording;
    EXPECT_TRUE(view.FilterKey(Qt::Key_Escape));
    EXPECT_TRUE(m_document.m_test.m_window.Record().commands.empty());
    EXPECT_EQ(m_document.m_app.CooperationResult(), 0);
    EXPECT_TRUE(view.FilterKey(Qt::Key_Return));
    EXPECT_TRUE(Doc().m_store.m_bStopRequest) << "Enter ends the recording";
    Doc().m_capture.m_iCaptureState = capture_state::kLive;
    EXPECT_TRUE(view.FilterKey(Qt::Key_Escape));
    EXPECT_EQ(m_document.m_test.m_window.Record().commands, std::vector<int> { command::kExit });
    EXPECT_EQ(m_document.m_app.CooperationResult(), cooperation_result::kCancelled);
    Doc().m_capture.m_bCapturing = false;
}

TEST_F(VireoView, PlainRightClickOpensTheMenuAndADragDoesNot)
{
    int iMenus = 0;
    ViewHooks hooks;
    hooks.contextMenu = [&](const QPoint&) { ++iMenus; };
    CVireoView& view = OpenView({}, hooks);
    SendMouse(view, QEvent::MouseButtonPress, { 50, 50 }, Qt::RightButton);
    SendMouse(view, QEvent::MouseMove, { 50, 90 }, Qt::NoButton);
    SendMouse(view, QEvent::MouseButtonRelease, { 50, 90 }, Qt::RightButton);
    EXPECT_EQ(iMenus, 0);
    SendMouse(view, QEvent::MouseButtonPress, { 50, 50 }, Qt::RightButton);
    SendMouse(view, QEvent::MouseButtonRelease, { 52, 51 }, Qt::RightButton);
    EXPECT_EQ(iMenus, 1);
    QContextMenuEvent key(QContextMenuEvent::Keyboard, QPoint(5, 5), view.mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(&view, &key);
    EXPECT_EQ(iMenus, 2);
}

TEST_F(VireoView, AffinePathDrawsThroughTheTransformAndLeavesTheFrame)
{
    SaveViewAffine(m_document.m_app, "CAM01_AFFINE", { 0.5F, 0, 0, 0.5F, 20, 10 });
    CVireoView& view = OpenView(kAffine);
    SetPicture(0, 640, 480);
    view.Refresh();
    Pump();
    const QImage drawn = view.grab().toImage();
    EXPECT_EQ(drawn.pixelColor(5, 5), QColor(Qt::black));
    EXPECT_EQ(drawn.pixelColor(100, 100).red(), 100);
    EXPECT_EQ(drawn.pixelColor(345, 100), QColor(Qt::black));
    FrameOf(view).resize(300, 300);
    Pump();
    EXPECT_NE(view.size(), QSize(640, 480)) << "only the unscaled path fits its frame";
    EXPECT_EQ(view.grab().toImage().pixelColor(100, 100).red(), 100) << "a new surface for the new size";
}

TEST_F(VireoView, AffinePathShowsWhatItLacks)
{
    OpenView(kAffine, {}, [](QSize) { return QImage(); });
    EXPECT_EQ(m_document.Messages(),
        (std::vector<std::string> { "Error : Create WIC factory.", "Error : 1st CreateDeviceResources()." }));
}

TEST_F(VireoView, OpenGlPathWithoutADriverShowsItAndStays)
{
    CVireoView& view = OpenView({ true, false });
    EXPECT_EQ(m_document.Messages(), std::vector<std::string> { "Error Creating RC." });
    EXPECT_FALSE(view.IsOpenGLReady());
    SetPicture(0, 640, 480, 100, PixelFormat::Bgr);
    view.Refresh();
    Pump();
    EXPECT_EQ(view.grab().toImage().pixelColor(10, 10), QColor(Qt::black));
}

TEST_F(VireoView, OnlyOpenGlWantsPicturesOf24Bits)
{
    OpenView();
    EXPECT_FALSE(Doc().m_capture.m_running.bView24);
    OpenView({ true, false });
    EXPECT_TRUE(Doc().m_capture.m_running.bView24);
}

TEST_F(VireoView, CopiesThePictureForTheClipboard)
{
    CVireoView& view = OpenView();
    EXPECT_TRUE(view.CurrentPicture().isNull());
    SetPicture(0, 32, 16);
    const QImage picture = view.CurrentPicture();
    SetPicture(0, 32, 16, 0);
    EXPECT_EQ(picture.size(), QSize(32, 16));
    EXPECT_EQ(picture.pixelColor(0, 0).red(), 100) << "a copy: the camera goes on";
}

} // namespace
} // namespace vireo
