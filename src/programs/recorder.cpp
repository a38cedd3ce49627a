#include "programs/recorder.h"

#include "app/format_text.h"
#include "app/native_path.h"
#include "app/settings_records.h"
#include "camera/discovery.h"
#include "camera/document_lifecycle.h"
#include "camera/operator_actions.h"
#include "camera/record_time.h"
#include "camera/video_mode.h"
#include "capture/avi_export.h"
#include "capture/frame_store_alloc.h"
#include "capture/grab_threads.h"

#include <algorithm>
#include <filesystem>
#include <unistd.h>

namespace vireo {

namespace {

constexpr std::size_t kPartSuffixBytes = 9; ///< "-0000.avi"
constexpr std::size_t kLongestPath = 260; ///< bytes that the export takes
constexpr std::size_t kLongestName = 255; ///< bytes that file systems take
constexpr ClockTime kLiveWait = 5 * kNsPerSecond;
constexpr ClockTime kLastFramesWait = kNsPerSecond;
constexpr ClockTime kStopWait = 2 * kNsPerSecond; // for the frames that end a stopped recording in step

bool AllDone(const CVireoDoc& doc)
{
    for (unsigned int c = 0; c < doc.m_cameras.m_uiNumCameras; ++c)
        if (!doc.m_store.m_bRecordDone[c])
            return false;
    return true;
}

int RecordedFrames(const CVireoDoc& doc) { return std::max(doc.m_store.m_isaveFrameCount[0].load(), 0); }

// For a strict operator: also a frame that was lost while the cameras ran already is one too many.
bool IsFlawed(const TakeReport& report)
{
    return report.eVerdict == Verdict::FramesMissed || report.eVerdict == Verdict::OutOfSync
        || std::any_of(report.cameras.begin(), report.cameras.end(),
            [](const CameraReport& camera) { return camera.iLostBefore > 0; });
}

} // namespace

Recorder::Recorder(CVireoApp& app, HeadlessWindow& window, RecordOptions options, std::function<int()> stopRequests,
    std::function<void(const std::string&)> progress)
    : m_app(app)
    , m_window(window)
    , m_options(std::move(options))
    , m_stopRequests(std::move(stopRequests))
    , m_progress(std::move(progress))
{
}

RecordOutcome Recorder::Run()
{
    CVireoDoc doc(m_app);
    m_window.OnCommand([this](int iCommand) { m_bExitPosted = m_bExitPosted || iCommand == command::kExit; });
    m_window.OnTimer([&doc](int iTimer) { HandleTimer(doc, iTimer); });
    m_window.OnProgress([this](int iPosition, int iRange) {
        if (iPosition % 50 == 0 && iRange > 0)
            m_progress(FormatText("saving %d of %d frames", iPosition, iRange));
    });
    if (Discover(doc) && CheckRate(doc) && CheckTargets(doc) && Apply(doc) && WaitLive(doc) && Record(doc))
        SaveTake(doc);
    OnCloseDocument(doc);
    m_window.OnTimer({});
    return std::move(m_outcome);
}

bool Recorder::Fail(int iStatus, std::string strError)
{
    m_outcome.iStatus = iStatus;
    m_outcome.strError = std::move(strError);
    return false;
}

void Recorder::BeginStep() { m_uiToldBefore = m_window.Messages().size(); }

// The core has already told the operator what went wrong, and perhaps what followed from it; the report says
// the first. What earlier steps have shown is no reason.
bool Recorder::FailWithMessage(const char* pInstead)
{
    const std::vector<std::string> messages = m_window.Messages();
    return Fail(record_status::kFailed, messages.size() > m_uiToldBefore ? messages[m_uiToldBefore] : pInstead);
}

bool Recorder::Discover(CVireoDoc& doc)
{
    BeginStep();
    const bool bOpened = OnNewDocument(doc);
    m_window.WaitFor([] { return true; }, 0); // an exit command that the configuration posted
    if (!bOpened || m_bExitPosted)
        return FailWithMessage("the cameras could not be connected");
    return true;
}

RecordingPreset Recorder::Values()
{
    RecordingPreset preset;
    if (m_options.iPreset)
        preset = LoadRecordingPreset(m_app, *m_options.iPreset);
    preset.FrameRate = m_options.iFps.value_or(preset.FrameRate);
    preset.WindowSize = m_options.iImageSizeIndex.value_or(preset.WindowSize);
    preset.Shutter = m_options.iShutter.value_or(preset.Shutter);
    preset.Gain = m_options.fGain.value_or(preset.Gain);
    preset.RecTime = m_options.iSeconds.value_or(preset.RecTime);
    return preset;
}

bool Recorder::CheckRate(CVireoDoc& doc)
{
    const RecordingPreset preset = Values();
    m_outcome.report.iFpsRequested = preset.FrameRate;
    if (RateIndex(preset.FrameRate) < 0)
        return Fail(record_status::kUsage, FormatText("%d fps is no frame rate of this program", preset.FrameRate));
    int iCeiling = doc.m_parameters.m_iModelMaxFps;
    int iOfSize = 0;
    // At the smallest size the models' own limit decides; beyond it what the link carries.
    if (preset.WindowSize != 0 && HighestFrameRate(doc, preset.WindowSize, iOfSize))
        iCeiling = std::min(iCeiling, iOfSize);
    if (preset.FrameRate > iCeiling)
        return Fail(record_status::kUsage,
            FormatText(
                "%d fps is more than these cameras allow at this size: at most %d fps", preset.FrameRate, iCeiling));
    return CheckModelRates(doc, preset);
}

// A rate that no rule of a model knows leaves the camera in its standard mode, at that mode's own rate.
bool Recorder::CheckModelRates(CVireoDoc& doc, const RecordingPreset& preset)
{
    for (unsigned int c = 0; c < doc.m_cameras.m_uiNumCameras; ++c) {
        CameraInfo info;
        if (!CameraOf(doc, c).GetCameraInfo(info).IsOk() || info.interfaceType == InterfaceType::GigE)
            continue;
        const VideoModeChoice choice = ChooseVideoMode(info.modelName, preset.WindowSize, preset.FrameRate);
        const int iStandard = choice.eRate == FrameRateCode::Fps60 ? 60 : 30;
        if (!choice.bCustom && preset.FrameRate != iStandard)
            return Fail(record_status::kUsage,
                FormatText("%d fps is no rate of camera %u (%s)", preset.FrameRate, doc.m_cameras.m_uiSerialNumber[c],
                    info.modelName.c_str()));
    }
    return true;
}

bool Recorder::CheckTargets(CVireoDoc& doc)
{
    const unsigned int uiCameras = doc.m_cameras.m_uiNumCameras;
    const int iFirst = Values().InitialCameraNumber;
    std::string strError;
    for (unsigned int c = 0; c < uiCameras; ++c) {
        const auto strPath = ToNativePath(m_app.GetPlatform().paths,
            m_options.strBase + CameraSuffix(uiCameras, static_cast<int>(c) + iFirst), strError);
        if (!strPath)
            return Fail(record_status::kFailed, strError);
        if (IsBaseTaken(*strPath))
            return Fail(record_status::kUsage, *strPath + "-0000.avi exists already, or another part of it");
        const std::filesystem::path folder = std::filesystem::path(*strPath).parent_path();
        std::error_code error;
        if (!folder.empty() && !std::filesystem::is_directory(folder, error))
            return Fail(record_status::kFailed, "there is no folder " + folder.string());
        if (access(folder.empty() ? "." : folder.c_str(), W_OK) != 0)
            return Fail(record_status::kFailed, "the folder cannot be written: " + folder.string());
        const std::size_t uiName = std::filesystem::path(*strPath).filename().string().size() + kPartSuffixBytes;
        if (strPath->size() + kPartSuffixBytes > kLongestPath || uiName > kLongestName)
            return Fail(record_status::kFailed, "the name is too long: " + *strPath);
    }
    return true;
}

bool Recorder::Apply(CVireoDoc& doc)
{
    BeginStep();
    const RecordingPreset preset = Values();
    if (!ApplyPresetValues(doc, preset))
        return FailWithMessage("the cameras could not be configured");
    // A store that was too large has shown its message and is smaller now.
    if (doc.m_parameters.m_iRecordSec != preset.RecTime
        || doc.m_store.m_iAllocatedFrames != BufferFramesFor(preset.RecTime, preset.FrameRate))
        return FailWithMessage("there is not enough memory for this recording");
    BeginStep();
    if (!Prepare(doc, m_options.bTriggerWait))
        return FailWithMessage("the cameras could not be configured");
    return true;
}

bool Recorder::WaitLive(CVireoDoc& doc)
{
    if (m_options.bTriggerWait)
        return true; // no frame comes before the first trigger
    const auto live = [&doc, this] {
        if (!doc.m_capture.m_bCapturing || m_stopRequests() > 0)
            return true;
        for (unsigned int c = 0; c < doc.m_cameras.m_uiNumCameras; ++c)
            if (doc.m_grabThreads->Status(c).m_uiFrames == 0)
                return false;
        return true;
    };
    const bool bLive = m_window.WaitFor(live, m_app.GetPlatform().clock.Now() + kLiveWait);
    if (!doc.m_capture.m_bCapturing) {
        FailWithMessage("the capture ended before a frame came");
        NameLostCameras(doc);
        return false;
    }
    if (m_stopRequests() > 0)
        return Fail(record_status::kFailed, "stopped before the recording began");
    if (bLive)
        return true;
    for (unsigned int c = 0; c < doc.m_cameras.m_uiNumCameras; ++c)
        if (doc.m_grabThreads->Status(c).m_uiFrames == 0)
            return Fail(
                record_status::kFailed, FormatText("camera %u delivers no frames", doc.m_cameras.m_uiSerialNumber[c]));
    return true;
}

bool Recorder::Record(CVireoDoc& doc)
{
    if (!m_options.bTriggerWait && !StoreIsShort(doc) && !Start(doc))
        return FailWithMessage("the recording could not be started");
    Clock& clock = m_app.GetPlatform().clock;
    const ClockTime deadline = m_options.dTimeoutSeconds
        ? clock.Now() + static_cast<ClockTime>(*m_options.dTimeoutSeconds * kNsPerSecond)
        : kForever;
    bool bStopAsked = false;
    ClockTime stopLimit = kForever;
    const char* pGivenUp = nullptr;
    const auto finished = [&] {
        m_progress(FormatText("%d of %d frames", std::min(RecordedFrames(doc), doc.m_store.m_iRecordTarget.load()),
            doc.m_store.m_iRecordTarget.load()));
        if (!bStopAsked && m_stopRequests() > 0) {
            bStopAsked = true;
            const bool bRecording = doc.m_capture.m_iCaptureState == capture_state::kRecording;
            if (!bRecording || doc.m_capture.m_iCaptureMode == capture_mode::kLinear)
                return true; // nothing to end in step: EndRecording keeps what there is
            doc.m_store.m_bStopRequest = true;
            stopLimit = clock.Now() + kStopWait;
        }
        // The stop is taken with a frame of camera 0, and a trigger need not bring one ever again: EndRecording
        // keeps what there is.
        if (bStopAsked && (RecordedFrames(doc) < 1 || clock.Now() >= stopLimit))
            return true;
        // A recording that has begun is never given up.
        if (RecordedFrames(doc) < 1 && !doc.m_store.m_bRecordDone[0])
            pGivenUp = StoreIsShort(doc)  ? "memory is short: the recording could not be whole"
                : clock.Now() >= deadline ? "no recording within the time-out"
                                          : nullptr;
        return pGivenUp != nullptr || AllDone(doc) || !doc.m_capture.m_bCapturing;
    };
    m_window.WaitFor(finished, kForever);
    return EndRecording(doc, pGivenUp);
}

bool Recorder::EndRecording(CVireoDoc& doc, const char* pGivenUp)
{
    // Messages of the last checks and of a failure are posted; the threads end by themselves or are told to.
    m_window.WaitFor([&doc] { return !doc.m_capture.m_bCapturing; },
        m_app.GetPlatform().clock.Now() + (AllDone(doc) ? kLastFramesWait : 0));
    if (!AllDone(doc) && doc.m_grabThreads)
        doc.m_grabThreads->KeepRecording();
    StopGrab(doc);
    if (!doc.m_store.m_bRecordDone[0]) {
        if (pGivenUp != nullptr)
            return Fail(record_status::kFailed, pGivenUp);
        if (m_stopRequests() > 0)
            return Fail(record_status::kFailed, "stopped before the recording began");
        FailWithMessage("the recording failed");
        NameLostCameras(doc);
        return false;
    }
    if (doc.m_store.m_iCutFrom > 0) {
        FailWithMessage("the recording was cut short");
        NameLostCameras(doc);
    }
    return true;
}

// The core's message counts cameras from one; who has four on the bench looks for the number on the label.
void Recorder::NameLostCameras(CVireoDoc& doc)
{
    std::string strLost;
    for (unsigned int c = 0; c < doc.m_cameras.m_uiNumCameras; ++c)
        if (IsCameraLost(doc, c))
            strLost += FormatText("%s%u", strLost.empty() ? "" : ", ", doc.m_cameras.m_uiSerialNumber[c]);
    if (!strLost.empty())
        m_outcome.strError += " (lost: camera " + strLost + ")";
}

void Recorder::SaveTake(CVireoDoc& doc)
{
    m_outcome.bRecorded = true;
    m_outcome.report = ReportTake(doc);
    BeginStep();
    const ExportResult saved = SaveAviAs(doc, m_options.strBase);
    AddExport(m_outcome.report, saved);
    if (!saved.bComplete) {
        FailWithMessage("the files could not be written");
        return;
    }
    if (m_options.bStrict && IsFlawed(m_outcome.report))
        m_outcome.iStatus = record_status::kStrict;
}

} // namespace vireo
