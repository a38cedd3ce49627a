#pragma once
#include "app/qt/desktop.h"
#include "app/settings_records.h"
#include "display/vireo_view.h"
#include "platform/qt/camera_selection_dlg.h"
#include "platform/simulated/simulated_library.h"
#include "platform/time/real_clock.h"
#include "support/bar_code_videos.h"
#include "support/qt_tools.h"
#include "support/temporary_folder.h"
#include "support/test_platform.h"

#include <QPushButton>

namespace vireo::test {

/// The desktop program inside the test: real windows and time, simulated cameras, settings of its own, and files
/// that keep each frame's bar code.
class DesktopRun {
public:
    /// `pVideo`: writers in place of those that keep bar codes.
    explicit DesktopRun(const char* pCameras = "simulated", const char* pFaults = "",
        const CooperationRequest& request = {}, VideoWriters* pVideo = nullptr)
        : m_request(request)
    {
        SimulatedSetup setup;
        EXPECT_EQ(ParseSimulatedSource(pCameras, setup.cameras), "");
        EXPECT_EQ(ParseSimulatedFaults(pFaults, setup.cameras.size(), setup.faults), "");
        m_library = MakeSimulatedLibrary(m_clock, setup);
        m_test = std::make_unique<TestPlatform>(TestPlatformParts { .pClock = &m_clock,
            .pCameras = m_library.get(),
            .pWindow = &m_window,
            .pVideo = pVideo != nullptr ? pVideo : &m_videos });
        WriteFile(m_folder / "Tessel.ini", "");
        NewProgram();
    }
    ~DesktopRun() { m_desktop.reset(); }

    /// As when the program is started again with the same settings.
    void NewProgram()
    {
        m_desktop.reset();
        m_app = std::make_unique<CVireoApp>(m_test->m_platform);
        m_app->SetIniFolder(m_folder.Path() + "/");
        m_app->SetRequest(m_request);
        m_desktop = std::make_unique<Desktop>(*m_app, m_window);
    }
    /// Starts; the cameras are confirmed.
    bool Start()
    {
        OnDialog<CameraSelectionDlg> confirm([](CameraSelectionDlg& dialog) { dialog.accept(); });
        return m_desktop->Start();
    }
    void StorePreset(int iPreset, int iFps, int iSeconds)
    {
        RecordingPreset preset;
        preset.ButtonLabel = std::to_string(iFps);
        preset.FrameRate = iFps;
        preset.RecTime = iSeconds;
        preset.Path = m_folder.Path();
        SaveRecordingPreset(*m_app, iPreset, preset);
    }

    CVireoDoc& Doc() { return m_desktop->Document(); }
    CamControlDlg& Panel() { return *m_desktop->Panel(); }
    QPushButton& Button(int iId) { return *ById<QPushButton>(Panel(), iId); }
    bool IsLive() { return Doc().m_capture.m_bCapturing && Doc().m_store.m_iendFrame[0] > 0; }
    /// Every camera has its recording, and the panel and the status bar know it.
    bool IsRecorded()
    {
        for (unsigned int uiCamera = 0; uiCamera < Doc().m_cameras.m_uiNumCameras; ++uiCamera)
            if (!Doc().m_store.m_bRecordDone[uiCamera])
                return false;
        return Button(1023).isEnabled() && StatusText().startsWith(QStringLiteral("録画完了"));
    }
    /// Paths of the recent files in the menu, newest first.
    QStringList RecentFiles()
    {
        QStringList files;
        for (int i = 0; i < menu::kRecentFiles; ++i) {
            auto* pEntry = m_desktop->Frame().findChild<QAction*>(QString::number(menu::kRecentFile1 + i));
            if (!pEntry->data().toString().isEmpty())
                files.append(pEntry->data().toString());
        }
        return files;
    }
    QString StatusText() { return m_desktop->Frame().findChild<QLabel*>(QStringLiteral("status0"))->text(); }

    TemporaryFolder m_folder;
    RealClock m_clock;
    RecordedLog m_log;
    BarCodeVideos m_videos;
    QtWindowSystem m_window { m_clock, m_log };
    CooperationRequest m_request;
    std::unique_ptr<CameraLibrary> m_library;
    std::unique_ptr<TestPlatform> m_test;
    std::unique_ptr<CVireoApp> m_app;
    std::unique_ptr<Desktop> m_desktop;
};

} // namespace vireo::test
