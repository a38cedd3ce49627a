#pragma once
#include <cstdint>

namespace vireo {

/// Numbers one camera's exposures, lost ones included, from the times that its frames carry. It needs this
/// camera's own clock only. One thread.
class ExposureCounter {
public:
    /// @param dPeriod  time between exposures, s; when it is not a positive number, no loss is ever seen.
    explicit ExposureCounter(double dPeriod)
        : m_dPeriod(dPeriod)
    {
    }

    /// The number of the next frame: 0 for the first, else one more than the last, plus the exposures
    /// that its time shows to be missing in between.
    /// @param dFrameTime  embedded time, s; wraps every 128 s. Pauses beyond 64 s are not seen.
    std::int64_t Next(double dFrameTime);
    /// Exposures missing before the frame that was numbered last.
    [[nodiscard]] std::int64_t Missing() const { return m_iMissing; }

private:
    double m_dPeriod;
    double m_dPrevious = 0.0;
    std::int64_t m_iNumber = -1;
    std::int64_t m_iMissing = 0;
};

} // namespace vireo
