#pragma once
#include "platform/camera_types.h"

#include <optional>
#include <span>
#include <string>

namespace vireo {

/// Commands that the core posts, by their menu or control id.
namespace command {
constexpr int kSave = 1023; ///< the panel's save button
constexpr int kTogglePanel = 32771; ///< show or hide the camera control panel
constexpr int kExit = 57665; ///< 0xE141: end the program through its normal way out
} // namespace command

/// Timers of the views, by their id.
namespace timer {
constexpr int kRefreshLive = 10; ///< every 100 ms while live
constexpr int kRefreshSlow = 20; ///< every 200 ms while recording
constexpr int kExit = 30; ///< once, 200 ms after a cooperation recording
} // namespace timer

/// A text for the operator.
struct OperatorMessage {
    std::string strText; ///< UTF-8, final: never a format
    std::string strTitle; ///< empty: the program's own
    bool bError = false; ///< show the error icon
};

/// What the save dialog is asked for.
struct SavePathRequest {
    std::string strFilter; ///< "ファイル(*.avi)"
    std::string strInitialName; ///< "*.avi"
    std::string strDefaultExtension; ///< "avi"
    std::string strInitialFolder; ///< native; empty: wherever the dialog opens
};

/// What the core asks of the screen. Two implementations: Qt, and one without a display.
///
/// Threads: calls marked "any thread" return at once when they come from another thread than the
/// user-interface thread; their effect follows there, in the order of the calls. All others belong
/// to the user-interface thread.
class WindowSystem {
public:
    virtual ~WindowSystem() = default;

    /// Any thread. On the user-interface thread the call returns when the operator has closed the box.
    virtual void ShowMessage(const OperatorMessage& message) = 0;
    /// The cameras found, for the operator to confirm. False: cancelled.
    virtual bool ConfirmCameras(std::span<const CameraInfo> cameras) = 0;
    /// A path for the next file; empty when the operator cancelled.
    virtual std::optional<std::string> ChooseSavePath(const SavePathRequest& request) = 0;

    /// Any thread. The command is carried out later, on the user-interface thread.
    virtual void PostCommand(int iCommand) = 0;
    /// Any thread. Timers 10 and 20 of the first view: on (every 100 and 200 ms) or off.
    virtual void SetViewTimers(bool bOn) = 0;
    /// Any thread. Timer 30, once, after 200 ms.
    virtual void StartExitTimer() = 0;
    /// Any thread. View `iCamera` has a new picture; drawn at the next chance.
    virtual void RedrawView(int iCamera) = 0;
    /// Moves every view to its stored rectangle.
    virtual void PlaceViews() = 0;

    /// Any thread. The title of the main window; nothing happens when it is the same.
    virtual void SetMainTitle(const std::string& strTitle) = 0;
    /// Any thread. The document's flags or information changed: the panel, if shown, follows.
    virtual void RefreshPanel() = 0;
    /// Shows the camera control panel when `bShow`, else hides it.
    virtual void ShowControlPanel(bool bShow) = 0;
    /// Any thread. A text for the first pane of the status bar.
    virtual void SetStatusText(const std::string& strText) = 0;
    /// A video file has been saved: it heads the list of recent files. A native path, absolute or relative.
    virtual void AddRecentFile(const std::string& strFile) = 0;

    /// Save progress in frames: shows the bar (the panel's, or one of its own) and the wait cursor. A bar of
    /// fewer steps than frames scales them itself.
    virtual void BeginProgress(int iRange) = 0;
    virtual void SetProgress(int iPosition) = 0;
    virtual void EndProgress() = 0;
    /// Pauses the user-interface thread for the configuration's settling times.
    /// (Time itself is the Clock's; a display may keep its window painted meanwhile.)
    virtual void Settle(int iMilliseconds) = 0;
};

} // namespace vireo
