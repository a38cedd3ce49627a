#pragma once
#include "platform/clock.h"

#include <atomic>
#include <mutex>
#include <optional>

namespace vireo {

/// Whether a camera is still there, as its answers and its frames tell. The program's threads share it with the one
/// that talks to the device, which may outlive them and then finds no clock any more. Any thread.
class Presence {
public:
    static constexpr ClockTime kSilence = kNsPerSecond; ///< without a frame, before a camera is asked

    explicit Presence(Clock& clock)
        : m_pClock(&clock)
    {
    }

    /// The program's side has left: no time is taken any more.
    void Detach()
    {
        std::lock_guard lock(m_mutex);
        m_pClock = nullptr;
    }
    /// A whole frame arrived then.
    void Heard(ClockTime at)
    {
        std::lock_guard lock(m_mutex);
        m_heardAt = at;
    }
    /// A whole frame came a moment ago.
    bool IsHeard() const
    {
        std::lock_guard lock(m_mutex);
        return m_pClock != nullptr && m_heardAt && m_pClock->Now() - *m_heardAt < kSilence;
    }
    /// A question got no answer. A camera whose frames flow is there all the same: the answer was lost, or the
    /// computer is busy, and no recording ends for that.
    void SetUnanswered()
    {
        if (!IsHeard())
            SetGone();
    }
    void SetGone() { m_bGone = true; } ///< final
    bool IsGone() const { return m_bGone; }

private:
    mutable std::mutex m_mutex;
    Clock* m_pClock;
    std::optional<ClockTime> m_heardAt;
    std::atomic<bool> m_bGone = false;
};

} // namespace vireo
