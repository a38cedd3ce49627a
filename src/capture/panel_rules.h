#pragma once
#include "camera/vireo_doc.h"

namespace vireo {

/// What the panel's enable rules look at.
struct PanelFlags {
    bool bDone = false; ///< camera 0 has recorded all its frames
    bool bEnded = false; ///< camera 0's thread has left its loop
    bool bRecording = false;
    bool bPlayback = false;
    bool bContinuous = false; ///< continuous pulse synchronisation
    bool bTriggerWaitRing = false;
    bool bTriggerWaitLinear = false;
    int iCaptureMode = capture_mode::kLinear;
};

/// Which controls of the panel can be used.
struct PanelState {
    bool bInputGroup = false; ///< the preset buttons and their editors
    bool bPrepare = false; ///< "計測準備"
    bool bStart = false; ///< "スタート"
    bool bPlay = false; ///< "再生"
    bool bSave = false; ///< "保存"
    bool bSaveAfterRecord = false; ///< "録画後保存"
    bool bTriggerWait = false; ///< "ﾄﾘｶﾞ待"
    bool bPlaybackControls = false; ///< steps and marks
    friend bool operator==(const PanelState&, const PanelState&) = default;
};

constexpr PanelState ComputePanelState(const PanelFlags& flags)
{
    const bool bTriggerWait = flags.bTriggerWaitRing || flags.bTriggerWaitLinear;
    const bool bEndedOrDone = flags.bEnded || flags.bDone;
    return {
        .bInputGroup = !(flags.bDone || bTriggerWait || flags.bContinuous),
        .bPrepare = bEndedOrDone,
        .bStart = !(flags.bRecording || flags.bPlayback || flags.bContinuous || bEndedOrDone || bTriggerWait),
        .bPlay = flags.bDone && !flags.bContinuous,
        .bSave = flags.bDone,
        .bSaveAfterRecord = !flags.bDone,
        .bTriggerWait =
            flags.iCaptureMode == capture_mode::kRing || (flags.iCaptureMode == capture_mode::kLinear && !flags.bDone),
        .bPlaybackControls = flags.bPlayback,
    };
}

/// The flags as they stand now. Any thread.
PanelFlags PanelFlagsOf(const CVireoDoc& doc);
inline PanelState ComputePanelState(const CVireoDoc& doc) { return ComputePanelState(PanelFlagsOf(doc)); }

/// Has the panel, if shown, follow the flags. Any thread; off the user-interface thread it happens there later.
void UpdatePanelState(CVireoDoc& doc);

} // namespace vireo
