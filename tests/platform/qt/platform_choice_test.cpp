#include "platform/qt/platform_choice.h"

#include <gtest/gtest.h>

namespace vireo {
namespace {

TEST(PlatformChoice, IsX11OnWaylandUnlessToldOtherwise)
{
    const struct {
        const char* pSituation;
        DisplaySurroundings surroundings;
        const char* pAskedFor;
    } rows[] = {
        { "no display at all", {}, "" },
        { "X11", { .strDisplay = ":0" }, "" },
        { "X11 login", { .strDisplay = ":0", .strSession = "x11" }, "" },
        { "Wayland with an X server", { .strDisplay = ":0", .strWayland = "wayland-0" }, "xcb;wayland" },
        { "Wayland with its default socket", { .strDisplay = ":0", .strSession = "wayland" }, "xcb;wayland" },
        { "Wayland without an X server", { .strWayland = "wayland-0", .strSession = "wayland" }, "" },
        { "told Wayland", { .strDisplay = ":0", .strWayland = "wayland-0", .strPlatform = "wayland" }, "wayland" },
        { "told nothing to see", { .strDisplay = ":0", .strWayland = "wayland-0", .strPlatform = "offscreen" },
            "offscreen" },
        { "told on X11", { .strDisplay = ":0", .strPlatform = "xcb" }, "xcb" },
    };
    for (const auto& row : rows)
        EXPECT_EQ(PlatformToAskFor(row.surroundings), row.pAskedFor) << row.pSituation;
}

} // namespace
} // namespace vireo
