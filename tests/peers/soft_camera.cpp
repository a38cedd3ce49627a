#include "peers/soft_camera.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace vireo::peers {

namespace {

constexpr std::int64_t kRowNs = 5000; ///< read-out time of one row: 640x480 reaches 416 fps
constexpr float kMinFps = 1.0F;
constexpr float kMinExposureUs = 10.0F;
constexpr float kMaxExposureUs = 10e6F;
constexpr float kRawExposureUs = 20.0F;
constexpr float kMaxGainDb = 29.0F;
constexpr float kMaxBalance = 4.0F;
constexpr std::uint32_t kMaxBalanceRaw = 4095;

bool InRange(std::uint32_t uiBits, float fMin, float fMax)
{
    const auto fValue = std::bit_cast<float>(uiBits);
    return fValue >= fMin && fValue <= fMax;
}

} // namespace

SoftCamera::SoftCamera(const SoftCameraSetup& setup)
    : m_setup(setup)
{
    const bool bSmall = setup.strModel.find("-13") != std::string::npos;
    At(feature::SensorWidth) = bSmall ? 1280 : 1920;
    At(feature::SensorHeight) = bSmall ? 1024 : 1200;
    At(feature::Width) = Word(feature::SensorWidth);
    At(feature::Height) = Word(feature::SensorHeight);
    At(feature::BinningHorizontal) = 1;
    At(feature::BinningVertical) = 1;
    At(feature::PixelFormat) = IsColour() ? kBayerRG8 : kMono8;
    At(feature::TriggerSource) = kTriggerLine0;
    At(feature::FrameRateEnable) = 1;
    At(feature::GainAvailable) = 1;
    At(feature::ChunkModeActive) = 1; // as another program may have left it
    At(feature::AcquisitionTrigger) = IsRare() ? 1 : 0;
    At(feature::ExposureMode) = IsRare() ? 1 : 0;
    SetFloat(feature::FrameRate, 30.0F);
    SetFloat(feature::ExposureTime, 10000.0F);
    At(feature::ExposureRaw) = 500;
    SetFloat(feature::BalanceRatio, 1.0F);
    SetFloat(feature::BalanceRatio + 4, 1.0F);
    Update();
}

float SoftCamera::Float(std::uint32_t uiOffset) const { return std::bit_cast<float>(Word(uiOffset)); }

void SoftCamera::SetFloat(std::uint32_t uiOffset, float fValue) { At(uiOffset) = std::bit_cast<std::uint32_t>(fValue); }

bool SoftCamera::TakeSoftwareTrigger() { return std::exchange(m_bSoftwareTrigger, false); }

std::int64_t SoftCamera::MinPeriodNs() const { return std::int64_t { Height() } * kRowNs; }

std::int64_t SoftCamera::ExposureNs() const
{
    return static_cast<std::int64_t>(Float(feature::ExposureTime) * 1000.0F);
}

std::int64_t SoftCamera::PeriodNs() const
{
    std::int64_t period = MinPeriodNs();
    if (Word(feature::FrameRateEnable) != 0 && Word(feature::FrameRateAuto) == 0)
        period = std::max(period, static_cast<std::int64_t>(1e9 / static_cast<double>(Float(feature::FrameRate))));
    return std::max(period, ExposureNs());
}

bool SoftCamera::StrobeOn(std::size_t uiLine) const
{
    const bool bOn = !IsRare() || Word(Of(feature::StrobeEnable, uiLine)) != 0;
    return bOn && LineIsOutput(uiLine) && Word(Of(feature::LineSource, uiLine)) == LineExposureActive;
}

void SoftCamera::SetInputLevels(std::uint32_t uiLevels)
{
    m_uiInputs = uiLevels;
    Update();
}

/// Brings the registers that follow from others up to date.
void SoftCamera::Update()
{
    const std::uint32_t uiModeBins = Word(feature::VideoMode) == 1 ? 2 : 1;
    At(feature::WidthMax) = Word(feature::SensorWidth) / Word(feature::BinningHorizontal) / uiModeBins;
    At(feature::HeightMax) = Word(feature::SensorHeight) / Word(feature::BinningVertical) / uiModeBins;
    At(feature::Width) = std::min(Word(feature::Width), Word(feature::WidthMax));
    At(feature::Height) = std::min(Word(feature::Height), Word(feature::HeightMax));
    At(feature::OffsetX) = std::min(Word(feature::OffsetX), Word(feature::WidthMax) - Width());
    At(feature::OffsetY) = std::min(Word(feature::OffsetY), Word(feature::HeightMax) - Height());
    At(feature::WidthRoom) = Word(feature::WidthMax) - Word(feature::OffsetX);
    At(feature::HeightRoom) = Word(feature::HeightMax) - Word(feature::OffsetY);
    At(feature::PayloadSize) = FrameBytes();
    SetFloat(
        feature::FrameRateMax, static_cast<float>(1e9 / static_cast<double>(std::max(MinPeriodNs(), ExposureNs()))));
    SetFloat(feature::FrameRate, std::min(Float(feature::FrameRate), Float(feature::FrameRateMax)));
    std::uint32_t uiAll = 0;
    for (std::size_t uiLine = 0; uiLine < kLines; uiLine++) {
        const std::uint32_t uiDriven = Word(Of(feature::UserOutputValue, uiLine));
        const std::uint32_t uiRaw = LineIsOutput(uiLine) ? uiDriven : (m_uiInputs >> uiLine) & 1U;
        const std::uint32_t uiLevel = (uiRaw ^ Word(Of(feature::LineInverter, uiLine))) & 1U;
        At(Of(feature::LineStatus, uiLine)) = uiLevel;
        uiAll |= uiLevel << uiLine;
    }
    At(feature::LineStatusAll) = uiAll;
}

Access SoftCamera::Read(std::uint32_t uiOffset, std::uint32_t& uiValue) const
{
    if (uiOffset >= feature::End || uiOffset % 4 != 0)
        return Access::BadAddress;
    if (uiOffset == feature::GainAvailable && Word(uiOffset) == 2)
        return Access::BadAddress;
    uiValue = Word(uiOffset);
    return Access::Done;
}

/// Whether the camera would take the value.
Access SoftCamera::Check(std::uint32_t uiOffset, std::uint32_t uiValue) const
{
    const auto check = [](bool bGood) { return bGood ? Access::Done : Access::BadValue; };
    if (uiOffset <= feature::VideoMode && (m_bAcquiring || Word(feature::TLParamsLocked) != 0))
        return Access::WriteProtected; // the image cannot change under the stream
    switch (uiOffset) {
    case feature::Width:
        return check(uiValue >= 16 && uiValue % 4 == 0 && uiValue + Word(feature::OffsetX) <= Word(feature::WidthMax));
    case feature::Height:
        return check(uiValue >= 16 && uiValue % 2 == 0 && uiValue + Word(feature::OffsetY) <= Word(feature::HeightMax));
    case feature::OffsetX: return check(uiValue % 2 == 0 && uiValue + Width() <= Word(feature::WidthMax));
    case feature::OffsetY: return check(uiValue % 2 == 0 && uiValue + Height() <= Word(feature::HeightMax));
    case feature::PixelFormat: return check(uiValue == kMono8 || (uiValue == kBayerRG8 && IsColour()));
    case feature::BinningHorizontal:
    case feature::BinningVertical: return check(uiValue == 1 || uiValue == 2);
    case feature::VideoMode: return check(uiValue <= 1);
    case feature::FrameRate:
        if (TriggerOn() || Word(feature::FrameRateAuto) != 0)
            return Access::WriteProtected; // the edges, or the camera itself, say when
        return check(InRange(uiValue, kMinFps, Float(feature::FrameRateMax)));
    case feature::ExposureTime:
        if (Word(feature::ExposureMode) != 0)
            return Access::WriteProtected;
        return check(InRange(uiValue, kMinExposureUs, kMaxExposureUs));
    case feature::ExposureRaw: return check(uiValue >= 5 && uiValue <= 50000 && uiValue % 5 == 0);
    case feature::Gain: return check(InRange(uiValue, 0, kMaxGainDb));
    case feature::GainRaw: return check(uiValue <= 290);
    case feature::BalanceRatio:
    case feature::BalanceRatio + 4: return check(InRange(uiValue, 0, kMaxBalance));
    case feature::BalanceRaw:
    case feature::BalanceRaw + 4: return check(uiValue <= kMaxBalanceRaw);
    case feature::TriggerSource: return check(uiValue < kTriggerLine0 + kLines);
    case feature::LineSelector:
    case feature::UserOutputSelector: return check(uiValue < kLines);
    case feature::PayloadSize:
    case feature::WidthMax:
    case feature::HeightMax:
    case feature::SensorWidth:
    case feature::SensorHeight:
    case feature::WidthRoom:
    case feature::HeightRoom:
    case feature::FrameRateMax:
    case feature::LineStatusAll: return Access::WriteProtected;
    default:
        return uiOffset >= feature::LineStatus && uiOffset < feature::StrobeDelay ? Access::WriteProtected
                                                                                  : Access::Done;
    }
}

Access SoftCamera::Write(std::uint32_t uiOffset, std::uint32_t uiValue)
{
    if (uiOffset >= feature::End || uiOffset % 4 != 0)
        return Access::BadAddress;
    const Access eAccess = Check(uiOffset, uiValue);
    if (eAccess != Access::Done)
        return eAccess;
    switch (uiOffset) {
    case feature::AcquisitionStart:
        if (!m_bAcquiring)
            m_uiRuns++;
        m_bAcquiring = true;
        break;
    case feature::AcquisitionStop: m_bAcquiring = false; break;
    case feature::TriggerSoftware: m_bSoftwareTrigger = TriggerOn(); break;
    case feature::ExposureRaw:
        At(uiOffset) = uiValue;
        SetFloat(feature::ExposureTime, kRawExposureUs * static_cast<float>(uiValue));
        break;
    default: At(uiOffset) = uiValue;
    }
    Update();
    return Access::Done;
}

} // namespace vireo::peers
