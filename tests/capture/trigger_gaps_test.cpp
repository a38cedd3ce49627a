#include "capture/trigger_gaps.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>

using namespace vireo;

namespace {

constexpr double kUsual = 0.031;
constexpr int kEdges = 200;

/// Which edges a camera does not see, and how much faster its clock runs.
struct OneCamera {
    std::vector<int> lost = {};
    double dPpm = 0.0;
};

/// Times of the frames of a camera on edges that pause before some of them, by that many usual intervals.
std::vector<double> TimesOf(const OneCamera& camera, const std::map<int, double>& pauses)
{
    std::vector<double> times;
    double dTime = 3.0;
    for (int i = 0; i < kEdges; ++i) {
        const auto pause = pauses.find(i);
        dTime += kUsual * (pause == pauses.end() ? 1.0 : 1.0 + pause->second);
        if (std::find(camera.lost.begin(), camera.lost.end(), i) == camera.lost.end())
            times.push_back(dTime * (1.0 + camera.dPpm * 1e-6));
    }
    return times;
}

} // namespace

namespace vireo {
void PrintTo(const Gap& gap, std::ostream* pStream) { *pStream << gap.iMissing << " before " << gap.iFrame; }
} // namespace vireo

TEST(TriggerGaps, APauseIsNobodysLossAndALossIsOneCamerasWhereverTheyFall)
{
    using Gaps = std::vector<Gap>;
    const struct {
        const char* pName;
        std::map<int, double> pauses;
        std::vector<OneCamera> cameras;
        std::vector<Gaps> losses;
        Gaps pausesFound;
    } kRows[] = {
        { "nothing", {}, { {}, {} }, { {}, {} }, {} },
        { "a pause", { { 70, 3 } }, { {}, {} }, { {}, {} }, { { 70, 3 } } },
        { "a pause of no whole intervals", { { 70, 2.5 } }, { {}, { {}, 90 }, { {}, -90 } }, { {}, {}, {} },
            { { 70, 2 } } },
        { "a loss", {}, { {}, { { 60 } } }, { {}, { { 60, 1 } } }, {} },
        { "a loss of the first camera", {}, { { { 60, 61, 62 } }, {} }, { { { 60, 3 } }, {} }, {} },
        { "a loss, then a pause", { { 70, 3 } }, { {}, { { 60 } }, {} }, { {}, { { 60, 1 } }, {} }, { { 70, 3 } } },
        { "a pause, then a loss", { { 70, 3 } }, { {}, { { 90 } } }, { {}, { { 90, 1 } } }, { { 70, 3 } } },
        { "the first camera's loss, then a pause", { { 70, 3 } }, { { { 60, 61 } }, {} }, { { { 60, 2 } }, {} },
            { { 68, 3 } } },
        { "the frame before a pause is lost", { { 70, 3 } }, { {}, { { 69 } } }, { {}, { { 69, 1 } } }, { { 70, 3 } } },
        { "the frame behind a pause is lost", { { 70, 3 } }, { {}, { { 70 } } }, { {}, { { 70, 1 } } }, { { 70, 3 } } },
        { "frames on both sides of a pause are lost", { { 70, 3 } }, { {}, { { 68, 69, 70 } } }, { {}, { { 68, 3 } } },
            { { 70, 3 } } },
        { "losses side by side", {}, { { { 50 } }, { { 51 } } }, { { { 50, 1 } }, { { 51, 1 } } }, {} },
        { "two pauses and losses between", { { 70, 3 }, { 150, 40 } }, { { { 90 } }, { { 60, 100 } }, {} },
            { { { 90, 1 } }, { { 60, 1 }, { 99, 1 } }, {} }, { { 70, 3 }, { 149, 40 } } },
        { "a long pause with clocks apart", { { 70, 5000 } }, { {}, { {}, 200 }, { {}, -200 } }, { {}, {}, {} },
            { { 70, 4999 } } },
        { "a loss behind a pause with clocks apart", { { 70, 500 } }, { {}, { { 70 }, 100 } }, { {}, { { 70, 1 } } },
            { { 70, 500 } } },
        { "one camera alone", { { 70, 3 } }, { {} }, { {} }, { { 70, 3 } } },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pName);
        std::vector<std::vector<double>> times;
        for (const OneCamera& camera : row.cameras)
            times.push_back(TimesOf(camera, row.pauses));
        const TriggerGaps gaps = FindTriggerGaps(times, kUsual);
        EXPECT_EQ(gaps.losses, row.losses);
        EXPECT_EQ(gaps.pauses, row.pausesFound);
    }
}

TEST(TriggerGaps, NoFramesHaveNoGaps)
{
    EXPECT_TRUE(FindTriggerGaps({}, kUsual).losses.empty());
    EXPECT_EQ(FindTriggerGaps({ {}, { 1.0 } }, kUsual).losses.size(), 2U);
}
