#include "platform/iidc/iidc_session.h"

#include <string>
#include <string_view>
#include <utility>

namespace vireo {

namespace {

constexpr ClockTime kOpenLimit = 4 * kNsPerSecond; ///< some dozen registers

/// Everybody may use the registers of a camera on a USB cable, but one program alone has its frames. The driver
/// asks for them with a capture only; that would be after the other program's settings were overwritten.
bool IsTaken(dc1394camera_t* pCamera)
{
    const char* strRoad = nullptr;
    dc1394_camera_get_platform_string(pCamera, &strRoad);
    if (strRoad == nullptr || std::string_view(strRoad) != "usb")
        return false;
    const dc1394error_t eCode = dc1394_capture_setup(pCamera, 1, DC1394_CAPTURE_FLAGS_DEFAULT);
    if (eCode == DC1394_SUCCESS)
        dc1394_capture_stop(pCamera);
    return eCode == DC1394_FAILURE;
}

void SetSpeed(dc1394camera_t* pCamera)
{
    if (pCamera->bmode_capable != DC1394_FALSE) { // the fast half of the bus
        dc1394_video_set_operation_mode(pCamera, DC1394_OPERATION_MODE_1394B);
        dc1394_video_set_iso_speed(pCamera, DC1394_ISO_SPEED_800);
    } else {
        dc1394_video_set_iso_speed(pCamera, DC1394_ISO_SPEED_400);
    }
}

Error OpenInside(IidcSession::Inside& inside, const IidcRecord& record, const std::string& strName,
    const std::shared_ptr<Presence>& presence)
{
    Dc1394Camera camera(dc1394_camera_new_unit(inside.context.get(), record.uiDc1394Guid, record.uiUnit));
    if (!camera)
        return { ErrorType::NotFound, strName + ": cannot be opened" };
    if (IsTaken(camera.get()))
        return { ErrorType::AccessDenied, strName + ": another program controls it" };
    inside.device = std::make_unique<IidcDevice>(std::move(camera), strName, presence);
    dc1394camera_t* pCamera = inside.device->Get();
    // A program that was killed leaves its camera sending: what it exposed for that one is nobody's frame here, and
    // the image cannot change meanwhile.
    const dc1394error_t eCode = dc1394_video_set_transmission(pCamera, DC1394_OFF);
    SetSpeed(pCamera);
    return inside.device->Translate(eCode, "stop", ErrorType::TransportFailed);
}

} // namespace

IidcSession::IidcSession(Clock& clock, const IidcRecord& record, std::shared_ptr<SharedGrace> grace)
    : m_clock(clock)
    , m_record(record)
    , m_strName("camera " + std::to_string(record.info.serialNumber))
    , m_grace(std::move(grace))
    , m_presence(std::make_shared<Presence>(clock))
    , m_inside(std::make_shared<Inside>(clock))
    , m_worker(clock)
{
}

IidcSession::~IidcSession()
{
    m_presence->Detach();
    const bool bGone = !m_bOpen || IsGone();
    m_worker.Post([inside = m_inside] {
        if (inside->device)
            inside->capture.Close(*inside->device);
        inside->device.reset();
    });
    const bool bInTime = !bGone && m_worker.Call([] { return true; }, m_grace->Left(m_clock.Now())).has_value();
    if (bInTime)
        return;
    m_worker.Abandon();
    if (!bGone)
        m_grace->Exhaust(m_clock.Now());
}

Error IidcSession::Open(const Dc1394Context& context)
{
    if (!m_worker.HasThread())
        return { ErrorType::OutOfResources, m_strName + ": " + DeviceWorker::kNoThread };
    m_inside->context = context;
    const std::optional<Error> error =
        m_worker.Call([inside = m_inside, record = m_record, strName = m_strName,
                          presence = m_presence] { return OpenInside(*inside, record, strName, presence); },
            kOpenLimit);
    m_bOpen = error && error->IsOk();
    return error ? *error : Error(ErrorType::NotFound, m_strName + ": it does not answer");
}

Error IidcSession::Do(const Job& job)
{
    if (IsGone())
        return Gone();
    const std::optional<Error> result = m_worker.Call([inside = m_inside, job] { return job(*inside); },
        m_question->Patience(m_clock.Now(), OpenQuestion::kAnswerLimit));
    if (result)
        return *result;
    m_presence->SetUnanswered();
    return IsGone() ? Gone() : Error(ErrorType::TransportFailed, m_strName + ": it did not answer in time");
}

void IidcSession::Later(const Job& job)
{
    m_worker.Post([inside = m_inside, job] { (void)job(*inside); });
}

void IidcSession::Ask()
{
    if (IsGone() || !m_question->Begin(m_clock.Now()))
        return;
    m_worker.Post([inside = m_inside, question = m_question] {
        inside->device->Answers();
        question->Answer();
    });
}

void IidcSession::Watch()
{
    if (IsGone() || m_presence->IsHeard())
        return;
    if (m_question->IsOverdue(m_clock.Now()))
        m_presence->SetGone();
    else
        Ask();
}

} // namespace vireo
