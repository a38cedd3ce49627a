#pragma once
#include <string>

class QWidget;

namespace vireo {

/// The program's windows, as the window system drives them. User-interface thread. Each call looks its
/// receiver up afresh: a view or panel that is gone receives nothing.
class DesktopWindows {
public:
    virtual ~DesktopWindows() = default;

    /// Owner of message boxes and dialogs; null before the main window exists.
    virtual QWidget* DialogOwner() = 0;

    /// A posted command. Runs while no box is open and no action is under way.
    virtual void CarryOut(int iCommand) = 0;
    /// One of the view timers (10, 20) or timer 30.
    virtual void OnTimer(int iTimer) = 0;

    virtual void RedrawView(int iCamera) = 0;
    virtual void PlaceViews() = 0;
    virtual void SetMainTitle(const std::string& strTitle) = 0;
    virtual void SetStatusText(const std::string& strText) = 0;
    virtual void AddRecentFile(const std::string& strFile) = 0;
    virtual void RefreshPanel() = 0;
    virtual void ShowControlPanel(bool bShow) = 0;

    /// Save progress: the panel's bar, or one of its own.
    virtual void BeginProgress(int iRange) = 0;
    virtual void SetProgress(int iPosition) = 0;
    virtual void EndProgress() = 0;
};

} // namespace vireo
