#pragma once
#include "platform/system.h"

#include <optional>
#include <string>

namespace vireo {

/// The document keeps paths as the operator, the partner or the settings file gave them; this is the
/// one place where they become native ones, right before a file is touched: "\\" becomes "/", a drive
/// letter the folder that stands for it. None, with a text for the operator that names the drive, when
/// the drive has no folder. Any thread.
std::optional<std::string> ToNativePath(const Paths& paths, const std::string& strPath, std::string& strError);

/// The path begins with a drive letter and a colon.
bool HasDriveLetter(const std::string& strPath);

} // namespace vireo
