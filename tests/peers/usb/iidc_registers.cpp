#include "peers/usb/iidc_registers.h"

#include <algorithm>
#include <bit>

namespace vireo::peers {

namespace {

constexpr std::uint32_t kBus = 0xF0000000, kRom = 0xF0000400, kCommand = 0xF0F00000, kModeBase = 0xF0F10000,
                        kModePitch = 0x100, kCommandEnd = 0x10000;
constexpr std::uint32_t kPresent = 0x80000000;
constexpr std::uint32_t kRefused = 0x00800000; ///< of an image mode's setting register
constexpr std::int64_t kRowNs = 5000; ///< read-out time of one row
constexpr float kMaxRate = 500.0F;
constexpr std::uint32_t kSoftwareSource = 7;

/// Where a feature's absolute limits and value stand: least, most, value.
constexpr std::uint32_t kShutterAbsolute = 0x910, kGainAbsolute = 0x920, kRateAbsolute = 0x960;

constexpr std::uint32_t Quadlet(std::uint32_t uiAddress) { return (uiAddress - kBus) / 4; }

/// Appends a text as the ROM holds it; returns where it begins.
std::uint32_t AppendText(std::vector<std::uint32_t>& rom, const std::string& strText)
{
    const auto uiAt = static_cast<std::uint32_t>(rom.size());
    const std::size_t uiWords = (strText.size() + 4) / 4;
    rom.push_back(static_cast<std::uint32_t>(uiWords + 2) << 16);
    rom.push_back(0);
    rom.push_back(0);
    for (std::size_t i = 0; i < 4 * uiWords; i += 4) {
        std::uint32_t uiWord = 0;
        for (std::size_t k = i; k < i + 4; k++)
            uiWord = uiWord << 8 | (k < strText.size() ? static_cast<std::uint8_t>(strText[k]) : 0U);
        rom.push_back(uiWord);
    }
    return uiAt;
}

} // namespace

IidcRegisters::IidcRegisters(const std::string& strModel, std::uint32_t uiSerial)
    : m_bColour(strModel.ends_with('C'))
{
    InitRom(strModel, uiSerial);
    InitFeatures();
    InitModes();
    UpdateLimits();
}

/// Bus information, then the directories: node, unit, unit dependent, then the texts.
void IidcRegisters::InitRom(const std::string& strModel, std::uint32_t uiSerial)
{
    m_rom = { 0x04000000, 0x31333934, 0, 0x00B09D00, uiSerial, // the last two are the unique identifier
        2U << 16, 0x0300B09D, 0xD1000001, // node: vendor, unit directory follows
        3U << 16, 0x1200A02D, 0x13000102, 0xD4000001, // unit: IIDC 1.31, unit dependent directory follows
        3U << 16, 0x40000000 | Quadlet(kCommand), 0, 0 };
    m_rom[14] = 0x81000000 | (AppendText(m_rom, "Software") - 14);
    m_rom[15] = 0x82000000 | (AppendText(m_rom, strModel) - 15);
    m_rom.push_back(0);
}

void IidcRegisters::InitFeatures()
{
    m_control = { { 0x100, 0x81000000 }, // formats 0 and 7
        { 0x180, 0x04000000 }, // format 0: 640x480 grey
        { 0x19C, 0xC0000000 }, // format 7: modes 0 and 1
        { 0x214, 0x0C000000 }, // 640x480 grey at 30 and 60 fps
        { 0x2E0, Quadlet(kModeBase) }, { 0x2E4, Quadlet(kModeBase + kModePitch) }, { 0x400, 0xC0000000 },
        { 0x404, m_bColour ? 0x11800000U : 0x01800000U }, // balance, shutter, gain
        { 0x408, 0 }, { 0x40C, 0x10000000 }, { 0x48C, Quadlet(kCommand + 0x1300) },
        { 0x50C, m_bColour ? 0x8F0003FFU : 0U }, { 0x51C, 0xCF0003E8 }, { 0x520, 0xCF0001F4 }, { 0x530, 0x8CF1F803 },
        { 0x53C, 0xCF0001E0 }, //
        { 0x71C, Quadlet(kCommand + kShutterAbsolute) }, { 0x720, Quadlet(kCommand + kGainAbsolute) },
        { 0x73C, Quadlet(kCommand + kRateAbsolute) }, //
        { 0x80C, m_bColour ? 0x82200200U : 0U }, { 0x81C, 0xC2000064 }, { 0x820, 0xC2000000 }, { 0x830, 0x80000000 },
        { 0x83C, 0xC20001E0 }, //
        { 0x604, 0 }, { 0x608, 7U << 29 }, //
        { 0x1040, m_bColour ? 0x52474742U : 0x59595959U }, { 0x11F4, kPresent }, { 0x12F8, kPresent },
        { 0x1300, 0x20000000 }, { 0x1408, 0x8E000000 }, { 0x1508, kPresent }, // strobe on line 2
        { 0x1F20, m_rom[4] } };
    m_control[0x404] |= 0x00010000U; // frame rate stands in this word too
    m_control[0x404] |= 0x00080000U; // trigger
    SetFloat(kShutterAbsolute, 0.00001F);
    SetFloat(kShutterAbsolute + 4, 10.0F);
    SetFloat(kShutterAbsolute + 8, 0.005F);
    SetFloat(kGainAbsolute, 0.0F);
    SetFloat(kGainAbsolute + 4, 24.0F);
    SetFloat(kRateAbsolute, 1.0F);
    SetFloat(kRateAbsolute + 8, 30.0F);
}

void IidcRegisters::InitModes()
{
    for (std::uint32_t uiMode = 0; uiMode < 2; uiMode++) {
        const std::uint32_t uiBins = uiMode + 1;
        m_modes[uiMode] = { { 0x00, (1920 / uiBins) << 16 | 1200 / uiBins }, { 0x04, 8U << 16 | 2 },
            { 0x4C, 2U << 16 | 2 }, { 0x08, 0 }, { 0x0C, (1920 / uiBins) << 16 | 1200 / uiBins }, { 0x10, 0 },
            { 0x14, 0x80400000 }, { 0x54, 8 }, { 0x7C, kPresent } };
        UpdateMode(uiMode);
    }
}

std::uint32_t IidcRegisters::Control(std::uint32_t uiOffset) const
{
    const auto found = m_control.find(uiOffset);
    return found != m_control.end() ? found->second : 0;
}

std::uint32_t IidcRegisters::Mode(std::uint32_t uiOffset) const
{
    const auto& mode = m_modes[std::min(Control(0x604) >> 29, 1U)];
    const auto found = mode.find(uiOffset);
    return found != mode.end() ? found->second : 0;
}

float IidcRegisters::Float(std::uint32_t uiOffset) const { return std::bit_cast<float>(Control(uiOffset)); }
void IidcRegisters::SetFloat(std::uint32_t uiOffset, float fValue)
{
    m_control[uiOffset] = std::bit_cast<std::uint32_t>(fValue);
}

std::uint32_t IidcRegisters::Width() const { return IsFormat7() ? Mode(0x0C) >> 16 : 640; }
std::uint32_t IidcRegisters::Height() const { return IsFormat7() ? Mode(0x0C) & 0xFFFFU : 480; }
bool IidcRegisters::IsRaw() const { return IsFormat7() && Mode(0x10) >> 24 == 9; }

std::int64_t IidcRegisters::ExposureNs() const
{
    return static_cast<std::int64_t>(static_cast<double>(Float(kShutterAbsolute + 8)) * 1e9);
}

std::int64_t IidcRegisters::MinPeriodNs() const { return Height() * kRowNs; }

int IidcRegisters::TriggerLine() const
{
    const std::uint32_t uiSource = Control(0x830) >> 21 & 7U;
    return uiSource == kSoftwareSource ? -1 : static_cast<int>(uiSource);
}

bool IidcRegisters::StrobeOn(std::size_t uiLine) const
{
    return LineIsOutput(uiLine) && (StrobeControl(uiLine) & 0x02000000U) != 0;
}

/// A strobe is low while it exposes, unless its polarity says otherwise. An input has nothing of that.
bool IidcRegisters::LineInverted(std::size_t uiLine) const
{
    return StrobeOn(uiLine) && (StrobeControl(uiLine) & 0x01000000U) == 0;
}

std::int64_t IidcRegisters::PeriodNs() const
{
    const auto fRate = static_cast<double>(Float(kRateAbsolute + 8));
    const double dStandard = (Control(0x600) >> 29) == 5 ? 60.0 : 30.0;
    return std::max(static_cast<std::int64_t>(1e9 / (IsFormat7() ? fRate : dStandard)), ExposureNs());
}

/// What follows from the size of an image mode.
void IidcRegisters::UpdateMode(std::uint32_t uiMode)
{
    auto& mode = m_modes[uiMode];
    const std::uint32_t uiBytes = (mode[0x0C] >> 16) * (mode[0x0C] & 0xFFFFU);
    mode[0x34] = uiBytes;
    mode[0x38] = 0;
    mode[0x3C] = uiBytes;
    mode[0x40] = 4U << 16 | 0x8000;
    const std::uint32_t uiRecommended = std::clamp((uiBytes / 8000 + 3) / 4 * 4, 4U, 0x8000U);
    const std::uint32_t uiPacket = mode[0x44] >> 16 != 0 ? mode[0x44] >> 16 : uiRecommended;
    mode[0x44] = uiPacket << 16 | uiRecommended;
    mode[0x48] = (uiBytes + uiPacket - 1) / uiPacket;
    mode[0x7C] &= 0x800000FFU; // settings taken, no error
}

void IidcRegisters::UpdateLimits()
{
    const std::int64_t shortest = std::max(MinPeriodNs(), ExposureNs());
    const float fMax = std::min(kMaxRate, static_cast<float>(1e9 / static_cast<double>(shortest)));
    SetFloat(kRateAbsolute + 4, fMax);
    for (const std::uint32_t uiBase : { kShutterAbsolute, kGainAbsolute, kRateAbsolute })
        SetFloat(uiBase + 8, std::clamp(Float(uiBase + 8), Float(uiBase), Float(uiBase + 4)));
}

bool IidcRegisters::Read(std::uint32_t uiAddress, std::uint32_t& uiValue) const
{
    if (uiAddress % 4 != 0)
        return false;
    if (uiAddress >= kRom && uiAddress < kRom + 4 * m_rom.size()) {
        uiValue = m_rom[(uiAddress - kRom) / 4];
        return true;
    }
    if (uiAddress >= kModeBase && uiAddress < kModeBase + 2 * kModePitch) {
        const auto& mode = m_modes[(uiAddress - kModeBase) / kModePitch];
        const auto found = mode.find((uiAddress - kModeBase) % kModePitch);
        uiValue = found != mode.end() ? found->second : 0;
        return true;
    }
    if (uiAddress < kCommand || uiAddress >= kCommand + kCommandEnd)
        return false;
    uiValue = Control(uiAddress - kCommand);
    return true;
}

bool IidcRegisters::Write(std::uint32_t uiAddress, std::uint32_t uiValue)
{
    if (uiAddress % 4 != 0)
        return false;
    if (uiAddress >= kModeBase && uiAddress < kModeBase + 2 * kModePitch) {
        const std::uint32_t uiMode = (uiAddress - kModeBase) / kModePitch;
        if (Acquiring()) { // the image cannot change under the stream; the write goes nowhere
            m_modes[uiMode][0x7C] = kPresent | kRefused;
            return true;
        }
        m_modes[uiMode][(uiAddress - kModeBase) % kModePitch] = uiValue;
        UpdateMode(uiMode);
    } else if (uiAddress >= kCommand && uiAddress < kCommand + kCommandEnd) {
        const std::uint32_t uiOffset = uiAddress - kCommand;
        if (uiOffset == 0x614 && (uiValue & kPresent) != 0 && !Acquiring())
            m_uiRuns++;
        if (uiOffset == 0x62C && (uiValue & kPresent) != 0)
            m_bSoftwareTrigger = TriggerOn() && TriggerLine() < 0;
        if (uiOffset == 0x11F4 || uiOffset == 0x1F20 || (uiOffset >= 0x400 && uiOffset < 0x600))
            return true; // read only; the write goes nowhere
        const bool bFeature = uiOffset >= 0x800 && uiOffset < 0x900;
        m_control[uiOffset] = bFeature ? uiValue | (Control(uiOffset) & kPresent) : uiValue;
    } else {
        return false;
    }
    UpdateLimits();
    return true;
}

} // namespace vireo::peers
