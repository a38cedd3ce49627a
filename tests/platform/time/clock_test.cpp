#include "platform/time/real_clock.h"
#include "platform/time/virtual_clock.h"
#include "support/other_user.h"

#include <atomic>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <sys/resource.h>
#include <vector>

using namespace vireo;

namespace {

/// An event that one wait consumes: Set() lets one Wait() through, also when it came first.
class AutoResetEvent {
public:
    explicit AutoResetEvent(Clock& clock)
        : m_clock(clock)
    {
    }
    void Set()
    {
        {
            std::lock_guard lock(m_mutex);
            m_bSet = true;
        }
        m_clock.NotifyAll(m_changed);
    }
    /// True when the event was set (and is consumed), false when `deadline` passed first.
    bool Wait(ClockTime deadline)
    {
        std::unique_lock lock(m_mutex);
        if (!m_clock.WaitUntil(lock, m_changed, deadline, [this] { return m_bSet; }))
            return false;
        m_bSet = false;
        return true;
    }

private:
    Clock& m_clock;
    std::mutex m_mutex;
    WaitPoint m_changed;
    bool m_bSet = false;
};

} // namespace

TEST(VirtualClock, StartsAtZeroAndJumpsOverASleepAtOnce)
{
    VirtualClock clock;
    EXPECT_EQ(clock.Now(), 0);
    clock.SleepUntil(3600 * kNsPerSecond);
    EXPECT_EQ(clock.Now(), 3600 * kNsPerSecond);
}

TEST(VirtualClock, ASleepIntoThePastDoesNotMoveTime)
{
    VirtualClock clock;
    clock.SleepMs(5);
    clock.SleepUntil(kNsPerMs);
    EXPECT_EQ(clock.Now(), 5 * kNsPerMs);
}

TEST(VirtualClock, ThreadsMeetTheirDeadlinesInOrder)
{
    VirtualClock clock(VirtualClock::Order::Sequential);
    std::mutex mutex;
    std::vector<std::string> order;
    auto sleeper = [&](const char* pName, int iMs) {
        return ClockThread(clock, [&, pName, iMs] {
            clock.SleepMs(iMs);
            std::lock_guard lock(mutex);
            order.push_back(std::string(pName) + std::to_string(clock.Now() / kNsPerMs));
        });
    };
    ClockThread c = sleeper("c", 30);
    ClockThread a = sleeper("a", 10);
    ClockThread b = sleeper("b", 20);
    c.Join();
    a.Join();
    b.Join();
    EXPECT_EQ(order, (std::vector<std::string> { "a10", "b20", "c30" }));
}

TEST(ClockThread, IsNotJoinableAndHoldsNoTimeUpWhenTheSystemHasNoThread)
{
    EXPECT_TRUE(test::RunAsOtherUser([] {
        const rlimit none {};
        ASSERT_EQ(setrlimit(RLIMIT_NPROC, &none), 0);
        VirtualClock clock;
        bool bRan = false;
        ClockThread thread(clock, [&bRan] { bRan = true; });
        EXPECT_FALSE(thread.Joinable());
        EXPECT_TRUE(thread.WaitEnded(kForever));
        thread.Join();
        EXPECT_FALSE(bRan);
        clock.SleepMs(1); // would stand still if the thread were still expected
        EXPECT_EQ(clock.Now(), kNsPerMs);
    }));
}

TEST(VirtualClock, TimeStandsStillWhileAThreadWorks)
{
    VirtualClock clock(VirtualClock::Order::Parallel);
    std::atomic<bool> bGo = false;
    ClockThread worker(clock, [&] {
        while (!bGo.load())
            std::this_thread::yield();
        EXPECT_EQ(clock.Now(), 0);
    });
    bGo.store(true);
    worker.Join();
    clock.SleepMs(1);
    EXPECT_EQ(clock.Now(), kNsPerMs);
}

TEST(VirtualClock, ANotificationEndsAWaitBeforeItsDeadline)
{
    VirtualClock clock;
    AutoResetEvent event(clock);
    bool bGot = false;
    ClockThread waiter(clock, [&] { bGot = event.Wait(10 * kNsPerSecond); });
    clock.SleepMs(7);
    event.Set();
    waiter.Join();
    EXPECT_TRUE(bGot);
    EXPECT_EQ(clock.Now(), 7 * kNsPerMs);
}

TEST(VirtualClock, ADeadlineEndsAWaitThatNobodyNotifies)
{
    VirtualClock clock;
    AutoResetEvent event(clock);
    EXPECT_FALSE(event.Wait(1000 * kNsPerMs));
    EXPECT_EQ(clock.Now(), 1000 * kNsPerMs);
}

TEST(VirtualClock, ThreadsThatAreReadyTogetherTakeTurnsInTheirOrder)
{
    VirtualClock clock(VirtualClock::Order::Sequential);
    std::string strTrace; // no lock: one thread runs at a time
    std::vector<ClockThread> threads;
    for (char c = 'a'; c <= 'd'; ++c)
        threads.emplace_back(clock, [&clock, &strTrace, c] {
            for (int i = 0; i < 2; ++i) {
                clock.SleepUntil((i + 1) * kNsPerMs);
                strTrace += c;
            }
        });
    threads.clear();
    EXPECT_EQ(strTrace, "abcdabcd");
}

TEST(VirtualClock, RunsOfManyThreadsAreTheSameEachTime)
{
    auto run = [] {
        VirtualClock clock(VirtualClock::Order::Sequential);
        std::string strTrace; // no lock: one thread runs at a time
        std::vector<ClockThread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back(clock, [&clock, &strTrace, t] {
                for (int i = 0; i < 50; ++i) {
                    clock.SleepMs((t * 7 + i) % 3);
                    clock.SleepUntil(clock.Now() + kNsPerMs);
                    strTrace += static_cast<char>('0' + t);
                }
            });
        threads.clear();
        return strTrace;
    };
    const std::string strFirst = run();
    EXPECT_EQ(strFirst.size(), 200U);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(run(), strFirst);
}

TEST(VirtualClockDeathTest, AWaitThatNobodyCanEndIsReported)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            VirtualClock clock;
            AutoResetEvent event(clock);
            event.Wait(kForever);
        },
        "deadlock");
}

TEST(RealClock, RunsForwardAndWakesASleeper)
{
    RealClock clock;
    const ClockTime before = clock.Now();
    clock.SleepUntil(before + kNsPerMs);
    EXPECT_GE(clock.Now(), before + kNsPerMs);
}

TEST(ClockThread, JoinWithoutAThreadReturns)
{
    ClockThread thread;
    EXPECT_FALSE(thread.Joinable());
    thread.Join();
    EXPECT_TRUE(thread.WaitEnded(0));
}

TEST(ClockThread, AMovedThreadIsJoinedByItsNewOwner)
{
    VirtualClock clock;
    std::atomic<int> iRuns = 0;
    ClockThread thread(clock, [&] {
        clock.SleepMs(5);
        ++iRuns;
    });
    ClockThread other = std::move(thread);
    EXPECT_FALSE(thread.Joinable());
    other.Join();
    EXPECT_EQ(iRuns.load(), 1);
}
