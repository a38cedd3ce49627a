// What it costs to have a frame store and to fill it: touching fresh memory against two threads that clear
// it, and the first lap through the ring against the second.
#include "bench_report.h"
#include "camera/vireo_doc.h"
#include "capture/frame_store_alloc.h"
#include "capture/frame_writer.h"
#include "platform/linux/memory.h"
#include "platform/time/real_clock.h"
#include "support/test_platform.h"

#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <thread>

namespace vireo {
namespace {

using bench::Goal;

constexpr std::uint64_t kMiB = std::uint64_t { 1 } << 20;
constexpr std::uint64_t kTouchBytes = 1024 * kMiB;
constexpr int kTouchRounds = 7;

constexpr unsigned int kCameras = 4;
constexpr int kFps = 400;
constexpr int kSeconds = 1;
constexpr int kLapRounds = 7;

// Two threads write all of a fresh mapping, in huge pages as the store has them. Seconds.
double MemsetFresh()
{
    void* pRoom = mmap(nullptr, kTouchBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pRoom == MAP_FAILED)
        std::abort();
    madvise(pRoom, kTouchBytes, MADV_HUGEPAGE);
    auto* pHalf = static_cast<std::byte*>(pRoom) + kTouchBytes / 2;
    const double dSeconds = bench::Seconds([&] {
        std::thread first([&] { std::memset(pRoom, 1, kTouchBytes / 2); });
        std::thread second([&] { std::memset(pHalf, 1, kTouchBytes / 2); });
        first.join();
        second.join();
    });
    munmap(pRoom, kTouchBytes);
    return dSeconds;
}

// The arena touches as much. Seconds.
double TouchFresh(LinuxMemory& memory)
{
    const auto arena = memory.CreateArena();
    if (!arena->Reserve(kCameras, kTouchBytes / kCameras))
        std::abort();
    return bench::Seconds([&] { arena->StartTouching(kTouchBytes, kForever, [] {}); });
}

void BenchTouching()
{
    RealClock clock;
    LinuxMemory memory(clock);
    MemsetFresh(); // memory that the machine has not used for long costs more at its first touch
    MemsetFresh();
    std::vector<double> memsets;
    std::vector<double> touches;
    std::vector<double> ratios;
    for (int iRound = 0; iRound < kTouchRounds; ++iRound) {
        memsets.push_back(MemsetFresh());
        touches.push_back(TouchFresh(memory));
        ratios.push_back(memsets.back() / touches.back());
    }
    const double dGiB = static_cast<double>(kTouchBytes) / static_cast<double>(1024 * kMiB);
    bench::AgainstPeer({ "touching of fresh memory" }, bench::Text("%.3f s/GiB", bench::Median(touches) / dGiB),
        bench::Text("memset on two threads, %.3f s/GiB", bench::Median(memsets) / dGiB), bench::Median(ratios),
        Goal::AtLeast, 0.8);
}

// Every camera's frames once through the ring. Seconds.
double Lap(FrameStore& store, const Image& frame)
{
    return bench::Seconds([&] {
        for (int iFrame = 0; iFrame < store.m_iBufferFrames; ++iFrame)
            for (std::size_t uiCamera = 0; uiCamera < kCameras; ++uiCamera) {
                StoreFrame(store, uiCamera, frame, iFrame);
                ++store.m_iendFrame[uiCamera];
            }
    });
}

bool IsWarm(const FrameStore& store)
{
    for (std::size_t uiCamera = 0; uiCamera < kCameras; ++uiCamera)
        if (!store.IsWarm(uiCamera, store.m_iBufferFrames - 1))
            return false;
    return true;
}

// A document without cameras, on the machine's own memory.
struct Document {
    RealClock clock;
    LinuxMemory memory { clock };
    test::TestPlatform platform { { .pClock = &clock, .pMemory = &memory } };
    CVireoApp app { platform.m_platform };
    CVireoDoc doc { app };

    Document()
    {
        doc.m_parameters.m_iFps = kFps;
        doc.m_cameras.m_uiNumCameras = kCameras;
    }
    // Seconds.
    double Allocate(int iRecordSec)
    {
        doc.m_parameters.m_iRecordSec = iRecordSec;
        return bench::Seconds([this] {
            if (!AllocateFrameStore(doc))
                std::abort();
        });
    }
};

void BenchLaps()
{
    Document document;
    CVireoDoc& doc = document.doc;
    const std::vector<std::uint8_t> pixels(SlotBytes(0), 0x55);
    const Image frame(480, 640, 640, pixels.data(), SlotBytes(0), PixelFormat::Raw8, BayerTileFormat::None);

    std::vector<double> allocations;
    std::vector<double> firsts;
    std::vector<double> seconds;
    std::vector<double> ratios;
    std::uint64_t uiColdSlots = 0;
    for (int iRound = 0; iRound < kLapRounds; ++iRound) {
        FreeFrameStore(doc); // the next one begins with fresh memory
        allocations.push_back(document.Allocate(kSeconds));
        while (!IsWarm(doc.m_store))
            document.clock.SleepMs(1);
        const double dFirst = Lap(doc.m_store, frame);
        const double dSecond = Lap(doc.m_store, frame);
        firsts.push_back(dFirst);
        seconds.push_back(dSecond);
        ratios.push_back(dFirst / dSecond);
        for (std::size_t uiCamera = 0; uiCamera < kCameras; ++uiCamera)
            uiColdSlots += doc.m_store.m_uiColdSlots[uiCamera];
    }
    const double dFrames = static_cast<double>(doc.m_store.m_iBufferFrames) * kCameras;
    std::printf("store of %.0f frames: live after %.3f s\n", dFrames, bench::Median(allocations));
    bench::AgainstPeer({ "first lap through the store" },
        bench::Text("%.1f us a frame", bench::Median(firsts) / dFrames * 1e6),
        bench::Text("second lap, %.1f us", bench::Median(seconds) / dFrames * 1e6), bench::Median(ratios), Goal::AtMost,
        1.1);
    bench::AgainstLimit({ "slots of the store that were cold" }, static_cast<double>(uiColdSlots), "", 0);
}

// A store of most of the machine's memory must be there about as soon as a small one.
void BenchLargeStore()
{
    Document document;
    const std::uint64_t uiSecondKiB = std::uint64_t { kFps } * kCameras * (SlotBytes(0) / 1024);
    const auto iRecordSec = static_cast<int>(document.memory.AvailableKiB() * 8 / 10 / uiSecondKiB);
    const double dSeconds = document.Allocate(iRecordSec);
    std::printf("store of %d s at %d fps: live after %.3f s", iRecordSec, kFps, dSeconds);
    std::printf(", given back in %.3f s\n", bench::Seconds([&document] { FreeFrameStore(document.doc); }));
    bench::AgainstLimit({ "store of most of the memory, time to live" }, dSeconds, "s", 1.2);
}

} // namespace
} // namespace vireo

int main()
{
    vireo::BenchTouching();
    vireo::BenchLaps();
    vireo::BenchLargeStore();
}
