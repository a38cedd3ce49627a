#pragma once
#include "camera/vireo_doc.h"

#include <optional>

namespace vireo {

// Properties of one camera, with the failures shown. User-interface thread.

/// Reads a property. False: shown.
bool ReadProperty(CVireoDoc& doc, CameraBase& camera, PropertyType eType, Property& property);
/// Hands a property to the camera (automatic) or takes it from it (manual). False: shown.
bool SwitchProperty(CVireoDoc& doc, CameraBase& camera, PropertyType eType, bool bAutomatic);
/// Sets the absolute value: fps, ms or dB. False: shown.
bool SetAbsoluteValue(CVireoDoc& doc, CameraBase& camera, PropertyType eType, float fValue);

/// The longest exposure in ms at a frame rate: half a millisecond shorter than the period. None when that
/// would leave nothing, or the rate is 0.
std::optional<float> ExposureLimitMs(float fFps);
/// Shortens the camera's shutter to the limit of its frame rate; a shorter one stays. False: shown.
bool LimitExposure(CVireoDoc& doc, CameraBase& camera);

} // namespace vireo
