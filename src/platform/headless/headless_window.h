#pragma once
#include "platform/clock.h"
#include "platform/window_system.h"

#include <array>
#include <deque>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace vireo {

/// A window system without a display, for scripts and servers: the thread that made it is the
/// user-interface thread and serves posted commands and timers while it waits in WaitFor.
/// A confirmation is yes, a save-path question is cancel, a message is one line of text.
class HeadlessWindow : public WindowSystem {
public:
    /// `showLine` receives each message as one line without its line end, on the user-interface thread: while it
    /// waits, shows a message itself, or ends the window system.
    HeadlessWindow(Clock& clock, std::function<void(const std::string&)> showLine);
    ~HeadlessWindow() override;

    /// What posted commands, timers and panel refreshes do; called inside WaitFor. Set before any thread runs.
    void OnCommand(std::function<void(int)> handler) { m_onCommand = std::move(handler); }
    // cppcheck-suppress danglingLifetime; whoever captures a document takes the handler away before it goes
    void OnTimer(std::function<void(int)> handler) { m_onTimer = std::move(handler); }
    void OnPanelRefresh(std::function<void()> handler) { m_onPanelRefresh = std::move(handler); }
    void OnProgress(std::function<void(int iPosition, int iRange)> handler) { m_onProgress = std::move(handler); }

    /// Serves commands and timers until `condition()` holds (tested after each of them, and every 10 ms);
    /// false when `deadline` passed first.
    bool WaitFor(const std::function<bool()>& condition, ClockTime deadline);
    /// Makes a running WaitFor test its condition at once. Any thread.
    void Wake();

    /// The messages shown so far, in order. Any thread.
    std::vector<std::string> Messages() const;

    void ShowMessage(const OperatorMessage& message) override;
    bool ConfirmCameras(std::span<const CameraInfo> cameras) override;
    std::optional<std::string> ChooseSavePath(const SavePathRequest& request) override;
    void PostCommand(int iCommand) override;
    void SetViewTimers(bool bOn) override;
    void StartExitTimer() override;
    void RedrawView(int iCamera) override;
    void PlaceViews() override { }
    void SetMainTitle(const std::string& strTitle) override;
    void RefreshPanel() override;
    void ShowControlPanel(bool bShow) override;
    void SetStatusText(const std::string& strText) override;
    void AddRecentFile(const std::string& strFile) override;
    void BeginProgress(int iRange) override;
    void SetProgress(int iPosition) override;
    void EndProgress() override { }
    void Settle(int iMilliseconds) override;

private:
    struct Timer {
        int iId = 0;
        ClockTime period = 0; ///< 0 = once
        ClockTime due = kForever; ///< kForever = off
    };

    void ShowLines();
    bool ServeOne(std::unique_lock<std::mutex>& lock);
    ClockTime NextDue() const;

    Clock& m_clock;
    const std::thread::id m_uiThread = std::this_thread::get_id();
    std::function<void(const std::string&)> m_showLine;
    std::function<void(int)> m_onCommand;
    std::function<void(int)> m_onTimer;
    std::function<void()> m_onPanelRefresh;
    std::function<void(int, int)> m_onProgress;
    int m_iProgressRange = 0;

    mutable std::mutex m_mutex; ///< guards what follows
    WaitPoint m_changed;
    std::deque<int> m_commands;
    bool m_bPanelRefresh = false;
    bool m_bWoken = false;
    std::array<Timer, 3> m_timers;
    std::vector<std::string> m_messages;
    std::size_t m_uiShown = 0; ///< messages whose line is shown
};

} // namespace vireo
