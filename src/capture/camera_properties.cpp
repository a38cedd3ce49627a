#include "capture/camera_properties.h"

#include "capture/messages.h"

namespace vireo {

namespace {

constexpr float kReadOutMs = 0.5F; ///< kept free between exposures

bool WriteProperty(CVireoDoc& doc, CameraBase& camera, const Property& property)
{
    return Passed(doc.GetPlatform().window, camera.SetProperty(property), messages::kPropertyWriteFailed);
}

} // namespace

bool ReadProperty(CVireoDoc& doc, CameraBase& camera, PropertyType eType, Property& property)
{
    property.type = eType;
    return Passed(doc.GetPlatform().window, camera.GetProperty(property), messages::kPropertyReadFailed);
}

bool SwitchProperty(CVireoDoc& doc, CameraBase& camera, PropertyType eType, bool bAutomatic)
{
    Property property;
    if (!ReadProperty(doc, camera, eType, property))
        return false;
    property.onOff = true;
    property.autoManualMode = bAutomatic;
    return WriteProperty(doc, camera, property);
}

bool SetAbsoluteValue(CVireoDoc& doc, CameraBase& camera, PropertyType eType, float fValue)
{
    Property property;
    if (!ReadProperty(doc, camera, eType, property))
        return false;
    property.absControl = true;
    property.absValue = fValue;
    return WriteProperty(doc, camera, property);
}

std::optional<float> ExposureLimitMs(float fFps)
{
    if (fFps <= 0.0F || 1000.0F / fFps <= kReadOutMs)
        return std::nullopt;
    return 1000.0F / fFps - kReadOutMs;
}

bool LimitExposure(CVireoDoc& doc, CameraBase& camera)
{
    Property rate;
    Property shutter;
    if (!ReadProperty(doc, camera, PropertyType::FrameRate, rate)
        || !ReadProperty(doc, camera, PropertyType::Shutter, shutter))
        return false;
    const std::optional<float> limit = ExposureLimitMs(rate.absValue);
    if (!limit || shutter.absValue <= *limit)
        return true;
    shutter.absControl = true;
    shutter.absValue = *limit;
    return WriteProperty(doc, camera, shutter);
}

} // namespace vireo
