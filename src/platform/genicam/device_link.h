#pragma once
#include "platform/device/presence.h"

#include <mutex>
#include <string>
#include <vector>

namespace vireo {

/// What the program's threads and the driver's threads tell each other about one open camera. Shared by
/// both sides: the driver's side may outlive the program's while a dead device is being closed, and then
/// it finds no clock any more. Any thread.
class DeviceLink {
public:
    explicit DeviceLink(Clock& clock)
        : m_pClock(&clock)
        , m_presence(clock)
    {
    }

    /// The program's side has left: nobody is woken and no time is taken any more.
    void Detach()
    {
        std::lock_guard lock(m_mutex);
        m_pClock = nullptr;
        m_presence.Detach();
    }

    /// The camera does not answer any more. Final; the first reason stays.
    void SetGone(const std::string& strReason)
    {
        std::lock_guard lock(m_mutex);
        if (IsGone())
            return;
        m_strReason = strReason;
        m_presence.SetGone();
        Wake();
    }
    /// A question got no answer; of a camera whose frames flow that says nothing.
    void SetUnanswered()
    {
        if (!IsHeard())
            SetGone("it does not answer");
    }
    /// A whole frame came a moment ago.
    bool IsHeard() const { return m_presence.IsHeard(); }
    bool IsGone() const { return m_presence.IsGone(); }
    std::string Reason() const
    {
        std::lock_guard lock(m_mutex);
        return m_strReason;
    }

    /// A new run begins: `uiFrames` is the most that can wait.
    void BeginRun(std::size_t uiFrames)
    {
        std::lock_guard lock(m_mutex);
        m_arrivals.assign(uiFrames, 0);
        m_uiDone = 0;
        m_uiTaken = 0;
        m_bCancelled = false;
        m_bRunning = true;
    }
    void EndRun()
    {
        std::lock_guard lock(m_mutex);
        m_bRunning = false;
        Wake();
    }
    /// Lets every wait of this run return at once.
    void Cancel()
    {
        std::lock_guard lock(m_mutex);
        m_bCancelled = true;
        Wake();
    }
    /// The driver has finished a frame, whole or not.
    void FrameDone(bool bWhole = true)
    {
        std::lock_guard lock(m_mutex);
        if (m_pClock == nullptr || m_arrivals.empty())
            return;
        if (bWhole)
            m_presence.Heard(m_pClock->Now());
        m_arrivals[m_uiDone % m_arrivals.size()] = m_pClock->Now();
        m_uiDone++;
        Wake();
    }

    /// Lets a waiting thread look around: what it waits for may have changed.
    void Poke()
    {
        std::lock_guard lock(m_mutex);
        m_uiPokes++;
        Wake();
    }

    enum class Wait { Frame, Timeout, Cancelled, Gone };
    /// Waits for a frame until `deadline`, or until Poke, and takes note of it; `arrival` is when the driver
    /// had it.
    Wait TakeFrame(ClockTime deadline, ClockTime& arrival)
    {
        std::unique_lock lock(m_mutex);
        if (m_pClock == nullptr)
            return Wait::Cancelled;
        const std::uint64_t uiPokes = m_uiPokes;
        m_pClock->WaitUntil(lock, m_changed, deadline, [this, uiPokes] {
            return m_uiTaken != m_uiDone || m_bCancelled || !m_bRunning || IsGone() || m_uiPokes != uiPokes;
        });
        if (m_bCancelled || !m_bRunning)
            return Wait::Cancelled;
        if (m_uiTaken != m_uiDone) { // what arrived before the camera went is still good
            arrival = m_arrivals[m_uiTaken % m_arrivals.size()];
            m_uiTaken++;
            return Wait::Frame;
        }
        return IsGone() ? Wait::Gone : Wait::Timeout;
    }
    bool FrameWaits() const
    {
        std::lock_guard lock(m_mutex);
        return m_uiTaken != m_uiDone;
    }

private:
    void Wake()
    {
        if (m_pClock != nullptr)
            m_pClock->NotifyAll(m_changed);
    }

    mutable std::mutex m_mutex;
    WaitPoint m_changed;
    Clock* m_pClock;
    Presence m_presence;
    std::string m_strReason;
    std::vector<ClockTime> m_arrivals; ///< ring; one place for every buffer of the driver
    std::uint64_t m_uiDone = 0;
    std::uint64_t m_uiTaken = 0;
    std::uint64_t m_uiPokes = 0;
    bool m_bCancelled = false;
    bool m_bRunning = false;
};

} // namespace vireo
