#pragma once
#include "platform/clock.h"
#include "platform/error.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace vireo {

/// Pixel formats, with the numbers that are written to the cameras and kept with a recording.
enum class PixelFormat : std::uint32_t {
    Unspecified = 0,
    Mono8 = 0x80000000, ///< 8-bit grey
    Raw8 = 0x00400000, ///< 8-bit sensor data: Bayer when the tile format says so, else grey
    Bgr = 0x80000008, ///< 3 bytes a pixel: B, G, R
    Bgru = 0x40000008, ///< 4 bytes a pixel: B, G, R, filler
};

/// The colour of the four pixels at the top left of raw data, row by row.
enum class BayerTileFormat : std::uint32_t { None = 0, Rggb = 1, Grbg = 2, Gbrg = 3, Bggr = 4 };

/// Bytes that one pixel takes; 0 for Unspecified.
constexpr std::uint32_t BytesPerPixel(PixelFormat eFormat)
{
    switch (eFormat) {
    case PixelFormat::Mono8:
    case PixelFormat::Raw8: return 1;
    case PixelFormat::Bgr: return 3;
    case PixelFormat::Bgru: return 4;
    case PixelFormat::Unspecified: break;
    }
    return 0;
}

/// Pixels that somebody else owns, with their shape. Rows are `uiStride` bytes apart.
struct ImageView {
    std::uint32_t uiRows = 0;
    std::uint32_t uiCols = 0;
    std::uint32_t uiStride = 0; ///< bytes
    const std::uint8_t* pData = nullptr;
    std::uint32_t uiDataSize = 0; ///< bytes
    PixelFormat eFormat = PixelFormat::Unspecified;
    BayerTileFormat eBayer = BayerTileFormat::None;
};

/// Turns raw frames into pictures. One instance serves every thread at once; no call starts threads
/// of its own or allocates after the first call of a size.
class PixelConverter {
public:
    virtual ~PixelConverter() = default;
    /// Writes `source` (Mono8 or Raw8, grey or Bayer) to `pDestination` as Bgr or Bgru, rows
    /// `uiDestinationStride` bytes apart. The filler byte of Bgru is 255.
    /// @return Ok; ConversionFailed for another pair of formats or a source whose data size does not
    ///         hold its rows: nothing is written then.
    virtual Error Convert(const ImageView& source, PixelFormat eDestination, std::uint8_t* pDestination,
        std::size_t uiDestinationStride) const = 0;
};

/// One picture: either borrowed memory (a driver's buffer, a slot of the frame store) or pixels of its
/// own. A borrowed image stays valid as long as the lender says; copying an Image copies the loan, or
/// the pixels. Not for use by two threads at once.
class Image {
public:
    Image() = default;
    /// Wraps memory of the caller without copying it.
    Image(std::uint32_t uiRows, std::uint32_t uiCols, std::uint32_t uiStride, const std::uint8_t* pData,
        std::uint32_t uiDataSize, PixelFormat eFormat, BayerTileFormat eBayer)
        : m_view { uiRows, uiCols, uiStride, pData, uiDataSize, eFormat, eBayer }
    {
    }

    std::uint32_t GetRows() const { return m_view.uiRows; }
    std::uint32_t GetCols() const { return m_view.uiCols; }
    std::uint32_t GetStride() const { return m_view.uiStride; }
    std::uint32_t GetDataSize() const { return m_view.uiDataSize; }
    PixelFormat GetPixelFormat() const { return m_view.eFormat; }
    BayerTileFormat GetBayerTileFormat() const { return m_view.eBayer; }
    /// Null when there is no picture.
    const std::uint8_t* GetData() const { return m_own.empty() ? m_view.pData : m_own.data(); }
    ImageView View() const
    {
        ImageView view = m_view;
        view.pData = GetData();
        return view;
    }

    /// When the host had the whole frame, on the program's clock; 0 when unknown.
    ClockTime GetArrivalTime() const { return m_arrival; }
    void SetArrivalTime(ClockTime arrival) { m_arrival = arrival; }

    /// Makes this a picture of its own, all bytes zero when the shape changed, else untouched.
    /// Allocates only when it grows.
    std::uint8_t* Reshape(std::uint32_t uiRows, std::uint32_t uiCols, PixelFormat eFormat)
    {
        const std::uint32_t uiStride = uiCols * BytesPerPixel(eFormat);
        const std::size_t uiSize = std::size_t { uiStride } * uiRows;
        if (m_view.uiRows != uiRows || m_view.uiCols != uiCols || m_view.eFormat != eFormat || m_own.size() != uiSize)
            m_own.assign(uiSize, 0);
        m_view = { uiRows, uiCols, uiStride, nullptr, static_cast<std::uint32_t>(uiSize), eFormat,
            BayerTileFormat::None };
        return m_own.data();
    }

    /// Converts into `destination`, which becomes a picture of its own with this image's size.
    /// @return as PixelConverter::Convert; on failure `destination` has the new shape, its pixels undefined.
    Error Convert(const PixelConverter& converter, PixelFormat eFormat, Image& destination) const
    {
        std::uint8_t* pPixels = destination.Reshape(m_view.uiRows, m_view.uiCols, eFormat);
        return converter.Convert(View(), eFormat, pPixels, destination.GetStride());
    }

private:
    ImageView m_view;
    std::vector<std::uint8_t> m_own;
    ClockTime m_arrival = 0;
};

} // namespace vireo
