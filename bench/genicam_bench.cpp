#include "bench_report.h"
#include "peers/own_network.h"
#include "peers/peer_process.h"
#include "platform/genicam/genicam_library.h"
#include "platform/log.h"
#include "platform/time/real_clock.h"

#include <arv.h>
#include <atomic>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <thread>
#include <vector>

// Frames received through the camera library, held against a bare loop over Aravis in the same run: software
// cameras in a process of their own, real packets over the loopback interface.

namespace {

using namespace vireo;

constexpr std::uint32_t kWidth = 640, kHeight = 480;
constexpr double kFps = 400.0;
constexpr float kShutterMs = 1.0F;
constexpr int kPacketBytes = 9000;
constexpr auto kRun = std::chrono::seconds(3);
constexpr auto kSettle = std::chrono::milliseconds(500);
constexpr int kRounds = 3;
constexpr unsigned int kFirstSerial = 13000001;

class SilentLog : public Log {
public:
    void Write(std::string_view) override { }
};

/// What came of one run, over all cameras.
struct Outcome {
    std::uint64_t uiFrames = 0;
    std::uint64_t uiLost = 0; ///< incomplete or missing in the camera's count
    double dCpuSeconds = 0.0; ///< of this process
};

double CpuSeconds()
{
    timespec now {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

std::string Address(int iCamera) { return "127.0.0." + std::to_string(iCamera + 1); }

std::vector<std::string> HostArguments(int iCameras)
{
    std::vector<std::string> arguments;
    for (int i = 0; i < iCameras; i++) {
        arguments.push_back("--camera");
        arguments.push_back(
            Address(i) + "," + std::to_string(kFirstSerial + static_cast<unsigned int>(i)) + ",FL3-U3-13Y3M");
    }
    return arguments;
}

/// One camera through Aravis alone, as its documents show it.
class BareCamera {
public:
    explicit BareCamera(int iCamera)
        : m_pCamera(arv_camera_new(Address(iCamera).c_str(), nullptr))
    {
        arv_camera_set_region(m_pCamera, 0, 0, kWidth, kHeight, nullptr);
        arv_camera_set_frame_rate(m_pCamera, kFps, nullptr);
        arv_camera_set_exposure_time(m_pCamera, static_cast<double>(kShutterMs) * 1000.0, nullptr);
        arv_camera_gv_set_packet_size(m_pCamera, kPacketBytes, nullptr);
        m_pStream = arv_camera_create_stream(m_pCamera, nullptr, nullptr, nullptr);
        g_object_set(
            m_pStream, "socket-buffer", ARV_GV_STREAM_SOCKET_BUFFER_FIXED, "socket-buffer-size", 4 << 20, nullptr);
        const auto uiPayload = arv_camera_get_payload(m_pCamera, nullptr);
        for (int i = 0; i < 50; i++)
            arv_stream_push_buffer(m_pStream, arv_buffer_new(uiPayload, nullptr));
    }
    ~BareCamera()
    {
        arv_camera_stop_acquisition(m_pCamera, nullptr);
        g_object_unref(m_pStream);
        g_object_unref(m_pCamera);
    }
    BareCamera(const BareCamera&) = delete;
    BareCamera& operator=(const BareCamera&) = delete;
    void Start() { arv_camera_start_acquisition(m_pCamera, nullptr); }
    void Receive(const std::atomic<bool>& bRun)
    {
        std::uint64_t uiLast = 0;
        while (bRun) {
            ArvBuffer* pBuffer = arv_stream_timeout_pop_buffer(m_pStream, 100000);
            if (pBuffer == nullptr)
                continue;
            const std::uint64_t uiId = arv_buffer_get_frame_id(pBuffer);
            if (arv_buffer_get_status(pBuffer) == ARV_BUFFER_STATUS_SUCCESS)
                m_uiFrames++;
            else
                m_uiLost++;
            const std::uint64_t uiStep = uiLast != 0 ? (uiId + 65535 - uiLast) % 65535 : 1;
            if (uiStep > 0 && uiStep < 20000) { // else one that was given up on came in late
                m_uiLost += uiStep - 1;
                uiLast = uiId;
            }
            arv_stream_push_buffer(m_pStream, pBuffer);
        }
    }
    Outcome Result() const { return { m_uiFrames, m_uiLost, 0.0 }; }

private:
    ArvCamera* m_pCamera;
    ArvStream* m_pStream = nullptr;
    std::atomic<std::uint64_t> m_uiFrames = 0;
    std::atomic<std::uint64_t> m_uiLost = 0;
};

/// One camera through the camera library, as the grab threads use it.
class LibraryCamera {
public:
    LibraryCamera(CameraLibrary& library, int iCamera)
    {
        PGRGuid guid;
        const unsigned int uiSerial = kFirstSerial + static_cast<unsigned int>(iCamera);
        Must(library.GetBusManager().GetCameraFromSerialNumber(uiSerial, guid));
        m_camera = library.CreateGigECamera(guid);
        Must(m_camera->Connect(guid));
        FC2Config config;
        Must(m_camera->GetConfiguration(config));
        config.grabMode = GrabMode::BufferFrames;
        config.grabTimeout = 100;
        Must(m_camera->SetConfiguration(config));
        Must(m_camera->WriteRegister(0x12F8, 0x80000101));
        std::uint32_t uiPacket = kPacketBytes;
        Must(m_camera->DiscoverGigEPacketSize(uiPacket));
        Must(m_camera->SetGigEImageSettings({ 0, 0, kWidth, kHeight, PixelFormat::Raw8 }));
        GigEConfig gige;
        Must(m_camera->GetGigEConfig(gige));
        gige.enablePacketResend = true;
        Must(m_camera->SetGigEConfig(gige));
        Set(PropertyType::FrameRate, static_cast<float>(kFps));
        Set(PropertyType::Shutter, kShutterMs);
    }
    void Start() { Must(m_camera->StartCapture()); }
    void Receive(const std::atomic<bool>& bRun)
    {
        while (bRun) {
            Image image;
            if (m_camera->RetrieveBuffer(image).IsOk())
                m_uiFrames++;
        }
    }
    Outcome Result()
    {
        const StreamStatistics statistics = m_camera->GetStreamStatistics();
        return { m_uiFrames, statistics.incomplete + statistics.underruns, 0.0 };
    }

private:
    static void Must(const Error& error)
    {
        if (error.IsOk())
            return;
        std::fprintf(stderr, "%s\n", error.GetDescription().c_str());
        std::exit(1);
    }
    void Set(PropertyType eType, float fValue)
    {
        Property property;
        property.type = eType;
        Must(m_camera->GetProperty(property));
        property.absControl = true;
        property.autoManualMode = false;
        property.absValue = fValue;
        Must(m_camera->SetProperty(property));
    }
    std::unique_ptr<GigECamera> m_camera;
    std::atomic<std::uint64_t> m_uiFrames = 0;
};

template <typename Camera> Outcome Sum(const std::vector<std::unique_ptr<Camera>>& cameras)
{
    Outcome sum;
    for (const auto& camera : cameras) {
        const Outcome one = camera->Result();
        sum.uiFrames += one.uiFrames;
        sum.uiLost += one.uiLost;
    }
    return sum;
}

/// Lets all cameras run for the same time, one thread each.
template <typename Camera> Outcome Run(std::vector<std::unique_ptr<Camera>> cameras)
{
    std::atomic<bool> bRun = true;
    std::vector<std::thread> threads;
    for (const auto& camera : cameras)
        camera->Start();
    for (const auto& camera : cameras)
        threads.emplace_back([&camera, &bRun] { camera->Receive(bRun); });
    std::this_thread::sleep_for(kSettle); // what queued up while the cameras started is no part of it
    const double dCpu = CpuSeconds();
    const Outcome before = Sum(cameras);
    std::this_thread::sleep_for(kRun);
    Outcome sum = Sum(cameras);
    sum.uiFrames -= before.uiFrames;
    sum.uiLost -= before.uiLost;
    sum.dCpuSeconds = CpuSeconds() - dCpu;
    bRun = false;
    for (std::thread& thread : threads)
        thread.join();
    return sum;
}

Outcome RunBare(int iCameras)
{
    std::vector<std::unique_ptr<BareCamera>> cameras;
    for (int i = 0; i < iCameras; i++)
        cameras.push_back(std::make_unique<BareCamera>(i));
    return Run(std::move(cameras));
}

Outcome RunLibrary(int iCameras)
{
    RealClock clock;
    SilentLog log;
    const auto library = MakeGenicamLibrary(clock, log, {});
    unsigned int uiCount = 0;
    (void)library->GetBusManager().GetNumOfCameras(uiCount);
    std::vector<std::unique_ptr<LibraryCamera>> cameras;
    for (int i = 0; i < iCameras; i++)
        cameras.push_back(std::make_unique<LibraryCamera>(*library, i));
    return Run(std::move(cameras));
}

void Print(const char* strWho, int iCameras, const Outcome& outcome)
{
    std::printf("%d cameras, %s: %llu frames, %llu lost, %.2f s of processor time\n", iCameras, strWho,
        static_cast<unsigned long long>(outcome.uiFrames), static_cast<unsigned long long>(outcome.uiLost),
        outcome.dCpuSeconds);
}

bool Compare(int iCameras, const bench::Figure& received, const bench::Figure& lost)
{
    peers::PeerProcess peer(HostArguments(iCameras));
    if (!peer.Ready()) {
        std::fprintf(stderr, "the software cameras do not start\n");
        return false;
    }
    std::vector<double> ratios;
    std::vector<double> own;
    std::vector<double> bares;
    std::uint64_t uiLost = 0;
    for (int iRound = 0; iRound < kRounds; iRound++) {
        const Outcome bare = RunBare(iCameras);
        const Outcome ours = RunLibrary(iCameras);
        Print("bare", iCameras, bare);
        Print("library", iCameras, ours);
        ratios.push_back(static_cast<double>(ours.uiFrames) / static_cast<double>(bare.uiFrames));
        own.push_back(static_cast<double>(ours.uiFrames));
        bares.push_back(static_cast<double>(bare.uiFrames));
        uiLost += ours.uiLost;
    }
    const bool bReceived = bench::AgainstPeer(received, bench::Text("%.0f frames", bench::Median(own)),
        bench::Text("bare loop, %.0f frames", bench::Median(bares)), bench::Median(ratios), bench::Goal::AtLeast, 0.99);
    return bench::AgainstLimit(lost, static_cast<double>(uiLost), "", 0) && bReceived;
}

} // namespace

int main()
{
    const std::string strRefusal = peers::EnterOwnNetwork();
    if (!strRefusal.empty()) {
        std::fprintf(stderr, "not measured: %s\n", strRefusal.c_str());
        return 0;
    }
    const bool bOne =
        Compare(1, { "GigE packets received, one camera at 400 fps" }, { "GigE frames lost, one camera" });
    const bool bFour =
        Compare(4, { "GigE packets received, four cameras at 400 fps" }, { "GigE frames lost, four cameras" });
    return bOne && bFour ? 0 : 1;
}
