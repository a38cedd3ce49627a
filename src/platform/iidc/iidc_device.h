#pragma once
#include "platform/camera_types.h"
#include "platform/device/presence.h"
#include "platform/error.h"
#include "platform/iidc/dc1394_ptr.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace vireo {

/// One camera that was found on a bus.
struct IidcRecord {
    PGRGuid guid;
    std::uint64_t uiDc1394Guid = 0;
    std::uint16_t uiUnit = 0;
    CameraInfo info;
};

/// Registers of an open camera and what the program reads from them. Every Error names the camera. Not
/// locked: the owner serialises.
class IidcDevice {
public:
    IidcDevice(Dc1394Camera camera, std::string strName, std::shared_ptr<Presence> presence);

    dc1394camera_t* Get() const { return m_camera.get(); }
    bool IsGone() const { return m_presence->IsGone(); }
    Error Gone() const { return Fail(ErrorType::Disconnected, "it does not answer"); }

    /// The type that stands for a driver's code. A failure makes this look whether the camera is still
    /// there; if not, and no frame came a moment ago, it is gone for good.
    Error Translate(dc1394error_t eCode, std::string_view strWhat, ErrorType eOther);
    Error Fail(ErrorType eType, std::string_view strText) const;
    /// Reads a register that every camera has; false when nobody answers.
    bool Answers();
    /// `error` when the camera answers, else that it does not.
    Error IfThere(Error error);

    Error ReadControl(std::uint32_t uiAddress, std::uint32_t& uiValue);
    Error WriteControl(std::uint32_t uiAddress, std::uint32_t uiValue);

    // Properties, in fps, ms, dB and raw numbers.
    Error ReadPropertyInfo(PropertyInfo& info);
    Error ReadProperty(Property& property);
    Error WriteProperty(const Property& property);

    /// The words for the log when the camera is slower than the rate it keeps was asked to be; else empty.
    Error ReadRateNote(std::string& strNote);

    // Trigger and strobe registers.
    Error ReadTrigger(TriggerMode& mode);
    Error WriteTrigger(const TriggerMode& mode);
    Error ReadStrobeInfo(StrobeInfo& info);
    Error ReadStrobe(StrobeControl& control);
    Error WriteStrobe(const StrobeControl& control);

    // Image modes.
    Error SetStandardMode(FrameRateCode eRate);
    Error ReadFormat7Info(Format7Info& info, bool& bSupported);
    Error Validate(const Format7ImageSettings& settings, bool bMayTry, bool& bValid, Format7PacketInfo& packetInfo);
    Error SetFormat7(const Format7ImageSettings& settings, std::uint32_t uiBytesPerPacket);
    /// What frames look like now, and how many bytes one takes.
    Error ReadFrameShape(ImageView& shape);

    /// Colour pattern of the raw pixels; none for a grey camera.
    BayerTileFormat ReadTile();

private:
    Error WriteMode(dc1394feature_t eFeature, const Property& property);
    Error WriteAbsolute(dc1394feature_t eFeature, float fValue);
    /// What the camera is to keep.
    struct HeldRate {
        float fFps = 0.0F; ///< 0: it runs as it likes
        bool bStandardMode = false; ///< which has a rate of its own
    };
    HeldRate ReadHeldRate();
    Error CutShutter(float fLimit);
    Error ApplyRate();
    std::uint64_t StrobeBase();
    bool StrobePresent(unsigned int uiSource, std::uint32_t& uiInquiry, std::uint64_t& uiControl);
    Error CheckSettings(const Format7ImageSettings& settings);

    Dc1394Camera m_camera;
    std::string m_strName;
    std::shared_ptr<Presence> m_presence;
    // What was asked for, which image size and each other may not have allowed then; 0: nothing.
    float m_fAskedRate = 0.0F; ///< fps
    float m_fAskedShutter = 0.0F; ///< s
};

/// Who the camera is; opens nothing.
CameraInfo ReadIidcInfo(IidcDevice& device, std::uint64_t uiGuid);

} // namespace vireo
