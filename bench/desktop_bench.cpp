// The desktop program with four simulated cameras, as its operator waits for it: the start, the redraw of the views
// while the cameras run at full rate, the first frame after F9, and a step through a recording. Real windows on an X
// server of its own.
#include "app/qt/desktop.h"
#include "app/settings_records.h"
#include "bench_report.h"
#include "display/vireo_view.h"
#include "platform/imaging/mjpeg_video.h"
#include "platform/imaging/pixel_converter.h"
#include "platform/linux/memory.h"
#include "platform/qt/japanese_texts.h"
#include "platform/simulated/simulated_library.h"
#include "platform/time/real_clock.h"
#include "support/own_display.h"
#include "support/temporary_folder.h"
#include "support/test_platform.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QDeadlineTimer>
#include <QDialog>
#include <QKeyEvent>
#include <QPushButton>
#include <QTimer>
#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <thread>

namespace vireo::bench {
namespace {

constexpr double kStartGoal = 1.5; ///< seconds to four live views, beside the ordered pauses
constexpr double kRedrawGoalMs = 4; ///< of the user-interface thread, for all four views
constexpr double kRedrawRate = 10; ///< redraws a second
constexpr double kStartPeriods = 2; ///< frame periods from F9 to the first recorded frame
constexpr double kStepGoalMs = 50;
constexpr int kFastFps = 400;
constexpr int kPatienceMs = 30000;

double Milliseconds(ClockTime time) { return static_cast<double>(time) / static_cast<double>(kNsPerMs); }

double ThreadMilliseconds()
{
    timespec time {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

/// Adds up the pauses that the user-interface thread is told to make.
class PauseClock : public RealClock {
public:
    void SleepUntil(ClockTime deadline) override
    {
        const ClockTime begin = Now();
        RealClock::SleepUntil(deadline);
        if (std::this_thread::get_id() == m_thread)
            m_paused += Now() - begin;
    }
    ClockTime m_paused = 0;

private:
    std::thread::id m_thread = std::this_thread::get_id();
};

/// Counts the views' paint events.
class PaintCounter : public QObject {
public:
    explicit PaintCounter(const std::vector<CVireoView*>& views)
    {
        for (CVireoView* pView : views)
            pView->installEventFilter(this);
    }
    bool eventFilter(QObject* /*pReceiver*/, QEvent* pEvent) override
    {
        m_iPaints += pEvent->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
    int m_iPaints = 0;
};

/// Serves events until the condition holds.
bool PumpUntil(const std::function<bool()>& condition)
{
    const QDeadlineTimer deadline(kPatienceMs);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
    }
    return true;
}

/// The program, with its real parts.
class Program {
public:
    explicit Program(PauseClock& clock, const char* pCameras)
        : m_clock(clock)
    {
        SimulatedSetup setup;
        if (!ParseSimulatedSource(pCameras, setup.cameras).empty())
            std::abort();
        m_library = MakeSimulatedLibrary(clock, setup);
        m_test = std::make_unique<test::TestPlatform>(test::TestPlatformParts { .pClock = &clock,
            .pCameras = m_library.get(),
            .pWindow = &m_window,
            .pMemory = &m_memory,
            .pConverter = m_converter.get(),
            .pVideo = m_video.get() });
        test::WriteFile(m_folder / "Tessel.ini", "");
        m_app = std::make_unique<CVireoApp>(m_test->m_platform);
        m_app->SetIniFolder(m_folder.Path() + "/");
        SaveMainWindowPlacement(*m_app, { { 0, 0, 1340, 1120 }, false });
        m_desktop = std::make_unique<Desktop>(*m_app, m_window);
    }
    /// Until every view shows its camera.
    bool Start()
    {
        QTimer confirm;
        QObject::connect(&confirm, &QTimer::timeout, &confirm, [] {
            if (auto* pDialog = qobject_cast<QDialog*>(QApplication::activeModalWidget()))
                pDialog->accept();
        });
        confirm.start(1);
        return m_desktop->Start() && PumpUntil([this] {
            for (const CVireoView* pView : m_desktop->Views())
                if (pView->CurrentPicture().isNull())
                    return false;
            return Doc().m_store.m_iendFrame[0] > 0;
        });
    }
    bool SelectPreset(int iFps, int iSize)
    {
        RecordingPreset preset;
        preset.FrameRate = iFps;
        preset.WindowSize = iSize;
        preset.Shutter = 2000;
        preset.Path = m_folder.Path();
        SaveRecordingPreset(*m_app, 1, preset);
        Button(1005).click();
        return WaitArmed();
    }
    bool WaitArmed()
    {
        return PumpUntil([this] { return Button(1028).isEnabled() && Doc().m_store.m_iendFrame[0] > 20; });
    }
    bool WaitRecorded()
    {
        return PumpUntil([this] { return Button(1022).isEnabled() && !Doc().m_capture.m_bCapturing; });
    }
    QPushButton& Button(int iId) { return *m_desktop->Panel()->findChild<QPushButton*>(QString::number(iId)); }
    CVireoDoc& Doc() { return m_desktop->Document(); }

    PauseClock& m_clock;
    test::TemporaryFolder m_folder;
    LinuxMemory m_memory { m_clock };
    const std::unique_ptr<PixelConverter> m_converter = MakePixelConverter();
    const std::unique_ptr<VideoWriters> m_video = MakeVideoWriters();
    test::RecordedLog m_log;
    QtWindowSystem m_window { m_clock, m_log };
    std::unique_ptr<CameraLibrary> m_library;
    std::unique_ptr<test::TestPlatform> m_test;
    std::unique_ptr<CVireoApp> m_app;
    std::unique_ptr<Desktop> m_desktop;
};

// The whole thread's time counts, whatever it is spent on.
bool MeasureRedraw(Program& program)
{
    constexpr int kSeconds = 5;
    PaintCounter counter(program.m_desktop->Views());
    const double dBefore = ThreadMilliseconds();
    const ClockTime begin = program.m_clock.Now();
    QEventLoop loop; // waits as the program does
    QTimer::singleShot(kSeconds * 1000, &loop, &QEventLoop::quit);
    loop.exec();
    const double dSeconds = Milliseconds(program.m_clock.Now() - begin) / 1e3;
    const double dRedraws = counter.m_iPaints / 4.0;
    std::printf("%.1f redraws of four views in %.2f s\n", dRedraws, dSeconds);
    const bool bCost = AgainstLimit({ "redraw of four live views, processor time" },
        (ThreadMilliseconds() - dBefore) / std::max(1.0, dRedraws), "ms", kRedrawGoalMs);
    return AgainstPeer({ "redraws of the live views" }, Text("%.1f /s", dRedraws / dSeconds),
               Text("asked for, %g /s", kRedrawRate), dRedraws / dSeconds / kRedrawRate, Goal::AtLeast, 0.95)
        && bCost;
}

bool MeasureF9(Program& program)
{
    std::vector<double> periods;
    for (int i = 0; i < 7; ++i) {
        const ClockTime begin = program.m_clock.Now();
        QKeyEvent press(QEvent::KeyPress, Qt::Key_F9, Qt::NoModifier);
        QApplication::sendEvent(program.m_desktop->ViewOf(0), &press);
        while (program.Doc().m_store.m_isaveFrameCount[0] < 1 && program.m_clock.Now() - begin < kPatienceMs * kNsPerMs)
            std::this_thread::yield();
        periods.push_back(Milliseconds(program.m_clock.Now() - begin) * kFastFps / 1e3);
        if (!program.WaitRecorded())
            return false;
        program.Button(1024).click();
        if (!program.WaitArmed())
            return false;
    }
    return AgainstLimit(
        { "start key to the first recorded frame, 400 fps" }, Median(periods), "frame periods", kStartPeriods);
}

bool MeasureStep(Program& program)
{
    program.Button(1028).click();
    if (!program.WaitRecorded())
        return false;
    program.Button(1022).click();
    const std::vector<CVireoView*> views = program.m_desktop->Views();
    for (int i = 0; i < static_cast<int>(views.size()); ++i) { // the first one is on top
        CVireoView* pView = views[static_cast<std::size_t>(i)];
        pView->MoveFrame(QRect(QPoint(50, 50) * ((i + 3) % 4), pView->FrameRect().size()));
    }
    PumpUntil([] { return true; });
    PaintCounter counter(views);
    const auto iSeen =
        std::ranges::count_if(views, [](const auto* pView) { return !pView->visibleRegion().isEmpty(); });
    std::printf("%td of four views of 1920x1080 are on the screen\n", iSeen);
    std::vector<double> steps;
    for (int i = 0; i < 20; ++i) {
        while (QApplication::eventDispatcher()->processEvents(QEventLoop::AllEvents)) { }
        counter.m_iPaints = 0;
        const ClockTime begin = program.m_clock.Now();
        program.Button(i < 15 ? 1018 : 1017).click();
        if (!PumpUntil([&] { return counter.m_iPaints >= iSeen; }))
            return false;
        steps.push_back(Milliseconds(program.m_clock.Now() - begin));
    }
    return AgainstLimit({ "step in playback, four views of 1920x1080" }, Median(steps), "ms", kStepGoalMs);
}

int Run(int argc, char** argv)
{
    const test::TemporaryFolder folder;
    const test::OwnDisplay display;
    ::setenv("XDG_CONFIG_HOME", folder.Path().c_str(), 1);
    ::setenv("DISPLAY", display.Name().c_str(), 1);
    ::setenv("QT_QPA_PLATFORM", "xcb", 1);

    PauseClock clock;
    const ClockTime begin = clock.Now();
    QApplication application(argc, argv);
    InstallJapanese(application);
    QApplication::setQuitOnLastWindowClosed(false);
    bool bAll = false;
    {
        Program program(clock, "simulated");
        if (!program.Start())
            return 1;
        const ClockTime total = clock.Now() - begin;
        std::printf("four live views after %.0f ms, %.0f of them ordered pauses\n", Milliseconds(total),
            Milliseconds(clock.m_paused));
        bAll = AgainstLimit({ "program start to four live views, without ordered pauses" },
            Milliseconds(total - clock.m_paused) / 1e3, "s", kStartGoal);
        if (!program.SelectPreset(kFastFps, 0))
            return 1;
        bAll = MeasureRedraw(program) && bAll;
        bAll = MeasureF9(program) && bAll;
    }
    Program program(clock, "simulated:4xGS3-U3-23S6C");
    if (!program.Start() || !program.SelectPreset(30, 3))
        return 1;
    return MeasureStep(program) && bAll ? 0 : 1;
}

} // namespace
} // namespace vireo::bench

int main(int argc, char** argv) { return vireo::bench::Run(argc, argv); }
