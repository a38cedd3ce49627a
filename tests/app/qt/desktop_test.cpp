#include "app/qt/customize_dlg.h"
#include "desktop_run.h"
#include "support/partner_request.h"
#include "ui/panel_widgets.h"

#include <QLineEdit>
#include <QMdiArea>
#include <QMessageBox>
#include <QStatusBar>
#include <QToolButton>
#include <filesystem>
#include <thread>

namespace vireo {
namespace {

using test::ById;
using test::DesktopRun;
using test::OnDialog;
using test::PressKey;
using test::Pump;
using test::PumpUntil;

QStringList ViewTitles(Desktop& desktop)
{
    QStringList titles;
    for (const CVireoView* pView : desktop.Views())
        titles.append(pView->parentWidget()->windowTitle());
    return titles;
}

/// Threads of this process, without those that the toolkit keeps for its own work.
std::size_t ThreadCount()
{
    std::size_t uiThreads = 0;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task"))
        if (!test::ReadFile(thread.path() / "comm").starts_with("Thread (pooled)"))
            ++uiThreads;
    return uiThreads;
}

TEST(DesktopProgram, OpensOneViewPerCameraAndThePanel)
{
    DesktopRun run("simulated:2xGS3-U3-23S6M@17000005+GS3-U3-23S6M@17000001");
    ASSERT_TRUE(run.Start());
    EXPECT_EQ(ViewTitles(*run.m_desktop), QStringList({ "CAM01: 17000001", "CAM02: 17000005", "CAM03: 17000006" }));
    EXPECT_TRUE(run.m_desktop->Frame().isVisible());
    EXPECT_TRUE(run.Panel().isVisible());
    EXPECT_TRUE(run.Doc().m_windows.m_bControlPanelShown);
    EXPECT_EQ(run.m_desktop->Frame().windowTitle(), QStringLiteral("Tessel - キャプチャー1"));
    EXPECT_TRUE(PumpUntil([&] { return run.IsLive(); }));
}

TEST(DesktopProgram, ViewsShowTheirCamerasPicture)
{
    DesktopRun run("simulated:2xFL3-U3-13Y3M");
    ASSERT_TRUE(run.Start());
    for (CVireoView* pView : run.m_desktop->Views())
        EXPECT_TRUE(PumpUntil([&] {
            const QImage drawn = pView->grab().toImage();
            return qGray(drawn.pixel(600, 300)) > 40; // the scene is nowhere black there
        }));
}

TEST(DesktopProgram, CancelledConfirmationEndsTheStartSilently)
{
    DesktopRun run;
    OnDialog<CameraSelectionDlg> cancel([](CameraSelectionDlg& dialog) { dialog.reject(); });
    EXPECT_FALSE(run.m_desktop->Start());
    EXPECT_EQ(run.m_app->ExitInstance(0, false), 1);
}

TEST(DesktopProgram, StartWithoutACameraEndsAndStoresNothing)
{
    DesktopRun run("simulated", "error:GetNumOfCameras:20");
    QStringList texts;
    const OnDialog<QMessageBox> read(
        [&texts](QMessageBox& box) {
            texts << box.text();
            box.accept();
        },
        100);
    EXPECT_FALSE(run.Start());
    EXPECT_FALSE(texts.isEmpty());
    EXPECT_TRUE(run.m_desktop->Views().empty());
    EXPECT_EQ(test::ReadFile(run.m_folder / "Tessel.ini"), "");
}

TEST(DesktopProgram, PartnersRunAsksNothingAndShowsNoPanel)
{
    CooperationRequest request;
    request.CooperationMode = true;
    request.CoopFlag = 1;
    request.CoopWidth = 640;
    request.CoopHeight = 480;
    request.CoopFrameRate = 100;
    request.CoopShutter = 500;
    request.CoopFileCount = 2;
    DesktopRun run("simulated:3xGS3-U3-23S6M", "", request);
    ASSERT_TRUE(run.m_desktop->Start());
    EXPECT_EQ(run.m_desktop->Panel(), nullptr);
    EXPECT_EQ(run.m_desktop->Views().size(), 2U) << "one view for each file";
    EXPECT_TRUE(PumpUntil([&] { return run.IsLive(); }));
}

TEST(DesktopProgram, ClosedViewLeavesTheOthersTheirCameras)
{
    DesktopRun run;
    ASSERT_TRUE(run.Start());
    ASSERT_TRUE(PumpUntil([&] { return run.IsLive(); }));
    run.m_desktop->ViewOf(0)->parentWidget()->close();
    Pump();
    EXPECT_EQ(ViewTitles(*run.m_desktop), QStringList({ "CAM02: 13000002", "CAM03: 13000003", "CAM04: 13000004" }));
    EXPECT_EQ(run.m_desktop->ViewOf(0), nullptr);
    const CVireoView* pView = run.m_desktop->ViewOf(1);
    const QImage before = pView->CurrentPicture();
    EXPECT_TRUE(PumpUntil([&] { return pView->CurrentPicture() != before; })) << "goes on";
    EXPECT_TRUE(run.Doc().m_capture.m_bCapturing);
}

TEST(DesktopProgram, ClosingTheLastViewClosesTheDocumentAndLeavesTheWindow)
{
    DesktopRun run("simulated:2xFL3-U3-13Y3M");
    ASSERT_TRUE(run.Start());
    for (CVireoView* pView : run.m_desktop->Views())
        pView->parentWidget()->close();
    Pump();
    EXPECT_FALSE(run.Doc().m_capture.m_bCapturing);
    EXPECT_EQ(run.Doc().m_cameras.m_uiNumCameras, 0U);
    EXPECT_EQ(run.m_desktop->Panel(), nullptr);
    EXPECT_TRUE(run.m_desktop->Frame().isVisible());
    EXPECT_EQ(run.m_desktop->Frame().windowTitle(), QStringLiteral("Tessel"));
    EXPECT_FALSE(run.m_desktop->Frame().Command(menu::kPanel)->isEnabled());
    for (const int iCommand : { 32771, 1023, 57603, 57634, 57650 })
        run.m_desktop->CarryOut(iCommand); // nothing to do it with
    run.m_desktop->OnTimer(timer::kRefreshLive);
    EXPECT_FALSE(PressKey(run.m_desktop->Frame().Area(), Qt::Key_F9));
}

TEST(DesktopProgram, PanelTogglesAndKeepsItsPlace)
{
    DesktopRun run("simulated:FL3-U3-13Y3M");
    ASSERT_TRUE(run.Start());
    run.Panel().move(321, 123);
    run.Panel().close();
    ASSERT_TRUE(PumpUntil([&] { return run.m_desktop->Panel() == nullptr; }));
    EXPECT_FALSE(run.Doc().m_windows.m_bControlPanelShown);
    WindowRect rect;
    ASSERT_TRUE(LoadControlPanelRect(*run.m_app, rect));
    EXPECT_EQ(rect.left, 321);
    EXPECT_EQ(rect.top, 123);
    run.m_desktop->CarryOut(command::kTogglePanel);
    EXPECT_EQ(run.Panel().pos(), QPoint(321, 123));
    EXPECT_TRUE(run.Panel().isVisible());
}

TEST(DesktopProgram, PanelPlaceIsClearedOnlyWhileItIsHidden)
{
    DesktopRun run("simulated:FL3-U3-13Y3M");
    ASSERT_TRUE(run.Start());
    WindowRect before, rect;
    LoadControlPanelRect(*run.m_app, before);
    run.m_desktop->CarryOut(menu::kPanelPosition);
    LoadControlPanelRect(*run.m_app, rect);
    EXPECT_EQ(rect, before);
    run.m_desktop->CarryOut(command::kTogglePanel);
    run.m_desktop->CarryOut(menu::kPanelPosition);
    LoadControlPanelRect(*run.m_app, rect);
    EXPECT_EQ(rect, (WindowRect { 0, 0, 365, 501 }));
    run.m_desktop->CarryOut(command::kTogglePanel);
    EXPECT_EQ(run.Panel().pos(), QPoint(0, 0));
}

TEST(DesktopProgram, AbsurdPanelPlaceEndsUpOnTheScreen)
{
    DesktopRun run("simulated:FL3-U3-13Y3M");
    SaveControlPanelRect(*run.m_app, { 2000000000, -2000000000, 2000000001, -1999999999 });
    ASSERT_TRUE(run.Start());
    EXPECT_TRUE(QGuiApplication::primaryScreen()->geometry().contains(run.Panel().pos()));
}

TEST(DesktopProgram, EndStoresEveryPlaceAndTheNextStartHasThem)
{
    DesktopRun run("simulated:2xFL3-U3-13Y3M");
    ASSERT_TRUE(run.Start());
    run.m_desktop->Frame().move(20, 30);
    run.m_desktop->Frame().resize(1000, 700);
    run.m_desktop->ViewOf(1)->MoveFrame({ 77, 55, 648, 510 });
    run.Panel().move(40, 50);
    Pump();
    run.m_desktop->Close();
    run.NewProgram();
    ASSERT_TRUE(run.Start());
    EXPECT_EQ(run.m_desktop->Frame().pos(), QPoint(20, 30));
    EXPECT_EQ(run.m_desktop->Frame().size(), QSize(1000, 700));
    EXPECT_EQ(run.m_desktop->ViewOf(1)->FrameRect().topLeft(), QPoint(77, 55));
    EXPECT_EQ(run.Panel().pos(), QPoint(40, 50));
}

TEST(DesktopProgram, ViewsWithoutAStoredPlaceAreAllSeen)
{
    DesktopRun run;
    SaveMainWindowPlacement(*run.m_app, { { 0, 0, 780, 560 }, false });
    ASSERT_TRUE(run.Start());
    Pump();
    const QRect seen(QPoint(0, 0), run.m_desktop->Frame().Area().viewport()->size());
    QList<QPoint> corners;
    for (const CVireoView* pView : run.m_desktop->Views()) {
        const QPoint corner = pView->FrameRect().topLeft();
        EXPECT_TRUE(seen.contains(corner)) << corner.x() << ", " << corner.y();
        EXPECT_FALSE(corners.contains(corner)) << "none hides another";
        corners.append(corner);
    }
}

TEST(DesktopProgram, RecordingIsStartedFromAViewAndJudged)
{
    DesktopRun run("simulated:2xFL3-U3-13Y3M");
    run.StorePreset(1, 100, 1);
    ASSERT_TRUE(run.Start());
    run.Button(1005).click();
    ASSERT_TRUE(PumpUntil([&] { return run.IsLive() && run.Button(1028).isEnabled(); }));
    {
        QLineEdit edit(&run.m_desktop->Frame());
        edit.show();
        edit.setFocus();
        EXPECT_FALSE(PressKey(edit, Qt::Key_F9)) << "who edits a text keeps the keys";
        EXPECT_TRUE(run.Button(1028).isEnabled());
    }
    EXPECT_TRUE(PressKey(*run.m_desktop->ViewOf(1), Qt::Key_F9));
    EXPECT_FALSE(run.Button(1028).isEnabled());
    ASSERT_TRUE(PumpUntil([&] { return run.IsRecorded(); }));
    EXPECT_EQ(run.StatusText(), QStringLiteral("録画完了：100ﾌﾚｰﾑ　同期しています。"));
    EXPECT_TRUE(run.Button(1024).isEnabled());
    EXPECT_TRUE(PressKey(*run.m_desktop->ViewOf(0), Qt::Key_F8));
    EXPECT_TRUE(PumpUntil([&] { return run.IsLive() && run.Button(1028).isEnabled(); })) << "ready for the next one";
}

TEST(DesktopProgram, VerdictNamesTheMissedFrames)
{
    DesktopRun run("simulated:2xFL3-U3-13Y3M", "drop:1@130x2;drop:1@160;drop:1@190;drop:1@220;drop:1@250;drop:1@280");
    run.StorePreset(1, 100, 1);
    ASSERT_TRUE(run.Start());
    run.Button(1005).click();
    ASSERT_TRUE(PumpUntil([&] { return run.IsLive() && run.Doc().m_store.m_iendFrame[0] > 110; }));
    run.Button(1028).click();
    ASSERT_TRUE(PumpUntil([&] { return run.IsRecorded(); }));
    EXPECT_TRUE(run.StatusText().contains(QStringLiteral("ﾌﾚｰﾑの欠落があります。(CAM02：")))
        << run.StatusText().toStdString();
}

TEST(DesktopProgram, VerdictGoesWhenTheNextRecordingBegins)
{
    // Frames are counted from each start: the slow first take ends long before that one.
    DesktopRun run("simulated:FL3-U3-13Y3M", "hang:0@400");
    run.StorePreset(1, 30, 1);
    run.StorePreset(2, 200, 3);
    ASSERT_TRUE(run.Start());
    run.Button(1005).click();
    ASSERT_TRUE(PumpUntil([&] { return run.IsLive() && run.Button(1028).isEnabled(); }));
    run.Button(1028).click();
    ASSERT_TRUE(PumpUntil([&] { return run.IsRecorded(); }));
    const QString strVerdict = run.StatusText();
    run.Button(1024).click();
    EXPECT_EQ(run.StatusText(), strVerdict) << "it can be read until then";
    run.Button(1006).click();
    ASSERT_TRUE(PumpUntil([&] { return run.IsLive() && run.Button(1028).isEnabled(); }));
    OnDialog<QMessageBox> missed([&](QMessageBox& shown) { shown.accept(); });
    run.Button(1028).click();
    EXPECT_TRUE(PumpUntil([&] { return run.StatusText() == QStringLiteral("レディ"); }));
    EXPECT_FALSE(run.Doc().m_store.m_bRecordDone[0]);
    ASSERT_TRUE(PumpUntil([&] { return missed.WasHandled() && run.Doc().m_capture.m_bThreadEnded[0]; }));
    Pump();
    EXPECT_NE(run.StatusText(), strVerdict) << "at most what is left of the take that failed";
}

TEST(DesktopProgram, LampShowsTheWaitForTheFirstEdge)
{
    DesktopRun run("simulated:2xFL3-U3-13Y3M");
    ASSERT_TRUE(run.Start());
    ASSERT_TRUE(PumpUntil([&] { return run.IsLive() && run.Button(1028).isEnabled(); }));
    const auto* pLamp = dynamic_cast<LampBand*>(run.Panel().findChild<QWidget*>(QStringLiteral("lamp")));
    ASSERT_NE(pLamp, nullptr);
    ASSERT_TRUE(PumpUntil([&] { return pLamp->Lamp() == CaptureLamp::Live; }));
    ById<QCheckBox>(run.Panel(), 1032)->click();
    ASSERT_TRUE(PumpUntil([&] { return run.Doc().m_capture.m_iCaptureState == capture_state::kRecording; }));
    EXPECT_TRUE(PumpUntil([&] { return pLamp->Lamp() == CaptureLamp::Waiting; })) << "nothing is recorded yet";
}

TEST(DesktopProgram, PanelReopenedWhileRecordingCountsNothingFalse)
{
    DesktopRun run("simulated:2xFL3-U3-13Y3M");
    run.StorePreset(1, 100, 2);
    ASSERT_TRUE(run.Start());
    run.Button(1005).click();
    ASSERT_TRUE(PumpUntil([&] { return run.IsLive() && run.Button(1028).isEnabled(); }));
    run.Button(1028).click();
    ASSERT_TRUE(PumpUntil([&] { return run.Doc().m_capture.m_iCaptureState == capture_state::kRecording; }));
    run.m_desktop->CarryOut(command::kTogglePanel);
    Pump();
    run.m_desktop->CarryOut(command::kTogglePanel);
    EXPECT_FALSE(run.Button(1028).isEnabled());
    run.StorePreset(2, 60, 1);
    OnDialog<QDialog> settings([&](QDialog& dialog) {
        ASSERT_EQ(dialog.objectName(), QStringLiteral("settings"));
        EXPECT_EQ(run.Doc().m_parameters.m_iFps, 60);
        dialog.reject();
    });
    run.Panel().EditPreset(2);
    ASSERT_TRUE(PumpUntil([&] { return run.IsRecorded(); }));
    EXPECT_EQ(run.Doc().m_capture.m_uiMissedCount, 0U);
    EXPECT_EQ(run.Doc().m_capture.m_uiOutOfSyncCount, 0U);
    EXPECT_EQ(run.StatusText(), QStringLiteral("録画完了：200ﾌﾚｰﾑ　同期しています。"));
}

TEST(DesktopProgram, SettingsDialogHoldsBackTheSaveAfterRecording)
{
    DesktopRun run("simulated:FL3-U3-13Y3M");
    run.StorePreset(1, 60, 1);
    ASSERT_TRUE(run.Start());
    run.Button(1005).click();
    ById<QCheckBox>(run.Panel(), 1033)->click();
    ASSERT_TRUE(PumpUntil([&] { return run.IsLive() && run.Button(1028).isEnabled(); }));
    run.Button(1028).click();
    ASSERT_TRUE(PumpUntil([&] { return run.Doc().m_capture.m_iCaptureState == capture_state::kRecording; }));
    OnDialog<QDialog> settings([&](QDialog& dialog) {
        EXPECT_TRUE(
            PumpUntil([&] { return run.Doc().m_store.m_bRecordDone[0] && run.Doc().m_capture.m_bThreadEnded[0]; }));
        Pump();
        EXPECT_TRUE(run.m_videos.Files().empty()) << "nothing is saved behind an open dialog";
        dialog.reject();
    });
    run.m_window.Queue().Post([&] { run.Panel().EditPreset(2); });
    ASSERT_TRUE(PumpUntil([&] { return run.m_videos.Files().size() == 1 && !run.Doc().m_capture.m_bSaving; }));
    EXPECT_EQ(run.m_videos.Files()[0].exposuresUs.size(), 60U);
}

TEST(DesktopProgram, PostedMenuCommandsReachTheFrame)
{
    DesktopRun run("simulated:FL3-U3-13Y3M");
    ASSERT_TRUE(run.Start());
    const auto* pBar = run.m_desktop->Frame().findChild<QStatusBar*>();
    for (const bool bHidden : { true, false }) {
        run.m_window.PostCommand(menu::kStatusBar);
        EXPECT_TRUE(PumpUntil([&] { return pBar->isHidden() == bHidden; }));
    }
    auto* pEdit = ById<QLineEdit>(run.Panel(), 1015);
    run.Panel().activateWindow();
    pEdit->setFocus();
    ASSERT_TRUE(PumpUntil([&] { return QApplication::focusWidget() == pEdit; }));
    pEdit->setText(QStringLiteral("0042"));
    pEdit->selectAll();
    const struct {
        int iCommand;
        const char* pText;
    } rows[] = { { menu::kCut, "" }, { menu::kUndo, "0042" }, { menu::kCut, "" }, { menu::kPaste, "0042" } };
    for (const auto& row : rows) {
        run.m_window.PostCommand(row.iCommand);
        EXPECT_TRUE(PumpUntil([&] { return pEdit->text() == QString(row.pText); })) << row.iCommand;
    }
    OnDialog<CustomizeDlg> customize([](CustomizeDlg& dialog) { dialog.reject(); });
    run.m_window.PostCommand(menu::kCustomize);
    EXPECT_TRUE(PumpUntil([&] { return customize.WasHandled(); }));
}

TEST(DesktopProgram, CustomisingHoldsBackWhatIsPosted)
{
    DesktopRun run("simulated:FL3-U3-13Y3M");
    ASSERT_TRUE(run.Start());
    OnDialog<CustomizeDlg> customize([&](CustomizeDlg& dialog) {
        run.m_window.PostCommand(command::kTogglePanel);
        Pump();
        EXPECT_NE(run.m_desktop->Panel(), nullptr);
        dialog.reject();
    });
    run.m_desktop->Frame().findChild<QToolButton*>(QStringLiteral("125"))->click();
    EXPECT_TRUE(customize.WasHandled());
    EXPECT_TRUE(PumpUntil([&] { return run.m_desktop->Panel() == nullptr; }));
}

TEST(DesktopProgram, PostedExitEndsTheProgramFromEveryState)
{
    const struct {
        const char* pName;
        std::function<void(DesktopRun&)> enter;
        const char* pCameras = "simulated:2xFL3-U3-13Y3M";
    } states[] = {
        { "live", [](DesktopRun& run) { PumpUntil([&] { return run.IsLive(); }); } },
        { "recording",
            [](DesktopRun& run) {
                PumpUntil([&] { return run.IsLive() && run.Button(1028).isEnabled(); });
                run.Button(1028).click();
                PumpUntil([&] { return run.Doc().m_capture.m_iCaptureState == capture_state::kRecording; });
            } },
        { "waiting for a trigger", [](DesktopRun& run) { ById<QCheckBox>(run.Panel(), 1032)->click(); } },
        { "waiting for a trigger without a strobe",
            [](DesktopRun& run) {
                PumpUntil([&] { return run.IsLive() && run.Button(1028).isEnabled(); });
                ById<QCheckBox>(run.Panel(), 1032)->click();
                EXPECT_TRUE(run.Doc().m_capture.m_bTriggerWaitLinear);
            },
            "simulated:2xGRAS-03K2" },
        { "playback",
            [](DesktopRun& run) {
                PumpUntil([&] { return run.IsLive() && run.Button(1028).isEnabled(); });
                run.Button(1028).click();
                PumpUntil([&] { return run.IsRecorded(); });
                run.Button(1022).click();
                EXPECT_TRUE(run.Doc().m_capture.m_bPlayback);
            } },
        { "panel closed", [](DesktopRun& run) { run.m_desktop->CarryOut(command::kTogglePanel); } },
        { "document closed",
            [](DesktopRun& run) {
                for (CVireoView* pView : run.m_desktop->Views())
                    pView->parentWidget()->close();
            } },
    };
    const std::size_t uiThreads = ThreadCount();
    for (const auto& state : states) {
        SCOPED_TRACE(state.pName);
        DesktopRun run(state.pCameras);
        ASSERT_TRUE(run.Start());
        EXPECT_GT(ThreadCount(), uiThreads);
        state.enter(run);
        run.m_desktop->Frame().close(); // the close box
        ASSERT_TRUE(PumpUntil([&] { return !run.m_desktop->Frame().isVisible(); }));
        EXPECT_FALSE(run.Doc().m_capture.m_bCapturing);
        EXPECT_EQ(run.m_desktop->Panel(), nullptr);
        EXPECT_TRUE(run.m_desktop->Views().empty());
        WindowRect rect;
        EXPECT_TRUE(LoadViewRect(*run.m_app, "CAM01", rect));
        EXPECT_NE(test::ReadFile(run.m_folder / "Tessel.ini").find("[MAIN_WINDOW]"), std::string::npos);
        EXPECT_EQ(ThreadCount(), uiThreads);
    }
}

TEST(DesktopProgram, TerminationClosesAnOpenBoxFirst)
{
    DesktopRun run("simulated:FL3-U3-13Y3M");
    ASSERT_TRUE(run.Start());
    OnDialog<QMessageBox> box([&](QMessageBox&) {
        run.m_window.Terminate();
        run.m_window.PostCommand(command::kExit);
    });
    std::thread([&] { run.m_window.ShowMessage({ "failed", {}, false }); }).join();
    EXPECT_TRUE(PumpUntil([&] { return !run.m_desktop->Frame().isVisible(); }));
}

TEST(DesktopProgram, PartnerStartsAndStopsByMessages)
{
    DesktopRun run("simulated:GS3-U3-23S6M", "", test::PartnersRequest(100, { "take.avi" }));
    ASSERT_TRUE(run.m_desktop->Start());
    ASSERT_TRUE(PumpUntil([&] { return run.IsLive(); }));
    const auto send = [&](int iIdentifier, const char* pText) {
        std::thread link([&] {
            run.m_test->m_partner.Deliver("Tessel", { PartnerMessage::Kind::CopyData, iIdentifier, pText });
        });
        std::atomic<bool> bAnswered = false;
        std::thread wait([&] {
            link.join();
            bAnswered = true;
        });
        const bool bReturned = PumpUntil([&] { return bAnswered.load(); });
        wait.join();
        return bReturned;
    };
    EXPECT_TRUE(send(1082, "2"));
    EXPECT_TRUE(send(1081, "7"));
    EXPECT_FALSE(run.Doc().m_store.m_bStartRequest);
    EXPECT_TRUE(send(1081, "2"));
    ASSERT_TRUE(PumpUntil([&] { return run.Doc().m_capture.m_iCaptureState == capture_state::kRecording; }));
    EXPECT_TRUE(send(1081, "1"));
    ASSERT_TRUE(PumpUntil([&] { return !run.m_desktop->Frame().isVisible(); })) << "saved and ended by itself";
    ASSERT_EQ(run.m_videos.Files().size(), 1U);
    EXPECT_FALSE(run.m_videos.Files()[0].exposuresUs.empty());
    EXPECT_EQ(run.m_app->ExitInstance(0, true), 0);
}

} // namespace
} // namespace vireo
