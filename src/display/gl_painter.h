#pragma once
#include "display/gl_tiling.h"
#include "platform/image.h"

#include <array>
#include <vector>

class QOpenGLFunctions_1_1;

namespace vireo {

/// How a picture reaches the driver. Each next way is for drivers that refuse the one before.
enum class GlUpload { Whole, PowerOfTwo, Tiles };

/// Draws a Bgr picture on a quad that fills the current target, stretched. Every call needs the context
/// current in which Init ran. User-interface thread.
class GlPainter {
public:
    /// Textures and the fixed state. False when the context lacks the fixed-function calls.
    bool Init();
    /// The context's version text, as Init read it.
    [[nodiscard]] const std::string& Version() const { return m_strVersion; }
    /// Draws; begins with the upload `eFirst` and falls back from there. @return the way that was taken.
    GlUpload Draw(const Image& image, GlUpload eFirst = GlUpload::Whole);
    /// Gives the textures back.
    void Release();

private:
    bool UploadWhole(const Image& image);
    bool UploadPowerOfTwo(const Image& image, float& fS, float& fT);
    void DrawQuad(float fS, float fT);
    void DrawTiles(const Image& image);
    void ForgetErrors();

    QOpenGLFunctions_1_1* m_pGl = nullptr; ///< owned by the context
    std::array<unsigned int, kGlTextures> m_texture {};
    std::string m_strVersion;
};

} // namespace vireo
