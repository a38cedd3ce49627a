#pragma once
#include "app/qt/commands.h"
#include "app/qt/frame_toolbars.h"
#include "app/recording_preset.h"
#include "app/vireo_app.h"

#include <QLabel>
#include <QMainWindow>
#include <QMdiArea>
#include <QSettings>
#include <QTimer>
#include <functional>

namespace vireo {

class ElidedLabel;

/// Which menu commands can be used, and which are on.
struct CommandStates {
    bool bDocument = false; ///< a document with views is open
    bool bRecorded = false; ///< there is a recording to save
    bool bPanelShown = false;
    bool bSaving = false;
};

/// The main window: menus, toolbars, status bar and the area of the views. It carries nothing out itself:
/// commands go to its owner. User-interface thread.
class CMainFrame : public QMainWindow {
public:
    struct Hooks {
        std::function<void(int iCommand)> onCommand;
        std::function<void()> onClose; ///< the close box; the owner decides
        std::function<CommandStates()> commandStates;
        std::function<bool(QWidget& receiver, int iKey)> filterKey; ///< keys before anybody else; true: taken
        std::function<void()> onAreaResized;
    };
    /// Reads its placement from the settings file and its look from `profile`, which outlives it.
    CMainFrame(CVireoApp& app, QSettings& profile, Hooks hooks);
    ~CMainFrame() override;

    [[nodiscard]] QMdiArea& Area() { return *m_pArea; }
    [[nodiscard]] QAction* Command(int iCommand) const { return m_actions.value(iCommand); }
    [[nodiscard]] QMenu* EditContextMenu() const { return m_pEditContextMenu; }
    [[nodiscard]] FrameToolBars& ToolBars() { return *m_toolBars; }

    /// Shows the window as it was stored: maximised or restored.
    void ShowAsStored();
    /// Writes placement, toolbars and look; before the window goes.
    void Store();

    /// Rate and counters into their panes.
    void UpdateCaptureStatus(double dFps, unsigned uiMissed, unsigned uiOutOfSync);
    /// The first pane; empty: the idle text.
    void SetStatusText(const QString& strText);
    /// The document's title, behind the program's in the caption; empty: none.
    void SetDocumentTitle(const QString& strTitle);
    /// The whole caption, for prompts.
    void SetCaption(const QString& strCaption);
    /// Puts a saved file at the head of the recent files.
    void AddRecentFile(const QString& strPath);
    /// One of 210..218; kept in the profile.
    void OnApplicationLook(int iLook);
    [[nodiscard]] int Look() const { return m_iLook; }
    void UpdateCommands();

protected:
    void closeEvent(QCloseEvent* pEvent) override;
    void moveEvent(QMoveEvent* pEvent) override;
    void resizeEvent(QResizeEvent* pEvent) override;
    bool eventFilter(QObject* pReceiver, QEvent* pEvent) override;
    QMenu* createPopupMenu() override;

private:
    void MakeActions();
    void MakeMenuBar();
    void MakeMenus();
    void MakeLookMenu(QMenu& menu);
    void MakeStatusBar();
    void ReadPlacement();
    void TrackPlacement();
    void UpdateEditCommands();
    void OnEditCommand(int iCommand);
    void FillRecentFiles();
    void FillWindowList();

    CVireoApp& m_app;
    QSettings& m_profile;
    Hooks m_hooks;
    CommandActions m_actions;
    QMdiArea* m_pArea;
    QMenuBar* m_pMenuBar = nullptr;
    QToolBar* m_pMenuToolBar = nullptr;
    QMenu* m_pFileMenu = nullptr;
    QMenu* m_pToolBarMenu = nullptr;
    QMenu* m_pWindowMenu = nullptr;
    QMenu* m_pEditContextMenu = nullptr;
    QList<QAction*> m_recentFiles;
    QList<QAction*> m_windowList;
    std::unique_ptr<FrameToolBars> m_toolBars;

    ElidedLabel* m_pMessage = nullptr;
    QLabel* m_pMissed = nullptr;
    QLabel* m_pOutOfSync = nullptr;
    QLabel* m_pFps = nullptr;

    bool m_bIsMaximized = false;
    WindowRect m_normalRect; ///< of the restored window
    QTimer m_trackTimer;
    int m_iLook;
};

/// Texts of the status bar's panes.
QString MissedText(unsigned uiMissed);
QString OutOfSyncText(unsigned uiOutOfSync);
QString FpsText(double dFps);

} // namespace vireo
