#include "app/format_text.h"
#include "camera/discovery.h"
#include "camera/document_lifecycle.h"
#include "camera/document_settings.h"
#include "camera/operator_actions.h"
#include "capture/avi_export.h"
#include "capture/frame_store_alloc.h"
#include "capture/grab_threads.h"
#include "matrix/matrix_bench.h"

#include <algorithm>
#include <cstdlib>

namespace vireo::test {

namespace {

constexpr std::int64_t kRoundingUs = 2;

std::string JudgeCodes(const std::vector<std::vector<std::uint32_t>>& codes, int iFps, bool bGapsAllowed)
{
    const std::int64_t iPeriodUs = 1'000'000 / iFps;
    for (std::size_t c = 0; c < codes.size(); ++c) {
        if (codes[c].size() != codes[0].size())
            return FormatText("camera %d has %d frames, camera 0 %d", static_cast<int>(c),
                static_cast<int>(codes[c].size()), static_cast<int>(codes[0].size()));
        for (std::size_t i = 0; i < codes[c].size() && !bGapsAllowed; ++i) {
            const auto iCode = static_cast<std::int64_t>(codes[c][i]);
            if (std::abs(iCode - static_cast<std::int64_t>(codes[0][i])) > kRoundingUs)
                return FormatText("frame %d of camera %d is not the exposure of camera 0's", static_cast<int>(i),
                    static_cast<int>(c));
            if (i > 0 && std::abs(iCode - codes[c][i - 1] - iPeriodUs) > kRoundingUs)
                return FormatText("a gap before frame %d of camera %d", static_cast<int>(i), static_cast<int>(c));
        }
    }
    return {};
}

} // namespace

std::string MatrixBench::JudgeRecording(int iFrames, bool bGapsAllowed)
{
    if (!AllDone())
        return "the recording is gone";
    if (m_doc->m_store.m_iRecordTarget < iFrames)
        return FormatText("%d frames are kept, not %d", m_doc->m_store.m_iRecordTarget.load(), iFrames);
    std::vector<std::vector<std::uint32_t>> codes;
    for (std::size_t c = 0; c < m_doc->m_cameras.m_uiNumCameras; ++c)
        codes.push_back(Codes(c));
    if (!m_before.empty() && codes != m_before)
        return "the recording has changed";
    return JudgeCodes(codes, m_scene.pRig->iFps, bGapsAllowed);
}

std::string MatrixBench::JudgeFiles(int iSkipped)
{
    const std::vector<BarCodeFile> files = m_videos.Files();
    if (files.size() + static_cast<std::size_t>(iSkipped) != m_uiFilesBefore + m_before.size())
        return FormatText("%d files were written", static_cast<int>(files.size() - m_uiFilesBefore));
    // A recording in step has the same bar codes on every camera, so it does not matter whose file is missing.
    for (std::size_t i = m_uiFilesBefore; i < files.size(); ++i)
        if (files[i].exposuresUs != m_before[i - m_uiFilesBefore])
            return "a file does not hold the recording: " + files[i].strFileName;
        else if (std::abs(files[i].dRate - m_scene.pRig->iFps) > 0.5)
            return FormatText("a file plays at %.1f fps: ", files[i].dRate) + files[i].strFileName;
    return {};
}

std::string MatrixBench::SaveOnceMore()
{
    m_board.Rest();
    m_window.Inner().Clear();
    m_uiFilesBefore = m_videos.Files().size();
    if (!SaveAviAs(*m_doc, "c:\\elsewhere").bComplete || !Messages().empty())
        return "the recording cannot be saved again";
    return JudgeFiles();
}

ClockTime MatrixBench::UsualTime() const
{
    return m_scene.eState == State::Recording ? 2100 * kNsPerMs : kNsPerSecond / 2;
}

std::string MatrixBench::JudgeStandstill()
{
    if (IsCapturing())
        return "something captures";
    for (std::size_t c = 0; c < m_doc->m_cameras.m_ppCameraBase.size(); ++c) {
        CameraBase* const pCamera = m_doc->m_cameras.m_ppCameraBase[c];
        if (pCamera == nullptr || !pCamera->IsConnected() || m_board.IsGone(static_cast<int>(c)))
            continue;
        TriggerMode trigger;
        StrobeControl strobe;
        strobe.source = 2;
        if (!pCamera->GetTriggerMode(trigger).IsOk() || trigger.onOff)
            return FormatText("the trigger of camera %d is armed", static_cast<int>(c));
        if (pCamera->GetStrobe(strobe).IsOk() && strobe.onOff)
            return FormatText("the strobe of camera %d is on", static_cast<int>(c));
        if (!(pCamera->StopCapture() == ErrorType::NotStarted))
            return FormatText("camera %d still runs", static_cast<int>(c));
    }
    return {};
}

std::string MatrixBench::RecordAgain(bool bStartOver)
{
    m_board.Rest();
    m_before.clear();
    const bool bWaits = m_scene.eState == State::Waiting;
    if (bStartOver || IsPartner()) {
        OnCloseDocument(*m_doc);
        NewDocument();
        m_window.Inner().Clear();
        if (!OnNewDocument(*m_doc))
            return "the program does not start again";
    } else {
        m_window.Inner().Clear();
        if (StoreIsShort(*m_doc) || !m_doc->m_store.Exists())
            ApplyPresetValues(*m_doc, CurrentPreset(*m_doc));
        if (!vireo::Prepare(*m_doc, bWaits))
            return "the cameras cannot be configured again";
    }
    m_doc->m_naming.m_strSaveFolder = "c:\\";
    m_doc->m_naming.m_strFileTitle = "next";
    if (bWaits && bStartOver && !vireo::Prepare(*m_doc, true))
        return "the cameras cannot be armed again";
    if (bWaits) {
        WaitFor(10 * kNsPerSecond, [this] { return !IsCapturing(); });
        StopGrab(*m_doc);
    } else if (!WaitLive(2)) {
        return "no frames flow again";
    } else {
        RunRecording();
    }
    const int iFrames = IsPartner() ? 10 : m_scene.pRig->iFps;
    std::string strWrong = JudgeRecording(iFrames, false);
    if (strWrong.empty() && !IsPartner() && m_doc->m_store.m_iRecordTarget != iFrames)
        strWrong = FormatText("%d frames were recorded", m_doc->m_store.m_iRecordTarget.load());
    if (strWrong.empty() && TakeVerdict() != Verdict::InSync)
        strWrong = std::string("it is judged ") + VerdictText(TakeVerdict()) + ": " + ReportTake(*m_doc).strReason;
    if (strWrong.empty()) {
        for (std::size_t c = 0; c < m_doc->m_cameras.m_uiNumCameras; ++c)
            m_before.push_back(Codes(c));
        m_uiFilesBefore = m_videos.Files().size();
        strWrong = SaveAviAs(*m_doc, "c:\\next").bComplete ? JudgeFiles() : "it cannot be saved";
    }
    if (strWrong.empty() && !Messages().empty())
        strWrong = "it shows \"" + Messages()[0] + "\"";
    return strWrong.empty() ? strWrong : "the next recording: " + strWrong;
}

std::string MatrixBench::Close()
{
    m_board.Rest();
    OnCloseDocument(*m_doc);
    m_doc.reset();
    for (const CameraInfo& info : m_simulated->ListCameras()) {
        PGRGuid guid;
        unsigned int uiCount = 0;
        BusManager& buses = m_simulated->GetBusManager();
        const bool bFound =
            buses.GetNumOfCameras(uiCount).IsOk() && buses.GetCameraFromSerialNumber(info.serialNumber, guid).IsOk();
        std::unique_ptr<CameraBase> camera;
        if (bFound && info.interfaceType == InterfaceType::GigE)
            camera = m_simulated->CreateGigECamera(guid);
        else if (bFound)
            camera = m_simulated->CreateCamera(guid);
        if (!camera || !camera->Connect(guid).IsOk())
            return "a camera is not free after the end";
    }
    return {};
}

} // namespace vireo::test
