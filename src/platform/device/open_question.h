#pragma once
#include "platform/clock.h"

#include <algorithm>
#include <atomic>

namespace vireo {

/// A question to a device that nobody waits for. Whoever calls a device that owes an answer already gives it no time
/// beyond that: where several died together, their limits would add up. Any thread.
class OpenQuestion {
public:
    static constexpr ClockTime kAnswerLimit = 2 * kNsPerSecond;

    /// False when an answer is owed already: nothing new is asked.
    bool Begin(ClockTime now)
    {
        ClockTime none = 0;
        return m_askedAt.compare_exchange_strong(none, std::max<ClockTime>(now, 1));
    }
    void Answer() { m_askedAt = 0; }
    bool IsOverdue(ClockTime now) const
    {
        const ClockTime askedAt = m_askedAt;
        return askedAt != 0 && now - askedAt >= kAnswerLimit;
    }
    /// How long a call that would get `limit` is waited for.
    ClockTime Patience(ClockTime now, ClockTime limit) const
    {
        const ClockTime askedAt = m_askedAt;
        return askedAt == 0 ? limit : std::clamp<ClockTime>(askedAt + kAnswerLimit - now, kLeastPatience, limit);
    }

private:
    static constexpr ClockTime kLeastPatience = kNsPerSecond / 2;

    std::atomic<ClockTime> m_askedAt = 0; ///< 0: no question is open
};

} // namespace vireo
