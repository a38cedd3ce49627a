#pragma once
#include "platform/error.h"
#include "platform/imaging/frame_ratio.h"
#include "platform/imaging/jpeg_chunk.h"

#include <cstdint>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace vireo {

/// Writes to a file as pwrite does; tests put faults in its place.
using WriteFunction = std::function<ssize_t(int iFile, const void* pBytes, std::size_t uiBytes, off_t iOffset)>;
/// pwrite itself.
WriteFunction PlainWrite();

/// One AVI 1.0 file with a single Motion-JPEG stream: the pure file layer, no encoding.
///
/// Layout: a header block of kHeaderBytes, the frames, and at Finish the index. The header's sizes and
/// counts are brought up to date at each flush (the first frame, then about a second of frames or
/// kFlushBytes); the flag that
/// promises an index is set at Finish only. So at any instant the file plays up to its last flush.
/// One thread at a time.
class AviFile {
public:
    static constexpr std::uint64_t kFlushBytes = 4 << 20;
    static constexpr std::size_t kHeaderBytes = 512; ///< up to the first frame
    static constexpr std::size_t kTotalFramesOffset = 48; ///< of the frame count in the header, 32 bits

    explicit AviFile(WriteFunction write);
    /// Ends the file as Finish does, when it is open.
    ~AviFile();
    AviFile(const AviFile&) = delete;
    AviFile& operator=(const AviFile&) = delete;

    /// Creates the file, exclusively, and writes an empty header.
    /// @return FileOpenFailed with the path and the system's reason; a file that existed is untouched,
    ///         one that was created but could not be written is removed.
    Error Create(const std::string& strPath, FrameRatio ratio);
    [[nodiscard]] bool IsOpen() const { return m_iFile >= 0; }
    /// Pixels; known with the first frame.
    void SetFrameSize(std::uint32_t uiWidth, std::uint32_t uiHeight);
    [[nodiscard]] std::uint32_t FrameCount() const { return static_cast<std::uint32_t>(m_index.size()); }
    /// Bytes of the whole file, index included, if a picture of `uiBytes` were appended and the file ended.
    [[nodiscard]] std::uint64_t SizeWith(std::size_t uiBytes) const;
    /// Writes one frame. On failure the file is cut back to its last whole frame, its header true.
    /// @return FileWriteFailed with the path and the system's reason.
    Error Append(JpegChunk& chunk);
    /// Brings the header up to date. @return FileWriteFailed.
    Error Flush();
    /// Writes the index and the final header, and closes. When there is no room for the index the file is
    /// left without, playable. Harmless when not open. @return FileCloseFailed.
    Error Finish();

private:
    struct IndexEntry {
        std::uint32_t uiOffset; ///< of the chunk, from the "movi" mark
        std::uint32_t uiBytes;
    };

    bool WriteAll(const void* pBytes, std::size_t uiBytes, std::uint64_t uiOffset);
    bool WriteHeader(std::uint64_t uiFileEnd, bool bIndexed);
    bool WriteIndex();
    /// Drops everything behind the last whole frame.
    void CutBack();
    Error Failure(ErrorType eType, const char* strWhat, int iErrno) const;

    WriteFunction m_write;
    std::string m_strPath;
    int m_iFile = -1;
    FrameRatio m_ratio;
    std::uint32_t m_uiWidth = 0;
    std::uint32_t m_uiHeight = 0;
    std::uint32_t m_uiFlushFrames = 1; ///< frames in about a second
    std::vector<IndexEntry> m_index;
    std::uint64_t m_uiEnd = 0; ///< behind the last whole frame
    std::uint32_t m_uiLargestFrame = 0; ///< bytes
    std::uint64_t m_uiFlushedEnd = 0; ///< what the header says
    std::uint32_t m_uiFlushedFrames = 0;
};

} // namespace vireo
