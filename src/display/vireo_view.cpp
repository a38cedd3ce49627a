#include "display/vireo_view.h"

#include "app/format_text.h"
#include "app/number_text.h"
#include "app/settings_records.h"
#include "camera/document_settings.h"
#include "display/gl_driver.h"
#include "display/gl_surface.h"
#include "display/view_messages.h"

#include <QApplication>
#include <QClipboard>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <cmath>
#include <mutex>
#include <utility>

namespace vireo {

namespace {

/// A picture as the toolkit reads it, without copying; valid as long as the picture.
QImage Wrapped(const Image& image)
{
    const bool b32 = image.GetPixelFormat() == PixelFormat::Bgru;
    if (image.GetData() == nullptr || (!b32 && image.GetPixelFormat() != PixelFormat::Bgr))
        return {};
    return QImage(image.GetData(), static_cast<int>(image.GetCols()), static_cast<int>(image.GetRows()),
        static_cast<qsizetype>(image.GetStride()), b32 ? QImage::Format_RGB32 : QImage::Format_BGR888);
}

QSize SizeOf(const Image& image) { return { static_cast<int>(image.GetCols()), static_cast<int>(image.GetRows()) }; }

} // namespace

std::string ViewTitle(int iCameraNumber, std::uint32_t uiSerialNumber)
{
    return FormatText("CAM%02d: %u", iCameraNumber, uiSerialNumber);
}

int ViewNumber(const std::string& strName) { return strName.size() > 3 ? TextToInt(strName.substr(3)) : 0; }

CVireoView::CVireoView(CVireoDoc& doc, ViewHooks hooks, DrawingPath path, QWidget* pParent,
    AffinePainter::MakeSurface makeSurface, std::shared_ptr<GlDriver> glDriver)
    : QWidget(pParent)
    , m_doc(doc)
    , m_hooks(std::move(hooks))
    , m_path(path)
    , m_iCameraIndex(doc.m_windows.m_iViewCount)
    , m_glDriver(glDriver ? std::move(glDriver) : std::make_shared<GlDriver>())
    , m_affinePainter(std::move(makeSurface))
{
    setObjectName(QStringLiteral("view%1").arg(m_iCameraIndex));
    setAttribute(Qt::WA_OpaquePaintEvent); // every pixel is drawn: no flicker
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(1, 1);
    bool& bView24 = m_doc.m_capture.m_running.bView24;
    if (bView24 != m_path.m_bUseOpenGL)
        bView24 = m_path.m_bUseOpenGL; // the first view is made before anything runs
    if (m_path.m_bUseOpenGL)
        m_bOpenGLReady = InitOpenGL();
    else if (m_path.IsAffine() && !m_affinePainter.CanStore(DefaultPictureSize()))
        ShowFailure(view_messages::kNoBitmapStore);
}

CVireoView::~CVireoView() { delete m_pGlSurface; }

QMdiSubWindow* CVireoView::ParentFrame() const { return qobject_cast<QMdiSubWindow*>(parentWidget()); }

void CVireoView::ShowFailure(const char* pText) { m_doc.GetPlatform().window.ShowMessage({ pText, {}, false }); }

// Tries a context of its own first: the surface itself could not tell why it stays empty.
bool CVireoView::InitOpenGL()
{
    if (m_bOpenGLReady)
        return true;
    QOffscreenSurface probe;
    if (!m_glDriver->ObtainSurface(probe)) {
        ShowFailure(view_messages::kNoSurface);
        return false;
    }
    QOpenGLContext context;
    if (!m_glDriver->CreateContext(context)) {
        ShowFailure(view_messages::kNoContext);
        return false;
    }
    if (!m_glDriver->Bind(context, probe)) {
        ShowFailure(view_messages::kBindFailed);
        return false;
    }
    context.doneCurrent();
    m_pGlSurface = new GlSurface(*this);
    return true;
}

bool CVireoView::OnInitialUpdate()
{
    if (m_path.IsAffine() && !m_affinePainter.CreateDeviceResources(DeviceSize()))
        ShowFailure(view_messages::kNoDeviceResources);

    const int iNumber = m_iCameraIndex + m_doc.m_parameters.InitialCameraNumber;
    const std::string strName = ViewSection(iNumber);
    const bool bPlaced = MoveToStoredPlace();
    if (QMdiSubWindow* pFrame = ParentFrame())
        pFrame->setWindowTitle(QString::fromStdString(
            ViewTitle(iNumber, m_doc.m_cameras.m_uiSerialNumber[static_cast<std::size_t>(m_iCameraIndex)])));

    const int iEntry = ViewNumber(strName) - 1;
    if (iEntry + 1 != 0) {
        LoadViewAffine(m_doc, iEntry, AffineSection(strName));
        if (iEntry >= 0 && iEntry < static_cast<int>(kCameraSlots))
            m_matAffine = m_doc.m_windows.m_affine[static_cast<std::size_t>(iEntry)];
    }
    ++m_doc.m_windows.m_iViewCount;
    return bPlaced;
}

std::string CVireoView::Name() const
{
    const QMdiSubWindow* pFrame = ParentFrame();
    const std::string strTitle = pFrame != nullptr ? pFrame->windowTitle().toStdString() : std::string();
    return strTitle.substr(0, strTitle.find(':'));
}

void CVireoView::OnDestroy()
{
    const std::string strName = Name();
    if (strName.empty())
        return;
    const QRect rect = FrameRect();
    SaveViewRect(m_doc.App(), strName, { rect.x(), rect.y(), rect.x() + rect.width(), rect.y() + rect.height() });
    const int iEntry = ViewNumber(strName) - 1;
    if (iEntry + 1 == 0)
        return;
    if (iEntry >= 0 && iEntry < static_cast<int>(kCameraSlots))
        m_doc.m_windows.m_affine[static_cast<std::size_t>(iEntry)] = m_matAffine;
    SaveViewAffine(m_doc, iEntry, AffineSection(strName));
}

void CVireoView::HandStatus()
{
    if (m_hooks.updateCaptureStatus)
        m_hooks.updateCaptureStatus(
            m_doc.m_capture.m_dMeasuredFps, m_doc.m_capture.m_uiMissedCount, m_doc.m_capture.m_uiOutOfSyncCount);
}

void CVireoView::Refresh()
{
    if (m_path.IsAffine())
        UpdateDirect2DBitmap();
    if (m_pGlSurface != nullptr)
        m_pGlSurface->update();
    update();
}

void CVireoView::UpdateDirect2DBitmap()
{
    ViewImage& view = m_doc.m_capture.m_view[static_cast<std::size_t>(m_iCameraIndex)];
    const std::lock_guard lock(view.m_csView);
    m_affinePainter.UpdateBitmap(view.m_viewImage);
}

void CVireoView::paintEvent(QPaintEvent* /*pEvent*/)
{
    if (m_pGlSurface != nullptr)
        return; // it covers the view and draws by itself
    HandStatus(); // before the lock: a grab thread waits for it
    QPainter painter(this);
    ViewImage& view = m_doc.m_capture.m_view[static_cast<std::size_t>(m_iCameraIndex)];
    const std::lock_guard lock(view.m_csView);
    const Image& image = view.m_viewImage;
    if (image.GetData() == nullptr || m_path.m_bUseOpenGL)
        painter.fillRect(rect(), Qt::black);
    else if (m_path.IsAffine())
        DrawAffine(painter, image);
    else
        DrawUnscaled(painter, image);
}

void CVireoView::DrawUnscaled(QPainter& painter, const Image& image)
{
    QImage picture = Wrapped(image);
    FitFrameLater(SizeOf(image));
    const QSize logical = LogicalSize(SizeOf(image));
    if (width() > logical.width())
        painter.fillRect(logical.width(), 0, width() - logical.width(), height(), Qt::black);
    if (height() > logical.height())
        painter.fillRect(0, logical.height(), width(), height() - logical.height(), Qt::black);
    picture.setDevicePixelRatio(devicePixelRatioF());
    painter.drawImage(0, 0, picture);
}

void CVireoView::DrawAffine(QPainter& painter, const Image& /*image*/)
{
    if (!m_affinePainter.CreateDeviceResources(DeviceSize()) || !m_affinePainter.Draw(m_matAffine)) {
        painter.fillRect(rect(), Qt::black);
        return;
    }
    QImage surface = m_affinePainter.Surface();
    surface.setDevicePixelRatio(devicePixelRatioF());
    painter.drawImage(0, 0, surface);
}

QSize CVireoView::LogicalSize(const QSize& device) const
{
    const qreal dRatio = devicePixelRatioF();
    return { static_cast<int>(std::ceil(device.width() / dRatio)),
        static_cast<int>(std::ceil(device.height() / dRatio)) };
}

QSize CVireoView::DeviceSize() const
{
    const qreal dRatio = devicePixelRatioF();
    return { static_cast<int>(std::lround(width() * dRatio)), static_cast<int>(std::lround(height() * dRatio)) };
}

// A frame must not change its size inside a draw: that would draw again.
void CVireoView::FitFrameLater(const QSize& image)
{
    m_fitTo = LogicalSize(image);
    if (m_fitTo == size() || m_bFitPending || ParentFrame() == nullptr)
        return;
    m_bFitPending = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_bFitPending = false;
            FitFrame();
        },
        Qt::QueuedConnection);
}

void CVireoView::FitFrame()
{
    QMdiSubWindow* pFrame = ParentFrame();
    if (pFrame != nullptr && m_fitTo != size() && !pFrame->isMinimized())
        pFrame->resize(pFrame->size() + m_fitTo - size());
}

QSize CVireoView::DefaultPictureSize() const
{
    const ImageSize size = SizeOfIndex(m_doc.m_parameters.m_iImageSizeIndex);
    return { size.iWidth, size.iHeight };
}

QSize CVireoView::sizeHint() const { return LogicalSize(DefaultPictureSize()); }

QImage CVireoView::CurrentPicture() const
{
    ViewImage& view = m_doc.m_capture.m_view[static_cast<std::size_t>(m_iCameraIndex)];
    const std::lock_guard lock(view.m_csView);
    return Wrapped(view.m_viewImage).copy();
}

void CVireoView::resizeEvent(QResizeEvent* /*pEvent*/)
{
    if (m_pGlSurface != nullptr)
        m_pGlSurface->setGeometry(rect());
    m_affinePainter.Resize(DeviceSize());
}

void CVireoView::showEvent(QShowEvent* /*pEvent*/)
{
    if (m_pGlSurface != nullptr)
        m_pGlSurface->setGeometry(rect());
}

QRect CVireoView::FrameRect() const
{
    const QMdiSubWindow* pFrame = ParentFrame();
    if (pFrame == nullptr)
        return {};
    QRect rect = pFrame->geometry();
    if (const QMdiArea* pArea = pFrame->mdiArea())
        rect.translate(pArea->horizontalScrollBar()->value(), pArea->verticalScrollBar()->value());
    return rect;
}

} // namespace vireo
