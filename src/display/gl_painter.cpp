#include "display/gl_painter.h"

#include <QOpenGLContext>
#include <QOpenGLFunctions_1_1>
#include <QOpenGLVersionFunctionsFactory>
#include <cstring>

#ifndef GL_BGR_EXT
#define GL_BGR_EXT 0x80E0
#endif
#ifndef GL_CLAMP_TO_EDGE
#define GL_CLAMP_TO_EDGE 0x812F
#endif

namespace vireo {

namespace {

constexpr std::size_t kPixelBytes = 3;
constexpr int kMaxErrors = 16; ///< a lost context reports errors without end

} // namespace

bool GlPainter::Init()
{
    QOpenGLContext* pContext = QOpenGLContext::currentContext();
    m_pGl = pContext != nullptr ? QOpenGLVersionFunctionsFactory::get<QOpenGLFunctions_1_1>(pContext) : nullptr;
    if (m_pGl == nullptr)
        return false;
    const auto* pVersion = reinterpret_cast<const char*>(m_pGl->glGetString(GL_VERSION));
    m_strVersion = pVersion != nullptr ? pVersion : "";
    const GLint iWrap = UsesOldClamp(m_strVersion) ? GL_CLAMP : GL_CLAMP_TO_EDGE;
    m_pGl->glGenTextures(kGlTextures, m_texture.data());
    for (const unsigned int uiTexture : m_texture) {
        m_pGl->glBindTexture(GL_TEXTURE_2D, uiTexture);
        m_pGl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, iWrap);
        m_pGl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, iWrap);
        m_pGl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        m_pGl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        m_pGl->glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    }
    m_pGl->glShadeModel(GL_FLAT);
    m_pGl->glEnable(GL_BLEND);
    m_pGl->glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    m_pGl->glMatrixMode(GL_PROJECTION);
    m_pGl->glLoadIdentity();
    m_pGl->glOrtho(0, 1, 0, 1, -1, 1);
    m_pGl->glMatrixMode(GL_MODELVIEW);
    m_pGl->glLoadIdentity();
    m_pGl->glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    return true;
}

void GlPainter::Release()
{
    if (m_pGl != nullptr)
        m_pGl->glDeleteTextures(kGlTextures, m_texture.data());
    m_pGl = nullptr;
}

GlUpload GlPainter::Draw(const Image& image, GlUpload eFirst)
{
    m_pGl->glEnable(GL_TEXTURE_2D);
    m_pGl->glMatrixMode(GL_MODELVIEW);
    m_pGl->glLoadIdentity();
    m_pGl->glBindTexture(GL_TEXTURE_2D, m_texture[0]);
    float fS = 1.0F;
    float fT = 1.0F;
    if (eFirst == GlUpload::Whole && UploadWhole(image)) {
        DrawQuad(fS, fT);
        return GlUpload::Whole;
    }
    if (eFirst != GlUpload::Tiles && UploadPowerOfTwo(image, fS, fT)) {
        DrawQuad(fS, fT);
        return GlUpload::PowerOfTwo;
    }
    DrawTiles(image);
    return GlUpload::Tiles;
}

bool GlPainter::UploadWhole(const Image& image)
{
    ForgetErrors();
    m_pGl->glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, static_cast<GLsizei>(image.GetCols()),
        static_cast<GLsizei>(image.GetRows()), 0, GL_BGR_EXT, GL_UNSIGNED_BYTE, image.GetData());
    return m_pGl->glGetError() == GL_NO_ERROR;
}

bool GlPainter::UploadPowerOfTwo(const Image& image, float& fS, float& fT)
{
    const auto iWidth = static_cast<int>(image.GetCols());
    const auto iHeight = static_cast<int>(image.GetRows());
    const int iTextureWidth = PowerOfTwoNotBelow(iWidth);
    const int iTextureHeight = PowerOfTwoNotBelow(iHeight);
    ForgetErrors();
    m_pGl->glTexImage2D(
        GL_TEXTURE_2D, 0, GL_RGB, iTextureWidth, iTextureHeight, 0, GL_BGR_EXT, GL_UNSIGNED_BYTE, nullptr);
    if (m_pGl->glGetError() != GL_NO_ERROR)
        return false;
    m_pGl->glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, iWidth, iHeight, GL_BGR_EXT, GL_UNSIGNED_BYTE, image.GetData());
    fS = static_cast<float>(iWidth) / static_cast<float>(iTextureWidth);
    fT = static_cast<float>(iHeight) / static_cast<float>(iTextureHeight);
    return true;
}

// Row 0 of the picture is at the top of the target.
void GlPainter::DrawQuad(float fS, float fT)
{
    m_pGl->glBegin(GL_QUADS);
    m_pGl->glTexCoord2f(0, fT);
    m_pGl->glVertex2f(0, 0);
    m_pGl->glTexCoord2f(fS, fT);
    m_pGl->glVertex2f(1, 0);
    m_pGl->glTexCoord2f(fS, 0);
    m_pGl->glVertex2f(1, 1);
    m_pGl->glTexCoord2f(0, 0);
    m_pGl->glVertex2f(0, 1);
    m_pGl->glEnd();
}

void GlPainter::DrawTiles(const Image& image)
{
    constexpr std::size_t kRowBytes = kGlTileEdge * kPixelBytes;
    std::vector<std::uint8_t> buffer(kRowBytes * kGlTileEdge);
    for (const GlTile& tile : GlTiles(static_cast<int>(image.GetCols()), static_cast<int>(image.GetRows()))) {
        for (int iRow = 0; iRow < tile.iRows; ++iRow) {
            const std::uint8_t* pFrom = image.GetData()
                + std::size_t { image.GetStride() } * static_cast<std::size_t>(tile.iFirstRow + iRow)
                + kPixelBytes * static_cast<std::size_t>(tile.iFirstCol);
            std::memcpy(buffer.data() + kRowBytes * static_cast<std::size_t>(iRow), pFrom,
                kPixelBytes * static_cast<std::size_t>(tile.iCols));
        }
        m_pGl->glBindTexture(GL_TEXTURE_2D, m_texture[static_cast<std::size_t>(tile.iIndex)]);
        m_pGl->glTexImage2D(
            GL_TEXTURE_2D, 0, GL_RGB, kGlTileEdge, kGlTileEdge, 0, GL_BGR_EXT, GL_UNSIGNED_BYTE, buffer.data());
        m_pGl->glBegin(GL_QUADS);
        m_pGl->glTexCoord2f(0, 1);
        m_pGl->glVertex2f(tile.fX0, tile.fY0);
        m_pGl->glTexCoord2f(1, 1);
        m_pGl->glVertex2f(tile.fX1, tile.fY0);
        m_pGl->glTexCoord2f(1, 0);
        m_pGl->glVertex2f(tile.fX1, tile.fY1);
        m_pGl->glTexCoord2f(0, 0);
        m_pGl->glVertex2f(tile.fX0, tile.fY1);
        m_pGl->glEnd();
    }
}

void GlPainter::ForgetErrors()
{
    for (int i = 0; i < kMaxErrors && m_pGl->glGetError() != GL_NO_ERROR; ++i) { }
}

} // namespace vireo
