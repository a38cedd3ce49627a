#include "capture/avi_export.h"

#include "app/format_text.h"
#include "app/native_path.h"
#include "capture/messages.h"
#include "capture/recording_marks.h"
#include "capture/take_sidecar.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <exception>
#include <filesystem>
#include <functional>
#include <optional>
#include <string_view>

namespace vireo {

namespace {

constexpr unsigned int kJpegQuality = 75;
constexpr std::size_t kMaxNameBytes = 260;
constexpr std::string_view kFirstPart = "-0000";

/// What differs between the ways to export.
struct ExportPlan {
    std::function<std::string(unsigned int)> baseOf; ///< document path without suffix, per camera
    std::function<std::optional<float>(unsigned int)> imposedRate; ///< fps, instead of the camera's own
    int iProgressRange = 0;
    bool bAskOnCollision = true; ///< else a taken name fails at Open
};

enum class CameraOutcome {
    Written,
    Skipped,
    NoFrames,
    Unreadable, ///< written without an error, but the files do not hold it
    Failed, ///< ends the save
};

/// First and last frame to write, inclusive, both inside the recording; empty when last < first.
struct FrameRange {
    int iFirst = 0;
    int iLast = -1;
};

FrameRange SavedRange(const CVireoDoc& doc)
{
    const int iTarget = doc.m_store.m_iRecordTarget;
    int iFirst = doc.m_capture.m_iSaveFirstFrame;
    int iLast = doc.m_capture.m_iSaveLastFrame;
    if (iLast < 0)
        iLast = iTarget - 1;
    if (iLast < iFirst)
        std::swap(iFirst, iLast); // marks set the wrong way round still mean the frames between them
    return { std::clamp(iFirst, 0, std::max(iTarget - 1, 0)), std::clamp(iLast, -1, iTarget - 1) };
}

float FileRate(CVireoDoc& doc, unsigned int uiCamera, const ExportPlan& plan)
{
    if (const std::optional<float> fImposed = plan.imposedRate(uiCamera))
        return *fImposed;
    Property property;
    property.type = PropertyType::FrameRate;
    const Error error = CameraOf(doc, uiCamera).GetProperty(property);
    if (error.IsOk() && property.present && property.absValue > 0.0F)
        return property.absValue;
    if (!error.IsOk()) // the camera may be gone; its recording is not
        PrintErrorTrace(doc.GetPlatform().log, error, "frame rate for the AVI file");
    return static_cast<float>(doc.m_capture.m_running.iFps);
}

class Exporter {
public:
    Exporter(CVireoDoc& doc, ExportPlan plan)
        : m_doc(doc)
        , m_plan(std::move(plan))
    {
    }

    ExportResult Run()
    {
        Platform& platform = m_doc.GetPlatform();
        const ClockTime begin = platform.clock.Now();
        m_result.bRan = true;
        m_doc.m_capture.m_bSaving = true;
        platform.window.BeginProgress(std::max(m_plan.iProgressRange, 0));
        const bool bKept = !WriteAll();
        m_result.bComplete = !bKept;
        m_result.dSeconds = static_cast<double>(platform.clock.Now() - begin) / kNsPerSecond;
        DescribeTake();
        platform.window.EndProgress();
        if (!bKept)
            ForgetRecording();
        m_doc.m_capture.m_iCaptureState = capture_state::kLive;
        m_doc.m_capture.m_bSaving = false;
        platform.window.RefreshPanel();
        return std::move(m_result);
    }

private:
    // True when the recording may go: everything is in files, or was passed over on the operator's wish.
    bool WriteAll()
    {
        const unsigned int uiCameras = m_doc.m_cameras.m_uiNumCameras;
        bool bAllWhole = true;
        bool bAnyWritten = false;
        for (unsigned int c = 0; c < uiCameras; ++c) {
            m_result.cameras.emplace_back();
            const CameraOutcome eOutcome = WriteCamera(c);
            m_doc.GetPlatform().window.SetProgress(0);
            if (eOutcome == CameraOutcome::Failed)
                return false;
            if (eOutcome == CameraOutcome::Written && !bAnyWritten)
                RememberFile();
            bAllWhole = bAllWhole && eOutcome != CameraOutcome::NoFrames && eOutcome != CameraOutcome::Unreadable;
            bAnyWritten = bAnyWritten || eOutcome == CameraOutcome::Written;
        }
        if (!bAllWhole)
            m_doc.App().SetCooperationResult(cooperation_result::kWriteFailed);
        return bAllWhole && bAnyWritten;
    }

    // One file of a take: with every part of every camera the last take alone would fill the list.
    void RememberFile()
    {
        const std::vector<std::string>& files = m_result.cameras.back().files;
        if (!files.empty())
            m_doc.GetPlatform().window.AddRecentFile(files.front());
    }

    CameraOutcome WriteCamera(unsigned int uiCamera)
    {
        const FrameRange range = RecordedRange(uiCamera);
        const int iNumber = static_cast<int>(uiCamera) + m_doc.m_capture.m_running.iFirstCamera;
        if (range.iLast < range.iFirst) {
            ShowMessage(m_doc.GetPlatform().window, messages::kNoFramesOfCamera, { iNumber });
            return CameraOutcome::NoFrames;
        }
        std::string strNative;
        std::string strError;
        if (!ChooseName(uiCamera, strNative, strError)) {
            if (strError.empty())
                return CameraOutcome::Skipped;
            return FailOpen(strError);
        }
        const float fRate = FileRate(m_doc, uiCamera, m_plan);
        // The writer makes the name longer: that of its first part is the one that counts.
        if (strNative.size() + kFirstPart.size() > kMaxNameBytes || strNative.find('\0') != std::string::npos) {
            ShowMessage(m_doc.GetPlatform().window, messages::kNameConversionFailed);
            return CameraOutcome::Failed;
        }
        const std::unique_ptr<FlyCapture2Video> video = m_doc.GetPlatform().video.Create();
        const Error opened = video->Open(strNative, { fRate, kJpegQuality });
        if (!opened.IsOk())
            return FailOpen(opened.GetDescription());
        return WriteFrames(uiCamera, range, *video);
    }

    CameraOutcome FailOpen(const std::string& strReason)
    {
        m_doc.App().SetCooperationResult(cooperation_result::kFileOpenFailed);
        ShowMessage(m_doc.GetPlatform().window, messages::kAviOpenFailed, { strReason });
        return CameraOutcome::Failed;
    }

    // Frames that the camera really has, of those to be saved.
    FrameRange RecordedRange(unsigned int uiCamera) const
    {
        FrameRange range = SavedRange(m_doc);
        const int iRecorded = std::max(m_doc.m_store.m_isaveFrameCount[uiCamera].load(), 0);
        range.iLast = std::min(range.iLast, iRecorded - 1);
        return range;
    }

    // The native file name, "-0000" not yet in it. False without an error text: the operator cancelled.
    bool ChooseName(unsigned int uiCamera, std::string& strNative, std::string& strError)
    {
        const std::string strSuffix = CameraSuffix(
            m_doc.m_cameras.m_uiNumCameras, static_cast<int>(uiCamera) + m_doc.m_capture.m_running.iFirstCamera);
        std::string strBase = m_plan.baseOf(uiCamera);
        for (;;) {
            m_doc.m_naming.m_strFilePath = strBase;
            const std::optional<std::string> strPath =
                ToNativePath(m_doc.GetPlatform().paths, strBase + strSuffix, strError);
            if (!strPath)
                return false;
            strNative = *strPath + ".avi";
            if (!m_plan.bAskOnCollision || !IsBaseTaken(*strPath))
                return true;
            std::string strNoFolder; // the dialog opens elsewhere then
            const std::optional<std::string> strFolder =
                ToNativePath(m_doc.GetPlatform().paths, m_doc.m_naming.m_strSaveFolder, strNoFolder);
            const std::optional<std::string> strChosen = m_doc.GetPlatform().window.ChooseSavePath(
                { "ファイル(*.avi)", "*.avi", "avi", strFolder.value_or(std::string()) });
            if (!strChosen)
                return false;
            strBase = CutAtFirstDot(*strChosen);
        }
    }

    CameraOutcome WriteFrames(unsigned int uiCamera, FrameRange range, FlyCapture2Video& video)
    {
        const FrameStore& store = m_doc.m_store;
        ExportedCamera& exported = m_result.cameras.back();
        exported.iFirstFrame = range.iFirst;
        for (int i = range.iFirst; i <= range.iLast; ++i) {
            const Image frame =
                store.SlotImage(uiCamera, RingSlot(store.m_istartFrame[uiCamera], i, store.m_iBufferFrames));
            // A slot outside the ring has no picture; the writer refuses it like any other bad frame.
            if (const Error error = video.Append(frame); !error.IsOk())
                return FailWrite(error, uiCamera, video, exported);
            ++exported.iFrames;
            m_doc.GetPlatform().window.SetProgress(i);
        }
        const Error closed = video.Close();
        exported.files = video.GetFiles();
        if (closed.IsOk())
            return ReadBack(exported) ? CameraOutcome::Written : CameraOutcome::Unreadable;
        LogCause(closed, uiCamera);
        m_doc.App().SetCooperationResult(cooperation_result::kWriteFailed);
        ShowMessage(m_doc.GetPlatform().window, messages::kAviCloseFailed);
        return CameraOutcome::Failed;
    }

    // A write that went without a word is not yet a file that holds the take. What is read here may still come out of
    // the system's memory: it shows what the program wrote, not what the disk will keep.
    bool ReadBack(ExportedCamera& exported)
    {
        exported.iReadBack = 0;
        for (const std::string& strFile : exported.files) {
            int iFrames = 0;
            const Error error = m_doc.GetPlatform().video.ReadBack(strFile, iFrames);
            if (!error.IsOk())
                return FailCheck(strFile + ": " + error.GetDescription());
            exported.iReadBack += iFrames;
        }
        if (exported.iReadBack == exported.iFrames)
            return true;
        return FailCheck((exported.files.empty() ? std::string() : exported.files.back())
            + FormatText(": %d of %d frames", exported.iReadBack, exported.iFrames));
    }

    // Always false. A run of a partner program is told by its result; nobody is there to close a box.
    bool FailCheck(const std::string& strReason)
    {
        if (m_doc.Request().CooperationMode)
            m_doc.GetPlatform().log.Write(FormatMessage(messages::kAviCheckFailed, { strReason }));
        else
            ShowMessage(m_doc.GetPlatform().window, messages::kAviCheckFailed, { strReason });
        return false;
    }

    // While the evidence still stands in the store.
    void DescribeTake()
    {
        TakeSidecar* const pSidecar = m_doc.App().Sidecar();
        if (pSidecar == nullptr)
            return;
        try {
            TakeReport report = ReportTake(m_doc);
            AddExport(report, m_result);
            pSidecar->Write(report);
        } catch (const std::exception& error) { // the files themselves are saved
            m_doc.GetPlatform().log.Write(std::string("no take report: ") + error.what());
        }
    }

    // The message says that writing failed; a full disk and a broken one look the same there.
    void LogCause(const Error& error, unsigned int uiCamera)
    {
        PrintErrorTrace(m_doc.GetPlatform().log, error, "AVI file of camera " + std::to_string(uiCamera));
    }

    // The file stays as far as it was written.
    CameraOutcome FailWrite(
        const Error& error, unsigned int uiCamera, FlyCapture2Video& video, ExportedCamera& exported)
    {
        LogCause(error, uiCamera);
        const Error closed = video.Close();
        if (!closed.IsOk())
            LogCause(closed, uiCamera);
        exported.files = video.GetFiles();
        m_doc.App().SetCooperationResult(cooperation_result::kWriteFailed);
        ShowMessage(m_doc.GetPlatform().window, messages::kAviWriteFailed);
        return CameraOutcome::Failed;
    }

    void ForgetRecording()
    {
        for (unsigned int c = 0; c < m_doc.m_cameras.m_uiNumCameras; ++c)
            m_doc.m_store.m_bRecordDone[c] = false;
        m_doc.m_store.m_uiDoneCameras = 0;
        ResetMarks(m_doc);
    }

    CVireoDoc& m_doc;
    ExportPlan m_plan;
    ExportResult m_result;
};

bool HasRecording(const CVireoDoc& doc) { return doc.m_store.m_bRecordDone[0] && !doc.m_capture.m_bSaving; }

// The name of this take; the running number moves on for the next one.
std::string TakeAutomaticBase(CVireoDoc& doc)
{
    Naming& naming = doc.m_naming;
    std::string strTitle = naming.m_strFileTitle;
    if (naming.m_bSerialSuffix && !naming.m_strSerialSuffix.empty()) {
        strTitle += "-" + naming.m_strSerialSuffix;
        naming.m_strSerialSuffix = NextSerialSuffix(naming.m_strSerialSuffix);
    }
    return JoinPath(naming.m_strSaveFolder, strTitle);
}

} // namespace

ExportResult SaveAvi(CVireoDoc& doc)
{
    if (!HasRecording(doc))
        return {};
    ExportPlan plan;
    plan.baseOf = [&doc](unsigned int c) {
        return c < kCoopMaxFiles ? CutLastExtension(doc.Request().CoopFileNames[c]) : std::string();
    };
    plan.imposedRate = [&doc](unsigned int) -> std::optional<float> {
        if (!doc.m_capture.m_running.bImposed)
            return std::nullopt;
        return static_cast<float>(doc.Request().CoopFrameRate);
    };
    plan.iProgressRange = doc.m_store.m_iRecordTarget;
    return Exporter(doc, std::move(plan)).Run();
}

ExportResult SaveAviAutomatic(CVireoDoc& doc)
{
    if (!HasRecording(doc))
        return {};
    const std::string strBase = TakeAutomaticBase(doc);
    ExportPlan plan;
    plan.baseOf = [strBase](unsigned int) { return std::string(strBase); };
    plan.imposedRate = [&doc](unsigned int c) -> std::optional<float> {
        if (!doc.m_capture.m_running.bImposed || (c == 0 && !doc.m_capture.m_running.bRateFixed))
            return std::nullopt;
        return static_cast<float>(doc.m_capture.m_running.iFps);
    };
    plan.iProgressRange = doc.m_store.m_isaveFrameCount[0];
    return Exporter(doc, std::move(plan)).Run();
}

ExportResult SaveAviAs(CVireoDoc& doc, const std::string& strBase)
{
    if (!HasRecording(doc))
        return {};
    ExportPlan plan;
    plan.baseOf = [strBase](unsigned int) { return strBase; };
    plan.imposedRate = [](unsigned int) -> std::optional<float> { return std::nullopt; };
    plan.iProgressRange = doc.m_store.m_iRecordTarget;
    plan.bAskOnCollision = false;
    return Exporter(doc, std::move(plan)).Run();
}

void AddExport(TakeReport& report, const ExportResult& saved)
{
    report.dSaveSeconds = saved.dSeconds;
    for (std::size_t c = 0; c < saved.cameras.size() && c < report.cameras.size(); ++c) {
        report.cameras[c].files = saved.cameras[c].files;
        report.cameras[c].iFirstSaved = saved.cameras[c].iFirstFrame;
        report.cameras[c].iSaved = saved.cameras[c].iFrames;
        report.cameras[c].iReadBack = saved.cameras[c].iReadBack;
    }
}

bool IsBaseTaken(const std::string& strNativeBase)
{
    namespace fs = std::filesystem;
    const fs::path base(strNativeBase);
    const std::string strStem = base.filename().string();
    std::error_code error;
    if (fs::exists(strNativeBase + std::string(kFirstPart) + ".avi", error))
        return true;
    const fs::path folder = base.has_parent_path() ? base.parent_path() : fs::path(".");
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        const std::string strName = entry->path().filename().string();
        if (strName.size() != strStem.size() + 9 || !strName.starts_with(strStem + "-") || !strName.ends_with(".avi"))
            continue;
        const std::string_view strDigits = std::string_view(strName).substr(strStem.size() + 1, 4);
        if (std::all_of(strDigits.begin(), strDigits.end(), [](unsigned char c) { return std::isdigit(c) != 0; }))
            return true;
    }
    return false;
}

std::string NextSerialSuffix(const std::string& strNumber)
{
    std::uint64_t uiValue = 0; // also of a text without leading digits, or with more than the number can hold
    const std::size_t uiDigits = strNumber.find_first_not_of(" \t");
    if (uiDigits != std::string::npos)
        std::from_chars(strNumber.data() + uiDigits, strNumber.data() + strNumber.size(), uiValue);
    const std::string strNext = std::to_string(uiValue + 1);
    return strNext.size() >= strNumber.size() ? strNext : std::string(strNumber.size() - strNext.size(), '0') + strNext;
}

std::string CutLastExtension(const std::string& strName) { return strName.substr(0, strName.rfind('.')); }

std::string CutAtFirstDot(const std::string& strPath) { return strPath.substr(0, strPath.find('.')); }

std::string CameraSuffix(unsigned int uiCameras, int iNumber)
{
    return uiCameras > 1 ? FormatText("-cam%d", iNumber) : std::string();
}

} // namespace vireo
