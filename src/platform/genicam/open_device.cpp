#include "platform/genicam/open_device.h"

#include "platform/genicam/image_settings.h"

#include <arpa/inet.h>

namespace vireo {

namespace {

constexpr std::uint32_t kHeartbeatRegister = 0x0938; ///< ms
constexpr std::uint32_t kTickHigh = 0x093C, kTickLow = 0x0940; ///< Hz
constexpr std::uint32_t kControlRegister = 0x0A00;
/// After this long without a word from its program a camera is anybody's: long enough for a busy computer, short
/// enough for a start after a crash.
constexpr std::uint32_t kHeartbeatMs = 5000;

/// Called in the driver's own thread: only a note is made.
void OnControlLost(ArvDevice*, gpointer pLink) { static_cast<DeviceLink*>(pLink)->SetGone(kControlLost); }

/// Names and not numbers: an all-digit name would be taken for an address.
GObjectPtr<ArvCamera> NewCamera(const DeviceRecord& record, GErrorSlot& error)
{
    if (!record.bGigE)
        return GObjectPtr<ArvCamera>(arv_camera_new(record.strId.c_str(), error.Out()));
    if (record.strHostAddress.empty())
        return GObjectPtr<ArvCamera>(arv_camera_new(record.strAddress.c_str(), error.Out()));
    const GObjectPtr<GInetAddress> host(g_inet_address_new_from_string(record.strHostAddress.c_str()));
    const GObjectPtr<GInetAddress> camera(g_inet_address_new_from_string(record.strAddress.c_str()));
    const GObjectPtr<ArvDevice> device(arv_gv_device_new(host.get(), camera.get(), error.Out()));
    if (!device)
        return nullptr;
    return GObjectPtr<ArvCamera>(arv_camera_new_with_device(device.get(), error.Out()));
}

Error Taken(const DeviceRecord& record)
{
    return { ErrorType::AccessDenied, record.Name() + ": another program controls it" };
}

/// Whoever opens a GigE camera second gets an object all the same, but not the camera's control.
Error CheckControl(OpenDevice& device, const DeviceRecord& record)
{
    if (!device.bGigE || arv_gv_device_is_controller(ARV_GV_DEVICE(device.Device())))
        return {};
    std::uint32_t uiHeld = 0;
    Error error = device.features->ReadWord(kControlRegister, uiHeld);
    if (error == ErrorType::Disconnected)
        return error;
    return Taken(record);
}

void ReadInfo(OpenDevice& device, const DeviceRecord& record)
{
    Features& features = *device.features;
    CameraInfo& info = device.info;
    info = record.info;
    for (const std::string& strFormat : features.Choices(Feature::PixelFormat))
        if (strFormat.starts_with("Bayer") || strFormat.starts_with("RGB") || strFormat.starts_with("BGR"))
            info.isColorCamera = true;
    std::int64_t iWidth = 0;
    std::int64_t iHeight = 0;
    const bool bSensor = features.Has(Feature::SensorWidth) && features.Has(Feature::SensorHeight);
    if (features.GetInteger(bSensor ? Feature::SensorWidth : Feature::WidthMax, iWidth).IsOk()
        && features.GetInteger(bSensor ? Feature::SensorHeight : Feature::HeightMax, iHeight).IsOk())
        info.sensorResolution = std::to_string(iWidth) + "x" + std::to_string(iHeight);
}

/// Whoever had the camera before may have been killed: it would send on, and keep its image as it is.
Error StopLeftRunning(OpenDevice& device)
{
    Features& features = *device.features;
    GErrorSlot slot;
    arv_camera_stop_acquisition(device.camera.get(), slot.Out());
    Error error = features.Translate(slot.Get(), "stop of the acquisition", ErrorType::TransportFailed);
    if (!(error == ErrorType::Disconnected) && features.Has(Feature::TransferLocked))
        error = features.SetInteger(Feature::TransferLocked, 0);
    return error == ErrorType::Disconnected ? error : Error(); // one that refuses had nothing to stop
}

/// Without a clock in the camera the driver puts its own time into the frames, in steps of milliseconds.
Error ReadClock(OpenDevice& device)
{
    std::uint32_t uiHigh = 0;
    std::uint32_t uiLow = 0;
    Error error = device.features->ReadWord(kTickHigh, uiHigh);
    if (error.IsOk())
        error = device.features->ReadWord(kTickLow, uiLow);
    if (error.IsOk())
        device.embedding->bClock = uiHigh != 0 || uiLow != 0;
    return error;
}

} // namespace

OpenDevice::~OpenDevice()
{
    if (ulLostHandler != 0)
        g_signal_handler_disconnect(Device(), ulLostHandler);
}

Error OpenCamera(const DeviceRecord& record, OpenDevice& device)
{
    GErrorSlot error;
    device.camera = NewCamera(record, error);
    if (!device.camera || error) {
        const Features nobody(nullptr, record.Name());
        device.camera.reset();
        if (!error)
            return nobody.Fail(ErrorType::NotFound, "cannot be opened");
        // It hangs on the cable, and yet its interface cannot be had.
        if (!record.bGigE && error.Get()->domain == ARV_DEVICE_ERROR
            && error.Get()->code == ARV_DEVICE_ERROR_PROTOCOL_ERROR)
            return Taken(record);
        return nobody.Translate(error.Get(), "cannot be opened", ErrorType::NotFound);
    }
    device.bGigE = record.bGigE;
    device.features = std::make_unique<Features>(device.Device(), record.Name());
    if (Error denied = CheckControl(device, record); !denied.IsOk())
        return denied;
    if (device.bGigE) // a camera that keeps a time of its own is as good
        if (Error mute = device.features->WriteWord(kHeartbeatRegister, kHeartbeatMs); mute == ErrorType::Disconnected)
            return mute;
    if (device.bGigE)
        if (Error mute = ReadClock(device); mute == ErrorType::Disconnected)
            return mute;
    device.ulLostHandler =
        g_signal_connect(device.Device(), "control-lost", G_CALLBACK(OnControlLost), device.link.get());
    if (Error mute = StopLeftRunning(device); !mute.IsOk())
        return mute;
    if (Error unread = ReadMode(device, device.remembered.mode); unread == ErrorType::Disconnected)
        return unread;
    ReadInfo(device, record);
    return {};
}

/// Who only reads sees no difference when another program gives the orders.
Error AskWhetherThere(OpenDevice& device)
{
    if (device.link->IsGone())
        return {};
    std::int64_t iWidth = 0;
    Error error = device.features->GetInteger(Feature::Width, iWidth);
    if (error.IsOk() && device.bGigE)
        error = device.features->WriteWord(kHeartbeatRegister, kHeartbeatMs);
    if (error == ErrorType::Disconnected)
        device.link->SetUnanswered();
    else if (error == ErrorType::AccessDenied)
        device.link->SetGone(kControlLost);
    return error;
}

} // namespace vireo
