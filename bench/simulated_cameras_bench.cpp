// Processor time of four strobe-locked simulated cameras at 400 fps, 640x480, when their frames are
// fetched and nothing is done with them. The simulation must leave the processor to the program.
#include "bench_report.h"
#include "platform/simulated/simulated_library.h"
#include "platform/time/real_clock.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sys/resource.h>
#include <vector>

namespace vireo {
namespace {

constexpr std::size_t kCameras = 4;
constexpr float kFps = 400.0F;
constexpr double kGoal = 0.15; // of one core
constexpr ClockTime kWarmUp = kNsPerSecond / 2;
constexpr ClockTime kMeasured = 5 * kNsPerSecond;

void Check(const Error& error, const char* pWhat)
{
    if (error.IsOk())
        return;
    std::fprintf(stderr, "%s: %s\n", pWhat, error.GetDescription().c_str());
    std::exit(1);
}

double ProcessorSeconds()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void SetManual(CameraBase& camera, PropertyType eType, float fValue)
{
    Property property;
    property.type = eType;
    property.onOff = true;
    property.absControl = true;
    property.absValue = fValue;
    Check(camera.SetProperty(property), "SetProperty");
}

std::unique_ptr<Camera> MakeCamera(CameraLibrary& library, unsigned int uiIndex)
{
    BusManager& bus = library.GetBusManager();
    unsigned int uiSerial = 0;
    PGRGuid guid;
    Check(bus.GetCameraSerialNumberFromIndex(uiIndex, uiSerial), "GetCameraSerialNumberFromIndex");
    Check(bus.GetCameraFromSerialNumber(uiSerial, guid), "GetCameraFromSerialNumber");
    std::unique_ptr<Camera> camera = library.CreateCamera(guid);
    Check(camera->Connect(guid), "Connect");
    Format7PacketInfo packets;
    bool bValid = false;
    const Format7ImageSettings image { 1, 0, 0, 640, 480, PixelFormat::Raw8 };
    Check(camera->ValidateFormat7Settings(image, bValid, packets), "ValidateFormat7Settings");
    Check(camera->SetFormat7Configuration(image, packets.maxBytesPerPacket), "SetFormat7Configuration");
    SetManual(*camera, PropertyType::FrameRate, kFps);
    SetManual(*camera, PropertyType::Shutter, 2.0F);
    Check(camera->SetConfiguration({ 256, GrabMode::BufferFrames, 2000 }), "SetConfiguration");
    Check(camera->WriteRegister(0x12F8, 0x80000101), "WriteRegister");
    if (uiIndex == 0) {
        Check(camera->WriteRegister(0x11F8, 0x20000000), "WriteRegister");
        Check(camera->SetStrobe({ 2, true, 0, 0.0F, 0.0F }), "SetStrobe");
    } else {
        Check(camera->SetTriggerMode({ true, 0, 2, 14, 0 }), "SetTriggerMode");
    }
    return camera;
}

/// Fetches for the warm-up and the measured time; tells how many frames the second brought.
std::size_t Grab(Clock& clock, Camera& camera, ClockTime start)
{
    Image image;
    std::size_t uiFrames = 0;
    while (clock.Now() < start + kWarmUp + kMeasured) {
        Check(camera.RetrieveBuffer(image), "RetrieveBuffer");
        if (image.GetArrivalTime() >= start + kWarmUp)
            ++uiFrames;
    }
    return uiFrames;
}

int Run()
{
    RealClock clock;
    SimulatedSetup setup;
    if (!ParseSimulatedSource("simulated", setup.cameras).empty())
        return 1;
    const std::unique_ptr<CameraLibrary> library = MakeSimulatedLibrary(clock, setup);
    std::vector<std::unique_ptr<Camera>> cameras;
    for (unsigned int c = 0; c < kCameras; ++c)
        cameras.push_back(MakeCamera(*library, c));
    for (std::size_t c = kCameras; c-- > 0;)
        Check(cameras[c]->StartCapture(), "StartCapture");

    const ClockTime start = clock.Now();
    std::vector<std::size_t> frames(kCameras);
    std::vector<ClockThread> threads;
    for (std::size_t c = 0; c < kCameras; ++c)
        threads.emplace_back(clock, [&, c] { frames[c] = Grab(clock, *cameras[c], start); });
    clock.SleepUntil(start + kWarmUp);
    const double dBefore = ProcessorSeconds();
    clock.SleepUntil(start + kWarmUp + kMeasured);
    const double dUsed = ProcessorSeconds() - dBefore;
    threads.clear();

    const double dSeconds = static_cast<double>(kMeasured) / static_cast<double>(kNsPerSecond);
    bool bComplete = true;
    for (std::size_t c = 0; c < kCameras; ++c) {
        const std::uint64_t uiLost = cameras[c]->GetStreamStatistics().underruns;
        std::printf(
            "camera %zu: %zu frames, %llu lost in the queue\n", c, frames[c], static_cast<unsigned long long>(uiLost));
        bComplete = bComplete && uiLost == 0 && static_cast<double>(frames[c]) >= 0.99 * kFps * dSeconds;
    }
    const double dRatio = dUsed / dSeconds;
    std::printf("processor time %.3f s in %.1f s\n", dUsed, dSeconds);
    bench::AgainstLimit({ "four simulated cameras, processor" }, dRatio, "of a core", kGoal);
    return bComplete ? 0 : 1;
}

} // namespace
} // namespace vireo

int main() { return vireo::Run(); }
