#pragma once
#include "platform/clock.h"

#include <atomic>

namespace vireo {

/// How long the cameras of one library are waited for while they are closed. Several that died together hold
/// nobody up several times: after one that did not come in time, the next ones get little. Nothing is lost by
/// that, a camera that was not waited for is closed in the background. Any thread.
class SharedGrace {
public:
    static constexpr ClockTime kGrace = 2 * kNsPerSecond;
    static constexpr ClockTime kLittle = kNsPerSecond / 2;
    static constexpr ClockTime kTogether = 5 * kNsPerSecond; ///< cameras left within this time are left together

    ClockTime Left(ClockTime now) const
    {
        const ClockTime lateAt = m_lateAt;
        return lateAt != 0 && now - lateAt < kTogether ? kLittle : kGrace;
    }
    /// A camera was not closed in time.
    void Exhaust(ClockTime now) { m_lateAt = now; }

private:
    std::atomic<ClockTime> m_lateAt = 0; ///< 0: none yet
};

} // namespace vireo
