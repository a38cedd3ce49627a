#pragma once
#include "platform/camera_types.h"
#include "platform/error.h"
#include "platform/genicam/device_link.h"
#include "platform/genicam/discovery.h"
#include "platform/genicam/features.h"
#include "platform/genicam/glib_ptr.h"

#include <atomic>
#include <map>
#include <memory>
#include <string>

namespace vireo {

constexpr unsigned int kLines = 4; ///< GPIO lines that the control registers and records know

/// What the camera writes over the first bytes of each frame; made here from what the driver says.
struct Embedding {
    std::atomic<bool> bTime = false;
    std::atomic<bool> bPins = false;
    std::atomic<std::uint32_t> uiPins = 0; ///< line 0 in the highest bit; brought up to date now and then
    std::atomic<bool> bPinsAsked = false; ///< the answer is still to come
    std::atomic<bool> bClock = true; ///< else the camera's frames carry no time of its own
};

/// What the program said that no feature of the camera remembers.
struct Remembered {
    std::map<std::uint32_t, std::uint32_t> registers; ///< control registers without a feature
    double dFrameRate = 0.0; ///< fps that was asked for; 0 = nothing yet
    double dExposure = 0.0; ///< us that were asked for; 0 = nothing yet
    TriggerMode trigger;
    StrobeControl strobe[kLines];
    ImagingMode mode = 0;
    PixelFormat ePixelFormat = PixelFormat::Unspecified; ///< as asked; several of ours are one of the camera's
    GigEConfig gigeConfig;
    std::map<std::uint32_t, IPAddress> destinations; ///< of the stream channels, when not given to the camera
    bool bHeartbeatOff = false; ///< read back, but the camera's heartbeat stays on
};

constexpr const char* kControlLost = "control of the camera was lost";

/// An open camera. Everything but `link` and `embedding` belongs to the device's own thread.
struct OpenDevice {
    OpenDevice(std::shared_ptr<DeviceLink> sharedLink, std::shared_ptr<Embedding> sharedEmbedding)
        : link(std::move(sharedLink))
        , embedding(std::move(sharedEmbedding))
    {
    }
    ~OpenDevice();
    OpenDevice(const OpenDevice&) = delete;
    OpenDevice& operator=(const OpenDevice&) = delete;

    std::shared_ptr<DeviceLink> link; ///< outlives the camera, whose threads speak to it
    std::shared_ptr<Embedding> embedding;
    GObjectPtr<ArvCamera> camera;
    std::unique_ptr<Features> features;
    bool bGigE = false;
    bool bCapturing = false;
    CameraInfo info;
    Remembered remembered;
    unsigned long ulLostHandler = 0;

    ArvDevice* Device() const { return arv_camera_get_device(camera.get()); }
};

/// Opens the camera for this program alone and reads who it is.
/// @return NotFound, AccessDenied (another program controls it), Disconnected.
Error OpenCamera(const DeviceRecord& record, OpenDevice& device);

/// Asks the camera for an answer, and a GigE camera whether it still takes orders from this program; when it does
/// not, the link is told so. Frames need not flow for that.
Error AskWhetherThere(OpenDevice& device);

} // namespace vireo
