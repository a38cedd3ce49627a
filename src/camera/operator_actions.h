#pragma once
#include "app/recording_preset.h"
#include "camera/vireo_doc.h"
#include "capture/avi_export.h"

#include <string>

namespace vireo {

// The verbs of the control panel, without the panel: the desktop program and the command line share
// them, and neither repeats a rule. User-interface thread. While a save runs every verb but the
// requests returns at once; messages are shown where a step fails.

/// Stops the capture and puts every counter, mark and request of a recording back.
void ResetRecording(CVireoDoc& doc);

/// Preset button `iIndex` (1..4): loads the preset and applies it.
/// False when the cameras refuse it; record time and rate are back at 1 s and 30 fps then and the exit
/// command is posted.
bool SelectPreset(CVireoDoc& doc, int iIndex);
/// The same with values that need not stand in the settings file.
bool ApplyPresetValues(CVireoDoc& doc, const RecordingPreset& preset);

/// "計測準備": resets and reconfigures; capture runs live afterwards. `bTriggerWait` is the state of the
/// "ﾄﾘｶﾞ待" box. False when the configuration failed (it has shown why).
bool Prepare(CVireoDoc& doc, bool bTriggerWait);
/// "スタート": asks camera 0's thread to begin recording. False when the store is short of memory or
/// nothing captures: a recording could not be whole.
bool Start(CVireoDoc& doc);
/// "保存": ends playback and capture, writes the files and prepares the next recording.
void Save(CVireoDoc& doc);

/// The menu's save: like "保存", but under the partner's names and without preparing the next recording.
ExportResult SaveFromMenu(CVireoDoc& doc);

/// Writes the files under the automatic name, then resets and reconfigures for the next recording. On an
/// early end the recording is kept and nothing is reset. When the cameras refuse, the exit command is posted.
ExportResult SaveAviAndRearm(CVireoDoc& doc);

/// "再生": on shows the first recorded frame, off goes back. Shows frames through the views.
void TogglePlayback(CVireoDoc& doc);
/// "<" and ">": one frame, within the recording; the picture is shown again also at the ends.
void StepBack(CVireoDoc& doc);
void StepForward(CVireoDoc& doc);
/// "開始" and "終了": the saved range begins or ends with the frame shown.
void SetMarkStart(CVireoDoc& doc);
void SetMarkEnd(CVireoDoc& doc);

/// "ﾄﾘｶﾞ待": switches waiting for the external trigger. @return whether it is on now.
bool ToggleTriggerWait(CVireoDoc& doc);
/// "連続パルス同期": only at 100 fps with a set shutter; else a message, and it stays off.
bool TogglePulseSync(CVireoDoc& doc);
/// "録画後保存". @return whether it is on now.
bool ToggleSaveAfterRecord(CVireoDoc& doc);

/// Puts recorded frame `iOffset` of every camera into its picture and has the views redrawn.
void ShowPlaybackFrame(CVireoDoc& doc, int iOffset);
/// Has every view redrawn from the current pictures, while frames flow and no recording is done.
void RefreshViews(CVireoDoc& doc);
/// Timers of the views (10, 20, 30).
void HandleTimer(CVireoDoc& doc, int iTimer);

/// Enter and Escape in a view of a cooperation run. @return false: not taken, the key goes on.
bool HandleCooperationEnter(CVireoDoc& doc);
bool HandleCooperationEscape(CVireoDoc& doc);
/// Copy-data of the partner: 1 stops a recording or ends a live program, 2 starts a recording.
void HandlePartnerCopyData(CVireoDoc& doc, int iIdentifier, const std::string& strPayload);

/// Texts of the panel's information group and file-name controls.
struct PanelInfo {
    std::string strPresetName;
    std::string strFile; ///< folder, title, suffix and ".avi"
    std::string strFrameRate; ///< "%.0ffps"
    std::string strShutter; ///< "1/%dsec" or "ｵｰﾌﾟﾝ"
    std::string strSize;
    std::string strGain;
    std::string strRecordTime;
    std::string strState;
};
/// Reads rate and gain back from camera 0, and composes m_strFilePath.
PanelInfo UpdateInfo(CVireoDoc& doc);
/// Title with the running number behind it, when that is switched on and not empty.
std::string TitleWithSuffix(const Naming& naming);

/// Loads the names of the four presets and leaves every other field as it was.
void UpdatePresetNames(CVireoDoc& doc);

} // namespace vireo
