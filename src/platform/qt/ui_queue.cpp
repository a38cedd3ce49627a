#include "platform/qt/ui_queue.h"

#include <utility>

namespace vireo {

UiQueue::UiQueue() = default;

void UiQueue::Post(std::function<void()> work)
{
    {
        std::lock_guard lock(m_mutex);
        m_work.push_back(std::move(work));
    }
    Wake();
}

void UiQueue::Discard()
{
    std::lock_guard lock(m_mutex);
    m_work.clear();
}

void UiQueue::Wake()
{
    QMetaObject::invokeMethod(
        this, [this] { Serve(); }, Qt::QueuedConnection);
}

// One piece at a time, so that each returns to the event loop; the next one has its own wake-up.
void UiQueue::Serve()
{
    if (m_iBusy > 0)
        return;
    std::function<void()> work;
    {
        std::lock_guard lock(m_mutex);
        if (m_work.empty())
            return;
        work = std::move(m_work.front());
        m_work.pop_front();
    }
    const Busy busy(*this);
    work();
}

void UiQueue::Leave()
{
    if (--m_iBusy > 0)
        return;
    std::lock_guard lock(m_mutex);
    // Wake-ups that came while busy were passed over: one for each piece that waits.
    for (std::size_t i = 0; i < m_work.size(); ++i)
        Wake();
}

} // namespace vireo
