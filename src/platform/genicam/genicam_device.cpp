#include "platform/genicam/genicam_device.h"

#include "platform/genicam/control_registers.h"
#include "platform/genicam/cycle_time.h"
#include "platform/genicam/frame_rate.h"
#include "platform/genicam/trigger_lines.h"

#include <algorithm>

namespace vireo {

namespace {

constexpr std::uint32_t kMinBuffers = 1;
constexpr std::uint32_t kMaxBuffers = 4096;
constexpr ClockTime kPinsEvery = 20 * kNsPerMs; ///< a level is asked for over the network, not per frame
constexpr ClockTime kLook = kNsPerSecond / 2; ///< how often a waiting grab thread looks at the camera
constexpr std::uint32_t kDomainTag = 0x47000000;

/// Every camera has its own clock; the number only has to differ.
std::uint32_t ClockDomainOf(const PGRGuid& guid)
{
    const std::uint32_t uiMix = guid.value[1] * 2654435761U ^ guid.value[2] ^ guid.value[3];
    return kDomainTag | (uiMix & 0x00FFFFFFU);
}

void StoreWord(std::uint8_t* pBytes, std::uint32_t uiValue)
{
    for (int i = 0; i < 4; i++)
        pBytes[i] = static_cast<std::uint8_t>(uiValue >> (24 - 8 * i));
}

} // namespace

DeviceSession::DeviceSession(Clock& clock, std::string strName, std::shared_ptr<SharedGrace> grace)
    : m_clock(clock)
    , m_strName(std::move(strName))
    , m_grace(std::move(grace))
    , m_link(std::make_shared<DeviceLink>(clock))
    , m_embedding(std::make_shared<Embedding>())
    , m_device(std::make_shared<OpenDevice>(m_link, m_embedding))
    , m_worker(clock)
{
}

DeviceSession::~DeviceSession()
{
    m_link->Detach();
    // The device's own thread lets go of the stream, then of the camera; both may take long.
    m_worker.Post([run = SetRun(nullptr)]() mutable { run.reset(); });
    m_worker.Post([device = std::move(m_device)]() mutable { device.reset(); });
    const bool bInTime =
        !m_link->IsGone() && m_worker.Call([] { return true; }, m_grace->Left(m_clock.Now())).has_value();
    if (!bInTime)
        m_worker.Abandon();
    if (!bInTime && !m_link->IsGone())
        m_grace->Exhaust(m_clock.Now());
}

Error DeviceSession::Gone() const { return { ErrorType::Disconnected, m_strName + ": " + m_link->Reason() }; }

Error DeviceSession::Do(const Job& job, ClockTime limit)
{
    if (m_link->IsGone())
        return Gone();
    const std::optional<Error> result =
        m_worker.Call([device = m_device, job] { return job(*device); }, m_question->Patience(m_clock.Now(), limit));
    if (result && !(*result == ErrorType::Disconnected))
        return *result;
    m_link->SetUnanswered();
    return m_link->IsGone() ? Gone() : Error(ErrorType::TransportFailed, m_strName + ": it did not answer in time");
}

void DeviceSession::Later(const Job& job)
{
    m_worker.Post([device = m_device, job] { (void)job(*device); });
}

void DeviceSession::Heard(ClockTime now) { m_heardAt = now; }

void DeviceSession::Watch(ClockTime now)
{
    if (m_answered->exchange(false))
        Heard(now);
    if (m_link->IsGone() || now - m_heardAt < Presence::kSilence)
        return;
    if (m_question->IsOverdue(now))
        m_link->SetGone("it does not answer");
    else
        Ask(now);
}

void DeviceSession::Ask(ClockTime now)
{
    if (m_link->IsGone() || !m_question->Begin(now))
        return;
    Later([question = m_question, answered = m_answered](OpenDevice& device) {
        Error error = AskWhetherThere(device);
        *answered = !device.link->IsGone();
        question->Answer();
        return error;
    });
}

GenicamDevice::GenicamDevice(
    Clock& clock, Log& log, FindRecord findRecord, bool bGigE, std::shared_ptr<SharedGrace> grace)
    : m_clock(clock)
    , m_log(log)
    , m_notes(log)
    , m_findRecord(std::move(findRecord))
    , m_bGigE(bGigE)
    , m_grace(std::move(grace))
{
    const FC2Config initial;
    m_uiNumBuffers = initial.numBuffers;
    m_iGrabMode = static_cast<int>(initial.grabMode);
    m_iGrabTimeoutMs = initial.grabTimeout;
}

GenicamDevice::~GenicamDevice() { (void)Disconnect(); }

std::shared_ptr<DeviceSession> GenicamDevice::Session() const
{
    std::lock_guard lock(m_csSession);
    return m_session;
}

Error GenicamDevice::Connect(const PGRGuid& guid)
{
    if (IsConnected())
        return ErrorType::AlreadyConnected;
    DeviceRecord record;
    if (!m_findRecord(guid, record) || record.bGigE != m_bGigE)
        return ErrorType::NotFound;
    auto session = std::make_shared<DeviceSession>(m_clock, record.Name(), m_grace);
    if (!session->HasThread())
        return m_notes.Note({ ErrorType::OutOfResources, record.Name() + ": " + DeviceWorker::kNoThread });
    auto info = std::make_shared<CameraInfo>();
    const Error error = session->Do(
        [record, info](OpenDevice& device) {
            Error opened = OpenCamera(record, device);
            *info = device.info;
            return opened;
        },
        DeviceSession::kOpenLimit);
    if (error == ErrorType::Disconnected) // it was listed once and does not answer now
        return m_notes.Note({ ErrorType::NotFound, error.GetDescription() });
    if (!error.IsOk())
        return m_notes.Note(error);
    session->m_info = *info;
    session->m_info.clockDomain = ClockDomainOf(guid);
    std::lock_guard lock(m_csSession);
    m_session = std::move(session);
    m_lastStatistics = {};
    return {};
}

Error GenicamDevice::Disconnect()
{
    if (!IsConnected())
        return ErrorType::NotConnected;
    (void)StopCapture();
    std::shared_ptr<DeviceSession> session;
    std::lock_guard lock(m_csSession);
    session = std::move(m_session);
    m_session = nullptr;
    return {};
}

Error GenicamDevice::GetCameraInfo(CameraInfo& info) const
{
    const auto session = Session();
    if (!session)
        return ErrorType::NotConnected;
    if (session->Link()->IsGone())
        return session->Gone();
    info = session->m_info;
    return {};
}

Error GenicamDevice::GetConfiguration(FC2Config& config) const
{
    const auto session = Session();
    if (!session)
        return ErrorType::NotConnected;
    if (session->Link()->IsGone())
        return session->Gone();
    config.numBuffers = m_uiNumBuffers;
    config.grabMode = static_cast<GrabMode>(m_iGrabMode.load());
    config.grabTimeout = m_iGrabTimeoutMs;
    return {};
}

Error GenicamDevice::SetConfiguration(const FC2Config& config)
{
    const auto session = Session();
    if (!session)
        return ErrorType::NotConnected;
    if (session->Link()->IsGone())
        return session->Gone();
    const bool bMode = config.grabMode == GrabMode::DropFrames || config.grabMode == GrabMode::BufferFrames;
    if (config.numBuffers < kMinBuffers || config.numBuffers > kMaxBuffers || config.grabTimeout < -1 || !bMode)
        return ErrorType::InvalidParameter;
    m_uiNumBuffers = config.numBuffers;
    m_iGrabMode = static_cast<int>(config.grabMode);
    m_iGrabTimeoutMs = config.grabTimeout;
    session->Link()->Poke(); // a waiting grab thread keeps the new time-out
    return {};
}

Error GenicamDevice::Do(const DeviceSession::Job& job)
{
    const auto session = Session();
    return session ? m_notes.Note(session->Do(job)) : Error(ErrorType::NotConnected);
}

Error GenicamDevice::PrepareCapture()
{
    const auto session = Session();
    if (!session)
        return ErrorType::NotConnected;
    if (session->Link()->IsGone())
        return session->Gone();
    if (session->Run())
        return ErrorType::AlreadyStarted;
    auto run = std::make_shared<StreamRun>(session->Link());
    auto memory = std::make_shared<std::shared_ptr<BufferMemory>>(session->m_memory);
    auto note = std::make_shared<std::string>();
    const Error error = session->Do([run, memory, note, uiBuffers = m_uiNumBuffers.load()](OpenDevice& device) {
        if (Error applied = ApplyFrameRate(device); !applied.IsOk())
            return applied;
        if (Error clear = ClearOtherTriggers(device); !clear.IsOk())
            return clear;
        if (Error read = ReadRateNote(device, *note); !read.IsOk())
            return read;
        // Data behind the pixels would change what a frame looks like on its way.
        if (device.features->Has(Feature::ChunkModeActive))
            if (Error plain = device.features->SetSwitch(Feature::ChunkModeActive, false); !plain.IsOk())
                return plain;
        if (device.features->HasChoice(Feature::AcquisitionMode, "Continuous"))
            if (Error mode = device.features->SetChoice(Feature::AcquisitionMode, "Continuous"); !mode.IsOk())
                return mode;
        Error opened = run->Open(device, uiBuffers, *memory);
        if (!opened.IsOk())
            run->Close();
        return opened;
    });
    if (!error.IsOk()) {
        session->Link()->EndRun();
        return m_notes.Note(error);
    }
    if (*note != std::exchange(m_strRateNote, *note) && !note->empty())
        m_log.Write(*note);
    session->m_memory = *memory;
    session->Heard(m_clock.Now());
    session->SetRun(std::move(run));
    return {};
}

Error GenicamDevice::BeginCapture()
{
    return Do([](OpenDevice& device) {
        GErrorSlot slot;
        arv_camera_start_acquisition(device.camera.get(), slot.Out());
        device.bCapturing = !slot;
        return device.features->Translate(slot.Get(), "start of the acquisition", ErrorType::InvalidSettings);
    });
}

Error GenicamDevice::StartCapture()
{
    if (Error error = PrepareCapture(); !error.IsOk())
        return error;
    Error error = BeginCapture();
    if (!error.IsOk())
        (void)StopCapture();
    return error;
}

Error GenicamDevice::StopCapture()
{
    const auto session = Session();
    if (!session)
        return ErrorType::NotConnected;
    session->Link()->EndRun(); // the grab thread comes out and finds no further way in
    std::shared_ptr<StreamRun> run;
    {
        std::lock_guard lock(session->m_csRetrieve);
        run = session->SetRun(nullptr);
    }
    if (!run)
        return session->Link()->IsGone() ? session->Gone() : Error(ErrorType::NotStarted);
    // The camera stops before its stream goes, else it would send on to the old port.
    const auto stop = [run](OpenDevice& device) {
        GErrorSlot slot;
        if (!device.link->IsGone())
            arv_camera_stop_acquisition(device.camera.get(), slot.Out());
        device.bCapturing = false;
        run->Close();
        return device.features->Translate(slot.Get(), "stop of the acquisition", ErrorType::TransportFailed);
    };
    Error error = session->Gone();
    if (session->Link()->IsGone())
        session->Later(stop);
    else
        error = session->Do(stop);
    std::lock_guard lock(m_csSession);
    m_lastStatistics = run->Statistics();
    return error;
}

Error GenicamDevice::RetrieveBuffer(Image& image)
{
    const auto session = Session();
    if (!session)
        return ErrorType::NotConnected;
    std::lock_guard lock(session->m_csRetrieve);
    const auto held = session->Run();
    if (!held)
        return session->Link()->IsGone() ? session->Gone() : Error(ErrorType::NothingToDeliver);
    StreamRun& run = *held;
    run.Return();
    ClockTime arrival = 0;
    switch (Await(*session, arrival)) {
    case DeviceLink::Wait::Timeout: return ErrorType::Timeout;
    case DeviceLink::Wait::Cancelled: return ErrorType::NothingToDeliver;
    case DeviceLink::Wait::Gone: return session->Gone();
    case DeviceLink::Wait::Frame: break;
    }
    StreamRun::Frame frame = run.Next();
    const bool bNewestOnly = static_cast<GrabMode>(m_iGrabMode.load()) == GrabMode::DropFrames;
    while (bNewestOnly && session->Link()->FrameWaits()
        && session->Link()->TakeFrame(0, arrival) == DeviceLink::Wait::Frame)
        frame = run.Next();
    if (!frame.bComplete)
        return ErrorType::NothingToDeliver;
    if (frame.age)
        arrival = std::min(arrival, m_clock.Now() - *frame.age);
    Deliver(*session, run, frame, arrival, image);
    return {};
}

/// Waits as long as the grab time-out says, in short steps, so that a camera that has died is noticed
/// while the program waits for it.
DeviceLink::Wait GenicamDevice::Await(DeviceSession& session, ClockTime& arrival)
{
    const ClockTime begin = m_clock.Now();
    for (;;) {
        const int iTimeoutMs = m_iGrabTimeoutMs;
        const ClockTime deadline = iTimeoutMs < 0 ? kForever : begin + iTimeoutMs * kNsPerMs;
        const DeviceLink::Wait eWait = session.Link()->TakeFrame(std::min(deadline, m_clock.Now() + kLook), arrival);
        if (eWait == DeviceLink::Wait::Frame)
            session.Heard(arrival);
        if (eWait != DeviceLink::Wait::Timeout)
            return eWait;
        session.Watch(m_clock.Now());
        if (m_clock.Now() >= deadline && m_iGrabTimeoutMs == iTimeoutMs)
            return eWait;
    }
}

/// Writes the header that the camera's frames are asked to carry and lends the driver's buffer.
void GenicamDevice::Deliver(
    DeviceSession& session, StreamRun& run, const StreamRun::Frame& frame, ClockTime arrival, Image& image)
{
    const FrameShape& shape = run.Shape();
    const Embedding& header = session.Header();
    if (header.bTime)
        StoreWord(frame.pData, header.bClock ? CycleTimeOf(frame.uiTimeNs) : 0); // the driver has put in its own
    if (header.bPins) {
        StoreWord(frame.pData + 4, header.uiPins);
        RefreshPins(session, arrival);
    }
    image = Image(shape.uiHeight, shape.uiWidth, shape.uiWidth, frame.pData, shape.uiWidth * shape.uiHeight,
        shape.ePixelFormat, shape.eBayer);
    image.SetArrivalTime(arrival);
}

/// Has the levels of the lines read in the background, now and then.
void GenicamDevice::RefreshPins(DeviceSession& session, ClockTime now)
{
    if (now - m_pinsAt < kPinsEvery || session.Header().bPinsAsked.exchange(true))
        return; // a camera that takes long to answer is not asked faster than it does
    m_pinsAt = now;
    session.Later([](OpenDevice& device) {
        std::uint32_t uiPins = 0;
        Error error = device.link->IsGone() ? Error(ErrorType::Disconnected) : ReadPins(device, uiPins);
        if (error.IsOk())
            device.embedding->uiPins = uiPins;
        if (error == ErrorType::Disconnected)
            device.link->SetUnanswered();
        device.embedding->bPinsAsked = false;
        return error;
    });
}

void GenicamDevice::CancelRetrieve()
{
    const auto session = Session();
    if (!session)
        return;
    session->Link()->Cancel();
    // All cameras are cancelled before the first is stopped: those that are dead are waited for side by side.
    session->Ask(m_clock.Now());
}

StreamStatistics GenicamDevice::GetStreamStatistics() const
{
    const auto session = Session();
    if (!session)
        return {};
    if (const auto run = session->Run())
        return run->Statistics();
    std::lock_guard lock(m_csSession);
    return m_lastStatistics;
}

} // namespace vireo
