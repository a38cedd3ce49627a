#pragma once
#include "platform/clock.h"

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace vireo {

/// Time that stands still while anybody works and jumps to the earliest deadline when everybody waits:
/// a ten-second take with real threads needs only the processor time of its work.
///
/// The threads that take part are the one that made the clock and every ClockThread. A thread that does
/// not take part sees Now() and may call NotifyAll, but must not wait.
///
/// When every thread waits without a deadline nothing could ever happen again: that is a deadlock of the
/// program under test, and the clock ends the process with a message that names it.
class VirtualClock : public Clock {
public:
    /// Sequential: one thread runs at a time, in the order in which they became ready, so that a run is
    /// the same each time. Parallel: all that are ready run at once, as they would on the machine; the
    /// thread sanitizer sees races only so.
    enum class Order { Sequential, Parallel };
    /// Parallel under the thread sanitizer, else Sequential.
    static Order DefaultOrder();

    explicit VirtualClock(Order eOrder = DefaultOrder());
    ~VirtualClock() override;

    ClockTime Now() const override;
    void SleepUntil(ClockTime deadline) override;
    void Wait(std::unique_lock<std::mutex>& lock, WaitPoint& point, ClockTime deadline) override;
    void NotifyAll(WaitPoint& point) override;
    void AddThread(std::uint64_t uiThread) override;
    void DropThread(std::uint64_t uiThread) override;
    void EnterThread(std::uint64_t uiThread) override;
    void LeaveThread(std::uint64_t uiThread) override;
    std::uint64_t NewThreadNumber() override;

private:
    struct Participant {
        std::uint64_t uiThread = 0;
        bool bWaiting = false; ///< in a wait that nothing has ended yet
        bool bRunning = false; ///< allowed to run (sequential order: at most one)
        WaitPoint* pPoint = nullptr; ///< null while it only sleeps
        ClockTime deadline = kForever;
        std::uint64_t uiReadySince = 0; ///< order in which the threads became ready
        std::condition_variable turn;
    };

    Participant& Current();
    void WaitTurn(std::unique_lock<std::mutex>& own, Participant& self);
    void MakeReady(Participant& participant);
    void PassOn(); ///< lets the next thread run, or moves time on
    void AdvanceTime();
    [[noreturn]] void ReportDeadlock() const;

    const Order m_eOrder;
    mutable std::mutex m_mutex;
    ClockTime m_now = 0;
    std::uint64_t m_uiReadyCounter = 0;
    std::uint64_t m_uiThreads = 0;
    std::vector<std::unique_ptr<Participant>> m_participants;
};

} // namespace vireo
