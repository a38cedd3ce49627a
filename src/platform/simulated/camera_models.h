#pragma once
#include "platform/camera_types.h"

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace vireo {

/// One custom image mode of a model. The time that a row takes to read out bounds the frame rate.
struct ModelMode {
    std::uint32_t uiMaxWidth = 0; ///< pixels; 0 = the model lacks this mode
    std::uint32_t uiMaxHeight = 0;
    std::uint32_t uiRowNs = 0; ///< read-out time of one row
};

/// What tells one model of camera from another.
struct CameraModel {
    std::string_view strText; ///< the model name, or how the names of a family begin
    bool bFamily = false;
    std::uint32_t uiFirstSerial = 0; ///< serial number of the first camera when none is asked for
    std::uint32_t uiSensorWidth = 0; ///< pixels
    std::uint32_t uiSensorHeight = 0;
    std::array<ModelMode, 3> modes; ///< by number of the custom mode
    float fMaxFps = 0.0F;
    float fGainMinDb = 0.0F;
    float fGainMaxDb = 0.0F;
    std::uint32_t uiMaxPacket = 0; ///< bytes that the link carries in each 125 us
};

constexpr float kMinFps = 1.0F;
constexpr float kMinShutterMs = 0.01F;
constexpr float kMaxShutterMs = 32000.0F;
constexpr std::uint32_t kPacketUnit = 8; ///< bytes
constexpr std::uint32_t kImageStepH = 8; ///< pixels
constexpr std::uint32_t kImageStepV = 2;
constexpr std::uint32_t kOffsetStep = 2; ///< both ways; keeps the colour pattern in place
constexpr std::uint32_t kCustomFormats =
    static_cast<std::uint32_t>(PixelFormat::Mono8) | static_cast<std::uint32_t>(PixelFormat::Raw8);

/// All models, the order being that of the search.
std::span<const CameraModel> CameraModelTable();
/// The row of a model name; null when nothing of that name can be simulated.
const CameraModel* FindCameraModel(std::string_view strName);

/// "-U3-" names a USB3 camera, "-PGE-" a GigE one; all others are IEEE 1394.
InterfaceType InterfaceOfModel(std::string_view strName);
/// Names that end in "C" are colour cameras.
bool IsColourModel(std::string_view strName);

} // namespace vireo
