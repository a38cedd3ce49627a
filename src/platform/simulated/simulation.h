#pragma once
#include "platform/clock.h"
#include "platform/simulated/device.h"
#include "platform/simulated/operations.h"
#include "platform/simulated/scene.h"
#include "platform/simulated/simulated_setup.h"
#include "platform/simulated/trigger_network.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace vireo {

/// Counts the calls of the library and says which of them are to fail.
class ErrorFaults {
public:
    ErrorFaults(std::vector<ErrorFault> faults, std::size_t uiCameras);
    /// One more call; `pCamera` is the camera that it concerns, null when it concerns none or all.
    Error Count(Operation eOperation, const Device* pCamera);

private:
    std::vector<ErrorFault> m_faults;
    std::array<std::uint64_t, kOperationCount> m_total {};
    std::vector<std::array<std::uint64_t, kOperationCount>> m_perCamera;
};

/// The whole of a simulated set-up: cameras, wires, faults. One mutex guards it; it is never held while a
/// frame is drawn. Any thread.
class Simulation {
public:
    Simulation(Clock& clock, const SimulatedSetup& setup);

    Clock& GetClock() const { return m_clock; }
    /// When the simulation began; the bar codes and the cameras' clocks count from here.
    ClockTime Start() const { return m_start; }

    std::mutex& Mutex() { return m_mutex; }
    /// Under the mutex: works off what was due until now, and tells that moment.
    ClockTime Advance();
    /// Under the mutex: every thread that waits for a frame looks again.
    void WakeAll();
    TriggerNetwork& Network() { return m_network; }
    ErrorFaults& Errors() { return m_errors; }

    /// By camera number.
    const std::vector<std::unique_ptr<Device>>& Devices() const { return m_devices; }
    /// In bus order.
    const std::vector<Device*>& Bus() const { return m_bus; }
    /// Null when there is none.
    Device* Find(const PGRGuid& guid) const;

    /// The background for a shape; made when it is asked for first. Without the mutex.
    std::shared_ptr<const SceneBackgrounds> Backgrounds(const SceneShape& shape);

private:
    Clock& m_clock;
    const ClockTime m_start;
    std::mutex m_mutex;
    std::vector<std::unique_ptr<Device>> m_devices;
    std::vector<Device*> m_bus;
    TriggerNetwork m_network;
    ErrorFaults m_errors;
    std::mutex m_backgroundMutex;
    std::shared_ptr<const SceneBackgrounds> m_backgrounds; ///< the latest; cameras mostly agree
};

} // namespace vireo
