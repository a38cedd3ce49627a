#include "platform/genicam/genicam_library.h"

#include "platform/device/found_cameras.h"
#include "platform/genicam/discovery.h"
#include "platform/genicam/genicam_cameras.h"

#include <mutex>
#include <optional>
#include <utility>

namespace vireo {

namespace {

/// A look takes a second: the list that the operator was just shown is counted as it is.
constexpr ClockTime kFresh = kNsPerSecond;

/// The driver keeps one list of devices for the whole process.
std::mutex g_csDiscovery;

class GenicamLibrary final : public CameraLibrary, public BusManager {
public:
    GenicamLibrary(Clock& clock, Log& log, GenicamSetup setup)
        : m_clock(clock)
        , m_log(log)
        , m_setup(std::move(setup))
    {
    }

    BusManager& GetBusManager() override { return *this; }
    std::vector<CameraInfo> ListCameras() override;
    std::unique_ptr<Camera> CreateCamera(const PGRGuid& guid) override;
    std::unique_ptr<GigECamera> CreateGigECamera(const PGRGuid& guid) override;
    Error StartSyncCapture(std::span<CameraBase* const> cameras) override;

    Error GetNumOfCameras(unsigned int& uiCount) override;
    Error GetCameraSerialNumberFromIndex(unsigned int uiIndex, unsigned int& uiSerialNumber) override;
    Error GetCameraFromSerialNumber(unsigned int uiSerialNumber, PGRGuid& guid) override;
    Error GetInterfaceTypeFromGuid(const PGRGuid& guid, InterfaceType& eInterface) override;

private:
    Error Refresh();
    bool Find(const PGRGuid& guid, DeviceRecord& record) const;
    GenicamDevice::FindRecord Finder()
    {
        return [this](const PGRGuid& guid, DeviceRecord& record) { return Find(guid, record); };
    }

    Clock& m_clock;
    Log& m_log;
    GenicamSetup m_setup;
    std::shared_ptr<SharedGrace> m_grace = std::make_shared<SharedGrace>();
    mutable std::mutex m_csDevices;
    std::vector<DeviceRecord> m_devices;
    bool m_bListed = false;
    std::optional<ClockTime> m_listedAt; ///< a list that nobody has counted yet
};

Error GenicamLibrary::Refresh()
{
    std::vector<DeviceRecord> devices;
    std::string strError;
    {
        std::lock_guard lock(g_csDiscovery);
        strError = DiscoverDevices(m_setup.strInterface, m_log, devices);
    }
    if (!strError.empty()) {
        m_log.Write(strError);
        return { ErrorType::NotFound, strError };
    }
    std::lock_guard lock(m_csDevices);
    m_devices = std::move(devices);
    m_bListed = true;
    return {};
}

bool GenicamLibrary::Find(const PGRGuid& guid, DeviceRecord& record) const
{
    std::lock_guard lock(m_csDevices);
    const DeviceRecord* pFound = FindByGuid(m_devices, guid);
    if (pFound == nullptr)
        return false;
    record = *pFound;
    return true;
}

std::vector<CameraInfo> GenicamLibrary::ListCameras()
{
    if (!m_bListed && Refresh().IsOk())
        m_listedAt = m_clock.Now();
    std::lock_guard lock(m_csDevices);
    return InfosOf(m_devices);
}

Error GenicamLibrary::GetNumOfCameras(unsigned int& uiCount)
{
    const std::optional<ClockTime> listedAt = std::exchange(m_listedAt, std::nullopt);
    if (!listedAt || m_clock.Now() - *listedAt > kFresh)
        if (Error error = Refresh(); !error.IsOk())
            return error;
    std::lock_guard lock(m_csDevices);
    uiCount = static_cast<unsigned int>(m_devices.size());
    return {};
}

Error GenicamLibrary::GetCameraSerialNumberFromIndex(unsigned int uiIndex, unsigned int& uiSerialNumber)
{
    std::lock_guard lock(m_csDevices);
    if (uiIndex >= m_devices.size())
        return ErrorType::NotFound;
    uiSerialNumber = m_devices[uiIndex].info.serialNumber;
    return {};
}

Error GenicamLibrary::GetCameraFromSerialNumber(unsigned int uiSerialNumber, PGRGuid& guid)
{
    std::lock_guard lock(m_csDevices);
    return FindGuidBySerial(
        m_devices, uiSerialNumber, m_log,
        [](const DeviceRecord& device) { return device.strId + " at " + device.strAddress; }, guid);
}

Error GenicamLibrary::GetInterfaceTypeFromGuid(const PGRGuid& guid, InterfaceType& eInterface)
{
    DeviceRecord record;
    if (!Find(guid, record))
        return ErrorType::NotFound;
    eInterface = record.info.interfaceType;
    return {};
}

std::unique_ptr<Camera> GenicamLibrary::CreateCamera(const PGRGuid& guid)
{
    DeviceRecord record;
    if (!Find(guid, record) || record.bGigE)
        return nullptr;
    return std::make_unique<GenicamUsbCamera>(m_clock, m_log, Finder(), false, m_grace);
}

std::unique_ptr<GigECamera> GenicamLibrary::CreateGigECamera(const PGRGuid& guid)
{
    DeviceRecord record;
    if (!Find(guid, record) || !record.bGigE)
        return nullptr;
    return std::make_unique<GenicamGigECamera>(m_clock, m_log, Finder(), true, m_grace);
}

GenicamDevice* DeviceOf(CameraBase* pCamera)
{
    if (auto* pUsb = dynamic_cast<GenicamUsbCamera*>(pCamera))
        return &pUsb->Device();
    if (auto* pGigE = dynamic_cast<GenicamGigECamera*>(pCamera))
        return &pGigE->Device();
    return nullptr;
}

Error GenicamLibrary::StartSyncCapture(std::span<CameraBase* const> cameras)
{
    return StartTogether(cameras, DeviceOf);
}

} // namespace

std::unique_ptr<CameraLibrary> MakeGenicamLibrary(Clock& clock, Log& log, const GenicamSetup& setup)
{
    return std::make_unique<GenicamLibrary>(clock, log, setup);
}

} // namespace vireo
