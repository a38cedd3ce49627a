#pragma once
#include "app/recording_preset.h"
#include "camera/discovery.h"
#include "camera/document_lifecycle.h"
#include "camera/operator_actions.h"
#include "camera/record_time.h"
#include "camera/video_mode.h"
#include "capture/avi_export.h"
#include "capture/grab_threads.h"
#include "platform/headless/headless_window.h"
#include "platform/imaging/pixel_converter.h"
#include "platform/linux/memory.h"
#include "platform/simulated/simulated_library.h"
#include "platform/time/virtual_clock.h"
#include "support/temporary_folder.h"
#include "support/test_platform.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>

namespace vireo::test {

/// An operator's session from the opened document to the closed one: simulated cameras, virtual time and the whole
/// core with its threads. The thread that makes it is the user-interface thread.
class Session {
public:
    Session(const std::string& strSource, const std::string& strFaults, VideoWriters& video)
        : m_converter(MakePixelConverter())
    {
        SimulatedSetup setup;
        std::string strError = ParseSimulatedSource(strSource, setup.cameras);
        if (strError.empty())
            strError = ParseSimulatedFaults(strFaults, setup.cameras.size(), setup.faults);
        if (!strError.empty())
            throw std::runtime_error(strError);
        m_library = MakeSimulatedLibrary(m_clock, setup);
        m_platform = std::make_unique<TestPlatform>(TestPlatformParts { .pClock = &m_clock,
            .pCameras = m_library.get(),
            .pWindow = &m_window,
            .pMemory = &m_memory,
            .pConverter = m_converter.get(),
            .pVideo = &video });
        m_app = std::make_unique<CVireoApp>(m_platform->m_platform);
        m_app->SetIniFolder(m_settings.Path() + "/");
        WriteFile(m_settings / "Tessel.ini", "");
        m_doc = std::make_unique<CVireoDoc>(*m_app);
        m_window.OnTimer([this](int iTimer) { HandleTimer(*m_doc, iTimer); });
        m_window.OnCommand([this](int iCommand) { m_bExitPosted = m_bExitPosted || iCommand == command::kExit; });
    }
    ~Session()
    {
        OnCloseDocument(*m_doc);
        m_window.OnTimer({});
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    bool Open() { return OnNewDocument(*m_doc) && !m_bExitPosted; }
    CVireoDoc& Doc() { return *m_doc; }
    FrameStore& Store() { return m_doc->m_store; }
    CVireoApp& App() { return *m_app; }
    std::size_t Cameras() const { return m_doc->m_cameras.m_uiNumCameras; }

    /// The cameras take this rate at this size, as far as their tables tell.
    bool Allows(const RecordingPreset& preset)
    {
        int iOfSize = 0;
        int iCeiling = m_doc->m_parameters.m_iModelMaxFps;
        if (preset.WindowSize != 0 && HighestFrameRate(*m_doc, preset.WindowSize, iOfSize))
            iCeiling = std::min(iCeiling, iOfSize);
        if (preset.FrameRate > iCeiling)
            return false;
        for (std::size_t c = 0; c < Cameras(); ++c) {
            CameraInfo info;
            if (!CameraOf(*m_doc, c).GetCameraInfo(info).IsOk() || info.interfaceType == InterfaceType::GigE)
                continue;
            const VideoModeChoice choice = ChooseVideoMode(info.modelName, preset.WindowSize, preset.FrameRate);
            if (!choice.bCustom && preset.FrameRate != (choice.eRate == FrameRateCode::Fps60 ? 60 : 30))
                return false;
        }
        return true;
    }
    bool AllDone() const
    {
        for (std::size_t c = 0; c < Cameras(); ++c)
            if (!m_doc->m_store.m_bRecordDone[c])
                return false;
        return true;
    }
    bool HasRecording() const { return m_doc->m_store.m_bRecordDone[0]; }
    /// Every camera has delivered, or the capture has ended.
    bool WaitLive()
    {
        return WaitFor(6 * kNsPerSecond, [this] {
            for (std::size_t c = 0; m_doc->m_capture.m_bCapturing && c < Cameras(); ++c)
                if (m_doc->m_grabThreads->Status(c).m_uiFrames == 0)
                    return false;
            return true;
        });
    }
    bool WaitFor(ClockTime limit, const std::function<bool()>& condition)
    {
        return m_window.WaitFor(condition, m_clock.Now() + limit);
    }
    std::vector<std::string> Messages() const { return m_window.Messages(); }

    VirtualClock m_clock;
    LinuxMemory m_memory { m_clock }; ///< the real one: mapped, touched by threads, given back
    HeadlessWindow m_window { m_clock, {} };
    bool m_bExitPosted = false;

private:
    TemporaryFolder m_settings;
    std::unique_ptr<PixelConverter> m_converter;
    std::unique_ptr<CameraLibrary> m_library;
    std::unique_ptr<TestPlatform> m_platform;
    std::unique_ptr<CVireoApp> m_app;
    std::unique_ptr<CVireoDoc> m_doc;
};

} // namespace vireo::test
