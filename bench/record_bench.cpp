// Four simulated cameras at 400 fps for ten seconds, recorded and saved as the programs do it.
#include "bench_report.h"
#include "camera/discovery.h"
#include "camera/document_lifecycle.h"
#include "camera/operator_actions.h"
#include "capture/avi_export.h"
#include "capture/grab_threads.h"
#include "capture/take_report.h"
#include "platform/headless/headless_window.h"
#include "platform/imaging/mjpeg_video.h"
#include "platform/imaging/pixel_converter.h"
#include "platform/linux/memory.h"
#include "platform/simulated/simulated_library.h"
#include "platform/time/real_clock.h"
#include "support/temporary_folder.h"
#include "support/test_platform.h"

#include <ctime>
#include <fstream>

namespace vireo::bench {
namespace {

constexpr int kFps = 400;
constexpr int kSeconds = 10;
constexpr double kCoreGoal = 0.6;
constexpr double kMemoryGoalMiB = 64;

double ProcessorSeconds()
{
    timespec time {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// A figure of /proc/self/status, MiB.
double StatusMiB(const std::string& strName)
{
    std::ifstream status("/proc/self/status");
    for (std::string strLine; std::getline(status, strLine);)
        if (strLine.starts_with(strName + ":"))
            return std::stod(strLine.substr(strName.size() + 1)) / 1024.0;
    return 0.0;
}

bool IsWarm(const FrameStore& store)
{
    for (std::size_t c = 0; c < store.m_uiCameras; ++c)
        if (!store.IsWarm(c, store.m_iBufferFrames - 1))
            return false;
    return true;
}

int Run()
{
    RealClock clock;
    SimulatedSetup setup;
    if (!ParseSimulatedSource("simulated", setup.cameras).empty())
        return 1;
    const std::unique_ptr<CameraLibrary> library = MakeSimulatedLibrary(clock, setup);
    const std::unique_ptr<PixelConverter> converter = MakePixelConverter();
    const std::unique_ptr<VideoWriters> video = MakeVideoWriters();
    LinuxMemory memory(clock);
    HeadlessWindow window(clock, [](const std::string& strLine) { std::printf("%s\n", strLine.c_str()); });
    test::TestPlatform platform({ .pClock = &clock,
        .pCameras = library.get(),
        .pWindow = &window,
        .pMemory = &memory,
        .pConverter = converter.get(),
        .pVideo = video.get() });
    const test::TemporaryFolder folder;
    test::WriteFile(folder / "Tessel.ini", "");
    CVireoApp app(platform.m_platform);
    app.SetIniFolder(folder.Path() + "/");
    CVireoDoc doc(app);
    RecordingPreset preset;
    preset.FrameRate = kFps;
    preset.RecTime = kSeconds;
    if (!OnNewDocument(doc) || !ApplyPresetValues(doc, preset))
        return 1;
    window.WaitFor([&doc] { return IsWarm(doc.m_store); }, clock.Now() + 60 * kNsPerSecond);

    const double dBefore = ProcessorSeconds();
    const ClockTime begin = clock.Now();
    Start(doc);
    window.WaitFor([&doc] { return !doc.m_capture.m_bCapturing.load(); }, begin + 2 * kSeconds * kNsPerSecond);
    const double dCore = (ProcessorSeconds() - dBefore) / (static_cast<double>(clock.Now() - begin) * 1e-9);
    StopGrab(doc);
    const TakeReport report = ReportTake(doc);
    std::printf("verdict: %s %s; missed %u, out of sync %u\n", VerdictText(report.eVerdict), report.strReason.c_str(),
        report.uiMissed, report.uiOutOfSync);
    std::uint64_t uiCold = 0;
    for (const CameraReport& camera : report.cameras)
        uiCold += camera.uiColdSlots;
    AgainstLimit({ "frames missed, four cameras, 10 s at 400 fps" },
        report.eVerdict == Verdict::InSync ? report.uiMissed : std::max(1U, report.uiMissed), "", 0);
    AgainstLimit({ "cold slots in that recording" }, static_cast<double>(uiCold), "", 0);
    AgainstLimit({ "processor during that recording" }, dCore, "of a core", kCoreGoal);

    std::ofstream("/proc/self/clear_refs") << "5"; // the peak counts from now on
    const double dHeldMiB = StatusMiB("VmRSS");
    const ExportResult saved = SaveAviAs(doc, folder / "take");
    const double dMoreMiB = StatusMiB("VmHWM") - dHeldMiB;
    std::printf("saved in %.1f s\n", saved.dSeconds);
    AgainstLimit({ "memory that saving takes" }, saved.bComplete ? dMoreMiB : 1e9, "MiB", kMemoryGoalMiB);
    OnCloseDocument(doc);
    return 0;
}

} // namespace
} // namespace vireo::bench

int main() { return vireo::bench::Run(); }
