#include "camera/capture_start.h"

#include "capture/camera_properties.h"
#include "capture/camera_stop.h"
#include "capture/grab_threads.h"
#include "capture/messages.h"
#include "capture/strobe.h"

namespace vireo {

namespace {

constexpr int kFlagsSettleMs = 20; ///< before the cameras' queues are emptied
constexpr int kThreadsSettleMs = 100; ///< until the threads of a synchronised start run
constexpr unsigned int kStrobeLine = 2;

void SetRunFlags(CVireoDoc& doc, bool bRun)
{
    for (std::size_t uiCamera = 0; uiCamera < doc.m_cameras.m_uiNumCameras; ++uiCamera)
        doc.m_capture.m_bGrabRun[uiCamera] = bRun;
    doc.m_capture.m_bKeyWaitRun = bRun;
}

// After a failure that has been shown: no camera may go on capturing, no trigger stay armed, and no flag may
// tell of a capture that has no threads. False, for the caller to return.
bool AbandonStart(CVireoDoc& doc)
{
    for (std::size_t uiCamera = 0; uiCamera < doc.m_cameras.m_uiNumCameras; ++uiCamera)
        CameraOf(doc, uiCamera).CancelRetrieve(); // so that those which are dead are waited for side by side
    (void)StopEveryCamera(doc);
    UndoSynchroStrobe(doc);
    SetRunFlags(doc, false);
    doc.m_capture.m_bCapturing = false;
    return false;
}

void SetMode(CVireoDoc& doc, int iMode)
{
    doc.m_capture.m_iCaptureMode = iMode;
    doc.m_capture.m_running.iMode = iMode;
}

// Camera 0 gives the strobe, so the others must be waiting when it starts; when an external trigger drives
// all of them the order is the other one.
bool StartEachCamera(CVireoDoc& doc)
{
    const unsigned int uiCameras = doc.m_cameras.m_uiNumCameras;
    const bool bUpwards = doc.m_capture.m_running.bTriggerWaitRing;
    for (std::size_t i = 0; i < uiCameras; ++i) {
        const std::size_t uiCamera = bUpwards ? i : uiCameras - 1 - i;
        if (!Passed(doc.GetPlatform().window, CameraOf(doc, uiCamera).StartCapture(), messages::kStartFailed))
            return false;
    }
    return true;
}

// Reading the strobe proves that camera 0 still answers; the shutter follows the rate it really has.
bool CorrectExposure(CVireoDoc& doc)
{
    CameraBase& camera = CameraOf(doc, 0);
    StrobeControl strobe;
    strobe.source = kStrobeLine;
    return Passed(doc.GetPlatform().window, camera.GetStrobe(strobe), messages::kStartStrobeFailed)
        && LimitExposure(doc, camera);
}

bool StartInStep(CVireoDoc& doc)
{
    WindowSystem& window = doc.GetPlatform().window;
    if (!StartEachCamera(doc))
        return AbandonStart(doc);
    SetMode(doc, capture_mode::kRing);
    const unsigned int uiCameras = doc.m_cameras.m_uiNumCameras;
    if (uiCameras > kMaxGrabThreads) {
        ShowMessage(window, messages::kTooManyCameras, { uiCameras });
        return AbandonStart(doc);
    }
    // Nobody presses start when the first triggered frame is to be recorded, or the partner wants it at once.
    doc.m_store.m_bStartRequest =
        doc.m_capture.m_running.bTriggerWaitRing || SwitchStartsBySelf(doc.Request().CoopSwitches);
    StartGrabThreads(doc, ThreadStartOrder::HighestFirst);
    window.Settle(kThreadsSettleMs);
    if (!doc.m_parameters.m_bCooperation && !CorrectExposure(doc)) {
        StopGrab(doc);
        return false;
    }
    return true;
}

bool StartFreeRunning(CVireoDoc& doc)
{
    Platform& platform = doc.GetPlatform();
    if (!platform.cameras.StartSyncCapture(doc.m_cameras.m_ppCameraBase).IsOk()) {
        ShowMessage(platform.window, messages::kSyncStartFailed);
        return AbandonStart(doc);
    }
    StartGrabThreads(doc, ThreadStartOrder::LowestFirst);
    const unsigned int uiCameras = doc.m_cameras.m_uiNumCameras;
    if (uiCameras > kMaxGrabThreads) { // the first four capture already, and go on
        ShowMessage(platform.window, messages::kTooManyCameras, { uiCameras });
        return false;
    }
    return true;
}

} // namespace

bool StartCapturing(CVireoDoc& doc, const CaptureSnapshot& snapshot)
{
    doc.m_capture.m_running = snapshot;
    SetRunFlags(doc, true);
    if (!VoltageLevelLowHigh(doc, snapshot.bLowHigh ? 1 : 0)) {
        SetRunFlags(doc, false);
        return false;
    }
    doc.m_capture.m_bCapturing = true;
    doc.GetPlatform().window.Settle(kFlagsSettleMs);
    if (!ClearStrobeCameraBuffer(doc))
        return AbandonStart(doc);

    int hwSync = 0;
    const StrobePreparation ePreparation = SynchroStrobePre(doc, hwSync);
    if (ePreparation == StrobePreparation::Failed)
        return AbandonStart(doc);
    SetMode(doc, capture_mode::kLinear);
    return ePreparation == StrobePreparation::Synchronised ? StartInStep(doc) : StartFreeRunning(doc);
}

} // namespace vireo
