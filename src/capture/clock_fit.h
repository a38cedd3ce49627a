#pragma once
#include <span>

namespace vireo {

/// One frame's time on the camera's clock and on the host's, both in seconds.
struct ClockPoint {
    double dDevice = 0.0;
    double dHost = 0.0;
};

/// host = device + dOffset + dRate * (device - dOrigin)
struct ClockFit {
    double dOrigin = 0.0; ///< s, on the device
    double dOffset = 0.0; ///< s
    double dRate = 0.0; ///< how much the host's clock gains on the device's, as a ratio
    double dJitter = 0.0; ///< s; median lateness of the arrivals
    [[nodiscard]] double ToHost(double dDevice) const { return dDevice + dOffset + dRate * (dDevice - dOrigin); }
    /// Rate of the device's clock against the host's, parts per million; fast is positive.
    [[nodiscard]] double DevicePpm() const { return (1.0 / (1.0 + dRate) - 1.0) * 1e6; }
};

/// The line below all points of (device, host - device) that lies closest to them: an edge of their lower
/// hull. Arrivals are late, never early, so the earliest ones tell the clock. Points in order of device time;
/// one point gives its offset and no rate, none gives zeros.
ClockFit FitClock(std::span<const ClockPoint> points);

} // namespace vireo
