#pragma once
#include "capture/frame_store_alloc.h"
#include "capture/grab_threads.h"
#include "platform/time/virtual_clock.h"
#include "scripted_camera.h"
#include "support/test_platform.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vireo::test {

constexpr const char* kLockedModel = "FL3-U3-13Y3M"; ///< one of the models that can be strobe-locked
constexpr const char* kOlderModel = "GRAS-03K2"; ///< none of them: recordings are checked at their end

/// A document with scripted cameras on a virtual clock, ready for its grab threads.
class ScriptedCapture {
public:
    struct Setup {
        std::size_t uiCameras = 2;
        std::string strModel = kLockedModel;
        int iMode = capture_mode::kRing;
        int iFps = 100;
        int iRecordSec = 1;
        bool bTriggerWait = false;
    };

    explicit ScriptedCapture(const Setup& setup)
        : m_test({ .pClock = &m_clock })
        , m_app(m_test.m_platform)
        , m_doc(std::make_unique<CVireoDoc>(m_app))
    {
        CameraSlots& slots = m_doc->m_cameras;
        slots.m_uiNumCameras = static_cast<unsigned>(setup.uiCameras);
        CaptureSnapshot& running = m_doc->m_capture.m_running;
        for (std::size_t c = 0; c < setup.uiCameras; ++c) {
            auto camera = std::make_unique<ScriptedCamera>(m_clock, setup.strModel);
            camera->m_period = kNsPerSecond / setup.iFps;
            m_cameras.push_back(camera.get());
            slots.m_ppCameraBase.push_back(camera.get());
            slots.m_ppCamera.push_back(camera.get());
            slots.m_strModel[c] = setup.strModel;
            slots.m_owners.push_back(std::move(camera));
            running.models.push_back(setup.strModel);
            running.serials.push_back(static_cast<unsigned>(15000001 + c));
            running.interfaces.push_back(InterfaceType::Usb3);
            running.clockDomains.push_back(static_cast<unsigned>(c));
        }
        m_cameras[0]->m_iGrabTimeoutMs = setup.bTriggerWait ? 100 : 2000;
        m_doc->m_parameters.m_iFps = setup.iFps;
        m_doc->m_parameters.m_iRecordSec = setup.iRecordSec;
        AllocateFrameStore(*m_doc);
        m_doc->m_store.m_iRecordTarget = m_doc->m_store.m_iBufferFrames - kRingHeadroom;
        running.iFps = setup.iFps;
        running.iBufferFrames = m_doc->m_store.m_iBufferFrames;
        running.uiSlotBytes = m_doc->m_store.m_uiSlotBytes;
        running.uiCameras = slots.m_uiNumCameras;
        running.iMode = setup.iMode;
        running.bTriggerWaitRing = setup.bTriggerWait;
        running.bStrobeCapable = setup.strModel == kLockedModel;
        m_doc->m_capture.m_iCaptureMode = setup.iMode;
        m_doc->m_capture.m_bTriggerWaitRing = setup.bTriggerWait;
    }
    ~ScriptedCapture()
    {
        for (ScriptedCamera* pCamera : m_cameras)
            if (pCamera->m_bIgnoresStop)
                pCamera->Release();
        StopGrab(*m_doc);
    }

    CVireoDoc& Doc() { return *m_doc; }
    FrameStore& Store() { return m_doc->m_store; }
    CaptureFlags& Flags() { return m_doc->m_capture; }
    GrabStatus& Status(std::size_t c) { return m_doc->m_grabThreads->Status(c); }
    ScriptedCamera& Cam(std::size_t c) { return *m_cameras[c]; }
    VirtualClock& GetClock() { return m_clock; }
    RecordedWindow& Window() { return m_test.m_window; }
    TestPlatform& Test() { return m_test; }
    CVireoApp& App() { return m_app; }

    void StartCameras()
    {
        for (ScriptedCamera* pCamera : m_cameras)
            pCamera->Begin();
    }
    void Start(ThreadStartOrder eOrder = ThreadStartOrder::HighestFirst)
    {
        StartCameras();
        StartGrabThreads(*m_doc, eOrder);
    }
    /// Until `condition()` holds; false after 30 s of virtual time.
    bool WaitFor(const std::function<bool()>& condition)
    {
        const ClockTime deadline = m_clock.Now() + 30 * kNsPerSecond;
        while (!condition()) {
            if (m_clock.Now() >= deadline)
                return false;
            m_clock.SleepUntil(m_clock.Now() + 200 * kNsPerUs);
        }
        return true;
    }
    bool WaitFrames(std::size_t c, std::uint64_t uiFrames)
    {
        return WaitFor([&] { return Status(c).m_uiFrames >= uiFrames; });
    }
    /// Asks for a recording and waits for its end.
    bool Record()
    {
        m_doc->m_store.m_bStartRequest = true;
        return WaitStopped();
    }
    bool WaitStopped()
    {
        const bool bStopped = WaitFor([&] {
            const CapturePhase ePhase = m_doc->m_capture.m_ePhase;
            return ePhase == CapturePhase::Stopped || ePhase == CapturePhase::Failed;
        });
        StopGrab(*m_doc); // joins
        return bStopped;
    }
    /// Exposures in the recorded slots of a camera; the first `iFrames` of them.
    std::vector<std::int64_t> Exposures(std::size_t c, int iFrames)
    {
        std::vector<std::int64_t> exposures;
        for (int i = 0; i < iFrames; ++i) {
            const int iSlot = RingSlot(Store().m_istartFrame[c], i, Store().m_iBufferFrames);
            exposures.push_back(ScriptedCamera::ExposureOf(Store().Slot(c, iSlot)));
        }
        return exposures;
    }
    /// The frames' numbers as the grab thread noted them.
    std::int64_t Number(std::size_t c, int iFrame)
    {
        const int iSlot = RingSlot(Store().m_istartFrame[c], iFrame, Store().m_iBufferFrames);
        return Store().m_evidence[c][static_cast<std::size_t>(iSlot)].iExposure;
    }

private:
    VirtualClock m_clock;
    TestPlatform m_test;
    CVireoApp m_app;
    std::unique_ptr<CVireoDoc> m_doc;
    std::vector<ScriptedCamera*> m_cameras;
};

/// n, n + 1, ... of `iCount` numbers.
inline std::vector<std::int64_t> Consecutive(std::int64_t iFirst, int iCount)
{
    std::vector<std::int64_t> numbers;
    for (int i = 0; i < iCount; ++i)
        numbers.push_back(iFirst + i);
    return numbers;
}

} // namespace vireo::test
