#include "platform/genicam/trigger_lines.h"

#include "platform/genicam/frame_rate.h"

namespace vireo {

namespace {

constexpr unsigned int kLargestSource = 7; ///< the records count sources 0 to 7; 7 is the software trigger
constexpr unsigned int kSoftwareSource = 7;
constexpr unsigned int kOneExposurePerEdge = 0;
constexpr unsigned int kOverlapping = 14;

std::string LineName(unsigned int uiLine) { return "Line" + std::to_string(uiLine); }

bool HasLine(OpenDevice& device, unsigned int uiLine)
{
    return uiLine < kLines && device.features->HasChoice(Feature::LineSelector, LineName(uiLine));
}

Error SelectLine(OpenDevice& device, unsigned int uiLine)
{
    return device.features->SetChoice(Feature::LineSelector, LineName(uiLine));
}

Error SelectTrigger(OpenDevice& device)
{
    if (!device.features->Has(Feature::TriggerSelector))
        return {};
    return device.features->SetFirstChoice(
        Feature::TriggerSelector, { "FrameStart", "ExposureStart", "AcquisitionStart" });
}

/// Shows the selected line as it is. What turns a strobe over would turn an input's edges over as well.
Error ClearInverter(Features& features)
{
    if (!features.Has(Feature::LineInverter))
        return {};
    bool bInverted = false;
    if (Error error = features.GetSwitch(Feature::LineInverter, bInverted); !error.IsOk())
        return error == ErrorType::Disconnected ? error : Error(); // this line has none
    return bInverted ? features.SetSwitch(Feature::LineInverter, false) : Error();
}

/// Another program may have left the trigger's line inverted.
Error ClearInput(OpenDevice& device, unsigned int uiLine)
{
    bool bOutput = false;
    if (!HasLine(device, uiLine))
        return {};
    if (Error error = SelectLine(device, uiLine); !error.IsOk())
        return error;
    if (Error error = GetLineDirection(device, uiLine, bOutput); !error.IsOk() || bOutput)
        return error;
    return ClearInverter(*device.features);
}

Error WriteTriggerDetails(OpenDevice& device, const TriggerMode& mode)
{
    Features& features = *device.features;
    if (mode.source != kSoftwareSource)
        if (Error error = ClearInput(device, mode.source); !error.IsOk())
            return error;
    Error source = mode.source == kSoftwareSource ? features.SetChoice(Feature::TriggerSource, "Software")
                                                  : features.SetFirstChoice(Feature::TriggerSource,
                                                      { LineName(mode.source), "Input" + std::to_string(mode.source) });
    if (!source.IsOk())
        return source;
    if (features.Has(Feature::TriggerActivation))
        if (Error error =
                features.SetChoice(Feature::TriggerActivation, mode.polarity == 0 ? "FallingEdge" : "RisingEdge");
            !error.IsOk())
            return error;
    if (!features.Has(Feature::TriggerOverlap))
        return {};
    return mode.mode == kOverlapping
        ? features.SetFirstChoice(Feature::TriggerOverlap, { "ReadOut", "PreviousFrame", "On" })
        : features.SetFirstChoice(Feature::TriggerOverlap, { "Off" });
}

/// A line shows the exposure when its source can be that. Selects the line.
Error LineHasStrobe(OpenDevice& device, unsigned int uiLine, bool& bStrobe)
{
    bStrobe = false;
    if (!HasLine(device, uiLine))
        return {};
    if (Error error = SelectLine(device, uiLine); !error.IsOk())
        return error;
    bStrobe = device.features->HasChoice(Feature::LineSource, "ExposureActive")
        || device.features->HasChoice(Feature::LineSource, "Strobe");
    return {};
}

/// The same for a line that must have one. @return NotSupported.
Error NeedStrobe(OpenDevice& device, unsigned int uiLine)
{
    bool bStrobe = false;
    Error error = LineHasStrobe(device, uiLine, bStrobe);
    return error.IsOk() && !bStrobe ? device.features->Fail(ErrorType::NotSupported, "no strobe on " + LineName(uiLine))
                                    : error;
}

Error SwitchStrobe(Features& features, bool bOn)
{
    if (features.Has(Feature::StrobeEnable))
        if (Error error = features.SetSwitch(Feature::StrobeEnable, bOn); !error.IsOk())
            return error;
    if (bOn)
        return features.SetFirstChoice(Feature::LineSource, { "ExposureActive", "Strobe" });
    Error error = features.SetFirstChoice(
        Feature::LineSource, { "Off", "UserOutput", "UserOutput0", "UserOutput1", "UserOutput2", "UserOutput3" });
    if (!(error == ErrorType::NotSupported))
        return error;
    // A line that can show nothing else drives nobody as an input.
    return features.HasChoice(Feature::LineMode, "Input") ? features.SetChoice(Feature::LineMode, "Input") : Error();
}

/// Lets an output that shows nothing else show the level that is set for it.
Error ShowUserOutput(OpenDevice& device, unsigned int uiLine)
{
    Features& features = *device.features;
    bool bOutput = false;
    if (Error error = GetLineDirection(device, uiLine, bOutput); !error.IsOk() || !bOutput)
        return error;
    if (!features.Has(Feature::LineSource) || device.remembered.strobe[uiLine].onOff)
        return {};
    for (const std::string& strSource : { "UserOutput" + std::to_string(uiLine), std::string("UserOutput") })
        if (features.HasChoice(Feature::LineSource, strSource))
            return features.SetChoice(Feature::LineSource, strSource);
    return {};
}

} // namespace

Error IsArmed(OpenDevice& device, bool& bArmed)
{
    bArmed = false;
    if (!device.features->Has(Feature::TriggerMode))
        return {};
    if (Error error = SelectTrigger(device); !error.IsOk())
        return error;
    return device.features->GetSwitch(Feature::TriggerMode, bArmed);
}

Error ClearOtherTriggers(OpenDevice& device)
{
    Features& features = *device.features;
    std::string strOurs;
    if (!features.Has(Feature::TriggerSelector) || !features.Has(Feature::TriggerMode))
        return {};
    if (Error error = SelectTrigger(device); !error.IsOk())
        return error;
    if (Error error = features.GetChoice(Feature::TriggerSelector, strOurs); !error.IsOk())
        return error;
    for (const std::string& strOther : features.Choices(Feature::TriggerSelector)) {
        if (strOther == strOurs)
            continue;
        bool bOn = false;
        Error error = features.SetChoice(Feature::TriggerSelector, strOther);
        if (error.IsOk())
            error = features.GetSwitch(Feature::TriggerMode, bOn);
        if (error == ErrorType::Disconnected)
            return error;
        if (error.IsOk() && bOn) // where it cannot be asked, it cannot be on
            if (Error off = features.SetSwitch(Feature::TriggerMode, false); !off.IsOk())
                return off;
    }
    return features.SetChoice(Feature::TriggerSelector, strOurs);
}

Error ReadTrigger(OpenDevice& device, TriggerMode& mode)
{
    TriggerMode read = device.remembered.trigger;
    if (Error error = IsArmed(device, read.onOff); !error.IsOk())
        return error;
    mode = read;
    return {};
}

Error WriteTrigger(OpenDevice& device, const TriggerMode& mode)
{
    Features& features = *device.features;
    if (mode.source > kLargestSource || (mode.mode != kOneExposurePerEdge && mode.mode != kOverlapping))
        return features.Fail(ErrorType::NotSupported, "no such trigger mode or source");
    if (!features.Has(Feature::TriggerMode)) {
        if (mode.onOff)
            return features.Missing(Feature::TriggerMode);
        device.remembered.trigger = mode;
        return {};
    }
    if (Error error = SelectTrigger(device); !error.IsOk())
        return error;
    // Source and edge before the switch: a camera must not wait for an edge on the wrong line.
    if (mode.onOff)
        if (Error error = WriteTriggerDetails(device, mode); !error.IsOk())
            return error;
    if (Error error = features.SetSwitch(Feature::TriggerMode, mode.onOff); !error.IsOk())
        return error;
    device.remembered.trigger = mode;
    return mode.onOff ? Error() : ApplyFrameRate(device); // it may have been asked for meanwhile
}

Error ReadStrobeInfo(OpenDevice& device, StrobeInfo& info)
{
    Error error = LineHasStrobe(device, info.source, info.present);
    info.onOffSupported = info.present;
    return error;
}

Error ReadStrobe(OpenDevice& device, StrobeControl& control)
{
    const unsigned int uiLine = control.source;
    if (Error error = NeedStrobe(device, uiLine); !error.IsOk())
        return error;
    control = device.remembered.strobe[uiLine];
    control.source = uiLine;
    return {};
}

Error WriteStrobe(OpenDevice& device, const StrobeControl& control)
{
    Features& features = *device.features;
    if (Error error = NeedStrobe(device, control.source); !error.IsOk())
        return error;
    if (control.onOff) {
        if (Error error = SetLineDirection(device, control.source, true); !error.IsOk())
            return error;
        // The exposure is high on the line; polarity 0 asks for low.
        if (features.Has(Feature::LineInverter))
            if (Error error = features.SetSwitch(Feature::LineInverter, control.polarity == 0); !error.IsOk())
                return error;
        if (features.Has(Feature::StrobeDelay))
            if (Error error = features.SetFloat(Feature::StrobeDelay, static_cast<double>(control.delay) * 1000.0);
                !error.IsOk())
                return error;
        if (features.Has(Feature::StrobeDuration))
            if (Error error =
                    features.SetFloat(Feature::StrobeDuration, static_cast<double>(control.duration) * 1000.0);
                !error.IsOk())
                return error;
    }
    if (Error error = SwitchStrobe(features, control.onOff); !error.IsOk())
        return error;
    if (!control.onOff)
        if (Error error = ClearInverter(features); !error.IsOk())
            return error;
    device.remembered.strobe[control.source] = control;
    return {};
}

Error GetLineDirection(OpenDevice& device, unsigned int uiLine, bool& bOutput)
{
    if (!HasLine(device, uiLine) || !device.features->Has(Feature::LineMode))
        return {};
    if (Error error = SelectLine(device, uiLine); !error.IsOk())
        return error;
    std::string strMode;
    if (Error error = device.features->GetChoice(Feature::LineMode, strMode); !error.IsOk())
        return error;
    bOutput = strMode != "Input";
    return {};
}

Error SetLineDirection(OpenDevice& device, unsigned int uiLine, bool bOutput)
{
    if (!HasLine(device, uiLine) || !device.features->Has(Feature::LineMode))
        return {};
    if (Error error = SelectLine(device, uiLine); !error.IsOk())
        return error;
    // A line that is wired to be an input or an output only keeps what it is.
    if (bOutput && device.features->HasChoice(Feature::LineMode, "Output"))
        return device.features->SetChoice(Feature::LineMode, "Output");
    if (bOutput)
        return {};
    if (device.features->HasChoice(Feature::LineMode, "Input"))
        if (Error error = device.features->SetChoice(Feature::LineMode, "Input"); !error.IsOk())
            return error;
    return ClearInput(device, uiLine);
}

Error GetLineLevel(OpenDevice& device, unsigned int uiLine, bool& bHigh)
{
    bHigh = false;
    if (!HasLine(device, uiLine) || !device.features->Has(Feature::LineStatus))
        return {};
    if (Error error = SelectLine(device, uiLine); !error.IsOk())
        return error;
    return device.features->GetSwitch(Feature::LineStatus, bHigh);
}

Error SetOutputLevel(OpenDevice& device, unsigned int uiLine, bool bHigh)
{
    Features& features = *device.features;
    const std::string strOutput = "UserOutput" + std::to_string(uiLine);
    if (!features.Has(Feature::UserOutputValue) || !features.HasChoice(Feature::UserOutputSelector, strOutput))
        return {};
    if (Error error = features.SetChoice(Feature::UserOutputSelector, strOutput); !error.IsOk())
        return error;
    if (Error error = features.SetSwitch(Feature::UserOutputValue, bHigh); !error.IsOk())
        return error;
    return ShowUserOutput(device, uiLine);
}

} // namespace vireo
