#pragma once
#include "app/vireo_app.h"
#include "camera/vireo_doc.h"
#include "capture/take_report.h"
#include "matrix/fault_board.h"
#include "matrix/faulty_platform.h"
#include "matrix/faulty_window.h"
#include "platform/time/virtual_clock.h"
#include "support/recording_library.h"
#include "support/temporary_folder.h"
#include "support/test_platform.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vireo::test {

/// A set of cameras, and who runs the program.
struct Rig {
    const char* pName;
    const char* pSource;
    int iCameras;
    bool bRing; ///< the cameras expose in step
    bool bPartner; ///< a partner program has started it and imposes its settings
    int iFps = 30;
    int iShutter = 500; ///< denominator; -1 = open
};
std::span<const Rig> Rigs();

/// What the program is busy with while something fails.
enum class State { Starting, Live, Armed, Waiting, Recording, Playback, Saving, SavingElsewhere, Closing };
constexpr std::size_t kStates = static_cast<std::size_t>(State::Closing) + 1;
const char* StateName(State eState);

/// A rig in a state. Not every rig gets into every state.
struct Scene {
    const Rig* pRig = nullptr;
    State eState = State::Starting;
};
std::vector<Scene> Scenes();

/// The whole core over simulated cameras in virtual time, with everything around it on a fault board.
class MatrixBench {
public:
    explicit MatrixBench(const Scene& scene);
    ~MatrixBench();
    MatrixBench(const MatrixBench&) = delete;
    MatrixBench& operator=(const MatrixBench&) = delete;

    /// Up to where the scene begins.
    void Prepare();
    /// What the operator or the partner does in this state. True when all of it went as it does without a fault.
    bool Act();

    /// The recording in the store: what is wrong with it, in words; empty when every camera has the same
    /// exposures, `iFrames` at least, without a gap unless one is allowed.
    std::string JudgeRecording(int iFrames, bool bGapsAllowed);
    /// Whether the newest files hold the whole recording that stood before Act, but for `iSkipped` cameras that
    /// have none; empty when they do.
    std::string JudgeFiles(int iSkipped = 0);
    /// Saves the recording that a save has left, with all faults gone; in words.
    std::string SaveOnceMore();
    /// With all faults gone: gets the program ready again, as its operator would, records and saves once more.
    /// What is wrong, in words.
    std::string RecordAgain(bool bStartOver);
    /// Nothing may run or be armed after a start that failed; in words.
    std::string JudgeStandstill();
    /// Closes the document; every camera must be free then. In words.
    std::string Close();

    CVireoDoc& Doc() { return *m_doc; }
    bool IsRecorded() const { return m_doc && m_doc->m_store.m_bRecordDone[0]; }
    bool IsCapturing() const { return m_doc && m_doc->m_capture.m_bCapturing; }
    int ExitsPosted() const;
    std::vector<std::string> Messages() { return m_window.Inner().MessageTexts(); }
    Verdict TakeVerdict() { return ReportTake(*m_doc).eVerdict; }
    int Result() const { return m_app->CooperationResult(); }
    ClockTime Now() const { return m_clock.Now(); }
    /// What Act takes without a fault, at most.
    ClockTime UsualTime() const;
    FaultBoard& Board() { return m_board; }
    const Scene& GetScene() const { return m_scene; }
    /// The settings file's folder, with a separator.
    std::string SettingsFolder() const { return m_folder.Path() + "/"; }

private:
    bool IsPartner() const { return m_scene.pRig->bPartner; }
    void NewDocument();
    bool WaitFor(ClockTime limit, const std::function<bool()>& condition);
    bool WaitLive(std::uint64_t uiFrames);
    bool RunRecording();
    bool ActInState();
    bool ActLive();
    bool ActPlayback();
    bool ActSaving();
    bool AllDone() const;
    std::vector<std::uint32_t> Codes(std::size_t c);

    const Scene m_scene;
    VirtualClock m_clock;
    FaultBoard m_board;
    TemporaryFolder m_folder;
    std::unique_ptr<CameraLibrary> m_simulated;
    RecordingLibrary m_library;
    FaultyWindow m_window;
    FaultyMemory m_memory;
    FaultyVideos m_videos;
    FaultyConverter m_converter;
    FaultyPartner m_partner;
    FaultyPaths m_paths;
    FaultyEncoding m_encoding;
    CountingSidecar m_sidecar;
    TestPlatform m_test;
    std::unique_ptr<CVireoApp> m_app;
    std::unique_ptr<CVireoDoc> m_doc;
    std::vector<std::vector<std::uint32_t>> m_before; ///< bar codes of the recording that Act begins with
    std::size_t m_uiFilesBefore = 0;
};

} // namespace vireo::test
