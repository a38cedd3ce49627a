#pragma once
#include "camera/vireo_doc.h"

namespace vireo {

/// Exposure time in ms: 1000 over the shutter's denominator, or over the frame rate while the shutter is
/// open (-1); never above 30 ms.
float ExposureMs(int iShutter, int iFps);

/// Puts every camera into the mode that the parameters ask for, takes the capture's snapshot of them, starts
/// the cameras and the grab threads. Frames flow when it returns true; it returns true at once while a
/// capture runs.
///
/// User-interface thread. False: the reason was shown and nothing runs (cameras configured so far keep their
/// settings), but for more than four cameras that run free: four of them capture then. Silently false while
/// a save runs, and without a frame store, whose allocation has shown why there is none.
bool ConfigureCameras(CVireoDoc& doc);

} // namespace vireo
