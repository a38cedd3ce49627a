#pragma once
#include "platform/system.h"

#include <filesystem>
#include <string>

namespace vireo {

/// A settings folder for one run, gone with the object: the run reads settings as every run does and
/// leaves the user's own file alone.
class ScratchSettings {
public:
    /// With `bCopyUsers` the folder begins with a copy of the user's "Tessel.ini".
    ScratchSettings(const Paths& paths, bool bCopyUsers);
    ~ScratchSettings();
    ScratchSettings(const ScratchSettings&) = delete;
    ScratchSettings& operator=(const ScratchSettings&) = delete;

    /// Empty when all went well, else one line.
    const std::string& Error() const { return m_strError; }
    /// Native path, ending in a separator.
    std::string Folder() const { return m_folder.string() + "/"; }

private:
    std::filesystem::path m_folder;
    std::string m_strError;
};

} // namespace vireo
