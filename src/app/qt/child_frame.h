#pragma once
#include <QMdiSubWindow>
#include <functional>

namespace vireo {

class CVireoView;

/// The frame of one view: a title, a system menu and a close box; it is not minimised or maximised.
class CChildFrame : public QMdiSubWindow {
public:
    /// Takes the view over. `onClosed` is called when the frame is about to go.
    CChildFrame(CVireoView* pView, std::function<void(CChildFrame&)> onClosed);

    [[nodiscard]] CVireoView* View() const { return m_pView; }

protected:
    void closeEvent(QCloseEvent* pEvent) override;
    void changeEvent(QEvent* pEvent) override;

private:
    CVireoView* m_pView;
    std::function<void(CChildFrame&)> m_onClosed;
};

} // namespace vireo
