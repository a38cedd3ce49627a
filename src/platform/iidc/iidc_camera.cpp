#include "platform/iidc/iidc_camera.h"

namespace vireo {

namespace {

constexpr std::uint32_t kMinBuffers = 1;
constexpr std::uint32_t kMaxBuffers = 4096;

Error WhileCapturing(const IidcDevice& device)
{
    return device.Fail(ErrorType::AlreadyStarted, "the image cannot change while capturing");
}

struct Register {
    std::uint32_t uiAddress = 0;
    std::uint32_t uiValue = 0;
};
struct Format7Answer {
    Format7Info info;
    bool bSupported = false;
};
struct Format7Question {
    Format7ImageSettings settings;
    bool bMayTry = false;
    bool bValid = false;
    Format7PacketInfo packetInfo;
};

} // namespace

IidcCamera::IidcCamera(Clock& clock, Log& log, FindRecord findRecord, std::shared_ptr<SharedGrace> grace)
    : m_clock(clock)
    , m_log(log)
    , m_notes(log)
    , m_findRecord(std::move(findRecord))
    , m_grace(std::move(grace))
{
}

IidcCamera::~IidcCamera() { (void)Disconnect(); }

std::shared_ptr<IidcSession> IidcCamera::Session() const
{
    std::lock_guard lock(m_csSession);
    return m_session;
}

Error IidcCamera::Do(const std::function<Error(IidcDevice&)>& job)
{
    const auto session = Session();
    if (!session)
        return ErrorType::NotConnected;
    return m_notes.Note(session->Do([job](IidcSession::Inside& inside) {
        return inside.device->IsGone() ? inside.device->Gone() : job(*inside.device);
    }));
}

Error IidcCamera::Connect(const PGRGuid& guid)
{
    if (IsConnected())
        return ErrorType::AlreadyConnected;
    IidcRecord record;
    Dc1394Context context;
    if (!m_findRecord(guid, record, context))
        return ErrorType::NotFound;
    auto session = std::make_shared<IidcSession>(m_clock, record, m_grace);
    if (Error error = session->Open(context); !error.IsOk())
        return m_notes.Note(error);
    std::lock_guard lock(m_csSession);
    m_session = std::move(session);
    return {};
}

Error IidcCamera::Disconnect()
{
    if (!IsConnected())
        return ErrorType::NotConnected;
    (void)StopCapture();
    std::shared_ptr<IidcSession> session;
    std::lock_guard lock(m_csSession);
    session = std::move(m_session);
    m_session = nullptr;
    return {};
}

bool IidcCamera::IsConnected() const { return Session() != nullptr; }

Error IidcCamera::GetCameraInfo(CameraInfo& info)
{
    const auto session = Session();
    if (!session)
        return ErrorType::NotConnected;
    if (session->IsGone())
        return session->Gone();
    info = session->Record().info;
    return {};
}

Error IidcCamera::GetConfiguration(FC2Config& config)
{
    std::lock_guard lock(m_csSession);
    if (!m_session)
        return ErrorType::NotConnected;
    if (m_session->IsGone())
        return m_session->Gone();
    config = m_config;
    return {};
}

Error IidcCamera::SetConfiguration(const FC2Config& config)
{
    std::lock_guard lock(m_csSession);
    if (!m_session)
        return ErrorType::NotConnected;
    if (m_session->IsGone())
        return m_session->Gone();
    const bool bMode = config.grabMode == GrabMode::DropFrames || config.grabMode == GrabMode::BufferFrames;
    if (config.numBuffers < kMinBuffers || config.numBuffers > kMaxBuffers || config.grabTimeout < -1 || !bMode)
        return ErrorType::InvalidParameter;
    m_config = config;
    m_manner.iTimeoutMs = config.grabTimeout;
    m_manner.bNewestOnly = config.grabMode == GrabMode::DropFrames;
    m_session->Capture().Poke();
    return {};
}

Error IidcCamera::ReadRegister(std::uint32_t uiAddress, std::uint32_t& uiValue)
{
    Register word { uiAddress, 0 };
    Error error = Fill(
        word, +[](IidcDevice& device, Register& read) { return device.ReadControl(read.uiAddress, read.uiValue); });
    if (error.IsOk())
        uiValue = word.uiValue;
    return error;
}

Error IidcCamera::WriteRegister(std::uint32_t uiAddress, std::uint32_t uiValue)
{
    return Do([=](IidcDevice& device) { return device.WriteControl(uiAddress, uiValue); });
}

Error IidcCamera::GetProperty(Property& property)
{
    return Fill(
        property, +[](IidcDevice& device, Property& read) { return device.ReadProperty(read); });
}

Error IidcCamera::SetProperty(const Property& property)
{
    return Do([property](IidcDevice& device) { return device.WriteProperty(property); });
}

Error IidcCamera::GetPropertyInfo(PropertyInfo& info)
{
    return Fill(
        info, +[](IidcDevice& device, PropertyInfo& read) { return device.ReadPropertyInfo(read); });
}

Error IidcCamera::GetTriggerMode(TriggerMode& mode)
{
    return Fill(
        mode, +[](IidcDevice& device, TriggerMode& read) { return device.ReadTrigger(read); });
}

Error IidcCamera::SetTriggerMode(const TriggerMode& mode)
{
    return Do([mode](IidcDevice& device) { return device.WriteTrigger(mode); });
}

Error IidcCamera::GetStrobeInfo(StrobeInfo& info)
{
    return Fill(
        info, +[](IidcDevice& device, StrobeInfo& read) { return device.ReadStrobeInfo(read); });
}

Error IidcCamera::GetStrobe(StrobeControl& control)
{
    return Fill(
        control, +[](IidcDevice& device, StrobeControl& read) { return device.ReadStrobe(read); });
}

Error IidcCamera::SetStrobe(const StrobeControl& control)
{
    return Do([control](IidcDevice& device) { return device.WriteStrobe(control); });
}

Error IidcCamera::SetVideoModeAndFrameRate(VideoMode eMode, FrameRateCode eRate)
{
    return Do([=, bCapturing = m_bCapturing.load()](IidcDevice& device) {
        if (bCapturing)
            return WhileCapturing(device);
        return eMode == VideoMode::Mode640x480Y8 ? device.SetStandardMode(eRate)
                                                 : device.Fail(ErrorType::NotSupported, "no such video mode");
    });
}

Error IidcCamera::GetFormat7Info(Format7Info& info, bool& bSupported)
{
    Format7Answer answer { info, false };
    Error error = Fill(
        answer,
        +[](IidcDevice& device, Format7Answer& read) { return device.ReadFormat7Info(read.info, read.bSupported); });
    if (error.IsOk()) {
        info = answer.info;
        bSupported = answer.bSupported;
    }
    return error;
}

Error IidcCamera::ValidateFormat7Settings(
    const Format7ImageSettings& settings, bool& bValid, Format7PacketInfo& packetInfo)
{
    Format7Question question { settings, !m_bCapturing, bValid, packetInfo };
    Error error = Fill(
        question, +[](IidcDevice& device, Format7Question& asked) {
            return device.Validate(asked.settings, asked.bMayTry, asked.bValid, asked.packetInfo);
        });
    if (error.IsOk()) {
        bValid = question.bValid;
        packetInfo = question.packetInfo;
    }
    return error;
}

Error IidcCamera::SetFormat7Configuration(const Format7ImageSettings& settings, std::uint32_t uiBytesPerPacket)
{
    return Do([=, bCapturing = m_bCapturing.load()](IidcDevice& device) {
        return bCapturing ? WhileCapturing(device) : device.SetFormat7(settings, uiBytesPerPacket);
    });
}

Error IidcCamera::PrepareCapture()
{
    const auto session = Session();
    if (!session)
        return ErrorType::NotConnected;
    if (session->IsGone())
        return m_notes.Note(session->Gone());
    if (m_bCapturing)
        return ErrorType::AlreadyStarted;
    FC2Config config;
    (void)GetConfiguration(config);
    auto note = std::make_shared<std::string>();
    Error error = session->Do([note, uiBuffers = config.numBuffers](IidcSession::Inside& inside) {
        if (Error read = inside.device->ReadRateNote(*note); !read.IsOk())
            return read;
        return inside.capture.Open(*inside.device, uiBuffers);
    });
    m_bCapturing = error.IsOk();
    if (m_bCapturing && *note != std::exchange(m_strRateNote, *note) && !note->empty())
        m_log.Write(*note);
    return m_notes.Note(error);
}

Error IidcCamera::BeginCapture()
{
    return Do([](IidcDevice& device) {
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
    const auto session = Session();
    if (!session)
        return ErrorType::NotConnected;
    session->Capture().Cancel(); // the grab thread comes out
    {
        std::lock_guard retrieve(m_csRetrieve);
        if (!m_bCapturing.exchange(false))
            return session->IsGone() ? session->Gone() : ErrorType::NotStarted;
    }
    const auto stop = [](IidcSession::Inside& inside) {
        IidcDevice& device = *inside.device;
        const dc1394error_t eCode =
            device.IsGone() ? DC1394_SUCCESS : dc1394_video_set_transmission(device.Get(), DC1394_OFF);
        inside.capture.Close(device);
        return device.Translate(eCode, "stop", ErrorType::TransportFailed);
    };
    if (!session->IsGone())
        return m_notes.Note(session->Do(stop));
    session->Later(stop);
    return session->Gone();
}

/// All cameras are cancelled before the first is stopped: those that are dead are waited for side by side.
void IidcCamera::CancelRetrieve()
{
    const auto session = Session();
    if (!session)
        return;
    session->Capture().Cancel();
    session->Ask();
}

Error IidcCamera::RetrieveBuffer(Image& image)
{
    std::lock_guard retrieve(m_csRetrieve);
    const auto session = Session();
    if (!session)
        return ErrorType::NotConnected;
    if (!m_bCapturing)
        return session->IsGone() ? session->Gone() : Error(ErrorType::NothingToDeliver);
    // The capture stays while m_csRetrieve is held; registers may be used meanwhile.
    IidcCapture& capture = session->Capture();
    const ClockTime begin = m_clock.Now();
    for (;;) {
        const bool bGone = session->IsGone();
        const IidcCapture::Found eFound = capture.Take(session->Device(), m_manner, begin);
        if (eFound == IidcCapture::Found::Cancelled)
            return ErrorType::NothingToDeliver;
        if (eFound == IidcCapture::Found::Frame)
            break; // what arrived before the camera went is still good
        if (bGone) {
            capture.ForgetBroken();
            if (eFound == IidcCapture::Found::Broken)
                continue;
            return session->Gone();
        }
        session->Watch();
        if (eFound == IidcCapture::Found::Broken)
            return ErrorType::NothingToDeliver;
        if (eFound == IidcCapture::Found::Timeout)
            return ErrorType::Timeout;
    }
    session->Heard(capture.Arrival());
    const ImageView& shape = capture.Shape();
    image =
        Image(shape.uiRows, shape.uiCols, shape.uiStride, shape.pData, shape.uiDataSize, shape.eFormat, shape.eBayer);
    image.SetArrivalTime(capture.Arrival());
    return {};
}

StreamStatistics IidcCamera::GetStreamStatistics() const
{
    StreamStatistics statistics;
    if (const auto session = Session())
        statistics.incomplete = session->Capture().Incomplete();
    return statistics;
}

} // namespace vireo
