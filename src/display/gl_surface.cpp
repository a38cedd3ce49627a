#include "display/gl_surface.h"

#include "display/gl_driver.h"
#include "display/view_messages.h"
#include "display/vireo_view.h"

#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <mutex>

namespace vireo {

GlSurface::GlSurface(CVireoView& view)
    : QOpenGLWidget(&view)
    , m_view(view)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    QSurfaceFormat format;
    format.setVersion(2, 1);
    format.setProfile(QSurfaceFormat::CompatibilityProfile);
    format.setDepthBufferSize(0);
    format.setStencilBufferSize(0);
    setFormat(format);
    setGeometry(view.rect());
}

GlSurface::~GlSurface()
{
    if (!m_bReady)
        return;
    makeCurrent();
    if (!m_view.m_glDriver->IsBound(context()))
        m_view.ShowFailure(view_messages::kUnbindFailed);
    else
        m_painter.Release();
    doneCurrent();
}

void GlSurface::initializeGL()
{
    m_bReady = m_painter.Init();
    if (!m_bReady)
        m_view.ShowFailure(view_messages::kNoContext);
}

void GlSurface::paintGL()
{
    m_view.HandStatus();
    QOpenGLFunctions* pGl = context()->functions();
    pGl->glClearColor(0, 0, 0, 1);
    pGl->glClear(GL_COLOR_BUFFER_BIT);
    if (!m_bReady)
        return;
    ViewImage& view = m_view.m_doc.m_capture.m_view[static_cast<std::size_t>(m_view.m_iCameraIndex)];
    const std::lock_guard lock(view.m_csView);
    if (view.m_viewImage.GetData() != nullptr && view.m_viewImage.GetPixelFormat() == PixelFormat::Bgr)
        m_painter.Draw(view.m_viewImage);
}

} // namespace vireo
