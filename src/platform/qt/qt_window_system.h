#pragma once
#include "platform/clock.h"
#include "platform/log.h"
#include "platform/qt/desktop_windows.h"
#include "platform/qt/ui_queue.h"
#include "platform/window_system.h"

#include <QElapsedTimer>
#include <QTimer>
#include <memory>

namespace vireo {

/// The window system on Qt. Made on the user-interface thread, after the QApplication.
///
/// Messages of other threads, posted commands and timer 30 go through one queue: they keep their order
/// and wait while a box is open or an action is under way. Titles, status texts, panel refreshes and the
/// redraw timers do not wait.
class QtWindowSystem : public QObject, public WindowSystem {
public:
    QtWindowSystem(Clock& clock, Log& log);
    ~QtWindowSystem() override;

    /// Where the calls go from now on; null: nowhere. The windows outlive their registration.
    void SetWindows(DesktopWindows* pWindows) { m_pWindows = pWindows; }
    /// The queue of posted work; actions of the operator hold a UiQueue::Busy of it.
    UiQueue& Queue() { return m_queue; }

    /// Ends the program's dealings with the operator, because the process has to end: closes every open
    /// box as its close button would; later messages go to the log, later questions are cancelled.
    void Terminate();
    /// The display has gone: nothing is drawn, opened or closed from now on; messages go to the log.
    void ShowNothingMore()
    {
        m_bTerminating = true;
        m_pWindows = nullptr;
    }
    [[nodiscard]] bool IsTerminating() const { return m_bTerminating; }

    void ShowMessage(const OperatorMessage& message) override;
    bool ConfirmCameras(std::span<const CameraInfo> cameras) override;
    std::optional<std::string> ChooseSavePath(const SavePathRequest& request) override;
    void PostCommand(int iCommand) override;
    void SetViewTimers(bool bOn) override;
    void StartExitTimer() override;
    void RedrawView(int iCamera) override;
    void PlaceViews() override;
    void SetMainTitle(const std::string& strTitle) override;
    void RefreshPanel() override;
    void ShowControlPanel(bool bShow) override;
    void SetStatusText(const std::string& strText) override;
    void AddRecentFile(const std::string& strFile) override;
    void BeginProgress(int iRange) override;
    void SetProgress(int iPosition) override;
    void EndProgress() override;
    void Settle(int iMilliseconds) override;

protected:
    /// Swallows what the operator typed and clicked while a save held the program.
    bool eventFilter(QObject* pReceiver, QEvent* pEvent) override;

private:
    [[nodiscard]] bool OnUiThread() const;
    /// Does `call` with the windows: at once on the user-interface thread, else from its event loop.
    template <typename Call> void WithWindows(Call call);
    void ShowBox(const OperatorMessage& message);
    void CloseOpenBox();
    [[nodiscard]] QWidget* DialogOwner() const;

    Clock& m_clock;
    Log& m_log;
    DesktopWindows* m_pWindows = nullptr;
    UiQueue m_queue;
    QTimer m_refreshLive;
    QTimer m_refreshSlow;
    QTimer m_exitTimer;
    QTimer m_closeBoxes;
    bool m_bTerminating = false;

    std::unique_ptr<UiQueue::Busy> m_saving; ///< while a save shows its progress
    QElapsedTimer m_sinceRepaint;
};

} // namespace vireo
