#pragma once
#include "platform/clock.h"
#include "platform/device/device_worker.h"
#include "platform/device/open_question.h"
#include "platform/device/presence.h"
#include "platform/device/shared_grace.h"
#include "platform/iidc/dc1394_ptr.h"
#include "platform/iidc/iidc_capture.h"
#include "platform/iidc/iidc_device.h"

#include <functional>
#include <memory>
#include <string>

namespace vireo {

/// One opened camera and the thread that uses its registers; each takes a second that a dead camera does not answer.
class IidcSession {
public:
    IidcSession(Clock& clock, const IidcRecord& record, std::shared_ptr<SharedGrace> grace);
    /// Closes the camera; one that takes too long goes on being closed in the background.
    ~IidcSession();
    IidcSession(const IidcSession&) = delete;
    IidcSession& operator=(const IidcSession&) = delete;

    /// @return NotFound, OutOfResources, AccessDenied: another program has its frames.
    Error Open(const Dc1394Context& context);

    /// What the thread works on. A job that captures it may outlive the session.
    struct Inside {
        explicit Inside(Clock& clock)
            : capture(clock)
        {
        }
        Dc1394Context context; ///< closed after the camera
        std::unique_ptr<IidcDevice> device; ///< since Open
        IidcCapture capture;
    };
    using Job = std::function<Error(Inside&)>;
    /// Runs `job` on the thread. Disconnected when the camera is gone, or does not answer in time and no frame came a
    /// moment ago; TransportFailed when one did.
    Error Do(const Job& job);
    /// Runs `job` some time later; its result is of no interest.
    void Later(const Job& job);
    /// Asks the camera whether it is still there, without waiting for it. Any thread.
    void Ask();
    /// A camera that is silent is asked, and given up when it owes an answer for too long. Grab thread.
    void Watch();
    /// A whole frame arrived then. Grab thread.
    void Heard(ClockTime at) { m_presence->Heard(at); }

    bool IsGone() const { return m_presence->IsGone(); }
    Error Gone() const { return { ErrorType::Disconnected, m_strName + ": it does not answer" }; }
    const IidcRecord& Record() const { return m_record; }
    /// For the grab thread, while the camera captures.
    IidcDevice& Device() { return *m_inside->device; }
    IidcCapture& Capture() { return m_inside->capture; }

private:
    Clock& m_clock;
    const IidcRecord m_record;
    const std::string m_strName;
    std::shared_ptr<SharedGrace> m_grace;
    std::shared_ptr<Presence> m_presence;
    std::shared_ptr<Inside> m_inside;
    bool m_bOpen = false; ///< before, `m_inside` is the thread's alone
    std::shared_ptr<OpenQuestion> m_question = std::make_shared<OpenQuestion>();
    DeviceWorker m_worker;
};

} // namespace vireo
