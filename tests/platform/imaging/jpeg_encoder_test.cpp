#include "platform/imaging/jpeg_encoder.h"
#include "platform/imaging/pixel_converter.h"
#include "support/test_scene.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <turbojpeg.h>

using namespace vireo;
using namespace vireo::test;

namespace {

constexpr int kQuality = 75;

struct Size {
    std::uint32_t uiRows, uiCols;
};
std::ostream& operator<<(std::ostream& out, const Size& size) { return out << size.uiCols << "x" << size.uiRows; }

std::string Bytes(JpegChunk& chunk) { return { reinterpret_cast<const char*>(chunk.Picture()), chunk.Size() }; }

class JpegEncoding : public testing::TestWithParam<Size> {
protected:
    JpegEncoding()
        : m_converter(MakePixelConverter())
        , m_neutral(JpegEncoder::NeutralPlane(GetParam().uiRows, GetParam().uiCols))
        , m_encoder(GetParam().uiRows, GetParam().uiCols, kQuality, *m_converter, m_neutral)
    {
    }

    [[nodiscard]] ImageView View(
        const std::vector<std::uint8_t>& pixels, PixelFormat eFormat, BayerTileFormat eTiles) const
    {
        return { GetParam().uiRows, GetParam().uiCols, GetParam().uiCols, pixels.data(),
            static_cast<std::uint32_t>(pixels.size()), eFormat, eTiles };
    }
    [[nodiscard]] std::vector<std::uint8_t> Frame(bool bColour) const
    {
        return TestScene(GetParam().uiRows, GetParam().uiCols, bColour).RenderAll(1);
    }

    std::unique_ptr<PixelConverter> m_converter;
    std::vector<std::uint8_t> m_neutral;
    JpegEncoder m_encoder;
};

/// What the compressor makes of a BGR picture.
std::string CompressedFromBgr(const std::vector<std::uint8_t>& picture, const Size& size)
{
    unsigned char* pJpeg = nullptr;
    unsigned long uiSize = 0;
    tjhandle hJpeg = tjInitCompress();
    EXPECT_EQ(tjCompress2(hJpeg, picture.data(), static_cast<int>(size.uiCols), 0, static_cast<int>(size.uiRows),
                  TJPF_BGR, &pJpeg, &uiSize, TJSAMP_420, kQuality, TJFLAG_ACCURATEDCT),
        0);
    std::string strJpeg(reinterpret_cast<const char*>(pJpeg), uiSize);
    tjFree(pJpeg);
    tjDestroy(hJpeg);
    return strJpeg;
}

std::vector<std::uint8_t> Decoded(const std::string& strJpeg, const Size& size)
{
    std::vector<std::uint8_t> picture(std::size_t { size.uiRows } * size.uiCols * 3);
    tjhandle hJpeg = tjInitDecompress();
    EXPECT_EQ(
        tjDecompress2(hJpeg, reinterpret_cast<const unsigned char*>(strJpeg.data()), strJpeg.size(), picture.data(),
            static_cast<int>(size.uiCols), 0, static_cast<int>(size.uiRows), TJPF_BGR, TJFLAG_ACCURATEDCT),
        0);
    tjDestroy(hJpeg);
    return picture;
}

TEST_P(JpegEncoding, CompressesColourFromItsInterpolatedPicture)
{
    const std::vector<std::uint8_t> pixels = Frame(true);
    for (const BayerTileFormat eTiles :
        { BayerTileFormat::Rggb, BayerTileFormat::Grbg, BayerTileFormat::Gbrg, BayerTileFormat::Bggr }) {
        const ImageView view = View(pixels, PixelFormat::Raw8, eTiles);
        std::vector<std::uint8_t> picture(pixels.size() * 3);
        ASSERT_TRUE(m_converter->Convert(view, PixelFormat::Bgr, picture.data(), GetParam().uiCols * 3UL).IsOk());
        JpegChunk chunk;
        ASSERT_TRUE(m_encoder.Encode(view, chunk).IsOk());
        const std::string strExpected = CompressedFromBgr(picture, GetParam());
        SCOPED_TRACE("tiles " + std::to_string(static_cast<int>(eTiles)));
        EXPECT_TRUE(Bytes(chunk) == strExpected);
    }
}

TEST_P(JpegEncoding, PutsGreyIntoLumaAndLeavesChromaNeutral)
{
    const std::vector<std::uint8_t> pixels = Frame(false);
    for (const PixelFormat eFormat : { PixelFormat::Mono8, PixelFormat::Raw8 }) {
        JpegChunk chunk;
        ASSERT_TRUE(m_encoder.Encode(View(pixels, eFormat, BayerTileFormat::None), chunk).IsOk());
        tjhandle hJpeg = tjInitDecompress();
        int iWidth = 0, iHeight = 0, iSampling = 0, iColours = 0;
        ASSERT_EQ(
            tjDecompressHeader3(hJpeg, chunk.Picture(), chunk.Size(), &iWidth, &iHeight, &iSampling, &iColours), 0);
        EXPECT_EQ(iWidth, static_cast<int>(GetParam().uiCols));
        EXPECT_EQ(iHeight, static_cast<int>(GetParam().uiRows));
        EXPECT_EQ(iSampling, TJSAMP_420);
        EXPECT_EQ(iColours, TJCS_YCbCr);
        std::vector<std::uint8_t> planes[3];
        unsigned char* destinations[3];
        for (int i = 0; i < 3; ++i) {
            planes[i].resize(tjPlaneSizeYUV(i, iWidth, 0, iHeight, iSampling));
            destinations[i] = planes[i].data();
        }
        ASSERT_EQ(tjDecompressToYUVPlanes(
                      hJpeg, chunk.Picture(), chunk.Size(), destinations, iWidth, nullptr, iHeight, TJFLAG_ACCURATEDCT),
            0);
        tjDestroy(hJpeg);
        const auto uiStride = static_cast<std::size_t>(tjPlaneWidth(0, iWidth, iSampling));
        double dSum = 0.0;
        for (std::size_t y = 0; y < GetParam().uiRows; ++y) {
            for (std::size_t x = 0; x < GetParam().uiCols; ++x)
                dSum += std::abs(int { planes[0][y * uiStride + x] } - int { pixels[y * GetParam().uiCols + x] });
        }
        // The noise, and most of a weave as fine as the pixels, are what quality 75 gives up.
        EXPECT_LT(dSum / static_cast<double>(pixels.size()), 4.5);
        for (int i = 1; i < 3; ++i)
            EXPECT_EQ(planes[i], std::vector<std::uint8_t>(planes[i].size(), 128));
    }
}

TEST_P(JpegEncoding, KeepsAnEvenWallEvenUpToItsEdges)
{
    const std::vector<std::uint8_t> pixels(std::size_t { GetParam().uiRows } * GetParam().uiCols, 200);
    for (const BayerTileFormat eTiles : { BayerTileFormat::None, BayerTileFormat::Rggb }) {
        JpegChunk chunk;
        ASSERT_TRUE(m_encoder.Encode(View(pixels, PixelFormat::Raw8, eTiles), chunk).IsOk());
        for (const std::uint8_t uiValue : Decoded(Bytes(chunk), GetParam()))
            ASSERT_NEAR(uiValue, 200, 2);
    }
}

TEST_P(JpegEncoding, IsBaseline)
{
    JpegChunk chunk;
    ASSERT_TRUE(m_encoder.Encode(View(Frame(false), PixelFormat::Mono8, BayerTileFormat::None), chunk).IsOk());
    const std::string strJpeg = Bytes(chunk);
    EXPECT_NE(strJpeg.find("\xFF\xC0"), std::string::npos) << "no baseline frame header";
    EXPECT_EQ(strJpeg.find("\xFF\xC2"), std::string::npos) << "a progressive frame header";
    EXPECT_EQ(strJpeg.substr(strJpeg.size() - 2), "\xFF\xD9");
}

TEST_P(JpegEncoding, KeepsItsBufferFromFrameToFrame)
{
    const std::vector<std::uint8_t> pixels = Frame(true);
    JpegChunk chunk;
    ASSERT_TRUE(m_encoder.Encode(View(pixels, PixelFormat::Raw8, BayerTileFormat::Rggb), chunk).IsOk());
    const std::string strFirst = Bytes(chunk);
    const std::uint8_t* pBuffer = chunk.Buffer();
    ASSERT_TRUE(m_encoder.Encode(View(pixels, PixelFormat::Raw8, BayerTileFormat::None), chunk).IsOk());
    ASSERT_TRUE(m_encoder.Encode(View(pixels, PixelFormat::Raw8, BayerTileFormat::Rggb), chunk).IsOk());
    EXPECT_EQ(chunk.Buffer(), pBuffer);
    EXPECT_TRUE(Bytes(chunk) == strFirst);
}

// What cameras deliver, whole blocks of 16 pixels, sides that end inside one, odd ones.
INSTANTIATE_TEST_SUITE_P(Sizes, JpegEncoding,
    testing::Values(Size { 480, 640 }, Size { 1080, 1920 }, Size { 64, 64 }, Size { 65, 63 }, Size { 66, 70 },
        Size { 64, 33 }, Size { 129, 32 }, Size { 3, 3 }),
    testing::PrintToStringParamName());

TEST(JpegEncoder, TellsOfTilesThatAreTooSmall)
{
    const auto converter = MakePixelConverter();
    const auto neutral = JpegEncoder::NeutralPlane(2, 8);
    JpegEncoder encoder(2, 8, kQuality, *converter, neutral);
    const std::vector<std::uint8_t> pixels(16);
    JpegChunk chunk;
    EXPECT_EQ(encoder.Encode({ 2, 8, 8, pixels.data(), 16, PixelFormat::Raw8, BayerTileFormat::Rggb }, chunk).GetType(),
        ErrorType::EncodeFailed);
    EXPECT_TRUE(encoder.Encode({ 2, 8, 8, pixels.data(), 16, PixelFormat::Raw8, BayerTileFormat::None }, chunk).IsOk());
}

} // namespace
