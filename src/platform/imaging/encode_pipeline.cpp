#include "platform/imaging/encode_pipeline.h"

#include <algorithm>
#include <new>
#include <system_error>

namespace vireo {

EncodePipeline::EncodePipeline(std::size_t uiThreads, std::size_t uiLookAhead, Encode encode, Write write)
    : m_encode(std::move(encode))
    , m_write(std::move(write))
    , m_slots(std::max({ uiThreads, uiLookAhead, std::size_t { 1 } }))
{
    try {
        for (std::size_t i = 0; i < std::max(uiThreads, std::size_t { 1 }); ++i)
            m_threads.emplace_back([this, i] { Run(i); });
    } catch (const std::system_error& error) {
        // Fewer threads do the same work more slowly; with none it cannot be done.
        if (m_threads.empty())
            m_error = Error(ErrorType::EncodeFailed, error.what());
    }
}

EncodePipeline::~EncodePipeline()
{
    {
        std::lock_guard lock(m_mutex);
        m_bStop = true;
    }
    m_work.notify_all();
    for (std::thread& thread : m_threads)
        thread.join();
}

Error EncodePipeline::Put(const ImageView& frame)
{
    std::unique_lock lock(m_mutex);
    if (m_error.IsOk() && Pending() >= m_slots.size()) {
        // Waking for every frame would cost more than it brings: wait until there is room for several.
        const std::uint64_t uiRoom = std::max<std::uint64_t>(1, (m_slots.size() - m_threads.size()) / 2);
        m_uiAwaited = m_uiQueued - m_slots.size() + uiRoom;
        m_progress.wait(lock, [this] { return m_uiWritten >= m_uiAwaited || !m_error.IsOk(); });
        m_uiAwaited = 0;
    }
    if (!m_error.IsOk())
        return m_error;
    Slot& slot = SlotOf(m_uiQueued);
    slot.frame = frame;
    slot.bEncoded = false;
    ++m_uiQueued;
    lock.unlock();
    m_work.notify_one();
    return {};
}

Error EncodePipeline::Drain()
{
    std::unique_lock lock(m_mutex);
    m_uiAwaited = m_uiQueued;
    // After a failure too: no pixel may be read and nothing be written when this has returned.
    m_progress.wait(
        lock, [this] { return m_uiWritten == m_uiQueued || (!m_error.IsOk() && m_uiEncoding == 0 && !m_bWriting); });
    m_uiAwaited = 0;
    return m_error;
}

void EncodePipeline::Run(std::size_t uiThread)
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_work.wait(lock, [this] { return m_bStop || (m_error.IsOk() && m_uiTaken < m_uiQueued); });
        if (m_bStop)
            return;
        Slot& slot = SlotOf(m_uiTaken++);
        ++m_uiEncoding;
        lock.unlock();
        Error error = EncodeSlot(uiThread, slot);
        lock.lock();
        --m_uiEncoding;
        slot.error = std::move(error);
        slot.bEncoded = true;
        WriteReady(lock);
        if (!m_error.IsOk())
            m_progress.notify_all();
    }
}

Error EncodePipeline::EncodeSlot(std::size_t uiThread, Slot& slot)
{
    try {
        return m_encode(uiThread, slot.frame, slot.chunk);
    } catch (const std::bad_alloc&) {
        return { ErrorType::EncodeFailed, "out of memory" };
    }
}

void EncodePipeline::WriteReady(std::unique_lock<std::mutex>& lock)
{
    while (!m_bWriting && m_error.IsOk() && m_uiWritten < m_uiTaken && SlotOf(m_uiWritten).bEncoded) {
        Slot& slot = SlotOf(m_uiWritten);
        Error error = slot.error;
        if (error.IsOk()) {
            m_bWriting = true;
            lock.unlock();
            error = m_write(slot.chunk);
            lock.lock();
            m_bWriting = false;
        }
        if (!error.IsOk()) {
            m_error = std::move(error);
            return;
        }
        slot.bEncoded = false;
        ++m_uiWritten;
        if (m_uiAwaited != 0 && m_uiWritten >= m_uiAwaited)
            m_progress.notify_all();
    }
}

} // namespace vireo
