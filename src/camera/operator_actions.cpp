#include "camera/operator_actions.h"

#include "app/format_text.h"
#include "app/settings_records.h"
#include "camera/configuration.h"
#include "camera/document_settings.h"
#include "capture/frame_store_alloc.h"
#include "capture/grab_threads.h"
#include "capture/messages.h"
#include "capture/panel_rules.h"
#include "capture/recording_marks.h"
#include "capture/strobe.h"

#include <algorithm>

namespace vireo {

namespace {

constexpr int kSettleMs = 100;
constexpr ClockTime kDoneWait = 1000 * kNsPerMs; ///< for the last frames of the slaves

bool IsSaving(const CVireoDoc& doc) { return doc.m_capture.m_bSaving; }

int TriggerLevel(const CVireoDoc& doc) { return doc.m_parameters.TriggerLowHigh ? 1 : 0; }

// The level goes back to idle, in case a start had flipped it.
void RestoreTriggerLevel(CVireoDoc& doc)
{
    VoltageLevelLowHigh(doc, TriggerLevel(doc));
    doc.m_capture.m_bLevelToggled = false;
    doc.m_store.m_uiDoneCameras = 0;
}

// Camera 0 is done first; the panel offers its buttons then. The others' last frames are still to come.
void WaitForLastFrames(CVireoDoc& doc)
{
    Clock& clock = doc.GetPlatform().clock;
    const ClockTime deadline = clock.Now() + kDoneWait;
    const auto allDone = [&doc] {
        for (unsigned int c = 0; c < doc.m_cameras.m_uiNumCameras; ++c)
            if (!doc.m_store.m_bRecordDone[c] && !doc.m_capture.m_bThreadEnded[c])
                return false;
        return true;
    };
    while (doc.m_store.m_bRecordDone[0] && !allDone() && clock.Now() < deadline)
        clock.SleepMs(1);
}

// Configures and starts; recording begins by itself in continuous pulse operation.
bool Reconfigure(CVireoDoc& doc)
{
    doc.GetPlatform().window.Settle(kSettleMs);
    const bool bConfigured = ConfigureCameras(doc);
    if (bConfigured && doc.m_capture.m_bPulseSync)
        doc.m_store.m_bStartRequest = true;
    UpdatePanelState(doc);
    return bConfigured;
}

bool ApplyCurrentPreset(CVireoDoc& doc)
{
    CaptureParameters& parameters = doc.m_parameters;
    parameters.m_fGain = std::min(std::max(parameters.m_fGain, static_cast<float>(parameters.m_iGainMinDb)),
        static_cast<float>(parameters.m_iGainMaxDb));
    AllocateFrameStore(doc); // shows its own message; goes on with the smaller setting
    WindowSystem& window = doc.GetPlatform().window;
    window.PlaceViews();
    window.Settle(kSettleMs);
    const bool bConfigured = ConfigureCameras(doc);
    if (!bConfigured) {
        parameters.m_iRecordSec = 1;
        parameters.m_iFps = 30;
        window.PostCommand(command::kExit);
    }
    UpdatePanelState(doc);
    return bConfigured;
}

void BeginApply(CVireoDoc& doc)
{
    ResetRecording(doc);
    RestoreTriggerLevel(doc);
}

void Rearm(CVireoDoc& doc)
{
    StopGrab(doc); // the threads are gone before anything they count is put back
    FrameStore& store = doc.m_store;
    for (unsigned int c = 0; c < doc.m_cameras.m_uiNumCameras; ++c) {
        store.m_isaveFrameCount[c] = kIdleFrameCount;
        store.m_iendFrame[c] = 0;
        store.m_iLastFrame[c] = 0;
    }
    store.m_iStartMark = -1;
    store.m_iStopMark = -1;
    store.m_bStartRequest = false;
    store.m_bStopRequest = false;
    store.m_uiDoneCameras = 0;
    VoltageLevelLowHigh(doc, TriggerLevel(doc));
    doc.GetPlatform().window.Settle(kSettleMs);
    if (!ConfigureCameras(doc)) {
        doc.GetPlatform().log.Write(FormatMessage(messages::kRearmFailed));
        doc.GetPlatform().window.PostCommand(command::kExit);
    }
}

} // namespace

void ResetRecording(CVireoDoc& doc)
{
    StopGrab(doc);
    FrameStore& store = doc.m_store;
    for (unsigned int c = 0; c < doc.m_cameras.m_uiNumCameras; ++c) {
        store.m_bRecordDone[c] = false;
        store.m_iLastFrame[c] = 0;
        store.m_iendFrame[c] = 0;
        store.m_isaveFrameCount[c] = kIdleFrameCount;
    }
    store.m_iStartMark = -1;
    store.m_bStartRequest = false;
    store.m_iStopMark = -1;
    store.m_bStopRequest = false;
    store.m_uiDoneCameras = 0;
    ResetMarks(doc);
}

bool SelectPreset(CVireoDoc& doc, int iIndex)
{
    if (IsSaving(doc))
        return false;
    doc.m_parameters.PresetIndex = iIndex;
    BeginApply(doc);
    LoadRecordingPreset(doc);
    return ApplyCurrentPreset(doc);
}

bool ApplyPresetValues(CVireoDoc& doc, const RecordingPreset& preset)
{
    if (IsSaving(doc))
        return false;
    BeginApply(doc);
    ApplyPreset(doc, preset);
    return ApplyCurrentPreset(doc);
}

bool Prepare(CVireoDoc& doc, bool bTriggerWait)
{
    if (IsSaving(doc))
        return false;
    ResetRecording(doc);
    if (doc.m_capture.m_bPlayback)
        TogglePlayback(doc);
    if (doc.m_capture.m_iCaptureMode == capture_mode::kRing)
        doc.m_capture.m_bTriggerWaitRing = bTriggerWait;
    else
        doc.m_capture.m_bTriggerWaitLinear = bTriggerWait;
    RestoreTriggerLevel(doc);
    return Reconfigure(doc);
}

bool Start(CVireoDoc& doc)
{
    if (IsSaving(doc) || !doc.m_capture.m_bCapturing || StoreIsShort(doc))
        return false;
    if (doc.m_capture.m_iCaptureState != capture_state::kLive)
        return false; // the request would wait for the next take
    CameraInfo info;
    const bool bToldModel = CameraOf(doc, 0).GetCameraInfo(info).IsOk();
    if (bToldModel && !IsStrobeCapable(info.modelName)) {
        // Other machines see the start as a pulse on this line; the monitor ends it.
        doc.m_capture.m_llStartTime = doc.GetPlatform().clock.Now();
        if (!doc.m_capture.m_bLevelToggled) {
            VoltageLevelLowHigh(doc, 1 - TriggerLevel(doc));
            doc.m_capture.m_bLevelToggled = true;
        }
    }
    doc.m_store.m_bStartRequest = true;
    return true;
}

void Save(CVireoDoc& doc)
{
    // A second command for the same recording must not stop the capture that the first has rearmed.
    if (IsSaving(doc) || !doc.m_store.m_bRecordDone[0])
        return;
    WaitForLastFrames(doc);
    if (doc.m_capture.m_bPlayback)
        TogglePlayback(doc);
    StopGrab(doc);
    SaveAviAndRearm(doc);
    UpdatePanelState(doc);
}

ExportResult SaveFromMenu(CVireoDoc& doc)
{
    if (IsSaving(doc) || !doc.m_store.m_bRecordDone[0])
        return {};
    WaitForLastFrames(doc);
    if (doc.m_capture.m_bPlayback)
        TogglePlayback(doc);
    StopGrab(doc);
    return SaveAvi(doc);
}

ExportResult SaveAviAndRearm(CVireoDoc& doc)
{
    ExportResult result = SaveAviAutomatic(doc);
    if (result.bComplete) {
        RememberTitle(doc.m_naming);
        Rearm(doc);
    }
    return result;
}

void TogglePlayback(CVireoDoc& doc)
{
    if (IsSaving(doc))
        return;
    if (doc.m_capture.m_bPlayback) {
        doc.m_capture.m_bPlayback = false;
        UpdatePanelState(doc);
        return;
    }
    WaitForLastFrames(doc);
    StopGrab(doc);
    doc.m_capture.m_bPlayback = true;
    // Both marks show the whole recording again, so the saved range is the whole one too.
    doc.m_capture.m_iSaveFirstFrame = 0;
    doc.m_capture.m_iSaveLastFrame = -1;
    doc.m_windows.m_iCurFrame = 0;
    UpdatePanelState(doc);
    ShowPlaybackFrame(doc, 0);
}

void StepBack(CVireoDoc& doc)
{
    if (doc.m_windows.m_iCurFrame > 0)
        --doc.m_windows.m_iCurFrame;
    ShowPlaybackFrame(doc, doc.m_windows.m_iCurFrame);
}

void StepForward(CVireoDoc& doc)
{
    if (doc.m_windows.m_iCurFrame < doc.m_store.m_iRecordTarget - 1)
        ++doc.m_windows.m_iCurFrame;
    ShowPlaybackFrame(doc, doc.m_windows.m_iCurFrame);
}

void SetMarkStart(CVireoDoc& doc)
{
    doc.m_capture.m_iMarkStart = doc.m_windows.m_iCurFrame;
    doc.m_capture.m_iSaveFirstFrame = doc.m_windows.m_iCurFrame;
}

void SetMarkEnd(CVireoDoc& doc)
{
    doc.m_capture.m_iMarkEnd = doc.m_windows.m_iCurFrame;
    doc.m_capture.m_iSaveLastFrame = doc.m_windows.m_iCurFrame;
}

bool ToggleTriggerWait(CVireoDoc& doc)
{
    CaptureFlags& capture = doc.m_capture;
    const bool bRing = capture.m_iCaptureMode == capture_mode::kRing;
    std::atomic<bool>& bWait = bRing ? capture.m_bTriggerWaitRing : capture.m_bTriggerWaitLinear;
    if (IsSaving(doc))
        return bWait;
    if (!bRing) {
        bWait = !bWait;
        UpdatePanelState(doc);
        doc.GetPlatform().window.SetViewTimers(!bWait); // no live redraw competes with the wait
        return bWait;
    }
    ResetRecording(doc);
    bWait = !bWait;
    UpdatePanelState(doc);
    doc.GetPlatform().window.SetViewTimers(true);
    if (capture.m_bPlayback)
        TogglePlayback(doc);
    doc.m_store.m_uiDoneCameras = 0;
    Reconfigure(doc);
    return bWait;
}

bool TogglePulseSync(CVireoDoc& doc)
{
    if (IsSaving(doc))
        return doc.m_capture.m_bPulseSync;
    if (doc.m_parameters.m_iFps != 100) {
        ShowMessage(doc.GetPlatform().window, messages::kPulseNeeds100Hz);
        return false;
    }
    if (doc.m_parameters.m_iShutter == -1) {
        ShowMessage(doc.GetPlatform().window, messages::kPulseNeedsShutter);
        return false;
    }
    doc.m_capture.m_bPulseSync = !doc.m_capture.m_bPulseSync;
    if (!doc.m_capture.m_bPulseSync)
        doc.m_capture.m_iCaptureState = capture_state::kLive;
    UpdatePanelState(doc);
    return doc.m_capture.m_bPulseSync;
}

bool ToggleSaveAfterRecord(CVireoDoc& doc)
{
    doc.m_capture.m_bSaveAfterRecord = !doc.m_capture.m_bSaveAfterRecord;
    if (doc.m_capture.m_bSaveAfterRecord)
        for (unsigned int c = 0; c < doc.m_cameras.m_uiNumCameras; ++c)
            doc.m_store.m_bRecordDone[c] = false;
    return doc.m_capture.m_bSaveAfterRecord;
}

std::string TitleWithSuffix(const Naming& naming)
{
    if (!naming.m_bSerialSuffix || naming.m_strSerialSuffix.empty())
        return naming.m_strFileTitle;
    return naming.m_strFileTitle + "-" + naming.m_strSerialSuffix;
}

namespace {

// A property of camera 0 in its own unit; `fInstead` when there is no camera or it does not answer.
float ReadBack(CVireoDoc& doc, PropertyType eType, float fInstead)
{
    if (doc.m_cameras.m_uiNumCameras == 0 || doc.m_cameras.m_ppCameraBase.empty()
        || doc.m_cameras.m_ppCameraBase[0] == nullptr)
        return fInstead;
    Property property;
    property.type = eType;
    const Error error = CameraOf(doc, 0).GetProperty(property);
    if (error.IsOk())
        return property.absValue;
    PrintErrorTrace(doc.GetPlatform().log, error, "camera 0 property for the panel");
    return fInstead;
}

const char* SizeText(int iImageSizeIndex)
{
    switch (iImageSizeIndex) {
    case 1: return "1024x768";
    case 2: return "1280x720";
    case 3: return "1920x1080";
    default: return "640x480";
    }
}

} // namespace

PanelInfo UpdateInfo(CVireoDoc& doc)
{
    const CaptureParameters& parameters = doc.m_parameters;
    PanelInfo info;
    info.strPresetName = parameters.m_strPresetName;
    doc.m_naming.m_strFilePath = JoinPath(doc.m_naming.m_strSaveFolder, TitleWithSuffix(doc.m_naming));
    info.strFile = doc.m_naming.m_strFilePath + ".avi";
    const float fFps = ReadBack(doc, PropertyType::FrameRate, static_cast<float>(parameters.m_iFps));
    info.strFrameRate = FormatText("%.0ffps", parameters.m_iFps == 100 ? 100.0 : static_cast<double>(fFps));
    info.strShutter = parameters.m_iShutter == -1 ? "ｵｰﾌﾟﾝ" : FormatText("1/%dsec", parameters.m_iShutter);
    info.strGain = FormatText("%.0f", static_cast<double>(ReadBack(doc, PropertyType::Gain, parameters.m_fGain)));
    info.strSize = SizeText(parameters.m_iImageSizeIndex);
    info.strRecordTime = FormatText("%dsec", parameters.m_iRecordSec);
    info.strState = parameters.IsMaster ? " " : "外部入力ﾄﾘｶﾞ待";
    return info;
}

void UpdatePresetNames(CVireoDoc& doc)
{
    for (int n = 1; n <= 4; ++n)
        doc.m_parameters.m_astrPresetNames[static_cast<std::size_t>(n - 1)] =
            LoadRecordingPreset(doc.App(), n).ButtonLabel;
}

} // namespace vireo
