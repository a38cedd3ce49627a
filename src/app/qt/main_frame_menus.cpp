#include "app/qt/application_look.h"
#include "app/qt/icons.h"
#include "app/qt/main_frame.h"
#include "ui/panel_widgets.h"

#include <QActionGroup>
#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>
#include <QFileInfo>
#include <QLineEdit>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>
#include <QToolBar>
#include <QToolButton>
#include <QUrl>

namespace vireo {

namespace {

constexpr const char* kRecentKey = "RecentFiles/File%1";

QAction* FindAction(const CommandActions& actions, int iCommand) { return actions.value(iCommand); }

} // namespace

void CMainFrame::MakeActions()
{
    for (const CommandRow& row : CommandTable()) {
        auto* pAction = new QAction(CommandIcon(row.iId), QString::fromUtf8(row.pText), this);
        pAction->setObjectName(QString::number(row.iId));
        if (*row.pShortcut != '\0')
            pAction->setShortcut(QKeySequence(QString::fromLatin1(row.pShortcut)));
        pAction->setStatusTip(QString::fromUtf8(row.pTip));
        pAction->setToolTip(PlainCommandText(*pAction)
            + (*row.pShortcut != '\0' ? QStringLiteral(" (%1)").arg(QString::fromLatin1(row.pShortcut)) : QString()));
        m_actions.insert(row.iId, pAction);
        addAction(pAction);
        const int iCommand = row.iId;
        connect(pAction, &QAction::triggered, this, [this, iCommand] {
            if (iCommand == menu::kUndo || iCommand == menu::kCut || iCommand == menu::kPaste)
                OnEditCommand(iCommand);
            else if (iCommand == menu::kStatusBar)
                statusBar()->setVisible(Command(iCommand)->isChecked());
            else
                m_hooks.onCommand(iCommand);
            UpdateCommands();
        });
    }
    Command(menu::kPanel)->setCheckable(true);
    Command(menu::kStatusBar)->setCheckable(true);
    Command(menu::kStatusBar)->setChecked(true);
}

// A menu bar on a toolbar of its own: it can be docked at any side.
void CMainFrame::MakeMenuBar()
{
    m_pMenuBar = new QMenuBar;
    m_pMenuBar->setNativeMenuBar(false);
    m_pMenuBar->setObjectName(QStringLiteral("menu_bar"));
    m_pMenuToolBar = new QToolBar(QStringLiteral("メニュー バー"), this);
    m_pMenuToolBar->setObjectName(QStringLiteral("menu_tool_bar"));
    m_pMenuToolBar->addWidget(m_pMenuBar);
    addToolBar(Qt::TopToolBarArea, m_pMenuToolBar);
    addToolBarBreak(Qt::TopToolBarArea);
    // On its side a menu bar could not be read: each menu becomes a button there.
    connect(m_pMenuToolBar, &QToolBar::orientationChanged, this, [this](Qt::Orientation eOrientation) {
        for (QAction* pAction : m_pMenuToolBar->actions()) {
            const bool bBar = m_pMenuToolBar->widgetForAction(pAction) == m_pMenuBar;
            pAction->setVisible(bBar == (eOrientation == Qt::Horizontal));
        }
    });
}

void CMainFrame::MakeMenus()
{
    const auto add = [this](QMenu& menu, std::initializer_list<int> commands) {
        for (const int iCommand : commands) {
            if (iCommand == 0)
                menu.addSeparator();
            else
                menu.addAction(FindAction(m_actions, iCommand));
        }
    };
    m_pFileMenu = m_pMenuBar->addMenu(QStringLiteral("ファイル(&F)"));
    add(*m_pFileMenu, { menu::kSaveAvi, 0, menu::kPrint, 0 });
    for (int i = 0; i < menu::kRecentFiles; ++i) {
        QAction* pAction = m_pFileMenu->addAction(QString());
        pAction->setObjectName(QString::number(menu::kRecentFile1 + i));
        connect(pAction, &QAction::triggered, this,
            [pAction] { QDesktopServices::openUrl(QUrl::fromLocalFile(pAction->data().toString())); });
        m_recentFiles.append(pAction);
    }
    add(*m_pFileMenu, { 0, menu::kExit });

    QMenu* pEdit = m_pMenuBar->addMenu(QStringLiteral("編集(&E)"));
    add(*pEdit, { menu::kUndo, 0, menu::kCut, menu::kCopy, menu::kPaste });

    QMenu* pView = m_pMenuBar->addMenu(QStringLiteral("表示(&V)"));
    m_pToolBarMenu = pView->addMenu(QStringLiteral("ツール バーとドッキング ウィンドウ(&T)"));
    connect(m_pToolBarMenu, &QMenu::aboutToShow, this, [this] {
        m_pToolBarMenu->clear();
        m_toolBars->FillMenu(*m_pToolBarMenu);
        m_pToolBarMenu->addSeparator();
        m_pToolBarMenu->addAction(Command(menu::kCustomize));
    });
    add(*pView, { menu::kStatusBar, 0 });
    MakeLookMenu(*pView->addMenu(QStringLiteral("アプリケーションの外観(&A)")));

    QMenu* pCamera = m_pMenuBar->addMenu(QStringLiteral("カメラ(&C)"));
    add(*pCamera, { menu::kPanel, menu::kPanelPosition });

    m_pWindowMenu = m_pMenuBar->addMenu(QStringLiteral("ウィンドウ(&W)"));
    add(*m_pWindowMenu, { menu::kCascade, menu::kTileRows, menu::kTileColumns, 0 });
    connect(m_pWindowMenu, &QMenu::aboutToShow, this, [this] { FillWindowList(); });

    QMenu* pHelp = m_pMenuBar->addMenu(QStringLiteral("ヘルプ(&H)"));
    add(*pHelp, { menu::kAbout });

    for (QAction* pMenu : m_pMenuBar->actions()) {
        connect(pMenu->menu(), &QMenu::aboutToShow, this, [this] { UpdateCommands(); });
        auto* pButton = new QToolButton;
        pButton->setText(PlainCommandText(*pMenu));
        pButton->setMenu(pMenu->menu());
        pButton->setPopupMode(QToolButton::InstantPopup);
        m_pMenuToolBar->addWidget(pButton)->setVisible(false);
    }

    m_pEditContextMenu = new QMenu(QStringLiteral("編集"), this);
    m_pEditContextMenu->setObjectName(QStringLiteral("119"));
    add(*m_pEditContextMenu, { menu::kCut, menu::kCopy, menu::kPaste });
    FillRecentFiles();
}

void CMainFrame::MakeLookMenu(QMenu& menu)
{
    auto* pGroup = new QActionGroup(this);
    for (const ApplicationLook& look : ApplicationLooks()) {
        QAction* pAction = menu.addAction(QString::fromUtf8(look.pName));
        pAction->setObjectName(QString::number(look.iId));
        pAction->setCheckable(true);
        pAction->setChecked(look.iId == m_iLook);
        pGroup->addAction(pAction);
        m_actions.insert(look.iId, pAction);
        const int iLook = look.iId;
        connect(pAction, &QAction::triggered, this, [this, iLook] { OnApplicationLook(iLook); });
    }
}

QMenu* CMainFrame::createPopupMenu()
{
    auto* pMenu = new QMenu(this);
    m_toolBars->FillMenu(*pMenu);
    pMenu->addSeparator();
    pMenu->addAction(Command(menu::kCustomize));
    return pMenu;
}

void CMainFrame::UpdateCommands()
{
    const CommandStates states = m_hooks.commandStates();
    Command(menu::kSaveAvi)->setEnabled(states.bRecorded && !states.bSaving);
    Command(menu::kPrint)->setEnabled(states.bDocument);
    Command(menu::kPanel)->setEnabled(states.bDocument);
    Command(menu::kPanel)->setChecked(states.bPanelShown);
    Command(menu::kPanelPosition)->setEnabled(!states.bPanelShown);
    for (const int iCommand : { menu::kCascade, menu::kTileRows, menu::kTileColumns })
        Command(iCommand)->setEnabled(states.bDocument);
    Command(menu::kStatusBar)->setChecked(!statusBar()->isHidden());
    Command(menu::kCopy)->setEnabled(states.bDocument);
    UpdateEditCommands();
}

void CMainFrame::UpdateEditCommands()
{
    const auto* pEdit = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    Command(menu::kUndo)->setEnabled(pEdit != nullptr && pEdit->isUndoAvailable());
    Command(menu::kCut)->setEnabled(pEdit != nullptr && !pEdit->isReadOnly() && pEdit->hasSelectedText());
    Command(menu::kPaste)->setEnabled(pEdit != nullptr && !pEdit->isReadOnly());
}

void CMainFrame::OnEditCommand(int iCommand)
{
    auto* pEdit = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    if (pEdit == nullptr)
        return;
    if (iCommand == menu::kUndo)
        pEdit->undo();
    else if (iCommand == menu::kCut)
        pEdit->cut();
    else
        pEdit->paste();
}

void CMainFrame::AddRecentFile(const QString& strPath)
{
    QStringList files { strPath };
    for (const QAction* pAction : m_recentFiles)
        if (!pAction->data().toString().isEmpty() && pAction->data().toString() != strPath)
            files.append(pAction->data().toString());
    for (int i = 0; i < menu::kRecentFiles; ++i)
        m_profile.setValue(QString::fromLatin1(kRecentKey).arg(i + 1), files.value(i));
    FillRecentFiles();
}

namespace {

/// An entry of a list in a menu. A name's own ampersands are no shortcuts.
QString NumberedEntry(int iNumber, QString strName)
{
    return QStringLiteral("&%1 %2").arg(iNumber).arg(strName.replace(QLatin1Char('&'), QStringLiteral("&&")));
}

} // namespace

void CMainFrame::FillRecentFiles()
{
    for (int i = 0; i < menu::kRecentFiles; ++i) {
        QAction* pAction = m_recentFiles.at(i);
        const QString strPath = m_profile.value(QString::fromLatin1(kRecentKey).arg(i + 1)).toString();
        pAction->setData(strPath);
        pAction->setToolTip(PlainToolTip(strPath));
        pAction->setVisible(!strPath.isEmpty() || i == 0);
        pAction->setEnabled(!strPath.isEmpty());
        pAction->setText(strPath.isEmpty() ? QStringLiteral("最近使ったファイル")
                                           : NumberedEntry(i + 1, QFileInfo(strPath).fileName()));
    }
}

void CMainFrame::FillWindowList()
{
    qDeleteAll(m_windowList);
    m_windowList.clear();
    int iNumber = 0;
    for (QMdiSubWindow* pFrame : m_pArea->subWindowList()) {
        QAction* pAction = m_pWindowMenu->addAction(NumberedEntry(++iNumber, pFrame->windowTitle()));
        pAction->setCheckable(true);
        pAction->setChecked(pFrame == m_pArea->activeSubWindow());
        connect(pAction, &QAction::triggered, pFrame, [this, pFrame] { m_pArea->setActiveSubWindow(pFrame); });
        m_windowList.append(pAction);
    }
}

} // namespace vireo
