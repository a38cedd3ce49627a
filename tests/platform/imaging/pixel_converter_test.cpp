#include "allocation_count.h"
#include "platform/imaging/pixel_converter.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <opencv2/core/utility.hpp>
#include <string>
#include <thread>
#include <vector>

using namespace vireo;

namespace {

struct Colour {
    std::uint8_t uiBlue, uiGreen, uiRed;
    bool operator==(const Colour&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Colour& colour)
{
    return out << "(B " << int { colour.uiBlue } << ", G " << int { colour.uiGreen } << ", R " << int { colour.uiRed }
               << ")";
}

struct Tiling {
    const char* strName;
    BayerTileFormat eTiles;
    const char* strCorner; ///< the four pixels at the top left, row by row
};
std::ostream& operator<<(std::ostream& out, const Tiling& tiling) { return out << tiling.strCorner; }
const Tiling kTilings[] = {
    { "Rggb", BayerTileFormat::Rggb, "RGGB" },
    { "Grbg", BayerTileFormat::Grbg, "GRBG" },
    { "Gbrg", BayerTileFormat::Gbrg, "GBRG" },
    { "Bggr", BayerTileFormat::Bggr, "BGGR" },
};

/// What a sensor with these tiles sees of an evenly coloured wall.
std::vector<std::uint8_t> Mosaic(
    const Tiling& tiling, Colour wall, std::uint32_t uiRows, std::uint32_t uiCols, std::uint32_t uiStride)
{
    std::vector<std::uint8_t> pixels(std::size_t { uiRows } * uiStride, 0);
    for (std::uint32_t y = 0; y < uiRows; ++y) {
        for (std::uint32_t x = 0; x < uiCols; ++x) {
            const char cell = tiling.strCorner[(y % 2) * 2 + x % 2];
            pixels[y * uiStride + x] = cell == 'R' ? wall.uiRed : cell == 'G' ? wall.uiGreen : wall.uiBlue;
        }
    }
    return pixels;
}

ImageView Wrap(const std::vector<std::uint8_t>& pixels, std::uint32_t uiRows, std::uint32_t uiCols,
    std::uint32_t uiStride, PixelFormat eFormat, BayerTileFormat eTiles = BayerTileFormat::None)
{
    return { uiRows, uiCols, uiStride, pixels.data(), static_cast<std::uint32_t>(pixels.size()), eFormat, eTiles };
}

class PixelConversion : public testing::Test {
protected:
    std::unique_ptr<PixelConverter> m_converter = MakePixelConverter();
};

class BayerConversion : public PixelConversion, public testing::WithParamInterface<Tiling> { };

TEST_P(BayerConversion, GivesTheColourOfTheWallInEveryPixel)
{
    const std::uint32_t uiRows = 23, uiCols = 41, uiStride = 48;
    for (const Colour wall :
        { Colour { 200, 100, 50 }, Colour { 0, 0, 255 }, Colour { 255, 0, 0 }, Colour { 0, 255, 0 } }) {
        const auto pixels = Mosaic(GetParam(), wall, uiRows, uiCols, uiStride);
        const ImageView view = Wrap(pixels, uiRows, uiCols, uiStride, PixelFormat::Raw8, GetParam().eTiles);
        for (const PixelFormat eFormat : { PixelFormat::Bgr, PixelFormat::Bgru }) {
            const std::uint32_t uiPixel = BytesPerPixel(eFormat);
            std::vector<std::uint8_t> picture(std::size_t { uiRows } * uiCols * uiPixel, 7);
            ASSERT_TRUE(m_converter->Convert(view, eFormat, picture.data(), std::size_t { uiCols } * uiPixel).IsOk());
            for (std::size_t i = 0; i < picture.size(); i += uiPixel) {
                ASSERT_EQ((Colour { picture[i], picture[i + 1], picture[i + 2] }), wall) << "byte " << i;
                if (uiPixel == 4) {
                    ASSERT_EQ(picture[i + 3], 255);
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Tilings, BayerConversion, testing::ValuesIn(kTilings), [](const auto& row) { return row.param.strName; });

TEST_F(PixelConversion, RepeatsGreyInAllChannels)
{
    const std::uint32_t uiRows = 5, uiCols = 19, uiStride = 24;
    std::vector<std::uint8_t> pixels(std::size_t { uiRows } * uiStride);
    for (std::size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = static_cast<std::uint8_t>(i * 2);
    for (const PixelFormat eSource : { PixelFormat::Mono8, PixelFormat::Raw8 }) {
        const ImageView view = Wrap(pixels, uiRows, uiCols, uiStride, eSource);
        std::vector<std::uint8_t> picture(std::size_t { uiRows } * uiCols * 4);
        ASSERT_TRUE(m_converter->Convert(view, PixelFormat::Bgru, picture.data(), uiCols * 4).IsOk());
        for (std::uint32_t y = 0; y < uiRows; ++y) {
            for (std::uint32_t x = 0; x < uiCols; ++x) {
                const std::uint8_t uiGrey = pixels[y * uiStride + x];
                const std::uint8_t* pPixel = &picture[(y * uiCols + x) * 4];
                ASSERT_EQ((Colour { pPixel[0], pPixel[1], pPixel[2] }), (Colour { uiGrey, uiGrey, uiGrey }));
                ASSERT_EQ(pPixel[3], 255);
            }
        }
    }
}

TEST_F(PixelConversion, TakesMono8ForGreyWhateverTheTilesSay)
{
    const std::vector<std::uint8_t> pixels { 10, 20, 30, 40, 50, 60, 70, 80, 90 };
    std::vector<std::uint8_t> picture(27);
    const ImageView view = Wrap(pixels, 3, 3, 3, PixelFormat::Mono8, BayerTileFormat::Rggb);
    ASSERT_TRUE(m_converter->Convert(view, PixelFormat::Bgr, picture.data(), 9).IsOk());
    for (std::size_t i = 0; i < 27; ++i)
        EXPECT_EQ(picture[i], pixels[i / 3]);
}

TEST_F(PixelConversion, LeavesTheBytesBetweenDestinationRowsAlone)
{
    const std::uint32_t uiRows = 6, uiCols = 10;
    const std::size_t uiStride = uiCols * 4 + 24;
    for (const BayerTileFormat eTiles : { BayerTileFormat::None, BayerTileFormat::Gbrg }) {
        const std::vector<std::uint8_t> pixels(uiRows * uiCols, 99);
        std::vector<std::uint8_t> picture(uiRows * uiStride, 1);
        ASSERT_TRUE(m_converter
                        ->Convert(Wrap(pixels, uiRows, uiCols, uiCols, PixelFormat::Raw8, eTiles), PixelFormat::Bgru,
                            picture.data(), uiStride)
                        .IsOk());
        for (std::size_t i = 0; i < picture.size(); ++i) {
            const std::size_t uiColumn = i % uiStride;
            ASSERT_EQ(picture[i], uiColumn >= uiCols * 4 ? 1 : uiColumn % 4 == 3 ? 255 : 99) << "byte " << i;
        }
    }
}

TEST_F(PixelConversion, ConvertsThroughAnImage)
{
    const std::vector<std::uint8_t> pixels(12, 77);
    const Image raw(3, 4, 4, pixels.data(), 12, PixelFormat::Raw8, BayerTileFormat::None);
    Image picture;
    ASSERT_TRUE(raw.Convert(*m_converter, PixelFormat::Bgr, picture).IsOk());
    EXPECT_EQ(picture.GetDataSize(), 36U);
    EXPECT_TRUE(std::all_of(picture.GetData(), picture.GetData() + 36, [](std::uint8_t b) { return b == 77; }));
}

struct Refusal {
    const char* strName;
    PixelFormat eSource;
    PixelFormat eDestination;
    BayerTileFormat eTiles;
    std::uint32_t uiRows, uiCols, uiStride, uiDataSize;
    std::size_t uiDestinationStride;
    bool bData;
};
std::ostream& operator<<(std::ostream& out, const Refusal& row) { return out << row.strName; }
const Refusal kRefusals[] = {
    { "GreyToGrey", PixelFormat::Mono8, PixelFormat::Mono8, BayerTileFormat::None, 4, 4, 4, 16, 16, true },
    { "FromColour", PixelFormat::Bgr, PixelFormat::Bgru, BayerTileFormat::None, 4, 4, 12, 48, 16, true },
    { "FromUnspecified", PixelFormat::Unspecified, PixelFormat::Bgr, BayerTileFormat::None, 4, 4, 4, 16, 16, true },
    { "LastRowOneByteShort", PixelFormat::Mono8, PixelFormat::Bgru, BayerTileFormat::None, 4, 4, 5, 18, 16, true },
    { "StrideBelowTheRow", PixelFormat::Mono8, PixelFormat::Bgru, BayerTileFormat::None, 4, 4, 3, 64, 16, true },
    { "RowsTimesStrideBeyond32Bits", PixelFormat::Mono8, PixelFormat::Bgr, BayerTileFormat::None, 65537, 16, 65536, 64,
        64, true },
    { "NoRows", PixelFormat::Mono8, PixelFormat::Bgru, BayerTileFormat::None, 0, 4, 4, 16, 16, true },
    { "NoColumns", PixelFormat::Mono8, PixelFormat::Bgru, BayerTileFormat::None, 4, 0, 4, 16, 16, true },
    { "NoData", PixelFormat::Mono8, PixelFormat::Bgru, BayerTileFormat::None, 4, 4, 4, 16, 16, false },
    { "NarrowDestination", PixelFormat::Mono8, PixelFormat::Bgru, BayerTileFormat::None, 4, 4, 4, 16, 15, true },
    { "TwoRowsOfTiles", PixelFormat::Raw8, PixelFormat::Bgru, BayerTileFormat::Rggb, 2, 4, 4, 16, 16, true },
    { "TwoColumnsOfTiles", PixelFormat::Raw8, PixelFormat::Bgru, BayerTileFormat::Rggb, 4, 2, 4, 16, 16, true },
    { "UnknownTiles", PixelFormat::Raw8, PixelFormat::Bgru, static_cast<BayerTileFormat>(9), 4, 4, 4, 16, 16, true },
};

class RefusedConversion : public PixelConversion, public testing::WithParamInterface<Refusal> { };

TEST_P(RefusedConversion, WritesNothing)
{
    const Refusal& row = GetParam();
    const std::vector<std::uint8_t> pixels(64, 50);
    const ImageView view { row.uiRows, row.uiCols, row.uiStride, row.bData ? pixels.data() : nullptr, row.uiDataSize,
        row.eSource, row.eTiles };
    std::vector<std::uint8_t> picture(256, 3);
    const Error error = m_converter->Convert(view, row.eDestination, picture.data(), row.uiDestinationStride);
    EXPECT_EQ(error.GetType(), ErrorType::ConversionFailed);
    EXPECT_TRUE(std::all_of(picture.begin(), picture.end(), [](std::uint8_t b) { return b == 3; }));
}

INSTANTIATE_TEST_SUITE_P(
    Requests, RefusedConversion, testing::ValuesIn(kRefusals), [](const auto& row) { return row.param.strName; });

TEST_F(PixelConversion, TakesRowsThatEndWithTheData)
{
    // The last row may end at its last pixel: a driver's buffer need not hold the padding behind it.
    const std::vector<std::uint8_t> pixels(19, 50);
    std::vector<std::uint8_t> picture(64);
    EXPECT_TRUE(
        m_converter
            ->Convert({ 4, 4, 5, pixels.data(), 19, PixelFormat::Mono8, {} }, PixelFormat::Bgru, picture.data(), 16)
            .IsOk());
}

TEST_F(PixelConversion, RunsOnTheCallersThreadAlone)
{
    cv::setNumThreads(4);
    const auto converter = MakePixelConverter();
    EXPECT_EQ(cv::getNumThreads(), 1);
}

TEST_F(PixelConversion, ServesManyThreadsAtOnce)
{
    std::vector<std::thread> threads;
    std::vector<int> wrong(4, 0);
    for (std::size_t k = 0; k < wrong.size(); ++k) {
        threads.emplace_back([this, k, &wrong] {
            const Colour wall { static_cast<std::uint8_t>(10 * k), 80, static_cast<std::uint8_t>(250 - 20 * k) };
            const auto pixels = Mosaic(kTilings[k], wall, 64, 96, 96);
            const ImageView view = Wrap(pixels, 64, 96, 96, PixelFormat::Raw8, kTilings[k].eTiles);
            std::vector<std::uint8_t> picture(64 * 96 * 4);
            for (int i = 0; i < 50; ++i) {
                std::fill(picture.begin(), picture.end(), std::uint8_t { 0 });
                if (!m_converter->Convert(view, PixelFormat::Bgru, picture.data(), 96 * 4).IsOk())
                    ++wrong[k];
                for (std::size_t p = 0; p < picture.size(); p += 4) {
                    if (!(Colour { picture[p], picture[p + 1], picture[p + 2] } == wall))
                        ++wrong[k];
                }
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, std::vector<int>(4, 0));
}

TEST_F(PixelConversion, AllocatesNothingAfterTheFirstFrame)
{
    if (!test::CountsAllocations())
        GTEST_SKIP() << "a sanitizer owns the heap";
    const std::vector<std::uint8_t> pixels(640 * 480, 128);
    std::vector<std::uint8_t> picture(640 * 480 * 4);
    for (const BayerTileFormat eTiles : { BayerTileFormat::None, BayerTileFormat::Rggb, BayerTileFormat::Gbrg }) {
        const ImageView view = Wrap(pixels, 480, 640, 640, PixelFormat::Raw8, eTiles);
        ASSERT_TRUE(m_converter->Convert(view, PixelFormat::Bgru, picture.data(), 640 * 4).IsOk());
        const std::uint64_t uiBefore = test::AllocationsOfThisThread();
        for (int i = 0; i < 10; ++i)
            ASSERT_TRUE(m_converter->Convert(view, PixelFormat::Bgru, picture.data(), 640 * 4).IsOk());
        EXPECT_EQ(test::AllocationsOfThisThread() - uiBefore, 0U);
    }
}

} // namespace
