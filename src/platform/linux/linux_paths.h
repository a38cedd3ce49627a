#pragma once
#include "platform/system.h"

namespace vireo {

/// Folders as the desktop names them: XDG_CONFIG_HOME, the user's folder for videos, and for drive X
/// what TESSEL_DRIVE_X says. The environment is read at each call. Any thread.
class LinuxPaths : public Paths {
public:
    std::string ApplicationData() const override;
    std::optional<std::string> WorkingDirectory() const override;
    /// Drive c without TESSEL_DRIVE_C is the folder for videos, made when missing.
    std::optional<std::string> Drive(char cLetter, std::string& strError) const override;
};

} // namespace vireo
