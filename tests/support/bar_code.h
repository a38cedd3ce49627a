#pragma once
#include "platform/image.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace vireo {

/// Reads the bar code that simulated cameras draw over the lowest 16 rows: 32 cells of 16 x 16 pixels
/// from the left edge, the most significant bit first, bright = 1. The value is the moment at which the
/// exposure began, in microseconds since the simulation's start modulo 2^32.
///
/// `pPlane` is a plane of one byte a pixel: a raw frame, or the brightness of a decoded one. Only the
/// middle of each cell counts, so that the blur of a compressed picture does no harm.
/// None when the picture is too small or a cell is neither bright nor dark.
inline std::optional<std::uint32_t> ReadBarCode(
    const std::uint8_t* pPlane, std::uint32_t uiWidth, std::uint32_t uiHeight, std::size_t uiStride)
{
    constexpr std::uint32_t kCells = 32, kSize = 16, kMargin = 4;
    constexpr int kDark = 100, kBright = 150;
    if (pPlane == nullptr || uiWidth < kCells * kSize || uiHeight < kSize)
        return std::nullopt;
    std::uint32_t uiValue = 0;
    for (std::uint32_t uiCell = 0; uiCell < kCells; ++uiCell) {
        int iSum = 0, iCount = 0;
        for (std::uint32_t uiY = kMargin; uiY < kSize - kMargin; ++uiY)
            for (std::uint32_t uiX = kMargin; uiX < kSize - kMargin; ++uiX, ++iCount)
                iSum += pPlane[(uiHeight - kSize + uiY) * uiStride + uiCell * kSize + uiX];
        const int iMean = iSum / iCount;
        if (iMean > kDark && iMean < kBright)
            return std::nullopt;
        uiValue = uiValue << 1 | (iMean >= kBright ? 1U : 0U);
    }
    return uiValue;
}

/// The bar code of a raw frame.
inline std::optional<std::uint32_t> ReadBarCode(const Image& image)
{
    if (BytesPerPixel(image.GetPixelFormat()) != 1)
        return std::nullopt;
    return ReadBarCode(image.GetData(), image.GetCols(), image.GetRows(), image.GetStride());
}

} // namespace vireo
