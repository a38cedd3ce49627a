#include "desktop_run.h"
#include "support/partner_request.h"

#include <QClipboard>
#include <QFile>
#include <QLineEdit>
#include <QMessageBox>
#include <QPrintDialog>
#include <QPrinter>
#include <QTest>
#include <QToolButton>
#include <thread>

namespace vireo {
namespace {

using test::ById;
using test::DesktopRun;
using test::OnDialog;
using test::Pump;
using test::PumpUntil;

// Commands of the main window with views, and with none: the operator can close every one of them.

void CloseViews(DesktopRun& run)
{
    for (CVireoView* pView : run.m_desktop->Views())
        pView->parentWidget()->close();
    Pump();
    ASSERT_TRUE(run.m_desktop->Views().empty());
}

std::vector<QPoint> Places(DesktopRun& run)
{
    std::vector<QPoint> places;
    for (const CVireoView* pView : run.m_desktop->Views())
        places.push_back(pView->FrameRect().topLeft());
    return places;
}

TEST(DesktopCommands, ArrangeTheViewsAndDoNothingWithoutOne)
{
    DesktopRun run;
    ASSERT_TRUE(run.Start());
    ASSERT_TRUE(PumpUntil([&] { return run.IsLive(); }));
    const auto stands = [&](int iCommand, bool bMovesRight, bool bMovesDown) {
        run.m_window.PostCommand(iCommand);
        return PumpUntil([&] {
            const std::vector<QPoint> places = Places(run);
            for (std::size_t i = 1; i < places.size(); ++i)
                if ((places[i].x() > places[i - 1].x()) != bMovesRight
                    || (places[i].y() > places[i - 1].y()) != bMovesDown)
                    return false;
            return places.front() == QPoint(0, 0);
        });
    };
    EXPECT_TRUE(stands(menu::kCascade, true, true));
    EXPECT_TRUE(stands(menu::kTileRows, false, true));
    EXPECT_TRUE(stands(menu::kTileColumns, true, false));

    CloseViews(run);
    for (const int iCommand : { menu::kCascade, menu::kTileRows, menu::kTileColumns }) {
        EXPECT_FALSE(run.m_desktop->Frame().Command(iCommand)->isEnabled()) << iCommand;
        run.m_desktop->CarryOut(iCommand);
    }
}

// The guide tells the operator which window has to be active.
TEST(DesktopCommands, TheirKeysActInTheMainWindowAndNotInThePanel)
{
    DesktopRun run("simulated:FL3-U3-13Y3M");
    ASSERT_TRUE(run.Start());
    const auto activate = [](QWidget& window) {
        window.activateWindow();
        return PumpUntil([&window] { return window.isActiveWindow(); });
    };
    CMainFrame& frame = run.m_desktop->Frame();
    ASSERT_TRUE(activate(frame));
    QTest::keyClick(&frame, Qt::Key_F7);
    EXPECT_TRUE(PumpUntil([&run] { return run.m_desktop->Panel() == nullptr; }));
    QTest::keyClick(&frame, Qt::Key_F7);
    ASSERT_TRUE(PumpUntil([&run] { return run.m_desktop->Panel() != nullptr && run.Panel().isVisible(); }));
    ASSERT_TRUE(activate(run.Panel()));
    int iCommands = 0;
    for (const int iCommand : { menu::kPanel, menu::kSaveAvi, menu::kPrint, menu::kCopy }) {
        frame.Command(iCommand)->setEnabled(true);
        QObject::connect(frame.Command(iCommand), &QAction::triggered, [&iCommands] { ++iCommands; });
    }
    QTest::keyClick(&run.Panel(), Qt::Key_F7);
    ASSERT_EQ(iCommands, 0) << "the panel stays";
    for (const Qt::Key eKey : { Qt::Key_S, Qt::Key_P, Qt::Key_C })
        QTest::keyClick(&run.Panel(), eKey, Qt::ControlModifier);
    EXPECT_EQ(iCommands, 0);
}

TEST(DesktopCommands, CopyTheViewsPictureOrTheTextThatIsEdited)
{
    DesktopRun run("simulated:FL3-U3-13Y3M");
    ASSERT_TRUE(run.Start());
    ASSERT_TRUE(PumpUntil([&] { return run.IsLive() && !run.m_desktop->ViewOf(0)->CurrentPicture().isNull(); }));
    QClipboard& clipboard = *QApplication::clipboard();
    clipboard.clear();
    run.m_desktop->Frame().activateWindow();
    run.m_desktop->ViewOf(0)->setFocus();
    run.m_window.PostCommand(menu::kCopy);
    ASSERT_TRUE(PumpUntil([&] { return !clipboard.image().isNull(); }));
    EXPECT_EQ(clipboard.image().size(), QSize(640, 480));

    auto* pEdit = ById<QLineEdit>(run.Panel(), 1015);
    run.Panel().activateWindow();
    pEdit->setFocus();
    ASSERT_TRUE(PumpUntil([&] { return QApplication::focusWidget() == pEdit; }));
    pEdit->setText(QStringLiteral("0042"));
    pEdit->selectAll();
    run.m_window.PostCommand(menu::kCopy);
    EXPECT_TRUE(PumpUntil([&] { return clipboard.text() == QStringLiteral("0042"); }));

    pEdit->clearFocus();
    CloseViews(run);
    run.m_desktop->CarryOut(menu::kCopy);
    EXPECT_EQ(clipboard.text(), QStringLiteral("0042")) << "nothing to copy";
}

// The toolkit's dialog, with a file in the place of a printer.
TEST(DesktopCommands, PrintTheViewAsItIsDrawn)
{
    DesktopRun run("simulated:FL3-U3-13Y3M");
    ASSERT_TRUE(run.Start());
    ASSERT_TRUE(PumpUntil([&] { return run.IsLive() && !run.m_desktop->ViewOf(0)->CurrentPicture().isNull(); }));
    for (const int iCommand : { menu::kPrint, menu::kPrintDirect }) { // no printer here: the second asks as well
        SCOPED_TRACE(iCommand);
        const QString strFile = QString::fromStdString(run.m_folder / ("page" + std::to_string(iCommand) + ".pdf"));
        QString strTitle;
        OnDialog<QPrintDialog> print([&](QPrintDialog& dialog) {
            strTitle = dialog.windowTitle();
            if (auto* pName = dialog.findChild<QLineEdit*>(QStringLiteral("filename")))
                pName->setText(strFile);
            dialog.printer()->setOutputFileName(strFile);
            dialog.accept();
        });
        run.m_window.PostCommand(iCommand);
        ASSERT_TRUE(PumpUntil([&] { return print.WasHandled() && QFile(strFile).size() > 0; }));
        EXPECT_EQ(strTitle, QStringLiteral("印刷"));
        QFile file(strFile);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QByteArray page = file.readAll();
        EXPECT_TRUE(page.startsWith("%PDF"));
        EXPECT_TRUE(page.contains("/Subtype /Image")) << "the picture is on it";
    }
    EXPECT_TRUE(PumpUntil([&] { return run.m_desktop->ViewOf(0)->isVisible(); }));
}

TEST(DesktopCommands, PrintingIsGivenUpOrHasNothingToPrint)
{
    DesktopRun run("simulated:FL3-U3-13Y3M");
    ASSERT_TRUE(run.Start());
    OnDialog<QPrintDialog> print([](QPrintDialog& dialog) { dialog.reject(); });
    run.m_window.PostCommand(menu::kPrint);
    EXPECT_TRUE(PumpUntil([&] { return print.WasHandled(); }));
    CloseViews(run);
    EXPECT_FALSE(run.m_desktop->Frame().Command(menu::kPrint)->isEnabled());
    OnDialog<QPrintDialog> none([](QPrintDialog& dialog) { dialog.reject(); });
    run.m_desktop->CarryOut(menu::kPrint);
    run.m_desktop->CarryOut(menu::kPrintDirect);
    Pump();
    EXPECT_FALSE(none.WasHandled());
}

TEST(DesktopCommands, OfNoDocumentLeaveEverythingAsItIs)
{
    DesktopRun run("simulated:FL3-U3-13Y3M");
    ASSERT_TRUE(run.Start());
    CloseViews(run);
    for (const int iCommand : { command::kSave, menu::kSaveAvi, command::kTogglePanel, 57609, 0, -1, 219, 2147483647 })
        run.m_desktop->CarryOut(iCommand);
    EXPECT_EQ(run.m_desktop->Panel(), nullptr);
    EXPECT_TRUE(run.m_videos.Files().empty());
    EXPECT_TRUE(run.m_desktop->Frame().isVisible());
}

TEST(DesktopCommands, OfThePartnerAreRefusedByABoxWhenThereIsNoView)
{
    DesktopRun run("simulated:GS3-U3-23S6M", "", test::PartnersRequest(100, { "take.avi" }));
    ASSERT_TRUE(run.m_desktop->Start());
    ASSERT_TRUE(PumpUntil([&] { return run.IsLive(); }));
    CloseViews(run);
    const struct {
        int iIdentifier;
        const char* pText;
        bool bRefused;
    } rows[] = { { 1081, "1", true }, { 1081, "2", true }, { 1082, "1", false }, { 1080, "2", false } };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.iIdentifier << " " << row.pText);
        QString strText;
        QString strTitle;
        OnDialog<QMessageBox> box([&](QMessageBox& message) {
            strText = message.text();
            strTitle = message.windowTitle();
            message.accept();
        });
        std::atomic<bool> bAnswered = false;
        std::thread link([&] {
            run.m_test->m_partner.Deliver("Tessel", { PartnerMessage::Kind::CopyData, row.iIdentifier, row.pText });
            bAnswered = true;
        });
        EXPECT_TRUE(PumpUntil([&] { return bAnswered.load(); })) << "the partner is answered";
        link.join();
        EXPECT_EQ(box.WasHandled(), row.bRefused);
        if (row.bRefused) {
            EXPECT_EQ(strText, QStringLiteral("コマンドを実行できませんでした。"));
            EXPECT_EQ(strTitle, QStringLiteral("Tessel"));
        }
        EXPECT_TRUE(run.m_desktop->Frame().isVisible());
        EXPECT_FALSE(run.Doc().m_store.m_bStartRequest);
        EXPECT_FALSE(run.Doc().m_store.m_bStopRequest);
    }
}

} // namespace
} // namespace vireo
