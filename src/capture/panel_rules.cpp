#include "capture/panel_rules.h"

namespace vireo {

PanelFlags PanelFlagsOf(const CVireoDoc& doc)
{
    const CaptureFlags& capture = doc.m_capture;
    return {
        .bDone = doc.m_store.m_bRecordDone[0],
        .bEnded = capture.m_bThreadEnded[0],
        .bRecording = capture.m_iCaptureState == capture_state::kRecording,
        .bPlayback = capture.m_bPlayback,
        .bContinuous = capture.m_bPulseSync,
        .bTriggerWaitRing = capture.m_bTriggerWaitRing,
        .bTriggerWaitLinear = capture.m_bTriggerWaitLinear,
        .iCaptureMode = capture.m_iCaptureMode,
    };
}

void UpdatePanelState(CVireoDoc& doc) { doc.GetPlatform().window.RefreshPanel(); }

} // namespace vireo
