#pragma once
#include "platform/camera_types.h"
#include "platform/clock.h"
#include "platform/error.h"
#include "platform/simulated/camera_models.h"
#include "platform/simulated/register_file.h"
#include "platform/simulated/scene.h"

#include <cstdint>
#include <string_view>

namespace vireo {

constexpr unsigned int kStrobeLine = 2; ///< GPIO line of the strobe output and of the trigger input
constexpr unsigned int kTriggerModeStandard = 0;
constexpr unsigned int kTriggerModeOverlapped = 14;

/// The time from one exposure to the next as a fraction, so that many of them add up exactly.
struct FramePeriod {
    std::int64_t iNumerator = kNsPerSecond; ///< ns
    std::int64_t iDenominator = 1;
    ClockTime Ns() const { return iNumerator / iDenominator; }
    friend bool operator==(const FramePeriod&, const FramePeriod&) = default;
};

/// What the settings mean for the sensor.
struct FrameTiming {
    FramePeriod period; ///< running free
    ClockTime exposure = 0; ///< ns
    ClockTime smallestPeriod = 0; ///< ns; as long as the read-out takes
};

/// Everything that can be set on one camera, kept while it has power: also over Disconnect. Plain
/// values and rules, no time; guarded by the simulation. Outputs are written only on success.
class CameraSettings {
public:
    CameraSettings(const CameraModel& model, std::string_view strName);

    FC2Config config;
    TriggerMode trigger;
    StrobeControl strobe;
    GigEConfig gigEConfig;
    RegisterFile bootstrap;

    /// @return InvalidParameter.
    Error SetConfiguration(const FC2Config& newConfig);
    /// @return NotSupported, InvalidParameter (polarity).
    Error SetTriggerMode(const TriggerMode& mode);
    Error SetStrobe(const StrobeControl& control);

    Error GetProperty(Property& property) const;
    /// @return NotSupported, InvalidParameter.
    Error SetProperty(const Property& property);
    Error GetPropertyInfo(PropertyInfo& info) const;

    /// All but the pins' state, which is not a setting.
    std::uint32_t ReadRegister(std::uint32_t uiAddress) const;
    Error WriteRegister(std::uint32_t uiAddress, std::uint32_t uiValue);

    Error SetStandardMode(VideoMode eMode, FrameRateCode eRate);
    bool GetImageInfo(ImagingMode mode, Format7Info& info) const; ///< false: no such mode
    bool IsValidImage(const Format7ImageSettings& settings) const;
    Format7PacketInfo PacketInfo() const;
    /// @return InvalidSettings, InvalidParameter (packet size).
    Error SetImage(const Format7ImageSettings& settings, std::uint32_t uiBytesPerPacket);
    /// Selects a mode at its full size. @return NotSupported.
    Error SetImagingMode(ImagingMode mode);

    const Format7ImageSettings& GetImage() const { return m_image; }
    bool IsColour() const { return m_bColour; }
    SceneShape Shape() const;
    BayerTileFormat Bayer() const { return Shape().bBayer ? BayerTileFormat::Rggb : BayerTileFormat::None; }
    FrameTiming Timing() const;

private:
    struct Control {
        bool bOn = true;
        bool bAuto = true;
        float fValue = 0.0F;
    };
    struct Range {
        float fMin = 0.0F, fMax = 0.0F;
    };
    Range RangeOf(PropertyType eType) const;
    Control* ControlOf(PropertyType eType);
    const Control* ControlOf(PropertyType eType) const;
    const ModelMode* FindMode(ImagingMode mode) const;
    FramePeriod Period(ClockTime smallestPeriod) const;
    float ShutterMs(const FramePeriod& period) const;

    const CameraModel* m_pModel;
    bool m_bColour;
    InterfaceType m_eInterface;
    RegisterFile m_registers;
    Control m_frameRate, m_shutter, m_gain;
    bool m_bAutoWhite = true;
    unsigned int m_uiRed = 512, m_uiBlue = 512;
    bool m_bStandardMode = false;
    FrameRateCode m_eStandardRate = FrameRateCode::Fps30;
    Format7ImageSettings m_image;
    std::uint32_t m_uiBytesPerPacket;
};

} // namespace vireo
