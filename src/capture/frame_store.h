#pragma once
#include "capture/per_camera.h"
#include "platform/image.h"
#include "platform/memory.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace vireo {

constexpr int kRingHeadroom = 64; ///< slots beyond the record time
constexpr int kIdleFrameCount = -10; ///< m_isaveFrameCount of a camera that is not recording
constexpr int kRingJoinSlack = 9; ///< frames that cameras may be apart when they see a start mark

/// Bytes of one slot, by image-size index: one byte per pixel.
constexpr std::uint32_t SlotBytes(int iImageSizeIndex)
{
    switch (iImageSizeIndex) {
    case 1: return 1024 * 768;
    case 2: return 1280 * 720;
    case 3: return 1920 * 1080;
    default: return 640 * 480;
    }
}

/// Bytes from one slot to the next: slots begin at multiples of 64, as streaming stores want it.
constexpr std::uint64_t SlotStride(std::uint32_t uiSlotBytes) { return (std::uint64_t { uiSlotBytes } + 63) / 64 * 64; }

/// Slots per camera that a recording of that length needs. Wraps in 32 bits, as the memory check does.
constexpr int BufferFramesFor(int iRecordSec, int iFps)
{
    return static_cast<int>(static_cast<std::uint32_t>(iRecordSec) * static_cast<std::uint32_t>(iFps)
        + static_cast<std::uint32_t>(kRingHeadroom));
}

/// Width and height in pixels, by image-size index.
struct ImageSize {
    int iWidth = 640;
    int iHeight = 480;
};
constexpr ImageSize SizeOfIndex(int iImageSizeIndex)
{
    switch (iImageSizeIndex) {
    case 1: return { 1024, 768 };
    case 2: return { 1280, 720 };
    case 3: return { 1920, 1080 };
    default: return { 640, 480 };
    }
}

/// The embedded bus cycle time of a frame, in seconds: 7 bits seconds, 13 bits cycles of 125 us,
/// 12 bits of 1/3072 cycle. Wraps every 128 s.
constexpr double FrameTimestampSeconds(std::uint32_t uiCycleTime)
{
    return static_cast<double>(uiCycleTime >> 25)
        + (static_cast<double>((uiCycleTime >> 12) & 0x1FFF) + static_cast<double>(uiCycleTime & 0xFFF) / 3072.0)
        / 8000.0;
}

/// The embedded cycle time of a stored frame: its first four bytes, most significant first.
constexpr std::uint32_t FrameCycleTime(std::span<const std::uint8_t, 4> header)
{
    return (std::uint32_t { header[0] } << 24) | (std::uint32_t { header[1] } << 16)
        | (std::uint32_t { header[2] } << 8) | std::uint32_t { header[3] };
}

/// The difference a - b of two frame times, taken over the 128 s wrap to the nearest.
double FrameTimeDifference(double a, double b);

/// The frame count a camera joins a recording with: how far its write index `e` is past the mark `s`
/// in a ring of `n` slots; a camera up to 9 frames behind the mark has not wrapped.
constexpr int RingDistance(int s, int e, int n) { return e >= s - kRingJoinSlack ? e - s : n + e - s; }

/// Slot of frame `iFrame` of a recording that begins at ring index `iStart`; one wrap only.
constexpr int RingSlot(int iStart, int iFrame, int iBufferFrames)
{
    const int iSlot = iStart + iFrame;
    return iSlot > iBufferFrames - 1 ? iSlot - iBufferFrames : iSlot;
}

/// The memory check of the frame store. The product is computed in 32 bits and widened with its sign:
/// a request that overflows becomes a huge need and fails, whatever is free. So does one of no frames.
bool HasMemoryFor(std::uint64_t uiAvailableKiB, int iFrames, unsigned int uiCameras, std::uint32_t uiSlotBytes);

/// The shape that camera 0's frames have; rebuilds an image from a slot. Written by camera 0's grab
/// thread, read by anyone.
struct FrameGeometry {
    std::atomic<std::uint32_t> uiRows = 0;
    std::atomic<std::uint32_t> uiCols = 0;
    std::atomic<std::uint32_t> uiStride = 0;
    std::atomic<std::uint32_t> uiDataSize = 0;
    std::atomic<std::uint32_t> uiPixelFormat = 0;
    std::atomic<std::uint32_t> uiBayerTile = 0;
};

/// What is known of a stored frame beside its pixels; one per slot, written by the camera's grab thread
/// with the frame. At most 64 bytes.
struct FrameEvidence {
    ClockTime arrival = 0; ///< when the host had it, ns
    std::int64_t iExposure = -1; ///< the camera's exposures counted from capture start, lost ones included; -1 = none
    std::uint32_t uiBytes = 0; ///< bytes stored; 0 = the slot holds no frame
    bool bCold = false; ///< the slot was written before it was touched
};
static_assert(sizeof(FrameEvidence) <= 64);

/// Every frame of a recording, in memory: per camera a ring of equal slots, with its counters.
/// State only; AllocateFrameStore and FreeFrameStore work on it.
///
/// Threads: allocated and freed on the user-interface thread while no grab thread runs. While it runs,
/// camera c's grab thread writes its slots, its evidence, m_iendFrame[c], m_isaveFrameCount[c],
/// m_istartFrame[c] and m_bRecordDone[c], with these exceptions: camera 0's thread puts every camera's
/// count and m_bRecordDone back as it begins a recording, and moves m_istartFrame of every camera as it
/// aligns a finished one; the operator takes m_bRecordDone back by "save after recording"; and the thread
/// that carries out a stop sets m_bRecordDone of a recording that a failure broke. The marks are written as
/// their comments say. Any thread reads.
struct FrameStore {
    // Fixed while any grab thread runs.
    std::atomic<int> m_iBufferFrames = 0; ///< slots per camera
    int m_iAllocatedFrames =
        0; ///< slots that there really are; 0 while there is no store, when m_iBufferFrames keeps its value
    unsigned int m_uiCameras = 0; ///< cameras that the store was built for
    std::uint32_t m_uiSlotBytes = 0;
    std::unique_ptr<FrameArena> m_arena; ///< null until the first allocation
    PerCamera<std::vector<FrameEvidence>> m_evidence; ///< [camera][ring index]

    FrameGeometry m_geometry;

    PerCamera<std::atomic<int>> m_iendFrame; ///< next slot to write; wrapped by the writer just before a write
    PerCamera<std::atomic<int>> m_isaveFrameCount; ///< frames recorded; kIdleFrameCount = idle
    PerCamera<std::atomic<int>> m_istartFrame; ///< ring index of the first recorded frame
    PerCamera<std::atomic<int>> m_iLastFrame; ///< slot written last, kept by the monitor
    PerCamera<std::atomic<bool>> m_bRecordDone; ///< all frames of the recording are there
    PerCamera<std::atomic<std::uint64_t>> m_uiColdSlots; ///< frames that met a slot before it was touched
    PerCamera<std::atomic<std::uint64_t>> m_uiTruncated; ///< frames cut because they were larger than a slot
    PerCamera<std::atomic<int>> m_iLostBefore; ///< exposures lost between capture start and recording

    std::atomic<int> m_iStartMark = -1; ///< ring index where the recording began; set by camera 0, -1 = none
    std::atomic<bool> m_bStartRequest = false; ///< set by the operator's side, taken by camera 0
    std::atomic<int> m_iStopMark = -1; ///< camera 0's ring index when a stop was taken, -1 = none
    std::atomic<bool> m_bStopRequest = false;
    std::atomic<int> m_iRecordTarget = 0; ///< frames that each camera is to record
    std::atomic<int> m_iCutFrom = 0; ///< the target before a camera's failure cut the recording short; 0 = none did
    std::atomic<unsigned int> m_uiDoneCameras = 0;

    FrameStore();
    ~FrameStore();
    /// Makes room for the counters of `uiCameras` cameras; they are idle when that takes new ones.
    void EnsureCameras(std::size_t uiCameras);
    /// A store with slots exists.
    [[nodiscard]] bool Exists() const { return m_iAllocatedFrames > 0; }
    /// Slot memory; null without a store or outside it.
    [[nodiscard]] std::uint8_t* Slot(std::size_t uiCamera, int iIndex) const;
    /// Whether the slot was touched before now. A write to a cold one may have to wait for the kernel.
    [[nodiscard]] bool IsWarm(std::size_t uiCamera, int iIndex) const;
    /// The stored frame as an image that borrows the slot, in the recording's geometry; no picture when
    /// there is none.
    [[nodiscard]] Image SlotImage(std::size_t uiCamera, int iIndex) const;
    /// Embedded time of the stored frame, seconds.
    [[nodiscard]] double SlotTime(std::size_t uiCamera, int iIndex) const;
};

} // namespace vireo
