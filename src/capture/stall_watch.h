#pragma once
#include "platform/clock.h"

#include <array>
#include <cstddef>
#include <optional>
#include <span>

namespace vireo {

/// Finds a camera that delivers nothing although frames are due. Pure but for its memory of what it saw.
class StallWatch {
public:
    static constexpr ClockTime kLimit = 4 * kNsPerSecond;
    static constexpr std::size_t kMostCameras = 9;

    /// @param bWaitsForTrigger  frames are due only while other cameras deliver; else all the time.
    explicit StallWatch(bool bWaitsForTrigger)
        : m_bWaitsForTrigger(bWaitsForTrigger)
    {
    }
    /// @param lastDeliveries  per camera, when it had its last frame (or began).
    /// @return the stalled camera; of several that fell silent together the one with the lowest number.
    std::optional<std::size_t> Check(ClockTime now, std::span<const ClockTime> lastDeliveries);

private:
    struct Suspicion {
        ClockTime since = 0; ///< another camera had a frame that this one lacks; 0 = none
        ClockTime confirmed = 0; ///< another one still had frames long after that; 0 = not yet
    };
    bool IsSilent(ClockTime now, ClockTime last, ClockTime newest, Suspicion& suspicion) const;

    const bool m_bWaitsForTrigger;
    std::array<Suspicion, kMostCameras> m_suspicions;
};

} // namespace vireo
