#pragma once
#include "platform/partner_link.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

namespace vireo {

/// Carries messages of the partner from the link's thread to the user-interface thread and lets the
/// sender wait until they are handled.
class LinkRequests {
public:
    /// Leaves work for the user-interface thread.
    using Post = std::function<void(std::function<void()>)>;
    using Handle = std::function<void(const PartnerMessage&)>;
    LinkRequests(Post post, Handle handle);
    ~LinkRequests();

    /// A thread of the link: returns when the message has been handled, or when Close was called.
    void Deliver(const PartnerMessage& message);
    /// Lets every waiting Deliver return; later ones do nothing. User-interface thread.
    void Close();

private:
    struct Shared {
        std::mutex m_mutex;
        std::condition_variable m_changed;
        bool m_bClosed = false;
    };
    Post m_post;
    Handle m_handle;
    std::shared_ptr<Shared> m_shared = std::make_shared<Shared>(); ///< posted work may come after the end
};

} // namespace vireo
