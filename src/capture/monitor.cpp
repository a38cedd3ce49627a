#include "capture/monitor.h"

#include "capture/recording_rules.h"
#include "capture/strobe.h"

#include <array>
#include <span>

namespace vireo {

namespace {

constexpr ClockTime kLevelPulse = 500 * kNsPerMs;
constexpr const char* kStartPrompt = "START[ENTER]key, CANCEL[ESC]key";
constexpr const char* kFinishPrompt = "FINISH[ENTER]key";

} // namespace

Monitor::Monitor(CVireoDoc& doc, GrabThreads& threads)
    : m_doc(doc)
    , m_threads(threads)
    , m_bPrompts(doc.Request().CooperationMode && SwitchShowsKeyPrompts(doc.Request().CoopSwitches))
    , m_stalls(doc.m_capture.m_running.iMode == capture_mode::kRing && doc.m_capture.m_running.bTriggerWaitRing)
{
}

void Monitor::Run()
{
    CameraInfo info;
    const Error error = CameraOf(m_doc, 0).GetCameraInfo(info);
    if (error.IsOk())
        m_bStrobeCapable = IsStrobeCapable(info.modelName);
    else
        PrintErrorTrace(m_doc.GetPlatform().log, error, "GetCameraInfo() of camera 0");
    for (;;) {
        m_doc.GetPlatform().clock.SleepMs(1);
        if (m_threads.MonitorLeaving() || !m_doc.m_capture.m_bKeyWaitRun)
            return;
        if (m_doc.m_capture.m_bCapturing)
            Pass();
    }
}

void Monitor::Pass()
{
    FailStalledCamera();
    if (!m_bStrobeCapable) {
        CountOutOfStep();
        RestoreLevel();
    } else if (m_bPrompts) {
        ShowPrompt();
    }
}

// The camera's own thread takes the failure exit; it may be waiting without limit, so it is woken.
void Monitor::FailStalledCamera()
{
    std::array<ClockTime, kMaxGrabThreads> last {};
    const std::size_t uiCameras = m_threads.Cameras();
    for (std::size_t c = 0; c < uiCameras; ++c)
        last[c] = m_threads.Status(c).m_lastDelivery;
    const auto stalled = m_stalls.Check(m_doc.GetPlatform().clock.Now(), std::span(last.data(), uiCameras));
    if (!stalled || m_threads.Status(*stalled).m_bStalled.exchange(true))
        return;
    CameraOf(m_doc, *stalled).CancelRetrieve();
}

// Once per frame of camera 0 at most, whatever the number of cameras that are out of step.
void Monitor::CountOutOfStep()
{
    FrameStore& store = m_doc.m_store;
    if (!store.Exists() || store.m_bRecordDone[0]) // a complete recording is judged by the checks at its end
        return;
    for (std::size_t c = 0; c < m_threads.Cameras(); ++c) {
        if (m_threads.Status(c).m_uiFrames == 0)
            return;
        store.m_iLastFrame[c] = RingBefore(store.m_iendFrame[c], store.m_iBufferFrames);
    }
    const double dTime0 = m_threads.Status(0).m_dFrameTime;
    for (std::size_t c = 1; c < m_threads.Cameras(); ++c) {
        const bool bCounted = m_iCountedFrame == store.m_iLastFrame[0];
        if (bCounted || !IsOutOfStep(dTime0, m_threads.Status(c).m_dFrameTime, m_doc.m_capture.m_running.iFps))
            continue;
        m_doc.m_capture.m_uiOutOfSyncCount = AddToCount(m_doc.m_capture.m_uiOutOfSyncCount, 1);
        m_iCountedFrame = store.m_iLastFrame[0];
    }
}

// A start gives other machines a pulse on the level line.
void Monitor::RestoreLevel()
{
    CaptureFlags& capture = m_doc.m_capture;
    if (!capture.m_bLevelToggled || m_doc.GetPlatform().clock.Now() - capture.m_llStartTime < kLevelPulse)
        return;
    const int iLevel = capture.m_running.bLowHigh ? 1 : 0;
    if (ReadTriggerInput(m_doc) != iLevel)
        VoltageLevelLowHigh(m_doc, iLevel);
    capture.m_bLevelToggled = false;
}

void Monitor::ShowPrompt()
{
    const bool bLive = m_doc.m_capture.m_bCapturing && m_doc.m_capture.m_iCaptureState == capture_state::kLive;
    const char* pPrompt = bLive ? kStartPrompt : kFinishPrompt;
    if (m_strTitle == pPrompt)
        return;
    m_strTitle = pPrompt;
    m_doc.GetPlatform().window.SetMainTitle(m_strTitle);
}

void RunMonitor(CVireoDoc& doc, GrabThreads& threads) { Monitor(doc, threads).Run(); }

} // namespace vireo
