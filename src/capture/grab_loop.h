#pragma once
#include "capture/exposure_counter.h"
#include "capture/grab_threads.h"
#include "capture/recording_rules.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace vireo {

class GrabLoop;

/// What differs between camera 0's thread, the master, and the others. Called by the loop, on its thread.
class GrabRole {
public:
    virtual ~GrabRole() = default;
    /// Before the first pass.
    virtual void Begin(GrabLoop& /*loop*/) { }
    /// Top of each pass. False: the recording is complete, the thread leaves.
    virtual bool BeginPass(GrabLoop& /*loop*/) { return true; }
    /// A fetch that timed out is another pass, not a failure.
    virtual bool SkipsTimeout() const { return false; }
    /// The text for a fetch that failed.
    virtual void ShowFetchFailure(GrabLoop& loop, const Error& error) = 0;
    /// A frame came and is not stored yet. True: it was dealt with and is not part of the sequence.
    virtual bool SetsAside(GrabLoop& /*loop*/) { return false; }
    /// The frame is stored, its counting follows.
    virtual void BeforeCount(GrabLoop& loop) = 0;
    /// The frame is counted; `place.bJoined` tells the first one of a recording.
    virtual void AfterCount(GrabLoop& loop, const RecordingPlace& place) = 0;
    /// This camera has all frames of the recording.
    virtual void Done(GrabLoop& /*loop*/) { }
    /// End of a pass that had a frame.
    virtual void EndPass(GrabLoop& /*loop*/) { }
    /// The loop was left.
    virtual void Leave(GrabLoop& loop) = 0;
};

/// One camera's grab loop: fetches a frame, stores it, shows it, counts it. The ring loop and the linear loop
/// differ in how they count; the role does what only the master or only the others do.
class GrabLoop {
public:
    GrabLoop(CVireoDoc& doc, GrabThreads& threads, std::size_t uiCamera, GrabRole& role);
    /// Until the run flag is cleared, the recording is complete or the camera failed.
    void Run();

    CVireoDoc& Doc() { return m_doc; }
    FrameStore& Store() { return m_doc.m_store; }
    CaptureFlags& Capture() { return m_doc.m_capture; }
    const CaptureSnapshot& Running() const { return m_running; }
    Platform& GetPlatform() { return m_doc.GetPlatform(); }
    GrabThreads& Threads() { return m_threads; }
    GrabStatus& Status() { return m_threads.Status(m_uiCamera); }
    std::size_t CameraIndex() const { return m_uiCamera; }
    bool IsRing() const { return m_running.iMode == capture_mode::kRing; }
    bool Leaving() const { return m_threads.Leaving(m_uiCamera); }

    // The frame in hand.
    const Image& Frame() const { return m_raw; }
    double FrameTime() const { return m_dFrameTime; } ///< embedded, s
    std::int64_t FrameNumber() const { return m_iNumber; }
    void ShowFrame();
    /// Waits in steps of 1 ms while `condition()` holds; gives up when the capture ends.
    void WaitWhile(const std::function<bool()>& condition);

private:
    enum class Fetched { Frame, Nothing, Ended };

    bool Pass();
    Fetched Fetch();
    void Fail(const Error& error);
    void NumberFrame();
    void SkipLostSlots();
    void NoteLost(std::int64_t iMissing, int iCount);
    void StoreFrameInHand();
    void CountFrameInHand();
    void TestDone();

    CVireoDoc& m_doc;
    GrabThreads& m_threads;
    const std::size_t m_uiCamera;
    GrabRole& m_role;
    const CaptureSnapshot& m_running;
    Image m_raw;
    ExposureCounter m_counter;
    double m_dFrameTime = 0.0;
    std::int64_t m_iNumber = 0;
    bool m_bNothingBefore = false; ///< the last fetch had nothing to deliver
    bool m_bConversionFailed = false;
    bool m_bTruncated = false; ///< one was logged
    bool m_bSkipped = false; ///< one was logged
    bool m_bDoneCounted = false;
};

/// Body of camera `uiCamera`'s grab thread: runs the loop of the capture's mode; returns at once for a mode
/// that does not exist.
void RunGrabThread(CVireoDoc& doc, GrabThreads& threads, std::size_t uiCamera);

} // namespace vireo
