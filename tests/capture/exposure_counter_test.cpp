#include "capture/exposure_counter.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace vireo {
namespace {

struct CounterCase {
    const char* pName;
    double dPeriod;
    std::vector<double> times;
    std::vector<std::int64_t> numbers;
};

TEST(ExposureCounter, NumbersFramesAndWhatTheirTimesShowToBeMissing)
{
    const CounterCase rows[] = {
        { "nothing lost", 0.01, { 1.00, 1.01, 1.02 }, { 0, 1, 2 } },
        { "one lost", 0.01, { 1.00, 1.01, 1.03, 1.04 }, { 0, 1, 3, 4 } },
        { "three lost", 0.0025, { 1.0, 1.01 }, { 0, 4 } },
        { "just under a period and a half", 0.01, { 1.00, 1.0149 }, { 0, 1 } },
        { "just over a period and a half", 0.01, { 1.00, 1.0151 }, { 0, 2 } },
        { "a frame too early", 0.01, { 1.00, 1.004, 1.014 }, { 0, 1, 2 } },
        { "the same time twice", 0.01, { 1.00, 1.00 }, { 0, 1 } },
        { "time goes back", 0.01, { 1.00, 0.50, 0.51 }, { 0, 1, 2 } },
        { "over the wrap", 0.01, { 127.995, 0.005, 0.015 }, { 0, 1, 2 } },
        { "lost over the wrap", 0.01, { 127.995, 0.025 }, { 0, 3 } },
        { "a long pause", 0.5, { 100.0, 30.0 }, { 0, 116 } },
    };
    for (const CounterCase& row : rows) {
        SCOPED_TRACE(row.pName);
        ExposureCounter counter(row.dPeriod);
        for (std::size_t i = 0; i < row.times.size(); ++i) {
            EXPECT_EQ(counter.Next(row.times[i]), row.numbers[i]) << "frame " << i;
            EXPECT_EQ(counter.Missing(), i == 0 ? 0 : row.numbers[i] - row.numbers[i - 1] - 1) << "frame " << i;
        }
    }
}

TEST(ExposureCounter, CountsFramesOnlyWhenThereIsNoPeriod)
{
    for (const double dPeriod : { 0.0, -0.01, std::numeric_limits<double>::infinity(), std::nan("") }) {
        ExposureCounter counter(dPeriod);
        EXPECT_EQ(counter.Next(1.0), 0);
        EXPECT_EQ(counter.Next(2.0), 1);
        EXPECT_EQ(counter.Next(9.0), 2);
    }
}

} // namespace
} // namespace vireo
