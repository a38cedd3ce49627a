#pragma once
#include "platform/camera_library.h"
#include "platform/clock.h"
#include "platform/device/device_worker.h"
#include "platform/device/open_question.h"
#include "platform/device/shared_grace.h"
#include "platform/failure_notes.h"
#include "platform/genicam/device_link.h"
#include "platform/genicam/discovery.h"
#include "platform/genicam/open_device.h"
#include "platform/genicam/stream_run.h"
#include "platform/log.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

namespace vireo {

/// One opened camera: its thread, and the state that both sides share.
class DeviceSession {
public:
    DeviceSession(Clock& clock, std::string strName, std::shared_ptr<SharedGrace> grace);
    /// Closes the camera; one that takes too long goes on being closed in the background.
    ~DeviceSession();
    DeviceSession(const DeviceSession&) = delete;
    DeviceSession& operator=(const DeviceSession&) = delete;

    using Job = std::function<Error(OpenDevice&)>;
    /// Runs `job` on the device's thread. Disconnected when the camera is gone or does not answer in time.
    Error Do(const Job& job, ClockTime limit = OpenQuestion::kAnswerLimit);
    /// Runs `job` some time later; its result is of no interest.
    void Later(const Job& job);
    Error Gone() const;
    /// False when the system had no thread to give; the session is of no use then.
    bool HasThread() const { return m_worker.HasThread(); }
    /// A frame came, or a run began. Grab thread, or while there is none.
    void Heard(ClockTime now);
    /// No frame came for a while: asks the camera whether it is still there, without waiting for it, and
    /// gives it up when it does not answer. Grab thread.
    void Watch(ClockTime now);
    /// Asks the camera whether it is still there, without waiting for it, unless it owes an answer already.
    /// Any thread.
    void Ask(ClockTime now);

    static constexpr ClockTime kOpenLimit = 4 * kNsPerSecond; ///< a camera sends its whole description first

    const std::shared_ptr<DeviceLink>& Link() const { return m_link; }
    Embedding& Header() const { return *m_embedding; }

    std::mutex m_csRetrieve; ///< held by the grab thread while it fetches a frame
    /// The run between StartCapture and StopCapture, else null.
    std::shared_ptr<StreamRun> Run() const
    {
        std::lock_guard lock(m_csRun);
        return m_run;
    }
    /// Returns the run before.
    std::shared_ptr<StreamRun> SetRun(std::shared_ptr<StreamRun> run)
    {
        std::lock_guard lock(m_csRun);
        return std::exchange(m_run, std::move(run));
    }

    std::shared_ptr<BufferMemory> m_memory; ///< kept over stops: a late reader may still look at a frame
    CameraInfo m_info; ///< written once, before anybody else knows the session

private:
    Clock& m_clock;
    std::string m_strName;
    std::shared_ptr<SharedGrace> m_grace;
    std::shared_ptr<DeviceLink> m_link;
    std::shared_ptr<Embedding> m_embedding;
    mutable std::mutex m_csRun;
    std::shared_ptr<StreamRun> m_run;
    std::shared_ptr<OpenDevice> m_device;
    ClockTime m_heardAt = 0;
    std::shared_ptr<OpenQuestion> m_question = std::make_shared<OpenQuestion>();
    std::shared_ptr<std::atomic<bool>> m_answered = std::make_shared<std::atomic<bool>>(false); ///< since Watch looked
    DeviceWorker m_worker;
};

/// A camera reached through Aravis; what USB3 and GigE cameras share. Threads as CameraBase.
class GenicamDevice {
public:
    using FindRecord = std::function<bool(const PGRGuid&, DeviceRecord&)>;
    GenicamDevice(Clock& clock, Log& log, FindRecord findRecord, bool bGigE, std::shared_ptr<SharedGrace> grace);
    ~GenicamDevice();
    GenicamDevice(const GenicamDevice&) = delete;
    GenicamDevice& operator=(const GenicamDevice&) = delete;

    Error Connect(const PGRGuid& guid);
    Error Disconnect();
    bool IsConnected() const { return Session() != nullptr; }
    Error GetCameraInfo(CameraInfo& info) const;
    Error GetConfiguration(FC2Config& config) const;
    Error SetConfiguration(const FC2Config& config);

    /// Runs `job` on the open camera; its errors as they come.
    Error Do(const DeviceSession::Job& job);
    /// The same for a call that fills a record: `value` goes in, and comes back only on success.
    template <typename T> Error Fill(T& value, Error (*pRead)(OpenDevice&, T&))
    {
        auto copy = std::make_shared<T>(value); // the job may outlive this call
        Error error = Do([copy, pRead](OpenDevice& device) { return pRead(device, *copy); });
        if (error.IsOk())
            value = *copy;
        return error;
    }

    Error StartCapture();
    Error StopCapture();
    Error RetrieveBuffer(Image& image);
    void CancelRetrieve();
    StreamStatistics GetStreamStatistics() const;

    // StartCapture in two steps, for cameras that are to begin together.
    Error PrepareCapture();
    Error BeginCapture();

    Log& GetLog() const { return m_log; }

private:
    std::shared_ptr<DeviceSession> Session() const;
    DeviceLink::Wait Await(DeviceSession& session, ClockTime& arrival);
    void Deliver(
        DeviceSession& session, StreamRun& run, const StreamRun::Frame& frame, ClockTime arrival, Image& image);
    void RefreshPins(DeviceSession& session, ClockTime now);

    Clock& m_clock;
    Log& m_log;
    FailureNotes m_notes;
    FindRecord m_findRecord;
    bool m_bGigE;
    std::shared_ptr<SharedGrace> m_grace;

    mutable std::mutex m_csSession;
    std::shared_ptr<DeviceSession> m_session; ///< null: not connected
    StreamStatistics m_lastStatistics; ///< of the run before, guarded by m_csSession

    std::atomic<std::uint32_t> m_uiNumBuffers;
    std::atomic<int> m_iGrabMode;
    std::atomic<int> m_iGrabTimeoutMs;
    std::string m_strRateNote; ///< what the log was told last of the rate
    std::atomic<ClockTime> m_pinsAt = 0; ///< when the levels of the lines were last asked for
};

} // namespace vireo
