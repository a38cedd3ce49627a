#include "platform/imaging/jpeg_encoder.h"

#include <algorithm>
#include <cstring>
#include <turbojpeg.h>

namespace vireo {
namespace {

constexpr int kSampling = TJSAMP_420;
constexpr int kCompressFlags = TJFLAG_NOREALLOC | TJFLAG_ACCURATEDCT; // as fast as the coarse transform here
constexpr std::uint8_t kNeutralChroma = 128;
constexpr std::uint32_t Even(std::uint32_t uiPixels) { return uiPixels + uiPixels % 2; }
constexpr std::size_t LumaBytes(std::uint32_t uiRows, std::uint32_t uiCols)
{
    return std::size_t { Even(uiRows) } * Even(uiCols);
}

bool IsColour(const ImageView& frame)
{
    return frame.eFormat == PixelFormat::Raw8 && frame.eBayer != BayerTileFormat::None;
}

} // namespace

JpegEncoder::JpegEncoder(std::uint32_t uiRows, std::uint32_t uiCols, int iQuality, const PixelConverter& converter,
    const std::vector<std::uint8_t>& neutral)
    : m_uiRows(uiRows)
    , m_uiCols(uiCols)
    , m_iQuality(iQuality)
    , m_converter(converter)
    , m_neutral(neutral)
    , m_hJpeg(tjInitCompress())
{
}

JpegEncoder::~JpegEncoder()
{
    if (m_hJpeg != nullptr)
        tjDestroy(m_hJpeg);
}

std::vector<std::uint8_t> JpegEncoder::NeutralPlane(std::uint32_t uiRows, std::uint32_t uiCols)
{
    return std::vector<std::uint8_t>(LumaBytes(uiRows, uiCols) / 4, kNeutralChroma);
}

std::size_t JpegEncoder::ScratchBytes(std::uint32_t uiRows, std::uint32_t uiCols, bool bColour)
{
    if (bColour)
        return std::size_t { uiRows } * uiCols * BytesPerPixel(PixelFormat::Bgr);
    return (uiRows | uiCols) % 2 == 0 ? 0 : LumaBytes(uiRows, uiCols);
}

Error JpegEncoder::Encode(const ImageView& frame, JpegChunk& chunk)
{
    if (m_hJpeg == nullptr)
        return { ErrorType::EncodeFailed, tjGetErrorStr2(nullptr) };
    return IsColour(frame) ? EncodeColour(frame, chunk) : EncodeGrey(frame, chunk);
}

Error JpegEncoder::EncodeGrey(const ImageView& frame, JpegChunk& chunk)
{
    const std::uint8_t* pLuma = frame.pData;
    std::uint32_t uiStride = frame.uiStride;
    if ((m_uiRows | m_uiCols) % 2 != 0) {
        // The compressor reads planes with even sides; the frame has no bytes there.
        uiStride = Even(m_uiCols);
        m_picture.resize(LumaBytes(m_uiRows, m_uiCols));
        for (std::uint32_t y = 0; y < Even(m_uiRows); ++y) {
            const std::uint8_t* pRow = frame.pData + std::size_t { std::min(y, m_uiRows - 1) } * frame.uiStride;
            std::uint8_t* pTo = &m_picture[std::size_t { y } * uiStride];
            std::memcpy(pTo, pRow, m_uiCols);
            pTo[uiStride - 1] = pRow[m_uiCols - 1];
        }
        pLuma = m_picture.data();
    }
    if (!Reserve(chunk))
        return Failure();
    const unsigned char* planes[3] = { pLuma, m_neutral.data(), m_neutral.data() };
    const int strides[3] = { static_cast<int>(uiStride), 0, 0 };
    unsigned char* pPicture = chunk.Picture();
    unsigned long uiSize = chunk.Capacity();
    const int iResult = tjCompressFromYUVPlanes(m_hJpeg, planes, static_cast<int>(m_uiCols), strides,
        static_cast<int>(m_uiRows), kSampling, &pPicture, &uiSize, m_iQuality, kCompressFlags);
    return Finish(chunk, iResult, uiSize);
}

Error JpegEncoder::EncodeColour(const ImageView& frame, JpegChunk& chunk)
{
    const std::size_t uiStride = std::size_t { m_uiCols } * BytesPerPixel(PixelFormat::Bgr);
    m_picture.resize(uiStride * m_uiRows);
    const Error converted = m_converter.Convert(frame, PixelFormat::Bgr, m_picture.data(), uiStride);
    if (!converted.IsOk())
        return { ErrorType::EncodeFailed, converted.GetDescription() };
    if (!Reserve(chunk))
        return Failure();
    unsigned char* pPicture = chunk.Picture();
    unsigned long uiSize = chunk.Capacity();
    const int iResult = tjCompress2(m_hJpeg, m_picture.data(), static_cast<int>(m_uiCols), static_cast<int>(uiStride),
        static_cast<int>(m_uiRows), TJPF_BGR, &pPicture, &uiSize, kSampling, m_iQuality, kCompressFlags);
    return Finish(chunk, iResult, uiSize);
}

bool JpegEncoder::Reserve(JpegChunk& chunk) const
{
    const unsigned long uiRoom = tjBufSize(static_cast<int>(m_uiCols), static_cast<int>(m_uiRows), kSampling);
    if (uiRoom == static_cast<unsigned long>(-1))
        return false;
    chunk.Reserve(uiRoom);
    return true;
}

Error JpegEncoder::Finish(JpegChunk& chunk, int iResult, unsigned long uiSize) const
{
    if (iResult != 0)
        return Failure();
    chunk.SetSize(uiSize);
    return {};
}

Error JpegEncoder::Failure() const { return { ErrorType::EncodeFailed, tjGetErrorStr2(m_hJpeg) }; }

} // namespace vireo
