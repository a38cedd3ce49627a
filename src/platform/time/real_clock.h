#pragma once
#include "platform/clock.h"

#include <atomic>
#include <chrono>

namespace vireo {

/// The machine's steady clock, counted from the object's construction. Thread registration costs nothing.
class RealClock : public Clock {
public:
    RealClock();
    ClockTime Now() const override;
    void SleepUntil(ClockTime deadline) override;
    void Wait(std::unique_lock<std::mutex>& lock, WaitPoint& point, ClockTime deadline) override;
    void NotifyAll(WaitPoint& point) override;
    void AddThread(std::uint64_t) override { }
    void DropThread(std::uint64_t) override { }
    void EnterThread(std::uint64_t) override { }
    void LeaveThread(std::uint64_t) override { }
    std::uint64_t NewThreadNumber() override { return ++m_uiThreads; }

private:
    std::chrono::steady_clock::time_point At(ClockTime time) const;

    std::chrono::steady_clock::time_point m_start;
    std::atomic<std::uint64_t> m_uiThreads = 0;
};

} // namespace vireo
