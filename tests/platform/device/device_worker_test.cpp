#include "platform/device/device_worker.h"
#include "platform/time/real_clock.h"
#include "platform/time/virtual_clock.h"
#include "support/no_thread_left.h"

#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <vector>

namespace vireo {

namespace {

TEST(DeviceWorker, JobsRunInTheirOrderAndAnswer)
{
    RealClock clock;
    DeviceWorker worker(clock);
    std::vector<int> order;
    for (int i = 0; i < 10; i++)
        worker.Post([&order, i] { order.push_back(i); });
    const auto size = worker.Call([&order] { return order.size(); }, kForever / 2);
    EXPECT_EQ(size, 10U);
    EXPECT_EQ(order, (std::vector<int> { 0, 1, 2, 3, 4, 5, 6, 7, 8, 9 }));
}

TEST(DeviceWorker, ACallerDoesNotWaitForADeadDevice)
{
    // Virtual time passes at once for who waits in it, and the device's thread takes no part.
    VirtualClock clock;
    auto release = std::make_shared<std::promise<void>>();
    auto finished = std::make_shared<std::promise<void>>();
    {
        DeviceWorker worker(clock);
        const std::shared_future<void> released = release->get_future().share();
        const auto answer = worker.Call(
            [released, finished] {
                released.wait();
                finished->set_value();
                return 1;
            },
            2 * kNsPerSecond);
        EXPECT_FALSE(answer.has_value());
        EXPECT_EQ(clock.Now(), 2 * kNsPerSecond);
    } // leaves it behind
    EXPECT_EQ(clock.Now(), 2 * kNsPerSecond + DeviceWorker::kGrace);
    release->set_value();
    finished->get_future().wait(); // it ended its work all the same
}

TEST(DeviceWorker, WithoutAThreadNobodyWaitsAndNothingRuns)
{
    VirtualClock clock;
    bool bRan = false;
    {
        const test::NoThreadLeft none;
        DeviceWorker worker(clock);
        EXPECT_FALSE(worker.HasThread());
        worker.Post([&bRan] { bRan = true; });
        EXPECT_FALSE(worker.Call([] { return 1; }, 2 * kNsPerSecond).has_value());
    }
    EXPECT_FALSE(bRan);
    EXPECT_EQ(clock.Now(), 0);
    DeviceWorker worker(clock);
    EXPECT_TRUE(worker.HasThread());
}

TEST(DeviceWorker, WhatAJobHoldsIsLetGoOnItsThread)
{
    RealClock clock;
    std::atomic<std::thread::id> released;
    struct Holder {
        std::atomic<std::thread::id>& m_released;
        ~Holder() { m_released = std::this_thread::get_id(); }
    };
    DeviceWorker worker(clock);
    worker.Post([held = std::shared_ptr<Holder>(new Holder { released })]() mutable { held.reset(); });
    const auto thread = worker.Call([] { return std::this_thread::get_id(); }, kForever / 2);
    EXPECT_EQ(released.load(), thread);
}

} // namespace

} // namespace vireo
