#include "platform/simulated/camera_link.h"

#include <algorithm>

namespace vireo {

CameraLink::CameraLink(Simulation& simulation, Device& first, bool bGigE)
    : m_simulation(simulation)
    , m_pDevice(&first)
    , m_bGigE(bGigE)
{
}

CameraLink::~CameraLink()
{
    std::lock_guard lock(m_simulation.Mutex());
    Release();
}

/// What every operation begins with: a fault that was asked for, then the camera's own state.
Error CameraLink::Begin(Operation eOperation)
{
    if (Error fault = m_simulation.Errors().Count(eOperation, m_pDevice); !fault.IsOk())
        return fault;
    if (!m_bConnected)
        return ErrorType::NotConnected;
    m_simulation.Advance();
    return m_pDevice->bGone ? ErrorType::Disconnected : ErrorType::Ok;
}

Error CameraLink::Do(Operation eOperation, const std::function<Error(Device& device)>& work)
{
    std::lock_guard lock(m_simulation.Mutex());
    if (Error error = Begin(eOperation); !error.IsOk())
        return error;
    return work(*m_pDevice);
}

Error CameraLink::Change(Operation eOperation, const std::function<Error(Device& device)>& work)
{
    return Do(eOperation, [this, &work](Device& device) {
        Error error = work(device);
        m_simulation.Network().SettingsChanged(device, m_simulation.Advance());
        m_simulation.WakeAll();
        return error;
    });
}

Error CameraLink::ChangeImage(Operation eOperation, const std::function<Error(Device& device)>& work)
{
    return Do(eOperation,
        [&work](Device& device) { return device.run.bRunning ? Error(ErrorType::AlreadyStarted) : work(device); });
}

Error CameraLink::Connect(const PGRGuid& guid)
{
    std::lock_guard lock(m_simulation.Mutex());
    Device* const pDevice = m_simulation.Find(guid);
    if (Error fault = m_simulation.Errors().Count(Operation::Connect, pDevice); !fault.IsOk())
        return fault;
    if (m_bConnected)
        return ErrorType::AlreadyConnected;
    m_simulation.Advance();
    if (pDevice == nullptr || pDevice->bGone || (pDevice->info.interfaceType == InterfaceType::GigE) != m_bGigE)
        return ErrorType::NotFound;
    if (pDevice->bConnected)
        return ErrorType::AccessDenied;
    m_pDevice = pDevice;
    m_bConnected = true;
    pDevice->bConnected = true;
    return {};
}

Error CameraLink::Disconnect()
{
    std::lock_guard lock(m_simulation.Mutex());
    Error error = Begin(Operation::Disconnect);
    if (error.IsOk() || error == ErrorType::Disconnected)
        Release();
    return error;
}

void CameraLink::Release()
{
    if (!m_bConnected)
        return;
    if (m_pDevice->run.bRunning)
        m_simulation.Network().Stop(*m_pDevice, m_simulation.Advance());
    m_bConnected = false;
    m_pDevice->bConnected = false;
    m_simulation.WakeAll();
}

bool CameraLink::IsConnected() const
{
    std::lock_guard lock(m_simulation.Mutex());
    return m_bConnected;
}

void CameraLink::PrepareScene()
{
    SceneShape shape;
    {
        std::lock_guard lock(m_simulation.Mutex());
        shape = m_pDevice->settings.Shape();
        if (!m_bConnected || (m_pDevice->scene && m_pDevice->scene->Shape() == shape))
            return;
    }
    auto scene = std::make_shared<Scene>(*m_simulation.Backgrounds(shape));
    std::lock_guard lock(m_simulation.Mutex());
    m_pDevice->scene = std::move(scene);
}

Error CameraLink::CheckStart() const
{
    if (!m_bConnected)
        return ErrorType::NotConnected;
    if (m_pDevice->bGone)
        return ErrorType::Disconnected;
    return m_pDevice->run.bRunning ? ErrorType::AlreadyStarted : ErrorType::Ok;
}

Error CameraLink::StartCapture()
{
    PrepareScene();
    return Do(Operation::StartCapture, [this](Device& device) {
        if (Error error = CheckStart(); !error.IsOk())
            return error;
        m_simulation.Network().Start(device, m_simulation.Advance());
        m_simulation.WakeAll();
        return Error();
    });
}

Error CameraLink::StopCapture()
{
    return Do(Operation::StopCapture, [this](Device& device) -> Error {
        if (!device.run.bRunning)
            return ErrorType::NotStarted;
        m_simulation.Network().Stop(device, m_simulation.Advance());
        m_simulation.WakeAll();
        return {};
    });
}

void CameraLink::CancelRetrieve()
{
    std::lock_guard lock(m_simulation.Mutex());
    if (!m_bConnected)
        return;
    m_pDevice->run.bCancelled = true;
    m_simulation.GetClock().NotifyAll(m_pDevice->changed);
}

StreamStatistics CameraLink::GetStreamStatistics() const
{
    std::lock_guard lock(m_simulation.Mutex());
    m_simulation.Advance();
    return m_bConnected ? m_pDevice->run.statistics : StreamStatistics();
}

/// One look at the queue. `bFound` is left clear when there is nothing yet.
Error CameraLink::NextFrame(std::uint64_t uiRun, FrameOnTheWay& frame, bool& bFound)
{
    CaptureRun& run = m_pDevice->run;
    if (m_pDevice->bGone)
        return ErrorType::Disconnected;
    if (!m_bConnected || !run.bRunning || run.bCancelled || run.uiNumber != uiRun)
        return ErrorType::NothingToDeliver;
    if (run.ready.Empty())
        return {};
    frame = run.ready.Pop();
    bFound = true;
    if (!frame.bTorn)
        return {};
    ++run.statistics.incomplete;
    return ErrorType::NothingToDeliver;
}

Error CameraLink::WaitForFrame(std::unique_lock<std::mutex>& lock, FrameOnTheWay& frame)
{
    Clock& clock = m_simulation.GetClock();
    const std::uint64_t uiRun = m_pDevice->run.uiNumber;
    const ClockTime entered = clock.Now();
    for (;;) {
        const ClockTime now = m_simulation.Advance();
        bool bFound = false;
        if (Error error = NextFrame(uiRun, frame, bFound); !error.IsOk() || bFound)
            return error;
        const int iTimeoutMs = m_pDevice->settings.config.grabTimeout;
        const ClockTime deadline = iTimeoutMs < 0 ? kForever : entered + iTimeoutMs * kNsPerMs;
        if (now >= deadline)
            return ErrorType::Timeout;
        clock.Wait(lock, m_pDevice->changed, std::min(deadline, m_simulation.Network().NextDelivery(*m_pDevice)));
    }
}

Error CameraLink::RetrieveBuffer(Image& image)
{
    FrameOnTheWay frame;
    FrameHeader header;
    std::shared_ptr<Scene> scene;
    BayerTileFormat eBayer {};
    PixelFormat eFormat {};
    {
        std::unique_lock lock(m_simulation.Mutex());
        if (Error error = Begin(Operation::RetrieveBuffer); !error.IsOk())
            return error;
        if (Error error = WaitForFrame(lock, frame); !error.IsOk())
            return error;
        const std::uint32_t uiEmbedded = m_pDevice->settings.ReadRegister(kEmbeddedInformation);
        header.bTime = (uiEmbedded & kEmbedTime) != 0;
        header.bPins = (uiEmbedded & kEmbedPinState) != 0;
        scene = m_pDevice->scene;
        eBayer = m_pDevice->settings.Bayer();
        eFormat = m_pDevice->settings.GetImage().pixelFormat;
    }
    const ClockTime sinceStart = frame.exposed - m_simulation.Start();
    header.uiCycleTime = CycleTime(m_pDevice->clock, sinceStart);
    header.uiPinState = frame.bLineHigh ? kEmbeddedPinsHigh : 0;
    const SceneShape shape = scene->Shape();
    image = Image(shape.uiHeight, shape.uiWidth, shape.uiWidth, scene->Render(sinceStart, header),
        shape.uiWidth * shape.uiHeight, eFormat, eBayer);
    image.SetArrivalTime(frame.delivered);
    return {};
}

Error CameraLink::ReadRegister(std::uint32_t uiAddress, std::uint32_t& uiValue)
{
    return Do(Operation::ReadRegister, [this, uiAddress, &uiValue](Device& device) {
        uiValue = device.settings.ReadRegister(uiAddress);
        if (uiAddress == kPinState && m_simulation.Network().LineHigh(m_simulation.Advance()))
            uiValue |= kPinStateHigh;
        return Error();
    });
}

Error CameraLink::WriteRegister(std::uint32_t uiAddress, std::uint32_t uiValue)
{
    return Change(Operation::WriteRegister, [this, uiAddress, uiValue](Device& device) {
        const std::uint32_t uiBefore = device.settings.ReadRegister(uiAddress);
        Error error = device.settings.WriteRegister(uiAddress, uiValue);
        if (error.IsOk() && uiAddress == kOutputLevel && device.uiCamera == 0)
            m_simulation.Network().OutputChanged(uiBefore, m_simulation.Advance());
        return error;
    });
}

} // namespace vireo
