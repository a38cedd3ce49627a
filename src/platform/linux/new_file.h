#pragma once
#include "platform/error.h"

#include <functional>
#include <string>
#include <string_view>

namespace vireo {

/// Moves a file without ever replacing another: 0, or -1 with errno. Tests put faults in its place.
using MoveFunction = std::function<int(const char* pFrom, const char* pTo)>;
/// The system's own, EINVAL where a file system does not know it.
MoveFunction MoveWithoutReplacing();

/// Writes a file in one step: under a hidden name beside it, which is then moved to the right one. So the file
/// is there with all of its bytes or not at all, and one that exists stays as it is. Any thread.
/// @return FileOpenFailed, FileWriteFailed or FileCloseFailed with the path and the system's reason; nothing
///         is left behind then.
Error WriteNewFile(
    const std::string& strPath, std::string_view strText, const MoveFunction& move = MoveWithoutReplacing());

} // namespace vireo
