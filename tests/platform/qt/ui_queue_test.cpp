#include "platform/qt/ui_queue.h"
#include "support/qt_tools.h"

#include <memory>
#include <thread>
#include <vector>

namespace vireo {
namespace {

using test::Pump;

TEST(UiQueue, KeepsTheOrderOfEachThread)
{
    UiQueue queue;
    std::vector<int> done;
    std::thread other([&] {
        for (int i = 0; i < 100; ++i)
            queue.Post([&done, i] { done.push_back(i); });
    });
    other.join();
    EXPECT_TRUE(done.empty()) << "nothing runs on another thread";
    ASSERT_TRUE(test::PumpUntil([&] { return done.size() == 100; }));
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(done[static_cast<std::size_t>(i)], i);
}

TEST(UiQueue, HoldsWorkBackWhileBusy)
{
    UiQueue queue;
    int iDone = 0;
    auto outer = std::make_unique<UiQueue::Busy>(queue);
    auto inner = std::make_unique<UiQueue::Busy>(queue);
    queue.Post([&] { ++iDone; });
    queue.Post([&] { ++iDone; });
    Pump();
    EXPECT_EQ(iDone, 0);
    inner.reset();
    Pump();
    EXPECT_EQ(iDone, 0);
    EXPECT_TRUE(queue.IsBusy());
    outer.reset();
    EXPECT_FALSE(queue.IsBusy());
    ASSERT_TRUE(test::PumpUntil([&] { return iDone == 2; }));
}

TEST(UiQueue, DoesOnePieceAtATime)
{
    UiQueue queue;
    bool bInside = false;
    bool bNested = false;
    int iDone = 0;
    for (int i = 0; i < 2; ++i)
        queue.Post([&] {
            bNested = bNested || bInside;
            bInside = true;
            Pump(); // as a box's event loop would
            bInside = false;
            ++iDone;
        });
    ASSERT_TRUE(test::PumpUntil([&] { return iDone == 2; }));
    EXPECT_FALSE(bNested);
}

TEST(UiQueue, DropsWhatIsDiscarded)
{
    UiQueue queue;
    bool bDone = false;
    queue.Post([&] { bDone = true; });
    queue.Discard();
    Pump();
    EXPECT_FALSE(bDone);
}

} // namespace
} // namespace vireo
