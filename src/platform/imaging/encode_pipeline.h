#pragma once
#include "platform/error.h"
#include "platform/image.h"
#include "platform/imaging/jpeg_chunk.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace vireo {

/// Compresses frames on several threads and hands them on in the order in which they came.
///
/// Whichever thread has finished the oldest frame writes it, and all that are ready behind it; there is
/// no thread that only writes. After a failure nothing more is written: what was written are the frames
/// before the one that failed, all of them.
class EncodePipeline {
public:
    /// Called on thread `uiThread`, several at once. May throw std::bad_alloc.
    using Encode = std::function<Error(std::size_t uiThread, const ImageView& frame, JpegChunk& chunk)>;
    /// Called on any thread, one call at a time, in order.
    using Write = std::function<Error(JpegChunk& chunk)>;

    /// Starts the threads. @param uiLookAhead  frames between Put and Write at most, at least uiThreads.
    EncodePipeline(std::size_t uiThreads, std::size_t uiLookAhead, Encode encode, Write write);
    /// Waits for what is being encoded or written; drops the rest.
    ~EncodePipeline();
    EncodePipeline(const EncodePipeline&) = delete;
    EncodePipeline& operator=(const EncodePipeline&) = delete;

    /// Queues a frame, whose pixels are read until Drain returns; waits while the look-ahead is full.
    /// @return the first failure so far, of whichever frame; the frame is not queued then.
    Error Put(const ImageView& frame);
    /// Waits until all queued frames are written. @return the first failure.
    Error Drain();

private:
    struct Slot {
        ImageView frame;
        JpegChunk chunk;
        Error error;
        bool bEncoded = false;
    };

    void Run(std::size_t uiThread);
    Error EncodeSlot(std::size_t uiThread, Slot& slot);
    void WriteReady(std::unique_lock<std::mutex>& lock);
    Slot& SlotOf(std::uint64_t uiFrame) { return m_slots[uiFrame % m_slots.size()]; }
    [[nodiscard]] std::uint64_t Pending() const { return m_uiQueued - m_uiWritten; }

    const Encode m_encode;
    const Write m_write;
    std::mutex m_mutex; ///< guards everything below but the slots that a thread has taken
    std::condition_variable m_work; ///< a frame was queued, or the end
    std::condition_variable m_progress; ///< frames were written, or a failure
    std::vector<Slot> m_slots; ///< frame n lives in slot n modulo their number
    std::uint64_t m_uiQueued = 0;
    std::uint64_t m_uiTaken = 0;
    std::uint64_t m_uiWritten = 0;
    std::size_t m_uiEncoding = 0; ///< threads inside Encode
    std::uint64_t m_uiAwaited = 0; ///< Put or Drain waits until this many are written; 0 = nobody waits
    bool m_bWriting = false;
    bool m_bStop = false;
    Error m_error;
    std::vector<std::thread> m_threads;
};

} // namespace vireo
