#include "platform/joined/joined_library.h"

#include <algorithm>
#include <map>
#include <string>

namespace vireo {

namespace {

/// The longer name may carry the maker's family name before the model.
bool SameModel(const std::string& strA, const std::string& strB)
{
    return strA.find(strB) != std::string::npos || strB.find(strA) != std::string::npos;
}

class JoinedLibrary final : public CameraLibrary, public BusManager {
public:
    JoinedLibrary(Log& log, std::vector<std::unique_ptr<CameraLibrary>> libraries)
        : m_log(log)
        , m_libraries(std::move(libraries))
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
    struct Entry {
        std::size_t uiLibrary = 0;
        CameraInfo info;
    };
    void Collect();
    bool Listed(std::size_t uiLibrary, const CameraInfo& info) const;

    Log& m_log;
    std::vector<std::unique_ptr<CameraLibrary>> m_libraries;
    std::vector<Entry> m_cameras;
    std::map<const CameraBase*, std::size_t> m_makers; ///< which library made a camera object
};

/// An earlier library has this camera already.
bool JoinedLibrary::Listed(std::size_t uiLibrary, const CameraInfo& info) const
{
    return std::any_of(m_cameras.begin(), m_cameras.end(), [&](const Entry& entry) {
        return entry.uiLibrary < uiLibrary && entry.info.serialNumber == info.serialNumber
            && SameModel(entry.info.modelName, info.modelName);
    });
}

void JoinedLibrary::Collect()
{
    m_cameras.clear();
    for (std::size_t uiLibrary = 0; uiLibrary < m_libraries.size(); uiLibrary++)
        for (CameraInfo& info : m_libraries[uiLibrary]->ListCameras())
            if (!Listed(uiLibrary, info))
                m_cameras.push_back({ uiLibrary, std::move(info) });
}

std::vector<CameraInfo> JoinedLibrary::ListCameras()
{
    Collect();
    std::vector<CameraInfo> infos;
    for (const Entry& entry : m_cameras)
        infos.push_back(entry.info);
    return infos;
}

Error JoinedLibrary::GetNumOfCameras(unsigned int& uiCount)
{
    for (const auto& library : m_libraries) {
        unsigned int uiOwn = 0;
        if (Error error = library->GetBusManager().GetNumOfCameras(uiOwn); !error.IsOk())
            return error;
    }
    Collect();
    uiCount = static_cast<unsigned int>(m_cameras.size());
    return {};
}

Error JoinedLibrary::GetCameraSerialNumberFromIndex(unsigned int uiIndex, unsigned int& uiSerialNumber)
{
    if (uiIndex >= m_cameras.size())
        return ErrorType::NotFound;
    uiSerialNumber = m_cameras[uiIndex].info.serialNumber;
    return {};
}

Error JoinedLibrary::GetCameraFromSerialNumber(unsigned int uiSerialNumber, PGRGuid& guid)
{
    const Entry* pFound = nullptr;
    for (const Entry& entry : m_cameras) {
        if (entry.info.serialNumber != uiSerialNumber)
            continue;
        if (pFound != nullptr && pFound->uiLibrary != entry.uiLibrary) {
            const std::string strText = "two cameras have the serial number " + std::to_string(uiSerialNumber) + ": "
                + pFound->info.modelName + " and " + entry.info.modelName;
            m_log.Write(strText);
            return { ErrorType::InvalidParameter, strText };
        }
        pFound = &entry;
    }
    if (pFound == nullptr)
        return { ErrorType::NotFound, "no camera " + std::to_string(uiSerialNumber) };
    return m_libraries[pFound->uiLibrary]->GetBusManager().GetCameraFromSerialNumber(uiSerialNumber, guid);
}

Error JoinedLibrary::GetInterfaceTypeFromGuid(const PGRGuid& guid, InterfaceType& eInterface)
{
    for (const auto& library : m_libraries) {
        Error error = library->GetBusManager().GetInterfaceTypeFromGuid(guid, eInterface);
        if (!(error == ErrorType::NotFound))
            return error;
    }
    return ErrorType::NotFound;
}

std::unique_ptr<Camera> JoinedLibrary::CreateCamera(const PGRGuid& guid)
{
    for (std::size_t i = 0; i < m_libraries.size(); i++)
        if (auto camera = m_libraries[i]->CreateCamera(guid)) {
            m_makers[camera.get()] = i;
            return camera;
        }
    return nullptr;
}

std::unique_ptr<GigECamera> JoinedLibrary::CreateGigECamera(const PGRGuid& guid)
{
    for (std::size_t i = 0; i < m_libraries.size(); i++)
        if (auto camera = m_libraries[i]->CreateGigECamera(guid)) {
            m_makers[camera.get()] = i;
            return camera;
        }
    return nullptr;
}

/// Each library starts its own cameras together; those of different makers start one after the other.
Error JoinedLibrary::StartSyncCapture(std::span<CameraBase* const> cameras)
{
    std::vector<std::vector<CameraBase*>> groups(m_libraries.size());
    for (CameraBase* pCamera : cameras) {
        const auto maker = m_makers.find(pCamera);
        if (maker == m_makers.end())
            return ErrorType::InvalidParameter;
        groups[maker->second].push_back(pCamera);
    }
    for (std::size_t i = 0; i < groups.size(); i++) {
        if (groups[i].empty())
            continue;
        Error error = m_libraries[i]->StartSyncCapture(groups[i]);
        if (error.IsOk())
            continue;
        for (std::size_t uiStarted = 0; uiStarted < i; uiStarted++)
            for (CameraBase* pCamera : groups[uiStarted])
                (void)pCamera->StopCapture();
        return error;
    }
    return {};
}

} // namespace

std::unique_ptr<CameraLibrary> MakeJoinedLibrary(Log& log, std::vector<std::unique_ptr<CameraLibrary>> libraries)
{
    return std::make_unique<JoinedLibrary>(log, std::move(libraries));
}

} // namespace vireo
