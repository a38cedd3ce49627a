#pragma once
#include "app/qt/child_frame.h"
#include "app/qt/link_requests.h"
#include "app/qt/main_frame.h"
#include "camera/vireo_doc.h"
#include "platform/qt/qt_window_system.h"
#include "ui/cam_control_dlg.h"
#include "ui/save_progress_bar.h"

#include <QSettings>
#include <memory>
#include <string>
#include <vector>

namespace vireo {

/// The desktop program: its windows, its one document, and the way from start to end.
/// User-interface thread.
class Desktop : public DesktopWindows {
public:
    /// `window` is the window system that the application's platform has. Both outlive the desktop.
    Desktop(CVireoApp& app, QtWindowSystem& window);
    ~Desktop() override;

    /// Start-up after the settings are there: main frame, document with its cameras, one view per camera.
    /// False when the document was not opened; the reason has been shown.
    bool Start();
    /// Stops the capture, closes document, views and panel, stores what is stored at the end.
    /// Harmless when repeated.
    void Close();
    /// The same when the display has gone: no window is touched, and the process has to end afterwards.
    void EndWithoutDisplay();

    [[nodiscard]] CMainFrame& Frame() { return *m_frame; }
    [[nodiscard]] CVireoDoc& Document() { return *m_doc; }
    [[nodiscard]] CamControlDlg* Panel() { return m_panel.get(); }
    [[nodiscard]] std::vector<CVireoView*> Views() const;
    [[nodiscard]] CVireoView* ViewOf(int iCamera) const;

    /// A menu command, from the operator or posted. Unknown ones do nothing.
    void CarryOut(int iCommand) override;

    QWidget* DialogOwner() override;
    void OnTimer(int iTimer) override;
    void RedrawView(int iCamera) override;
    void PlaceViews() override;
    void SetMainTitle(const std::string& strTitle) override;
    void SetStatusText(const std::string& strText) override;
    void AddRecentFile(const std::string& strFile) override;
    void RefreshPanel() override;
    void ShowControlPanel(bool bShow) override;
    void BeginProgress(int iRange) override;
    void SetProgress(int iPosition) override;
    void EndProgress() override;

private:
    // desktop.cpp
    void MakeFrame();
    CChildFrame& OpenView();
    void InitialUpdate(CChildFrame& frame);
    void Listen();
    void CloseDocument();
    void OnViewClosed(CChildFrame& frame);
    void Run(const std::function<void()>& action);
    void OnPartnerMessage(const PartnerMessage& message);
    bool FilterKey(QWidget& receiver, int iKey);
    [[nodiscard]] CVireoView* ActiveView() const;
    [[nodiscard]] bool IsDocumentOpen() const { return m_bDocumentOpen && !m_frames.empty(); }

    // desktop_windows.cpp
    void OpenPanel();
    void ClosePanel();
    void StorePanelPlace();
    void ClearPanelPosition();
    void SaveAviFiles();
    void ShowVerdict();
    void ForgetOldVerdict();
    void ShowAbout();
    void CopyPicture();
    void ArrangeViews(int iCommand);
    void TileUnplacedViews();

    CVireoApp& m_app;
    QtWindowSystem& m_window;
    QSettings m_profile;
    std::unique_ptr<CVireoDoc> m_doc;
    std::unique_ptr<CMainFrame> m_frame;
    std::vector<CChildFrame*> m_frames; ///< open ones, by camera; the area owns them
    std::unique_ptr<CamControlDlg> m_panel;
    std::unique_ptr<SaveProgressBar> m_saveDialog;
    ProgressScale m_progress;
    std::unique_ptr<LinkRequests> m_requests;
    std::unique_ptr<PartnerListener> m_listener;
    bool m_bDocumentOpen = false;
    bool m_bShown = false; ///< the main window has been shown
    bool m_bClosed = false;
    bool m_bVerdictShown = false; ///< of the recording that stands in the store
    bool m_bVerdictStands = false; ///< in the status bar
    QHash<CChildFrame*, QPoint> m_tiles; ///< where tiling has put them
    bool m_bViewsPlaced = false; ///< stored places, or the operator's: no tiling any more
};

} // namespace vireo
