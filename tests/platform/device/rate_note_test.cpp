#include "platform/device/rate_note.h"

#include <gtest/gtest.h>

namespace vireo {

namespace {

TEST(RateNote, OnlyACameraThatRunsSlowerIsTold)
{
    const struct {
        double dRuns;
        double dAsked;
        const char* pNote; ///< null: none
    } kRows[] = {
        { 340.0, 400.0, "camera 7: 340 of 400 fps" }, { 118.04, 120.0, "camera 7: 118 of 120 fps" },
        { 29.95, 60.0, "camera 7: 30 of 60 fps" }, { 33.33, 60.0, "camera 7: 33.3 of 60 fps" },
        { 0.0, 30.0, "camera 7: 0 of 30 fps" }, { 400.0, 400.0, nullptr },
        { 399.2, 400.0, nullptr }, // the camera's own step
        { 416.0, 400.0, nullptr }, { 30.0, 0.0, nullptr }, // nothing was asked
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.dRuns);
        const auto note = RateNote("camera 7", row.dRuns, row.dAsked);
        EXPECT_EQ(note.value_or("none"), row.pNote != nullptr ? row.pNote : "none");
    }
}

} // namespace

} // namespace vireo
