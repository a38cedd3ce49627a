#pragma once
#include <QObject>
#include <deque>
#include <functional>
#include <mutex>

namespace vireo {

/// Work for the user-interface thread, done one after the other in the order in which it was left here,
/// and never while a box is open or an action is under way: what arrives meanwhile is kept.
class UiQueue : public QObject {
public:
    UiQueue();

    /// Any thread. The work is done later, from the event loop.
    void Post(std::function<void()> work);
    /// Whether work is being held back at present. User-interface thread.
    [[nodiscard]] bool IsBusy() const { return m_iBusy > 0; }
    /// Drops what has not been done yet. User-interface thread.
    void Discard();

    /// Holds the work back while it exists. User-interface thread.
    class Busy {
    public:
        explicit Busy(UiQueue& queue)
            : m_queue(queue)
        {
            ++m_queue.m_iBusy;
        }
        ~Busy() { m_queue.Leave(); }
        Busy(const Busy&) = delete;
        Busy& operator=(const Busy&) = delete;

    private:
        UiQueue& m_queue;
    };

private:
    void Serve();
    void Leave();
    void Wake();

    std::mutex m_mutex; ///< guards m_work
    std::deque<std::function<void()>> m_work;
    int m_iBusy = 0;
};

} // namespace vireo
