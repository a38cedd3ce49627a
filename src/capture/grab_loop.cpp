#include "capture/grab_loop.h"

#include "capture/frame_writer.h"
#include "capture/grab_roles.h"
#include "capture/panel_rules.h"

#include <algorithm>
#include <span>
#include <string>
#include <utility>

namespace vireo {

namespace {

/// Slots of lost frames that get a picture in their place. A recording can begin only a few frames back.
constexpr std::int64_t kStandIns = 16;

double PeriodOf(const CaptureSnapshot& running) { return running.iFps > 0 ? 1.0 / running.iFps : 0.0; }

// In trigger wait the frames come when the outside world says so: no interval shows a loss.
bool IsPeriodic(const CaptureSnapshot& running)
{
    return running.iMode != capture_mode::kRing || !running.bTriggerWaitRing;
}

} // namespace

GrabLoop::GrabLoop(CVireoDoc& doc, GrabThreads& threads, std::size_t uiCamera, GrabRole& role)
    : m_doc(doc)
    , m_threads(threads)
    , m_uiCamera(uiCamera)
    , m_role(role)
    , m_running(doc.m_capture.m_running)
    , m_counter(IsPeriodic(m_running) ? PeriodOf(m_running) : 0.0)
{
}

void GrabLoop::Run()
{
    m_role.Begin(*this);
    while (!Leaving() && Pass()) { }
    m_role.Leave(*this);
}

bool GrabLoop::Pass()
{
    if (!Capture().m_bCapturing) {
        GetPlatform().clock.SleepMs(1);
        return true;
    }
    if (!m_role.BeginPass(*this))
        return false;
    const Fetched eFetched = Fetch();
    if (eFetched != Fetched::Frame)
        return eFetched == Fetched::Nothing;

    NumberFrame();
    if (m_role.SetsAside(*this))
        return true;
    SkipLostSlots();
    StoreFrameInHand();
    ShowFrame();
    m_role.BeforeCount(*this);
    if (Leaving())
        return false;
    CountFrameInHand();
    TestDone();
    m_role.EndPass(*this);
    return true;
}

GrabLoop::Fetched GrabLoop::Fetch()
{
    Error error = CameraOf(m_doc, m_uiCamera).RetrieveBuffer(m_raw);
    // A stop wakes the wait with an error of its own; and nothing may be touched once it has begun.
    if (Leaving())
        return Fetched::Ended;
    if (Status().m_bStalled)
        error = ErrorType::Timeout;
    else if (error == ErrorType::Timeout && m_role.SkipsTimeout())
        return Fetched::Nothing;
    else if (error == ErrorType::NothingToDeliver) {
        if (m_bNothingBefore)
            GetPlatform().clock.SleepMs(1);
        m_bNothingBefore = true;
        return Fetched::Nothing;
    }
    m_bNothingBefore = false;
    if (error.IsOk())
        return Fetched::Frame;
    Fail(error);
    return Fetched::Ended;
}

void GrabLoop::Fail(const Error& error)
{
    m_role.ShowFetchFailure(*this, error);
    PrintErrorTrace(GetPlatform().log, error, "RetrieveBuffer() of camera " + std::to_string(m_uiCamera));
    m_threads.NoteFailure();
    Capture().m_bThreadEnded[m_uiCamera] = true;
    m_threads.Stop();
    Capture().m_iCaptureState = capture_state::kLive;
    UpdatePanelState(m_doc);
}

void GrabLoop::NumberFrame()
{
    if (m_raw.GetData() != nullptr && m_raw.GetDataSize() >= 4)
        m_dFrameTime = FrameTimestampSeconds(FrameCycleTime(std::span<const std::uint8_t, 4>(m_raw.GetData(), 4)));
    m_iNumber = m_counter.Next(m_dFrameTime);
    Status().m_lastDelivery = GetPlatform().clock.Now();
}

// Slots count exposures, so that the same slot means the same moment on every camera: until the recording
// has its first frame, the slots of lost frames are passed over. From then on frames stay consecutive and
// a loss is a gap that the report tells.
void GrabLoop::SkipLostSlots()
{
    FrameStore& store = Store();
    const std::int64_t iMissing = m_counter.Missing();
    const int iCount = store.m_isaveFrameCount[m_uiCamera];
    if (iMissing < 1 || iCount > 0)
        return;
    NoteLost(iMissing, iCount);
    const int iSlots = store.m_iBufferFrames;
    if (!IsRing() || iSlots < 1)
        return;
    const int iEnd = store.m_iendFrame[m_uiCamera] % iSlots;
    const std::int64_t iPassed = std::min<std::int64_t>(iMissing, iSlots - 1);
    for (std::int64_t i = 1; i <= iPassed; ++i) {
        const int iSlot = static_cast<int>((iEnd + iMissing - i) % iSlots);
        if (i <= kStandIns)
            StoreFrameAt(store, m_uiCamera, iSlot, m_raw, -1);
        else if (store.Slot(m_uiCamera, iSlot) != nullptr)
            store.m_evidence[m_uiCamera][static_cast<std::size_t>(iSlot)].iExposure = -1;
    }
    store.m_iendFrame[m_uiCamera] = static_cast<int>((iEnd + iMissing) % iSlots);
    if (iCount != kIdleFrameCount)
        store.m_isaveFrameCount[m_uiCamera] = static_cast<int>(iCount + iMissing);
}

// A camera that joined behind the mark has frames to come that are not part of the recording.
void GrabLoop::NoteLost(std::int64_t iMissing, int iCount)
{
    const bool bJoined = iCount != kIdleFrameCount;
    Store().m_iLostBefore[m_uiCamera] +=
        static_cast<int>(bJoined ? std::min<std::int64_t>(iMissing, -iCount) : iMissing);
}

void GrabLoop::StoreFrameInHand()
{
    const StoreResult eResult = StoreFrame(Store(), m_uiCamera, m_raw, m_iNumber);
    if (eResult == StoreResult::Truncated && !std::exchange(m_bTruncated, true))
        GetPlatform().log.Write("camera " + std::to_string(m_uiCamera) + ": frames of "
            + std::to_string(m_raw.GetDataSize()) + " bytes are cut to the slot's size");
    if (eResult == StoreResult::Skipped && !std::exchange(m_bSkipped, true))
        GetPlatform().log.Write(
            "camera " + std::to_string(m_uiCamera) + ": a frame was not stored, there was no memory for its slot");
    Status().m_dFrameTime = m_dFrameTime;
    ++Status().m_uiFrames;
}

void GrabLoop::ShowFrame()
{
    const Error error = ShowInView(m_doc, m_uiCamera, m_raw);
    if (!error.IsOk() && !m_bConversionFailed)
        PrintErrorTrace(GetPlatform().log, error, "Convert() of camera " + std::to_string(m_uiCamera));
    m_bConversionFailed = !error.IsOk();
}

void GrabLoop::WaitWhile(const std::function<bool()>& condition)
{
    while (!Leaving() && !Capture().m_bStopping && !Capture().m_bThreadEnded[0] && condition())
        GetPlatform().clock.SleepMs(1);
}

void GrabLoop::CountFrameInHand()
{
    FrameStore& store = Store();
    const RecordingSituation situation { .iMode = m_running.iMode,
        .bRecording = Capture().m_iCaptureState == capture_state::kRecording,
        .bDone = store.m_bRecordDone[m_uiCamera],
        .iStartMark = store.m_iStartMark,
        .iBufferFrames = store.m_iBufferFrames };
    const RecordingPlace before { .iEnd = store.m_iendFrame[m_uiCamera],
        .iCount = store.m_isaveFrameCount[m_uiCamera],
        .iStart = store.m_istartFrame[m_uiCamera] };
    const RecordingPlace after = CountFrame(before, situation);
    if (after.bJoined) {
        store.m_istartFrame[m_uiCamera] = after.iStart;
        m_bDoneCounted = false;
        // Lost frames whose slots already belong to the recording are told as its gaps.
        for (int i = 0; IsRing() && i < after.iCount; ++i) {
            const int iSlot = RingSlot(after.iStart, i, store.m_iBufferFrames);
            if (store.Slot(m_uiCamera, iSlot) != nullptr
                && store.m_evidence[m_uiCamera][static_cast<std::size_t>(iSlot)].iExposure < 0
                && store.m_iLostBefore[m_uiCamera] > 0) // frames without a slot to go to were not lost on the way
                --store.m_iLostBefore[m_uiCamera];
        }
    }
    store.m_isaveFrameCount[m_uiCamera] = after.iCount;
    store.m_iendFrame[m_uiCamera] = after.iEnd;
    m_role.AfterCount(*this, after);
}

void GrabLoop::TestDone()
{
    FrameStore& store = Store();
    const int iCount = store.m_isaveFrameCount[m_uiCamera];
    if (store.m_bRecordDone[m_uiCamera]
        || !IsRecordingDone(m_running.iMode, iCount, store.m_iRecordTarget, store.m_iBufferFrames))
        return;
    store.m_bRecordDone[m_uiCamera] = true;
    // The operator may take the flag back ("save after recording"); a camera counts once all the same.
    if (!std::exchange(m_bDoneCounted, true))
        ++store.m_uiDoneCameras;
    m_role.Done(*this);
}

void RunGrabThread(CVireoDoc& doc, GrabThreads& threads, std::size_t uiCamera)
{
    const int iMode = doc.m_capture.m_running.iMode;
    if (iMode != capture_mode::kLinear && iMode != capture_mode::kRing)
        return;
    const std::unique_ptr<GrabRole> role = MakeGrabRole(uiCamera);
    GrabLoop(doc, threads, uiCamera, *role).Run();
}

} // namespace vireo
