#pragma once
#include "platform/camera_types.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace vireo {

/// How one camera is to deliver its pictures.
struct VideoModeChoice {
    bool bCustom = false; ///< a custom image mode, else the standard one (640x480 mono)
    FrameRateCode eRate = FrameRateCode::Fps30; ///< of the standard mode
    ImagingMode mode = 0; ///< of the custom one
    int iOffsetX = 0; ///< pixels; negative when the picture is larger than the sensor
    int iOffsetY = 0;
    int iWidth = 640; ///< pixels
    int iHeight = 480;
    int iPacketSize = -1; ///< preferred bytes per packet; -1 = none
    friend bool operator==(const VideoModeChoice&, const VideoModeChoice&) = default;
};

/// The mode for a model, image size and frame rate. A camera that no rule knows stays in the standard mode,
/// whatever the image size says.
VideoModeChoice ChooseVideoMode(std::string_view strModel, int iImageSizeIndex, int iFps);

/// One register access of the frame-rate control.
struct FrameRateRegister {
    std::uint32_t uiAddress = 0;
    std::uint32_t uiValue = 0; ///< to be written
    bool bReadFirst = false; ///< read before the write; the value read does not matter
    friend bool operator==(const FrameRateRegister&, const FrameRateRegister&) = default;
};

/// What is written, in order, to have a model deliver `iFps` at a picture width; nothing for other models.
/// A rate that the model does not do at this width is written as 30.
std::vector<FrameRateRegister> FrameRateRegisters(std::string_view strModel, int iFps, int iWidth);

/// The custom modes' pixel format: what the sensor gives, unconverted, for colour cameras and two mono models
/// on each path; the two paths differ in one of them.
PixelFormat ChooseFormat7PixelFormat(std::string_view strModel, bool bColour);
PixelFormat ChooseGigEPixelFormat(std::string_view strModel, bool bColour);

/// Bytes per packet of a custom mode: the preferred size when the camera can do it, else the largest for the
/// models that need the bandwidth, else what the camera recommends.
std::uint32_t ChoosePacketSize(std::string_view strModel, int iPreferred, const Format7PacketInfo& packetInfo);

} // namespace vireo
