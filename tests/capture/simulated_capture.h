#pragma once
#include "camera/discovery.h"
#include "camera/document_lifecycle.h"
#include "camera/operator_actions.h"
#include "capture/frame_store_alloc.h"
#include "capture/grab_threads.h"
#include "capture/take_report.h"
#include "platform/simulated/simulated_library.h"
#include "platform/time/virtual_clock.h"
#include "support/bar_code.h"
#include "support/temporary_folder.h"
#include "support/test_platform.h"

#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace vireo::test {

/// Leaves pictures as they are: the recording is what counts.
class NoConversion : public PixelConverter {
public:
    Error Convert(const ImageView&, PixelFormat, std::uint8_t*, std::size_t) const override { return {}; }
};

/// The whole core on simulated cameras and a virtual clock, live after construction.
class SimulatedCapture {
public:
    struct Setup {
        std::string strSource = "simulated:4xFL3-U3-13Y3M";
        std::string strFaults = {};
        int iFps = 100;
        int iRecordSec = 1;
        bool bTriggerWait = false;
        std::int32_t iCoopSwitches = 0;
    };

    explicit SimulatedCapture(const Setup& setup)
    {
        SimulatedSetup cameras;
        EXPECT_EQ(ParseSimulatedSource(setup.strSource, cameras.cameras), "");
        EXPECT_EQ(ParseSimulatedFaults(setup.strFaults, cameras.cameras.size(), cameras.faults), "");
        m_library = MakeSimulatedLibrary(m_clock, cameras);
        m_test = std::make_unique<TestPlatform>(
            TestPlatformParts { .pClock = &m_clock, .pCameras = m_library.get(), .pConverter = &m_converter });
        m_app = std::make_unique<CVireoApp>(m_test->m_platform);
        m_app->SetIniFolder(m_folder.Path() + "/");
        std::ofstream(m_folder.Path() + "/Tessel.ini");
        CooperationRequest request;
        request.CoopSwitches = setup.iCoopSwitches;
        m_app->SetRequest(request);
        m_doc = std::make_unique<CVireoDoc>(*m_app);
        EXPECT_TRUE(OnNewDocument(*m_doc));
        StopGrab(*m_doc);
        RecordingPreset preset;
        preset.FrameRate = setup.iFps;
        preset.RecTime = setup.iRecordSec;
        preset.Shutter = 1000;
        EXPECT_TRUE(ApplyPresetValues(*m_doc, preset)) << testing::PrintToString(Window().MessageTexts());
        if (setup.bTriggerWait) {
            EXPECT_TRUE(Prepare(*m_doc, true));
        }
    }
    ~SimulatedCapture() { OnCloseDocument(*m_doc); }

    CVireoDoc& Doc() { return *m_doc; }
    FrameStore& Store() { return m_doc->m_store; }
    CaptureFlags& Flags() { return m_doc->m_capture; }
    RecordedWindow& Window() { return m_test->m_window; }
    VirtualClock& GetClock() { return m_clock; }
    std::size_t Cameras() const { return m_doc->m_cameras.m_uiNumCameras; }
    int Frames() { return m_doc->m_store.m_iRecordTarget; }

    /// Until `condition()` holds; false after 60 s of virtual time.
    bool WaitFor(const std::function<bool()>& condition)
    {
        const ClockTime deadline = m_clock.Now() + 60 * kNsPerSecond;
        while (!condition()) {
            if (m_clock.Now() >= deadline)
                return false;
            m_clock.SleepMs(1);
        }
        return true;
    }
    bool WaitLive(std::uint64_t uiFrames)
    {
        return WaitFor([&] { return m_doc->m_grabThreads->Status(0).m_uiFrames >= uiFrames; });
    }
    bool WaitStopped()
    {
        const bool bStopped = WaitFor([&] { return !m_doc->m_capture.m_bCapturing; });
        StopGrab(*m_doc);
        return bStopped;
    }
    /// Presses start after some live frames, and waits for the end.
    bool Record(std::uint64_t uiLiveFrames = 20) { return WaitLive(uiLiveFrames) && Start(*m_doc) && WaitStopped(); }
    /// When the recorded frames were exposed, us since the simulation's start.
    std::vector<std::uint32_t> Codes(std::size_t c)
    {
        std::vector<std::uint32_t> codes;
        for (int i = 0; i < Frames(); ++i) {
            const int iSlot = RingSlot(Store().m_istartFrame[c], i, Store().m_iBufferFrames);
            codes.push_back(ReadBarCode(Store().SlotImage(c, iSlot)).value_or(0));
        }
        return codes;
    }
    TakeReport Report() { return ReportTake(*m_doc); }

    /// Makes room for a long recording by keeping only the first bytes of each frame. Stopped capture.
    void KeepHeadersOnly(int iRecordSec)
    {
        FrameStore& store = m_doc->m_store;
        m_doc->m_parameters.m_iRecordSec = iRecordSec;
        const int iSlots = BufferFramesFor(iRecordSec, m_doc->m_parameters.m_iFps);
        store.m_uiSlotBytes = 64;
        store.m_iBufferFrames = iSlots;
        store.m_iAllocatedFrames = iSlots;
        EXPECT_TRUE(store.m_arena->Reserve(store.m_uiCameras, static_cast<std::uint64_t>(iSlots) * 64));
        store.m_arena->StartTouching(0, 0, [] {});
        for (std::size_t c = 0; c < Cameras(); ++c)
            store.m_evidence[c].assign(static_cast<std::size_t>(iSlots), FrameEvidence {});
    }

private:
    VirtualClock m_clock;
    NoConversion m_converter;
    TemporaryFolder m_folder;
    std::unique_ptr<CameraLibrary> m_library;
    std::unique_ptr<TestPlatform> m_test;
    std::unique_ptr<CVireoApp> m_app;
    std::unique_ptr<CVireoDoc> m_doc;
};

} // namespace vireo::test
