#pragma once
#include "platform/image.h"

#include <array>
#include <compare>
#include <cstdint>
#include <string>

namespace vireo {

// Records of the camera library. Field names are the library's; units are in the comments.

/// Identifies one camera on the buses of this computer while it stays plugged in.
struct PGRGuid {
    std::array<std::uint32_t, 4> value {};
    friend auto operator<=>(const PGRGuid&, const PGRGuid&) = default;
};

enum class InterfaceType : int { Ieee1394 = 0, Usb2 = 1, Usb3 = 2, GigE = 3, Unknown = 4 };

struct CameraInfo {
    std::uint32_t serialNumber = 0;
    InterfaceType interfaceType = InterfaceType::Unknown;
    bool isColorCamera = false;
    std::string modelName;
    std::string vendorName; ///< "Simulated" for a simulated camera
    std::string sensorResolution; ///< "1280x1024"
    /// Cameras with the same number stamp their frames from one shared clock, so their times compare as
    /// they are. Never 0 for a connected camera.
    std::uint32_t clockDomain = 0;
};

enum class GrabMode : int {
    DropFrames = 0, ///< only the newest frame waits; older ones are overwritten
    BufferFrames = 1, ///< every frame is queued; when the queue is full new frames are lost
};

struct FC2Config {
    std::uint32_t numBuffers = 256; ///< driver buffers of the queue
    GrabMode grabMode = GrabMode::DropFrames;
    int grabTimeout = -1; ///< ms that RetrieveBuffer waits; 0 = not at all, -1 = without limit
};

struct TriggerMode {
    bool onOff = false;
    unsigned int polarity = 0; ///< 0 = falling edge (line goes low), 1 = rising edge (line goes high)
    unsigned int source = 0; ///< GPIO line of the input
    unsigned int mode = 0; ///< 0 = one exposure per edge; 14 = the same, exposure overlaps read-out
    unsigned int parameter = 0;
};

struct StrobeInfo {
    unsigned int source = 0; ///< in: which GPIO line is asked for
    bool present = false;
    bool onOffSupported = false;
};

struct StrobeControl {
    unsigned int source = 0; ///< in: which GPIO line
    bool onOff = false;
    unsigned int polarity = 0;
    float delay = 0.0F; ///< ms
    float duration = 0.0F; ///< ms; 0 = as long as the exposure
};

enum class PropertyType : int { WhiteBalance = 3, Shutter = 12, Gain = 13, FrameRate = 16 };

struct Property {
    PropertyType type = PropertyType::FrameRate; ///< in: which property
    bool present = false;
    bool absControl = false; ///< absValue counts, not valueA
    bool onOff = false;
    bool autoManualMode = false; ///< true = automatic
    unsigned int valueA = 0; ///< raw value; red of the white balance
    unsigned int valueB = 0; ///< blue of the white balance
    float absValue = 0.0F; ///< fps, ms or dB
};

struct PropertyInfo {
    PropertyType type = PropertyType::FrameRate; ///< in: which property
    bool present = false;
    bool autoSupported = false;
    bool manualSupported = false;
    bool absValSupported = false;
    float absMin = 0.0F; ///< fps, ms or dB
    float absMax = 0.0F;
};

enum class VideoMode : int { Mode640x480Y8 = 5 };
enum class FrameRateCode : int { Fps30 = 4, Fps60 = 5 };

/// Number of a custom image mode (Format7 mode, GigE imaging mode).
using ImagingMode = int;

struct Format7ImageSettings {
    ImagingMode mode = 0;
    std::uint32_t offsetX = 0; ///< pixels
    std::uint32_t offsetY = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    PixelFormat pixelFormat = PixelFormat::Unspecified;
};

struct Format7Info {
    ImagingMode mode = 0; ///< in: which mode
    std::uint32_t maxWidth = 0;
    std::uint32_t maxHeight = 0;
    std::uint32_t offsetHStepSize = 1; ///< pixels
    std::uint32_t offsetVStepSize = 1;
    std::uint32_t imageHStepSize = 1;
    std::uint32_t imageVStepSize = 1;
    std::uint32_t pixelFormatBitField = 0; ///< OR of the supported PixelFormat numbers
};

struct Format7PacketInfo {
    std::uint32_t recommendedBytesPerPacket = 0;
    std::uint32_t maxBytesPerPacket = 0;
    std::uint32_t unitBytesPerPacket = 0;
};

struct GigEImageSettings {
    std::uint32_t offsetX = 0; ///< pixels
    std::uint32_t offsetY = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    PixelFormat pixelFormat = PixelFormat::Unspecified;
};

struct GigEImageSettingsInfo {
    std::uint32_t maxWidth = 0;
    std::uint32_t maxHeight = 0;
    std::uint32_t offsetHStepSize = 1; ///< pixels
    std::uint32_t offsetVStepSize = 1;
    std::uint32_t imageHStepSize = 1;
    std::uint32_t imageVStepSize = 1;
    std::uint32_t pixelFormatBitField = 0; ///< OR of the supported PixelFormat numbers
};

struct GigEConfig {
    bool enablePacketResend = false;
    unsigned int registerTimeoutRetries = 3;
    unsigned int registerTimeout = 1000; ///< ms
};

struct IPAddress {
    std::array<std::uint8_t, 4> octets {};
    friend bool operator==(const IPAddress&, const IPAddress&) = default;
};

struct GigEStreamChannel {
    std::uint32_t networkInterfaceIndex = 0;
    std::uint32_t hostPort = 0;
    bool doNotFragment = false;
    std::uint32_t packetSize = 0; ///< bytes
    std::uint32_t interPacketDelay = 0;
    IPAddress destinationIpAddress;
    std::uint32_t sourcePort = 0;
};

/// The time-stamp record of a camera's latest frame.
struct TimeStamp {
    std::int64_t seconds = 0;
    std::uint32_t microSeconds = 0;
    std::uint32_t cycleSeconds = 0;
    std::uint32_t cycleCount = 0;
    std::uint32_t cycleOffset = 0;
    friend bool operator==(const TimeStamp&, const TimeStamp&) = default;
};

/// What went wrong on the way, counted since the last StartCapture.
struct StreamStatistics {
    std::uint64_t incomplete = 0; ///< frames that arrived with bytes missing and were dropped
    std::uint64_t underruns = 0; ///< frames lost because no driver buffer was free
    std::uint64_t resends = 0; ///< packets that had to be asked for again
};

} // namespace vireo
