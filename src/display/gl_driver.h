#pragma once
#include <QOffscreenSurface>
#include <QOpenGLContext>

namespace vireo {

/// The steps to OpenGL that a driver can refuse, one call each. User-interface thread.
class GlDriver {
public:
    virtual ~GlDriver() = default;
    virtual bool ObtainSurface(QOffscreenSurface& surface)
    {
        surface.create();
        return surface.isValid();
    }
    virtual bool CreateContext(QOpenGLContext& context) { return context.create(); }
    virtual bool Bind(QOpenGLContext& context, QSurface& surface) { return context.makeCurrent(&surface); }
    /// Whether the context has become the current one, as it was asked to.
    virtual bool IsBound(const QOpenGLContext* pContext) { return QOpenGLContext::currentContext() == pContext; }
};

} // namespace vireo
