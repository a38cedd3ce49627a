#include "capture/exposure_counter.h"

#include "capture/frame_store.h"

#include <algorithm>
#include <cmath>

namespace vireo {

std::int64_t ExposureCounter::Next(double dFrameTime)
{
    m_iMissing = 0;
    if (m_iNumber >= 0 && m_dPeriod > 0.0 && std::isfinite(m_dPeriod)) {
        const double dPeriods = FrameTimeDifference(dFrameTime, m_dPrevious) / m_dPeriod;
        m_iMissing = std::max<std::int64_t>(0, std::llround(dPeriods) - 1);
    }
    m_dPrevious = dFrameTime;
    m_iNumber += 1 + m_iMissing;
    return m_iNumber;
}

} // namespace vireo
