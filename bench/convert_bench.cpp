// What a grab thread does with the bytes of a frame: conversion to the screen's format against a plain
// loop, and the copy into the store against memcpy. One core.
#include "bench_report.h"
#include "platform/frame_copy.h"
#include "platform/imaging/pixel_converter.h"
#include "support/test_scene.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/mman.h>

namespace vireo::bench {
namespace {

constexpr int kRounds = 9;
constexpr std::size_t kPixelsPerRun = 300'000'000; ///< converted in one measurement
constexpr double kGreyGoal = 0.9; ///< both are bound by memory
constexpr double kBayerGoal = 1.5;
constexpr double kCopyGoal = 1.7;

/// Grey repeated in three channels, filler 255, as anyone would write it.
void PlainGrey(
    const std::uint8_t* __restrict pFrom, std::uint8_t* __restrict pTo, std::size_t uiRows, std::size_t uiCols)
{
    for (std::size_t i = 0; i < uiRows * uiCols; ++i) {
        const std::uint32_t uiPixel = pFrom[i] * 0x010101U | 0xFF000000U;
        std::memcpy(pTo + 4 * i, &uiPixel, 4);
    }
}

/// Linear interpolation of RGGB without the outermost pixels, two rows and two columns at a time, so that
/// the compiler can use vectors.
void PlainBayer(const std::uint8_t* pFrom, std::uint8_t* pTo, std::size_t uiRows, std::size_t uiCols)
{
    const auto put = [](std::uint8_t* pPixel, int iBlue, int iGreen, int iRed) {
        pPixel[0] = static_cast<std::uint8_t>(iBlue);
        pPixel[1] = static_cast<std::uint8_t>(iGreen);
        pPixel[2] = static_cast<std::uint8_t>(iRed);
        pPixel[3] = 255;
    };
    for (std::size_t y = 2; y + 2 < uiRows; y += 2) {
        const std::uint8_t* p0 = pFrom + (y - 1) * uiCols;
        const std::uint8_t* p1 = p0 + uiCols;
        const std::uint8_t* p2 = p1 + uiCols;
        const std::uint8_t* p3 = p2 + uiCols;
        std::uint8_t* pUpper = pTo + y * uiCols * 4;
        std::uint8_t* pLower = pUpper + uiCols * 4;
        for (std::size_t x = 2; x + 2 < uiCols; x += 2) {
            put(pUpper + 4 * x, (p0[x - 1] + p0[x + 1] + p2[x - 1] + p2[x + 1] + 2) >> 2,
                (p0[x] + p1[x - 1] + p1[x + 1] + p2[x] + 2) >> 2, p1[x]);
            put(pUpper + 4 * x + 4, (p0[x + 1] + p2[x + 1] + 1) >> 1, p1[x + 1], (p1[x] + p1[x + 2] + 1) >> 1);
            put(pLower + 4 * x, (p2[x - 1] + p2[x + 1] + 1) >> 1, p2[x], (p1[x] + p3[x] + 1) >> 1);
            put(pLower + 4 * x + 4, p2[x + 1], (p1[x + 1] + p2[x] + p2[x + 2] + p3[x + 1] + 2) >> 2,
                (p1[x] + p1[x + 2] + p3[x] + p3[x + 2] + 2) >> 2);
        }
    }
}

void BenchConversion(const Figure& figure, std::uint32_t uiRows, std::uint32_t uiCols, bool bColour)
{
    const test::TestScene scene(uiRows, uiCols, bColour);
    constexpr std::uint32_t kFrames = 8;
    const std::vector<std::uint8_t> pixels = scene.RenderAll(kFrames);
    std::vector<std::uint8_t> picture(scene.FrameBytes() * 4);
    const auto converter = MakePixelConverter();
    const std::size_t uiRuns = kPixelsPerRun / kRounds / scene.FrameBytes();
    std::vector<double> ratios;
    std::vector<double> rates;
    std::vector<double> plainRates;
    for (int iRound = 0; iRound <= kRounds; ++iRound) {
        const double dOwn = Seconds([&] {
            for (std::size_t i = 0; i < uiRuns; ++i) {
                const Image frame = scene.Wrap(&pixels[scene.FrameBytes() * (i % kFrames)]);
                if (!converter->Convert(frame.View(), PixelFormat::Bgru, picture.data(), std::size_t { uiCols } * 4)
                         .IsOk())
                    std::abort();
            }
        });
        const double dPlain = Seconds([&] {
            for (std::size_t i = 0; i < uiRuns; ++i)
                (bColour ? PlainBayer : PlainGrey)(
                    &pixels[scene.FrameBytes() * (i % kFrames)], picture.data(), uiRows, uiCols);
        });
        if (iRound == 0)
            continue; // warm up
        ratios.push_back(dPlain / dOwn);
        rates.push_back(static_cast<double>(uiRuns) / dOwn);
        plainRates.push_back(static_cast<double>(uiRuns) / dPlain);
    }
    AgainstPeer(figure, Text("%.0f fps a core", Median(rates)), Text("plain loop, %.0f fps", Median(plainRates)),
        Median(ratios), Goal::AtLeast, bColour ? kBayerGoal : kGreyGoal);
}

/// Touched memory in huge pages, as the store has it.
std::uint8_t* TouchedHugePages(std::size_t uiBytes)
{
    constexpr std::size_t kHugePage = 2 << 20;
    void* pRoom =
        mmap(nullptr, uiBytes + kHugePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (pRoom == MAP_FAILED)
        std::abort();
    const auto uiStart = (reinterpret_cast<std::uintptr_t>(pRoom) + kHugePage - 1) / kHugePage * kHugePage;
    auto* pAligned = reinterpret_cast<std::uint8_t*>(uiStart);
    madvise(pAligned, uiBytes, MADV_HUGEPAGE);
    std::memset(pAligned, 1, uiBytes);
    return pAligned;
}

void BenchCopy()
{
    // A ring far larger than any cache, filled from a few driver buffers that stay in it.
    constexpr std::size_t kFrameBytes = 640 * 480;
    constexpr std::size_t kSlots = 2000;
    constexpr std::size_t kBuffers = 4;
    std::uint8_t* pRing = TouchedHugePages(kFrameBytes * kSlots);
    const std::vector<std::uint8_t> source(kFrameBytes * kBuffers, 0x5A);
    const auto fill = [&](auto copy) {
        return Seconds([&] {
            for (std::size_t i = 0; i < kSlots; ++i)
                copy(pRing + i * kFrameBytes, &source[(i % kBuffers) * kFrameBytes], kFrameBytes);
        });
    };
    std::vector<double> ratios;
    std::vector<double> streaming;
    std::vector<double> plain;
    for (int iRound = 0; iRound <= kRounds; ++iRound) {
        const double dStreaming = fill([](void* pTo, const void* pFrom, std::size_t n) { CopyFrame(pTo, pFrom, n); });
        const double dPlain = fill([](void* pTo, const void* pFrom, std::size_t n) { std::memcpy(pTo, pFrom, n); });
        if (iRound == 0)
            continue;
        ratios.push_back(dPlain / dStreaming);
        streaming.push_back(static_cast<double>(kFrameBytes * kSlots) / dStreaming * 1e-9);
        plain.push_back(static_cast<double>(kFrameBytes * kSlots) / dPlain * 1e-9);
    }
    AgainstPeer({ "copy of a frame into the store" }, Text("%.1f GB/s", Median(streaming)),
        Text("memcpy, %.1f GB/s", Median(plain)), Median(ratios), Goal::AtLeast, kCopyGoal);
}

} // namespace
} // namespace vireo::bench

int main()
{
    using namespace vireo::bench;
    BenchConversion({ "grey 640x480 for the screen" }, 480, 640, false);
    BenchConversion({ "grey 1920x1080 for the screen" }, 1080, 1920, false);
    BenchConversion({ "colour 640x480 for the screen" }, 480, 640, true);
    BenchConversion({ "colour 1920x1080 for the screen" }, 1080, 1920, true);
    BenchCopy();
}
