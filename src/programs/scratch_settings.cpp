#include "programs/scratch_settings.h"

#include "app/vireo_app.h"

#include <cstdlib>
#include <fstream>

namespace vireo {

ScratchSettings::ScratchSettings(const Paths& paths, bool bCopyUsers)
{
    std::error_code error;
    const std::filesystem::path temporary = std::filesystem::temp_directory_path(error);
    if (error) {
        m_strError = "no folder for temporary settings can be made: " + error.message();
        return;
    }
    std::string strTemplate = (temporary / "tessel-record-XXXXXX").string();
    if (mkdtemp(strTemplate.data()) == nullptr) {
        m_strError = "no folder for temporary settings can be made: " + strTemplate;
        return;
    }
    m_folder = strTemplate;
    const std::filesystem::path settings = m_folder / kIniFileName;
    if (!bCopyUsers) {
        if (!std::ofstream(settings))
            m_strError = "cannot write " + settings.string();
        return;
    }
    const std::filesystem::path users = SettingsFolder(paths.ApplicationData()) + kIniFileName;
    std::filesystem::copy_file(users, settings, error);
    if (error)
        m_strError = "the presets cannot be read: " + users.string() + ": " + error.message();
}

ScratchSettings::~ScratchSettings()
{
    std::error_code error;
    if (!m_folder.empty())
        std::filesystem::remove_all(m_folder, error);
}

} // namespace vireo
