#pragma once
#include "platform/clock.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace vireo {

// The bar code at the bottom of every simulated frame: a number as a row of bright and dark cells,
// large enough to survive JPEG compression.
constexpr std::uint32_t kBarCodeCells = 32; ///< bits, the most significant one at the left
constexpr std::uint32_t kBarCodeCellSize = 16; ///< pixels, both ways
constexpr std::uint8_t kBarCodeOne = 235;
constexpr std::uint8_t kBarCodeZero = 16;

/// Size and kind of the frames. Equal shapes share their backgrounds.
struct SceneShape {
    std::uint32_t uiWidth = 0; ///< pixels
    std::uint32_t uiHeight = 0;
    bool bBayer = false; ///< raw colour, RGGB
    friend bool operator==(const SceneShape&, const SceneShape&) = default;
};

/// What the camera writes over the first pixels of a frame.
struct FrameHeader {
    bool bTime = false; ///< bytes 0 to 3
    bool bPins = false; ///< bytes 4 to 7
    std::uint32_t uiCycleTime = 0;
    std::uint32_t uiPinState = 0;
};

/// The still part of the picture, with several rolls of sensor noise. Immutable; any thread.
class SceneBackgrounds {
public:
    static constexpr std::size_t kRolls = 4;

    explicit SceneBackgrounds(const SceneShape& shape);
    const SceneShape& Shape() const { return m_shape; }
    const std::vector<std::uint8_t>& Roll(std::size_t uiRoll) const { return m_rolls[uiRoll]; }

private:
    SceneShape m_shape;
    std::array<std::vector<std::uint8_t>, kRolls> m_rolls;
};

/// The picture that a camera sees at a moment, always the same at the same moment. Frames are made
/// cheaply: only the moving disc, the bar code and the header change in a copy of the background.
/// One thread at a time.
class Scene {
public:
    explicit Scene(const SceneBackgrounds& backgrounds);
    const SceneShape& Shape() const { return m_shape; }

    /// The frame whose exposure began `sinceStart` ns after the simulation did. Valid until the next call.
    const std::uint8_t* Render(ClockTime sinceStart, const FrameHeader& header);

private:
    struct Frame {
        std::vector<std::uint8_t> pixels;
        std::array<std::uint8_t, 8> background {}; ///< what the header lies upon
        std::uint32_t uiDiscX = 0, uiDiscY = 0;
        bool bDisc = false;
    };
    void AddDisc(Frame& frame, const std::vector<std::uint8_t>& light) const;

    SceneShape m_shape;
    std::uint32_t m_uiDisc = 0; ///< pixels across
    std::vector<std::uint8_t> m_disc; ///< brightness that the disc adds
    std::vector<std::uint8_t> m_shade; ///< what takes it away again
    std::array<Frame, SceneBackgrounds::kRolls> m_frames;
};

/// Draws `uiValue` over the lowest rows of a plane of one byte a pixel, as far as it is wide and high.
void DrawBarCode(std::uint8_t* pPixels, std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiValue);
/// The bar code of an exposure that began `sinceStart` ns after the simulation: microseconds modulo 2^32.
std::uint32_t BarCodeOf(ClockTime sinceStart);

} // namespace vireo
