#pragma once
#include "camera/vireo_doc.h"
#include "display/affine_painter.h"
#include "display/drawing_path.h"
#include "display/view_transform.h"

#include <QWidget>
#include <functional>
#include <memory>
#include <string>

class QKeyEvent;
class QMdiSubWindow;

namespace vireo {

class GlDriver;
class GlSurface;

/// What a view asks of the windows around it. Each may be empty.
struct ViewHooks {
    /// Frame rate and counters for the status bar, at every draw.
    std::function<void(double dFps, unsigned uiMissed, unsigned uiOutOfSync)> updateCaptureStatus;
    std::function<void()> prepare; ///< F8: the panel's "計測準備", when it can be pressed
    std::function<void()> start; ///< F9: the panel's "スタート", when it can be pressed
    std::function<void(const QPoint& global)> contextMenu;
};

/// Shows one camera's current picture inside a child frame. It owns no frames: it draws what stands in the
/// document's picture of the camera, whenever it is asked to. User-interface thread.
class CVireoView : public QWidget {
public:
    /// A view of the camera that is next in turn. Texts of failures are shown as they happen.
    CVireoView(CVireoDoc& doc, ViewHooks hooks, DrawingPath path = kDrawingPath, QWidget* pParent = nullptr,
        AffinePainter::MakeSurface makeSurface = {}, std::shared_ptr<GlDriver> glDriver = {});
    ~CVireoView() override;

    /// Once, when the child frame exists and the document is open: stored place, title and transform.
    /// @return whether a place was stored; the frame has it then.
    bool OnInitialUpdate();
    /// Before the child frame goes: stores place and transform under the name in the title.
    void OnDestroy();

    [[nodiscard]] int CameraIndex() const { return m_iCameraIndex; }
    [[nodiscard]] const AffineTransform& Affine() const { return m_matAffine; }
    [[nodiscard]] const DrawingPath& Path() const { return m_path; }
    [[nodiscard]] bool IsOpenGLReady() const { return m_bOpenGLReady; }

    /// The camera has a new picture: draws it at the next chance.
    void Refresh();
    /// Moves the frame to the place stored under the camera's number as it is now, if there is one.
    bool MoveToStoredPlace();
    /// The frame's place in the coordinates of the area that it lives in, scrolling taken out.
    [[nodiscard]] QRect FrameRect() const;
    /// Moves the frame there, so far that its title can be gripped.
    void MoveFrame(const QRect& rect);

    /// Keys before anybody else gets them: hot keys of the capture. @return whether it was taken.
    bool FilterKey(int iKey);

    /// The size that a picture has with the parameters as they are, device pixels.
    [[nodiscard]] QSize DefaultPictureSize() const;
    /// The picture as it is drawn now, for the clipboard.
    [[nodiscard]] QImage CurrentPicture() const;
    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* pEvent) override;
    void resizeEvent(QResizeEvent* pEvent) override;
    void showEvent(QShowEvent* pEvent) override;
    void mousePressEvent(QMouseEvent* pEvent) override;
    void mouseReleaseEvent(QMouseEvent* pEvent) override;
    void mouseMoveEvent(QMouseEvent* pEvent) override;
    void mouseDoubleClickEvent(QMouseEvent* pEvent) override;
    void contextMenuEvent(QContextMenuEvent* pEvent) override;

private:
    friend class GlSurface;
    bool InitOpenGL();
    void HandStatus();
    void DrawUnscaled(QPainter& painter, const Image& image);
    void DrawAffine(QPainter& painter, const Image& image);
    void UpdateDirect2DBitmap();
    void FitFrameLater(const QSize& image);
    void FitFrame();
    [[nodiscard]] QSize LogicalSize(const QSize& device) const;
    [[nodiscard]] QSize DeviceSize() const;
    [[nodiscard]] ViewPoint DevicePoint(const QPointF& point) const;
    [[nodiscard]] QMdiSubWindow* ParentFrame() const;
    [[nodiscard]] std::string Name() const;
    void ShowFailure(const char* pText);

    CVireoDoc& m_doc;
    ViewHooks m_hooks;
    const DrawingPath m_path;
    int m_iCameraIndex = 0;

    bool m_bOpenGLReady = false;
    GlSurface* m_pGlSurface = nullptr; ///< child widget
    const std::shared_ptr<GlDriver> m_glDriver;
    AffinePainter m_affinePainter;

    MouseState m_mouse;
    bool m_bTransformStep = false; ///< the press that lasts has moved the transform
    AffineTransform m_matAffine;

    QSize m_fitTo; ///< client size that the frame is to get, logical pixels
    bool m_bFitPending = false;
};

/// "CAM%02d: %u".
std::string ViewTitle(int iCameraNumber, std::uint32_t uiSerialNumber);
/// The camera number in a view's name "CAM..": the digits after the first three characters.
int ViewNumber(const std::string& strName);

} // namespace vireo
