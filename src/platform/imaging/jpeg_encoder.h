#pragma once
#include "platform/error.h"
#include "platform/image.h"
#include "platform/imaging/jpeg_chunk.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace vireo {

/// Compresses frames of one size to baseline JPEG, YCbCr 4:2:0, with the standard Huffman tables (the
/// optimised ones halve the speed for 8 % fewer bytes). One instance per thread.
///
/// Grey frames: the raw plane is the Y plane, read in place, and chroma is constant, so that every
/// player and analysis program takes the file and the grey values pass through unchanged in range.
/// Bayer frames: interpolated to BGR and compressed from there.
class JpegEncoder {
public:
    /// @param neutral  a plane of 128 as large as the chroma plane (NeutralPlane); outlives the encoder.
    JpegEncoder(std::uint32_t uiRows, std::uint32_t uiCols, int iQuality, const PixelConverter& converter,
        const std::vector<std::uint8_t>& neutral);
    ~JpegEncoder();
    JpegEncoder(const JpegEncoder&) = delete;
    JpegEncoder& operator=(const JpegEncoder&) = delete;

    /// Compresses a frame (Mono8, Raw8) of this encoder's size. @return EncodeFailed.
    Error Encode(const ImageView& frame, JpegChunk& chunk);

    /// The chroma plane of grey frames, shared by all encoders of a recording.
    static std::vector<std::uint8_t> NeutralPlane(std::uint32_t uiRows, std::uint32_t uiCols);
    /// Memory that one encoder takes at most beside the shared plane, bytes.
    static std::size_t ScratchBytes(std::uint32_t uiRows, std::uint32_t uiCols, bool bColour);

private:
    Error EncodeGrey(const ImageView& frame, JpegChunk& chunk);
    Error EncodeColour(const ImageView& frame, JpegChunk& chunk);
    /// Makes room for the picture that comes next; false when its size cannot be a JPEG's.
    bool Reserve(JpegChunk& chunk) const;
    /// Takes over what the compressor left in the chunk.
    Error Finish(JpegChunk& chunk, int iResult, unsigned long uiSize) const;
    Error Failure() const;

    std::uint32_t m_uiRows;
    std::uint32_t m_uiCols;
    int m_iQuality;
    const PixelConverter& m_converter;
    const std::vector<std::uint8_t>& m_neutral;
    void* m_hJpeg = nullptr; ///< TurboJPEG compressor
    std::vector<std::uint8_t> m_picture; ///< BGR of a colour frame; the Y plane of a grey one with odd sides
};

} // namespace vireo
