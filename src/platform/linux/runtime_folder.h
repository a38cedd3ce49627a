#pragma once
#include <string>

namespace vireo {

/// The folder that the sockets and the instance lock of this user's programs share:
/// "$XDG_RUNTIME_DIR/tessel", or "/tmp/tessel-UID" when that is unset. Made when missing, open to its
/// owner only. Empty, with the reason in `strError`, when it cannot be made or belongs to somebody else.
std::string RuntimeFolder(std::string& strError);

} // namespace vireo
