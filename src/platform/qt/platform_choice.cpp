#include "platform/qt/platform_choice.h"

namespace vireo {

std::string PlatformToAskFor(const DisplaySurroundings& surroundings)
{
    if (!surroundings.strPlatform.empty())
        return surroundings.strPlatform;
    const bool bWayland = !surroundings.strWayland.empty() || surroundings.strSession == "wayland";
    if (bWayland && !surroundings.strDisplay.empty())
        return "xcb;wayland"; // the second when the X server does not answer
    return {};
}

} // namespace vireo
