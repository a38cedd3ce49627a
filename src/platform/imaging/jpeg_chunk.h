#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>

namespace vireo {

/// One compressed frame, in a buffer that also has room for what the container puts around it: so a
/// frame goes from the encoder to the file in one piece, without a copy.
class JpegChunk {
public:
    static constexpr std::size_t kHeaderBytes = 8; ///< room before the picture
    static constexpr std::size_t kPaddingBytes = 1; ///< room behind it

    /// Makes room for a picture of `uiBytes`; allocates only when that is more than before, and the
    /// kernel gives pages only for what is written. The picture is lost. May throw std::bad_alloc.
    void Reserve(std::size_t uiBytes)
    {
        if (uiBytes > m_uiCapacity) {
            m_uiCapacity = 0;
            m_buffer.reset();
            m_buffer = std::make_unique_for_overwrite<std::uint8_t[]>(kHeaderBytes + uiBytes + kPaddingBytes);
            m_uiCapacity = uiBytes;
        }
        m_uiSize = 0;
    }
    [[nodiscard]] std::size_t Capacity() const { return m_uiCapacity; }
    /// Start of the buffer; the picture begins kHeaderBytes behind it. Null before Reserve.
    std::uint8_t* Buffer() { return m_buffer.get(); }
    std::uint8_t* Picture() { return m_buffer.get() + kHeaderBytes; }
    /// Bytes of the picture.
    [[nodiscard]] std::size_t Size() const { return m_uiSize; }
    void SetSize(std::size_t uiBytes) { m_uiSize = uiBytes; }

private:
    std::unique_ptr<std::uint8_t[]> m_buffer;
    std::size_t m_uiCapacity = 0;
    std::size_t m_uiSize = 0;
};

} // namespace vireo
