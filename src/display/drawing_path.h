#pragma once

namespace vireo {

/// The road that a view's pictures take to the screen. Chosen for the whole build by two constants.
struct DrawingPath {
    bool m_bUseOpenGL = false; ///< a textured quad that fills the view
    bool m_bUseDirect2D = false; ///< a bitmap through the view transform; OpenGL goes before it
    /// One image pixel on one device pixel, the frame fitted to the image.
    [[nodiscard]] constexpr bool IsUnscaled() const { return !m_bUseOpenGL && !m_bUseDirect2D; }
    [[nodiscard]] constexpr bool IsAffine() const { return !m_bUseOpenGL && m_bUseDirect2D; }
};

/// The build's choice (CMake options VIREO_USE_OPENGL and VIREO_USE_DIRECT2D).
constexpr DrawingPath kDrawingPath { VIREO_USE_OPENGL != 0, VIREO_USE_DIRECT2D != 0 };

} // namespace vireo
