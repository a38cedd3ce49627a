#include "platform/genicam/features.h"

#include "platform/genicam/glib_ptr.h"

#include <algorithm>
#include <cmath>
#include <cstring>

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
};

constexpr double kRawGainSteps = 10.0; ///< a dB in a GainRaw that does not say what it counts

const FeatureNames& NamesOf(Feature eFeature)
{
    return *std::find_if(
        std::begin(kNames), std::end(kNames), [=](const FeatureNames& row) { return row.eFeature == eFeature; });
}

/// GainRaw counts tenths of a dB unless it says dB itself; all other features come in our unit.
double ScaleOf(const char* strName, ArvGcNode* pNode)
{
    if (std::strcmp(strName, "GainRaw") != 0 || !ARV_IS_GC_INTEGER(pNode))
        return 1.0;
    const char* strUnit = arv_gc_integer_get_unit(ARV_GC_INTEGER(pNode));
    return strUnit != nullptr && std::strcmp(strUnit, "dB") == 0 ? 1.0 : kRawGainSteps;
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
        found = { strName, pNode, ScaleOf(strName, pNode) };
        return {};
    }
    return {};
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
        case ARV_DEVICE_ERROR_TIMEOUT: eType = ErrorType::Disconnected; break; // every retry went unanswered
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
    if (Error error = Need(eFeature); !error.IsOk())
        return error;
    GErrorSlot error;
    ArvGcNode* pNode = Node(eFeature);
    if (ARV_IS_GC_FLOAT(pNode))
        arv_gc_float_set_value(ARV_GC_FLOAT(pNode), dValue * Scale(eFeature), error.Out());
    else
        arv_device_set_integer_feature_value(
            m_pDevice, Name(eFeature), std::llround(dValue * Scale(eFeature)), error.Out());
    return Translate(error.Get(), Name(eFeature), ErrorType::PropertyFailed);
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
        const Error error = GetChoice(eFeature, strValue);
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
