#include "platform/iidc/iidc_library.h"

#include "platform/device/found_cameras.h"
#include "platform/iidc/iidc_camera.h"

#include <algorithm>
#include <cstdio>

namespace vireo {

namespace {

constexpr std::uint32_t kGuidTag = 0x49494443; // "IIDC"

PGRGuid MakeGuid(const CameraInfo& info, const dc1394camera_id_t& id)
{
    return { { kGuidTag, info.serialNumber, static_cast<std::uint32_t>(id.guid >> 32) ^ id.unit,
        static_cast<std::uint32_t>(id.guid) } };
}

/// As it stands in the camera's own memory, and often on its label.
std::string GuidText(std::uint64_t uiGuid)
{
    char szText[17] = {};
    std::snprintf(szText, sizeof szText, "%016llx", static_cast<unsigned long long>(uiGuid));
    return szText;
}

/// What the driver has to say goes where everything goes.
void WriteDriverLine(dc1394log_t, const char* strText, void* pLog) { static_cast<Log*>(pLog)->Write(strText); }

class IidcLibrary final : public CameraLibrary, public BusManager {
public:
    IidcLibrary(Clock& clock, Log& log)
        : m_clock(clock)
        , m_log(log)
    {
        for (const dc1394log_t eKind : { DC1394_LOG_ERROR, DC1394_LOG_WARNING })
            dc1394_log_register_handler(eKind, WriteDriverLine, &m_log);
    }
    ~IidcLibrary() override
    {
        for (const dc1394log_t eKind : { DC1394_LOG_ERROR, DC1394_LOG_WARNING })
            dc1394_log_set_default_handler(eKind);
    }

    BusManager& GetBusManager() override { return *this; }
    std::vector<CameraInfo> ListCameras() override;
    std::unique_ptr<Camera> CreateCamera(const PGRGuid& guid) override;
    std::unique_ptr<GigECamera> CreateGigECamera(const PGRGuid&) override { return nullptr; }
    Error StartSyncCapture(std::span<CameraBase* const> cameras) override;

    Error GetNumOfCameras(unsigned int& uiCount) override;
    Error GetCameraSerialNumberFromIndex(unsigned int uiIndex, unsigned int& uiSerialNumber) override;
    Error GetCameraFromSerialNumber(unsigned int uiSerialNumber, PGRGuid& guid) override;
    Error GetInterfaceTypeFromGuid(const PGRGuid& guid, InterfaceType& eInterface) override;

private:
    void Refresh();
    bool Identify(const dc1394camera_id_t& id, IidcRecord& record);

    Clock& m_clock;
    Log& m_log;
    std::shared_ptr<SharedGrace> m_grace = std::make_shared<SharedGrace>();
    Dc1394Context m_context;
    std::vector<IidcRecord> m_cameras;
    bool m_bListed = false;
};

/// Who a camera is can only be asked of the camera itself. One that is open already is not opened again:
/// what was read of it before still holds.
bool IidcLibrary::Identify(const dc1394camera_id_t& id, IidcRecord& record)
{
    const auto known = std::find_if(m_cameras.begin(), m_cameras.end(),
        [&](const IidcRecord& camera) { return camera.uiDc1394Guid == id.guid && camera.uiUnit == id.unit; });
    if (known != m_cameras.end()) {
        record = *known;
        return true;
    }
    Dc1394Camera camera(dc1394_camera_new_unit(m_context.get(), id.guid, id.unit));
    if (!camera)
        return false;
    IidcDevice device(std::move(camera), "camera", std::make_shared<Presence>(m_clock));
    record.uiDc1394Guid = id.guid;
    record.uiUnit = id.unit;
    record.info = ReadIidcInfo(device, id.guid);
    record.guid = MakeGuid(record.info, id);
    return true;
}

void IidcLibrary::Refresh()
{
    m_bListed = true;
    if (!m_context)
        m_context = Dc1394Context(dc1394_new(), [](dc1394_t* pContext) {
            if (pContext != nullptr)
                dc1394_free(pContext);
        });
    dc1394camera_list_t* pList = nullptr;
    if (!m_context || dc1394_camera_enumerate(m_context.get(), &pList) != DC1394_SUCCESS) {
        m_cameras.clear(); // no such bus here
        return;
    }
    const Dc1394List list(pList);
    std::vector<IidcRecord> found;
    for (std::uint32_t i = 0; i < list->num; i++) {
        IidcRecord record;
        if (Identify(list->ids[i], record))
            found.push_back(std::move(record));
        else
            m_log.Write(
                "the IIDC camera " + GuidText(list->ids[i].guid) + " cannot be opened; another program may hold it");
    }
    m_cameras = std::move(found);
}

std::vector<CameraInfo> IidcLibrary::ListCameras()
{
    if (!m_bListed)
        Refresh();
    return InfosOf(m_cameras);
}

Error IidcLibrary::GetNumOfCameras(unsigned int& uiCount)
{
    Refresh();
    uiCount = static_cast<unsigned int>(m_cameras.size());
    return {};
}

Error IidcLibrary::GetCameraSerialNumberFromIndex(unsigned int uiIndex, unsigned int& uiSerialNumber)
{
    if (uiIndex >= m_cameras.size())
        return ErrorType::NotFound;
    uiSerialNumber = m_cameras[uiIndex].info.serialNumber;
    return {};
}

Error IidcLibrary::GetCameraFromSerialNumber(unsigned int uiSerialNumber, PGRGuid& guid)
{
    return FindGuidBySerial(
        m_cameras, uiSerialNumber, m_log,
        [](const IidcRecord& camera) { return camera.info.modelName + " (" + GuidText(camera.uiDc1394Guid) + ")"; },
        guid);
}

Error IidcLibrary::GetInterfaceTypeFromGuid(const PGRGuid& guid, InterfaceType& eInterface)
{
    const IidcRecord* pCamera = FindByGuid(m_cameras, guid);
    if (pCamera == nullptr)
        return ErrorType::NotFound;
    eInterface = pCamera->info.interfaceType;
    return {};
}

std::unique_ptr<Camera> IidcLibrary::CreateCamera(const PGRGuid& guid)
{
    if (FindByGuid(m_cameras, guid) == nullptr)
        return nullptr;
    const auto find = [this](const PGRGuid& wanted, IidcRecord& record, Dc1394Context& context) {
        const IidcRecord* pFound = FindByGuid(m_cameras, wanted);
        if (pFound == nullptr)
            return false;
        record = *pFound;
        context = m_context;
        return true;
    };
    return std::make_unique<IidcCamera>(m_clock, m_log, find, m_grace);
}

Error IidcLibrary::StartSyncCapture(std::span<CameraBase* const> cameras)
{
    return StartTogether(cameras, [](CameraBase* pCamera) { return dynamic_cast<IidcCamera*>(pCamera); });
}

} // namespace

std::unique_ptr<CameraLibrary> MakeIidcLibrary(Clock& clock, Log& log)
{
    return std::make_unique<IidcLibrary>(clock, log);
}

} // namespace vireo
