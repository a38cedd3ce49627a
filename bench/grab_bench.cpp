// What a grab thread costs beside the copy and the conversion that it cannot do without.
#include "bench_report.h"
#include "capture/frame_store_alloc.h"
#include "capture/grab_threads.h"
#include "capture/scripted_camera.h"
#include "platform/frame_copy.h"
#include "platform/imaging/pixel_converter.h"
#include "platform/linux/memory.h"
#include "platform/time/real_clock.h"
#include "support/test_platform.h"

#include <ctime>

namespace vireo::bench {
namespace {

constexpr std::uint32_t kRows = 480, kCols = 640;
constexpr int kFps = 400;
constexpr int kFrames = 6000;
constexpr int kRounds = 5;
constexpr int kPictures = 32; ///< more than the caches hold
constexpr double kGoal = 1.15;

double ProcessorSeconds()
{
    timespec time {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// Lends prepared frames as fast as they are fetched, each with its time in the header.
class StillCamera : public test::ScriptedCamera {
public:
    explicit StillCamera(Clock& clock)
        : ScriptedCamera(clock, "FL3-U3-13Y3M")
        , m_stillClock(clock)
        , m_pictures(kPictures, std::vector<std::uint8_t>(kRows * kCols))
    {
        for (std::size_t i = 0; i < m_pictures.size(); ++i)
            for (std::size_t k = 0; k < m_pictures[i].size(); ++k)
                m_pictures[i][k] = static_cast<std::uint8_t>(k * 31 + i * 7);
    }
    std::atomic<int> m_iLent = 0;
    const std::uint8_t* Picture(int i) const { return m_pictures[static_cast<std::size_t>(i % kPictures)].data(); }

    Error RetrieveBuffer(Image& image) override
    {
        if (m_iLent >= kFrames) {
            m_stillClock.SleepMs(1);
            return ErrorType::NothingToDeliver;
        }
        auto& picture = m_pictures[static_cast<std::size_t>(m_iLent % kPictures)];
        StampTime(picture.data(), m_iLent);
        image = Image(kRows, kCols, kCols, picture.data(), kRows * kCols, PixelFormat::Raw8, BayerTileFormat::None);
        image.SetArrivalTime(m_stillClock.Now());
        ++m_iLent;
        return {};
    }

private:
    static void StampTime(std::uint8_t* pHeader, int iFrame)
    {
        const std::uint32_t uiCycles = static_cast<std::uint32_t>(iFrame) * (8000 / kFps);
        const std::uint32_t uiTime = (uiCycles / 8000 % 128) << 25 | (uiCycles % 8000) << 12;
        for (int i = 0; i < 4; ++i)
            pHeader[i] = static_cast<std::uint8_t>(uiTime >> (24 - 8 * i));
    }

    Clock& m_stillClock;
    std::vector<std::vector<std::uint8_t>> m_pictures;
};

struct Set {
    RealClock clock;
    std::unique_ptr<PixelConverter> converter = MakePixelConverter();
    LinuxMemory memory { clock };
    test::TestPlatform platform { { .pClock = &clock, .pMemory = &memory, .pConverter = converter.get() } };
    CVireoApp app { platform.m_platform };
    CVireoDoc doc { app };
    StillCamera* pCamera = nullptr;

    Set()
    {
        auto camera = std::make_unique<StillCamera>(clock);
        pCamera = camera.get();
        doc.m_cameras.m_uiNumCameras = 1;
        doc.m_cameras.m_ppCameraBase.push_back(pCamera);
        doc.m_cameras.m_owners.push_back(std::move(camera));
        doc.m_parameters.m_iFps = kFps;
        doc.m_parameters.m_iRecordSec = 2;
        AllocateFrameStore(doc);
        CaptureSnapshot& running = doc.m_capture.m_running;
        running.iFps = kFps;
        running.iBufferFrames = doc.m_store.m_iBufferFrames;
        running.uiSlotBytes = doc.m_store.m_uiSlotBytes;
        running.uiCameras = 1;
        running.models = { "FL3-U3-13Y3M" };
        running.bStrobeCapable = true;
        doc.m_capture.m_iCaptureMode = capture_mode::kRing;
    }
};

double GrabSeconds(Set& set)
{
    set.pCamera->m_iLent = 0;
    set.doc.m_store.m_iendFrame[0] = 0;
    const double dBefore = ProcessorSeconds();
    StartGrabThreads(set.doc, ThreadStartOrder::HighestFirst);
    while (set.pCamera->m_iLent < kFrames)
        set.clock.SleepMs(1);
    StopGrab(set.doc);
    return ProcessorSeconds() - dBefore;
}

double BareSeconds(Set& set)
{
    Image picture;
    std::uint8_t* pPixels = picture.Reshape(kRows, kCols, PixelFormat::Bgru);
    const double dBefore = ProcessorSeconds();
    for (int i = 0; i < kFrames; ++i) {
        const std::uint8_t* pFrame = set.pCamera->Picture(i);
        CopyFrame(set.doc.m_store.Slot(0, i % set.doc.m_store.m_iBufferFrames), pFrame, kRows * kCols);
        const ImageView view { kRows, kCols, kCols, pFrame, kRows * kCols, PixelFormat::Raw8, BayerTileFormat::None };
        if (!set.converter->Convert(view, PixelFormat::Bgru, pPixels, kCols * 4).IsOk())
            return 0.0;
    }
    return ProcessorSeconds() - dBefore;
}

int Run()
{
    Set set;
    GrabSeconds(set); // touches what the first lap touches
    std::vector<double> ratios;
    std::vector<double> bares;
    std::vector<double> grabs;
    for (int i = 0; i < kRounds; ++i) {
        const double dBare = BareSeconds(set);
        const double dGrab = GrabSeconds(set);
        bares.push_back(dBare / kFrames * 1e6);
        grabs.push_back(dGrab / kFrames * 1e6);
        ratios.push_back(dGrab / dBare);
    }
    AgainstPeer({ "way of a frame from camera to store and view" }, Text("%.1f us", Median(grabs)),
        Text("copy and conversion alone, %.1f us", Median(bares)), Median(ratios), Goal::AtMost, kGoal);
    return 0;
}

} // namespace
} // namespace vireo::bench

int main() { return vireo::bench::Run(); }
