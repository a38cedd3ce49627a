#include "app/qt/main_frame.h"

#include "app/format_text.h"
#include "app/qt/application_look.h"
#include "app/qt/icons.h"
#include "app/settings_records.h"
#include "platform/qt/screen_placement.h"
#include "ui/panel_widgets.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFileInfo>
#include <QKeyEvent>
#include <QMdiSubWindow>
#include <QMenu>
#include <QScreen>
#include <QStatusBar>

namespace vireo {

namespace {

constexpr const char* kProgramTitle = "Tessel";
constexpr const char* kIdleText = "レディ";
constexpr const char* kLookKey = "ApplicationLook";
/// A size change and the change of state that caused it come one after the other.
constexpr int kTrackMs = 100;

} // namespace

QString MissedText(unsigned uiMissed) { return QString::fromStdString(FormatText("Missed: %06u", uiMissed)); }

QString OutOfSyncText(unsigned uiOutOfSync)
{
    return QString::fromStdString(FormatText("Out of sync: %06u", uiOutOfSync));
}

QString FpsText(double dFps) { return QString::fromStdString(FormatText("%03.2lffps ", dFps)); }

CMainFrame::CMainFrame(CVireoApp& app, QSettings& profile, Hooks hooks)
    : m_app(app)
    , m_profile(profile)
    , m_hooks(std::move(hooks))
    , m_pArea(new QMdiArea)
    , m_iLook(LookOf(profile.value(QLatin1String(kLookKey), kDefaultLook).toInt()).iId)
{
    setObjectName(QStringLiteral("main_frame"));
    setWindowTitle(QLatin1String(kProgramTitle));
    setWindowIcon(ProgramIcon());
    m_pArea->setObjectName(QStringLiteral("views"));
    m_pArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    m_pArea->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    m_pArea->setOption(QMdiArea::DontMaximizeSubWindowOnActivation);
    setCentralWidget(m_pArea);
    setDockOptions(QMainWindow::AnimatedDocks | QMainWindow::AllowNestedDocks | QMainWindow::AllowTabbedDocks);

    ApplyLook(*qApp, LookOf(m_iLook));
    m_pArea->setBackground(QColor::fromRgb(LookOf(m_iLook).area));
    MakeActions();
    MakeMenuBar();
    m_toolBars = std::make_unique<FrameToolBars>(*this, m_actions, m_profile);
    MakeMenus();
    MakeStatusBar();
    m_toolBars->Restore();
    ReadPlacement();
    UpdateCommands();

    m_trackTimer.setSingleShot(true);
    m_trackTimer.setInterval(kTrackMs);
    connect(&m_trackTimer, &QTimer::timeout, this, [this] { TrackPlacement(); });
    m_pArea->viewport()->installEventFilter(this);
    qApp->installEventFilter(this);
}

CMainFrame::~CMainFrame() { qApp->removeEventFilter(this); }

void CMainFrame::MakeStatusBar()
{
    m_pMessage = new ElidedLabel; // a long verdict must not make the window wider
    m_pMessage->setObjectName(QStringLiteral("status0"));
    m_pMessage->setContentsMargins(6, 0, 6, 0);
    m_pMessage->setText(QString::fromUtf8(kIdleText));
    m_pMissed = new QLabel(MissedText(0));
    m_pMissed->setObjectName(QStringLiteral("134"));
    m_pOutOfSync = new QLabel(OutOfSyncText(0));
    m_pOutOfSync->setObjectName(QStringLiteral("135"));
    m_pFps = new QLabel(QStringLiteral("000.00 fps"));
    m_pFps->setObjectName(QStringLiteral("133"));
    m_pFps->setMinimumWidth(m_pFps->fontMetrics().horizontalAdvance(QStringLiteral("0000.00fps ")) + 12);
    m_pFps->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    statusBar()->addWidget(m_pMessage, 1);
    for (QLabel* pPane : { m_pMissed, m_pOutOfSync, m_pFps }) {
        pPane->setContentsMargins(6, 0, 6, 0);
        statusBar()->addPermanentWidget(pPane);
    }
}

void CMainFrame::UpdateCaptureStatus(double dFps, unsigned uiMissed, unsigned uiOutOfSync)
{
    // A label that gets the text it has does not draw again.
    m_pMissed->setText(MissedText(uiMissed));
    m_pOutOfSync->setText(OutOfSyncText(uiOutOfSync));
    m_pFps->setText(FpsText(dFps));
}

void CMainFrame::SetStatusText(const QString& strText)
{
    m_pMessage->setText(strText.isEmpty() ? QString::fromUtf8(kIdleText) : strText);
}

void CMainFrame::SetDocumentTitle(const QString& strTitle)
{
    SetCaption(strTitle.isEmpty() ? QLatin1String(kProgramTitle)
                                  : QStringLiteral("%1 - %2").arg(QLatin1String(kProgramTitle), strTitle));
}

void CMainFrame::SetCaption(const QString& strCaption)
{
    if (windowTitle() != strCaption)
        setWindowTitle(strCaption);
}

// --- Placement ---

void CMainFrame::ReadPlacement()
{
    const MainWindowPlacement placement = LoadMainWindowPlacement(m_app);
    m_bIsMaximized = placement.bMaximized;
    QRect rect = StoredRect(placement.rect.left, placement.rect.top, placement.rect.right, placement.rect.bottom);
    if (!rect.isValid())
        rect = QRect(0, 0, 800, 600);
    QList<QRect> screens;
    for (const QScreen* pScreen : QGuiApplication::screens())
        screens.append(pScreen->availableGeometry());
    rect = OnVisibleScreen(rect, screens);
    resize(rect.size());
    move(rect.topLeft());
    m_normalRect = { rect.x(), rect.y(), rect.x() + rect.width(), rect.y() + rect.height() };
}

void CMainFrame::ShowAsStored()
{
    if (m_bIsMaximized)
        showMaximized();
    else
        show();
}

void CMainFrame::TrackPlacement()
{
    if (!isVisible() || isMaximized() || isMinimized() || isFullScreen())
        return;
    m_normalRect = { x(), y(), x() + width(), y() + height() };
}

void CMainFrame::moveEvent(QMoveEvent* pEvent)
{
    QMainWindow::moveEvent(pEvent);
    m_trackTimer.start();
}

void CMainFrame::resizeEvent(QResizeEvent* pEvent)
{
    QMainWindow::resizeEvent(pEvent);
    m_trackTimer.start();
}

void CMainFrame::Store()
{
    TrackPlacement();
    m_bIsMaximized = isMaximized() && !isMinimized();
    SaveMainWindowPlacement(m_app, { m_normalRect, m_bIsMaximized });
    m_toolBars->Store();
    m_profile.sync();
}

void CMainFrame::closeEvent(QCloseEvent* pEvent)
{
    pEvent->ignore();
    m_hooks.onClose();
}

// --- Input ---

bool CMainFrame::eventFilter(QObject* pReceiver, QEvent* pEvent)
{
    if (pEvent->type() == QEvent::Resize && pReceiver == m_pArea->viewport() && m_hooks.onAreaResized) {
        QMetaObject::invokeMethod(
            this, [this] { m_hooks.onAreaResized(); }, Qt::QueuedConnection);
        return false;
    }
    if (pEvent->type() != QEvent::KeyPress)
        return false;
    auto* pWidget = qobject_cast<QWidget*>(pReceiver);
    if (pWidget == nullptr || pWidget->window() != this)
        return false;
    return m_hooks.filterKey(*pWidget, static_cast<QKeyEvent*>(pEvent)->key());
}

// --- Look ---

void CMainFrame::OnApplicationLook(int iLook)
{
    const ApplicationLook& look = LookOf(iLook);
    m_iLook = look.iId;
    ApplyLook(*qApp, look);
    m_pArea->setBackground(QColor::fromRgb(look.area));
    if (QAction* pAction = m_actions.value(m_iLook))
        pAction->setChecked(true);
    m_profile.setValue(QLatin1String(kLookKey), m_iLook);
    m_profile.sync();
    // A child frame takes the colours of its title when it hears that it is active or not, and from nothing else.
    for (QMdiSubWindow* pFrame : m_pArea->subWindowList()) {
        const bool bActive = pFrame == m_pArea->activeSubWindow();
        QEvent activation(bActive ? QEvent::WindowActivate : QEvent::WindowDeactivate);
        QApplication::sendEvent(pFrame, &activation);
        pFrame->update();
    }
    update();
}

} // namespace vireo
