#include "programs/take_report_writer.h"

#include "app/format_text.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

namespace vireo {

namespace {

using Json = nlohmann::ordered_json;

const char* InterfaceName(InterfaceType eInterface)
{
    switch (eInterface) {
    case InterfaceType::Ieee1394: return "IEEE1394";
    case InterfaceType::Usb2: return "USB2";
    case InterfaceType::Usb3: return "USB3";
    case InterfaceType::GigE: return "GigE";
    case InterfaceType::Unknown: break;
    }
    return "unknown";
}

Json CameraJson(std::size_t uiIndex, const CameraReport& camera)
{
    Json gaps = Json::array();
    for (const Gap& gap : camera.gaps)
        gaps.push_back({ gap.iFrame, gap.iMissing });
    return {
        { "index", uiIndex },
        { "number", camera.iNumber },
        { "serial", camera.uiSerial },
        { "model", camera.strModel },
        { "interface", InterfaceName(camera.eInterface) },
        { "files", camera.files },
        { "first_saved", camera.iFirstSaved },
        { "saved", camera.iSaved },
        { "read_back", camera.iReadBack < 0 ? Json() : Json(camera.iReadBack) },
        { "frames", camera.iFrames },
        { "first_timestamp", camera.dFirstTimestamp },
        { "gaps", gaps },
        { "lost_before", camera.iLostBefore },
        { "max_interval_us", camera.dMaxIntervalUs },
        { "max_offset_us", camera.dMaxOffsetUs },
        { "clock_ppm", camera.dClockPpm },
        { "incomplete", camera.statistics.incomplete },
        { "underruns", camera.statistics.underruns },
        { "resends", camera.statistics.resends },
        { "cold_slots", camera.uiColdSlots },
        { "lost", camera.bLost },
    };
}

Json ReportJson(const TakeReport& report)
{
    Json cameras = Json::array();
    for (std::size_t c = 0; c < report.cameras.size(); ++c)
        cameras.push_back(CameraJson(c, report.cameras[c]));
    return {
        { "fps_requested", report.iFpsRequested },
        { "fps_measured", report.dFpsMeasured },
        { "frames", report.iFrames },
        { "missed", report.uiMissed },
        { "out_of_sync", report.uiOutOfSync },
        { "record_seconds", report.dRecordSeconds },
        { "save_seconds", report.dSaveSeconds },
        { "store_kib", report.uiStoreKiB },
        { "verdict", VerdictText(report.eVerdict) },
        { "reason", report.strReason },
        { "cameras", cameras },
    };
}

std::string Dump(const Json& json) { return json.dump(4, ' ', false, Json::error_handler_t::replace) + "\n"; }

// A loss tells more than what followed from it.
std::string FrameState(const CameraReport& camera, double dLimitUs, int iFrame)
{
    const auto gap = std::lower_bound(camera.gaps.begin(), camera.gaps.end(), iFrame,
        [](const Gap& candidate, int iWanted) { return candidate.iFrame < iWanted; });
    if (gap != camera.gaps.end() && gap->iFrame == iFrame)
        return FormatText("missed-before %d", gap->iMissing);
    const auto uiFrame = static_cast<std::size_t>(iFrame);
    const bool bTold = camera.bCompared && uiFrame < camera.offsetsUs.size();
    return bTold && std::abs(camera.offsetsUs[uiFrame]) > dLimitUs ? "out-of-sync" : "ok";
}

std::string Residual(const CameraReport& camera, bool bFirstCamera, std::size_t uiFrame)
{
    if (bFirstCamera)
        return "0.00";
    if (!camera.bCompared || uiFrame >= camera.offsetsUs.size())
        return {};
    return FormatText("%.2f", camera.offsetsUs[uiFrame]);
}

} // namespace

std::string TakeReportJson(const TakeReport& report) { return Dump(ReportJson(report)); }

std::string TakeReportJson(const TakeReport& report, const std::string& strError)
{
    Json json = ReportJson(report);
    json["error"] = strError;
    return Dump(json);
}

std::string TakeCsv(const TakeReport& report, std::size_t uiCamera)
{
    const CameraReport& camera = report.cameras.at(uiCamera);
    std::string strTable = "frame,exposure,time_s,interval_us,residual_us,state\n";
    const int iKnown = static_cast<int>(camera.times.size());
    for (int i = 0; i < camera.iSaved && camera.iFirstSaved + i < iKnown; ++i) {
        const int iFrame = camera.iFirstSaved + i;
        const auto uiFrame = static_cast<std::size_t>(iFrame);
        strTable += std::to_string(i) + ',';
        if (camera.exposures.at(uiFrame) >= 0)
            strTable += std::to_string(camera.exposures.at(uiFrame));
        strTable += FormatText(",%.7f,", camera.times[uiFrame]);
        if (iFrame > 0)
            strTable += FormatText("%.2f", (camera.times[uiFrame] - camera.times[uiFrame - 1]) * 1e6);
        strTable += ',' + Residual(camera, uiCamera == 0, uiFrame);
        strTable += ',' + FrameState(camera, report.dOffsetLimitUs, iFrame) + '\n';
    }
    return strTable;
}

std::string CameraLine(const TakeReport& report, std::size_t uiCamera)
{
    const CameraReport& camera = report.cameras.at(uiCamera);
    std::string strLine;
    for (const std::string& strFile : camera.files)
        strLine += (strLine.empty() ? "" : " ") + strFile;
    if (strLine.empty())
        strLine = FormatText("camera %d (%u): no file", camera.iNumber, camera.uiSerial);
    const int iInFiles = camera.files.empty() ? camera.iFrames : camera.iSaved;
    strLine += FormatText(": %d ", iInFiles);
    if (iInFiles != camera.iFrames)
        strLine += FormatText("of %d ", camera.iFrames);
    strLine += FormatText("frames, %.2f fps, %s", report.dFpsMeasured, VerdictText(report.eVerdict));
    if (!report.strReason.empty())
        strLine += " (" + report.strReason + ")";
    if (!camera.files.empty() && camera.iReadBack < 0)
        strLine += ", not read back";
    else if (!camera.files.empty() && camera.iReadBack != camera.iSaved)
        strLine += FormatText(", %d read back", camera.iReadBack);
    if (camera.iLostBefore > 0)
        strLine += FormatText(", %d lost before the recording", camera.iLostBefore);
    return strLine;
}

} // namespace vireo
