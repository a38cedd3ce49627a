#include "matrix/matrix_bench.h"

#include "app/format_text.h"
#include "camera/discovery.h"
#include "camera/document_lifecycle.h"
#include "camera/document_settings.h"
#include "camera/operator_actions.h"
#include "capture/frame_store_alloc.h"
#include "capture/grab_threads.h"
#include "matrix/thread_faults.h"
#include "platform/simulated/simulated_library.h"
#include "support/bar_code.h"
#include "support/camera_document.h"
#include "support/partner_request.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace vireo::test {

namespace {

constexpr Rig kRigs[] = {
    { "locked", "simulated:2xFL3-U3-13Y3M", 2, true, false },
    { "gige", "simulated:2xGS3-PGE-23S6C", 2, true, false },
    { "mixed", "simulated:GS3-U3-23S6M+GS3-PGE-23S6M+FL3-U3-13E4C", 3, true, false, 60, -1 },
    { "free", "simulated:2xGRAS-03K2C", 2, false, false },
    { "plain", "simulated:FFMV-03M2M", 1, false, false },
    { "four", "simulated:4xFL3-U3-13Y3M", 4, true, false },
    { "partner", "simulated:2xFL3-U3-13Y3M", 2, true, true },
};
constexpr std::uint64_t kAvailableKiB = 1 << 20;
constexpr ClockTime kLiveLimit = 6 * kNsPerSecond; // more than a silent camera is waited for
constexpr ClockTime kRecordLimit = 12 * kNsPerSecond;
constexpr std::int64_t kAfterwardsMs = 50; // what the last call has set off comes to its end
constexpr int kPartnerFrames = 14; ///< after which the partner stops the recording

SimulatedSetup CamerasOf(const Scene& scene)
{
    // The outside trigger begins a while after the cameras wait for it. Cameras that run free look at its level.
    const std::string strTrigger = FormatText("trigger:%d@600", scene.pRig->bRing ? scene.pRig->iFps : 7);
    return SetupOf(scene.pRig->pSource, scene.eState == State::Waiting ? strTrigger : "");
}

CooperationRequest RequestOf(const Rig& rig)
{
    if (!rig.bPartner)
        return {};
    std::vector<std::string> files;
    for (int c = 0; c < rig.iCameras; ++c)
        files.push_back(FormatText("c:\\partner%d.avi", c));
    CooperationRequest request = PartnersRequest(30, std::move(files));
    request.CoopSwitches = 111; // keys, and prompts that name them
    return request;
}

} // namespace

std::span<const Rig> Rigs() { return kRigs; }

const char* StateName(State eState)
{
    constexpr const char* kNames[] = { "starting", "live", "armed", "waiting", "recording", "playback", "saving",
        "saving elsewhere", "closing" };
    static_assert(std::size(kNames) == kStates);
    return kNames[static_cast<std::size_t>(eState)];
}

std::vector<Scene> Scenes()
{
    std::vector<Scene> scenes;
    for (const Rig& rig : kRigs)
        for (std::size_t i = 0; i < kStates; ++i) {
            const auto eState = static_cast<State>(i);
            // More cameras are more of the same, but where all of them are found, recorded, saved and let go.
            const bool bFew = rig.iCameras == 4
                && (eState == State::Live || eState == State::Armed || eState == State::Waiting
                    || eState == State::SavingElsewhere);
            const bool bPanel = eState == State::Armed || eState == State::Waiting || eState == State::Playback;
            if (!bFew && (!rig.bPartner || !bPanel)) // a partner's run has no panel
                scenes.push_back({ &rig, eState });
        }
    return scenes;
}

MatrixBench::MatrixBench(const Scene& scene)
    : m_scene(scene)
    , m_board(m_clock)
    , m_folder(TemporaryFolder::Place::Memory)
    , m_simulated(MakeSimulatedLibrary(m_clock, CamerasOf(scene)))
    , m_library(*m_simulated)
    , m_window(m_board, m_clock)
    , m_memory(m_board, kAvailableKiB)
    , m_videos(m_board)
    , m_converter(m_board)
    , m_partner(m_board, m_clock)
    , m_paths(m_board, m_folder.Path())
    , m_encoding(m_board)
    , m_sidecar(m_board)
    , m_test({ .pClock = &m_clock,
          .pCameras = &m_library,
          .pWindow = &m_window,
          .pMemory = &m_memory,
          .pConverter = &m_converter,
          .pVideo = &m_videos,
          .pPartner = &m_partner,
          .pPaths = &m_paths,
          .pEncoding = &m_encoding })
    , m_app(std::make_unique<CVireoApp>(m_test.m_platform))
{
    m_library.Around([this](const LibraryCall& call, const std::function<Error()>& perform) {
        return m_board.Around(call, perform);
    });
    std::string strSettings;
    for (const char* pPreset : { "0", "1" })
        strSettings += FormatText(
            "[CAM_PROPERTY_DATA%s]\r\nFrameRate=%d\r\nShutter=%d\r\n", pPreset, scene.pRig->iFps, scene.pRig->iShutter);
    WriteFile(m_folder / "Tessel.ini", strSettings);
    AskBeforeThreads([this] { return m_board.Enter(Seam::CreateThread) == Way::Fails; });
    m_app->SetIniFolder(m_folder.Path() + "/");
    m_app->SetRequest(RequestOf(*scene.pRig));
    m_app->SetSidecar(&m_sidecar);
    m_partner.Desktop().Open("Marten");
    NewDocument();
}

MatrixBench::~MatrixBench()
{
    m_board.Rest();
    if (m_doc)
        OnCloseDocument(*m_doc);
    AskBeforeThreads(nullptr);
}

void MatrixBench::NewDocument()
{
    m_doc.reset();
    m_doc = std::make_unique<CVireoDoc>(*m_app);
    m_doc->m_naming.m_strFileTitle = "take";
}

bool MatrixBench::WaitFor(ClockTime limit, const std::function<bool()>& condition)
{
    const ClockTime deadline = m_clock.Now() + limit;
    while (!condition()) {
        if (m_clock.Now() >= deadline)
            return false;
        m_clock.SleepMs(1);
    }
    return true;
}

// True when every camera delivers, and still does a little later.
bool MatrixBench::WaitLive(std::uint64_t uiFrames)
{
    const auto live = [&] {
        if (!IsCapturing())
            return true;
        for (unsigned int c = 0; c < m_doc->m_cameras.m_uiNumCameras; ++c)
            if (m_doc->m_grabThreads->Status(c).m_uiFrames < uiFrames)
                return false;
        return true;
    };
    if (!IsCapturing() || !WaitFor(kLiveLimit, live))
        return false;
    m_clock.SleepMs(kAfterwardsMs);
    return IsCapturing();
}

bool MatrixBench::AllDone() const
{
    for (unsigned int c = 0; c < m_doc->m_cameras.m_uiNumCameras; ++c)
        if (!m_doc->m_store.m_bRecordDone[c])
            return false;
    return m_doc->m_cameras.m_uiNumCameras > 0;
}

void MatrixBench::Prepare()
{
    if (m_scene.eState == State::Starting)
        return;
    if (!OnNewDocument(*m_doc) || (m_scene.eState != State::Waiting && !WaitLive(2)))
        throw std::runtime_error("the program does not come up");
    m_doc->m_naming.m_strSaveFolder = "c:\\";
    const bool bSaving = m_scene.eState == State::Saving || m_scene.eState == State::SavingElsewhere;
    if (bSaving || m_scene.eState == State::Playback) {
        if (!RunRecording())
            throw std::runtime_error("nothing is recorded");
        m_before.clear();
        for (std::size_t c = 0; c < m_doc->m_cameras.m_uiNumCameras; ++c)
            m_before.push_back(Codes(c));
    }
    if (m_scene.eState == State::SavingElsewhere) // the names are taken
        for (int i = 0; i <= m_scene.pRig->iCameras; ++i) {
            const std::string strSuffix = m_scene.pRig->iCameras > 1 ? FormatText("-cam%d", i) : std::string();
            WriteFile(m_folder / ("take" + strSuffix + "-0000.avi"), "x");
            WriteFile(m_folder / (FormatText("partner%d", std::max(i - 1, 0)) + strSuffix + "-0000.avi"), "x");
        }
    if (m_scene.eState == State::Closing)
        RememberTitle(m_doc->m_naming);
    m_uiFilesBefore = m_videos.Files().size();
    m_window.Inner().Clear();
}

bool MatrixBench::Act()
{
    // A trigger that is found switched on.
    if (m_scene.eState == State::Waiting && std::string(m_scene.pRig->pName) == "gige")
        m_library.Answers().triggerOn = true;
    const bool bWhole = ActInState();
    // A stop that a thread of the capture has begun comes to its end.
    WaitFor(2 * kNsPerSecond, [this] { return m_doc->m_capture.m_ePhase != CapturePhase::Stopping; });
    m_library.Answers() = {};
    return bWhole;
}

bool MatrixBench::ActInState()
{
    switch (m_scene.eState) {
    case State::Starting: {
        const bool bOpen = OnNewDocument(*m_doc);
        m_doc->m_naming.m_strSaveFolder = "c:\\";
        return bOpen && WaitLive(3);
    }
    case State::Live: return ActLive();
    case State::Armed: return vireo::Prepare(*m_doc, false) && WaitLive(3);
    case State::Waiting: {
        const bool bArmed = vireo::Prepare(*m_doc, true);
        m_clock.SleepMs(400);
        return bArmed && IsCapturing();
    }
    case State::Recording: return RunRecording();
    case State::Playback: return ActPlayback();
    case State::Saving:
    case State::SavingElsewhere: return ActSaving();
    case State::Closing: OnCloseDocument(*m_doc); return true;
    }
    return false;
}

bool MatrixBench::RunRecording()
{
    const auto recorded = [this] { return m_doc->m_store.m_isaveFrameCount[0] >= kPartnerFrames || !IsCapturing(); };
    if (!IsPartner() && !Start(*m_doc))
        return false;
    if (IsPartner()) {
        HandleCooperationEnter(*m_doc);
        WaitFor(kRecordLimit, recorded);
        HandlePartnerCopyData(*m_doc, partner::kCopyDataIdentifier, "1");
    }
    WaitFor(kRecordLimit, [this] { return !IsCapturing(); });
    StopGrab(*m_doc);
    return AllDone() && m_doc->m_store.m_iCutFrom == 0;
}

bool MatrixBench::ActLive()
{
    const std::uint64_t uiBefore = m_doc->m_grabThreads->Status(0).m_uiFrames;
    HandleTimer(*m_doc, timer::kRefreshLive);
    if (!IsPartner()) {
        UpdateInfo(*m_doc);
        UpdatePresetNames(*m_doc);
    }
    const bool bFlowed = WaitLive(uiBefore + 4);
    return bFlowed && (IsPartner() || (SelectPreset(*m_doc, 1) && WaitLive(3)));
}

bool MatrixBench::ActPlayback()
{
    TogglePlayback(*m_doc);
    const bool bOn = m_doc->m_capture.m_bPlayback;
    for (int i = 0; i < 3; ++i)
        StepForward(*m_doc);
    StepBack(*m_doc);
    SetMarkStart(*m_doc);
    SetMarkEnd(*m_doc);
    UpdateInfo(*m_doc);
    TogglePlayback(*m_doc);
    return bOn && IsRecorded();
}

bool MatrixBench::ActSaving()
{
    if (IsPartner()) {
        HandleTimer(*m_doc, timer::kExit);
        return !IsRecorded();
    }
    Save(*m_doc);
    return !IsRecorded() && WaitLive(3);
}

int MatrixBench::ExitsPosted() const
{
    const std::vector<int> commands = m_window.Inner().Record().commands;
    return static_cast<int>(std::count(commands.begin(), commands.end(), command::kExit));
}

std::vector<std::uint32_t> MatrixBench::Codes(std::size_t c)
{
    const FrameStore& store = m_doc->m_store;
    std::vector<std::uint32_t> codes;
    for (int i = 0; i < store.m_iRecordTarget; ++i)
        codes.push_back(
            ReadBarCode(store.SlotImage(c, RingSlot(store.m_istartFrame[c], i, store.m_iBufferFrames))).value_or(0));
    return codes;
}

} // namespace vireo::test
