#pragma once
#include "camera/vireo_doc.h"

namespace vireo {

/// Connects the first m_uiNumCameras cameras of the buses, in ascending order of serial numbers, prepares
/// them and narrows the limits to their models. User-interface thread. False: shown; what was connected stays
/// connected until ReleaseCameras.
bool ConnectCameras(CVireoDoc& doc);

/// Disconnects and deletes every camera; failures are traced. User-interface thread, while nothing captures.
void ReleaseCameras(CVireoDoc& doc);

/// Lowers the limits to what a model can do; a limit that is not above the model's stays, and so does the
/// lower gain limit beside it.
void ApplyModelLimits(CaptureParameters& parameters, CameraModelKind eKinds);

} // namespace vireo
