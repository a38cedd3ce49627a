#pragma once
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

namespace vireo {

/// Time in nanoseconds since the clock's start; the performance counter of the program.
using ClockTime = std::int64_t;
constexpr ClockTime kForever = std::numeric_limits<ClockTime>::max();
constexpr ClockTime kNsPerUs = 1'000;
constexpr ClockTime kNsPerMs = 1'000'000;
constexpr ClockTime kNsPerSecond = 1'000'000'000;

/// A place where threads wait for a state change; the clock's counterpart of a condition variable.
/// Owned by whoever owns the state, used only through a Clock, and outlives every wait on it.
class WaitPoint {
public:
    WaitPoint() = default;
    WaitPoint(const WaitPoint&) = delete;
    WaitPoint& operator=(const WaitPoint&) = delete;

private:
    friend class RealClock;
    std::condition_variable m_changed; ///< used by the real clock; the virtual one keeps its own list
};

/// The one source of time. Every pause, poll, timed wait and simulated exposure goes through it, so
/// that the same code runs in real time and, in tests, in a virtual time that jumps from deadline to
/// deadline. All functions may be called from any thread; none throws.
///
/// In virtual time only threads made by ClockThread (and the one that made the clock) take part:
/// when all of them wait, time jumps to the earliest deadline. Such a thread must never block on
/// another one but through the clock (Wait, SleepUntil, ClockThread::Join), and must hold no lock
/// beside the one that it passes to Wait.
class Clock {
public:
    virtual ~Clock() = default;

    /// The performance counter, in ns. Never decreases.
    virtual ClockTime Now() const = 0;
    /// Counts of Now() in a second.
    static constexpr std::int64_t Frequency() { return kNsPerSecond; }

    /// Sleeps until `deadline` (never kForever); returns at once when it has passed.
    virtual void SleepUntil(ClockTime deadline) = 0;
    void SleepMs(std::int64_t iMilliseconds) { SleepUntil(Now() + iMilliseconds * kNsPerMs); }

    /// Releases `lock`, waits until NotifyAll(point) or `deadline` (kForever: no limit), locks again.
    /// May return early; callers test their condition in a loop (WaitUntil below does).
    virtual void Wait(std::unique_lock<std::mutex>& lock, WaitPoint& point, ClockTime deadline) = 0;
    /// Wakes every thread that waits at `point`. The state it tests must have been changed under the
    /// mutex that the waiters pass to Wait; the caller may or may not still hold it.
    virtual void NotifyAll(WaitPoint& point) = 0;

    /// Waits until `condition()` holds. False when `deadline` passed first.
    template <typename Condition>
    bool WaitUntil(std::unique_lock<std::mutex>& lock, WaitPoint& point, ClockTime deadline, Condition condition)
    {
        while (!condition()) {
            if (deadline != kForever && Now() >= deadline)
                return condition();
            Wait(lock, point, deadline);
        }
        return true;
    }

    /// A thread that will take part in this clock's time; called by the parent, before it runs.
    virtual void AddThread(std::uint64_t uiThread) = 0;
    /// Such a thread will not come after all; called by the parent.
    virtual void DropThread(std::uint64_t uiThread) = 0;
    /// First and last call of such a thread itself.
    virtual void EnterThread(std::uint64_t uiThread) = 0;
    virtual void LeaveThread(std::uint64_t uiThread) = 0;
    /// A number for AddThread, distinct for the life of the clock.
    virtual std::uint64_t NewThreadNumber() = 0;
};

/// A thread that lives in a clock's time. Joined by Join() or the destructor, never detached. Not joinable when
/// the system has no thread to give.
class ClockThread {
public:
    ClockThread() = default;
    ClockThread(Clock& clock, std::function<void()> run)
        : m_clock(&clock)
        , m_shared(std::make_unique<Shared>())
    {
        const std::uint64_t uiThread = clock.NewThreadNumber();
        clock.AddThread(uiThread);
        try {
            m_thread = std::thread([&clock, uiThread, &shared = *m_shared, run = std::move(run)] {
                clock.EnterThread(uiThread);
                run();
                {
                    std::lock_guard lock(shared.m_mutex);
                    shared.m_bEnded = true;
                }
                clock.NotifyAll(shared.m_ended);
                clock.LeaveThread(uiThread);
            });
        } catch (const std::system_error&) {
            clock.DropThread(uiThread);
        }
    }
    ClockThread(ClockThread&&) = default;
    ClockThread& operator=(ClockThread&& other) // NOLINT(performance-noexcept-move-constructor): joins first
    {
        Join();
        m_clock = other.m_clock;
        m_shared = std::move(other.m_shared);
        m_thread = std::move(other.m_thread);
        return *this;
    }
    ~ClockThread() { Join(); }

    [[nodiscard]] bool Joinable() const { return m_thread.joinable(); }
    [[nodiscard]] bool IsCurrent() const { return m_thread.get_id() == std::this_thread::get_id(); }

    /// Waits until the thread's function has returned. Returns at once when there is no thread.
    void Join()
    {
        if (!m_thread.joinable())
            return;
        WaitEnded(kForever);
        m_thread.join();
    }
    /// Waits until `deadline` for the thread's function to return; false when it still runs.
    bool WaitEnded(ClockTime deadline)
    {
        if (!m_thread.joinable())
            return true;
        std::unique_lock lock(m_shared->m_mutex);
        return m_clock->WaitUntil(lock, m_shared->m_ended, deadline, [this] { return m_shared->m_bEnded; });
    }

private:
    struct Shared {
        std::mutex m_mutex;
        WaitPoint m_ended;
        bool m_bEnded = false;
    };
    Clock* m_clock = nullptr;
    std::unique_ptr<Shared> m_shared;
    std::thread m_thread;
};

} // namespace vireo
