#include "app/qt/link_requests.h"

#include <utility>

namespace vireo {

LinkRequests::LinkRequests(Post post, Handle handle)
    : m_post(std::move(post))
    , m_handle(std::move(handle))
{
}

LinkRequests::~LinkRequests() { Close(); }

void LinkRequests::Deliver(const PartnerMessage& message)
{
    auto shared = m_shared;
    auto handled = std::make_shared<bool>(false); // guarded by the shared mutex
    {
        const std::lock_guard lock(shared->m_mutex);
        if (shared->m_bClosed)
            return;
    }
    m_post([this, shared, handled, message] {
        {
            const std::lock_guard lock(shared->m_mutex);
            if (shared->m_bClosed)
                return; // `this` may be gone
        }
        m_handle(message);
        const std::lock_guard lock(shared->m_mutex);
        *handled = true;
        shared->m_changed.notify_all();
    });
    std::unique_lock lock(shared->m_mutex);
    shared->m_changed.wait(lock, [&] { return *handled || shared->m_bClosed; });
}

void LinkRequests::Close()
{
    const std::lock_guard lock(m_shared->m_mutex);
    m_shared->m_bClosed = true;
    m_shared->m_changed.notify_all();
}

} // namespace vireo
