#pragma once
#include "platform/image.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace vireo::test {

/// Frames with the traits of real ones, the same on every run: a gradient, a fine weave, a soft disc that
/// moves 7 pixels a frame, and sensor noise of sigma 3. Colour frames are raw RGGB.
class TestScene {
public:
    TestScene(std::uint32_t uiRows, std::uint32_t uiCols, bool bColour)
        : m_uiRows(uiRows)
        , m_uiCols(uiCols)
        , m_bColour(bColour)
        , m_noise(kNoiseValues)
    {
        // The sum of twelve even draws is normal enough, and the same on every machine.
        std::uint32_t uiState = 12345;
        for (std::int8_t& value : m_noise) {
            double dSum = -6.0;
            for (int i = 0; i < 12; ++i)
                dSum += Draw(uiState) / 4294967296.0;
            value = static_cast<std::int8_t>(std::lround(std::clamp(dSum * 3.0, -12.0, 12.0)));
        }
    }

    [[nodiscard]] std::size_t FrameBytes() const { return std::size_t { m_uiRows } * m_uiCols; }

    /// Renders frame `uiFrame`.
    void Render(std::uint32_t uiFrame, std::uint8_t* pPixels) const
    {
        std::uint32_t uiState = uiFrame * 2654435761U + 1;
        const double dDiscX = std::fmod(m_uiCols * 0.25 + uiFrame * 7.0, m_uiCols);
        for (std::uint32_t y = 0; y < m_uiRows; ++y) {
            const std::uint32_t uiNoise = Draw(uiState) >> 8;
            for (std::uint32_t x = 0; x < m_uiCols; ++x) {
                const std::uint32_t uiWeave = (x / 2 + y / 2) % 2;
                int iValue = static_cast<int>(56 + 100 * x / m_uiCols + 20 * y / m_uiRows + 8 * uiWeave);
                iValue += static_cast<int>(DiscAt(x - dDiscX, y - m_uiRows * 0.5) * (200 - iValue));
                if (m_bColour)
                    iValue = iValue * kTintPercent[(y % 2) * 2 + x % 2] / 100;
                iValue += m_noise[(uiNoise + x) % kNoiseValues];
                *pPixels++ = static_cast<std::uint8_t>(std::clamp(iValue, 0, 255));
            }
        }
    }

    /// Frames 0 to `uiCount` - 1, one behind the other.
    [[nodiscard]] std::vector<std::uint8_t> RenderAll(std::uint32_t uiCount) const
    {
        std::vector<std::uint8_t> pixels(FrameBytes() * uiCount);
        for (std::uint32_t i = 0; i < uiCount; ++i)
            Render(i, &pixels[FrameBytes() * i]);
        return pixels;
    }

    /// A rendered frame as the camera would deliver it; borrows the pixels.
    [[nodiscard]] Image Wrap(const std::uint8_t* pPixels) const
    {
        return Image(m_uiRows, m_uiCols, m_uiCols, pPixels, static_cast<std::uint32_t>(FrameBytes()),
            m_bColour ? PixelFormat::Raw8 : PixelFormat::Mono8,
            m_bColour ? BayerTileFormat::Rggb : BayerTileFormat::None);
    }

private:
    static constexpr std::size_t kNoiseValues = 1 << 16;
    static constexpr std::array<int, 4> kTintPercent { 110, 90, 90, 60 };
    static constexpr double kDiscEdge = 8.0; ///< pixels from full to none

    /// How much of the disc is at this place from its centre: 0 to 1.
    [[nodiscard]] double DiscAt(double dX, double dY) const
    {
        const double dRadius = m_uiRows * 0.2;
        const double dSquare = dX * dX + dY * dY;
        if (dSquare >= (dRadius + kDiscEdge) * (dRadius + kDiscEdge))
            return 0.0;
        return std::clamp((dRadius - std::sqrt(dSquare)) / kDiscEdge + 0.5, 0.0, 1.0);
    }
    static std::uint32_t Draw(std::uint32_t& uiState) { return uiState = uiState * 1664525U + 1013904223U; }

    std::uint32_t m_uiRows;
    std::uint32_t m_uiCols;
    bool m_bColour;
    std::vector<std::int8_t> m_noise;
};

} // namespace vireo::test
