#include "platform/device/device_worker.h"

#include <system_error>

namespace vireo {

DeviceWorker::DeviceWorker(Clock& clock)
    : m_clock(clock)
    , m_queue(std::make_shared<Queue>())
{
    try {
        m_thread = std::thread([queue = m_queue] { Run(queue); });
    } catch (const std::system_error&) { // HasThread tells
    }
}

DeviceWorker::~DeviceWorker()
{
    if (!HasThread())
        return;
    const bool bIdle = !m_bAbandoned && Call([] { return true; }, kGrace).has_value();
    {
        std::lock_guard lock(m_queue->m_mutex);
        m_queue->m_bQuit = true;
    }
    m_queue->m_changed.notify_all();
    if (bIdle)
        m_thread.join();
    else
        m_thread.detach(); // it holds all that it still needs
}

void DeviceWorker::Post(std::function<void()> job)
{
    if (!HasThread())
        return;
    {
        std::lock_guard lock(m_queue->m_mutex);
        m_queue->m_jobs.push_back(std::move(job));
    }
    m_queue->m_changed.notify_all();
}

void DeviceWorker::Run(const std::shared_ptr<Queue>& queue)
{
    std::unique_lock lock(queue->m_mutex);
    for (;;) {
        queue->m_changed.wait(lock, [&] { return queue->m_bQuit || !queue->m_jobs.empty(); });
        if (queue->m_jobs.empty())
            return;
        std::function<void()> job = std::move(queue->m_jobs.front());
        queue->m_jobs.pop_front();
        lock.unlock();
        job();
        job = nullptr; // what it held goes before the next one comes
        lock.lock();
    }
}

void DeviceWorker::Ticket::Finish()
{
    std::lock_guard lock(m_mutex);
    m_bFinished = true;
    if (m_pClock != nullptr)
        m_pClock->NotifyAll(m_finished);
}

bool DeviceWorker::Ticket::Wait(ClockTime deadline)
{
    std::unique_lock lock(m_mutex);
    const bool bFinished = m_pClock->WaitUntil(lock, m_finished, deadline, [this] { return m_bFinished; });
    m_pClock = nullptr;
    return bFinished;
}

} // namespace vireo
