#include "platform/headless/headless_window.h"
#include "platform/time/virtual_clock.h"

#include <gtest/gtest.h>

using namespace vireo;

namespace {

class HeadlessWindowTest : public ::testing::Test {
protected:
    VirtualClock m_clock;
    std::vector<std::string> m_lines;
    HeadlessWindow m_window { m_clock, [this](const std::string& strLine) { m_lines.push_back(strLine); } };
};

} // namespace

TEST_F(HeadlessWindowTest, AMessageIsOneLineWithoutItsLineEnd)
{
    m_window.ShowMessage({ "first\nsecond\n", "", false });
    m_window.ShowMessage({ "文字の変換に失敗しました", "エラー", true });
    EXPECT_EQ(m_lines, (std::vector<std::string> { "first second", "エラー: 文字の変換に失敗しました" }));
    EXPECT_EQ(m_window.Messages(), m_lines);
}

TEST_F(HeadlessWindowTest, LinesOfOtherThreadsAreShownWhileTheUserInterfaceThreadWaits)
{
    ClockThread reporter(m_clock, [&] {
        m_window.ShowMessage({ "first", "", false });
        EXPECT_TRUE(m_lines.empty()) << "whoever reports does not wait for the terminal";
        m_clock.SleepMs(3);
        m_window.ShowMessage({ "second", "", false });
    });
    EXPECT_TRUE(m_window.WaitFor([&] { return m_lines.size() == 2; }, kForever));
    EXPECT_EQ(m_lines, (std::vector<std::string> { "first", "second" }));
    EXPECT_EQ(m_clock.Now(), 3 * kNsPerMs);
}

TEST_F(HeadlessWindowTest, NoLineIsLostAtItsEnd)
{
    std::vector<std::string> lines;
    {
        HeadlessWindow window(m_clock, [&](const std::string& strLine) { lines.push_back(strLine); });
        ClockThread(m_clock, [&] { window.ShowMessage({ "late", "", false }); }).Join();
    }
    EXPECT_EQ(lines, std::vector<std::string> { "late" });
}

TEST_F(HeadlessWindowTest, AConfirmationIsYesAndASavePathQuestionIsCancel)
{
    EXPECT_TRUE(m_window.ConfirmCameras({}));
    EXPECT_FALSE(m_window.ChooseSavePath({}).has_value());
}

TEST_F(HeadlessWindowTest, CommandsOfOtherThreadsAreServedInOrderOnTheWaitingThread)
{
    std::vector<int> served;
    m_window.OnCommand([&](int iCommand) { served.push_back(iCommand); });
    ClockThread poster(m_clock, [&] {
        m_window.PostCommand(1);
        m_clock.SleepMs(3);
        m_window.PostCommand(2);
    });
    EXPECT_TRUE(m_window.WaitFor([&] { return served.size() == 2; }, kForever));
    EXPECT_EQ(served, (std::vector<int> { 1, 2 }));
    EXPECT_EQ(m_clock.Now(), 3 * kNsPerMs);
}

TEST_F(HeadlessWindowTest, AWaitEndsAtItsDeadline)
{
    EXPECT_FALSE(m_window.WaitFor([] { return false; }, 250 * kNsPerMs));
    EXPECT_EQ(m_clock.Now(), 250 * kNsPerMs);
}

TEST_F(HeadlessWindowTest, ViewTimersFireAtTheirPeriodsUntilSwitchedOff)
{
    int iLive = 0;
    int iSlow = 0;
    m_window.OnTimer([&](int iTimer) { ++(iTimer == timer::kRefreshLive ? iLive : iSlow); });
    m_window.SetViewTimers(true);
    m_window.WaitFor([] { return false; }, 1000 * kNsPerMs);
    EXPECT_EQ(iLive, 10);
    EXPECT_EQ(iSlow, 5);
    m_window.SetViewTimers(false);
    m_window.WaitFor([] { return false; }, 2000 * kNsPerMs);
    EXPECT_EQ(iLive, 10);
}

TEST_F(HeadlessWindowTest, TheExitTimerFiresOnceAfterTwoHundredMilliseconds)
{
    std::vector<ClockTime> fired;
    m_window.OnTimer([&](int iTimer) {
        EXPECT_EQ(iTimer, timer::kExit);
        fired.push_back(m_clock.Now());
    });
    m_window.StartExitTimer();
    m_window.WaitFor([] { return false; }, 1000 * kNsPerMs);
    EXPECT_EQ(fired, (std::vector<ClockTime> { 200 * kNsPerMs }));
}

TEST_F(HeadlessWindowTest, SeveralPanelRefreshesBeforeItIsServedAreOne)
{
    int iRefreshes = 0;
    m_window.OnPanelRefresh([&] { ++iRefreshes; });
    m_window.RefreshPanel();
    m_window.RefreshPanel();
    EXPECT_TRUE(m_window.WaitFor([&] { return iRefreshes > 0; }, kForever));
    EXPECT_EQ(iRefreshes, 1);
}

TEST_F(HeadlessWindowTest, ProgressTellsPositionAndRange)
{
    std::vector<std::pair<int, int>> seen;
    m_window.OnProgress([&](int iPosition, int iRange) { seen.emplace_back(iPosition, iRange); });
    m_window.BeginProgress(10);
    m_window.SetProgress(4);
    EXPECT_EQ(seen, (std::vector<std::pair<int, int>> { { 0, 10 }, { 4, 10 } }));
}
