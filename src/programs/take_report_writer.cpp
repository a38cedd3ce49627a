#include "programs/take_report_writer.h"

#include "app/format_text.h"

#include <nlohmann/json.hpp>

namespace vireo {

namespace {

using Json = nlohmann::ordered_json;

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
        { "interface", InterfaceText(camera.eInterface) },
        { "files", camera.files },
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

} // namespace

std::string TakeReportJson(const TakeReport& report) { return Dump(ReportJson(report)); }

std::string TakeReportJson(const TakeReport& report, const std::string& strError)
{
    Json json = ReportJson(report);
    json["error"] = strError;
    return Dump(json);
}

const char* InterfaceText(InterfaceType eInterface)
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

std::string CameraLine(const TakeReport& report, std::size_t uiCamera)
{
    const CameraReport& camera = report.cameras.at(uiCamera);
    std::string strLine;
    for (const std::string& strFile : camera.files)
        strLine += (strLine.empty() ? "" : " ") + strFile;
    if (strLine.empty())
        strLine = FormatText("camera %d (%u): no file", camera.iNumber, camera.uiSerial);
    strLine +=
        FormatText(": %d frames, %.2f fps, %s", camera.iFrames, report.dFpsMeasured, VerdictText(report.eVerdict));
    if (!report.strReason.empty())
        strLine += " (" + report.strReason + ")";
    if (camera.iLostBefore > 0)
        strLine += FormatText(", %d lost before the recording", camera.iLostBefore);
    return strLine;
}

} // namespace vireo
