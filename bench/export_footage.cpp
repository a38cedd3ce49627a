#include "export_footage.h"

#include "platform/imaging/pixel_converter.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

namespace vireo::bench {

Footage::Footage(
    std::uint32_t uiRows, std::uint32_t uiCols, bool bColour, std::uint32_t uiDistinct, std::size_t uiFrames)
    : m_uiRows(uiRows)
    , m_uiCols(uiCols)
    , m_bColour(bColour)
    , m_uiFrames(uiFrames)
    , m_uiDistinct(uiDistinct)
    , m_scene(uiRows, uiCols, bColour)
    , m_pixels(m_scene.RenderAll(uiDistinct))
{
    if (!bColour)
        return;
    const auto converter = MakePixelConverter();
    m_pictures.resize(m_pixels.size() * 3);
    m_luma.resize(m_pixels.size());
    for (std::size_t i = 0; i < uiDistinct; ++i) {
        std::uint8_t* pPicture = &m_pictures[i * Pixels() * 3];
        if (!converter->Convert(Frame(i).View(), PixelFormat::Bgr, pPicture, std::size_t { uiCols } * 3).IsOk())
            std::abort();
        for (std::size_t p = 0; p < Pixels(); ++p) {
            const std::uint8_t* pPixel = pPicture + p * 3;
            m_luma[i * Pixels() + p] =
                static_cast<std::uint8_t>((114 * pPixel[0] + 587 * pPixel[1] + 299 * pPixel[2] + 500) / 1000);
        }
    }
}

std::string Footage::Name() const
{
    return std::string(m_bColour ? "colour-" : "grey-") + std::to_string(m_uiCols) + "x" + std::to_string(m_uiRows);
}

const std::uint8_t* Footage::Luma(std::size_t uiFrame) const
{
    return &(m_bColour ? m_luma : m_pixels)[Pixels() * (uiFrame % m_uiDistinct)];
}

void Footage::Save(const std::string& strFile, std::size_t uiFrames) const
{
    std::ofstream file(strFile, std::ios::binary);
    for (std::size_t i = 0; i < uiFrames; ++i) {
        const std::uint8_t* pBytes = m_bColour ? Picture(i) : Frame(i).GetData();
        file.write(reinterpret_cast<const char*>(pBytes), static_cast<std::streamsize>(Pixels() * (m_bColour ? 3 : 1)));
    }
    if (!file.flush())
        std::abort();
}

} // namespace vireo::bench
