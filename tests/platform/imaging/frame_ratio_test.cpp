#include "platform/imaging/frame_ratio.h"

#include <gtest/gtest.h>
#include <limits>

using namespace vireo;

namespace {

TEST(FrameRatio, IsTheSimplestThatTheFloatMeans)
{
    const struct {
        float fRate;
        FrameRatio expected;
    } kRows[] = {
        { 118.0F, { 118, 1 } },
        { 29.97F, { 2997, 100 } },
        { 400.0F, { 400, 1 } },
        { 30.0F, { 30, 1 } },
        { 59.94F, { 2997, 50 } },
        { 7.5F, { 15, 2 } },
        { 12.5F, { 25, 2 } },
        { 1.875F, { 15, 8 } },
        { 0.1F, { 1, 10 } },
        { 1.0F / 3.0F, { 1, 3 } },
        { 30000.0F / 1001.0F, { 30000, 1001 } },
        { 24000.0F / 1001.0F, { 24000, 1001 } },
        { 117.99F, { 11799, 100 } },
        { 1'000'000.0F, { 1'000'000, 1 } },
        { 0.001F, { 1, 1000 } },
    };
    for (const auto& row : kRows) {
        const auto ratio = ExactFrameRatio(row.fRate);
        ASSERT_TRUE(ratio) << row.fRate;
        EXPECT_EQ(*ratio, row.expected) << row.fRate << " gave " << ratio->uiRate << "/" << ratio->uiScale;
    }
}

TEST(FrameRatio, ReadsBackAsTheSameFloat)
{
    for (int i = 1; i < 200'000; ++i) {
        const float fRate = static_cast<float>(i) * 0.00731F + 0.001F;
        const auto ratio = ExactFrameRatio(fRate);
        ASSERT_TRUE(ratio);
        ASSERT_EQ(static_cast<float>(static_cast<double>(ratio->uiRate) / ratio->uiScale), fRate);
    }
}

TEST(FrameRatio, RefusesWhatIsNoRate)
{
    for (const float fRate : { 0.0F, -30.0F, 0.0009F, 1'000'001.0F, std::numeric_limits<float>::infinity(),
             std::numeric_limits<float>::quiet_NaN() })
        EXPECT_FALSE(ExactFrameRatio(fRate)) << fRate;
}

} // namespace
