#include "platform/iidc/iidc_device.h"

#include "platform/iidc/firewire_card.h"
#include "platform/range_message.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vireo {

namespace {

constexpr std::uint32_t kInquiryRegister = 0x0404; ///< which features there are; on every camera
constexpr std::uint32_t kSerialRegister = 0x1F20;
constexpr std::uint32_t kTileRegister = 0x1040; ///< four letters: the colours of the top left pixels
constexpr std::uint32_t kGreyTile = 0x59595959; ///< "YYYY"
constexpr std::uint32_t kOwnDomain = 0x49000000; ///< of a camera that shares its time with nobody
constexpr std::uint32_t kBusDomain = 0x13940000;

constexpr double kMsPerSecond = 1000.0;
constexpr double kHighestRate = 1000.0; ///< fps; what the image size allows is the camera's business
constexpr double kLongestShutterMs = 32000.0;
constexpr unsigned int kLargestRaw = 1023; ///< of the white balance

struct PropertyFeature {
    PropertyType eType;
    const char* pName;
    const char* pUnit;
    dc1394feature_t eFeature;
    double dUnits; ///< of ours in one of the camera's
    double dWidest; ///< taken although it is beyond today's limit; 0: not so
};
constexpr PropertyFeature kProperties[] = {
    { PropertyType::FrameRate, "frame rate", "fps", DC1394_FEATURE_FRAME_RATE, 1.0, kHighestRate },
    { PropertyType::Shutter, "shutter", "ms", DC1394_FEATURE_SHUTTER, kMsPerSecond, kLongestShutterMs },
    { PropertyType::Gain, "gain", "dB", DC1394_FEATURE_GAIN, 1.0, 0.0 },
    { PropertyType::WhiteBalance, "white balance", "", DC1394_FEATURE_WHITE_BALANCE, 1.0, 0.0 },
};

const PropertyFeature* Row(PropertyType eType)
{
    for (const PropertyFeature& row : kProperties)
        if (row.eType == eType)
            return &row;
    return nullptr;
}

ErrorType TypeOf(dc1394error_t eCode, ErrorType eOther)
{
    switch (eCode) {
    case DC1394_FUNCTION_NOT_SUPPORTED:
    case DC1394_INVALID_FEATURE: return ErrorType::NotSupported;
    case DC1394_INVALID_ARGUMENT_VALUE:
    case DC1394_REQ_VALUE_OUTSIDE_RANGE: return ErrorType::InvalidParameter;
    case DC1394_FORMAT7_ERROR_FLAG_1:
    case DC1394_FORMAT7_ERROR_FLAG_2:
    case DC1394_INVALID_VIDEO_FORMAT:
    case DC1394_INVALID_VIDEO_MODE:
    case DC1394_INVALID_FRAMERATE:
    case DC1394_INVALID_COLOR_CODING: return ErrorType::InvalidSettings;
    case DC1394_INVALID_TRIGGER_MODE:
    case DC1394_INVALID_TRIGGER_SOURCE: return ErrorType::NotSupported;
    case DC1394_MEMORY_ALLOCATION_FAILURE:
    case DC1394_NO_ISO_CHANNEL:
    case DC1394_NO_BANDWIDTH: return ErrorType::OutOfResources;
    default: return eOther;
    }
}

} // namespace

IidcDevice::IidcDevice(Dc1394Camera camera, std::string strName, std::shared_ptr<Presence> presence)
    : m_camera(std::move(camera))
    , m_strName(std::move(strName))
    , m_presence(std::move(presence))
{
}

Error IidcDevice::Fail(ErrorType eType, std::string_view strText) const
{
    return { eType, m_strName + ": " + std::string(strText) };
}

bool IidcDevice::Answers()
{
    if (IsGone())
        return false;
    std::uint32_t uiValue = 0;
    if (dc1394_get_control_register(Get(), kInquiryRegister, &uiValue) == DC1394_SUCCESS)
        return true;
    m_presence->SetUnanswered();
    return false;
}

Error IidcDevice::IfThere(Error error)
{
    if (Answers())
        return error;
    return IsGone() ? Gone() : Fail(ErrorType::TransportFailed, "it did not answer in time");
}

Error IidcDevice::Translate(dc1394error_t eCode, std::string_view strWhat, ErrorType eOther)
{
    if (eCode == DC1394_SUCCESS)
        return {};
    return IfThere(Fail(TypeOf(eCode, eOther), std::string(strWhat) + ": " + dc1394_error_get_string(eCode)));
}

Error IidcDevice::ReadControl(std::uint32_t uiAddress, std::uint32_t& uiValue)
{
    std::uint32_t uiRead = 0;
    const dc1394error_t eCode = dc1394_get_control_register(Get(), uiAddress, &uiRead);
    if (eCode == DC1394_SUCCESS)
        uiValue = uiRead;
    return Translate(eCode, "register read", ErrorType::RegisterFailed);
}

Error IidcDevice::WriteControl(std::uint32_t uiAddress, std::uint32_t uiValue)
{
    return Translate(
        dc1394_set_control_register(Get(), uiAddress, uiValue), "register write", ErrorType::RegisterFailed);
}

Error IidcDevice::ReadPropertyInfo(PropertyInfo& info)
{
    PropertyInfo read;
    read.type = info.type;
    const PropertyFeature* pRow = Row(info.type);
    dc1394bool_t bPresent = DC1394_FALSE;
    if (pRow != nullptr)
        if (Error error = Translate(
                dc1394_feature_is_present(Get(), pRow->eFeature, &bPresent), "property", ErrorType::PropertyFailed);
            !error.IsOk())
            return error;
    if (bPresent == DC1394_FALSE) {
        info = read;
        return {};
    }
    dc1394feature_modes_t modes {};
    dc1394bool_t bAbsolute = DC1394_FALSE;
    if (Error error = Translate(
            dc1394_feature_get_modes(Get(), pRow->eFeature, &modes), "property modes", ErrorType::PropertyFailed);
        !error.IsOk())
        return error;
    if (Error error = Translate(dc1394_feature_has_absolute_control(Get(), pRow->eFeature, &bAbsolute),
            "absolute control", ErrorType::PropertyFailed);
        !error.IsOk())
        return error;
    read.present = true;
    for (std::uint32_t i = 0; i < modes.num; i++) {
        read.manualSupported = read.manualSupported || modes.modes[i] == DC1394_FEATURE_MODE_MANUAL;
        read.autoSupported = read.autoSupported || modes.modes[i] == DC1394_FEATURE_MODE_AUTO;
    }
    read.absValSupported = bAbsolute != DC1394_FALSE && info.type != PropertyType::WhiteBalance;
    if (read.absValSupported) {
        float fMin = 0.0F;
        float fMax = 0.0F;
        if (Error error = Translate(dc1394_feature_get_absolute_boundaries(Get(), pRow->eFeature, &fMin, &fMax),
                "property limits", ErrorType::PropertyFailed);
            !error.IsOk())
            return error;
        read.absMin = static_cast<float>(static_cast<double>(fMin) * pRow->dUnits);
        read.absMax = static_cast<float>(std::max(static_cast<double>(fMax) * pRow->dUnits, pRow->dWidest));
    }
    info = read;
    return {};
}

Error IidcDevice::ReadProperty(Property& property)
{
    Property read;
    read.type = property.type;
    PropertyInfo info;
    info.type = property.type;
    if (Error error = ReadPropertyInfo(info); !error.IsOk())
        return error;
    if (!info.present) {
        property = read;
        return {};
    }
    const dc1394feature_t eFeature = Row(property.type)->eFeature;
    read.present = true;
    dc1394feature_mode_t eMode = DC1394_FEATURE_MODE_MANUAL;
    if (Error error =
            Translate(dc1394_feature_get_mode(Get(), eFeature, &eMode), "property mode", ErrorType::PropertyFailed);
        !error.IsOk())
        return error;
    read.autoManualMode = eMode == DC1394_FEATURE_MODE_AUTO;
    dc1394switch_t ePower = DC1394_ON;
    if (dc1394_feature_get_power(Get(), eFeature, &ePower) != DC1394_SUCCESS)
        ePower = DC1394_ON; // cannot be switched: always on
    read.onOff = ePower == DC1394_ON;
    Error error;
    if (property.type == PropertyType::WhiteBalance) {
        error = Translate(dc1394_feature_whitebalance_get_value(Get(), &read.valueB, &read.valueA), "white balance",
            ErrorType::PropertyFailed);
    } else if (info.absValSupported) {
        float fValue = 0.0F;
        read.absControl = true;
        error = Translate(
            dc1394_feature_get_absolute_value(Get(), eFeature, &fValue), "property value", ErrorType::PropertyFailed);
        read.absValue = static_cast<float>(static_cast<double>(fValue) * Row(property.type)->dUnits);
    } else {
        error = Translate(
            dc1394_feature_get_value(Get(), eFeature, &read.valueA), "property value", ErrorType::PropertyFailed);
    }
    if (error.IsOk())
        property = read;
    return error;
}

Error IidcDevice::WriteMode(dc1394feature_t eFeature, const Property& property)
{
    dc1394bool_t bSwitchable = DC1394_FALSE;
    if (dc1394_feature_is_switchable(Get(), eFeature, &bSwitchable) == DC1394_SUCCESS && bSwitchable != DC1394_FALSE)
        if (Error error = Translate(dc1394_feature_set_power(Get(), eFeature, property.onOff ? DC1394_ON : DC1394_OFF),
                "property switch", ErrorType::PropertyFailed);
            !error.IsOk())
            return error;
    return Translate(dc1394_feature_set_mode(Get(), eFeature,
                         property.autoManualMode ? DC1394_FEATURE_MODE_AUTO : DC1394_FEATURE_MODE_MANUAL),
        "property mode", ErrorType::PropertyFailed);
}

/// A value beyond today's limit becomes that limit, as the camera itself would have it: the limits of
/// rate and shutter follow the image size, which may be set later.
Error IidcDevice::WriteAbsolute(dc1394feature_t eFeature, float fValue)
{
    float fMin = 0.0F;
    float fMax = 0.0F;
    if (Error error = Translate(dc1394_feature_set_absolute_control(Get(), eFeature, DC1394_ON), "absolute control",
            ErrorType::PropertyFailed);
        !error.IsOk())
        return error;
    if (Error error = Translate(dc1394_feature_get_absolute_boundaries(Get(), eFeature, &fMin, &fMax),
            "property limits", ErrorType::PropertyFailed);
        !error.IsOk())
        return error;
    return Translate(dc1394_feature_set_absolute_value(Get(), eFeature, std::clamp(fValue, fMin, std::max(fMin, fMax))),
        "property value", ErrorType::PropertyFailed);
}

Error IidcDevice::WriteProperty(const Property& property)
{
    PropertyInfo info;
    info.type = property.type;
    if (Error error = ReadPropertyInfo(info); !error.IsOk())
        return error;
    if (!info.present || (property.autoManualMode && !info.autoSupported))
        return Fail(ErrorType::NotSupported, "no such property");
    const PropertyFeature& row = *Row(property.type);
    const bool bAbsolute = property.absControl && info.absValSupported && !property.autoManualMode;
    if (bAbsolute && !(property.absValue >= info.absMin && property.absValue <= info.absMax))
        return Fail(ErrorType::InvalidParameter,
            RangeMessage(row.pName, row.pUnit, static_cast<double>(property.absValue), static_cast<double>(info.absMin),
                static_cast<double>(info.absMax)));
    const bool bBalance = property.type == PropertyType::WhiteBalance && !property.autoManualMode;
    if (bBalance && (property.valueA > kLargestRaw || property.valueB > kLargestRaw))
        return Fail(ErrorType::InvalidParameter, "a white balance lies between 0 and 1023");
    if (Error error = WriteMode(row.eFeature, property); !error.IsOk())
        return error;
    if (property.autoManualMode)
        return {};
    if (bBalance)
        return Translate(dc1394_feature_whitebalance_set_value(Get(), property.valueB, property.valueA),
            "white balance", ErrorType::PropertyFailed);
    if (bAbsolute) {
        const auto fValue = static_cast<float>(static_cast<double>(property.absValue) / row.dUnits);
        if (property.type == PropertyType::FrameRate)
            m_fAskedRate = fValue;
        else if (property.type == PropertyType::Shutter)
            m_fAskedShutter = fValue;
        else
            return WriteAbsolute(row.eFeature, fValue);
        const HeldRate held = ReadHeldRate();
        const bool bRate = property.type == PropertyType::FrameRate;
        if (held.fFps <= 0.0F || (bRate && held.bStandardMode))
            return WriteAbsolute(row.eFeature, fValue); // nothing limits it
        if (Error error = Translate(dc1394_feature_set_absolute_control(Get(), row.eFeature, DC1394_ON),
                "absolute control", ErrorType::PropertyFailed);
            !error.IsOk())
            return error;
        return ApplyRate();
    }
    return Translate(
        dc1394_feature_set_value(Get(), row.eFeature, property.valueA), "property value", ErrorType::PropertyFailed);
}

BayerTileFormat IidcDevice::ReadTile()
{
    std::uint32_t uiTile = kGreyTile;
    if (dc1394_get_control_register(Get(), kTileRegister, &uiTile) != DC1394_SUCCESS)
        return BayerTileFormat::None;
    switch (uiTile) {
    case 0x52474742: return BayerTileFormat::Rggb;
    case 0x47524247: return BayerTileFormat::Grbg;
    case 0x47425247: return BayerTileFormat::Gbrg;
    case 0x42474752: return BayerTileFormat::Bggr;
    default: return BayerTileFormat::None;
    }
}

CameraInfo ReadIidcInfo(IidcDevice& device, std::uint64_t uiGuid)
{
    dc1394camera_t* pCamera = device.Get();
    CameraInfo info;
    info.serialNumber = static_cast<std::uint32_t>(uiGuid);
    std::uint32_t uiSerial = 0;
    if (dc1394_get_control_register(pCamera, kSerialRegister, &uiSerial) == DC1394_SUCCESS && uiSerial != 0)
        info.serialNumber = uiSerial;
    info.modelName = pCamera->model != nullptr ? pCamera->model : "";
    info.vendorName = pCamera->vendor != nullptr ? pCamera->vendor : "";
    info.isColorCamera = device.ReadTile() != BayerTileFormat::None;
    std::uint32_t uiWidth = 0;
    std::uint32_t uiHeight = 0;
    if (dc1394_format7_get_max_image_size(pCamera, DC1394_VIDEO_MODE_FORMAT7_0, &uiWidth, &uiHeight) == DC1394_SUCCESS)
        info.sensorResolution = std::to_string(uiWidth) + "x" + std::to_string(uiHeight);
    const char* strRoad = nullptr; // the driver's name of the way to the camera
    dc1394_camera_get_platform_string(pCamera, &strRoad);
    if (strRoad == nullptr || std::string_view(strRoad) != "usb") {
        info.interfaceType = InterfaceType::Ieee1394;
        // The bus hands its time to every camera on it; which bus it is must be known for that. The driver does not
        // tell: it answers for one of its two ways only, and for the other with whatever stands there.
        const std::optional<std::uint32_t> card = FindFirewireCard(uiGuid);
        info.clockDomain = card ? kBusDomain | (*card & 0xFFFFU) : kOwnDomain | (info.serialNumber & 0x00FFFFFFU);
        return info;
    }
    info.interfaceType = info.modelName.find("U3") != std::string::npos ? InterfaceType::Usb3 : InterfaceType::Usb2;
    info.clockDomain = kOwnDomain | (info.serialNumber & 0x00FFFFFFU);
    return info;
}

} // namespace vireo
