#include "platform/time/virtual_clock.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#if defined(__SANITIZE_THREAD__)
#define VIREO_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define VIREO_THREAD_SANITIZER 1
#endif
#endif

namespace vireo {

namespace {

// Which participant the calling thread is; one clock at a time per thread.
thread_local VirtualClock* t_pClock = nullptr;
thread_local std::uint64_t t_uiThread = 0;

} // namespace

VirtualClock::Order VirtualClock::DefaultOrder()
{
#ifdef VIREO_THREAD_SANITIZER
    return Order::Parallel;
#else
    return Order::Sequential;
#endif
}

VirtualClock::VirtualClock(Order eOrder)
    : m_eOrder(eOrder)
{
    const std::uint64_t uiThread = VirtualClock::NewThreadNumber();
    auto participant = std::make_unique<Participant>();
    participant->uiThread = uiThread;
    participant->bRunning = true;
    m_participants.push_back(std::move(participant));
    t_pClock = this;
    t_uiThread = uiThread;
}

VirtualClock::~VirtualClock()
{
    if (t_pClock == this)
        t_pClock = nullptr;
}

std::uint64_t VirtualClock::NewThreadNumber()
{
    std::lock_guard lock(m_mutex);
    return ++m_uiThreads;
}

ClockTime VirtualClock::Now() const
{
    std::lock_guard lock(m_mutex);
    return m_now;
}

VirtualClock::Participant& VirtualClock::Current()
{
    if (t_pClock == this)
        for (const auto& participant : m_participants)
            if (participant->uiThread == t_uiThread)
                return *participant;
    std::fputs("VirtualClock: a thread that does not take part in this clock waits on it\n", stderr);
    std::abort();
}

void VirtualClock::AddThread(std::uint64_t uiThread)
{
    std::lock_guard lock(m_mutex);
    auto participant = std::make_unique<Participant>();
    participant->uiThread = uiThread;
    m_participants.push_back(std::move(participant));
    MakeReady(*m_participants.back());
}

void VirtualClock::DropThread(std::uint64_t uiThread)
{
    std::lock_guard lock(m_mutex);
    std::erase_if(m_participants, [uiThread](const auto& participant) { return participant->uiThread == uiThread; });
}

void VirtualClock::EnterThread(std::uint64_t uiThread)
{
    std::unique_lock lock(m_mutex);
    t_pClock = this;
    t_uiThread = uiThread;
    Participant& self = Current();
    self.turn.wait(lock, [&self] { return self.bRunning; });
}

void VirtualClock::LeaveThread(std::uint64_t uiThread)
{
    std::lock_guard lock(m_mutex);
    std::erase_if(m_participants, [uiThread](const auto& participant) { return participant->uiThread == uiThread; });
    t_pClock = nullptr;
    PassOn();
}

void VirtualClock::SleepUntil(ClockTime deadline)
{
    std::unique_lock lock(m_mutex);
    if (deadline <= m_now)
        return;
    Participant& self = Current();
    self.pPoint = nullptr;
    self.deadline = deadline;
    WaitTurn(lock, self);
}

void VirtualClock::Wait(std::unique_lock<std::mutex>& lock, WaitPoint& point, ClockTime deadline)
{
    std::unique_lock own(m_mutex);
    if (deadline <= m_now)
        return;
    Participant& self = Current();
    self.pPoint = &point;
    self.deadline = deadline;
    self.bWaiting = true; // before the caller's lock goes, so that no notification is missed
    lock.unlock();
    WaitTurn(own, self);
    own.unlock();
    lock.lock();
}

void VirtualClock::WaitTurn(std::unique_lock<std::mutex>& own, Participant& self)
{
    self.bWaiting = true;
    self.bRunning = false;
    PassOn();
    self.turn.wait(own, [&self] { return self.bRunning; });
}

void VirtualClock::NotifyAll(WaitPoint& point)
{
    std::lock_guard lock(m_mutex);
    for (const auto& participant : m_participants)
        if (participant->bWaiting && participant->pPoint == &point)
            MakeReady(*participant);
}

void VirtualClock::MakeReady(Participant& participant)
{
    participant.bWaiting = false;
    participant.pPoint = nullptr;
    participant.deadline = kForever;
    participant.uiReadySince = ++m_uiReadyCounter;
    if (m_eOrder == Order::Parallel) {
        participant.bRunning = true;
        participant.turn.notify_one();
    }
}

void VirtualClock::PassOn()
{
    if (m_participants.empty())
        return;
    for (;;) {
        Participant* pNext = nullptr;
        for (const auto& participant : m_participants) {
            if (participant->bRunning)
                return;
            if (!participant->bWaiting && (pNext == nullptr || participant->uiReadySince < pNext->uiReadySince))
                pNext = participant.get();
        }
        if (pNext != nullptr) {
            pNext->bRunning = true;
            pNext->turn.notify_one();
            return;
        }
        AdvanceTime();
    }
}

void VirtualClock::AdvanceTime()
{
    ClockTime earliest = kForever;
    for (const auto& participant : m_participants)
        earliest = std::min(earliest, participant->deadline);
    if (earliest == kForever)
        ReportDeadlock();
    m_now = std::max(m_now, earliest);
    for (const auto& participant : m_participants)
        if (participant->deadline <= m_now)
            MakeReady(*participant);
}

void VirtualClock::ReportDeadlock() const
{
    std::fprintf(stderr, "VirtualClock: all %zu threads wait without a deadline at %.6f s: deadlock\n",
        m_participants.size(), static_cast<double>(m_now) / static_cast<double>(kNsPerSecond));
    std::abort();
}

} // namespace vireo
