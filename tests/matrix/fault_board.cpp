#include "matrix/fault_board.h"

#include <array>
#include <string_view>

namespace vireo::test {

namespace {

constexpr std::array<const char*, kSeamCount> kSeamNames = { "AvailableKiB", "CreateArena", "Reserve", "Release",
    "Region", "ResidentKiB", "StartTouching", "StopTouching", "TouchedBytes", "IsShort", "CreateVideo", "OpenVideo",
    "AppendVideo", "CloseVideo", "GetFiles", "ReadBack", "Convert", "WriteSidecar", "FindWindow", "PostPartner",
    "SendPartner", "CancelPartner", "Drive", "Decode", "Encode", "ShowMessage", "ConfirmCameras", "ChooseSavePath",
    "PostCommand", "SetViewTimers", "StartExitTimer", "RedrawView", "PlaceViews", "SetMainTitle", "RefreshPanel",
    "ShowControlPanel", "SetStatusText", "AddRecentFile", "BeginProgress", "SetProgress", "EndProgress", "Settle",
    "CreateThread" };

constexpr ClockTime kTimeOut = kNsPerSecond;
constexpr ClockTime kLate = 300 * kNsPerMs;
constexpr ClockTime kSlow = 700 * kNsPerMs;
constexpr ClockTime kBoxStands = 3 * kNsPerSecond;

} // namespace

std::string KindName(CallKind kind)
{
    if (kind < kOperationCount)
        return std::string(OperationName(static_cast<Operation>(kind)));
    return kSeamNames[kind - kOperationCount];
}

const char* WayName(Way eWay)
{
    switch (eWay) {
    case Way::Refused: return "refused";
    case Way::AnswerLost: return "answer lost";
    case Way::TimedOut: return "timed out";
    case Way::Unplugged: return "unplugged";
    case Way::BoxLeftOpen: return "refused, box left open";
    case Way::FetchTimeout: return "no frame in time";
    case Way::FetchNothing: return "nothing to deliver";
    case Way::FetchInconsistent: return "inconsistent frame";
    case Way::Torn: return "torn frame";
    case Way::Lost: return "lost frame";
    case Way::Late: return "late frame";
    case Way::Hung: return "hung";
    case Way::Fails: return "fails";
    case Way::Differs: return "differs";
    case Way::Slow: return "slow";
    }
    return "?";
}

void FaultBoard::Watch(std::optional<PlannedFault> fault)
{
    std::lock_guard lock(m_mutex);
    m_bWatching = true;
    m_fault = fault;
    m_calls.clear();
    m_counts.clear();
    m_kindCounts.clear();
    m_gone.clear();
    m_hung.clear();
    m_held = 0;
    m_bBoxStands = false;
}

void FaultBoard::Forgive()
{
    std::lock_guard lock(m_mutex);
    m_bWatching = false;
    m_fault.reset();
}

void FaultBoard::Rest()
{
    std::lock_guard lock(m_mutex);
    m_bWatching = false;
    m_fault.reset();
    m_gone.clear();
    m_hung.clear();
    m_bBoxStands = false;
}

std::vector<SeenCall> FaultBoard::Calls() const
{
    std::lock_guard lock(m_mutex);
    return m_calls;
}

ClockTime FaultBoard::Held() const
{
    std::lock_guard lock(m_mutex);
    return m_held;
}

bool FaultBoard::IsGone(int iCamera) const { return Contains(m_gone, iCamera); }

bool FaultBoard::Contains(const std::set<int>& cameras, int iCamera) const
{
    std::lock_guard lock(m_mutex);
    return cameras.contains(iCamera);
}

void FaultBoard::Hold(ClockTime time)
{
    {
        std::lock_guard lock(m_mutex);
        m_held += time;
    }
    m_clock.SleepUntil(m_clock.Now() + time);
}

// The way in which this call goes wrong, if it does.
std::optional<Way> FaultBoard::Note(CallKind kind, int iCamera, const std::string& strArguments)
{
    std::lock_guard lock(m_mutex);
    if (!m_bWatching)
        return std::nullopt;
    SeenCall call { kind, iCamera, ++m_counts[{ kind, iCamera }], std::this_thread::get_id() == m_ui, strArguments };
    const int iOfKind = ++m_kindCounts[kind];
    bool bMet = m_fault && m_fault->kind == kind;
    if (bMet && m_fault->iCamera != kAnyCamera)
        bMet = m_fault->iCamera == iCamera
            && (m_fault->iNth == 0 || m_fault->iNth == call.iNth || (m_fault->bOnwards && call.iNth > m_fault->iNth));
    else if (bMet)
        bMet = m_fault->iNth == 0 || m_fault->iNth == iOfKind;
    call.bFailed = bMet;
    m_calls.push_back(std::move(call));
    return bMet ? std::optional(m_fault->eWay) : std::nullopt;
}

std::optional<Way> FaultBoard::Enter(Seam eSeam)
{
    const std::optional<Way> way = Note(KindOf(eSeam), kNoCamera, {});
    const bool bUi = std::this_thread::get_id() == m_ui;
    bool bStands = false;
    {
        std::lock_guard lock(m_mutex);
        bStands = eSeam == Seam::ShowMessage && m_bBoxStands;
    }
    // Calls of other threads return at once, whatever the screen is busy with.
    if (bUi && (way == Way::Slow || bStands))
        Hold(bStands ? kBoxStands : kSlow);
    return way;
}

Error FaultBoard::Around(const LibraryCall& call, const std::function<Error()>& perform)
{
    const std::optional<Way> way = Note(KindOf(call.eOperation), call.iCamera, call.strArguments);
    if (call.eOperation == Operation::SetConfiguration) {
        const std::size_t uiAt = call.strArguments.find("time-out ");
        std::lock_guard lock(m_mutex);
        m_timeoutMs[call.iCamera] = std::stoi(call.strArguments.substr(uiAt + std::string_view("time-out ").size()));
    }
    if (way == Way::Unplugged) {
        std::lock_guard lock(m_mutex);
        m_gone.insert(call.iCamera);
    }
    if (call.iCamera != kNoCamera && IsGone(call.iCamera)) {
        if (call.eOperation == Operation::Disconnect || call.eOperation == Operation::StopCapture)
            (void)perform(); // nothing is left to be driven
        return ErrorType::Disconnected;
    }
    if (call.eOperation == Operation::RetrieveBuffer)
        return Fetch(call, perform, way);
    if (way == Way::BoxLeftOpen) {
        std::lock_guard lock(m_mutex);
        m_bBoxStands = true;
    }
    if (way == Way::TimedOut) {
        Hold(kTimeOut);
        return ErrorType::Timeout;
    }
    if (way == Way::AnswerLost)
        (void)perform();
    return way ? Error(ErrorType::TransportFailed) : perform();
}

Error FaultBoard::Fetch(const LibraryCall& call, const std::function<Error()>& perform, std::optional<Way> way)
{
    if (way == Way::Hung) {
        std::lock_guard lock(m_mutex);
        m_hung.insert(call.iCamera);
    }
    if (Contains(m_hung, call.iCamera))
        return FetchNoMore(call.iCamera, perform);
    Error error;
    switch (way.value_or(Way::Slow)) {
    case Way::Refused:
    case Way::BoxLeftOpen: return ErrorType::TransportFailed;
    case Way::FetchTimeout: return ErrorType::Timeout;
    case Way::FetchInconsistent: return ErrorType::InconsistentFrame;
    case Way::FetchNothing: m_clock.SleepMs(1); return ErrorType::NothingToDeliver;
    case Way::Torn: error = perform(); return error.IsOk() ? Error(ErrorType::NothingToDeliver) : error;
    case Way::Lost: error = perform(); return error.IsOk() ? perform() : error;
    case Way::Late:
        error = perform();
        m_clock.SleepUntil(m_clock.Now() + kLate);
        return error;
    default: error = perform(); break;
    }
    return IsGone(call.iCamera) ? Error(ErrorType::Disconnected) : error;
}

// The camera exposes, but nothing comes through: as long as the fetch is configured to wait.
Error FaultBoard::FetchNoMore(int iCamera, const std::function<Error()>& perform)
{
    int iTimeoutMs = -1;
    {
        std::lock_guard lock(m_mutex);
        const auto found = m_timeoutMs.find(iCamera);
        iTimeoutMs = found == m_timeoutMs.end() ? -1 : found->second;
    }
    const ClockTime deadline = iTimeoutMs < 0 ? kForever : m_clock.Now() + iTimeoutMs * kNsPerMs;
    for (;;) {
        const Error error = perform();
        if (!error.IsOk())
            return error;
        if (m_clock.Now() >= deadline)
            return ErrorType::Timeout;
    }
}

} // namespace vireo::test
