#pragma once
#include "camera/vireo_doc.h"

#include <cstddef>
#include <string>

namespace vireo {

// The document's side of the settings records: which field each value becomes, as stored, without
// checks. User-interface thread; a running capture reads its snapshot and does not notice.

/// The preset of PresetIndex into the document's current settings. Always true.
bool LoadRecordingPreset(CVireoDoc& doc);
/// The current settings into the preset of PresetIndex. Always true.
bool SaveRecordingPreset(CVireoDoc& doc);

/// The current settings as a record, and the other way round.
RecordingPreset CurrentPreset(const CVireoDoc& doc);
void ApplyPreset(CVireoDoc& doc, const RecordingPreset& preset);

/// The transform of view `iView` (camera number - 1). Nothing happens outside 0..8: the view of camera
/// number 0 has no record.
void LoadViewAffine(CVireoDoc& doc, int iView, const std::string& strSection);
void SaveViewAffine(CVireoDoc& doc, int iView, const std::string& strSection);

/// The values kept under the camera's serial number.
void LoadWhiteBalance(CVireoDoc& doc, std::size_t uiCamera);

/// The names used for recordings, at most five.
void SaveFileList(CVireoDoc& doc);

} // namespace vireo
