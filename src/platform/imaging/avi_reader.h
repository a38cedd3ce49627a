#pragma once
#include "platform/error.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vireo {

/// Reads an AVI file with one video stream and an index, as AviFile ends them. One thread at a time.
///
/// A file counts as whole when it is as long as its chunks say, its header and its index tell the same
/// number of frames, and the index leads from frame to frame without a hole.
class AviReader {
public:
    AviReader() = default;
    ~AviReader();
    AviReader(const AviReader&) = delete;
    AviReader& operator=(const AviReader&) = delete;

    /// Reads header and index, no picture. Once for each reader.
    /// @return FileOpenFailed with the system's reason; FileCloseFailed with what keeps it from being whole.
    Error Open(const std::string& strPath);
    [[nodiscard]] std::uint32_t FrameCount() const { return static_cast<std::uint32_t>(m_frames.size()); }
    [[nodiscard]] std::uint32_t Width() const { return m_uiWidth; } ///< pixels, as the header tells
    [[nodiscard]] std::uint32_t Height() const { return m_uiHeight; }
    /// The compressed picture of a frame. @return FileCloseFailed when it does not stand where the index says.
    Error ReadFrame(std::uint32_t uiFrame, std::vector<std::uint8_t>& bytes) const;

private:
    struct Chunk {
        std::uint64_t uiOffset; ///< of the content, in the file
        std::uint32_t uiBytes; ///< of the content
    };

    bool Read(void* pBytes, std::size_t uiBytes, std::uint64_t uiOffset) const;
    Error ReadChunks();
    Error ReadMainHeader(const Chunk& list);
    Error ReadIndex(const Chunk& index);

    int m_iFile = -1;
    std::uint64_t m_uiFileBytes = 0;
    std::uint32_t m_uiPromised = 0; ///< frames, as the header tells
    std::uint32_t m_uiWidth = 0;
    std::uint32_t m_uiHeight = 0;
    Chunk m_movi {}; ///< from its mark on
    std::vector<Chunk> m_frames;
};

} // namespace vireo
