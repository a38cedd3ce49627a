#pragma once
#include "platform/camera_types.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace vireo {

// The camera library, as the capture core sees it. Implemented by the simulated cameras and by the
// backends for real ones; the core never learns which.
//
// Every call returns an Error (platform/error.h) and throws nothing. An output argument is written
// only on success. Common to all calls of a camera object:
//   NotConnected   before Connect and after Disconnect
//   Disconnected   the camera is gone; once known, every later call answers so at once
//   TransportFailed  the bus did not carry the request
// Further errors stand at the calls.
//
// Threads: discovery, connection, configuration and StartCapture on the user-interface thread while no
// grab thread runs. RetrieveBuffer on the camera's grab thread, or on the user-interface thread before the
// grab threads are there (queues are drained at a start). StopCapture and, to put a camera back,
// GetTriggerMode, SetTriggerMode, GetStrobe and SetStrobe on whichever thread ends the capture, a grab
// thread or the monitor too; one alone carries a stop out, but a grab thread may still wait in
// RetrieveBuffer. CancelRetrieve, GetCameraInfo, ReadRegister, WriteRegister, GetProperty and
// GetStreamStatistics on any thread, also while another one waits in RetrieveBuffer.

/// One camera, whatever its interface.
class CameraBase {
public:
    virtual ~CameraBase() = default;

    /// Opens the camera for this program alone.
    /// @return NotFound, AccessDenied (another program controls it), AlreadyConnected, OutOfResources.
    virtual Error Connect(const PGRGuid& guid) = 0;
    /// Stops a running capture and closes the camera. NotConnected when it was not open.
    virtual Error Disconnect() = 0;
    virtual bool IsConnected() const = 0;

    virtual Error GetCameraInfo(CameraInfo& info) = 0;

    virtual Error GetConfiguration(FC2Config& config) = 0;
    /// Takes effect at once; numBuffers at the next StartCapture. InvalidParameter when out of range.
    virtual Error SetConfiguration(const FC2Config& config) = 0;

    /// Camera control registers: offset from the command base, 32 bits. Not broadcast.
    /// @return RegisterFailed when the camera refuses. Unknown registers of a simulated camera read 0
    ///         and keep what is written.
    virtual Error ReadRegister(std::uint32_t uiAddress, std::uint32_t& uiValue) = 0;
    virtual Error WriteRegister(std::uint32_t uiAddress, std::uint32_t uiValue) = 0;

    /// `property.type` chooses. An absent property is no error: `present` is false then.
    virtual Error GetProperty(Property& property) = 0;
    /// @return NotSupported when absent, InvalidParameter when the value is outside GetPropertyInfo's
    ///         range (a shutter longer than the frame period is shortened by the camera, not refused).
    virtual Error SetProperty(const Property& property) = 0;
    virtual Error GetPropertyInfo(PropertyInfo& info) = 0;

    virtual Error GetTriggerMode(TriggerMode& mode) = 0;
    /// @return NotSupported for an unknown mode or source.
    virtual Error SetTriggerMode(const TriggerMode& mode) = 0;

    /// `source` chooses the line. A line without strobe is no error of GetStrobeInfo: `present` is false.
    virtual Error GetStrobeInfo(StrobeInfo& info) = 0;
    /// @return NotSupported for a line without strobe.
    virtual Error GetStrobe(StrobeControl& control) = 0;
    virtual Error SetStrobe(const StrobeControl& control) = 0;

    /// Begins the transfer with an empty queue. Nothing is exposed before.
    /// @return AlreadyStarted, InvalidSettings, OutOfResources.
    virtual Error StartCapture() = 0;
    /// Ends the transfer and drops the queue; a waiting RetrieveBuffer returns NothingToDeliver.
    /// @return NotStarted.
    virtual Error StopCapture() = 0;

    /// The next frame, oldest first; waits as long as the configured grab time-out says.
    /// `image` borrows the driver's buffer until the next RetrieveBuffer, StopCapture or Disconnect of
    /// this camera; nothing is allocated per frame. Bytes 0 to 3 of the frame carry the bus cycle time
    /// and bytes 4 to 7 the GPIO pin state, most significant byte first, once embedding is switched on
    /// (register 0x12F8). The image's arrival time is on the program's clock.
    /// @return Timeout (18), NothingToDeliver (32: not started, cancelled, or an incomplete frame was
    ///         dropped and counted), InconsistentFrame (41), Disconnected (12).
    virtual Error RetrieveBuffer(Image& image) = 0;
    /// Wakes a waiting RetrieveBuffer and lets every later one return NothingToDeliver at once, until
    /// the next StartCapture. Changes nothing else: the camera goes on. Any thread, never fails.
    virtual void CancelRetrieve() = 0;

    /// Counters since the last StartCapture. Zero for a camera that is not connected.
    virtual StreamStatistics GetStreamStatistics() const = 0;
};

/// A USB or IEEE 1394 camera.
class Camera : public CameraBase {
public:
    /// One of the standard modes with a fixed frame rate. @return NotSupported.
    virtual Error SetVideoModeAndFrameRate(VideoMode eMode, FrameRateCode eRate) = 0;
    /// `info.mode` chooses; an unsupported mode is no error: `bSupported` is false.
    virtual Error GetFormat7Info(Format7Info& info, bool& bSupported) = 0;
    /// Whether the camera would take the settings, and the packet sizes that go with them.
    virtual Error ValidateFormat7Settings(
        const Format7ImageSettings& settings, bool& bValid, Format7PacketInfo& packetInfo) = 0;
    /// @return InvalidSettings, InvalidParameter (packet size), AlreadyStarted.
    virtual Error SetFormat7Configuration(const Format7ImageSettings& settings, std::uint32_t uiBytesPerPacket) = 0;
};

/// A GigE Vision camera.
class GigECamera : public CameraBase {
public:
    /// GigE Vision bootstrap registers. @return RegisterFailed.
    virtual Error ReadGVCPRegister(std::uint32_t uiAddress, std::uint32_t& uiValue) = 0;
    virtual Error WriteGVCPRegister(std::uint32_t uiAddress, std::uint32_t uiValue) = 0;

    virtual Error GetNumStreamChannels(std::uint32_t& uiChannels) = 0;
    /// @return InvalidParameter for a channel that does not exist.
    virtual Error GetGigEStreamChannelInfo(std::uint32_t uiChannel, GigEStreamChannel& channel) = 0;
    /// A real camera keeps the host port, the interface and the source port as they are: its stream's driver chooses
    /// them at the start.
    virtual Error SetGigEStreamChannelInfo(std::uint32_t uiChannel, const GigEStreamChannel& channel) = 0;

    /// In: the size to begin with, bytes; out: the largest packet that arrives whole.
    virtual Error DiscoverGigEPacketSize(std::uint32_t& uiPacketSize) = 0;
    virtual Error QueryGigEImagingMode(ImagingMode mode, bool& bSupported) = 0;
    /// @return NotSupported.
    virtual Error SetGigEImagingMode(ImagingMode mode) = 0;
    virtual Error GetGigEImageSettingsInfo(GigEImageSettingsInfo& info) = 0;
    /// @return InvalidSettings, AlreadyStarted.
    virtual Error SetGigEImageSettings(const GigEImageSettings& settings) = 0;
    virtual Error GetGigEConfig(GigEConfig& config) = 0;
    /// The register time-outs are kept and read back; how long a real camera is waited for does not follow them.
    virtual Error SetGigEConfig(const GigEConfig& config) = 0;
};

/// The cameras on all buses of this computer. The list is taken at GetNumOfCameras; indices and
/// serial numbers of the other calls refer to that list. User-interface thread.
class BusManager {
public:
    virtual ~BusManager() = default;
    virtual Error GetNumOfCameras(unsigned int& uiCount) = 0;
    /// @return NotFound beyond the last index.
    virtual Error GetCameraSerialNumberFromIndex(unsigned int uiIndex, unsigned int& uiSerialNumber) = 0;
    virtual Error GetCameraFromSerialNumber(unsigned int uiSerialNumber, PGRGuid& guid) = 0;
    virtual Error GetInterfaceTypeFromGuid(const PGRGuid& guid, InterfaceType& eInterface) = 0;
};

/// One way to reach cameras: the simulated ones, a protocol, or several of these joined.
/// Outlives the cameras that it made.
class CameraLibrary {
public:
    virtual ~CameraLibrary() = default;
    virtual BusManager& GetBusManager() = 0;
    /// What can be said of the cameras without opening them, in bus order; for the confirmation table.
    virtual std::vector<CameraInfo> ListCameras() = 0;
    /// A camera object for the camera behind `guid`, not connected yet. Null when the guid is unknown
    /// or the camera has the other kind of interface.
    virtual std::unique_ptr<Camera> CreateCamera(const PGRGuid& guid) = 0;
    virtual std::unique_ptr<GigECamera> CreateGigECamera(const PGRGuid& guid) = 0;
    /// Starts all cameras at one instant. On failure none of them runs.
    /// @return as CameraBase::StartCapture.
    virtual Error StartSyncCapture(std::span<CameraBase* const> cameras) = 0;
};

} // namespace vireo
