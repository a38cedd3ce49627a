#include "platform/genicam/properties.h"

#include "platform/genicam/frame_rate.h"
#include "platform/range_message.h"

#include <algorithm>
#include <cmath>

namespace vireo {

namespace {

constexpr double kUsPerMs = 1000.0;
constexpr double kHighestRate = 1000.0; ///< fps
constexpr double kLongestShutterMs = 1000.0;
constexpr double kSlack = 1e-4; ///< of a limit: floats of ours, doubles of the camera's
constexpr double kBalanceSteps = 1023.0; ///< the raw white balance counts from 0 to this

struct PropertyFeatures {
    PropertyType eType;
    Feature eValue;
    Feature eAuto;
    double dUnits; ///< of the feature in one of the property
    double dWidest; ///< taken although it is beyond today's limit, which rate, shutter and image size set each other
    const char* pName;
    const char* pUnit;
};
constexpr PropertyFeatures kProperties[] = {
    { PropertyType::FrameRate, Feature::FrameRate, Feature::FrameRateAuto, 1.0, kHighestRate, "frame rate", "fps" },
    { PropertyType::Shutter, Feature::Exposure, Feature::ExposureAuto, kUsPerMs, kLongestShutterMs, "shutter", "ms" },
    { PropertyType::Gain, Feature::Gain, Feature::GainAuto, 1.0, 0.0, "gain", "dB" },
    { PropertyType::WhiteBalance, Feature::BalanceRatio, Feature::BalanceAuto, 1.0, 0.0, "white balance", "" },
};

const PropertyFeatures* Row(PropertyType eType)
{
    for (const PropertyFeatures& row : kProperties)
        if (row.eType == eType)
            return &row;
    return nullptr;
}

Error RangeOf(OpenDevice& device, const PropertyFeatures& row, FeatureRange& range)
{
    if (row.eType == PropertyType::WhiteBalance) {
        range = { 0.0, kBalanceSteps };
        return {};
    }
    FeatureRange raw;
    if (Error error = device.features->GetRange(row.eValue, raw); !error.IsOk())
        return error;
    range = { raw.dMin / row.dUnits, std::max(raw.dMax / row.dUnits, row.dWidest) };
    return {};
}

Error CheckRange(OpenDevice& device, const PropertyFeatures& row, double dValue)
{
    FeatureRange range;
    if (Error error = RangeOf(device, row, range); !error.IsOk())
        return error;
    if (dValue >= range.dMin * (1.0 - kSlack) - 1e-9 && dValue <= range.dMax * (1.0 + kSlack))
        return {};
    return device.features->Fail(
        ErrorType::InvalidParameter, RangeMessage(row.pName, row.pUnit, dValue, range.dMin, range.dMax));
}

Error GetBalance(Features& features, const char* strColour, unsigned int& uiValue)
{
    FeatureRange range;
    double dRatio = 0.0;
    if (Error error = features.SetChoice(Feature::BalanceSelector, strColour); !error.IsOk())
        return error;
    if (Error error = features.GetRange(Feature::BalanceRatio, range); !error.IsOk())
        return error;
    if (Error error = features.GetFloat(Feature::BalanceRatio, dRatio); !error.IsOk())
        return error;
    const double dSpan = std::max(range.dMax - range.dMin, 1e-9);
    uiValue = static_cast<unsigned int>(std::lround((dRatio - range.dMin) / dSpan * kBalanceSteps));
    return {};
}

Error SetBalance(Features& features, const char* strColour, unsigned int uiValue)
{
    FeatureRange range;
    if (Error error = features.SetChoice(Feature::BalanceSelector, strColour); !error.IsOk())
        return error;
    if (Error error = features.GetRange(Feature::BalanceRatio, range); !error.IsOk())
        return error;
    return features.SetFloat(Feature::BalanceRatio, range.dMin + (range.dMax - range.dMin) * uiValue / kBalanceSteps);
}

Error WriteBalance(OpenDevice& device, const Property& property)
{
    Features& features = *device.features;
    if (features.Has(Feature::BalanceAuto))
        if (Error error = features.SetSwitch(Feature::BalanceAuto, property.autoManualMode); !error.IsOk())
            return error;
    if (property.autoManualMode)
        return {};
    if (property.valueA > kBalanceSteps || property.valueB > kBalanceSteps)
        return features.Fail(ErrorType::InvalidParameter, "a white balance lies between 0 and 1023");
    if (Error error = SetBalance(features, "Red", property.valueA); !error.IsOk())
        return error;
    return SetBalance(features, "Blue", property.valueB);
}

/// A camera without an automatic takes the choice of its own by not being held to a rate.
Error WriteAutomatic(OpenDevice& device, const PropertyFeatures& row, bool bAutomatic)
{
    Features& features = *device.features;
    if (features.Has(row.eAuto)) {
        if (Error error = features.SetSwitch(row.eAuto, bAutomatic); !error.IsOk())
            return error;
    } else if (bAutomatic && row.eType != PropertyType::FrameRate) {
        return features.Missing(row.eAuto);
    }
    return row.eType == PropertyType::FrameRate ? SwitchFrameRate(device, !bAutomatic) : Error();
}

Error WriteValue(OpenDevice& device, const PropertyFeatures& row, double dValue)
{
    Features& features = *device.features;
    switch (row.eType) {
    case PropertyType::FrameRate: return AskFrameRate(device, dValue);
    case PropertyType::Shutter:
        if (features.HasChoice(Feature::ExposureMode, "Timed"))
            if (Error error = features.SetChoice(Feature::ExposureMode, "Timed"); !error.IsOk())
                return error;
        return AskExposure(device, dValue * row.dUnits);
    case PropertyType::Gain:
        if (features.HasChoice(Feature::GainSelector, "All")) // and not the one of a tap or a colour
            if (Error error = features.SetChoice(Feature::GainSelector, "All"); !error.IsOk())
                return error;
        return features.SetNearest(row.eValue, dValue * row.dUnits);
    default: return features.SetNearest(row.eValue, dValue * row.dUnits);
    }
}

} // namespace

Error ReadPropertyInfo(OpenDevice& device, PropertyInfo& info)
{
    PropertyInfo read;
    read.type = info.type;
    const PropertyFeatures* pRow = Row(info.type);
    if (pRow == nullptr || !device.features->Has(pRow->eValue)) {
        info = read;
        return {};
    }
    FeatureRange range;
    if (Error error = RangeOf(device, *pRow, range); !error.IsOk())
        return error;
    read.present = true;
    read.manualSupported = true;
    read.autoSupported = device.features->Has(pRow->eAuto) || info.type == PropertyType::FrameRate;
    read.absValSupported = info.type != PropertyType::WhiteBalance;
    read.absMin = read.absValSupported ? static_cast<float>(range.dMin) : 0.0F;
    read.absMax = read.absValSupported ? static_cast<float>(range.dMax) : 0.0F;
    info = read;
    return {};
}

Error ReadProperty(OpenDevice& device, Property& property)
{
    Features& features = *device.features;
    Property read;
    read.type = property.type;
    const PropertyFeatures* pRow = Row(property.type);
    if (pRow == nullptr || !features.Has(pRow->eValue)) {
        property = read;
        return {};
    }
    read.present = true;
    read.onOff = true;
    if (features.Has(pRow->eAuto))
        if (Error error = features.GetSwitch(pRow->eAuto, read.autoManualMode); !error.IsOk())
            return error;
    if (property.type == PropertyType::WhiteBalance) {
        if (Error error = GetBalance(features, "Red", read.valueA); !error.IsOk())
            return error;
        if (Error error = GetBalance(features, "Blue", read.valueB); !error.IsOk())
            return error;
        property = read;
        return {};
    }
    if (property.type == PropertyType::FrameRate) {
        if (Error error = FrameRateIsOn(device, read.onOff); !error.IsOk())
            return error;
        read.autoManualMode = read.autoManualMode || !read.onOff;
    }
    double dValue = 0.0;
    if (Error error = features.GetFloat(pRow->eValue, dValue); !error.IsOk())
        return error;
    read.absControl = true;
    read.absValue = static_cast<float>(dValue / pRow->dUnits);
    property = read;
    return {};
}

Error WriteProperty(OpenDevice& device, const Property& property)
{
    const PropertyFeatures* pRow = Row(property.type);
    if (pRow == nullptr)
        return device.features->Fail(ErrorType::NotSupported, "no such property");
    if (!device.features->Has(pRow->eValue))
        return device.features->Missing(pRow->eValue);
    if (property.type == PropertyType::WhiteBalance)
        return WriteBalance(device, property);
    const double dValue = static_cast<double>(property.absValue);
    if (!property.autoManualMode && property.absControl)
        if (Error error = CheckRange(device, *pRow, dValue); !error.IsOk())
            return error;
    if (Error error = WriteAutomatic(device, *pRow, property.autoManualMode); !error.IsOk())
        return error;
    return property.autoManualMode || !property.absControl ? Error() : WriteValue(device, *pRow, dValue);
}

} // namespace vireo
