#pragma once
#include "peers/wired_camera.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace vireo::peers {

constexpr std::size_t kLines = 4;

/// Which names the camera gives to what it can do; makers differ.
enum class Dialect {
    Modern, ///< AcquisitionFrameRate + Enable, ExposureTime, Gain, BalanceRatio, VideoMode, lines
    Older, ///< AcquisitionFrameRateAbs, ExposureTimeAbs, GainRaw, binning instead of modes, no lines
    Raw, ///< as Older, but ExposureTimeRaw, which says in words that it counts steps of 20 us; lines that can show
         ///< nothing but the exposure
    Unitless, ///< the same without a word
    Rare, ///< the names that few have, and no limits, no levels of all lines at once, no source that is off
    Bare, ///< image size and start/stop only
};

/// Feature registers, relative to the block's base. One word each, most significant byte first.
namespace feature {
enum Offset : std::uint32_t {
    Width = 0x000,
    Height = 0x004,
    OffsetX = 0x008,
    OffsetY = 0x00C,
    PixelFormat = 0x010,
    BinningHorizontal = 0x014,
    BinningVertical = 0x018,
    VideoMode = 0x01C,
    PayloadSize = 0x020,
    WidthMax = 0x024,
    HeightMax = 0x028,
    SensorWidth = 0x02C,
    SensorHeight = 0x030,
    WidthRoom = 0x034, ///< beside the offset
    HeightRoom = 0x038,
    AcquisitionMode = 0x100,
    AcquisitionStart = 0x104,
    AcquisitionStop = 0x108,
    FrameRateEnable = 0x10C,
    FrameRate = 0x110, ///< float, fps
    FrameRateMax = 0x114, ///< float, fps
    ExposureAuto = 0x118,
    ExposureTime = 0x11C, ///< float, us
    ExposureRaw = 0x120, ///< steps of 20 us, five at a time
    FrameRateAuto = 0x124,
    ExposureMode = 0x128, ///< 0: timed, 1: as long as the trigger
    TriggerMode = 0x140,
    TriggerSource = 0x144,
    TriggerActivation = 0x148, ///< 0 rising, 1 falling
    TriggerOverlap = 0x14C,
    TriggerSoftware = 0x150,
    TriggerSelector = 0x154,
    AcquisitionTrigger = 0x158, ///< trigger mode of the other selector
    Gain = 0x180, ///< float, dB
    GainAuto = 0x184,
    GainRaw = 0x188, ///< tenths of a dB
    BalanceRatioSelector = 0x18C,
    BalanceRatio = 0x190, ///< two floats: red, blue
    BalanceWhiteAuto = 0x198,
    GainSelector = 0x19C, ///< 0: digital, 1: all
    GainAvailable = 0x1A0, ///< 0: not now, 1: yes, 2: cannot be read
    BalanceRaw = 0x1A4, ///< two numbers: red, blue
    LineSelector = 0x200,
    UserOutputSelector = 0x204,
    LineMode = 0x210, ///< per line: 0 input, 1 output
    LineInverter = 0x220,
    LineSource = 0x230, ///< per line: see LineSourceValue
    LineStatusAll = 0x240,
    UserOutputValue = 0x250,
    LineStatus = 0x260,
    StrobeDelay = 0x270, ///< float, us
    StrobeDuration = 0x280, ///< float, us
    StrobeEnable = 0x290, ///< per line
    TLParamsLocked = 0x300,
    ChunkModeActive = 0x304,
    End = 0x400,
};
}
enum LineSourceValue : std::uint32_t { LineOff = 0, LineExposureActive = 1, LineUserOutput = 2 };

constexpr std::uint32_t kMono8 = 0x01080001;
constexpr std::uint32_t kBayerRG8 = 0x01080009;
/// What Line0 is called where a trigger source is chosen; 0 is the software trigger.
constexpr std::uint32_t kTriggerLine0 = 1;

enum class Access { Done, BadAddress, WriteProtected, BadValue };

struct SoftCameraSetup {
    std::string strModel = "GS3-PGE-23S6M";
    std::uint32_t uiSerial = 15000001;
    Dialect eDialect = Dialect::Modern;
};

/// The inside of a software camera, whatever the cable: its feature registers and what follows from
/// them. Not locked: the owner serialises.
class SoftCamera final : public WiredCamera {
public:
    explicit SoftCamera(const SoftCameraSetup& setup);

    const SoftCameraSetup& Setup() const { return m_setup; }
    bool IsColour() const { return m_setup.strModel.ends_with('C'); }

    Access Read(std::uint32_t uiOffset, std::uint32_t& uiValue) const;
    Access Write(std::uint32_t uiOffset, std::uint32_t uiValue);

    std::uint32_t Word(std::uint32_t uiOffset) const { return m_words[uiOffset / 4]; }
    float Float(std::uint32_t uiOffset) const;
    std::uint32_t Width() const { return Word(feature::Width); }
    std::uint32_t Height() const { return Word(feature::Height); }
    std::uint32_t FrameBytes() const { return Width() * Height(); }

    bool Acquiring() const override { return m_bAcquiring && Word(feature::AcquisitionTrigger) == 0; }
    /// Ends the acquisition as a lost controller does.
    void StopAcquisition() { m_bAcquiring = false; }
    std::uint64_t Runs() const override { return m_uiRuns; }
    bool TakeSoftwareTrigger() override;

    std::int64_t MinPeriodNs() const override;
    std::int64_t PeriodNs() const override;
    std::int64_t ExposureNs() const override;
    bool TriggerOn() const override { return Word(feature::TriggerMode) != 0; }
    int TriggerLine() const override
    {
        return static_cast<int>(Word(feature::TriggerSource)) - static_cast<int>(kTriggerLine0);
    }
    bool TriggerOnRisingEdge() const override { return Word(feature::TriggerActivation) == 0; }
    bool LineIsOutput(std::size_t uiLine) const override { return Word(Of(feature::LineMode, uiLine)) == 1; }
    bool StrobeOn(std::size_t uiLine) const override;
    bool LineInverted(std::size_t uiLine) const override { return Word(Of(feature::LineInverter, uiLine)) != 0; }
    /// What the wires put on the inputs, line 0 in bit 0; shown by LineStatus.
    void SetInputLevels(std::uint32_t uiLevels);

private:
    static constexpr std::uint32_t Of(std::uint32_t uiFirst, std::size_t uiLine)
    {
        return uiFirst + static_cast<std::uint32_t>(4 * uiLine);
    }
    bool IsRare() const { return m_setup.eDialect == Dialect::Rare; }
    std::uint32_t& At(std::uint32_t uiOffset) { return m_words[uiOffset / 4]; }
    void SetFloat(std::uint32_t uiOffset, float fValue);
    void Update();
    Access Check(std::uint32_t uiOffset, std::uint32_t uiValue) const;

    SoftCameraSetup m_setup;
    std::array<std::uint32_t, feature::End / 4> m_words {};
    std::uint32_t m_uiInputs = 0;
    bool m_bAcquiring = false;
    bool m_bSoftwareTrigger = false;
    std::uint64_t m_uiRuns = 0;
};

} // namespace vireo::peers
