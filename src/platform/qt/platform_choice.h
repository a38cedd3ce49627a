#pragma once
#include <string>

namespace vireo {

/// What the surroundings say about displays; empty: nothing, as when the variable is not set.
struct DisplaySurroundings {
    std::string strDisplay {}; ///< DISPLAY: an X server, on Wayland the one for X programs
    std::string strWayland {}; ///< WAYLAND_DISPLAY
    std::string strSession {}; ///< XDG_SESSION_TYPE
    std::string strPlatform {}; ///< QT_QPA_PLATFORM: the user's own choice
};

/// What the toolkit is to be asked for, as QT_QPA_PLATFORM has it; empty: its own choice. Child frames and the panel
/// stand where the settings say, which Wayland allows nobody: there the program asks for X11, as long as an X server
/// is there, unless it is told otherwise.
std::string PlatformToAskFor(const DisplaySurroundings& surroundings);

} // namespace vireo
