#include "platform/simulated/trigger_network.h"

#include <algorithm>
#include <cmath>

namespace vireo {

namespace {

constexpr __int128 kGiga = 1'000'000'000;
// A camera that has lost its trigger paces itself, a tenth slower than its rate says: it is out of step at once.
constexpr std::int64_t kUntriggeredTenths = 11;

bool Covers(const std::vector<NumberRange>& ranges, std::uint64_t uiNumber)
{
    return std::any_of(
        ranges.begin(), ranges.end(), [uiNumber](const auto& range) { return range.Contains(uiNumber); });
}

bool IsDue(const std::optional<std::uint64_t>& from, std::uint64_t uiNumber) { return from && uiNumber >= *from; }

/// Moment of the k-th exposure of a camera that runs free. A clock that a fault lets drift paces it, too.
ClockTime GridTime(const Device& device, std::int64_t iIndex)
{
    const FramePeriod& period = device.run.timing.period;
    const __int128 rate = kGiga + device.faults.drift.value_or(0);
    return static_cast<ClockTime>(
        __int128 { iIndex } * period.iNumerator * kGiga / (__int128 { period.iDenominator } * rate));
}

ClockTime Milliseconds(float fMs) { return std::llround(static_cast<double>(fMs) * kNsPerMs); }

} // namespace

TtlGenerator::TtlGenerator(const std::optional<GeneratorSetup>& setup)
    : m_setup(setup)
{
}

ClockTime TtlGenerator::Edge(std::int64_t iEdge) const
{
    constexpr __int128 kMilliPerHalf = 500;
    return m_start + static_cast<ClockTime>(__int128 { iEdge } * kMilliPerHalf * kNsPerSecond / m_setup->iMilliHertz);
}

std::int64_t TtlGenerator::LastEdge(ClockTime time) const
{
    if (!m_setup || m_start == kForever || time < m_start)
        return -1;
    auto iEdge = static_cast<std::int64_t>(
        __int128 { time - m_start } * m_setup->iMilliHertz / (500 * __int128 { kNsPerSecond }));
    while (Edge(iEdge + 1) <= time) // edges are rounded down
        ++iEdge;
    return iEdge;
}

bool TtlGenerator::High(ClockTime time) const
{
    const std::int64_t iEdge = LastEdge(time);
    return iEdge >= 0 && iEdge % 2 == 0;
}

ClockTime TtlGenerator::NextEdge(ClockTime time) const
{
    if (!m_setup || m_start == kForever)
        return kForever;
    return time < m_start ? m_start : Edge(LastEdge(time) + 1);
}

TriggerNetwork::TriggerNetwork(Devices& devices, const std::optional<GeneratorSetup>& generator, ClockTime start)
    : m_devices(devices)
    , m_generator(generator)
    , m_now(start)
{
    if (!m_generator.WaitsForCameras())
        m_generator.StartWave(0);
}

bool TriggerNetwork::OutputHigh() const
{
    return !m_devices.empty() && !Master().bGone
        && (Master().settings.ReadRegister(kOutputLevel) & kOutputLevelHigh) != 0;
}

bool TriggerNetwork::LineHigh(ClockTime time) const { return OutputHigh() != m_generator.High(time); }

bool TriggerNetwork::DrivesStrobe() const
{
    if (m_devices.empty() || !Master().run.bRunning)
        return false;
    const std::uint32_t uiDirection = Master().settings.ReadRegister(kPinDirection);
    return Master().settings.strobe.onOff && (uiDirection & kStrobeLineOutput) != 0
        && (uiDirection & kStrobeLineBlocked) == 0;
}

bool TriggerNetwork::AnyListens() const
{
    return std::any_of(m_devices.begin(), m_devices.end(),
        [](const auto& device) { return device->run.bRunning && !device->run.bRunsFree; });
}

ClockTime TriggerNetwork::NextOwnExposure(const Device& device)
{
    if (!device.run.bRunning || device.run.unplugged != kForever)
        return kForever;
    if (device.run.bRunsFree)
        return device.run.nextFree;
    return device.run.lateEdges.Empty() ? kForever : device.run.lateEdges.Front();
}

/// The earliest thing to happen; `pDevice` is the camera when it is an exposure.
ClockTime TriggerNetwork::NextEvent(ClockTime& deviceTime, Device*& pDevice) const
{
    pDevice = nullptr;
    deviceTime = kForever;
    for (const auto& device : m_devices)
        if (const ClockTime time = NextOwnExposure(*device); time < deviceTime) {
            deviceTime = time;
            pDevice = device.get();
        }
    ClockTime next = deviceTime;
    if (!m_strobeEdges.empty())
        next = std::min(next, m_strobeEdges.front().time);
    if (AnyListens())
        next = std::min(next, m_generator.NextEdge(m_now));
    return next;
}

void TriggerNetwork::Advance(ClockTime now)
{
    for (;;) {
        Device* pDevice = nullptr;
        ClockTime deviceTime = kForever;
        const ClockTime next = NextEvent(deviceTime, pDevice);
        if (next > now)
            break;
        // Exposures first: a strobe that would go off just when it goes on again stays on.
        if (deviceTime == next) {
            ExposeNext(*pDevice, next);
        } else if (!m_strobeEdges.empty() && m_strobeEdges.front().time == next) {
            const StrobeEdge edge = m_strobeEdges.front();
            m_strobeEdges.erase(m_strobeEdges.begin());
            LineEdge(edge.time, edge.bRising);
        } else {
            m_now = next;
            LineEdge(next, LineHigh(next));
        }
    }
    m_now = std::max(m_now, now);
    for (const auto& device : m_devices)
        Deliver(*device, now);
}

void TriggerNetwork::ExposeNext(Device& device, ClockTime time)
{
    CaptureRun& run = device.run;
    if (run.bRunsFree) {
        StepFree(device);
        Expose(device, time);
        return;
    }
    (void)run.lateEdges.Pop();
    const bool bOverlapped = device.settings.trigger.mode == kTriggerModeOverlapped;
    const ClockTime exposure = run.timing.exposure;
    const ClockTime readOut = run.timing.smallestPeriod;
    const ClockTime busy = bOverlapped ? std::max(exposure, readOut) : exposure + readOut;
    if (run.lastExposure != kNever && time < run.lastExposure + busy)
        return;
    if (!Covers(device.faults.missedge, run.uiEdges++))
        Expose(device, time);
}

void TriggerNetwork::Expose(Device& device, ClockTime time)
{
    CaptureRun& run = device.run;
    const CameraFaults& faults = device.faults;
    const ClockTime latency = run.timing.exposure + run.timing.smallestPeriod;
    if (IsDue(faults.unplug, run.uiExposures)) {
        run.unplugged = time + latency; // what was fetched until then has arrived
        return;
    }
    const std::uint64_t uiNumber = run.uiExposures++;
    run.lastExposure = time;
    if (&device == &Master() && DrivesStrobe())
        SendStrobe(device, time);
    if (!run.bRunsFree && IsDue(faults.untrigger, run.uiExposures))
        FallOut(device);
    if (Covers(faults.drop, uiNumber) || IsDue(faults.hang, uiNumber))
        return;
    ClockTime delivered = time + latency;
    for (const LateFrame& late : faults.stall)
        if (late.uiNumber == uiNumber)
            delivered += late.delay;
    run.lastDelivery = std::max(delivered, run.lastDelivery); // frames never overtake each other
    run.inFlight.Push({ time, run.lastDelivery, LineHigh(time), Covers(faults.torn, uiNumber) });
}

void TriggerNetwork::SendStrobe(const Device& master, ClockTime time)
{
    const StrobeControl& strobe = master.settings.strobe;
    const bool bActiveHigh = strobe.polarity == 1;
    const ClockTime begin = time + Milliseconds(strobe.delay);
    const ClockTime end = begin + (strobe.duration > 0.0F ? Milliseconds(strobe.duration) : master.run.timing.exposure);
    // A pulse that is still on when the next one begins runs into it: no edge between them.
    if (!m_strobeEdges.empty() && m_strobeEdges.back().time >= begin) {
        m_strobeEdges.back().time = std::max(m_strobeEdges.back().time, end);
        return;
    }
    m_strobeEdges.push_back({ begin, bActiveHigh });
    m_strobeEdges.push_back({ end, !bActiveHigh });
}

void TriggerNetwork::LineEdge(ClockTime time, bool bRising)
{
    for (const auto& device : m_devices) {
        const TriggerMode& trigger = device->settings.trigger;
        if (!device->run.bRunning || device->run.bRunsFree || trigger.source != kStrobeLine)
            continue;
        const bool bInput = (device->settings.ReadRegister(kPinDirection) & kStrobeLineOutput) == 0;
        if (bInput && (trigger.polarity == 1) == bRising)
            device->run.lateEdges.Push(time + device->faults.phase);
    }
}

void TriggerNetwork::Deliver(Device& device, ClockTime now)
{
    CaptureRun& run = device.run;
    if (run.unplugged <= now) {
        device.bGone = true;
        run.bRunning = false;
        return;
    }
    const bool bKeepAll = device.settings.config.grabMode == GrabMode::BufferFrames;
    while (!run.inFlight.Empty() && run.inFlight.Front().delivered <= now) {
        const FrameOnTheWay frame = run.inFlight.Pop();
        if (!bKeepAll)
            run.ready.Clear();
        if (run.ready.Size() < run.uiBuffers)
            run.ready.Push(frame);
        else
            ++run.statistics.underruns;
    }
}

void TriggerNetwork::Start(Device& device, ClockTime now)
{
    CaptureRun& run = device.run;
    run.bRunning = true;
    run.bCancelled = false;
    ++run.uiNumber;
    run.started = now;
    run.uiBuffers = device.settings.config.numBuffers;
    run.uiExposures = 0;
    run.uiEdges = 0;
    run.lastExposure = kNever;
    run.lastDelivery = kNever;
    run.inFlight.Clear();
    run.ready.Clear();
    run.statistics = {};
    run.timing = device.settings.Timing();
    Arm(device, now);
    if (m_generator.WaitsForCameras() && std::all_of(m_devices.begin(), m_devices.end(), [](const auto& other) {
            return !other->bConnected || other->bGone || other->run.bRunning;
        }))
        m_generator.StartWave(now + m_generator.Delay());
}

void TriggerNetwork::Stop(Device& device, ClockTime now)
{
    device.run.bRunning = false;
    device.run.inFlight.Clear();
    device.run.ready.Clear();
    device.run.lateEdges.Clear();
    if (m_generator.WaitsForCameras()) {
        const bool bWasHigh = LineHigh(now);
        m_generator.StopWave();
        if (bWasHigh != LineHigh(now))
            LineEdge(now, !bWasHigh);
    }
}

void TriggerNetwork::SettingsChanged(Device& device, ClockTime now)
{
    CaptureRun& run = device.run;
    if (!run.bRunning)
        return;
    const FrameTiming before = run.timing;
    run.timing = device.settings.Timing();
    const bool bTriggered = device.settings.trigger.onOff;
    const bool bSameWay = run.bRunsFree ? run.bUntriggered == bTriggered : bTriggered;
    if (!bSameWay || (run.bRunsFree && !run.bUntriggered && !(before.period == run.timing.period)))
        Arm(device, now);
}

/// From `now` on the camera exposes as its trigger mode says.
void TriggerNetwork::Arm(Device& device, ClockTime now)
{
    CaptureRun& run = device.run;
    run.lateEdges.Clear();
    run.bUntriggered = false;
    run.bRunsFree = !device.settings.trigger.onOff;
    if (run.bRunsFree) {
        const bool bExposed = run.lastExposure != kNever;
        FindNextFree(device, bExposed ? std::max(now, run.lastExposure + run.timing.smallestPeriod) : now);
    } else if (IsDue(device.faults.untrigger, run.uiExposures)) {
        FallOut(device);
    }
}

void TriggerNetwork::FindNextFree(Device& device, ClockTime earliest)
{
    CaptureRun& run = device.run;
    const FramePeriod& period = run.timing.period;
    const __int128 rate = kGiga + device.faults.drift.value_or(0);
    run.iGridIndex = static_cast<std::int64_t>(
        __int128 { earliest } * period.iDenominator * rate / (__int128 { period.iNumerator } * kGiga));
    while (GridTime(device, run.iGridIndex) < earliest) // rounded down, by one step at most
        ++run.iGridIndex;
    run.nextFree = GridTime(device, run.iGridIndex);
}

void TriggerNetwork::StepFree(Device& device)
{
    CaptureRun& run = device.run;
    if (run.bUntriggered)
        run.nextFree += run.timing.period.Ns() * kUntriggeredTenths / 10;
    else
        run.nextFree = GridTime(device, ++run.iGridIndex);
}

void TriggerNetwork::FallOut(Device& device)
{
    CaptureRun& run = device.run;
    run.lateEdges.Clear();
    run.bUntriggered = true;
    run.bRunsFree = true;
    const ClockTime last = run.lastExposure == kNever ? run.started : run.lastExposure;
    run.nextFree = last + run.timing.period.Ns() * kUntriggeredTenths / 10;
}

void TriggerNetwork::OutputChanged(std::uint32_t uiBefore, ClockTime now)
{
    const bool bWasHigh = (uiBefore & kOutputLevelHigh) != 0;
    if (bWasHigh != OutputHigh())
        LineEdge(now, LineHigh(now));
}

ClockTime TriggerNetwork::NextEdgeBound() const
{
    ClockTime bound = m_generator.NextEdge(m_now);
    if (!m_strobeEdges.empty())
        bound = std::min(bound, m_strobeEdges.front().time);
    if (DrivesStrobe())
        bound = std::min(bound, NextOwnExposure(Master()));
    return bound;
}

ClockTime TriggerNetwork::NextDelivery(const Device& device) const
{
    const CaptureRun& run = device.run;
    if (!run.bRunning)
        return kForever;
    if (!run.inFlight.Empty())
        return run.inFlight.Front().delivered;
    if (run.unplugged != kForever)
        return run.unplugged;
    ClockTime next = NextOwnExposure(device);
    if (!run.bRunsFree && next == kForever) {
        next = NextEdgeBound();
        if (next == kForever)
            return kForever;
        next += device.faults.phase;
    }
    return next + run.timing.exposure + run.timing.smallestPeriod;
}

} // namespace vireo
