#include "capture/grab_threads.h"

#include "capture/camera_stop.h"
#include "capture/grab_loop.h"
#include "capture/monitor.h"
#include "capture/panel_rules.h"
#include "capture/recording_marks.h"
#include "capture/recording_rules.h"
#include "capture/strobe.h"
#include "capture/sync_check.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>

namespace vireo {

namespace {

constexpr ClockTime kStopLimit = 1000 * kNsPerMs; // for all threads together
constexpr ClockTime kStopRest = 150 * kNsPerMs; // beyond it, for who waits until they are gone

constexpr int kAlignReach = 9; // frames that the alignment of the starts may move them on

// Set on the capture's own threads: whose they are.
thread_local const GrabThreads* t_pOwner = nullptr;

} // namespace

GrabThreads::GrabThreads(CVireoDoc& doc)
    : m_doc(doc)
    , m_clock(doc.GetPlatform().clock)
{
}

GrabThreads::~GrabThreads()
{
    Stop();
    Join();
}

bool GrabThreads::Leaving(std::size_t uiCamera) const
{
    return m_status[uiCamera].m_bLeave || !m_doc.m_capture.m_bGrabRun[uiCamera];
}

void GrabThreads::NoteFailure()
{
    KeepRecording();
    m_bFailed = true;
}

void GrabThreads::KeepRecording()
{
    if (m_doc.m_capture.m_iCaptureState == capture_state::kRecording)
        m_bBrokenRecording = true;
}

// False when the system has no thread to give.
bool GrabThreads::Launch(std::size_t uiWorker, std::function<void()> run)
{
    m_threads[uiWorker] = ClockThread(m_clock, [this, run = std::move(run)] {
        t_pOwner = this;
        run();
    });
    return m_threads[uiWorker].Joinable();
}

void GrabThreads::Start(ThreadStartOrder eOrder)
{
    Join(); // of an earlier run whose camera woke late
    CaptureFlags& capture = m_doc.m_capture;
    const unsigned int uiConnected = m_doc.m_cameras.m_uiNumCameras;
    m_uiCameras = std::min(uiConnected, kMaxGrabThreads);
    {
        std::lock_guard lock(m_mutex);
        capture.m_ePhase = CapturePhase::Starting;
        m_bStopWanted = false;
    }
    capture.m_running.iMode = capture.m_iCaptureMode;
    m_bFailed = false;
    m_bBrokenRecording = false;
    m_doc.m_store.m_iStopMark = -1;
    m_doc.m_store.m_bStopRequest = false;
    m_doc.m_store.m_iCutFrom = 0;
    capture.m_bStartNotified = false;
    capture.m_bEndNotified = false;
    m_doc.m_store.m_uiDoneCameras = 0; // what an earlier run left would end this one at once
    for (std::size_t c = 0; c < m_uiCameras; ++c) {
        m_status[c].m_lastDelivery = m_clock.Now();
        m_status[c].m_uiFrames = 0;
        m_doc.m_store.m_iLostBefore[c] = 0;
        m_status[c].m_dFrameTime = 0.0;
        m_status[c].m_bStalled = false;
        m_status[c].m_bLeave = false;
        capture.m_bGrabRun[c] = true;
        PrepareView(m_doc, c);
    }
    capture.m_bCapturing = true;

    bool bAll = true;
    for (std::size_t i = 0; i < m_uiCameras; ++i) {
        const std::size_t c = eOrder == ThreadStartOrder::HighestFirst ? m_uiCameras - 1 - i : i;
        capture.m_bThreadEnded[c] = false;
        if (!Launch(c, [this, c] { RunGrabThread(m_doc, *this, c); })) {
            capture.m_bThreadEnded[c] = true;
            bAll = false;
        }
    }
    m_bMonitorLeave = uiConnected > kMaxGrabThreads;
    capture.m_bKeyWaitRun = !m_bMonitorLeave;
    if (!m_bMonitorLeave && !Launch(kMonitor, [this] { RunMonitor(m_doc, *this); }))
        bAll = false;
    if (!bAll) {
        m_doc.GetPlatform().log.Write("the system has no thread for the capture: it ends");
        NoteFailure();
    }

    bool bStop = !bAll;
    {
        std::lock_guard lock(m_mutex);
        capture.m_ePhase = CapturePhase::Running;
        bStop = std::exchange(m_bStopWanted, false) || bStop;
    }
    if (bStop)
        Stop();
}

void GrabThreads::Join()
{
    for (ClockThread& thread : m_threads)
        thread.Join();
}

bool GrabThreads::Stop()
{
    const bool bWorker = t_pOwner == this;
    const ClockTime begin = m_clock.Now();
    bool bResult = true;
    if (BeginStop(bWorker, begin + kStopLimit + kStopRest, bResult)) {
        TellThreadsToLeave();
        WaitForThreads(begin + kStopLimit);
        KeepBrokenRecording();
        m_doc.m_capture.m_bStopping = false;
        bResult = StopCameras();
        EndStop(bResult);
    } else if (!bWorker && m_doc.m_capture.m_bCamerasLeft) {
        (void)StopEveryCamera(m_doc); // those that did stop say so
    }
    if (!bWorker)
        JoinEnded(std::min(begin + kStopLimit, m_clock.Now()) + kStopRest);
    return bResult;
}

// True when the caller is to carry out the stop; else `bResult` is the answer.
bool GrabThreads::BeginStop(bool bWorker, ClockTime deadline, bool& bResult)
{
    CaptureFlags& capture = m_doc.m_capture;
    std::unique_lock lock(m_mutex);
    const auto isStopping = [&capture] { return capture.m_ePhase == CapturePhase::Stopping; };
    if (isStopping()) {
        if (!bWorker) {
            const bool bEnded = m_clock.WaitUntil(lock, m_phaseChanged, deadline, [&] { return !isStopping(); });
            bResult = bEnded && m_bStopResult;
        }
        return false;
    }
    if (bWorker && capture.m_ePhase == CapturePhase::Starting) {
        m_bStopWanted = true; // the thread that still starts the others will do it
        return false;
    }
    if (!capture.m_bCapturing)
        return false;
    capture.m_ePhase = CapturePhase::Stopping;
    return true;
}

void GrabThreads::TellThreadsToLeave()
{
    CaptureFlags& capture = m_doc.m_capture;
    capture.m_bCapturing = false;
    capture.m_bStopping = true;
    for (auto& bRun : capture.m_bGrabRun)
        bRun = false;
    capture.m_bKeyWaitRun = false;
    for (GrabStatus& status : m_status)
        status.m_bLeave = true;
    m_bMonitorLeave = true;
    for (std::size_t c = 0; c < m_doc.m_cameras.m_uiNumCameras; ++c)
        CameraOf(m_doc, c).CancelRetrieve();
    m_doc.App().CancelNotify();
}

// False when a thread still runs. The calling thread's own end is not waited for.
bool GrabThreads::WaitForThreads(ClockTime deadline)
{
    bool bAll = true;
    for (ClockThread& thread : m_threads)
        if (!thread.IsCurrent() && !thread.WaitEnded(deadline))
            bAll = false;
    return bAll;
}

// A thread whose camera does not wake stays. When it wakes it stores nothing more, but says that it has ended;
// so it is joined before cameras are configured again and before the document goes.
void GrabThreads::JoinEnded(ClockTime deadline)
{
    for (ClockThread& thread : m_threads)
        if (thread.WaitEnded(deadline))
            thread.Join();
}

// A recording that did not come to its end: the frames that every camera has make the recording.
void GrabThreads::KeepBrokenRecording()
{
    if (!m_bBrokenRecording.exchange(false))
        return;
    m_doc.m_capture.m_iCaptureState = capture_state::kLive;
    FrameStore& store = m_doc.m_store;
    int iShortest = std::numeric_limits<int>::max();
    for (std::size_t c = 0; c < m_uiCameras; ++c)
        iShortest = std::min<int>(iShortest, store.m_isaveFrameCount[c]);
    if (iShortest < 1 || m_uiCameras == 0)
        return;
    const CaptureSnapshot& running = m_doc.m_capture.m_running;
    const bool bAlign = running.iMode == capture_mode::kLinear && !running.bStrobeCapable && iShortest > kAlignReach;
    const int iAsked = store.m_iRecordTarget;
    store.m_iRecordTarget = std::min(iAsked, bAlign ? iShortest - kAlignReach : iShortest); // beyond it lie spare ones
    if (m_bFailed && store.m_iRecordTarget < iAsked)
        store.m_iCutFrom = iAsked;
    for (std::size_t c = 0; c < m_uiCameras; ++c)
        if (!store.m_bRecordDone[c].exchange(true))
            ++store.m_uiDoneCameras;
    if (bAlign)
        CheckSynchronisation(m_doc, [](std::size_t) { return false; });
    if (m_doc.Request().CooperationMode)
        m_doc.GetPlatform().window.StartExitTimer();
}

// Trace and result tell of the first error; the other cameras are stopped all the same.
bool GrabThreads::StopCameras()
{
    SynchroStrobePost(m_doc);
    const Error error = StopEveryCamera(m_doc);
    if (!error.IsOk())
        PrintErrorTrace(m_doc.GetPlatform().log, error, "StopGrab()->StopCapture()");
    return error.IsOk();
}

void GrabThreads::EndStop(bool bResult)
{
    {
        std::lock_guard lock(m_mutex);
        m_bStopResult = bResult;
        m_doc.m_capture.m_iCaptureState = capture_state::kLive; // nothing is recorded without threads
        m_doc.m_capture.m_ePhase = m_bFailed.exchange(false) ? CapturePhase::Failed : CapturePhase::Stopped;
    }
    m_clock.NotifyAll(m_phaseChanged);
}

void StartGrabThreads(CVireoDoc& doc, ThreadStartOrder eOrder)
{
    if (!doc.m_grabThreads)
        doc.m_grabThreads = std::make_shared<GrabThreads>(doc);
    doc.m_grabThreads->Start(eOrder);
}

bool StopGrab(CVireoDoc& doc)
{
    if (!doc.m_grabThreads) {
        if (!doc.m_capture.m_bCapturing && !doc.m_capture.m_bCamerasLeft)
            return true;
        doc.m_grabThreads = std::make_shared<GrabThreads>(doc);
    }
    return doc.m_grabThreads->Stop();
}

void ResetRecordCounters(CVireoDoc& doc)
{
    CaptureFlags& capture = doc.m_capture;
    FrameStore& store = doc.m_store;
    capture.m_uiMissedCount = 0;
    capture.m_uiOutOfSyncCount = 0;
    for (std::size_t c = 0; c < doc.m_cameras.m_uiNumCameras; ++c) {
        store.m_isaveFrameCount[c] = kIdleFrameCount;
        store.m_bRecordDone[c] = false;
    }
    store.m_iStartMark = -1;
    store.m_iStopMark = -1;
    store.m_uiDoneCameras = 0;
    ResetMarks(doc);
    // The state comes last of what the other threads join by: one that sees "recording" early would have
    // its new count taken away again.
    const bool bLive = capture.m_iCaptureState == capture_state::kLive;
    capture.m_iCaptureState = bLive ? capture_state::kRecording : capture_state::kLive;
    store.m_bStartRequest = false;
    store.m_bStopRequest = false;
}

void UpdateMeasuredFps(CVireoDoc& doc)
{
    CaptureFlags& capture = doc.m_capture;
    const std::int64_t llNow = doc.GetPlatform().clock.Now();
    const std::int64_t llCounts = llNow - capture.m_llPreviousCount;
    if (llCounts == 0)
        return;
    capture.m_dMeasuredFps = SmoothedFps(capture.m_dMeasuredFps, capture.m_dFpsAlpha, llCounts, doc.m_llClockFrequency);
    capture.m_llPreviousCount = llNow;
}

} // namespace vireo
