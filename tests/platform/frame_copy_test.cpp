#include "platform/frame_copy.h"

#include <gtest/gtest.h>
#include <vector>

using namespace vireo;

namespace {

constexpr std::size_t kGuard = 64;

std::vector<std::uint8_t> Pattern(std::size_t uiSize)
{
    std::vector<std::uint8_t> bytes(uiSize);
    for (std::size_t i = 0; i < uiSize; ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 31 + i / 256);
    return bytes;
}

TEST(FrameCopy, CopiesEveryLengthAtEveryAlignmentAndNothingBeside)
{
    const std::vector<std::uint8_t> source = Pattern(1024);
    for (std::size_t uiLength = 0; uiLength <= 200; ++uiLength) {
        for (std::size_t uiTo = 0; uiTo < 16; ++uiTo) {
            for (const std::size_t uiFrom : { 0UL, 1UL, 7UL, 15UL }) {
                std::vector<std::uint8_t> destination(kGuard + 16 + 200 + kGuard, 0xEE);
                std::vector<std::uint8_t> expected = destination;
                std::copy_n(&source[uiFrom], uiLength, &expected[kGuard + uiTo]);
                CopyFrame(&destination[kGuard + uiTo], &source[uiFrom], uiLength);
                ASSERT_EQ(destination, expected) << uiLength << " bytes from " << uiFrom << " to " << uiTo;
            }
        }
    }
}

TEST(FrameCopy, CopiesAWholeFrame)
{
    const std::vector<std::uint8_t> source = Pattern(1920 * 1080 + 5);
    std::vector<std::uint8_t> destination(source.size());
    CopyFrame(destination.data(), source.data(), source.size());
    EXPECT_EQ(destination, source);
}

TEST(FrameCopy, TakesNothingFromNowhere) { CopyFrame(nullptr, nullptr, 0); }

} // namespace
