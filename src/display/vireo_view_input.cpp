#include "app/settings_records.h"
#include "camera/operator_actions.h"
#include "display/vireo_view.h"
#include "platform/qt/screen_placement.h"

#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMouseEvent>
#include <QScreen>
#include <QScrollBar>
#include <cmath>

namespace vireo {

bool CVireoView::MoveToStoredPlace()
{
    const int iNumber = m_iCameraIndex + m_doc.m_parameters.InitialCameraNumber;
    WindowRect stored;
    if (!LoadViewRect(m_doc.App(), ViewSection(iNumber), stored))
        return false;
    const QRect rect = StoredRect(stored.left, stored.top, stored.right, stored.bottom);
    MoveFrame(rect.isValid() ? rect : QRect(QPoint(0, 0), ParentFrame() != nullptr ? ParentFrame()->size() : size()));
    return true;
}

void CVireoView::MoveFrame(const QRect& rect)
{
    QMdiSubWindow* pFrame = ParentFrame();
    if (pFrame == nullptr)
        return;
    QPoint scrolled;
    QSize area = QGuiApplication::primaryScreen()->size();
    if (const QMdiArea* pArea = pFrame->mdiArea()) {
        scrolled = { pArea->horizontalScrollBar()->value(), pArea->verticalScrollBar()->value() };
        area = area.expandedTo(pArea->size()); // the area may still grow to its screen
    }
    pFrame->setGeometry(InsideArea(rect, area).translated(-scrolled));
}

bool CVireoView::FilterKey(int iKey)
{
    switch (iKey) {
    case Qt::Key_F8:
        if (m_hooks.prepare)
            m_hooks.prepare();
        return true;
    case Qt::Key_F9:
        if (m_hooks.start)
            m_hooks.start();
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter: return HandleCooperationEnter(m_doc);
    case Qt::Key_Escape: return HandleCooperationEscape(m_doc);
    default: return false;
    }
}

ViewPoint CVireoView::DevicePoint(const QPointF& point) const
{
    const qreal dRatio = devicePixelRatioF();
    return { static_cast<int>(std::floor(point.x() * dRatio)), static_cast<int>(std::floor(point.y() * dRatio)) };
}

void CVireoView::mousePressEvent(QMouseEvent* pEvent)
{
    m_bTransformStep = false;
    if (pEvent->button() == Qt::LeftButton)
        LeftButtonDown(m_mouse, DevicePoint(pEvent->position()));
    else if (pEvent->button() == Qt::RightButton)
        RightButtonDown(m_mouse, DevicePoint(pEvent->position()));
}

void CVireoView::mouseReleaseEvent(QMouseEvent* pEvent)
{
    if (pEvent->button() == Qt::LeftButton) {
        LeftButtonUp(m_mouse);
    } else if (pEvent->button() == Qt::RightButton) {
        const bool bPlainClick = m_mouse.m_bRButton && !m_mouse.m_bLButton && !m_bTransformStep;
        RightButtonUp(m_mouse);
        if (bPlainClick && m_hooks.contextMenu)
            m_hooks.contextMenu(pEvent->globalPosition().toPoint());
    }
}

void CVireoView::mouseMoveEvent(QMouseEvent* pEvent)
{
    if (!MouseMove(m_mouse, m_matAffine, DevicePoint(pEvent->position())))
        return;
    m_bTransformStep = true;
    update();
}

void CVireoView::mouseDoubleClickEvent(QMouseEvent* pEvent)
{
    if (pEvent->button() == Qt::LeftButton) {
        m_matAffine = {};
        update();
    } else {
        mousePressEvent(pEvent);
    }
}

void CVireoView::contextMenuEvent(QContextMenuEvent* pEvent)
{
    // The right button zooms; its menu comes with the release.
    if (pEvent->reason() != QContextMenuEvent::Mouse && m_hooks.contextMenu)
        m_hooks.contextMenu(pEvent->globalPos());
    pEvent->accept();
}

} // namespace vireo
