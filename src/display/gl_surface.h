#pragma once
#include "display/gl_painter.h"

#include <QOpenGLWidget>

namespace vireo {

class CVireoView;

/// The OpenGL part of a view: fills it, takes no input of its own.
class GlSurface : public QOpenGLWidget {
public:
    explicit GlSurface(CVireoView& view);
    ~GlSurface() override;

protected:
    void initializeGL() override;
    void paintGL() override;

private:
    CVireoView& m_view;
    GlPainter m_painter;
    bool m_bReady = false;
};

} // namespace vireo
