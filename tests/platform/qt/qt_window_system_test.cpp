#include "platform/qt/qt_window_system.h"
#include "support/fakes.h"
#include "support/qt_tools.h"
#include "support/recorded_log.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QListView>
#include <QMessageBox>
#include <thread>
#include <vector>

namespace vireo {
namespace {

using test::OnDialog;
using test::Pump;
using test::PumpUntil;

/// Windows that note what they are asked, in order.
class NotedWindows : public DesktopWindows {
public:
    std::vector<std::string> m_calls;
    QWidget m_frame;
    QWidget* DialogOwner() override { return &m_frame; }
    void CarryOut(int iCommand) override { Note("command " + std::to_string(iCommand)); }
    void OnTimer(int iTimer) override { Note("timer " + std::to_string(iTimer)); }
    void RedrawView(int iCamera) override { Note("redraw " + std::to_string(iCamera)); }
    void PlaceViews() override { Note("place"); }
    void SetMainTitle(const std::string& strTitle) override { Note("title " + strTitle); }
    void SetStatusText(const std::string& strText) override { Note("status " + strText); }
    void AddRecentFile(const std::string& strFile) override { Note("recent file " + strFile); }
    void RefreshPanel() override { Note("refresh"); }
    void ShowControlPanel(bool bShow) override { Note(bShow ? "show" : "hide"); }
    void BeginProgress(int iRange) override { Note("begin " + std::to_string(iRange)); }
    void SetProgress(int iPosition) override { Note("progress " + std::to_string(iPosition)); }
    void EndProgress() override { Note("end"); }
    [[nodiscard]] std::size_t Count(const std::string& strCall) const
    {
        return static_cast<std::size_t>(std::count(m_calls.begin(), m_calls.end(), strCall));
    }

private:
    void Note(const std::string& strCall) { m_calls.push_back(strCall); }
};

class QtWindowSystemTest : public testing::Test {
protected:
    QtWindowSystemTest() { m_window.SetWindows(&m_windows); }
    using Calls = std::vector<std::string>;

    test::SteppedClock m_clock;
    test::RecordedLog m_log;
    NotedWindows m_windows;
    QtWindowSystem m_window { m_clock, m_log };
};

TEST_F(QtWindowSystemTest, CallsOfOtherThreadsReturnAtOnceAndKeepTheirOrder)
{
    std::thread([this] {
        m_window.SetMainTitle("a");
        m_window.PostCommand(1023);
        m_window.RefreshPanel();
        m_window.PostCommand(57665);
    }).join();
    EXPECT_TRUE(m_windows.m_calls.empty());
    ASSERT_TRUE(PumpUntil([this] { return m_windows.m_calls.size() == 4; }));
    EXPECT_EQ(m_windows.m_calls, (Calls { "title a", "command 1023", "refresh", "command 57665" }));
}

TEST_F(QtWindowSystemTest, MessageShowsItsTextWithoutTheLineEnd)
{
    QString strText, strTitle;
    QMessageBox::Icon eIcon = QMessageBox::NoIcon;
    OnDialog<QMessageBox> box([&](QMessageBox& shown) {
        strText = shown.text();
        strTitle = shown.windowTitle();
        eIcon = shown.icon();
        EXPECT_EQ(shown.textFormat(), Qt::PlainText);
        shown.accept();
    });
    m_window.ShowMessage({ "文字の変換に失敗しました <b>%s</b>\n", "エラー", true });
    EXPECT_EQ(strText, QStringLiteral("文字の変換に失敗しました <b>%s</b>"));
    EXPECT_EQ(strTitle, QStringLiteral("エラー"));
    EXPECT_EQ(eIcon, QMessageBox::Critical);
}

TEST_F(QtWindowSystemTest, MessageWithoutTitleBearsTheProgramsName)
{
    QString strTitle;
    OnDialog<QMessageBox> box([&](QMessageBox& shown) {
        strTitle = shown.windowTitle();
        shown.accept();
    });
    m_window.ShowMessage({ "x", {}, false });
    EXPECT_EQ(strTitle, QStringLiteral("Tessel"));
}

TEST_F(QtWindowSystemTest, MessageBelongsToTheDialogThatIsOpen)
{
    QWidget* pOwner = nullptr;
    const auto show = [&] {
        OnDialog<QMessageBox> box([&](QMessageBox& shown) {
            pOwner = shown.parentWidget();
            shown.accept();
        });
        m_window.ShowMessage({ "x", {}, false });
    };
    show();
    EXPECT_EQ(pOwner, &m_windows.m_frame);
    QDialog settings(&m_windows.m_frame);
    settings.setModal(true);
    settings.show();
    show();
    EXPECT_EQ(pOwner, &settings);
}

TEST_F(QtWindowSystemTest, PostedCommandsWaitForTheBoxAndTimersDoNot)
{
    m_window.SetViewTimers(true);
    bool bEarly = false;
    OnDialog<QMessageBox> box([&](QMessageBox& shown) {
        std::thread([this] { m_window.PostCommand(1023); }).join();
        m_windows.m_calls.clear();
        ASSERT_TRUE(PumpUntil([this] { return m_windows.Count("timer 10") >= 2; }));
        bEarly = m_windows.Count("command 1023") > 0;
        shown.accept();
    });
    m_window.ShowMessage({ "x", {}, false });
    EXPECT_FALSE(bEarly);
    EXPECT_TRUE(PumpUntil([this] { return m_windows.Count("command 1023") == 1; }));
}

TEST_F(QtWindowSystemTest, MessageOfAnotherThreadWaitsForTheOneThatIsOpen)
{
    int iOpen = 0;
    int iMostOpen = 0;
    int iShown = 0;
    const auto handle = [&](QMessageBox& shown) {
        iMostOpen = std::max(iMostOpen, ++iOpen);
        Pump();
        --iOpen;
        ++iShown;
        shown.accept();
    };
    std::thread([this] {
        m_window.ShowMessage({ "first", {}, false });
        m_window.ShowMessage({ "second", {}, false });
    }).join();
    OnDialog<QMessageBox> boxes(handle, 2);
    ASSERT_TRUE(PumpUntil([&] { return iShown == 2; }));
    EXPECT_EQ(iMostOpen, 1);
}

TEST_F(QtWindowSystemTest, ViewTimersRunUntilTheyAreSwitchedOff)
{
    m_window.SetViewTimers(true);
    m_window.SetViewTimers(true); // harmless
    ASSERT_TRUE(PumpUntil([this] { return m_windows.Count("timer 20") >= 2; }));
    EXPECT_GE(m_windows.Count("timer 10"), m_windows.Count("timer 20"));
    m_window.SetViewTimers(false);
    Pump();
    const auto calls = m_windows.m_calls;
    m_window.StartExitTimer(); // measures the time that the others stay silent
    ASSERT_TRUE(PumpUntil([this] { return m_windows.Count("timer 30") == 1; }));
    EXPECT_EQ(m_windows.m_calls.size(), calls.size() + 1) << "one shot, and nothing else";
}

TEST_F(QtWindowSystemTest, ExitTimerWaitsWhileAnActionRuns)
{
    auto busy = std::make_unique<UiQueue::Busy>(m_window.Queue());
    m_window.SetViewTimers(true);
    m_window.StartExitTimer();
    ASSERT_TRUE(PumpUntil([this] { return m_windows.Count("timer 10") >= 4; }));
    EXPECT_EQ(m_windows.Count("timer 30"), 0U);
    busy.reset();
    EXPECT_TRUE(PumpUntil([this] { return m_windows.Count("timer 30") == 1; }));
}

TEST_F(QtWindowSystemTest, NothingIsDeliveredToWindowsThatAreGone)
{
    std::thread([this] {
        m_window.RedrawView(0);
        m_window.SetMainTitle("x");
        m_window.PostCommand(1023);
    }).join();
    m_window.SetWindows(nullptr);
    Pump();
    EXPECT_TRUE(m_windows.m_calls.empty());
}

TEST_F(QtWindowSystemTest, SaveProgressHoldsCommandsBackAndShowsTheWaitCursor)
{
    m_window.BeginProgress(100);
    EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    m_window.PostCommand(57665);
    m_window.SetProgress(50);
    Pump();
    EXPECT_EQ(m_windows.Count("command 57665"), 0U) << "a close during a save is remembered";
    m_window.EndProgress();
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    EXPECT_TRUE(PumpUntil([this] { return m_windows.Count("command 57665") == 1; }));
    EXPECT_EQ(m_windows.m_calls, (Calls { "begin 100", "progress 50", "end", "command 57665" }));
}

TEST_F(QtWindowSystemTest, EveryProgressEndsOnce)
{
    m_window.EndProgress();
    EXPECT_TRUE(m_windows.m_calls.empty());
    m_window.BeginProgress(1);
    m_window.EndProgress();
    m_window.EndProgress();
    EXPECT_EQ(m_windows.m_calls, (Calls { "begin 1", "end" }));
    EXPECT_FALSE(m_window.Queue().IsBusy());
}

TEST_F(QtWindowSystemTest, SaveDialogAsksAsItShould)
{
    OnDialog<QFileDialog> dialog([](QFileDialog& shown) {
        EXPECT_EQ(shown.acceptMode(), QFileDialog::AcceptSave);
        EXPECT_EQ(shown.nameFilters(), QStringList { QStringLiteral("ファイル(*.avi)") });
        EXPECT_EQ(shown.defaultSuffix(), QStringLiteral("avi"));
        EXPECT_EQ(shown.directory().absolutePath(), QDir::tempPath());
        const auto* pSideBar = shown.findChild<QListView*>(QStringLiteral("sidebar"));
        ASSERT_NE(pSideBar, nullptr);
        EXPECT_GE(pSideBar->width(), pSideBar->sizeHintForColumn(0)) << "no name in it is cut off";
        EXPECT_FALSE(shown.testOption(QFileDialog::DontConfirmOverwrite)) << "asks before it overwrites";
        auto* pName = shown.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        ASSERT_NE(pName, nullptr);
        EXPECT_EQ(pName->text(), QStringLiteral("*.avi"));
        pName->setText(QStringLiteral("take.new"));
        QMetaObject::invokeMethod(&shown, "accept");
    });
    const auto strPath = m_window.ChooseSavePath({ "ファイル(*.avi)", "*.avi", "avi", QDir::tempPath().toStdString() });
    EXPECT_EQ(strPath, QDir::tempPath().toStdString() + "/take.new");
}

TEST_F(QtWindowSystemTest, SaveDialogTakesNoPatternForAName)
{
    OnDialog<QFileDialog> dialog([](QFileDialog& shown) {
        auto* pName = shown.findChild<QLineEdit*>();
        for (const char* pPattern : { "*.avi", "take?" }) {
            pName->setText(QString::fromLatin1(pPattern));
            QMetaObject::invokeMethod(&shown, "accept");
            EXPECT_TRUE(shown.isVisible()) << pPattern;
            EXPECT_EQ(pName->selectedText(), QString::fromLatin1(pPattern));
        }
        shown.reject();
    });
    EXPECT_EQ(m_window.ChooseSavePath({ "ファイル(*.avi)", "*.avi", "avi", "" }), std::nullopt);
    EXPECT_TRUE(dialog.WasHandled());
}

TEST_F(QtWindowSystemTest, SaveDialogCancelledGivesNoPath)
{
    OnDialog<QFileDialog> dialog([](QFileDialog& shown) { shown.reject(); });
    EXPECT_EQ(m_window.ChooseSavePath({ "ファイル(*.avi)", "*.avi", "avi", "" }), std::nullopt);
}

TEST_F(QtWindowSystemTest, TerminationClosesNestedBoxesAndAsksNoMore)
{
    int iReturned = 0;
    OnDialog<QMessageBox> outer([&](QMessageBox&) {
        m_window.Terminate();
        m_window.ShowMessage({ "late", {}, false });
        ++iReturned;
    });
    m_window.ShowMessage({ "open", {}, false });
    EXPECT_EQ(iReturned, 1);
    EXPECT_FALSE(m_window.ConfirmCameras({}));
    EXPECT_EQ(m_window.ChooseSavePath({}), std::nullopt);
    EXPECT_EQ(m_log.Lines(), std::vector<std::string> { "late" });
}

TEST_F(QtWindowSystemTest, SettlingTakesTheClocksTime)
{
    const ClockTime before = m_clock.Now();
    m_window.Settle(100);
    EXPECT_EQ(m_clock.Now() - before, 100 * kNsPerMs);
}

} // namespace
} // namespace vireo
