#pragma once
#include "platform/clock.h"
#include "platform/simulated/device.h"
#include "platform/simulated/simulated_setup.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace vireo {

/// The external TTL generator: high in the first half of each period.
class TtlGenerator {
public:
    explicit TtlGenerator(const std::optional<GeneratorSetup>& setup);
    /// Edges are numbered from the start of the wave, 0 (rising), 1 (falling), ...
    void StartWave(ClockTime start) { m_start = start; }
    void StopWave() { m_start = kForever; }
    bool WaitsForCameras() const { return m_setup && m_setup->delay; }
    ClockTime Delay() const { return m_setup->delay.value_or(0); }
    bool High(ClockTime time) const;
    /// The first edge after `time`; kForever when there is none.
    ClockTime NextEdge(ClockTime time) const;

private:
    ClockTime Edge(std::int64_t iEdge) const;
    std::int64_t LastEdge(ClockTime time) const; ///< below 0 before the wave

    std::optional<GeneratorSetup> m_setup;
    ClockTime m_start = kForever;
};

/// What makes the cameras expose: their own pace, and the wires between them. Camera 0's strobe line,
/// camera 0's output level and the external generator drive one line, which every camera has as its
/// trigger input. Nothing else makes the cameras agree.
///
/// It has no thread. Advance() works off everything that was due until a moment, in the order of time;
/// it comes before every look at the cameras and before every change of their settings. All functions
/// under the simulation's mutex.
class TriggerNetwork {
public:
    using Devices = std::vector<std::unique_ptr<Device>>; ///< by camera number

    TriggerNetwork(Devices& devices, const std::optional<GeneratorSetup>& generator, ClockTime start);

    void Advance(ClockTime now);
    /// Begins a run of the camera with an empty queue.
    void Start(Device& device, ClockTime now);
    void Stop(Device& device, ClockTime now);
    /// Trigger mode, rate or exposure of the camera have been changed.
    void SettingsChanged(Device& device, ClockTime now);
    /// Camera 0's output register went from `uiBefore` to what it is now.
    void OutputChanged(std::uint32_t uiBefore, ClockTime now);

    /// Level of the trigger line: the output level, turned over by the generator.
    bool LineHigh(ClockTime time) const;
    /// No frame of the camera is delivered before this moment unless something is changed.
    ClockTime NextDelivery(const Device& device) const;

private:
    struct StrobeEdge {
        ClockTime time;
        bool bRising;
    };
    Device& Master() const { return *m_devices.front(); }
    bool OutputHigh() const;
    bool DrivesStrobe() const;
    bool AnyListens() const;
    static ClockTime NextOwnExposure(const Device& device);
    ClockTime NextEvent(ClockTime& deviceTime, Device*& pDevice) const;
    ClockTime NextEdgeBound() const;
    void ExposeNext(Device& device, ClockTime time);
    void Expose(Device& device, ClockTime time);
    void SendStrobe(const Device& master, ClockTime time);
    void LineEdge(ClockTime time, bool bRising);
    static void Arm(Device& device, ClockTime now);
    static void FindNextFree(Device& device, ClockTime earliest);
    static void StepFree(Device& device);
    static void FallOut(Device& device);
    static void Deliver(Device& device, ClockTime now);

    Devices& m_devices;
    TtlGenerator m_generator;
    ClockTime m_now;
    std::vector<StrobeEdge> m_strobeEdges; ///< still to come, by time
};

} // namespace vireo
