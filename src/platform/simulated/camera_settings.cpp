#include "platform/simulated/camera_settings.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace vireo {

namespace {

constexpr std::uint32_t kMaxDriverBuffers = 4096;
constexpr unsigned int kMaxRaw = 4095;
constexpr unsigned int kMaxWhiteBalance = 1023;
constexpr unsigned int kNoTriggerLine = 4; // where a camera points that listens to none
constexpr float kAutoShutterMs = 5.0F;
constexpr std::int64_t kMilli = 1000;

float FromRaw(unsigned int uiRaw, float fMin, float fMax)
{
    return fMin + (fMax - fMin) * static_cast<float>(std::min(uiRaw, kMaxRaw)) / static_cast<float>(kMaxRaw);
}

unsigned int ToRaw(float fValue, float fMin, float fMax)
{
    return static_cast<unsigned int>(std::lround((fValue - fMin) / (fMax - fMin) * static_cast<float>(kMaxRaw)));
}

std::int64_t MilliHertz(float fFps) { return std::llround(static_cast<double>(fFps) * kMilli); }

} // namespace

CameraSettings::CameraSettings(const CameraModel& model, std::string_view strName)
    : bootstrap(BootstrapRegisterTable())
    , m_pModel(&model)
    , m_bColour(IsColourModel(strName))
    , m_eInterface(InterfaceOfModel(strName))
    , m_registers(ControlRegisterTable())
    , m_uiBytesPerPacket(model.uiMaxPacket)
{
    strobe.source = kStrobeLine;
    m_frameRate.fValue = std::min(30.0F, model.fMaxFps);
    m_shutter.fValue = kAutoShutterMs;
    m_gain.fValue = std::max(0.0F, model.fGainMinDb);
    (void)SetImagingMode(0);
}

Error CameraSettings::SetConfiguration(const FC2Config& newConfig)
{
    const bool bKnownMode = newConfig.grabMode == GrabMode::DropFrames || newConfig.grabMode == GrabMode::BufferFrames;
    if (newConfig.numBuffers < 1 || newConfig.numBuffers > kMaxDriverBuffers || newConfig.grabTimeout < -1
        || !bKnownMode)
        return ErrorType::InvalidParameter;
    config = newConfig;
    return {};
}

Error CameraSettings::SetTriggerMode(const TriggerMode& mode)
{
    if ((mode.mode != kTriggerModeStandard && mode.mode != kTriggerModeOverlapped) || mode.source > kNoTriggerLine)
        return ErrorType::NotSupported;
    if (mode.polarity > 1)
        return ErrorType::InvalidParameter;
    trigger = mode;
    return {};
}

Error CameraSettings::SetStrobe(const StrobeControl& control)
{
    if (control.source != kStrobeLine)
        return ErrorType::NotSupported;
    const bool bInRange = control.delay >= 0.0F && control.delay <= kMaxShutterMs && control.duration >= 0.0F
        && control.duration <= kMaxShutterMs;
    if (!bInRange || control.polarity > 1)
        return ErrorType::InvalidParameter;
    strobe = control;
    return {};
}

CameraSettings::Range CameraSettings::RangeOf(PropertyType eType) const
{
    switch (eType) {
    case PropertyType::FrameRate: return { kMinFps, m_pModel->fMaxFps };
    case PropertyType::Shutter: return { kMinShutterMs, kMaxShutterMs };
    case PropertyType::Gain: return { m_pModel->fGainMinDb, m_pModel->fGainMaxDb };
    case PropertyType::WhiteBalance: break;
    }
    return {};
}

CameraSettings::Control* CameraSettings::ControlOf(PropertyType eType)
{
    switch (eType) {
    case PropertyType::FrameRate: return &m_frameRate;
    case PropertyType::Shutter: return &m_shutter;
    case PropertyType::Gain: return &m_gain;
    case PropertyType::WhiteBalance: break;
    }
    return nullptr;
}

const CameraSettings::Control* CameraSettings::ControlOf(PropertyType eType) const
{
    return const_cast<CameraSettings*>(this)->ControlOf(eType);
}

Error CameraSettings::GetProperty(Property& property) const
{
    const PropertyType eType = property.type;
    Property result;
    result.type = eType;
    if (const Control* pControl = ControlOf(eType)) {
        const Range range = RangeOf(eType);
        result.present = true;
        result.absControl = true;
        result.onOff = pControl->bOn;
        result.autoManualMode = pControl->bAuto;
        result.absValue = pControl->fValue;
        if (eType == PropertyType::Shutter)
            result.absValue = ShutterMs(Timing().period);
        if (eType == PropertyType::FrameRate && (pControl->bAuto || !pControl->bOn))
            result.absValue =
                static_cast<float>(static_cast<double>(kNsPerSecond) / static_cast<double>(Timing().period.Ns()));
        result.valueA = ToRaw(result.absValue, range.fMin, range.fMax);
    } else if (eType == PropertyType::WhiteBalance && m_bColour) {
        result.present = true;
        result.onOff = true;
        result.autoManualMode = m_bAutoWhite;
        result.valueA = m_uiRed;
        result.valueB = m_uiBlue;
    }
    property = result;
    return {};
}

Error CameraSettings::SetProperty(const Property& property)
{
    if (property.type == PropertyType::WhiteBalance && m_bColour) {
        if (property.valueA > kMaxWhiteBalance || property.valueB > kMaxWhiteBalance)
            return ErrorType::InvalidParameter;
        m_bAutoWhite = property.autoManualMode;
        m_uiRed = property.valueA;
        m_uiBlue = property.valueB;
        return {};
    }
    Control* const pControl = ControlOf(property.type);
    if (pControl == nullptr)
        return ErrorType::NotSupported;
    if (!property.autoManualMode) {
        const Range range = RangeOf(property.type);
        if (property.absControl && !(property.absValue >= range.fMin && property.absValue <= range.fMax))
            return ErrorType::InvalidParameter;
        if (!property.absControl && property.valueA > kMaxRaw)
            return ErrorType::InvalidParameter;
        pControl->fValue = property.absControl ? property.absValue : FromRaw(property.valueA, range.fMin, range.fMax);
    }
    pControl->bAuto = property.autoManualMode;
    pControl->bOn = property.onOff;
    return {};
}

Error CameraSettings::GetPropertyInfo(PropertyInfo& info) const
{
    PropertyInfo result;
    result.type = info.type;
    result.present = ControlOf(info.type) != nullptr || (info.type == PropertyType::WhiteBalance && m_bColour);
    if (result.present) {
        result.autoSupported = true;
        result.manualSupported = true;
        result.absValSupported = info.type != PropertyType::WhiteBalance;
        const Range range = RangeOf(info.type);
        result.absMin = range.fMin;
        result.absMax = range.fMax;
    }
    info = result;
    return {};
}

std::uint32_t CameraSettings::ReadRegister(std::uint32_t uiAddress) const
{
    switch (uiAddress) {
    case kFrameRateControl:
        return kFrameRatePresent | kFrameRateAbsolute | (m_frameRate.bOn ? kFrameRateOn : 0)
            | (m_frameRate.bAuto ? kFrameRateAuto : 0) | ToRaw(m_frameRate.fValue, kMinFps, m_pModel->fMaxFps);
    case kFrameRateValue: return std::bit_cast<std::uint32_t>(m_frameRate.fValue);
    default: return m_registers.Read(uiAddress);
    }
}

Error CameraSettings::WriteRegister(std::uint32_t uiAddress, std::uint32_t uiValue)
{
    if (uiAddress == kFrameRateControl) {
        m_frameRate.bOn = (uiValue & kFrameRateOn) != 0;
        m_frameRate.bAuto = (uiValue & kFrameRateAuto) != 0;
        if ((uiValue & kFrameRateAbsolute) == 0)
            m_frameRate.fValue = FromRaw(uiValue & kFrameRateRaw, kMinFps, m_pModel->fMaxFps);
        return {};
    }
    if (uiAddress == kFrameRateValue) {
        const float fFps = std::bit_cast<float>(uiValue);
        if (std::isnan(fFps))
            return ErrorType::RegisterFailed;
        m_frameRate.fValue = std::clamp(fFps, kMinFps, m_pModel->fMaxFps); // a camera takes the nearest it can
        return {};
    }
    return m_registers.Write(uiAddress, uiValue);
}

Error CameraSettings::SetStandardMode(VideoMode eMode, FrameRateCode eRate)
{
    if (eMode != VideoMode::Mode640x480Y8 || (eRate != FrameRateCode::Fps30 && eRate != FrameRateCode::Fps60))
        return ErrorType::NotSupported;
    m_bStandardMode = true;
    m_eStandardRate = eRate;
    m_image = { 0, 0, 0, 640, 480, PixelFormat::Mono8 };
    m_uiBytesPerPacket = m_pModel->uiMaxPacket;
    return {};
}

const ModelMode* CameraSettings::FindMode(ImagingMode mode) const
{
    if (mode < 0 || static_cast<std::size_t>(mode) >= m_pModel->modes.size())
        return nullptr;
    const ModelMode& row = m_pModel->modes[static_cast<std::size_t>(mode)];
    return row.uiMaxWidth == 0 ? nullptr : &row;
}

bool CameraSettings::GetImageInfo(ImagingMode mode, Format7Info& info) const
{
    const ModelMode* const pMode = FindMode(mode);
    if (pMode != nullptr)
        info = { mode, pMode->uiMaxWidth, pMode->uiMaxHeight, kOffsetStep, kOffsetStep, kImageStepH, kImageStepV,
            kCustomFormats };
    return pMode != nullptr;
}

bool CameraSettings::IsValidImage(const Format7ImageSettings& settings) const
{
    const ModelMode* const pMode = FindMode(settings.mode);
    const auto fits = [](std::uint32_t uiOffset, std::uint32_t uiSize, std::uint32_t uiStep, std::uint32_t uiMax) {
        return uiSize > 0 && uiSize % uiStep == 0 && uiOffset % kOffsetStep == 0
            && std::uint64_t { uiOffset } + uiSize <= uiMax;
    };
    return pMode != nullptr && fits(settings.offsetX, settings.width, kImageStepH, pMode->uiMaxWidth)
        && fits(settings.offsetY, settings.height, kImageStepV, pMode->uiMaxHeight)
        && (settings.pixelFormat == PixelFormat::Mono8 || settings.pixelFormat == PixelFormat::Raw8);
}

Format7PacketInfo CameraSettings::PacketInfo() const
{
    const bool bUsb = m_eInterface == InterfaceType::Usb3;
    return { bUsb ? m_pModel->uiMaxPacket / 2 : m_pModel->uiMaxPacket, m_pModel->uiMaxPacket, kPacketUnit };
}

Error CameraSettings::SetImage(const Format7ImageSettings& settings, std::uint32_t uiBytesPerPacket)
{
    if (!IsValidImage(settings))
        return ErrorType::InvalidSettings;
    if (uiBytesPerPacket == 0 || uiBytesPerPacket > m_pModel->uiMaxPacket || uiBytesPerPacket % kPacketUnit != 0)
        return ErrorType::InvalidParameter;
    m_bStandardMode = false;
    m_image = settings;
    m_uiBytesPerPacket = uiBytesPerPacket;
    return {};
}

Error CameraSettings::SetImagingMode(ImagingMode mode)
{
    const ModelMode* const pMode = FindMode(mode);
    if (pMode == nullptr)
        return ErrorType::NotSupported;
    const PixelFormat eFormat = m_bColour ? PixelFormat::Raw8 : PixelFormat::Mono8;
    const std::uint32_t uiWidth = pMode->uiMaxWidth / kImageStepH * kImageStepH;
    return SetImage({ mode, 0, 0, uiWidth, pMode->uiMaxHeight, eFormat }, m_pModel->uiMaxPacket);
}

SceneShape CameraSettings::Shape() const
{
    return { m_image.width, m_image.height, m_bColour && m_image.pixelFormat == PixelFormat::Raw8 };
}

FramePeriod CameraSettings::Period(ClockTime smallestPeriod) const
{
    std::int64_t iMilliHertz = MilliHertz(m_pModel->fMaxFps);
    if (m_bStandardMode)
        iMilliHertz = std::min(iMilliHertz, (m_eStandardRate == FrameRateCode::Fps60 ? 60 : 30) * kMilli);
    if (m_frameRate.bOn && !m_frameRate.bAuto)
        iMilliHertz = std::min(iMilliHertz, MilliHertz(m_frameRate.fValue));
    const FramePeriod period { kMilli * kNsPerSecond, iMilliHertz };
    return period.Ns() < smallestPeriod ? FramePeriod { smallestPeriod, 1 } : period;
}

float CameraSettings::ShutterMs(const FramePeriod& period) const
{
    const double dPeriodMs = static_cast<double>(period.iNumerator) / static_cast<double>(period.iDenominator)
        / static_cast<double>(kNsPerMs);
    if (m_shutter.bAuto)
        return std::min(kAutoShutterMs, static_cast<float>(dPeriodMs / 2));
    return std::min(m_shutter.fValue, static_cast<float>(dPeriodMs));
}

FrameTiming CameraSettings::Timing() const
{
    const std::int64_t iReadOut = std::int64_t { m_image.height } * FindMode(m_image.mode)->uiRowNs;
    const std::int64_t iBytes = std::int64_t { m_image.width } * m_image.height;
    const std::int64_t iTransfer = iBytes * 125 * kNsPerUs / m_uiBytesPerPacket;
    FrameTiming timing;
    timing.smallestPeriod = std::max(iReadOut, iTransfer);
    timing.period = Period(timing.smallestPeriod);
    const double dShutterNs = static_cast<double>(ShutterMs(timing.period)) * static_cast<double>(kNsPerMs);
    timing.exposure = std::min<ClockTime>(std::llround(dShutterNs), timing.period.Ns());
    return timing;
}

} // namespace vireo
