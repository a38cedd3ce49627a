#pragma once
#include <QApplication>
#include <QDeadlineTimer>
#include <QDialog>
#include <QKeyEvent>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <gtest/gtest.h>
#include <string>

namespace vireo::test {

/// The control with this id, wherever it lies; a failure when there is none.
template <typename Control> Control* ById(const QObject& parent, int iId)
{
    auto* pControl = parent.findChild<Control*>(QString::number(iId));
    EXPECT_NE(pControl, nullptr) << "no control " << iId;
    return pControl;
}

/// Serves events until the condition holds; false when it has not after a minute.
inline bool PumpUntil(const std::function<bool()>& condition)
{
    const QDeadlineTimer deadline(60000);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
    }
    return true;
}

/// Serves what is due now.
inline void Pump()
{
    for (int i = 0; i < 5; ++i) {
        QApplication::processEvents();
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

/// Does `handle` with the first `iTimes` modal dialogs of this type that open while the object exists, one
/// after the other. `handle` closes them.
template <typename Dialog> class OnDialog {
public:
    explicit OnDialog(std::function<void(Dialog&)> handle, int iTimes = 1)
        : m_handle(std::move(handle))
        , m_iLeft(iTimes)
    {
        m_timer.setInterval(1);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] {
            auto* pDialog = dynamic_cast<Dialog*>(QApplication::activeModalWidget());
            if (pDialog == nullptr || m_bInside || !pDialog->isVisible())
                return;
            if (--m_iLeft == 0)
                m_timer.stop();
            m_bHandled = true;
            m_bInside = true;
            m_handle(*pDialog);
            m_bInside = false;
        });
        m_timer.start();
    }
    [[nodiscard]] bool WasHandled() const { return m_bHandled; }

private:
    std::function<void(Dialog&)> m_handle;
    QTimer m_timer;
    int m_iLeft;
    bool m_bInside = false;
    bool m_bHandled = false;
};

/// A key press and its release, as the window system would deliver them. @return whether the press was taken
/// by a filter or handler.
inline bool PressKey(QWidget& receiver, int iKey, const QString& strText = {})
{
    QKeyEvent press(QEvent::KeyPress, iKey, Qt::NoModifier, strText);
    const bool bTaken = QApplication::sendEvent(&receiver, &press) && press.isAccepted();
    QKeyEvent release(QEvent::KeyRelease, iKey, Qt::NoModifier, strText);
    QApplication::sendEvent(&receiver, &release);
    return bTaken;
}

} // namespace vireo::test
