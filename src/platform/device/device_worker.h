#pragma once
#include "platform/clock.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace vireo {

/// The one thread that talks to a device. A device that has died keeps its caller for many seconds;
/// here only this thread waits for it, and callers give up earlier. Jobs run in the order they came.
/// What a job touches must belong to it: it may still run when its caller has long gone.
class DeviceWorker {
public:
    /// Throws nothing: see HasThread.
    explicit DeviceWorker(Clock& clock);
    /// Waits at most `kGrace` for the jobs that are left, unless abandoned; then they end by themselves.
    ~DeviceWorker();
    DeviceWorker(const DeviceWorker&) = delete;
    DeviceWorker& operator=(const DeviceWorker&) = delete;

    static constexpr ClockTime kGrace = 2 * kNsPerSecond;
    static constexpr const char* kNoThread = "the system has no thread left for it";

    /// False when the system had none to give: no job is ever run then.
    bool HasThread() const { return m_thread.joinable(); }

    /// Puts a job into the queue and returns.
    void Post(std::function<void()> job);

    /// The device is dead: nobody waits for it at the end.
    void Abandon() { m_bAbandoned = true; }

    /// Runs `job` on the thread and returns its result; nothing when it takes longer than `limit`, and at once when
    /// there is no thread.
    template <typename Job> auto Call(Job job, ClockTime limit) -> std::optional<decltype(job())>
    {
        using Result = decltype(job());
        if (!HasThread())
            return std::nullopt;
        auto ticket = std::make_shared<Ticket>(m_clock);
        auto result = std::make_shared<std::optional<Result>>();
        Post([job = std::move(job), ticket, result] {
            result->emplace(job());
            ticket->Finish();
        });
        if (!ticket->Wait(m_clock.Now() + limit))
            return std::nullopt;
        return std::move(*result);
    }

private:
    /// Where a caller waits for its job; after it has given up, the job finds no clock to ring.
    class Ticket {
    public:
        explicit Ticket(Clock& clock)
            : m_pClock(&clock)
        {
        }
        void Finish();
        bool Wait(ClockTime deadline);

    private:
        std::mutex m_mutex;
        WaitPoint m_finished;
        Clock* m_pClock;
        bool m_bFinished = false;
    };
    struct Queue {
        std::mutex m_mutex;
        std::condition_variable m_changed; // not on the clock: the thread may outlive it
        std::deque<std::function<void()>> m_jobs;
        bool m_bQuit = false;
    };
    static void Run(const std::shared_ptr<Queue>& queue);

    Clock& m_clock;
    std::shared_ptr<Queue> m_queue;
    bool m_bAbandoned = false;
    std::thread m_thread;
};

} // namespace vireo
