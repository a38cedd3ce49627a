#include "platform/qt/qt_window_system.h"

#include "platform/qt/camera_selection_dlg.h"
#include "platform/qt/file_dialog_room.h"

#include <QApplication>
#include <QDialog>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QRegularExpression>
#include <QThread>
#include <utility>

namespace vireo {

namespace {

constexpr int kRefreshLiveMs = 100;
constexpr int kRefreshSlowMs = 200;
constexpr int kExitMs = 200;
constexpr int kRepaintMs = 30; ///< how often a running save lets its bar be painted
constexpr int kCloseBoxesMs = 20;

/// Painting and the desktop's own questions, but nothing the operator does and no signal.
constexpr QEventLoop::ProcessEventsFlags kPaintOnly =
    QEventLoop::ExcludeUserInputEvents | QEventLoop::ExcludeSocketNotifiers;

QString TrimmedText(const std::string& strText)
{
    QString text = QString::fromStdString(strText);
    while (text.endsWith(QLatin1Char('\n')) || text.endsWith(QLatin1Char('\r')))
        text.chop(1);
    return text;
}

/// A pattern is no name: it stands there to be typed over.
class SavePathDialog : public QFileDialog {
public:
    using QFileDialog::QFileDialog;

protected:
    void accept() override
    {
        auto* pName = findChild<QLineEdit*>();
        if (pName == nullptr || !pName->text().contains(QRegularExpression(QStringLiteral("[*?]"))))
            QFileDialog::accept();
        else
            pName->selectAll();
    }
};

} // namespace

QtWindowSystem::QtWindowSystem(Clock& clock, Log& log)
    : m_clock(clock)
    , m_log(log)
{
    const auto timerFires = [this](QTimer& timer, int iTimer, int iMilliseconds) {
        timer.setTimerType(Qt::PreciseTimer);
        timer.setInterval(iMilliseconds);
        connect(&timer, &QTimer::timeout, this, [this, iTimer] {
            if (m_pWindows != nullptr)
                m_pWindows->OnTimer(iTimer);
        });
    };
    timerFires(m_refreshLive, timer::kRefreshLive, kRefreshLiveMs);
    timerFires(m_refreshSlow, timer::kRefreshSlow, kRefreshSlowMs);

    m_exitTimer.setSingleShot(true);
    m_exitTimer.setInterval(kExitMs);
    connect(&m_exitTimer, &QTimer::timeout, this, [this] {
        m_queue.Post([this] {
            if (m_pWindows != nullptr)
                m_pWindows->OnTimer(timer::kExit);
        });
    });

    m_closeBoxes.setInterval(kCloseBoxesMs);
    connect(&m_closeBoxes, &QTimer::timeout, this, [this] { CloseOpenBox(); });
}

QtWindowSystem::~QtWindowSystem() = default;

bool QtWindowSystem::OnUiThread() const { return QThread::currentThread() == thread(); }

QWidget* QtWindowSystem::DialogOwner() const { return m_pWindows != nullptr ? m_pWindows->DialogOwner() : nullptr; }

template <typename Call> void QtWindowSystem::WithWindows(Call call)
{
    QMetaObject::invokeMethod(
        this,
        [this, call = std::move(call)] {
            if (m_pWindows != nullptr)
                call(*m_pWindows);
        },
        OnUiThread() ? Qt::DirectConnection : Qt::QueuedConnection);
}

void QtWindowSystem::Terminate()
{
    m_bTerminating = true;
    m_closeBoxes.start();
    CloseOpenBox();
}

// The boxes are nested: each closes when the event loop of the one above it has ended.
void QtWindowSystem::CloseOpenBox()
{
    if (QWidget* pPopup = QApplication::activePopupWidget())
        pPopup->close();
    if (auto* pDialog = qobject_cast<QDialog*>(QApplication::activeModalWidget()))
        pDialog->reject();
}

void QtWindowSystem::ShowMessage(const OperatorMessage& message)
{
    if (OnUiThread())
        ShowBox(message);
    else
        m_queue.Post([this, message] { ShowBox(message); });
}

void QtWindowSystem::ShowBox(const OperatorMessage& message)
{
    if (m_bTerminating) {
        m_log.Write(message.strText);
        return;
    }
    const UiQueue::Busy busy(m_queue);
    // Above the dialog that asked: a box of the main window's could lie behind it.
    QWidget* pModal = QApplication::activeModalWidget();
    QMessageBox box(pModal != nullptr ? pModal : DialogOwner());
    box.setObjectName(QStringLiteral("message"));
    box.setWindowTitle(message.strTitle.empty() ? QStringLiteral("Tessel") : QString::fromStdString(message.strTitle));
    box.setTextFormat(Qt::PlainText);
    box.setText(TrimmedText(message.strText));
    box.setIcon(message.bError ? QMessageBox::Critical : QMessageBox::Warning);
    box.addButton(QMessageBox::Ok);
    // A save or a configuration may hold the wait cursor; the box has to be answered.
    QApplication::setOverrideCursor(Qt::ArrowCursor);
    box.exec();
    QApplication::restoreOverrideCursor();
}

bool QtWindowSystem::ConfirmCameras(std::span<const CameraInfo> cameras)
{
    if (m_bTerminating)
        return false;
    const UiQueue::Busy busy(m_queue);
    CameraSelectionDlg dialog(cameras, DialogOwner());
    return dialog.exec() == QDialog::Accepted;
}

std::optional<std::string> QtWindowSystem::ChooseSavePath(const SavePathRequest& request)
{
    if (m_bTerminating)
        return std::nullopt;
    const UiQueue::Busy busy(m_queue);
    SavePathDialog dialog(DialogOwner(), QStringLiteral("名前を付けて保存"));
    dialog.setObjectName(QStringLiteral("save_path"));
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setNameFilter(QString::fromStdString(request.strFilter));
    dialog.setDefaultSuffix(QString::fromStdString(request.strDefaultExtension));
    if (!request.strInitialFolder.empty())
        dialog.setDirectory(QString::fromStdString(request.strInitialFolder));
    dialog.selectFile(QString::fromStdString(request.strInitialName));
    GiveRoom(dialog);
    QApplication::setOverrideCursor(Qt::ArrowCursor);
    const bool bChosen = dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty();
    QApplication::restoreOverrideCursor();
    if (!bChosen)
        return std::nullopt;
    return dialog.selectedFiles().constFirst().toStdString();
}

void QtWindowSystem::PostCommand(int iCommand)
{
    m_queue.Post([this, iCommand] {
        if (m_pWindows != nullptr)
            m_pWindows->CarryOut(iCommand);
    });
}

void QtWindowSystem::SetViewTimers(bool bOn)
{
    WithWindows([this, bOn](DesktopWindows&) {
        for (QTimer* pTimer : { &m_refreshLive, &m_refreshSlow }) {
            if (!bOn)
                pTimer->stop();
            else if (!pTimer->isActive())
                pTimer->start();
        }
    });
}

void QtWindowSystem::StartExitTimer()
{
    WithWindows([this](DesktopWindows&) { m_exitTimer.start(); });
}

void QtWindowSystem::RedrawView(int iCamera)
{
    WithWindows([iCamera](DesktopWindows& windows) { windows.RedrawView(iCamera); });
}

void QtWindowSystem::PlaceViews()
{
    if (m_pWindows != nullptr)
        m_pWindows->PlaceViews();
}

void QtWindowSystem::SetMainTitle(const std::string& strTitle)
{
    WithWindows([strTitle](DesktopWindows& windows) { windows.SetMainTitle(strTitle); });
}

void QtWindowSystem::RefreshPanel()
{
    WithWindows([](DesktopWindows& windows) { windows.RefreshPanel(); });
}

void QtWindowSystem::ShowControlPanel(bool bShow)
{
    if (m_pWindows != nullptr)
        m_pWindows->ShowControlPanel(bShow);
}

void QtWindowSystem::SetStatusText(const std::string& strText)
{
    WithWindows([strText](DesktopWindows& windows) { windows.SetStatusText(strText); });
}

void QtWindowSystem::AddRecentFile(const std::string& strFile)
{
    WithWindows([strFile](DesktopWindows& windows) { windows.AddRecentFile(strFile); });
}

void QtWindowSystem::BeginProgress(int iRange)
{
    if (!m_saving) {
        m_saving = std::make_unique<UiQueue::Busy>(m_queue);
        QApplication::setOverrideCursor(Qt::WaitCursor);
    }
    if (m_pWindows != nullptr)
        m_pWindows->BeginProgress(iRange);
    m_sinceRepaint.start();
    QApplication::processEvents(kPaintOnly);
}

void QtWindowSystem::SetProgress(int iPosition)
{
    if (m_pWindows != nullptr)
        m_pWindows->SetProgress(iPosition);
    if (m_sinceRepaint.isValid() && m_sinceRepaint.elapsed() < kRepaintMs)
        return;
    m_sinceRepaint.start();
    QApplication::processEvents(kPaintOnly);
}

void QtWindowSystem::EndProgress()
{
    if (!m_saving)
        return;
    // Keys and clicks of the meantime were meant for a program that did not answer.
    qApp->installEventFilter(this);
    QApplication::processEvents(QEventLoop::ExcludeSocketNotifiers);
    qApp->removeEventFilter(this);
    if (m_pWindows != nullptr)
        m_pWindows->EndProgress();
    QApplication::restoreOverrideCursor();
    m_saving.reset();
}

bool QtWindowSystem::eventFilter(QObject*, QEvent* pEvent)
{
    switch (pEvent->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::ShortcutOverride:
    case QEvent::Shortcut:
    case QEvent::Wheel: return true;
    default: return false;
    }
}

void QtWindowSystem::Settle(int iMilliseconds) { m_clock.SleepMs(iMilliseconds); }

} // namespace vireo
