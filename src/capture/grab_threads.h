#pragma once
#include "camera/vireo_doc.h"
#include "capture/view_picture.h"
#include "platform/clock.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>

namespace vireo {

enum class ThreadStartOrder { HighestFirst, LowestFirst };

/// What one camera's grab thread tells the others about its run.
struct GrabStatus {
    std::atomic<ClockTime> m_lastDelivery = 0; ///< when it last had a frame; ns
    std::atomic<std::uint64_t> m_uiFrames = 0; ///< frames stored in sequence since the thread started
    std::atomic<double> m_dFrameTime = 0.0; ///< embedded time of the newest stored frame, s
    std::atomic<bool> m_bStalled = false; ///< nothing came for too long: the thread is to fail
    std::atomic<bool> m_bLeave = false; ///< this run is over; stays set until the next start
};

/// The threads of one document's capture: a grab thread per camera and the monitor. Owned by the document,
/// used for every capture, joined by its destructor.
///
/// Transitions: Stopped or Failed -> Starting -> Running -> Stopping -> Stopped, or Failed when a camera's
/// failure asked for the stop. Only Start() and Stop() make them.
class GrabThreads {
public:
    explicit GrabThreads(CVireoDoc& doc);
    /// Stops and joins. User-interface thread.
    ~GrabThreads();
    GrabThreads(const GrabThreads&) = delete;
    GrabThreads& operator=(const GrabThreads&) = delete;

    /// Starts the grab threads of the first four cameras, which capture already, then the monitor (unless
    /// there are more cameras than threads). User-interface thread, while stopped.
    void Start(ThreadStartOrder eOrder);
    /// StopGrab below.
    bool Stop();
    /// Waits for every thread that a stop has told to leave, however long it takes. User-interface thread.
    void Join();

    // For the threads themselves.

    GrabStatus& Status(std::size_t uiCamera) { return m_status[uiCamera]; }
    const GrabStatus& Status(std::size_t uiCamera) const { return m_status[uiCamera]; }
    /// Cameras that have a thread in this run.
    std::size_t Cameras() const { return m_uiCameras; }
    bool Leaving(std::size_t uiCamera) const;
    bool MonitorLeaving() const { return m_bMonitorLeave; }
    /// A camera has failed: the stop that follows keeps what a running recording has so far.
    void NoteFailure();
    /// The stop that follows keeps what a running recording has so far; nothing failed. User-interface thread.
    void KeepRecording();

private:
    static constexpr std::size_t kMonitor = kMaxGrabThreads;
    static constexpr std::size_t kWorkers = kMaxGrabThreads + 1;

    bool Launch(std::size_t uiWorker, std::function<void()> run);
    bool BeginStop(bool bWorker, ClockTime deadline, bool& bResult);
    void TellThreadsToLeave();
    bool WaitForThreads(ClockTime deadline);
    void JoinEnded(ClockTime deadline);
    void KeepBrokenRecording();
    bool StopCameras();
    void EndStop(bool bResult);

    CVireoDoc& m_doc;
    Clock& m_clock;
    std::array<GrabStatus, kMaxGrabThreads> m_status;
    std::atomic<bool> m_bMonitorLeave = true;
    std::size_t m_uiCameras = 0;
    std::atomic<bool> m_bBrokenRecording = false; ///< a failure or the operator broke into a recording
    std::atomic<bool> m_bFailed = false;

    std::mutex m_mutex; ///< guards the phase's transitions; never held while anything waits
    WaitPoint m_phaseChanged;
    bool m_bStopWanted = false; ///< a thread asked for a stop while the others were being started
    bool m_bStopResult = true; ///< of the last stop
    std::array<ClockThread, kWorkers> m_threads;
};

/// Starts the threads on the cameras that the caller has started; the capture's snapshot is taken and the
/// capture flags are set. Does not wait. User-interface thread.
void StartGrabThreads(CVireoDoc& doc, ThreadStartOrder eOrder);

/// Ends the capture: wakes every waiting grab thread, waits for all of them (1000 ms together), puts strobe
/// and trigger back and stops the cameras. Any thread; at most 1.2 s. A grab or monitor thread that finds
/// a stop in progress returns true at once; the user-interface thread waits for that stop and joins.
/// @return true when nothing ran or every camera stopped cleanly; the first camera error is traced. False also
/// when the stop that it waits for has not ended within that time. While a camera may
/// run on after an error of its own, every next call tries once more to stop the cameras, silently.
bool StopGrab(CVireoDoc& doc);

/// The record toggle: live becomes recording, anything else live; every counter, mark and request of a
/// recording starts anew. Camera 0's thread.
void ResetRecordCounters(CVireoDoc& doc);

/// Folds the time since the last call into the measured frame rate. Camera 0's thread.
void UpdateMeasuredFps(CVireoDoc& doc);

} // namespace vireo
