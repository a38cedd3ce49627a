#pragma once
#include "camera/vireo_doc.h"
#include "capture/take_report.h"

#include <string>
#include <vector>

namespace vireo {

/// The files of one camera, and how many frames they hold.
struct ExportedCamera {
    std::vector<std::string> files; ///< native paths of the parts, in order
    int iFirstFrame = 0; ///< index of the first one in the recording
    int iFrames = 0; ///< handed to the writer
    int iReadBack = -1; ///< found in the files after they were closed; -1 = not looked at
};

/// How an export ended.
struct ExportResult {
    bool bRan = false; ///< there was a recording
    bool bComplete = false; ///< every camera was written or passed over on the operator's wish
    double dSeconds = 0.0; ///< time it took
    std::vector<ExportedCamera> cameras;
};

/// Writes one AVI per camera and goes back to the live state: names from the partner's request.
/// User-interface thread; blocks it. Failures are shown, set the cooperation result and keep the recording.
ExportResult SaveAvi(CVireoDoc& doc);

/// Writes one AVI per camera under the automatic name (folder, title, running number) and goes back to the
/// live state. The running number moves on once.
ExportResult SaveAviAutomatic(CVireoDoc& doc);

/// Writes one AVI per camera to `strBase` (native path without "-camN" and ".avi"), nothing else.
ExportResult SaveAviAs(CVireoDoc& doc, const std::string& strBase);

/// Fills in what only the save knows: files, what they hold, the time it took.
void AddExport(TakeReport& report, const ExportResult& saved);

/// The running number after `strNumber`: value + 1, padded with zeros to the old length.
std::string NextSerialSuffix(const std::string& strNumber);
/// Without everything from the last "." on; the whole name when it has none.
std::string CutLastExtension(const std::string& strName);
/// Up to the first ".", as paths from the save dialog are cut.
std::string CutAtFirstDot(const std::string& strPath);
/// Whether a part of any number ("BASE-NNNN.avi") stands under this native path: no part of an older take is
/// ever mixed with a new one.
bool IsBaseTaken(const std::string& strNativeBase);
/// "-cam%d" with the camera's number, or nothing for a single camera.
std::string CameraSuffix(unsigned int uiCameras, int iNumber);

} // namespace vireo
