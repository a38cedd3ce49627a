#pragma once
#include "platform/image.h"
#include "support/test_scene.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vireo::bench {

/// One camera's recording: the frames in memory, as the writer meets them in the store, and the same
/// frames as raw files for other programs.
class Footage {
public:
    /// @param uiDistinct  frames that differ; the recording repeats them up to `uiFrames`.
    Footage(std::uint32_t uiRows, std::uint32_t uiCols, bool bColour, std::uint32_t uiDistinct, std::size_t uiFrames);

    /// "grey-640x480".
    [[nodiscard]] std::string Name() const;
    [[nodiscard]] Image Frame(std::size_t uiFrame) const
    {
        return m_scene.Wrap(&m_pixels[m_scene.FrameBytes() * (uiFrame % m_uiDistinct)]);
    }
    /// The picture that frame `uiFrame` shows, BGR; of colour footage only.
    [[nodiscard]] const std::uint8_t* Picture(std::size_t uiFrame) const
    {
        return &m_pictures[m_scene.FrameBytes() * 3 * (uiFrame % m_uiDistinct)];
    }
    /// The same as grey values, or the frame itself when it is grey.
    [[nodiscard]] const std::uint8_t* Luma(std::size_t uiFrame) const;
    [[nodiscard]] std::size_t Pixels() const { return m_scene.FrameBytes(); }

    /// Writes the first `uiFrames` frames, of colour footage their BGR pictures, one behind the other.
    void Save(const std::string& strFile, std::size_t uiFrames) const;

    const std::uint32_t m_uiRows;
    const std::uint32_t m_uiCols;
    const bool m_bColour;
    const std::size_t m_uiFrames;

private:
    const std::size_t m_uiDistinct;
    test::TestScene m_scene;
    std::vector<std::uint8_t> m_pixels;
    std::vector<std::uint8_t> m_pictures;
    std::vector<std::uint8_t> m_luma;
};

} // namespace vireo::bench
