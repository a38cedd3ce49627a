#include "platform/genicam/features.h"

#include "platform/genicam/feature_units.h"
#include "platform/genicam/glib_ptr.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace vireo {

namespace {

struct FeatureNames {
    Feature eFeature;
    std::array<const char*, 4> names; ///< the first that the camera has wins
};

// One row for each thing a camera may do, with the names that makers give it.
constexpr FeatureNames kNames[] = {
    { Feature::AcquisitionMode, { "AcquisitionMode" } },
    { Feature::FrameRate, { "AcquisitionFrameRate", "AcquisitionFrameRateAbs", "FrameRate" } },
    { Feature::FrameRateEnable, { "AcquisitionFrameRateEnable", "AcquisitionFrameRateEnabled" } },
    { Feature::FrameRateAuto, { "AcquisitionFrameRateAuto" } },
    { Feature::Exposure, { "ExposureTime", "ExposureTimeAbs", "ExposureTimeRaw", "Exposure" } },
    { Feature::ExposureMode, { "ExposureMode" } },
    { Feature::ExposureAuto, { "ExposureAuto" } },
    { Feature::Gain, { "Gain", "GainAbs", "GainRaw" } },
    { Feature::GainSelector, { "GainSelector" } },
    { Feature::GainAuto, { "GainAuto" } },
    { Feature::BalanceRatio, { "BalanceRatio", "BalanceRatioAbs", "BalanceRatioRaw" } },
    { Feature::BalanceSelector, { "BalanceRatioSelector" } },
    { Feature::BalanceAuto, { "BalanceWhiteAuto" } },
    { Feature::Width, { "Width" } },
    { Feature::Height, { "Height" } },
    { Feature::OffsetX, { "OffsetX" } },
    { Feature::OffsetY, { "OffsetY" } },
    { Feature::WidthMax, { "WidthMax" } },
    { Feature::HeightMax, { "HeightMax" } },
    { Feature::SensorWidth, { "SensorWidth" } },
    { Feature::SensorHeight, { "SensorHeight" } },
    { Feature::PixelFormat, { "PixelFormat" } },
    { Feature::VideoMode, { "VideoMode" } },
    { Feature::BinningHorizontal, { "BinningHorizontal" } },
    { Feature::BinningVertical, { "BinningVertical" } },
    { Feature::TriggerSelector, { "TriggerSelector" } },
    { Feature::TriggerMode, { "TriggerMode" } },
    { Feature::TriggerSource, { "TriggerSource" } },
    { Feature::TriggerActivation, { "TriggerActivation" } },
    { Feature::TriggerOverlap, { "TriggerOverlap" } },
    { Feature::LineSelector, { "LineSelector" } },
    { Feature::LineMode, { "LineMode" } },
    { Feature::LineInverter, { "LineInverter" } },
    { Feature::LineSource, { "LineSource" } },
    { Feature::LineStatus, { "LineStatus" } },
    { Feature::LineStatusAll, { "LineStatusAll" } },
    { Feature::UserOutputSelector, { "UserOutputSelector" } },
    { Feature::UserOutputValue, { "UserOutputValue" } },
    { Feature::StrobeEnable, { "StrobeEnable", "StrobeEnabled" } },
    { Feature::StrobeDelay, { "StrobeDelay", "StrobeLineDelay", "LineDelay" } },
    { Feature::StrobeDuration, { "StrobeDuration", "StrobeLineDuration" } },
    { Feature::ChunkModeActive, { "ChunkModeActive" } },
    { Feature::TransferLocked, { "TLParamsLocked" } },
};

constexpr double kRawGainSteps = 10.0; ///< a dB in a GainRaw that does not say what it counts
constexpr const char* kRawTimeBase = "ExposureTimeBaseAbs";
constexpr double kLeastStep = 1e-9; ///< below it a camera names no step

const FeatureNames& NamesOf(Feature eFeature)
{
    return *std::find_if(
        std::begin(kNames), std::end(kNames), [=](const FeatureNames& row) { return row.eFeature == eFeature; });
}

Quantity QuantityOf(Feature eFeature)
{
    switch (eFeature) {
    case Feature::Exposure:
    case Feature::StrobeDelay:
    case Feature::StrobeDuration: return Quantity::Time;
    case Feature::Gain: return Quantity::Level;
    default: return Quantity::None;
    }
}

/// What the camera's description says of a feature: its unit, or the sentence that explains it.
std::optional<double> ToldUnitsPerStep(Quantity eQuantity, ArvGcNode* pNode, bool bRaw)
{
    const char* strUnit = ARV_IS_GC_FLOAT(pNode) ? arv_gc_float_get_unit(ARV_GC_FLOAT(pNode))
        : ARV_IS_GC_INTEGER(pNode)               ? arv_gc_integer_get_unit(ARV_GC_INTEGER(pNode))
                                                 : nullptr;
    if (const auto told = UnitsPerStep(eQuantity, Told(strUnit)))
        return told;
    if (!bRaw || !ARV_IS_GC_FEATURE_NODE(pNode))
        return std::nullopt;
    auto* pFeature = ARV_GC_FEATURE_NODE(pNode);
    const auto described = UnitsPerStepInText(eQuantity, Told(arv_gc_feature_node_get_description(pFeature)));
    return described ? described : UnitsPerStepInText(eQuantity, Told(arv_gc_feature_node_get_tooltip(pFeature)));
}

/// How many of the camera's steps make one of our units; none when a raw number could be anything.
std::optional<double> ScaleOf(ArvDevice* pDevice, Feature eFeature, const char* strName, ArvGcNode* pNode)
{
    const Quantity eQuantity = QuantityOf(eFeature);
    const bool bRaw = std::string_view(strName).ends_with("Raw");
    if (eQuantity == Quantity::None)
        return 1.0;
    if (const auto told = ToldUnitsPerStep(eQuantity, pNode, bRaw))
        return 1.0 / *told;
    if (!bRaw)
        return 1.0; // as the standard has it
    if (eQuantity == Quantity::Level)
        return kRawGainSteps;
    GErrorSlot error; // us in a step, where the camera tells it in a feature of its own
    const bool bBase = arv_device_get_feature(pDevice, kRawTimeBase) != nullptr;
    const double dBase = bBase ? arv_device_get_float_feature_value(pDevice, kRawTimeBase, error.Out()) : 0.0;
    return bBase && !error && dBase > 0.0 ? std::optional(1.0 / dBase) : std::nullopt;
}

/// The nearest value at a whole number of steps from the least, not beyond the limit.
double OnGrid(double dValue, double dMin, double dMax, double dStep)
{
    if (!(dStep > kLeastStep))
        return dValue;
    const double dSteps = std::min(std::round((dValue - dMin) / dStep), std::floor((dMax - dMin) / dStep));
    return dMin + std::max(dSteps, 0.0) * dStep;
}

} // namespace

Features::Features(ArvDevice* pDevice, std::string strCamera)
    : m_pDevice(pDevice)
    , m_strCamera(std::move(strCamera))
{
}

/// Only what was found is kept: a feature may be there later, and a question that got no answer says nothing.
Error Features::LookUp(Feature eFeature)
{
    Found& found = m_found[static_cast<std::size_t>(eFeature)];
    if (found.pNode != nullptr)
        return {};
    Error unclear;
    for (const char* strName : NamesOf(eFeature).names) {
        ArvGcNode* pNode = strName != nullptr ? arv_device_get_feature(m_pDevice, strName) : nullptr;
        if (pNode == nullptr)
            continue;
        GErrorSlot error;
        const bool bAvailable = arv_device_is_feature_available(m_pDevice, strName, error.Out()) != FALSE;
        if (error)
            return Translate(error.Get(), strName, ErrorType::PropertyFailed);
        if (!bAvailable)
            continue;
        const std::optional<double> scale = ScaleOf(m_pDevice, eFeature, strName, pNode);
        if (!scale) {
            unclear = Fail(ErrorType::NotSupported, std::string(strName) + " does not say what it counts");
            continue;
        }
        found = { strName, pNode, *scale };
        return {};
    }
    return unclear;
}

bool Features::Has(Feature eFeature) { return !LookUp(eFeature).IsOk() || Name(eFeature) != nullptr; }

Error Features::Need(Feature eFeature)
{
    Error error = LookUp(eFeature);
    return error.IsOk() && Name(eFeature) == nullptr ? Missing(eFeature) : error;
}

const char* Features::Name(Feature eFeature) const { return m_found[static_cast<std::size_t>(eFeature)].strName; }
ArvGcNode* Features::Node(Feature eFeature) const { return m_found[static_cast<std::size_t>(eFeature)].pNode; }
double Features::Scale(Feature eFeature) const { return m_found[static_cast<std::size_t>(eFeature)].dScale; }

Error Features::Fail(ErrorType eType, std::string_view strText) const
{
    return { eType, m_strCamera + ": " + std::string(strText) };
}

Error Features::Missing(Feature eFeature) const
{
    std::string strText = "lacks ";
    strText += NamesOf(eFeature).names[0];
    return Fail(ErrorType::NotSupported, strText);
}

Error Features::Translate(const GError* pError, std::string_view strWhat, ErrorType eOther) const
{
    if (pError == nullptr)
        return {};
    ErrorType eType = eOther;
    if (pError->domain == ARV_GC_ERROR && pError->code == ARV_GC_ERROR_OUT_OF_RANGE)
        eType = ErrorType::InvalidParameter;
    if (pError->domain == ARV_DEVICE_ERROR) {
        switch (pError->code) {
        case ARV_DEVICE_ERROR_TIMEOUT: // every retry went unanswered
        case ARV_DEVICE_ERROR_NOT_CONNECTED: eType = ErrorType::Disconnected; break;
        case ARV_DEVICE_ERROR_TRANSFER_ERROR: eType = ErrorType::TransportFailed; break;
        case ARV_DEVICE_ERROR_NOT_CONTROLLER:
        case ARV_DEVICE_ERROR_PROTOCOL_ERROR_ACCESS_DENIED: eType = ErrorType::AccessDenied; break;
        case ARV_DEVICE_ERROR_NOT_FOUND: eType = ErrorType::NotFound; break;
        case ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_PARAMETER: eType = ErrorType::InvalidParameter; break;
        default: break;
        }
    }
    return Fail(eType, std::string(strWhat) + ": " + pError->message);
}

Error Features::GetFloat(Feature eFeature, double& dValue)
{
    if (Error error = Need(eFeature); !error.IsOk())
        return error;
    GErrorSlot error;
    ArvGcNode* pNode = Node(eFeature);
    double dRead = 0.0;
    if (ARV_IS_GC_FLOAT(pNode))
        dRead = arv_gc_float_get_value(ARV_GC_FLOAT(pNode), error.Out());
    else
        dRead = static_cast<double>(arv_device_get_integer_feature_value(m_pDevice, Name(eFeature), error.Out()));
    if (!error)
        dValue = dRead / Scale(eFeature);
    return Translate(error.Get(), Name(eFeature), ErrorType::PropertyFailed);
}

Error Features::SetFloat(Feature eFeature, double dValue)
{
    FeatureRange range;
    if (Error error = GetRange(eFeature, range); !error.IsOk())
        return error;
    GErrorSlot error;
    GErrorSlot stepless; // who names no step takes every value
    ArvGcNode* pNode = Node(eFeature);
    const double dScale = Scale(eFeature);
    const bool bFloat = ARV_IS_GC_FLOAT(pNode) != FALSE;
    const double dStep = bFloat
        ? arv_gc_float_get_inc(ARV_GC_FLOAT(pNode), stepless.Out())
        : static_cast<double>(arv_device_get_integer_feature_increment(m_pDevice, Name(eFeature), stepless.Out()));
    const double dRaw =
        stepless ? dValue * dScale : OnGrid(dValue * dScale, range.dMin * dScale, range.dMax * dScale, dStep);
    if (bFloat)
        arv_gc_float_set_value(ARV_GC_FLOAT(pNode), dRaw, error.Out());
    else
        arv_device_set_integer_feature_value(m_pDevice, Name(eFeature), std::llround(dRaw), error.Out());
    return Translate(error.Get(), Name(eFeature), ErrorType::PropertyFailed);
}

Error Features::SetNearest(Feature eFeature, double dValue)
{
    FeatureRange range;
    if (Error error = GetRange(eFeature, range); !error.IsOk())
        return error;
    return SetFloat(eFeature, std::clamp(dValue, range.dMin, std::max(range.dMin, range.dMax)));
}

Error Features::GetRange(Feature eFeature, FeatureRange& range)
{
    if (Error error = Need(eFeature); !error.IsOk())
        return error;
    GErrorSlot error;
    FeatureRange read;
    if (ARV_IS_GC_FLOAT(Node(eFeature))) {
        arv_device_get_float_feature_bounds(m_pDevice, Name(eFeature), &read.dMin, &read.dMax, error.Out());
    } else {
        gint64 iMin = 0;
        gint64 iMax = 0;
        arv_device_get_integer_feature_bounds(m_pDevice, Name(eFeature), &iMin, &iMax, error.Out());
        read = { static_cast<double>(iMin), static_cast<double>(iMax) };
    }
    if (!error)
        range = { read.dMin / Scale(eFeature), read.dMax / Scale(eFeature) };
    return Translate(error.Get(), Name(eFeature), ErrorType::PropertyFailed);
}

Error Features::GetInteger(Feature eFeature, std::int64_t& iValue)
{
    if (Error error = Need(eFeature); !error.IsOk())
        return error;
    GErrorSlot error;
    const gint64 iRead = arv_device_get_integer_feature_value(m_pDevice, Name(eFeature), error.Out());
    if (!error)
        iValue = iRead;
    return Translate(error.Get(), Name(eFeature), ErrorType::PropertyFailed);
}

Error Features::SetInteger(Feature eFeature, std::int64_t iValue)
{
    if (Error error = Need(eFeature); !error.IsOk())
        return error;
    GErrorSlot error;
    arv_device_set_integer_feature_value(m_pDevice, Name(eFeature), iValue, error.Out());
    return Translate(error.Get(), Name(eFeature), ErrorType::PropertyFailed);
}

Error Features::GetStep(Feature eFeature, std::int64_t& iStep)
{
    if (Error error = Need(eFeature); !error.IsOk())
        return error;
    GErrorSlot error;
    const gint64 iRead = arv_device_get_integer_feature_increment(m_pDevice, Name(eFeature), error.Out());
    if (!error)
        iStep = std::max<std::int64_t>(iRead, 1);
    return Translate(error.Get(), Name(eFeature), ErrorType::PropertyFailed);
}

Error Features::GetSwitch(Feature eFeature, bool& bOn)
{
    if (Error error = Need(eFeature); !error.IsOk())
        return error;
    if (ARV_IS_GC_ENUMERATION(Node(eFeature))) {
        std::string strValue;
        Error error = GetChoice(eFeature, strValue);
        if (error.IsOk())
            bOn = strValue != "Off" && strValue != "False";
        return error;
    }
    GErrorSlot error;
    const bool bRead = ARV_IS_GC_BOOLEAN(Node(eFeature))
        ? arv_device_get_boolean_feature_value(m_pDevice, Name(eFeature), error.Out()) != FALSE
        : arv_device_get_integer_feature_value(m_pDevice, Name(eFeature), error.Out()) != 0;
    if (!error)
        bOn = bRead;
    return Translate(error.Get(), Name(eFeature), ErrorType::PropertyFailed);
}

Error Features::SetSwitch(Feature eFeature, bool bOn)
{
    if (Error error = Need(eFeature); !error.IsOk())
        return error;
    if (ARV_IS_GC_ENUMERATION(Node(eFeature)))
        return bOn ? SetFirstChoice(eFeature, { "On", "Continuous", "True" })
                   : SetFirstChoice(eFeature, { "Off", "False" });
    GErrorSlot error;
    if (ARV_IS_GC_BOOLEAN(Node(eFeature)))
        arv_device_set_boolean_feature_value(m_pDevice, Name(eFeature), bOn ? TRUE : FALSE, error.Out());
    else
        arv_device_set_integer_feature_value(m_pDevice, Name(eFeature), bOn ? 1 : 0, error.Out());
    return Translate(error.Get(), Name(eFeature), ErrorType::PropertyFailed);
}

Error Features::GetChoice(Feature eFeature, std::string& strValue)
{
    if (Error error = Need(eFeature); !error.IsOk())
        return error;
    GErrorSlot error;
    const char* strRead = arv_device_get_string_feature_value(m_pDevice, Name(eFeature), error.Out());
    if (!error && strRead != nullptr)
        strValue = strRead;
    return Translate(error.Get(), Name(eFeature), ErrorType::PropertyFailed);
}

Error Features::SetChoice(Feature eFeature, const std::string& strValue)
{
    if (Error error = Need(eFeature); !error.IsOk())
        return error;
    GErrorSlot error;
    arv_device_set_string_feature_value(m_pDevice, Name(eFeature), strValue.c_str(), error.Out());
    return Translate(error.Get(), std::string(Name(eFeature)) + " = " + strValue, ErrorType::PropertyFailed);
}

std::vector<std::string> Features::Choices(Feature eFeature)
{
    std::vector<std::string> words;
    if (!Need(eFeature).IsOk() || !ARV_IS_GC_ENUMERATION(Node(eFeature)))
        return words;
    GErrorSlot error;
    guint uiCount = 0;
    const GMemory<const char*> values(arv_device_dup_available_enumeration_feature_values_as_strings(
        m_pDevice, Name(eFeature), &uiCount, error.Out()));
    for (guint i = 0; values && !error && i < uiCount; i++)
        words.emplace_back(values.get()[i]);
    return words;
}

bool Features::HasChoice(Feature eFeature, const std::string& strValue)
{
    const std::vector<std::string> words = Choices(eFeature);
    return std::find(words.begin(), words.end(), strValue) != words.end();
}

Error Features::SetFirstChoice(Feature eFeature, std::initializer_list<std::string> words)
{
    if (Error error = Need(eFeature); !error.IsOk())
        return error;
    const std::vector<std::string> known = Choices(eFeature);
    for (const std::string& strWord : words)
        if (std::find(known.begin(), known.end(), strWord) != known.end())
            return SetChoice(eFeature, strWord);
    return Fail(ErrorType::NotSupported, std::string(Name(eFeature)) + " cannot be " + *words.begin());
}

Error Features::ReadWord(std::uint64_t uiAddress, std::uint32_t& uiValue)
{
    GErrorSlot error;
    guint32 uiRead = 0;
    arv_device_read_register(m_pDevice, uiAddress, &uiRead, error.Out());
    if (!error)
        uiValue = uiRead;
    return Translate(error.Get(), "register " + std::to_string(uiAddress), ErrorType::RegisterFailed);
}

Error Features::WriteWord(std::uint64_t uiAddress, std::uint32_t uiValue)
{
    GErrorSlot error;
    arv_device_write_register(m_pDevice, uiAddress, uiValue, error.Out());
    return Translate(error.Get(), "register " + std::to_string(uiAddress), ErrorType::RegisterFailed);
}

} // namespace vireo
