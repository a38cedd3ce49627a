#pragma once
#include "app/recording_preset.h"
#include "app/vireo_app.h"

#include <cstdint>
#include <span>
#include <string>

namespace vireo {

// The records that the program remembers between runs, one section of "Tessel.ini" each. A missing key
// yields its default, an unreadable file 0 or "" for every key; nothing is checked or limited here.
// Keys are found by any line that contains them, so the order of writing is part of the format: the
// shorter of two keys stands first. User-interface thread; failures are those of the store.

constexpr std::size_t kSavedFileNames = 5; ///< names that the file list keeps

/// "CAM_PROPERTY_DATA%d".
std::string PresetSection(int iPreset);
/// "CAM%02d": title and section of the view with that camera number.
std::string ViewSection(int iCameraNumber);
/// The section of a view's transform.
std::string AffineSection(const std::string& strViewSection);

/// The height is read from the width's key: once a preset has been saved, it loads as high as it is wide.
RecordingPreset LoadRecordingPreset(CVireoApp& app, int iPreset);
/// Writes everything but SyncPath, which only the file itself can bring.
void SaveRecordingPreset(CVireoApp& app, int iPreset, const RecordingPreset& preset);

/// False when no position is stored: all four values are 0.
bool LoadControlPanelRect(CVireoApp& app, WindowRect& rect);
void SaveControlPanelRect(CVireoApp& app, const WindowRect& rect);

/// False when the section holds no rectangle; `rect` is the default 0, 0, 640, 530 then.
bool LoadViewRect(CVireoApp& app, const std::string& strSection, WindowRect& rect);
void SaveViewRect(CVireoApp& app, const std::string& strSection, const WindowRect& rect);

/// The identity when all six values are 0.
AffineTransform LoadViewAffine(CVireoApp& app, const std::string& strSection);
void SaveViewAffine(CVireoApp& app, const std::string& strSection, const AffineTransform& affine);

/// Kept under the camera's serial number; never written.
WhiteBalance LoadWhiteBalance(CVireoApp& app, std::uint32_t uiSerialNumber);

/// The first five names; entries of a longer earlier list stay.
void SaveFileList(CVireoApp& app, std::span<const std::string> names);

MainWindowPlacement LoadMainWindowPlacement(CVireoApp& app);
void SaveMainWindowPlacement(CVireoApp& app, const MainWindowPlacement& placement);

} // namespace vireo
