#include "platform/headless/headless_window.h"
#include "platform/imaging/mjpeg_video.h"
#include "platform/imaging/pixel_converter.h"
#include "platform/linux/code_page_932.h"
#include "platform/linux/linux_paths.h"
#include "platform/linux/memory.h"
#include "platform/linux/new_file.h"
#include "platform/linux/socket_partner_link.h"
#include "platform/linux/stderr_log.h"
#include "platform/time/real_clock.h"
#include "programs/camera_sources.h"
#include "programs/recorder.h"
#include "programs/scratch_settings.h"
#include "programs/take_report_writer.h"
#include "programs/take_sidecar.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <unistd.h>

namespace {

using namespace vireo;

volatile std::sig_atomic_t g_iStopSignals = 0;
volatile std::sig_atomic_t g_bHasScratch = 0; ///< the names below are there
char g_scratchFile[4096];
char g_scratchFolder[4096];

// The first signal ends the recording and saves it; a second one ends the program where it stands.
extern "C" void OnStopSignal(int)
{
    if (g_iStopSignals != 0) {
        if (g_bHasScratch != 0) {
            unlink(g_scratchFile);
            rmdir(g_scratchFolder);
        }
        _exit(130);
    }
    g_iStopSignals = 1;
}

// The settings of this run, which may be a copy of the user's, do not stay behind.
void RemoveAtSecondSignal(const ScratchSettings& settings)
{
    const std::string strFolder = settings.Folder();
    const std::string strFile = strFolder + kIniFileName;
    if (strFile.size() < sizeof g_scratchFile) {
        strFolder.copy(g_scratchFolder, sizeof g_scratchFolder - 1);
        strFile.copy(g_scratchFile, sizeof g_scratchFile - 1);
        g_bHasScratch = 1;
    }
}

void CatchSignals()
{
    struct sigaction action { };
    action.sa_handler = OnStopSignal;
    sigemptyset(&action.sa_mask);
    for (const int iSignal : { SIGINT, SIGTERM, SIGHUP }) {
        const bool bStaysIgnored = iSignal == SIGHUP && std::signal(iSignal, SIG_IGN) == SIG_IGN; // as under nohup
        if (!bStaysIgnored)
            sigaction(iSignal, &action, nullptr);
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // a file that may not grow further is a failed write, not the end
}

const char* Environment(const char* pName)
{
    const char* pValue = std::getenv(pName); // nothing sets the environment
    return pValue != nullptr ? pValue : "";
}

/// The line on the terminal that tells how far the recording is; gone before other output. Any thread.
class ProgressLine {
public:
    explicit ProgressLine(bool bShow)
        : m_bShow(bShow && isatty(STDERR_FILENO) == 1)
    {
    }
    ~ProgressLine() { Clear(); }
    void Show(const std::string& strText)
    {
        std::lock_guard lock(m_mutex);
        if (!m_bShow || strText == m_strShown)
            return;
        std::fprintf(stderr, "\r\033[K%s", strText.c_str());
        m_strShown = strText;
    }
    /// Writes something else in its place.
    void Replace(const std::function<void()>& write)
    {
        std::lock_guard lock(m_mutex);
        Clear();
        write();
    }

private:
    void Clear()
    {
        if (!m_strShown.empty())
            std::fputs("\r\033[K", stderr);
        m_strShown.clear();
    }

    const bool m_bShow;
    std::mutex m_mutex;
    std::string m_strShown;
};

/// The log, on a terminal that also shows the progress.
class LogOverProgress : public Log {
public:
    explicit LogOverProgress(ProgressLine& progress)
        : m_progress(progress)
    {
    }
    void Write(std::string_view strLine) override
    {
        m_progress.Replace([&] { m_log.Write(strLine); });
    }

private:
    ProgressLine& m_progress;
    StderrLog m_log;
};

// False for nothing and for what only takes bytes, as a pipe or /dev/null do.
bool IsThere(const std::string& strTarget)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(strTarget, error);
    return std::filesystem::is_regular_file(status) || std::filesystem::is_directory(status);
}

// A file that exists stays as it is.
bool WriteReport(const std::string& strTarget, const std::string& strJson)
{
    if (strTarget.empty())
        return true;
    if (strTarget == "-")
        return std::fwrite(strJson.data(), 1, strJson.size(), stdout) == strJson.size() && std::fflush(stdout) == 0;
    std::error_code error;
    if (IsThere(strTarget) || !std::filesystem::exists(strTarget, error))
        return WriteNewFile(strTarget, strJson).IsOk();
    std::ofstream file(strTarget, std::ios::binary);
    file << strJson;
    file.close();
    return file.good();
}

/// Tells how the recording ended, on the terminal and in the report. @return the exit status.
int Conclude(const RecordOptions& options, const RecordOutcome& outcome)
{
    if (!outcome.strError.empty())
        std::fprintf(stderr, "tessel-record: %s\n", outcome.strError.c_str());
    // Lines for people keep off a stdout that carries the report.
    std::FILE* const pLines = options.strJson == "-" ? stderr : stdout;
    for (std::size_t c = 0; outcome.bRecorded && c < outcome.report.cameras.size(); ++c)
        std::fprintf(pLines, "%s\n", CameraLine(outcome.report, c).c_str());
    const std::string strJson =
        outcome.strError.empty() ? TakeReportJson(outcome.report) : TakeReportJson(outcome.report, outcome.strError);
    if (!WriteReport(options.strJson, strJson)) {
        std::fprintf(stderr, "tessel-record: the report cannot be written: %s\n", options.strJson.c_str());
        return outcome.iStatus == record_status::kSaved ? record_status::kFailed : outcome.iStatus;
    }
    return outcome.iStatus;
}

RecordOutcome Failed(int iStatus, std::string strError)
{
    RecordOutcome outcome;
    outcome.iStatus = iStatus;
    outcome.strError = std::move(strError);
    return outcome;
}

RecordOutcome Record(const RecordOptions& options)
{
    RealClock clock;
    ProgressLine progress(!options.bQuiet);
    LogOverProgress log(progress);
    std::string strError;
    const std::string strSources = options.strCameras.value_or(Environment("TESSEL_CAMERAS"));
    const std::unique_ptr<CameraLibrary> cameras =
        OpenCameraSources(strSources, Environment("TESSEL_SIM_FAULTS"), clock, log, strError);
    const std::optional<MemoryOptions> memoryOptions = cameras ? MemoryOptionsFromEnvironment(strError) : std::nullopt;
    if (!memoryOptions)
        return Failed(record_status::kUsage, strError);
    LinuxMemory memory(clock, *memoryOptions);
    const LinuxPaths paths;
    const CodePage932 encoding;
    const std::unique_ptr<PixelConverter> converter = MakePixelConverter();
    const std::unique_ptr<VideoWriters> video = MakeVideoWriters();
    SocketPartnerLink partner(log);
    HeadlessWindow window(clock, [&progress](const std::string& strLine) {
        progress.Replace([&] { std::fprintf(stderr, "%s\n", strLine.c_str()); });
    });
    Platform platform { clock, log, *cameras, window, memory, *converter, *video, partner, paths, encoding };

    const ScratchSettings settings(paths, options.iPreset.has_value());
    if (!settings.Error().empty())
        return Failed(record_status::kFailed, settings.Error());
    RemoveAtSecondSignal(settings);
    CVireoApp app(platform);
    app.SetIniFolder(settings.Folder());
    const std::unique_ptr<TakeSidecar> sidecar = MakeTakeSidecar(Environment("TESSEL_SIDECAR"), log);
    app.SetSidecar(sidecar.get());

    Recorder recorder(
        app, window, options, [] { return static_cast<int>(g_iStopSignals); },
        [&progress](const std::string& strText) { progress.Show(strText); });
    return recorder.Run();
}

} // namespace

int main(int iCount, char** ppArguments)
{
    const ParsedOptions parsed = ParseRecordOptions(iCount, ppArguments);
    if (!parsed.bRun) {
        if (parsed.iStatus == 0)
            std::fputs(parsed.strText.c_str(), stdout);
        return parsed.iStatus == 0 ? 0 : Conclude(parsed.options, Failed(parsed.iStatus, parsed.strText));
    }
    CatchSignals();
    if (const std::string& strJson = parsed.options.strJson; IsThere(strJson)) {
        std::fprintf(stderr, "tessel-record: %s exists already\n", strJson.c_str());
        return record_status::kUsage;
    }
    return Conclude(parsed.options, Record(parsed.options));
}
