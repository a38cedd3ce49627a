#include "app/qt/application_look.h"
#include "app/qt/main_frame.h"
#include "app/settings_records.h"
#include "support/cut_texts.h"
#include "support/qt_tools.h"
#include "support/temporary_folder.h"
#include "support/test_platform.h"

#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>
#include <QToolBar>
#include <QToolButton>

namespace vireo {
namespace {

class MainFrameTest : public testing::Test {
protected:
    MainFrameTest()
    {
        test::WriteFile(m_folder / "Tessel.ini", "");
        m_app.SetIniFolder(m_folder.Path() + "/");
    }
    CMainFrame& Open()
    {
        m_frame.reset(); // one at a time
        CMainFrame::Hooks hooks;
        hooks.onCommand = [this](int iCommand) { m_commands.push_back(iCommand); };
        hooks.onClose = [this] { ++m_iCloses; };
        hooks.commandStates = [this] { return m_states; };
        hooks.filterKey = [this](QWidget&, int iKey) {
            m_keys.push_back(iKey);
            return iKey == Qt::Key_F9;
        };
        m_frame = std::make_unique<CMainFrame>(m_app, m_profile, std::move(hooks));
        return *m_frame;
    }
    QString Pane(const char* pName) { return m_frame->findChild<QLabel*>(QString::fromLatin1(pName))->text(); }

    test::TemporaryFolder m_folder;
    test::TestPlatform m_test;
    CVireoApp m_app { m_test.m_platform };
    QSettings m_profile { QString::fromStdString(m_folder / "profile.conf"), QSettings::IniFormat };
    std::vector<int> m_commands;
    std::vector<int> m_keys;
    int m_iCloses = 0;
    CommandStates m_states { .bDocument = true };
    std::unique_ptr<CMainFrame> m_frame;
};

TEST_F(MainFrameTest, FirstStartStandsAtTheOriginWith800By600)
{
    CMainFrame& frame = Open();
    frame.ShowAsStored();
    EXPECT_EQ(frame.pos(), QPoint(0, 0));
    EXPECT_EQ(frame.size(), QSize(800, 600));
    EXPECT_FALSE(frame.isMaximized());
}

TEST_F(MainFrameTest, ClosingMaximisedStoresTheRestoredPlace)
{
    CMainFrame& frame = Open();
    frame.ShowAsStored();
    frame.move(50, 40);
    frame.resize(900, 700);
    // The place is noted when the window has come to rest.
    ASSERT_TRUE(test::PumpUntil([&] {
        frame.Store();
        return LoadMainWindowPlacement(m_app).rect == WindowRect { 50, 40, 950, 740 };
    }));
    frame.showMaximized();
    test::Pump();
    frame.Store();
    EXPECT_EQ(LoadMainWindowPlacement(m_app), (MainWindowPlacement { { 50, 40, 950, 740 }, true }));
    CMainFrame& next = Open();
    EXPECT_EQ(next.size(), QSize(900, 700));
    next.ShowAsStored();
    EXPECT_TRUE(next.isMaximized());
}

TEST_F(MainFrameTest, ClosingMinimisedIsStoredAsNormal)
{
    SaveMainWindowPlacement(m_app, { { 10, 20, 710, 520 }, false });
    CMainFrame& frame = Open();
    frame.ShowAsStored();
    test::Pump();
    frame.showMinimized();
    test::Pump();
    frame.Store();
    EXPECT_EQ(LoadMainWindowPlacement(m_app), (MainWindowPlacement { { 10, 20, 710, 520 }, false }));
}

TEST_F(MainFrameTest, AbsurdPlacesEndUpOnTheScreen)
{
    const WindowRect rects[] = { { 90000, 90000, 90800, 90600 }, { -90000, -90000, -89200, -89400 },
        { -2147483647 - 1, 0, 2147483647, 5 }, { 500, 500, 100, 100 } };
    for (const WindowRect& rect : rects) {
        SaveMainWindowPlacement(m_app, { rect, false });
        const CMainFrame& frame = Open();
        EXPECT_TRUE(QRect(0, 0, 800, 800).contains(frame.pos())) << rect.left;
        EXPECT_GT(frame.width(), 100);
        EXPECT_GT(frame.height(), 100);
    }
}

TEST_F(MainFrameTest, StatusPanesHaveTheirTexts)
{
    CMainFrame& frame = Open();
    EXPECT_EQ(Pane("status0"), QStringLiteral("レディ"));
    EXPECT_EQ(Pane("134"), QStringLiteral("Missed: 000000"));
    EXPECT_EQ(Pane("135"), QStringLiteral("Out of sync: 000000"));
    EXPECT_EQ(Pane("133"), QStringLiteral("000.00 fps"));
    frame.UpdateCaptureStatus(29.97, 42, 999999);
    EXPECT_EQ(Pane("134"), QStringLiteral("Missed: 000042"));
    EXPECT_EQ(Pane("135"), QStringLiteral("Out of sync: 999999"));
    EXPECT_EQ(Pane("133"), QStringLiteral("29.97fps "));
    EXPECT_EQ(FpsText(400.0), QStringLiteral("400.00fps "));
    frame.SetStatusText(QStringLiteral("録画完了"));
    EXPECT_EQ(Pane("status0"), QStringLiteral("録画完了"));
    frame.SetStatusText({});
    EXPECT_EQ(Pane("status0"), QStringLiteral("レディ"));
}

TEST_F(MainFrameTest, LongStatusTextIsShortenedAndMovesNothing)
{
    CMainFrame& frame = Open();
    frame.show();
    test::Pump();
    const int iSmallest = frame.minimumSizeHint().width();
    const auto* pFps = frame.findChild<QLabel*>(QStringLiteral("133"));
    const QRect fps = pFps->geometry();
    const QString strLong = QStringLiteral("録画完了：12000ﾌﾚｰﾑ　") + QString(300, QChar(u'欠'));
    frame.SetStatusText(strLong);
    test::Pump();
    EXPECT_EQ(frame.minimumSizeHint().width(), iSmallest);
    EXPECT_EQ(pFps->geometry(), fps);
    EXPECT_EQ(Pane("status0"), strLong);
    EXPECT_EQ(frame.findChild<QLabel*>(QStringLiteral("status0"))->toolTip(), strLong) << "the whole of it";
}

TEST_F(MainFrameTest, TextsAreWholeInEveryLook)
{
    for (const ApplicationLook& look : ApplicationLooks()) {
        SCOPED_TRACE(look.iId);
        CMainFrame& frame = Open();
        frame.OnApplicationLook(look.iId);
        frame.UpdateCaptureStatus(1234.56, 999999, 999999);
        frame.show();
        test::Pump();
        const QStringList cut = test::CutTexts(frame);
        EXPECT_TRUE(cut.isEmpty()) << cut.join(QLatin1Char('\n')).toStdString();
    }
    ApplyLook(*qApp, LookOf(kDefaultLook));
}

TEST_F(MainFrameTest, StatusPanesStandInTheirOrder)
{
    CMainFrame& frame = Open();
    frame.ShowAsStored();
    test::Pump();
    int iLeft = -1;
    for (const char* pName : { "status0", "134", "135", "133" }) {
        const QLabel* pPane = frame.findChild<QLabel*>(QString::fromLatin1(pName));
        EXPECT_GT(pPane->mapTo(&frame, QPoint(0, 0)).x(), iLeft) << pName;
        iLeft = pPane->mapTo(&frame, QPoint(0, 0)).x();
    }
}

TEST_F(MainFrameTest, CaptionCarriesTheDocumentsTitleOrAPrompt)
{
    CMainFrame& frame = Open();
    EXPECT_EQ(frame.windowTitle(), QStringLiteral("Tessel"));
    frame.SetDocumentTitle(QStringLiteral("キャプチャー1"));
    EXPECT_EQ(frame.windowTitle(), QStringLiteral("Tessel - キャプチャー1"));
    frame.SetCaption(QStringLiteral("START[ENTER]key, CANCEL[ESC]key"));
    EXPECT_EQ(frame.windowTitle(), QStringLiteral("START[ENTER]key, CANCEL[ESC]key"));
    frame.SetDocumentTitle({});
    EXPECT_EQ(frame.windowTitle(), QStringLiteral("Tessel"));
}

TEST_F(MainFrameTest, MenusHoldTheirCommandsByNumber)
{
    CMainFrame& frame = Open();
    const struct {
        const char* pMenu;
        std::vector<int> commands;
    } menus[] = {
        { "ファイル(&F)", { 57603, 57607, 57616, 57617, 57618, 57619, 57665 } },
        { "編集(&E)", { 57643, 57635, 57634, 57637 } },
        { "表示(&V)", { 59393 } },
        { "カメラ(&C)", { 32771, 32778 } },
        { "ウィンドウ(&W)", { 57650, 57651, 57652 } },
        { "ヘルプ(&H)", { 57664 } },
    };
    const auto* pMenuBar = frame.findChild<QMenuBar*>(QStringLiteral("menu_bar"));
    ASSERT_EQ(pMenuBar->actions().size(), static_cast<qsizetype>(std::size(menus)));
    for (std::size_t i = 0; i < std::size(menus); ++i) {
        const QAction* pMenu = pMenuBar->actions().at(static_cast<qsizetype>(i));
        EXPECT_EQ(pMenu->text(), QString::fromUtf8(menus[i].pMenu));
        std::vector<int> commands;
        for (const QAction* pAction : pMenu->menu()->actions())
            if (pAction->objectName().toInt() > 0)
                commands.push_back(pAction->objectName().toInt());
        EXPECT_EQ(commands, menus[i].commands) << menus[i].pMenu;
    }
    EXPECT_EQ(frame.Command(32771)->text(), QStringLiteral("ｶﾒﾗｺﾝﾄﾛｰﾙ(&C)"));
    EXPECT_EQ(frame.Command(32778)->text(), QStringLiteral("ｶﾒﾗｺﾝﾄﾛｰﾙ位置ｸﾘｱ(&P)"));
    EXPECT_EQ(frame.Command(57603)->text(), QStringLiteral("AVIﾌｧｲﾙに保存(&S)"));
    EXPECT_FALSE(frame.Command(57603)->shortcut().isEmpty()) << "shortcuts are shown";
}

TEST_F(MainFrameTest, EditContextMenuHasCutCopyPaste)
{
    const QMenu* pMenu = Open().EditContextMenu();
    EXPECT_EQ(pMenu->title(), QStringLiteral("編集"));
    QStringList names;
    for (const QAction* pAction : pMenu->actions())
        names.append(pAction->objectName());
    EXPECT_EQ(names, QStringList({ "57635", "57634", "57637" }));
}

TEST_F(MainFrameTest, CommandsGoToTheOwner)
{
    m_states.bRecorded = true;
    CMainFrame& frame = Open();
    for (const int iCommand : { 57603, 32771, 32778, 57665, 57664 })
        frame.Command(iCommand)->trigger();
    EXPECT_EQ(m_commands, (std::vector<int> { 57603, 32771, 32778, 57665, 57664 }));
}

TEST_F(MainFrameTest, CommandsFollowTheState)
{
    CMainFrame& frame = Open();
    EXPECT_FALSE(frame.Command(57603)->isEnabled()) << "nothing is recorded";
    EXPECT_TRUE(frame.Command(32778)->isEnabled());
    EXPECT_FALSE(frame.Command(32771)->isChecked());
    m_states.bRecorded = true;
    m_states.bPanelShown = true;
    frame.UpdateCommands();
    EXPECT_TRUE(frame.Command(57603)->isEnabled());
    EXPECT_FALSE(frame.Command(32778)->isEnabled()) << "only while the panel is hidden";
    EXPECT_TRUE(frame.Command(32771)->isChecked());
    m_states.bSaving = true;
    frame.UpdateCommands();
    EXPECT_FALSE(frame.Command(57603)->isEnabled());
}

TEST_F(MainFrameTest, CloseBoxLeavesTheDecisionToTheOwner)
{
    CMainFrame& frame = Open();
    frame.show();
    EXPECT_FALSE(frame.close());
    EXPECT_TRUE(frame.isVisible());
    EXPECT_EQ(m_iCloses, 1);
}

TEST_F(MainFrameTest, KeysPassTheFilterFirst)
{
    CMainFrame& frame = Open();
    frame.show();
    EXPECT_TRUE(test::PressKey(frame.Area(), Qt::Key_F9));
    test::PressKey(frame.Area(), Qt::Key_A);
    EXPECT_EQ(m_keys, (std::vector<int> { Qt::Key_F9, Qt::Key_A, Qt::Key_A })) << "not taken: offered to the parents";
}

TEST_F(MainFrameTest, LookIsKeptInTheProfileOnly)
{
    CMainFrame& frame = Open();
    EXPECT_EQ(frame.Look(), 215);
    EXPECT_TRUE(frame.Command(215)->isChecked());
    frame.Command(217)->trigger();
    EXPECT_EQ(frame.Look(), 217);
    EXPECT_EQ(m_profile.value(QStringLiteral("ApplicationLook")).toInt(), 217);
    EXPECT_EQ(Open().Look(), 217);
    EXPECT_TRUE(m_frame->Command(217)->isChecked());
    EXPECT_EQ(test::ReadFile(m_folder / "Tessel.ini").find("Look"), std::string::npos);
}

TEST_F(MainFrameTest, BrokenProfileGivesTheDefaults)
{
    m_profile.setValue(QStringLiteral("ApplicationLook"), QStringLiteral("purple"));
    m_profile.setValue(QStringLiteral("Workspace/DockState"), QByteArray("rubbish"));
    m_profile.setValue(QStringLiteral("ToolBars/size"), 3);
    CMainFrame& frame = Open();
    EXPECT_EQ(frame.Look(), 215);
    EXPECT_EQ(frame.ToolBars().Contents().front().strName, QStringLiteral("標準"));
}

TEST_F(MainFrameTest, StandardToolBarHasItsTitleAndTheCustomiseEntry)
{
    CMainFrame& frame = Open();
    const auto* pBar = frame.findChild<QToolBar*>(QStringLiteral("toolbar316"));
    ASSERT_NE(pBar, nullptr);
    EXPECT_EQ(pBar->windowTitle(), QStringLiteral("標準"));
    EXPECT_EQ(pBar->findChild<QToolButton*>(QStringLiteral("125"))->text(), QStringLiteral("カスタマイズ..."));
    for (const QAction* pAction : pBar->actions())
        if (pAction->objectName().toInt() > 0) {
            EXPECT_FALSE(pAction->icon().isNull()) << pAction->objectName().toStdString();
        }
}

// A dialog of the frame's own would let posted commands run behind it.
TEST_F(MainFrameTest, CustomisingIsLeftToTheOwner)
{
    CMainFrame& frame = Open();
    frame.findChild<QToolButton*>(QStringLiteral("125"))->click();
    frame.Command(menu::kCustomize)->trigger();
    EXPECT_EQ(m_commands, (std::vector<int> { menu::kCustomize, menu::kCustomize }));
}

TEST_F(MainFrameTest, ToolBarsOfTheOperatorComeBackWhereTheyWere)
{
    CMainFrame& frame = Open();
    auto contents = frame.ToolBars().Contents();
    contents.push_back({ QStringLiteral("私のバー"), { 32771, 0, 57664 }, false, true });
    contents.push_back({ QStringLiteral("隠れたバー"), { 57607 }, true, false });
    frame.ToolBars().SetContents(contents);
    frame.addToolBar(Qt::LeftToolBarArea, frame.findChild<QToolBar*>(QStringLiteral("toolbar317")));
    frame.show();
    frame.Store();
    CMainFrame& next = Open();
    const auto again = next.ToolBars().Contents();
    ASSERT_EQ(again.size(), 3U);
    EXPECT_EQ(again[1].strName, QStringLiteral("私のバー"));
    EXPECT_EQ(again[1].commands, QList<int>({ 32771, 0, 57664 }));
    EXPECT_TRUE(again[2].bAutoHide);
    EXPECT_FALSE(again[2].bVisible);
    EXPECT_EQ(next.toolBarArea(next.findChild<QToolBar*>(QStringLiteral("toolbar317"))), Qt::LeftToolBarArea);
    EXPECT_EQ(
        next.findChild<QToolBar*>(QStringLiteral("toolbar317"))->findChild<QToolButton*>(QStringLiteral("125"))->text(),
        QStringLiteral("カスタマイズ..."))
        << "every new toolbar has the entry";
}

TEST_F(MainFrameTest, AutoHidingBarFoldsToAStripAndComesBack)
{
    CMainFrame& frame = Open();
    frame.show();
    auto contents = frame.ToolBars().Contents();
    contents.front().bAutoHide = true;
    frame.ToolBars().SetContents(contents);
    auto* pBar = frame.findChild<QToolBar*>(QStringLiteral("toolbar316"));
    auto* pStrip = frame.findChild<QToolBar*>(QStringLiteral("toolbar316_strip"));
    ASSERT_TRUE(test::PumpUntil([&] { return pStrip->isVisible() && !pBar->isVisible(); }));
    EXPECT_TRUE(frame.ToolBars().Contents().front().bVisible) << "folded is not hidden";
    QEnterEvent enter(QPointF(1, 1), QPointF(1, 1), QPointF(1, 1));
    QApplication::sendEvent(pStrip, &enter);
    EXPECT_TRUE(pBar->isVisible());
    EXPECT_FALSE(pStrip->isVisible());
}

TEST_F(MainFrameTest, MenuBarDocksAtEverySide)
{
    CMainFrame& frame = Open();
    frame.show();
    auto* pBar = frame.findChild<QToolBar*>(QStringLiteral("menu_tool_bar"));
    const auto* pMenuBar = frame.findChild<QMenuBar*>(QStringLiteral("menu_bar"));
    EXPECT_TRUE(pBar->isMovable());
    EXPECT_EQ(pBar->allowedAreas(), Qt::AllToolBarAreas);
    frame.addToolBar(Qt::LeftToolBarArea, pBar);
    test::Pump();
    EXPECT_FALSE(pMenuBar->isVisible());
    QStringList buttons;
    for (const QToolButton* pButton : pBar->findChildren<QToolButton*>())
        if (pButton->isVisible() && pButton->menu() != nullptr)
            buttons.append(pButton->text());
    EXPECT_TRUE(buttons.contains(QStringLiteral("ファイル")));
    frame.addToolBar(Qt::TopToolBarArea, pBar);
    test::Pump();
    EXPECT_TRUE(pMenuBar->isVisible());
}

TEST_F(MainFrameTest, ARecentFilesOwnAmpersandIsNoShortcutAndItsNameNoMarkup)
{
    Open().AddRecentFile(QStringLiteral("/takes/<b>run & jump.avi"));
    const auto* pRecent = m_frame->findChild<QAction*>(QStringLiteral("57616"));
    EXPECT_EQ(pRecent->text(), QStringLiteral("&1 <b>run && jump.avi"));
    EXPECT_TRUE(pRecent->toolTip().contains(QStringLiteral("&lt;b&gt;run"))) << pRecent->toolTip().toStdString();
}

TEST_F(MainFrameTest, FourRecentFilesAreKept)
{
    CMainFrame& frame = Open();
    for (const char* pFile : { "/a/1.avi", "/a/2.avi", "/a/3.avi", "/a/4.avi", "/a/5.avi", "/a/3.avi" })
        frame.AddRecentFile(QString::fromLatin1(pFile));
    const auto shown = [this] {
        QStringList names;
        for (int i = 0; i < 4; ++i)
            names.append(m_frame->findChild<QAction*>(QString::number(57616 + i))->data().toString());
        return names;
    };
    const QStringList expected { "/a/3.avi", "/a/5.avi", "/a/4.avi", "/a/2.avi" };
    EXPECT_EQ(shown(), expected);
    Open();
    EXPECT_EQ(shown(), expected);
}

TEST_F(MainFrameTest, StatusBarCanBeHidden)
{
    CMainFrame& frame = Open();
    frame.show();
    frame.Command(59393)->trigger();
    EXPECT_FALSE(frame.statusBar()->isVisible());
    frame.Command(59393)->trigger();
    EXPECT_TRUE(frame.statusBar()->isVisible());
}

TEST_F(MainFrameTest, ViewsTitleFollowsTheLook)
{
    const auto titleColours = [](CMainFrame& frame) {
        test::Pump();
        QStringList colours;
        for (QMdiSubWindow* pFrame : frame.Area().subWindowList())
            colours.append(pFrame->grab().toImage().pixelColor(pFrame->width() / 4, 8).name());
        return colours;
    };
    const auto openWithViews = [this]() -> CMainFrame& {
        CMainFrame& frame = Open();
        for (int i = 0; i < 2; ++i)
            frame.Area().addSubWindow(new QLabel)->resize(300, 200);
        frame.show();
        frame.activateWindow();
        return frame;
    };
    QList<QStringList> expected;
    for (int iLook = menu::kLookFirst; iLook <= menu::kLookLast; ++iLook) {
        m_profile.setValue(QStringLiteral("ApplicationLook"), iLook);
        expected.append(titleColours(openWithViews()));
    }
    CMainFrame& frame = openWithViews();
    const QMdiSubWindow* pActive = frame.Area().activeSubWindow();
    for (int iLook = menu::kLookFirst; iLook <= menu::kLookLast; ++iLook) {
        frame.OnApplicationLook(iLook);
        EXPECT_EQ(titleColours(frame), expected[iLook - menu::kLookFirst]) << iLook;
        EXPECT_EQ(frame.Area().activeSubWindow(), pActive);
    }
}

} // namespace
} // namespace vireo
