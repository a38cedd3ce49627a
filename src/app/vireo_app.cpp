#include "app/vireo_app.h"

#include <filesystem>
#include <fstream>
#include <utility>

namespace vireo {

namespace {

constexpr const char* kAlreadyRunning = "既に起動しています。";
constexpr const char* kNoWorkingDirectory = "Error Get Current Working Directory: _getcwd";
constexpr const char* kIniOpenError = "Error ini file open";
constexpr const char* kSettingsSubPath = "/norvane/Quill/Cooperations/";

/// Makes a folder and those above it that are missing, for this user alone. Those that are there stay as they are.
void MakeOwnFolders(const std::filesystem::path& folder)
{
    std::error_code error;
    if (folder.empty() || std::filesystem::exists(folder, error))
        return;
    if (folder.has_relative_path())
        MakeOwnFolders(folder.parent_path());
    if (std::filesystem::create_directory(folder, error))
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all, error);
}

/// Makes the folder and an empty settings file where they are missing. An existing file, whatever it
/// is, counts as there: reads and writes report what is wrong with it.
bool EnsureSettingsFile(const std::string& strFolder)
{
    std::error_code error;
    MakeOwnFolders(std::filesystem::path(strFolder).parent_path()); // it ends in a separator
    const std::string strFile = strFolder + kIniFileName;
    if (std::filesystem::exists(strFile, error))
        return true;
    return std::ofstream(strFile, std::ios::binary | std::ios::app).is_open();
}

} // namespace

std::string SettingsFolder(const std::string& strApplicationData) { return strApplicationData + kSettingsSubPath; }

CVireoApp::CVireoApp(Platform& platform)
    : m_platform(platform)
    , m_ini(platform.window, platform.encoding)
{
}

bool CVireoApp::InitInstance(InstanceLock& lock, const std::string& strCommandLine)
{
    const InstanceLock::Result eResult = lock.Acquire();
    if (eResult != InstanceLock::Result::Acquired) {
        const bool bHeld = eResult == InstanceLock::Result::HeldByOther;
        m_platform.window.ShowMessage({ bHeld ? kAlreadyRunning : lock.Reason(), "" });
        return false;
    }
    m_pInstanceLock = &lock;
    m_request = ParseCooperation(SplitCommandLine(strCommandLine));

    if (!m_platform.paths.WorkingDirectory()) {
        m_platform.window.ShowMessage({ kNoWorkingDirectory, "" });
        return false;
    }
    const std::string strApplicationData = m_platform.paths.ApplicationData();
    SetIniFolder(SettingsFolder(strApplicationData));
    if (strApplicationData.empty() || !EnsureSettingsFile(IniFolder()))
        m_platform.window.ShowMessage({ kIniOpenError, "" });
    return true;
}

int CVireoApp::ExitInstance(int iFrameworkStatus, bool bStarted)
{
    if (m_pInstanceLock != nullptr)
        std::exchange(m_pInstanceLock, nullptr)->Release();
    const int iFailed = bStarted ? iFrameworkStatus : 1;
    if (!m_request.CooperationMode)
        return iFailed;
    const int iResult = m_iCooperationResult.load();
    return iResult == 0 && !bStarted ? 1 : iResult;
}

void CVireoApp::SetIniFolder(const std::string& strFolder) { m_ini.SetFolder(strFolder); }

const std::string& CVireoApp::IniFolder() const { return m_ini.Folder(); }

std::int32_t CVireoApp::ReadIniInt(const std::string& strSection, const std::string& strKey, std::int32_t iDefault)
{
    return m_ini.ReadInt(strSection, strKey, iDefault);
}

std::string CVireoApp::ReadIniString(
    const std::string& strSection, const std::string& strKey, const std::string& strDefault)
{
    return m_ini.ReadString(strSection, strKey, strDefault);
}

bool CVireoApp::WriteIniInt(const std::string& strSection, const std::string& strKey, std::int32_t iValue)
{
    return m_ini.WriteInt(strSection, strKey, iValue);
}

bool CVireoApp::WriteIniString(const std::string& strSection, const std::string& strKey, const std::string& strValue)
{
    return m_ini.WriteString(strSection, strKey, strValue);
}

bool CVireoApp::FindPartnerWindow()
{
    // Looked up outside the lock: a cancel must not wait for another program.
    std::shared_ptr<PartnerWindow> window;
    if (m_request.NotifiesPartner())
        window = m_platform.partner.FindWindow(m_request.PartnerTitle);
    std::lock_guard lock(m_partnerMutex);
    m_partnerWindow = std::move(window);
    m_bPartnerFound = m_partnerWindow != nullptr;
    return m_bPartnerFound;
}

// A window serves one thread at a time, so each notification has its own. Null when there is none.
std::shared_ptr<PartnerWindow> CVireoApp::TakePartnerWindow()
{
    std::unique_lock lock(m_partnerMutex);
    if (!m_bPartnerFound)
        return nullptr;
    std::shared_ptr<PartnerWindow> window = std::exchange(m_partnerWindow, nullptr);
    if (window == nullptr) { // another notification has it
        lock.unlock();
        window = m_platform.partner.FindWindow(m_request.PartnerTitle);
        lock.lock();
    }
    if (window != nullptr)
        m_notifying.push_back(window);
    return window;
}

bool CVireoApp::NotifyPartner(bool bFinished)
{
    const std::shared_ptr<PartnerWindow> window = TakePartnerWindow();
    if (window == nullptr)
        return false;
    const bool bTold = bFinished ? window->Send(partner::kRecordingFinished) : window->Post(partner::kRecordingStarted);
    std::lock_guard lock(m_partnerMutex);
    std::erase(m_notifying, window);
    return bTold;
}

void CVireoApp::CancelNotify()
{
    std::vector<std::shared_ptr<PartnerWindow>> windows;
    {
        std::lock_guard lock(m_partnerMutex);
        windows = m_notifying;
        if (m_partnerWindow != nullptr)
            windows.push_back(m_partnerWindow);
    }
    for (const auto& window : windows)
        window->Cancel();
}

} // namespace vireo
