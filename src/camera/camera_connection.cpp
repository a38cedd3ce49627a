#include "camera/camera_connection.h"

#include "capture/messages.h"

#include <algorithm>
#include <utility>

namespace vireo {

namespace {

// GigE Vision bootstrap registers.
constexpr std::uint32_t kGvcpCapability = 0x0934;
constexpr std::uint32_t kHeartbeatCanBeDisabled = 0x20000000;
constexpr std::uint32_t kGvcpConfiguration = 0x0954;
constexpr std::uint32_t kHeartbeatDisabled = 0x00000001;

// Embedded frame information: presence bit, time stamp and pin state in every frame.
constexpr std::uint32_t kFrameInfoRegister = 0x12F8;
constexpr std::uint32_t kFrameInfoValue = 0x80000101;

// Room for every camera that was found, also more than can capture.
void PrepareSlots(CVireoDoc& doc)
{
    ReleaseCameras(doc);
    CameraSlots& cameras = doc.m_cameras;
    const std::size_t uiCameras = cameras.m_uiNumCameras;
    cameras.m_owners.resize(uiCameras);
    cameras.m_ppCameraBase.assign(uiCameras, nullptr);
    cameras.m_ppCamera.assign(uiCameras, nullptr);
    cameras.m_ppGigECamera.assign(uiCameras, nullptr);
    cameras.m_bIsGigE.EnsureSize(uiCameras);
    cameras.m_uiSerialNumber.EnsureSize(uiCameras);
    cameras.m_strModel.EnsureSize(uiCameras);
    cameras.m_timeStamp.EnsureSize(uiCameras);
    cameras.m_whiteBalance.EnsureSize(uiCameras);
    std::fill(cameras.m_timeStamp.begin(), cameras.m_timeStamp.end(), TimeStamp {});

    doc.m_store.EnsureCameras(uiCameras);
    doc.m_capture.m_view.EnsureSize(uiCameras);
    doc.m_capture.m_bGrabRun.EnsureSize(uiCameras);
    if (uiCameras > doc.m_capture.m_bThreadEnded.size()) {
        doc.m_capture.m_bThreadEnded.EnsureSize(uiCameras);
        for (auto& bEnded : doc.m_capture.m_bThreadEnded)
            bEnded = true; // no thread has been started yet
    }
}

// In ascending order: slots, and with them the numbers that the operator sees, follow the serial numbers,
// not the order on the buses.
bool ReadSerialNumbers(CVireoDoc& doc, std::vector<unsigned int>& serials)
{
    BusManager& buses = doc.GetPlatform().cameras.GetBusManager();
    for (unsigned int uiIndex = 0; uiIndex < doc.m_cameras.m_uiNumCameras; ++uiIndex) {
        unsigned int uiSerial = 0;
        const Error error = buses.GetCameraSerialNumberFromIndex(uiIndex, uiSerial);
        if (!Passed(doc.GetPlatform().window, error, messages::kSerialNumberFailed))
            return false;
        serials.push_back(uiSerial);
    }
    std::sort(serials.begin(), serials.end());
    return true;
}

// The program may be busy for longer than the heartbeat's time-out; a camera that can do without it does.
bool DisableHeartbeat(CVireoDoc& doc, GigECamera& camera)
{
    WindowSystem& window = doc.GetPlatform().window;
    std::uint32_t uiCapability = 0;
    if (!Passed(window, camera.ReadGVCPRegister(kGvcpCapability, uiCapability), messages::kHeartbeatReadFailed))
        return false;
    if ((uiCapability & kHeartbeatCanBeDisabled) == 0)
        return true;
    std::uint32_t uiConfiguration = 0;
    return Passed(window, camera.ReadGVCPRegister(kGvcpConfiguration, uiConfiguration), messages::kHeartbeatReadFailed2)
        && Passed(window, camera.WriteGVCPRegister(kGvcpConfiguration, uiConfiguration | kHeartbeatDisabled),
            messages::kHeartbeatWriteFailed);
}

// Every slot streams to a multicast group of its own.
bool SetStreamDestinations(CVireoDoc& doc, GigECamera& camera, std::size_t uiCamera)
{
    WindowSystem& window = doc.GetPlatform().window;
    std::uint32_t uiChannels = 0;
    if (!Passed(window, camera.GetNumStreamChannels(uiChannels), messages::kStreamCountFailed))
        return false;
    for (std::uint32_t uiChannel = 0; uiChannel < uiChannels; ++uiChannel) {
        GigEStreamChannel channel;
        if (!Passed(window, camera.GetGigEStreamChannelInfo(uiChannel, channel), messages::kStreamReadFailed))
            return false;
        channel.destinationIpAddress = { { 224, 0, 0, static_cast<std::uint8_t>(uiCamera + 1) } };
        if (!Passed(window, camera.SetGigEStreamChannelInfo(uiChannel, channel), messages::kStreamWriteFailed))
            return false;
    }
    return true;
}

bool ReadIdentity(CVireoDoc& doc, std::size_t uiCamera)
{
    doc.m_cameras.m_bCameraConnected = true;
    CameraInfo info;
    const Error error = CameraOf(doc, uiCamera).GetCameraInfo(info);
    if (!Passed(doc.GetPlatform().window, error, messages::kCameraInfoReadFailed))
        return false;
    doc.m_cameras.m_uiSerialNumber[uiCamera] = info.serialNumber;
    doc.m_cameras.m_strModel[uiCamera] = info.modelName;
    return true;
}

// Puts a new camera object into its slot and opens it.
template <typename Kind>
bool Open(
    CVireoDoc& doc, std::size_t uiCamera, const PGRGuid& guid, std::unique_ptr<Kind> camera, std::vector<Kind*>& kind)
{
    Error error = ErrorType::NotFound;
    if (camera) {
        kind[uiCamera] = camera.get();
        doc.m_cameras.m_ppCameraBase[uiCamera] = camera.get();
        doc.m_cameras.m_owners[uiCamera] = std::move(camera);
        error = CameraOf(doc, uiCamera).Connect(guid);
    }
    return Passed(doc.GetPlatform().window, error, messages::kConnectFailed);
}

bool ConnectGigE(CVireoDoc& doc, std::size_t uiCamera, const PGRGuid& guid)
{
    CameraSlots& cameras = doc.m_cameras;
    if (!Open(doc, uiCamera, guid, doc.GetPlatform().cameras.CreateGigECamera(guid), cameras.m_ppGigECamera))
        return false;
    GigECamera& camera = *cameras.m_ppGigECamera[uiCamera];
    if (!DisableHeartbeat(doc, camera) || !SetStreamDestinations(doc, camera, uiCamera) || !ReadIdentity(doc, uiCamera))
        return false;
    cameras.m_bIsGigE[uiCamera] = true;
    return true;
}

bool ConnectOther(CVireoDoc& doc, std::size_t uiCamera, const PGRGuid& guid)
{
    return Open(doc, uiCamera, guid, doc.GetPlatform().cameras.CreateCamera(guid), doc.m_cameras.m_ppCamera)
        && ReadIdentity(doc, uiCamera);
}

// A partner program knows six models.
bool FitsCooperation(CVireoDoc& doc, std::size_t uiCamera)
{
    const std::string& strModel = doc.m_cameras.m_strModel[uiCamera];
    if (!doc.m_parameters.m_bCooperation || IsStrobeCapable(strModel))
        return true;
    ShowMessage(doc.GetPlatform().window, messages::kUnsupportedModel, { strModel });
    doc.App().SetCooperationResult(cooperation_result::kCamerasUnfit);
    return false;
}

bool PrepareCamera(CVireoDoc& doc, std::size_t uiCamera)
{
    WindowSystem& window = doc.GetPlatform().window;
    CameraBase& camera = CameraOf(doc, uiCamera);
    FC2Config config;
    if (!Passed(window, camera.GetConfiguration(config), messages::kCameraInfoReadFailed))
        return false;
    config.grabMode = GrabMode::BufferFrames;
    return Passed(window, camera.SetConfiguration(config), messages::kCameraInfoWriteFailed)
        && Passed(window, camera.WriteRegister(kFrameInfoRegister, kFrameInfoValue), messages::kRegisterWriteFailed);
}

bool ConnectCamera(CVireoDoc& doc, std::size_t uiCamera, unsigned int uiSerial)
{
    WindowSystem& window = doc.GetPlatform().window;
    BusManager& buses = doc.GetPlatform().cameras.GetBusManager();
    PGRGuid guid;
    InterfaceType eInterface = InterfaceType::Unknown;
    if (!Passed(window, buses.GetCameraFromSerialNumber(uiSerial, guid), messages::kCameraIndexFailed)
        || !Passed(window, buses.GetInterfaceTypeFromGuid(guid, eInterface), messages::kInterfaceTypeFailed))
        return false;
    const bool bConnected =
        eInterface == InterfaceType::GigE ? ConnectGigE(doc, uiCamera, guid) : ConnectOther(doc, uiCamera, guid);
    if (!bConnected || !FitsCooperation(doc, uiCamera))
        return false;
    ApplyModelLimits(doc.m_parameters, ClassifyModel(doc.m_cameras.m_strModel[uiCamera]));
    return PrepareCamera(doc, uiCamera);
}

} // namespace

bool ConnectCameras(CVireoDoc& doc)
{
    PrepareSlots(doc);
    std::vector<unsigned int> serials;
    if (!ReadSerialNumbers(doc, serials))
        return false;
    for (std::size_t uiCamera = 0; uiCamera < serials.size(); ++uiCamera)
        if (!ConnectCamera(doc, uiCamera, serials[uiCamera]))
            return false;
    return true;
}

void ReleaseCameras(CVireoDoc& doc)
{
    CameraSlots& cameras = doc.m_cameras;
    for (const auto& camera : cameras.m_owners) {
        if (!camera || !camera->IsConnected())
            continue;
        const Error error = camera->Disconnect();
        if (!error.IsOk())
            PrintErrorTrace(doc.GetPlatform().log, error, "Disconnect");
    }
    cameras.m_ppCameraBase.clear();
    cameras.m_ppCamera.clear();
    cameras.m_ppGigECamera.clear();
    cameras.m_owners.clear();
    cameras.m_bCameraConnected = false;
    std::fill(cameras.m_bIsGigE.begin(), cameras.m_bIsGigE.end(), false);
}

void ApplyModelLimits(CaptureParameters& parameters, CameraModelKind eKinds)
{
    for (const ModelLimits& row : ModelLimitTable()) {
        if (!Has(eKinds, row.eKind))
            continue;
        if (parameters.m_iGainMaxDb > row.iGainMaxDb) {
            parameters.m_iGainMinDb = row.iGainMinDb;
            parameters.m_iGainMaxDb = row.iGainMaxDb;
        }
        parameters.m_iModelMaxFps = std::min(parameters.m_iModelMaxFps, row.iMaxFps);
    }
}

} // namespace vireo
