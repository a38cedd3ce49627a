#include "app/qt/desktop.h"
#include "platform/imaging/mjpeg_video.h"
#include "platform/imaging/pixel_converter.h"
#include "platform/linux/code_page_932.h"
#include "platform/linux/instance_lock.h"
#include "platform/linux/linux_paths.h"
#include "platform/linux/memory.h"
#include "platform/linux/socket_partner_link.h"
#include "platform/linux/stderr_log.h"
#include "platform/qt/display_end.h"
#include "platform/qt/japanese_texts.h"
#include "platform/qt/platform_choice.h"
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
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace vireo;

constexpr int kUsage = 2; ///< an environment that cannot be understood

const char* Environment(const char* pName)
{
    const char* pValue = std::getenv(pName); // no other thread runs yet
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

/// The toolkit's own command line: the program's belongs to the partner, the toolkit takes nothing from it. Not its
/// environment, which programs that are opened from here would inherit.
std::vector<std::string> ToolkitArguments(const char* pProgram)
{
    std::vector<std::string> arguments { pProgram };
    const std::string strPlatform = PlatformToAskFor({ .strDisplay = Environment("DISPLAY"),
        .strWayland = Environment("WAYLAND_DISPLAY"),
        .strSession = Environment("XDG_SESSION_TYPE"),
        .strPlatform = Environment("QT_QPA_PLATFORM") });
    if (!strPlatform.empty())
        arguments.insert(arguments.end(), { "-platform", strPlatform });
    return arguments;
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
        bool bRunning = false;
        const DisplayEnd displayEnd([&] {
            desktop.EndWithoutDisplay();
            return app.ExitInstance(0, bRunning);
        });
        bStarted = bRunning = desktop.Start();
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
    std::vector<std::string> toolkitArguments = ToolkitArguments(argv[0]);
    std::vector<char*> toolkitArgv;
    toolkitArgv.reserve(toolkitArguments.size() + 1);
    for (std::string& strArgument : toolkitArguments)
        toolkitArgv.push_back(strArgument.data());
    int iToolkitArguments = static_cast<int>(toolkitArgv.size());
    toolkitArgv.push_back(nullptr);
    QApplication application(iToolkitArguments, toolkitArgv.data());
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
