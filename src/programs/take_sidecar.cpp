#include "programs/take_sidecar.h"

#include "platform/linux/new_file.h"
#include "programs/take_report_writer.h"

#include <exception>

namespace vireo {

namespace {

constexpr std::string_view kFirstPart = "-0000.avi";

class FileTakeSidecar : public TakeSidecar {
public:
    explicit FileTakeSidecar(Log& log)
        : m_log(log)
    {
    }

    // Whatever happens here, the AVI files stand.
    void Write(const TakeReport& report) override
    {
        try {
            WriteFiles(report);
        } catch (const std::exception& failure) {
            m_log.Write(std::string("the take is not described: ") + failure.what());
        }
    }

private:
    void WriteFiles(const TakeReport& report)
    {
        bool bReport = false;
        for (std::size_t c = 0; c < report.cameras.size(); ++c) {
            const CameraReport& camera = report.cameras[c];
            if (camera.iReadBack < 0 || camera.files.empty() || !camera.files.front().ends_with(kFirstPart))
                continue;
            const std::string& strFirst = camera.files.front();
            const std::string strBase = strFirst.substr(0, strFirst.size() - kFirstPart.size());
            if (strBase.empty() || strBase.ends_with('/')) {
                m_log.Write("the take is not described: it has no name");
                continue; // a file of the ending alone would be a hidden one
            }
            Put(strBase + ".csv", TakeCsv(report, c));
            if (!bReport)
                Put(strBase + ".json", TakeReportJson(report));
            bReport = true;
        }
    }

    void Put(const std::string& strPath, const std::string& strText)
    {
        const Error error = WriteNewFile(strPath, strText);
        if (!error.IsOk())
            m_log.Write("the take is not described: " + error.GetDescription());
    }

    Log& m_log;
};

} // namespace

std::unique_ptr<TakeSidecar> MakeTakeSidecar(std::string_view strSetting, Log& log)
{
    return strSetting == "0" ? nullptr : std::make_unique<FileTakeSidecar>(log);
}

} // namespace vireo
