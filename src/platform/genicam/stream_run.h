#pragma once
#include "platform/camera_types.h"
#include "platform/genicam/arrival_tap.h"
#include "platform/genicam/device_link.h"
#include "platform/genicam/glib_ptr.h"
#include "platform/genicam/image_settings.h"
#include "platform/genicam/open_device.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

namespace vireo {

/// Memory of the driver's buffers: one stretch of address space, of which only what is used takes room.
class BufferMemory {
public:
    /// Null when there is no address space left.
    static std::shared_ptr<BufferMemory> Make(std::size_t uiFrameBytes, std::size_t uiFrames);
    ~BufferMemory();
    BufferMemory(const BufferMemory&) = delete;
    BufferMemory& operator=(const BufferMemory&) = delete;

    std::uint8_t* Frame(std::size_t uiFrame) const { return m_pBytes + uiFrame * m_uiPitch; }
    bool Holds(std::size_t uiFrameBytes, std::size_t uiFrames) const
    {
        return uiFrameBytes <= m_uiPitch && uiFrames <= m_uiFrames;
    }

private:
    BufferMemory(std::uint8_t* pBytes, std::size_t uiPitch, std::size_t uiFrames)
        : m_pBytes(pBytes)
        , m_uiPitch(uiPitch)
        , m_uiFrames(uiFrames)
    {
    }
    std::uint8_t* m_pBytes;
    std::size_t m_uiPitch; ///< bytes from frame to frame
    std::size_t m_uiFrames;
};

/// What became of the frames of a run. Any thread.
struct FrameCounters {
    std::atomic<std::uint64_t> uiIncomplete = 0;
    std::atomic<std::uint64_t> uiUnderruns = 0;
};

/// The stream of frames from one start to the next stop. Open and Close on the device's own thread, Next
/// on the grab thread in between.
class StreamRun {
public:
    explicit StreamRun(std::shared_ptr<DeviceLink> link)
        : m_link(std::move(link))
    {
    }
    ~StreamRun();
    StreamRun(const StreamRun&) = delete;
    StreamRun& operator=(const StreamRun&) = delete;

    /// Makes the stream with room for `uiBuffers` frames. The camera does not send yet.
    /// @return InvalidSettings, OutOfResources, AccessDenied, Disconnected.
    Error Open(OpenDevice& device, std::size_t uiBuffers, std::shared_ptr<BufferMemory>& memory);
    /// Ends the stream. No Next runs any more.
    void Close();

    struct Frame {
        std::uint8_t* pData = nullptr;
        std::uint64_t uiTimeNs = 0; ///< on the camera's clock
        bool bComplete = false;
        std::optional<std::int64_t>
            age; ///< ns since its last packet came; none: the driver's time is the best there is
    };
    /// Takes a frame that the link has announced; the one before goes back to the driver.
    Frame Next();
    /// Gives the frame before back.
    void Return();

    const FrameShape& Shape() const { return m_shape; }
    StreamStatistics Statistics() const;

private:
    static void OnStream(void* pRun, ArvStreamCallbackType eType, ArvBuffer* pBuffer);
    void PushFresh(ArvStream* pStream, std::size_t uiCount);
    void CountGap(std::uint64_t uiFrameId);

    std::shared_ptr<DeviceLink> m_link;
    std::shared_ptr<BufferMemory> m_memory;
    FrameShape m_shape;
    std::size_t m_uiFrameBytes = 0;
    std::size_t m_uiBuffers = 0; ///< most that may be in use
    std::atomic<std::size_t> m_uiPushed = 0; ///< buffers that have been given to the driver so far
    mutable std::mutex m_csStream; ///< Close against Statistics
    GObjectPtr<ArvStream> m_stream;
    std::atomic<ArvStream*> m_pFed = nullptr; ///< the stream, while it may be fed by its own thread
    std::unique_ptr<ArrivalTap> m_tap; ///< grab thread, while the stream is open
    ArvBuffer* m_pBorrowed = nullptr; ///< grab thread
    bool m_bWideIds = false; ///< frames are numbered with 64 bits, not 16
    bool m_bFirst = true;
    std::uint64_t m_uiLastId = 0;
    std::uint64_t m_uiLastUnderruns = 0; ///< as the driver counts them
    FrameCounters m_counters;
    std::atomic<std::uint64_t> m_uiResends = 0; ///< when the stream was closed
};

} // namespace vireo
