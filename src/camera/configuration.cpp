#include "camera/configuration.h"

#include "camera/capture_start.h"
#include "camera/document_settings.h"
#include "camera/image_mode.h"
#include "camera/video_mode.h"
#include "camera/white_balance.h"
#include "capture/camera_properties.h"
#include "capture/grab_threads.h"
#include "capture/messages.h"
#include "capture/strobe.h"

#include <algorithm>

namespace vireo {

namespace {

constexpr int kOpenShutter = -1;
constexpr double kLongestExposureMs = 30.0;

constexpr std::uint32_t kColourRegister = 0x1048;
constexpr std::uint32_t kColourValue = 0x80000080;

// What one start leaves behind must not reach into the next.
void ClearCounters(CVireoDoc& doc)
{
    doc.m_capture.m_uiMissedCount = 0;
    doc.m_capture.m_uiOutOfSyncCount = 0;
    doc.m_capture.m_iCaptureState = capture_state::kLive;
    FrameStore& store = doc.m_store;
    store.m_iRecordTarget = store.m_iBufferFrames - kRingHeadroom;
    store.m_uiDoneCameras = 0;
    store.m_iStartMark = -1;
    store.m_bStartRequest = false;
    store.m_iStopMark = -1;
    store.m_bStopRequest = false;
}

bool CanConfigure(CVireoDoc& doc)
{
    WindowSystem& window = doc.GetPlatform().window;
    const CaptureParameters& parameters = doc.m_parameters;
    if (parameters.m_iImageSizeIndex == 0 && parameters.m_iFps > parameters.m_iModelMaxFps) {
        ShowMessage(window, messages::kRateNotSupported, { parameters.m_iFps, parameters.m_iModelMaxFps });
        return false;
    }
    if (doc.m_cameras.m_uiNumCameras == 0) {
        ShowMessage(window, messages::kNoCamera);
        return false;
    }
    return doc.m_store.Exists(); // else frames have nowhere to go; the allocation has shown why
}

CaptureSnapshot TakeSnapshot(const CVireoDoc& doc)
{
    const CaptureParameters& parameters = doc.m_parameters;
    const ImageSize size = SizeOfIndex(parameters.m_iImageSizeIndex);
    CaptureSnapshot snapshot;
    snapshot.iFps = parameters.m_iFps;
    snapshot.iImageSizeIndex = parameters.m_iImageSizeIndex;
    snapshot.iWidth = size.iWidth;
    snapshot.iHeight = size.iHeight;
    snapshot.iShutter = parameters.m_iShutter;
    snapshot.fExposureMs = ExposureMs(parameters.m_iShutter, parameters.m_iFps);
    snapshot.iBufferFrames = doc.m_store.m_iBufferFrames;
    snapshot.uiSlotBytes = doc.m_store.m_uiSlotBytes;
    snapshot.uiCameras = doc.m_cameras.m_uiNumCameras;
    snapshot.bTriggerWaitRing = doc.m_capture.m_bTriggerWaitRing;
    snapshot.bTriggerWaitLinear = doc.m_capture.m_bTriggerWaitLinear;
    snapshot.bLowHigh = parameters.TriggerLowHigh;
    snapshot.bMaster = parameters.IsMaster;
    snapshot.bCooperation = doc.Request().CooperationMode;
    snapshot.bImposed = parameters.m_bCooperation;
    snapshot.bRateFixed = parameters.m_bRateFixed;
    snapshot.iFirstCamera = parameters.InitialCameraNumber;
    snapshot.bView24 = doc.m_capture.m_running.bView24; // the views' choice, not the operator's
    return snapshot;
}

void AddIdentity(CaptureSnapshot& snapshot, const CameraInfo& info)
{
    if (snapshot.models.empty())
        snapshot.bStrobeCapable = IsStrobeCapable(info.modelName);
    snapshot.models.push_back(info.modelName);
    snapshot.serials.push_back(info.serialNumber);
    snapshot.interfaces.push_back(info.interfaceType);
    snapshot.clockDomains.push_back(info.clockDomain);
}

bool PrepareColour(CVireoDoc& doc, CameraBase& camera)
{
    return Passed(doc.GetPlatform().window, camera.WriteRegister(kColourRegister, kColourValue),
               messages::kRegisterWriteFailed)
        && SwitchProperty(doc, camera, PropertyType::FrameRate, true);
}

bool SetManual(CVireoDoc& doc, CameraBase& camera, PropertyType eType, float fValue)
{
    return SwitchProperty(doc, camera, eType, false) && SetAbsoluteValue(doc, camera, eType, fValue);
}

bool ConfigureCamera(CVireoDoc& doc, std::size_t uiCamera, CaptureSnapshot& snapshot)
{
    CameraBase& camera = CameraOf(doc, uiCamera);
    CameraInfo info;
    if (!Passed(doc.GetPlatform().window, camera.GetCameraInfo(info), messages::kCameraInfoReadFailed))
        return false;
    AddIdentity(snapshot, info);
    const VideoModeChoice choice = ChooseVideoMode(info.modelName, snapshot.iImageSizeIndex, snapshot.iFps);

    if (!IsStrobeCapable(info.modelName) && !GpioControl(doc, uiCamera))
        return false;
    if (info.isColorCamera && !PrepareColour(doc, camera))
        return false;
    // GigE cameras know no standard modes: one that no rule names gets its image settings without centring.
    const bool bCustom = choice.bCustom || doc.m_cameras.m_bIsGigE[uiCamera];
    if (!(bCustom ? SetCustomMode(doc, uiCamera, info, choice) : SetStandardMode(doc, uiCamera, choice)))
        return false;
    return SetManual(doc, camera, PropertyType::Shutter, snapshot.fExposureMs)
        && SetManual(doc, camera, PropertyType::Gain, doc.m_parameters.m_fGain);
}

bool BalanceColours(CVireoDoc& doc, std::size_t uiCamera)
{
    CameraInfo info;
    const Error error = CameraOf(doc, uiCamera).GetCameraInfo(info);
    if (!error.IsOk())
        PrintErrorTrace(doc.GetPlatform().log, error, "GetCameraInfo");
    LoadWhiteBalance(doc, uiCamera);
    return !info.isColorCamera || ApplyWhiteBalance(doc, uiCamera);
}

} // namespace

float ExposureMs(int iShutter, int iFps)
{
    const int iDenominator = iShutter == kOpenShutter ? iFps : iShutter;
    if (iDenominator < 1)
        return static_cast<float>(kLongestExposureMs);
    return static_cast<float>(std::min(1000.0 / iDenominator, kLongestExposureMs));
}

bool ConfigureCameras(CVireoDoc& doc)
{
    if (doc.m_capture.m_bCapturing)
        return true;
    if (doc.m_capture.m_bSaving) // the frames being saved must not be overwritten
        return false;
    // Threads that have ended the last capture by themselves may still be leaving; one that waits for a frame
    // would take the first one of the next capture.
    StopGrab(doc);
    if (doc.m_grabThreads)
        doc.m_grabThreads->Join();
    ClearCounters(doc);
    if (!CanConfigure(doc))
        return false;

    CaptureSnapshot snapshot = TakeSnapshot(doc);
    for (std::size_t uiCamera = 0; uiCamera < snapshot.uiCameras; ++uiCamera)
        if (!ConfigureCamera(doc, uiCamera, snapshot))
            return false;
    for (std::size_t uiCamera = 0; uiCamera < snapshot.uiCameras; ++uiCamera)
        if (!BalanceColours(doc, uiCamera))
            return false;
    return StartCapturing(doc, snapshot);
}

} // namespace vireo
