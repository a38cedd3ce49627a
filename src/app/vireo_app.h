#pragma once
#include "app/cooperation.h"
#include "app/ini_store.h"
#include "platform/platform.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace vireo {

class TakeSidecar;

/// The settings folder under a folder of application data; ends in a separator.
std::string SettingsFolder(const std::string& strApplicationData);

/// The application object: the settings store, the partner's request and the notifications to it.
/// Start-up of the desktop program adds windows to it (app/qt); this part runs without a display.
///
/// Threads: everything on the user-interface thread, but FindPartnerWindow, NotifyPartner,
/// CancelNotify and the result, which any thread may use.
class CVireoApp {
public:
    explicit CVireoApp(Platform& platform);

    /// Start-up, as far as it needs no window: instance lock, command line, settings folder and file.
    /// Shows the message of the failing step. False ends the process.
    bool InitInstance(InstanceLock& lock, const std::string& strCommandLine);
    /// Releases the instance lock. @return the exit status: the cooperation result in cooperation mode
    /// (1 when start-up failed without one), else `iFrameworkStatus`, or 1 when start-up failed.
    int ExitInstance(int iFrameworkStatus, bool bStarted);

    /// Where "Tessel.ini" lives; ends in a separator. Set by InitInstance, or by programs that keep
    /// settings elsewhere.
    void SetIniFolder(const std::string& strFolder);
    const std::string& IniFolder() const;

    std::int32_t ReadIniInt(const std::string& strSection, const std::string& strKey, std::int32_t iDefault);
    std::string ReadIniString(const std::string& strSection, const std::string& strKey, const std::string& strDefault);
    bool WriteIniInt(const std::string& strSection, const std::string& strKey, std::int32_t iValue);
    bool WriteIniString(const std::string& strSection, const std::string& strKey, const std::string& strValue);

    const CooperationRequest& Request() const { return m_request; }
    void SetRequest(const CooperationRequest& request) { m_request = request; }

    /// What the partner is told at the end.
    int CooperationResult() const { return m_iCooperationResult.load(); }
    void SetCooperationResult(int iResult) { m_iCooperationResult.store(iResult); }

    unsigned int WindowCount() const { return m_uiWindowCount; }
    void SetWindowCount(unsigned int uiCount) { m_uiWindowCount = uiCount; }

    /// Looks the partner's window up afresh. True when there is one.
    bool FindPartnerWindow();
    /// Posts "recording started", or sends "recording finished" and waits for the partner (2 s at most).
    /// False when no window was found before, or the message could not be handed over. Calls on several
    /// threads do not get in each other's way.
    bool NotifyPartner(bool bFinished);
    /// Ends every NotifyPartner that waits, and lets one that follows the last lookup not wait; for a stop of
    /// the capture. One that is just looking its window up beside another notification may wait all the same:
    /// camera 0's thread, the only one that waits, never has such a neighbour.
    void CancelNotify();

    /// What describes each take beside its files; null, as at first: nothing does. It outlives the documents.
    void SetSidecar(TakeSidecar* pSidecar) { m_pSidecar = pSidecar; }
    TakeSidecar* Sidecar() const { return m_pSidecar; }

    Platform& GetPlatform() { return m_platform; }

private:
    std::shared_ptr<PartnerWindow> TakePartnerWindow();

    Platform& m_platform;
    IniStore m_ini;
    InstanceLock* m_pInstanceLock = nullptr; ///< held while not null
    CooperationRequest m_request;
    std::atomic<int> m_iCooperationResult = 0;
    unsigned int m_uiWindowCount = 0;
    TakeSidecar* m_pSidecar = nullptr;
    std::mutex m_partnerMutex; ///< guards what follows, not the windows
    bool m_bPartnerFound = false; ///< by the last lookup
    std::shared_ptr<PartnerWindow> m_partnerWindow; ///< of the last lookup; null when a notification has taken it
    std::vector<std::shared_ptr<PartnerWindow>> m_notifying; ///< one for each notification under way
};

} // namespace vireo
