#include "camera/operator_actions.h"
#include "capture/frame_store_alloc.h"
#include "capture/grab_threads.h"
#include "capture/view_picture.h"

#include <cstdlib>

namespace vireo {

namespace {

constexpr int kExitPauseMs = 500;

bool IsLive(const CVireoDoc& doc)
{
    return doc.m_capture.m_bCapturing && doc.m_capture.m_iCaptureState == capture_state::kLive;
}
bool IsRecording(const CVireoDoc& doc)
{
    return doc.m_capture.m_bCapturing && doc.m_capture.m_iCaptureState == capture_state::kRecording;
}

// A recording that a failure has cut short never came to the frame at which the partner is told of the end.
void TellBrokenOff(CVireoDoc& doc)
{
    if (doc.Request().NotifiesPartner() && doc.m_store.m_bRecordDone[0] && !doc.m_capture.m_bEndNotified.exchange(true)
        && doc.App().FindPartnerWindow())
        doc.App().NotifyPartner(true);
}

// A cooperation run saves and ends by itself.
void EndCooperationRun(CVireoDoc& doc)
{
    WindowSystem& window = doc.GetPlatform().window;
    if (!doc.Request().CooperationMode)
        return;
    if (doc.m_capture.m_bSaving) { // after the save that runs
        window.StartExitTimer();
        return;
    }
    StopGrab(doc);
    TellBrokenOff(doc);
    SaveAvi(doc);
    window.Settle(kExitPauseMs);
    window.PostCommand(command::kExit);
}

} // namespace

void RefreshViews(CVireoDoc& doc)
{
    const FrameStore& store = doc.m_store;
    if (store.m_iendFrame[0] < 1 || store.m_bRecordDone[0])
        return;
    for (unsigned int c = 0; c < doc.m_cameras.m_uiNumCameras; ++c) {
        const int iLatest = store.m_bRecordDone[c] ? store.m_iendFrame[c].load() : store.m_iendFrame[c] - 1;
        if (iLatest < 0)
            continue;
        if (!doc.m_capture.m_bCapturing)
            return;
        doc.GetPlatform().window.RedrawView(static_cast<int>(c));
    }
}

void ShowPlaybackFrame(CVireoDoc& doc, int iOffset)
{
    for (unsigned int c = 0; c < doc.m_cameras.m_uiNumCameras; ++c) {
        const int iSlot = RingSlot(doc.m_store.m_istartFrame[c], iOffset, doc.m_store.m_iBufferFrames);
        const Image frame = doc.m_store.SlotImage(c, iSlot);
        if (frame.GetData() == nullptr)
            continue;
        const Error error = ShowInView(doc, c, frame);
        if (!error.IsOk())
            PrintErrorTrace(doc.GetPlatform().log, error, "playback picture");
        doc.GetPlatform().window.RedrawView(static_cast<int>(c));
    }
}

void HandleTimer(CVireoDoc& doc, int iTimer)
{
    if ((iTimer == timer::kRefreshLive && IsLive(doc)) || (iTimer == timer::kRefreshSlow && IsRecording(doc)))
        RefreshViews(doc);
    else if (iTimer == timer::kExit)
        EndCooperationRun(doc);
}

bool HandleCooperationEnter(CVireoDoc& doc)
{
    const CooperationRequest& request = doc.Request();
    if (!request.CooperationMode || !SwitchEnablesKeys(request.CoopSwitches))
        return false;
    if (IsLive(doc)) {
        if (StoreIsShort(doc)) // no recording: nothing to tell the partner of
            return true;
        bool bTold = false;
        if (request.PartnerPresent && doc.m_capture.m_bStartNotified.compare_exchange_strong(bTold, true)
            && !(doc.App().FindPartnerWindow() && doc.App().NotifyPartner(false)))
            doc.m_capture.m_bStartNotified = false;
        doc.m_store.m_bStartRequest = true;
    } else if (IsRecording(doc)) {
        doc.m_store.m_bStopRequest = true;
    }
    return true;
}

bool HandleCooperationEscape(CVireoDoc& doc)
{
    const CooperationRequest& request = doc.Request();
    if (!request.CooperationMode || !SwitchEnablesKeys(request.CoopSwitches))
        return false;
    if (IsLive(doc)) {
        doc.App().SetCooperationResult(cooperation_result::kCancelled);
        doc.GetPlatform().window.PostCommand(command::kExit);
    }
    return true;
}

void HandlePartnerCopyData(CVireoDoc& doc, int iIdentifier, const std::string& strPayload)
{
    if (!doc.Request().NotifiesPartner() || iIdentifier != partner::kCopyDataIdentifier)
        return;
    const long iNumber = std::strtol(strPayload.c_str(), nullptr, 10);
    if (iNumber == 1 && IsLive(doc))
        doc.GetPlatform().window.PostCommand(command::kExit);
    else if (iNumber == 1 && IsRecording(doc))
        doc.m_store.m_bStopRequest = true;
    else if (iNumber == 2 && IsLive(doc))
        doc.m_store.m_bStartRequest = true;
}

} // namespace vireo
