#include "app/qt/desktop.h"
#include "platform/imaging/mjpeg_video.h"
#include "platform/imaging/pixel_converter.h"
#include "platform/linux/code_page_932.h"
#include "platform/linux/instance_lock.h"
#include "platform/linux/linux_paths.h"
#include "platform/linux/memory.h"
#include "platform/linux/socket_partner_link.h"
#include "platform/linux/stderr_log.h"
#include "platform/qt/japanese_texts.h"
#include "platform/qt/qt_window_system.h"
#include "platform/qt/termination_signals.h"
#include "platform/time/real_clock.h"
#include "programs/camera_sources.h"
#include "programs/take_sidecar.h"
#include "programs/version.h"

#include <QApplication>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

using namespace vireo;

constexpr int kUsage = 2; ///< an environment that cannot be understood

const char* Environment(const char* pName)
{
    const char* pValue = std::getenv(pName); // NOLINT(concurrency-mt-unsafe): no other thread runs yet
    return pValue != nullptr ? pValue : "";
}

constexpr const char* kHelp =
    "Records high-speed video from up to four cameras at once.\n"
    "Usage: tessel\n"
    "       tessel TITLE FLAG WIDTH HEIGHT FPS SHUTTER GAIN SWITCHES FILE...   (a partner program's request)\n"
    "       tessel --help | --version\n"
    "TESSEL_CAMERAS says where cameras come from: genicam, iidc, simulated; see tessel(1).\n"
    "Without a display: tessel-record.\n";

/// Answers who asks at a prompt, with a single word; a partner's request has more. False: start as usual.
bool AnswerPrompt(int iCount, char** ppArguments)
{
    const std::string_view strWord = iCount == 2 ? ppArguments[1] : "";
    if (strWord == "--version")
        std::printf("tessel %s\n", kVersion);
    else if (strWord == "--help" || strWord == "-h")
        std::fputs(kHelp, stdout);
    else
        return false;
    return true;
}

// Child frames and the panel stand where the settings say, which Wayland allows nobody.
void AskForX11()
{
    if (*Environment("WAYLAND_DISPLAY") != '\0' && *Environment("DISPLAY") != '\0')
        ::setenv("QT_QPA_PLATFORM", "xcb", 0); // NOLINT(concurrency-mt-unsafe): no other thread runs yet
}

int RunDesktop(Platform& platform, QtWindowSystem& window, const std::string& strCommandLine)
{
    FileInstanceLock lock;
    CVireoApp app(platform);
    const std::unique_ptr<TakeSidecar> sidecar = MakeTakeSidecar(Environment("TESSEL_SIDECAR"), platform.log);
    app.SetSidecar(sidecar.get());
    bool bStarted = app.InitInstance(lock, strCommandLine);
    int iStatus = 0;
    if (bStarted) {
        Desktop desktop(app, window);
        // Ends as the close box does: what is open is closed, what runs is ended, settings are written.
        const TerminationSignals signals([&window] {
            window.Terminate();
            window.PostCommand(command::kExit);
        });
        bStarted = desktop.Start();
        if (bStarted)
            iStatus = QApplication::exec();
    }
    return app.ExitInstance(iStatus, bStarted);
}

} // namespace

int main(int argc, char** argv)
{
    if (AnswerPrompt(argc, argv))
        return 0;
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // a file that may not grow further is a failed write, not the end
    AskForX11();
    RealClock clock;
    StderrLog log;
    std::string strError;
    const auto cameras =
        OpenCameraSources(Environment("TESSEL_CAMERAS"), Environment("TESSEL_SIM_FAULTS"), clock, log, strError);
    const auto memoryOptions = cameras ? MemoryOptionsFromEnvironment(strError) : std::nullopt;
    if (!memoryOptions) {
        std::fprintf(stderr, "tessel: %s\n", strError.c_str());
        return kUsage;
    }
    int iToolkitArguments = 1; // the command line is the partner's: the toolkit takes nothing from it
    QApplication application(iToolkitArguments, argv);
    InstallJapanese(application);
    QApplication::setApplicationName(QStringLiteral("Tessel"));
    QApplication::setQuitOnLastWindowClosed(false);

    LinuxMemory memory(clock, *memoryOptions);
    const LinuxPaths paths;
    const CodePage932 encoding;
    const auto converter = MakePixelConverter();
    const auto video = MakeVideoWriters();
    SocketPartnerLink partner(log);
    QtWindowSystem window(clock, log);
    Platform platform { clock, log, *cameras, window, memory, *converter, *video, partner, paths, encoding };
    return RunDesktop(platform, window, JoinCommandLine(argc - 1, argv + 1));
}
