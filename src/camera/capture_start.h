#pragma once
#include "camera/vireo_doc.h"

namespace vireo {

/// Starts the configured cameras, in step when they can be, and the grab threads; `snapshot` becomes the
/// running capture's. User-interface thread, while nothing captures.
/// False: shown, and nothing runs; but more than four cameras that run free leave four of them capturing.
bool StartCapturing(CVireoDoc& doc, const CaptureSnapshot& snapshot);

} // namespace vireo
