#include "app/qt/child_frame.h"

#include "app/qt/icons.h"
#include "display/vireo_view.h"

#include <QAction>
#include <QCloseEvent>
#include <QMenu>
#include <QWindowStateChangeEvent>
#include <utility>

namespace vireo {

CChildFrame::CChildFrame(CVireoView* pView, std::function<void(CChildFrame&)> onClosed)
    : m_pView(pView)
    , m_onClosed(std::move(onClosed))
{
    setWindowFlags(Qt::SubWindow | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint
        | Qt::WindowCloseButtonHint);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowIcon(ProgramIcon());
    setWidget(pView);
    setFocusProxy(pView);
    // Its shortcut would take the key from the main window's own commands.
    for (QAction* pAction : systemMenu()->actions())
        pAction->setShortcut({});
}

void CChildFrame::closeEvent(QCloseEvent* pEvent)
{
    m_onClosed(*this);
    QMdiSubWindow::closeEvent(pEvent);
}

void CChildFrame::changeEvent(QEvent* pEvent)
{
    QMdiSubWindow::changeEvent(pEvent);
    // A double click on the title would maximise it all the same.
    if (pEvent->type() == QEvent::WindowStateChange && (isMaximized() || isMinimized()))
        showNormal();
}

} // namespace vireo
