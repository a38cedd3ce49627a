#include "platform/time/real_clock.h"

namespace vireo {

RealClock::RealClock()
    : m_start(std::chrono::steady_clock::now())
{
}

ClockTime RealClock::Now() const
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - m_start).count();
}

std::chrono::steady_clock::time_point RealClock::At(ClockTime time) const
{
    return m_start + std::chrono::nanoseconds(time);
}

void RealClock::SleepUntil(ClockTime deadline) { std::this_thread::sleep_until(At(deadline)); }

void RealClock::Wait(std::unique_lock<std::mutex>& lock, WaitPoint& point, ClockTime deadline)
{
    if (deadline == kForever)
        point.m_changed.wait(lock);
    else
        point.m_changed.wait_until(lock, At(deadline));
}

void RealClock::NotifyAll(WaitPoint& point) { point.m_changed.notify_all(); }

} // namespace vireo
