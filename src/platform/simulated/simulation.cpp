#include "platform/simulated/simulation.h"

#include <algorithm>

namespace vireo {

ErrorFaults::ErrorFaults(std::vector<ErrorFault> faults, std::size_t uiCameras)
    : m_faults(std::move(faults))
    , m_perCamera(uiCameras)
{
}

Error ErrorFaults::Count(Operation eOperation, const Device* pCamera)
{
    const auto uiOperation = static_cast<std::size_t>(eOperation);
    const std::uint64_t uiTotal = ++m_total[uiOperation];
    const std::uint64_t uiOfCamera = pCamera == nullptr ? 0 : ++m_perCamera[pCamera->uiCamera][uiOperation];
    for (const ErrorFault& fault : m_faults) {
        if (fault.eOperation != eOperation)
            continue;
        const bool bHit = fault.camera
            ? pCamera != nullptr && *fault.camera == pCamera->uiCamera && fault.uiCall == uiOfCamera
            : fault.uiCall == uiTotal;
        if (bHit)
            return { fault.eType, "simulated failure: " + std::string(ErrorTypeName(fault.eType)) };
    }
    return {};
}

namespace {

/// Camera numbers follow the serial numbers, whatever the order on the bus.
std::vector<std::unique_ptr<Device>> MakeDevices(const SimulatedSetup& setup)
{
    std::vector<SimulatedCameraSpec> specs = setup.cameras;
    std::stable_sort(specs.begin(), specs.end(), [](const auto& a, const auto& b) { return a.uiSerial < b.uiSerial; });
    std::vector<std::unique_ptr<Device>> devices;
    for (std::size_t i = 0; i < specs.size(); ++i) {
        const bool bHasFaults = i < setup.faults.cameras.size();
        devices.push_back(std::make_unique<Device>(specs[i], i, bHasFaults ? setup.faults.cameras[i] : CameraFaults()));
    }
    return devices;
}

} // namespace

Simulation::Simulation(Clock& clock, const SimulatedSetup& setup)
    : m_clock(clock)
    , m_start(clock.Now())
    , m_devices(MakeDevices(setup))
    , m_network(m_devices, setup.faults.generator, m_start)
    , m_errors(setup.faults.errors, m_devices.size())
{
    for (const SimulatedCameraSpec& spec : setup.cameras)
        for (const auto& device : m_devices)
            if (device->info.serialNumber == spec.uiSerial)
                m_bus.push_back(device.get());
}

ClockTime Simulation::Advance()
{
    const ClockTime now = m_clock.Now();
    m_network.Advance(now);
    return now;
}

void Simulation::WakeAll()
{
    for (const auto& device : m_devices)
        m_clock.NotifyAll(device->changed);
}

Device* Simulation::Find(const PGRGuid& guid) const
{
    for (const auto& device : m_devices)
        if (device->guid == guid)
            return device.get();
    return nullptr;
}

std::shared_ptr<const SceneBackgrounds> Simulation::Backgrounds(const SceneShape& shape)
{
    std::lock_guard lock(m_backgroundMutex);
    if (!m_backgrounds || !(m_backgrounds->Shape() == shape))
        m_backgrounds = std::make_shared<SceneBackgrounds>(shape);
    return m_backgrounds;
}

} // namespace vireo
