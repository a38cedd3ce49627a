#include "platform/simulated/simulated_library.h"

#include "platform/simulated/simulated_cameras.h"
#include "platform/simulated/simulation.h"

#include <algorithm>

namespace vireo {

namespace {

class SimulatedBus final : public BusManager {
public:
    explicit SimulatedBus(Simulation& simulation)
        : m_simulation(simulation)
        , m_list(simulation.Bus())
    {
    }

    Error GetNumOfCameras(unsigned int& uiCount) override
    {
        std::lock_guard lock(m_simulation.Mutex());
        if (Error fault = m_simulation.Errors().Count(Operation::GetNumOfCameras, nullptr); !fault.IsOk())
            return fault;
        m_simulation.Advance();
        m_list = m_simulation.Bus();
        std::erase_if(m_list, [](const Device* pDevice) { return pDevice->bGone; });
        uiCount = static_cast<unsigned int>(m_list.size());
        return {};
    }

    Error GetCameraSerialNumberFromIndex(unsigned int uiIndex, unsigned int& uiSerialNumber) override
    {
        Device* const pDevice = uiIndex < m_list.size() ? m_list[uiIndex] : nullptr;
        return Tell(Operation::GetCameraSerialNumberFromIndex, pDevice,
            [&](const Device& device) { uiSerialNumber = device.info.serialNumber; });
    }

    Error GetCameraFromSerialNumber(unsigned int uiSerialNumber, PGRGuid& guid) override
    {
        const auto it = std::find_if(m_list.begin(), m_list.end(),
            [=](const Device* pDevice) { return pDevice->info.serialNumber == uiSerialNumber; });
        return Tell(Operation::GetCameraFromSerialNumber, it == m_list.end() ? nullptr : *it,
            [&](const Device& device) { guid = device.guid; });
    }

    Error GetInterfaceTypeFromGuid(const PGRGuid& guid, InterfaceType& eInterface) override
    {
        return Tell(Operation::GetInterfaceTypeFromGuid, m_simulation.Find(guid),
            [&](const Device& device) { eInterface = device.info.interfaceType; });
    }

private:
    template <typename Answer> Error Tell(Operation eOperation, const Device* pDevice, Answer answer)
    {
        std::lock_guard lock(m_simulation.Mutex());
        if (Error fault = m_simulation.Errors().Count(eOperation, pDevice); !fault.IsOk())
            return fault;
        if (pDevice == nullptr)
            return ErrorType::NotFound;
        answer(*pDevice);
        return {};
    }

    Simulation& m_simulation;
    std::vector<Device*> m_list;
};

class SimulatedLibrary final : public CameraLibrary {
public:
    SimulatedLibrary(Clock& clock, const SimulatedSetup& setup)
        : m_simulation(clock, setup)
        , m_bus(m_simulation)
    {
    }

    BusManager& GetBusManager() override { return m_bus; }

    std::vector<CameraInfo> ListCameras() override
    {
        std::lock_guard lock(m_simulation.Mutex());
        m_simulation.Advance();
        std::vector<CameraInfo> list;
        for (const Device* pDevice : m_simulation.Bus())
            if (!pDevice->bGone)
                list.push_back(pDevice->info);
        return list;
    }

    std::unique_ptr<Camera> CreateCamera(const PGRGuid& guid) override
    {
        Device* const pDevice = m_simulation.Find(guid);
        if (pDevice == nullptr || pDevice->info.interfaceType == InterfaceType::GigE)
            return nullptr;
        return std::make_unique<SimulatedCamera>(m_simulation, *pDevice);
    }

    std::unique_ptr<GigECamera> CreateGigECamera(const PGRGuid& guid) override
    {
        Device* const pDevice = m_simulation.Find(guid);
        if (pDevice == nullptr || pDevice->info.interfaceType != InterfaceType::GigE)
            return nullptr;
        return std::make_unique<SimulatedGigECamera>(m_simulation, *pDevice);
    }

    Error StartSyncCapture(std::span<CameraBase* const> cameras) override
    {
        std::vector<CameraLink*> links;
        for (CameraBase* pCamera : cameras) {
            auto* const pOwner = dynamic_cast<LinkOwner*>(pCamera);
            if (pOwner == nullptr || &pOwner->Link().GetSimulation() != &m_simulation)
                return ErrorType::InvalidParameter;
            links.push_back(&pOwner->Link());
            links.back()->PrepareScene();
        }
        std::lock_guard lock(m_simulation.Mutex());
        if (Error fault = m_simulation.Errors().Count(Operation::StartSyncCapture, nullptr); !fault.IsOk())
            return fault;
        const ClockTime now = m_simulation.Advance();
        for (const CameraLink* pLink : links)
            if (Error error = pLink->CheckStart(); !error.IsOk())
                return error;
        for (const CameraLink* pLink : links)
            m_simulation.Network().Start(pLink->GetDevice(), now);
        m_simulation.WakeAll();
        return {};
    }

private:
    Simulation m_simulation;
    SimulatedBus m_bus;
};

} // namespace

std::unique_ptr<CameraLibrary> MakeSimulatedLibrary(Clock& clock, const SimulatedSetup& setup)
{
    return std::make_unique<SimulatedLibrary>(clock, setup);
}

} // namespace vireo
