#include "platform/simulated/scene.h"
#include "support/bar_code.h"

#include <gtest/gtest.h>
#include <numeric>

namespace vireo {
namespace {

constexpr SceneShape kMono { 640, 480, false };
constexpr SceneShape kBayer { 640, 480, true };

std::vector<std::uint8_t> Copy(const SceneShape& shape, const std::uint8_t* pPixels)
{
    return { pPixels, pPixels + std::size_t { shape.uiWidth } * shape.uiHeight };
}

TEST(Scene, TheBarCodeTellsTheMoment)
{
    const SceneBackgrounds backgrounds(kMono);
    Scene scene(backgrounds);
    const struct {
        ClockTime time;
        std::uint32_t uiCode;
    } kRows[] = { { 0, 0 }, { 999, 0 }, { 1000, 1 }, { 2'500'000, 2500 }, { 4294967295'000, 4294967295U },
        { 4294967296'000, 0 }, { 4294967298'500, 2 } };
    for (const auto& row : kRows) {
        const std::uint8_t* const pPixels = scene.Render(row.time, {});
        EXPECT_EQ(ReadBarCode(pPixels, 640, 480, 640), row.uiCode) << row.time;
    }
}

TEST(Scene, TheBarCodeFillsWholeCells)
{
    std::vector<std::uint8_t> pixels(640 * 20, 99);
    DrawBarCode(pixels.data(), 640, 20, 0x80000001);
    for (std::uint32_t uiY = 0; uiY < 20; ++uiY)
        for (std::uint32_t uiX = 0; uiX < 640; ++uiX) {
            const bool bOne = uiX < 16 || (uiX >= 496 && uiX < 512);
            const int iExpected = uiY < 4 || uiX >= 512 ? 99 : bOne ? 235 : 16;
            ASSERT_EQ(pixels[uiY * 640 + uiX], iExpected) << uiX << ", " << uiY;
        }
}

TEST(Scene, TheSameMomentIsTheSamePictureWhateverCameBefore)
{
    const SceneBackgrounds backgrounds(kMono);
    Scene straight(backgrounds), other(backgrounds);
    for (ClockTime time = 0; time < 40 * kNsPerMs; time += kNsPerMs)
        (void)other.Render(time * 7919, { true, true, 0xFFFFFFFF, 0xFFFFFFFF });
    for (const ClockTime time : { 0, 2'500'000, 77'777'777 })
        EXPECT_EQ(Copy(kMono, straight.Render(time, {})), Copy(kMono, other.Render(time, {}))) << time;
}

TEST(Scene, TheDiscMoves)
{
    const SceneBackgrounds backgrounds(kMono);
    Scene scene(backgrounds);
    const std::vector<std::uint8_t> before = Copy(kMono, scene.Render(0, {}));
    const std::vector<std::uint8_t> after = Copy(kMono, scene.Render(100 * kNsPerMs, {}));
    std::size_t uiFarApart = 0; // by more than noise
    for (std::size_t i = 0; i < before.size() - 640 * 16; ++i)
        uiFarApart += std::abs(before[i] - after[i]) > 40 ? 1U : 0U;
    EXPECT_GT(uiFarApart, 500U);
}

TEST(Scene, NoiseDiffersFromRollToRoll)
{
    const SceneBackgrounds backgrounds(kMono);
    EXPECT_NE(backgrounds.Roll(0), backgrounds.Roll(1));
    double dSquares = 0;
    for (std::size_t i = 0; i < backgrounds.Roll(0).size(); ++i) {
        const double dDifference = backgrounds.Roll(0)[i] - backgrounds.Roll(1)[i];
        dSquares += dDifference * dDifference;
    }
    const double dVariance = dSquares / static_cast<double>(backgrounds.Roll(0).size());
    EXPECT_GT(dVariance, 9.0); // two independent rolls of deviation 3: 18
    EXPECT_LT(dVariance, 30.0);
}

TEST(Scene, ColourPixelsTakeTheLightDifferently)
{
    const SceneBackgrounds backgrounds(kBayer);
    double dSums[2][2] = {};
    for (std::size_t y = 0; y < 460; ++y)
        for (std::size_t x = 0; x < 640; ++x)
            dSums[y & 1][x & 1] += backgrounds.Roll(0)[y * 640 + x];
    EXPECT_LT(dSums[0][0], dSums[0][1] * 0.95); // red below green
    EXPECT_LT(dSums[1][1], dSums[0][0] * 0.95); // blue below red
    EXPECT_NEAR(dSums[0][1] / dSums[1][0], 1.0, 0.02); // both greens alike
}

TEST(Scene, TheHeaderIsWrittenOnlyWhereItIsSwitchedOn)
{
    const SceneBackgrounds backgrounds(kMono);
    Scene scene(backgrounds);
    const std::vector<std::uint8_t> plain = Copy(kMono, scene.Render(0, {}));
    const std::vector<std::uint8_t> time = Copy(kMono, scene.Render(0, { true, false, 0x12345678, 0x9ABCDEF0 }));
    const std::vector<std::uint8_t> pins = Copy(kMono, scene.Render(0, { false, true, 0x12345678, 0x9ABCDEF0 }));
    EXPECT_EQ((std::vector<std::uint8_t> { time.begin(), time.begin() + 4 }),
        (std::vector<std::uint8_t> { 0x12, 0x34, 0x56, 0x78 }));
    EXPECT_TRUE(std::equal(time.begin() + 4, time.end(), plain.begin() + 4));
    EXPECT_EQ((std::vector<std::uint8_t> { pins.begin() + 4, pins.begin() + 8 }),
        (std::vector<std::uint8_t> { 0x9A, 0xBC, 0xDE, 0xF0 }));
    EXPECT_TRUE(std::equal(pins.begin(), pins.begin() + 4, plain.begin()));
    EXPECT_TRUE(std::equal(pins.begin() + 8, pins.end(), plain.begin() + 8));
}

TEST(Scene, SmallAndOddSizesHoldAsMuchAsTheyCan)
{
    for (const SceneShape shape :
        { SceneShape { 8, 2, false }, { 320, 240, true }, { 1920, 1200, false }, { 648, 18, false } }) {
        SCOPED_TRACE(shape.uiWidth);
        const SceneBackgrounds backgrounds(shape);
        Scene scene(backgrounds);
        for (ClockTime time = 0; time < 5 * kNsPerSecond; time += 37 * kNsPerMs)
            EXPECT_NE(scene.Render(time, { true, true, 1, 2 }), nullptr);
    }
}

} // namespace
} // namespace vireo
