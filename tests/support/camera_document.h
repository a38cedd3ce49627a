#pragma once
#include "app/ini_store.h"
#include "camera/camera_connection.h"
#include "camera/discovery.h"
#include "camera/document_lifecycle.h"
#include "camera/vireo_doc.h"
#include "platform/simulated/simulated_library.h"
#include "support/recording_library.h"
#include "support/temporary_folder.h"
#include "support/test_platform.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vireo::test {

/// The cameras of a source text such as "simulated:2xGS3-U3-23S6M".
inline SimulatedSetup SetupOf(std::string_view strSource, std::string_view strFaults = {})
{
    SimulatedSetup setup;
    std::string strError = ParseSimulatedSource(strSource, setup.cameras);
    if (strError.empty())
        strError = ParseSimulatedFaults(strFaults, setup.cameras.size(), setup.faults);
    if (!strError.empty())
        throw std::runtime_error(strError);
    return setup;
}

/// A document over simulated cameras whose every call is recorded, with a settings file of its own and time
/// that moves only when somebody waits.
class CameraDocument {
public:
    /// With a clock of the test's own, for tests of threads, everything runs on that; with writers of its own
    /// there are files.
    explicit CameraDocument(std::string_view strSource, const CooperationRequest& request = {}, Clock* pClock = nullptr,
        VideoWriters* pVideo = nullptr)
        : m_simulated(MakeSimulatedLibrary(pClock != nullptr ? *pClock : m_clock, SetupOf(strSource)))
        , m_library(*m_simulated)
        , m_test({ .pClock = pClock != nullptr ? pClock : &m_clock, .pCameras = &m_library, .pVideo = pVideo })
        , m_app(m_test.m_platform)
    {
        WriteFile(m_folder / "Tessel.ini", "");
        m_test.m_memory.SetAvailableKiB(1 << 20); // a recording as long as memory allows stays small
        m_app.SetIniFolder(m_folder.Path() + "/");
        m_app.SetRequest(request);
        m_doc = std::make_unique<CVireoDoc>(m_app);
    }
    ~CameraDocument()
    {
        m_library.ClearFaults();
        OnCloseDocument(*m_doc);
    }
    CameraDocument(const CameraDocument&) = delete;
    CameraDocument& operator=(const CameraDocument&) = delete;

    CVireoDoc& Doc() { return *m_doc; }
    CaptureParameters& Parameters() { return m_doc->m_parameters; }
    /// Opens the document; false as OnNewDocument.
    bool Open() { return OnNewDocument(*m_doc); }
    /// Connects all cameras without configuring them.
    bool Connect()
    {
        m_doc->m_cameras.m_uiNumCameras = static_cast<unsigned int>(m_library.ListCameras().size());
        return ConnectCameras(*m_doc);
    }
    std::vector<std::string> Messages() const { return m_test.m_window.MessageTexts(); }
    /// Forgets calls, messages and what else was asked until now.
    void Forget()
    {
        m_library.Clear();
        m_test.m_window.Clear();
        m_test.m_log.Clear();
    }

    SteppedClock m_clock;
    TemporaryFolder m_folder;
    std::unique_ptr<CameraLibrary> m_simulated;
    RecordingLibrary m_library;
    TestPlatform m_test;
    CVireoApp m_app;
    std::unique_ptr<CVireoDoc> m_doc;
};

} // namespace vireo::test
