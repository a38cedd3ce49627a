#include "platform/genicam/frame_rate.h"

#include "platform/device/rate_note.h"
#include "platform/genicam/trigger_lines.h"

#include <algorithm>
#include <cmath>

namespace vireo {

namespace {

constexpr double kUsPerSecond = 1e6;
constexpr double kSlack = 1e-4; ///< floats of ours, doubles of the camera's

/// The camera keeps a rate, and one was asked for.
Error IsHeld(OpenDevice& device, bool& bHeld)
{
    bHeld = false;
    Features& features = *device.features;
    if (device.remembered.dFrameRate <= 0.0 || !features.Has(Feature::FrameRate))
        return {};
    bool bAutomatic = false;
    if (features.Has(Feature::FrameRateAuto))
        if (Error error = features.GetSwitch(Feature::FrameRateAuto, bAutomatic); !error.IsOk())
            return error;
    if (Error error = FrameRateIsOn(device, bHeld); !error.IsOk())
        return error;
    bHeld = bHeld && !bAutomatic;
    return {};
}

/// The exposure takes a time that can be set; else as long as a trigger lasts.
Error IsTimed(Features& features, bool& bTimed)
{
    std::string strMode = "Timed";
    Error error = features.HasChoice(Feature::ExposureMode, "Timed")
        ? features.GetChoice(Feature::ExposureMode, strMode)
        : Error();
    bTimed = strMode == "Timed";
    return error;
}

/// Makes the exposure as long as it was asked to be, but not longer than `dLimit` us.
Error CutExposure(OpenDevice& device, double dLimit)
{
    Features& features = *device.features;
    if (!features.Has(Feature::Exposure))
        return {};
    bool bAutomatic = false;
    if (features.Has(Feature::ExposureAuto))
        if (Error error = features.GetSwitch(Feature::ExposureAuto, bAutomatic); !error.IsOk())
            return error;
    double dNow = 0.0;
    bool bTimed = true;
    if (device.remembered.dExposure <= 0.0) // its own affair until a time is asked for
        if (Error error = IsTimed(features, bTimed); !error.IsOk())
            return error;
    if (bAutomatic || !bTimed)
        return {};
    if (Error error = features.GetFloat(Feature::Exposure, dNow); !error.IsOk())
        return error;
    // What another program left behind is never made longer.
    const double dAsked = device.remembered.dExposure > 0.0 ? device.remembered.dExposure : dNow;
    const double dWanted = std::min(dAsked, dLimit);
    return std::abs(dWanted - dNow) <= kSlack * dWanted ? Error() : features.SetNearest(Feature::Exposure, dWanted);
}

/// How a rate and an exposure go together.
struct Room {
    FeatureRange rates; ///< that the camera can run at, fps
    double dLongest = 0.0; ///< exposure, us
};

/// Cuts the exposure so that the camera can run at `dFps`.
Error MakeRoom(OpenDevice& device, double dFps, Room& room)
{
    const double dPeriod = kUsPerSecond / dFps;
    room.dLongest = dPeriod;
    if (Error error = CutExposure(device, room.dLongest); !error.IsOk())
        return error;
    if (Error error = device.features->GetRange(Feature::FrameRate, room.rates); !error.IsOk())
        return error;
    // Some time goes beside the exposure, and a camera's exposure has steps. A frame that takes far longer does so
    // for another reason.
    const double dOver = kUsPerSecond / std::max(room.rates.dMax, kSlack) - dPeriod;
    if (dOver <= kSlack * dPeriod || dOver >= dPeriod / 2)
        return {};
    room.dLongest -= dOver;
    if (Error error = CutExposure(device, room.dLongest); !error.IsOk())
        return error;
    return device.features->GetRange(Feature::FrameRate, room.rates);
}

Error WriteFrameRate(OpenDevice& device)
{
    const double dAsked = device.remembered.dFrameRate;
    Room room;
    if (Error error = MakeRoom(device, dAsked, room); !error.IsOk())
        return error;
    const double dReached = std::clamp(dAsked, room.rates.dMin, std::max(room.rates.dMin, room.rates.dMax));
    if (dReached < dAsked * (1.0 - kSlack)) // frames that take longer leave time for a longer exposure
        if (Error error = MakeRoom(device, dReached, room); !error.IsOk())
            return error;
    if (Error error = device.features->SetNearest(Feature::FrameRate, dAsked); !error.IsOk())
        return error;
    return CutExposure(device, room.dLongest); // where the rate limits the exposure, there is more time only now
}

} // namespace

Error SwitchFrameRate(OpenDevice& device, bool bOn)
{
    return device.features->Has(Feature::FrameRateEnable) ? device.features->SetSwitch(Feature::FrameRateEnable, bOn)
                                                          : Error();
}

Error FrameRateIsOn(OpenDevice& device, bool& bOn)
{
    bOn = true;
    return device.features->Has(Feature::FrameRateEnable) ? device.features->GetSwitch(Feature::FrameRateEnable, bOn)
                                                          : Error();
}

Error AskFrameRate(OpenDevice& device, double dFps)
{
    if (!device.features->Has(Feature::FrameRate))
        return device.features->Missing(Feature::FrameRate);
    device.remembered.dFrameRate = dFps;
    return ApplyFrameRate(device);
}

Error ApplyFrameRate(OpenDevice& device)
{
    bool bHeld = false;
    bool bArmed = false;
    if (Error error = IsHeld(device, bHeld); !error.IsOk() || !bHeld)
        return error;
    if (Error error = IsArmed(device, bArmed); !error.IsOk())
        return error;
    return bArmed ? CutExposure(device, kUsPerSecond / device.remembered.dFrameRate) : WriteFrameRate(device);
}

Error AskExposure(OpenDevice& device, double dMicroseconds)
{
    device.remembered.dExposure = dMicroseconds;
    bool bHeld = false;
    if (Error error = IsHeld(device, bHeld); !error.IsOk())
        return error;
    return bHeld ? ApplyFrameRate(device) : device.features->SetNearest(Feature::Exposure, dMicroseconds);
}

Error ReadRateNote(OpenDevice& device, std::string& strNote)
{
    strNote.clear();
    bool bHeld = false;
    bool bArmed = false;
    double dRuns = 0.0;
    if (Error error = IsHeld(device, bHeld); !error.IsOk() || !bHeld)
        return error;
    if (Error error = IsArmed(device, bArmed); !error.IsOk() || bArmed)
        return error;
    if (Error error = device.features->GetFloat(Feature::FrameRate, dRuns); !error.IsOk())
        return error;
    strNote = RateNote(device.features->Camera(), dRuns, device.remembered.dFrameRate).value_or("");
    return {};
}

} // namespace vireo
