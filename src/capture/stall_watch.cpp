#include "capture/stall_watch.h"

#include <algorithm>

namespace vireo {

namespace {

constexpr ClockTime kTogether = 100 * kNsPerMs; // cameras that fell silent for one reason
constexpr ClockTime kGrace = 500 * kNsPerMs; // for a frame that the others already have

} // namespace

// Triggers may come once a minute: that another camera has the newest frame says nothing until this one
// has had its time to deliver it, and one missed trigger is no stall.
bool StallWatch::IsSilent(ClockTime now, ClockTime last, ClockTime newest, Suspicion& suspicion) const
{
    if (!m_bWaitsForTrigger)
        return now - last >= kLimit;
    if (newest <= last || (suspicion.since != 0 && last >= suspicion.since)) {
        suspicion = {};
        if (newest <= last)
            return false;
    }
    if (suspicion.since == 0)
        suspicion.since = newest;
    if (suspicion.confirmed == 0 && newest - suspicion.since >= kLimit - kGrace)
        suspicion.confirmed = newest;
    return suspicion.confirmed != 0 && now - suspicion.confirmed >= kGrace;
}

std::optional<std::size_t> StallWatch::Check(ClockTime now, std::span<const ClockTime> lastDeliveries)
{
    const std::size_t uiCameras = std::min(lastDeliveries.size(), kMostCameras);
    std::optional<std::size_t> first;
    ClockTime earliest = kForever;
    for (std::size_t c = 0; c < uiCameras; ++c) {
        ClockTime newest = 0;
        for (std::size_t other = 0; other < uiCameras; ++other)
            if (other != c)
                newest = std::max(newest, lastDeliveries[other]);
        if (!IsSilent(now, lastDeliveries[c], newest, m_suspicions[c]))
            continue;
        // Without camera 0 the others get no triggers: their last frame comes at the same time as its own.
        if (lastDeliveries[c] + kTogether < earliest) {
            earliest = lastDeliveries[c];
            first = c;
        }
    }
    return first;
}

} // namespace vireo
