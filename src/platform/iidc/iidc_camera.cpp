#include "platform/iidc/iidc_camera.h"

namespace vireo {

namespace {

constexpr std::uint32_t kMinBuffers = 1;
constexpr std::uint32_t kMaxBuffers = 4096;

Error WhileCapturing(const IidcDevice& device)
{
    return device.Fail(ErrorType::AlreadyStarted, "the image cannot change while capturing");
}

} // namespace

IidcCamera::IidcCamera(Clock& clock, Log& log, OpenCamera openCamera)
    : m_clock(clock)
    , m_notes(log)
    , m_openCamera(std::move(openCamera))
    , m_capture(clock)
{
}

IidcCamera::~IidcCamera() { (void)Disconnect(); }

Error IidcCamera::Connect(const PGRGuid& guid)
{
    if (IsConnected())
        return ErrorType::AlreadyConnected;
    Dc1394Camera camera;
    IidcRecord record;
    if (Error error = m_openCamera(guid, camera, record); !error.IsOk())
        return m_notes.Note(error);
    if (camera->bmode_capable != DC1394_FALSE) { // the fast half of the bus
        dc1394_video_set_operation_mode(camera.get(), DC1394_OPERATION_MODE_1394B);
        dc1394_video_set_iso_speed(camera.get(), DC1394_ISO_SPEED_800);
    } else {
        dc1394_video_set_iso_speed(camera.get(), DC1394_ISO_SPEED_400);
    }
    std::lock_guard lock(m_csDevice);
    m_device = std::make_unique<IidcDevice>(std::move(camera), "camera " + std::to_string(record.info.serialNumber));
    m_info = record.info;
    m_capture.ResetCounters();
    return {};
}

Error IidcCamera::Disconnect()
{
    if (!IsConnected())
        return ErrorType::NotConnected;
    (void)StopCapture();
    std::lock_guard lock(m_csDevice);
    m_device.reset();
    m_capture.ResetCounters();
    return {};
}

bool IidcCamera::IsConnected() const
{
    std::lock_guard lock(m_csDevice);
    return m_device != nullptr;
}

Error IidcCamera::GetCameraInfo(CameraInfo& info)
{
    return Do([&](IidcDevice&) {
        info = m_info;
        return Error();
    });
}

Error IidcCamera::GetConfiguration(FC2Config& config)
{
    return Do([&](IidcDevice&) {
        config = m_config;
        return Error();
    });
}

Error IidcCamera::SetConfiguration(const FC2Config& config)
{
    return Do([&](IidcDevice&) {
        const bool bMode = config.grabMode == GrabMode::DropFrames || config.grabMode == GrabMode::BufferFrames;
        if (config.numBuffers < kMinBuffers || config.numBuffers > kMaxBuffers || config.grabTimeout < -1 || !bMode)
            return Error(ErrorType::InvalidParameter);
        m_config = config;
        m_manner.iTimeoutMs = config.grabTimeout;
        m_manner.bNewestOnly = config.grabMode == GrabMode::DropFrames;
        m_capture.Poke();
        return Error();
    });
}

Error IidcCamera::ReadRegister(std::uint32_t uiAddress, std::uint32_t& uiValue)
{
    return Do([&](IidcDevice& device) { return device.ReadControl(uiAddress, uiValue); });
}

Error IidcCamera::WriteRegister(std::uint32_t uiAddress, std::uint32_t uiValue)
{
    return Do([&](IidcDevice& device) { return device.WriteControl(uiAddress, uiValue); });
}

Error IidcCamera::GetProperty(Property& property)
{
    return Do([&](IidcDevice& device) { return device.ReadProperty(property); });
}

Error IidcCamera::SetProperty(const Property& property)
{
    return Do([&](IidcDevice& device) { return device.WriteProperty(property); });
}

Error IidcCamera::GetPropertyInfo(PropertyInfo& info)
{
    return Do([&](IidcDevice& device) { return device.ReadPropertyInfo(info); });
}

Error IidcCamera::GetTriggerMode(TriggerMode& mode)
{
    return Do([&](IidcDevice& device) { return device.ReadTrigger(mode); });
}

Error IidcCamera::SetTriggerMode(const TriggerMode& mode)
{
    return Do([&](IidcDevice& device) { return device.WriteTrigger(mode); });
}

Error IidcCamera::GetStrobeInfo(StrobeInfo& info)
{
    return Do([&](IidcDevice& device) { return device.ReadStrobeInfo(info); });
}

Error IidcCamera::GetStrobe(StrobeControl& control)
{
    return Do([&](IidcDevice& device) { return device.ReadStrobe(control); });
}

Error IidcCamera::SetStrobe(const StrobeControl& control)
{
    return Do([&](IidcDevice& device) { return device.WriteStrobe(control); });
}

Error IidcCamera::SetVideoModeAndFrameRate(VideoMode eMode, FrameRateCode eRate)
{
    return Do([&](IidcDevice& device) {
        if (m_bCapturing)
            return WhileCapturing(device);
        return eMode == VideoMode::Mode640x480Y8 ? device.SetStandardMode(eRate)
                                                 : device.Fail(ErrorType::NotSupported, "no such video mode");
    });
}

Error IidcCamera::GetFormat7Info(Format7Info& info, bool& bSupported)
{
    return Do([&](IidcDevice& device) { return device.ReadFormat7Info(info, bSupported); });
}

Error IidcCamera::ValidateFormat7Settings(
    const Format7ImageSettings& settings, bool& bValid, Format7PacketInfo& packetInfo)
{
    return Do([&](IidcDevice& device) { return device.Validate(settings, !m_bCapturing, bValid, packetInfo); });
}

Error IidcCamera::SetFormat7Configuration(const Format7ImageSettings& settings, std::uint32_t uiBytesPerPacket)
{
    return Do([&](IidcDevice& device) {
        return m_bCapturing ? WhileCapturing(device) : device.SetFormat7(settings, uiBytesPerPacket);
    });
}

Error IidcCamera::PrepareCapture()
{
    return Do([&](IidcDevice& device) {
        if (m_bCapturing)
            return Error(ErrorType::AlreadyStarted);
        Error error = m_capture.Open(device, m_config.numBuffers);
        m_bCapturing = error.IsOk();
        return error;
    });
}

Error IidcCamera::BeginCapture()
{
    return Do([&](IidcDevice& device) {
        return device.Translate(
            dc1394_video_set_transmission(device.Get(), DC1394_ON), "start", ErrorType::OutOfResources);
    });
}

Error IidcCamera::StartCapture()
{
    if (Error error = PrepareCapture(); !error.IsOk())
        return error;
    Error error = BeginCapture();
    if (!error.IsOk())
        (void)StopCapture();
    return error;
}

Error IidcCamera::StopCapture()
{
    if (!IsConnected())
        return ErrorType::NotConnected;
    if (!m_bCapturing)
        return Do([](IidcDevice&) { return Error(ErrorType::NotStarted); });
    m_capture.Cancel(); // the grab thread comes out
    std::lock_guard retrieve(m_csRetrieve);
    std::lock_guard lock(m_csDevice);
    return StopLocked();
}

Error IidcCamera::StopLocked()
{
    const dc1394error_t eCode = dc1394_video_set_transmission(m_device->Get(), DC1394_OFF);
    m_capture.Close(*m_device);
    m_bCapturing = false;
    return m_device->Translate(eCode, "stop", ErrorType::TransportFailed);
}

/// Asks the camera whether it is still there, while no other thread uses its registers.
bool IidcCamera::Answers(IidcDevice& device)
{
    std::lock_guard lock(m_csDevice);
    return device.Answers();
}

Error IidcCamera::RetrieveBuffer(Image& image)
{
    std::lock_guard retrieve(m_csRetrieve);
    IidcDevice* pDevice = nullptr;
    const Error open = Do([&](IidcDevice& device) {
        pDevice = &device;
        return m_bCapturing ? Error() : Error(ErrorType::NothingToDeliver);
    });
    if (!open.IsOk())
        return open;
    // The device stays while m_csRetrieve is held; registers may be used meanwhile.
    const ClockTime begin = m_clock.Now();
    IidcCapture::Found eFound = m_capture.Take(*pDevice, m_manner, begin);
    while (eFound == IidcCapture::Found::Silent && Answers(*pDevice))
        eFound = m_capture.Take(*pDevice, m_manner, begin);
    if (eFound == IidcCapture::Found::Cancelled)
        return ErrorType::NothingToDeliver;
    if (eFound == IidcCapture::Found::Frame) {
        const ImageView& shape = m_capture.Shape();
        image = Image(
            shape.uiRows, shape.uiCols, shape.uiStride, shape.pData, shape.uiDataSize, shape.eFormat, shape.eBayer);
        image.SetArrivalTime(m_capture.Arrival());
        return {};
    }
    if (!Answers(*pDevice))
        return pDevice->Gone();
    return eFound == IidcCapture::Found::Broken ? ErrorType::NothingToDeliver : ErrorType::Timeout;
}

StreamStatistics IidcCamera::GetStreamStatistics() const
{
    StreamStatistics statistics;
    statistics.incomplete = m_capture.Incomplete();
    return statistics;
}

} // namespace vireo
