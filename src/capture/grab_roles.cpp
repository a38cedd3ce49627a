#include "capture/grab_roles.h"

#include "capture/frame_store_alloc.h"
#include "capture/frame_writer.h"
#include "capture/messages.h"
#include "capture/panel_rules.h"
#include "capture/strobe.h"
#include "capture/sync_check.h"

#include <algorithm>
#include <string>
#include <utility>

namespace vireo {

void MasterRole::Begin(GrabLoop& loop)
{
    CVireoDoc& doc = loop.Doc();
    CameraInfo info;
    const Error error = CameraOf(doc, 0).GetCameraInfo(info);
    if (error.IsOk())
        m_bStrobeCapable = IsStrobeCapable(info.modelName);
    else
        PrintErrorTrace(loop.GetPlatform().log, error, "GetCameraInfo() of camera 0");
    if (doc.Request().NotifiesPartner())
        doc.App().FindPartnerWindow();
    // The frame that the cameras' start left in camera 0's queue is no part of the sequence, unless frames
    // come from outside.
    const bool bWaitsForTrigger = loop.Running().bTriggerWaitRing || loop.Capture().m_bTriggerWaitLinear;
    m_bDiscard = loop.IsRing() && !bWaitsForTrigger && !loop.Store().m_bRecordDone[0];
}

bool MasterRole::BeginPass(GrabLoop& loop)
{
    FrameStore& store = loop.Store();
    if (store.m_uiDoneCameras > 0 && store.m_uiDoneCameras >= loop.Doc().m_cameras.m_uiNumCameras) {
        Complete(loop);
        return false;
    }
    const bool bLive = loop.Capture().m_iCaptureState == capture_state::kLive;
    if (bLive && store.m_bStartRequest)
        BeginRecording(loop);
    m_bWatching =
        !loop.IsRing() && loop.Capture().m_bTriggerWaitLinear && loop.Capture().m_iCaptureState == capture_state::kLive;
    return true;
}

// Whoever asks for a recording: without memory for its frames it could not be whole.
void MasterRole::BeginRecording(GrabLoop& loop)
{
    if (StoreIsShort(loop.Doc())) {
        if (!std::exchange(m_bRefused, true))
            loop.GetPlatform().log.Write("no recording can begin: memory is short");
        loop.Store().m_bStartRequest = false;
        loop.Capture().m_bStartNotified = false;
        return;
    }
    m_bFinished = false;
    loop.Capture().m_bEndNotified = false;
    m_bMissedEnded = false;
    ResetRecordCounters(loop.Doc());
}

void MasterRole::Complete(GrabLoop& loop)
{
    loop.Capture().m_iCaptureState = capture_state::kLive;
    loop.Store().m_bStopRequest = false;
    WindowSystem& window = loop.GetPlatform().window;
    if (loop.Capture().m_bSaveAfterRecord && loop.Doc().m_windows.m_bControlPanelShown)
        window.PostCommand(command::kSave);
    if (loop.Doc().Request().CooperationMode)
        window.StartExitTimer();
    UpdatePanelState(loop.Doc());
}

void MasterRole::ShowFetchFailure(GrabLoop& loop, const Error& error)
{
    const MessageText& text = loop.IsRing() ? messages::kRingFetchFailed[0]
        : m_bWatching                       ? messages::kLinearTriggerFetchFailed
                                            : messages::kLinearFetchFailed[0];
    ShowMessage(loop.GetPlatform().window, text, { error.GetTypeNumber() });
}

// The first frame is kept in the last slot, uncounted: the slot before the mark always holds the exposure
// before it, also when the recording begins with the very next frame.
bool MasterRole::SetsAside(GrabLoop& loop)
{
    if (!std::exchange(m_bDiscard, false))
        return false;
    m_bAhead = true;
    StoreFrameAt(loop.Store(), 0, loop.Store().m_iBufferFrames - 1, loop.Frame(), loop.FrameNumber());
    loop.ShowFrame();
    UpdateMeasuredFps(loop.Doc());
    return true;
}

void MasterRole::BeforeCount(GrabLoop& loop)
{
    if (m_bWatching) {
        const int iLevel = loop.Running().bLowHigh ? 1 : 0;
        if (ReadTriggerInput(loop.Doc()) != iLevel)
            BeginRecording(loop);
    }
    // Camera 0 alone says where a recording begins; the others join by its mark.
    FrameStore& store = loop.Store();
    if (loop.IsRing() && loop.Capture().m_iCaptureState == capture_state::kRecording
        && store.m_isaveFrameCount[0] == kIdleFrameCount && store.m_iStartMark < 0)
        store.m_iStartMark = store.m_iendFrame[0].load();
}

void MasterRole::AfterCount(GrabLoop& loop, const RecordingPlace& place)
{
    if (place.bJoined)
        FirstFrame(loop);
    TakeStopRequest(loop);
    TellFinished(loop);
}

void MasterRole::FirstFrame(GrabLoop& loop)
{
    if (std::exchange(m_bAhead, false))
        StoreOnceMore(loop);
    Platform& platform = loop.GetPlatform();
    platform.window.SetViewTimers(true);
    platform.log.Write("m_iendFrame[0]=(" + std::to_string(loop.Store().m_iendFrame[0]) + ")\n");
    platform.log.Write("m_isaveFrameCount[0]=(" + std::to_string(loop.Store().m_isaveFrameCount[0]) + ")\n");
    CVireoApp& app = loop.Doc().App();
    bool bTold = false; // the view may have told of this start, or be telling of it now
    if (loop.Doc().Request().NotifiesPartner() && loop.Capture().m_bStartNotified.compare_exchange_strong(bTold, true)
        && app.FindPartnerWindow())
        app.NotifyPartner(false);
}

// Setting one frame aside has put camera 0's slots one exposure early. Storing the first counted frame at
// the next slot as well puts that right; the slot at the mark gets the exposure before it.
void MasterRole::StoreOnceMore(GrabLoop& loop)
{
    FrameStore& store = loop.Store();
    const int iMark = store.m_iStartMark;
    const int iBefore = RingBefore(iMark, store.m_iBufferFrames);
    StoreFrame(store, 0, loop.Frame(), loop.FrameNumber());
    if (store.Slot(0, iBefore) != nullptr && store.Slot(0, iMark) != nullptr) {
        const std::int64_t iNumberBefore = store.m_evidence[0][static_cast<std::size_t>(iBefore)].iExposure;
        if (iNumberBefore >= 0 && iNumberBefore == loop.FrameNumber() - 1) {
            CopySlot(store, 0, iBefore, iMark);
        } else { // that exposure was lost: the slot keeps its copy of the next one, and is told as a gap
            store.m_evidence[0][static_cast<std::size_t>(iMark)].iExposure = -1;
            --store.m_iLostBefore[0];
        }
    }
    ++store.m_isaveFrameCount[0];
    ++store.m_iendFrame[0];
}

// The recording ends with the frames that camera 0 has. A request that comes after the last frame, or
// while nothing is recorded, has nothing to end; the linear loop ends by its own rule only.
void MasterRole::TakeStopRequest(GrabLoop& loop)
{
    FrameStore& store = loop.Store();
    if (!store.m_bStopRequest || store.m_iStopMark >= 0)
        return;
    const bool bRecording = loop.Capture().m_iCaptureState == capture_state::kRecording;
    if (!loop.IsRing() || !bRecording || store.m_bRecordDone[0]) {
        store.m_bStopRequest = false;
        return;
    }
    const int iCount = store.m_isaveFrameCount[0];
    if (iCount < 1)
        return;
    store.m_iRecordTarget = std::min<int>(store.m_iRecordTarget, iCount);
    store.m_iStopMark = store.m_iendFrame[0].load();
}

void MasterRole::TellFinished(GrabLoop& loop)
{
    FrameStore& store = loop.Store();
    if (m_bFinished || store.m_bRecordDone[0] || store.m_isaveFrameCount[0] < std::max<int>(1, store.m_iRecordTarget))
        return;
    m_bFinished = true;
    if (loop.Doc().Request().NotifiesPartner()) {
        loop.Capture().m_bEndNotified = true;
        CVireoApp& app = loop.Doc().App();
        if (app.FindPartnerWindow()) {
            if (loop.Leaving())
                app.CancelNotify(); // the stop's own may have come before there was a window
            app.NotifyPartner(true); // waits for the partner, 2 s at most
        }
        loop.Status().m_lastDelivery = loop.GetPlatform().clock.Now();
    }
}

void MasterRole::Done(GrabLoop& loop)
{
    if (!loop.IsRing())
        loop.Store().m_iRecordTarget = RecordTargetFor(loop.Store().m_iBufferFrames);
    if (!m_bStrobeCapable)
        CheckSynchronisation(loop.Doc(), [&loop](std::size_t c) {
            loop.Status().m_lastDelivery = loop.GetPlatform().clock.Now();
            return loop.Leaving() || loop.Capture().m_bStopping || loop.Capture().m_bThreadEnded[c];
        });
    UpdatePanelState(loop.Doc());
}

void MasterRole::EndPass(GrabLoop& loop)
{
    CountMissed(loop);
    UpdateMeasuredFps(loop.Doc());
}

void MasterRole::CountMissed(GrabLoop& loop)
{
    if (loop.Store().m_bRecordDone[0]) {
        m_dPreviousTime = 0.0;
        return;
    }
    if (m_dPreviousTime != 0.0 && !m_bMissedEnded) {
        const std::uint32_t uiMissed = MissedBetween(m_dPreviousTime, loop.FrameTime(), 1.0 / loop.Running().iFps);
        loop.Capture().m_uiMissedCount = AddToCount(loop.Capture().m_uiMissedCount, uiMissed);
    }
    m_dPreviousTime = loop.FrameTime();
    m_bMissedEnded = m_bFinished; // telling the partner may have held this thread up
}

void MasterRole::Leave(GrabLoop& loop)
{
    loop.Capture().m_bThreadEnded[0] = true;
    const unsigned int uiDone = loop.Store().m_uiDoneCameras;
    if (uiDone > 0 && uiDone >= loop.Doc().m_cameras.m_uiNumCameras)
        loop.Threads().Stop();
}

void SlaveRole::ShowFetchFailure(GrabLoop& loop, const Error& error)
{
    const std::size_t c = loop.CameraIndex();
    const MessageText& text = loop.IsRing() ? messages::kRingFetchFailed[c] : messages::kLinearFetchFailed[c];
    ShowMessage(loop.GetPlatform().window, text, { error.GetTypeNumber(), loop.Store().m_iendFrame[c].load() });
}

// Camera 0 turns the request into a recording at its next pass; this frame already belongs to it.
void SlaveRole::BeforeCount(GrabLoop& loop)
{
    if (loop.IsRing())
        loop.WaitWhile(
            [&loop] { return loop.Capture().m_iCaptureState == capture_state::kLive && loop.Store().m_bStartRequest; });
}

// Camera 0 fixes the end.
void SlaveRole::AfterCount(GrabLoop& loop, const RecordingPlace& /*place*/)
{
    if (loop.IsRing())
        loop.WaitWhile([&loop] { return loop.Store().m_bStopRequest && loop.Store().m_iStopMark < 0; });
}

void SlaveRole::Leave(GrabLoop& loop) { loop.Capture().m_bThreadEnded[loop.CameraIndex()] = true; }

std::unique_ptr<GrabRole> MakeGrabRole(std::size_t uiCamera)
{
    if (uiCamera == 0)
        return std::make_unique<MasterRole>();
    return std::make_unique<SlaveRole>();
}

} // namespace vireo
