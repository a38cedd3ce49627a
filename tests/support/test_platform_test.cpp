#include "support/test_platform.h"

#include <gtest/gtest.h>

namespace vireo::test {
namespace {

TEST(TestPlatform, RecordsWhatTheScreenIsAskedAndAnswersFromTheScript)
{
    TestPlatform test;
    test.m_window.AnswerConfirmCameras(false);
    test.m_window.AnswerSavePath("/videos/a.avi");

    WindowSystem& window = test.m_platform.window;
    window.ShowMessage({ "text", "title", true });
    window.PostCommand(command::kSave);
    EXPECT_FALSE(window.ConfirmCameras({}));
    EXPECT_TRUE(window.ConfirmCameras({}));
    EXPECT_EQ(window.ChooseSavePath({}), "/videos/a.avi");
    EXPECT_EQ(window.ChooseSavePath({}), std::nullopt);

    const WindowRecord record = test.m_window.Record();
    EXPECT_EQ(record.MessageTexts(), std::vector<std::string> { "text" });
    EXPECT_EQ(record.commands, std::vector<int> { command::kSave });
    EXPECT_EQ(record.confirmedCameras.size(), 2U);
    EXPECT_EQ(record.savePathRequests.size(), 2U);
}

TEST(TestPlatform, SettlingPassesOnTheClock)
{
    TestPlatform test;
    test.m_platform.window.Settle(250);
    EXPECT_EQ(test.m_platform.clock.Now(), 250 * kNsPerMs);
}

TEST(TestPlatform, UsesThePartsThatTheTestBrings)
{
    SteppedClock clock;
    RecordedWindow window(&clock);
    const TestPlatform test({ .pClock = &clock, .pWindow = &window });
    EXPECT_EQ(&test.m_platform.clock, &clock);
    EXPECT_EQ(&test.m_platform.window, &window);
    EXPECT_EQ(&test.m_platform.memory, &test.m_memory);
}

TEST(TestPlatform, WaitsForWhatAnotherThreadShows)
{
    TestPlatform test;
    std::thread other([&] { test.m_platform.window.PostCommand(command::kExit); });
    EXPECT_TRUE(test.m_window.WaitFor(kForever, [](const WindowRecord& record) { return !record.commands.empty(); }));
    other.join();
}

} // namespace
} // namespace vireo::test
