#include "platform/device/rate_note.h"
#include "platform/iidc/iidc_device.h"

#include <algorithm>
#include <cmath>
#include <limits>

// Frame rate and shutter, which limit each other: the rate goes before, and the shutter is as long as it was asked to
// be, or as the rate allows.

namespace vireo {

namespace {

constexpr float kSlack = 1e-4F; ///< the camera rounds

bool IsManual(dc1394camera_t* pCamera, dc1394feature_t eFeature)
{
    dc1394feature_mode_t eMode = DC1394_FEATURE_MODE_AUTO;
    dc1394switch_t ePower = DC1394_ON;
    if (dc1394_feature_get_mode(pCamera, eFeature, &eMode) != DC1394_SUCCESS || eMode != DC1394_FEATURE_MODE_MANUAL)
        return false;
    return dc1394_feature_get_power(pCamera, eFeature, &ePower) != DC1394_SUCCESS || ePower == DC1394_ON;
}

bool HasAbsolute(dc1394camera_t* pCamera, dc1394feature_t eFeature)
{
    dc1394bool_t bAbsolute = DC1394_FALSE;
    return dc1394_feature_has_absolute_control(pCamera, eFeature, &bAbsolute) == DC1394_SUCCESS
        && bAbsolute != DC1394_FALSE;
}

} // namespace

IidcDevice::HeldRate IidcDevice::ReadHeldRate()
{
    dc1394video_mode_t eMode = DC1394_VIDEO_MODE_FORMAT7_0;
    if (dc1394_video_get_mode(Get(), &eMode) == DC1394_SUCCESS
        && dc1394_is_video_mode_scalable(eMode) == DC1394_FALSE) {
        dc1394framerate_t eRate = DC1394_FRAMERATE_30;
        HeldRate held { 0.0F, true };
        if (dc1394_video_get_framerate(Get(), &eRate) == DC1394_SUCCESS)
            dc1394_framerate_as_float(eRate, &held.fFps);
        return held;
    }
    const bool bHeld = m_fAskedRate > 0.0F && IsManual(Get(), DC1394_FEATURE_FRAME_RATE);
    return { bHeld ? m_fAskedRate : 0.0F, false };
}

/// Makes the shutter as long as it was asked to be, but not longer than `fLimit`, s.
Error IidcDevice::CutShutter(float fLimit)
{
    float fNow = 0.0F;
    if (!IsManual(Get(), DC1394_FEATURE_SHUTTER) || !HasAbsolute(Get(), DC1394_FEATURE_SHUTTER))
        return {};
    if (Error error = Translate(dc1394_feature_get_absolute_value(Get(), DC1394_FEATURE_SHUTTER, &fNow), "shutter",
            ErrorType::PropertyFailed);
        !error.IsOk())
        return error;
    // What another program left behind is never made longer.
    const float fWanted = std::min(m_fAskedShutter > 0.0F ? m_fAskedShutter : fNow, fLimit);
    return std::abs(fWanted - fNow) <= kSlack * fWanted ? Error() : WriteAbsolute(DC1394_FEATURE_SHUTTER, fWanted);
}

Error IidcDevice::ApplyRate()
{
    const HeldRate held = ReadHeldRate();
    if (held.fFps <= 0.0F)
        return CutShutter(std::numeric_limits<float>::max());
    if (Error error = CutShutter(1.0F / held.fFps); !error.IsOk() || held.bStandardMode)
        return error;
    if (Error error = WriteAbsolute(DC1394_FEATURE_FRAME_RATE, held.fFps); !error.IsOk())
        return error;
    float fRuns = 0.0F;
    if (Error error = Translate(dc1394_feature_get_absolute_value(Get(), DC1394_FEATURE_FRAME_RATE, &fRuns),
            "frame rate", ErrorType::PropertyFailed);
        !error.IsOk())
        return error;
    // Frames that take longer leave time for a longer shutter; where the rate limits it, there is more only now.
    return CutShutter(1.0F / std::clamp(fRuns, std::numeric_limits<float>::min(), held.fFps));
}

Error IidcDevice::ReadRateNote(std::string& strNote)
{
    strNote.clear();
    const HeldRate held = ReadHeldRate();
    TriggerMode trigger;
    if (Error error = ReadTrigger(trigger); !error.IsOk())
        return error;
    if (held.fFps <= 0.0F || held.bStandardMode || trigger.onOff)
        return {};
    float fRuns = 0.0F;
    if (Error error = Translate(dc1394_feature_get_absolute_value(Get(), DC1394_FEATURE_FRAME_RATE, &fRuns),
            "frame rate", ErrorType::PropertyFailed);
        !error.IsOk())
        return error;
    strNote = RateNote(m_strName, static_cast<double>(fRuns), static_cast<double>(held.fFps)).value_or("");
    return {};
}

} // namespace vireo
