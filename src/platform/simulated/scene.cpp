#include "platform/simulated/scene.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

namespace vireo {

namespace {

constexpr int kDarkest = 40;
constexpr int kGradient = 90; // grey levels from the top left to the bottom right
constexpr int kDiscBrightness = 70; // on the brightest background still below 256
constexpr std::uint32_t kLane = 8; // bytes that are added at once
constexpr double kDiscPeriodX = 2.3; // seconds; not a multiple of the other, so the disc roams
constexpr double kDiscPeriodY = 1.7;

/// A small fast generator; each roll of noise is the same in every run.
class Noise {
public:
    explicit Noise(std::uint64_t uiSeed)
        : m_uiState(uiSeed)
    {
    }
    /// About normally distributed with a deviation of 3 grey levels.
    int Next()
    {
        m_uiState ^= m_uiState << 13;
        m_uiState ^= m_uiState >> 7;
        m_uiState ^= m_uiState << 17;
        const std::uint64_t uiBits = m_uiState * 0x2545F4914F6CDD1DULL;
        const auto nibble = [uiBits](int iShift) { return static_cast<int>(uiBits >> iShift & 0xF); };
        return (nibble(60) + nibble(56) + nibble(52) + nibble(48) - 30) / 3;
    }

private:
    std::uint64_t m_uiState;
};

/// How much of the light each pixel of an RGGB tile takes, in 1/256.
int TileGain(bool bBayer, std::uint32_t uiX, std::uint32_t uiY)
{
    if (!bBayer)
        return 256;
    if ((uiX & 1U) != (uiY & 1U))
        return 256;
    return (uiX & 1U) == 0 ? 216 : 180;
}

std::uint64_t Mixed(std::uint64_t uiValue)
{
    uiValue ^= uiValue >> 31;
    uiValue *= 0x9E3779B97F4A7C15ULL;
    return uiValue ^ uiValue >> 29;
}

/// A place between 0 and `uiRoom`, swinging with the period.
std::uint32_t Swing(ClockTime time, double dPeriodSeconds, std::uint32_t uiRoom)
{
    const double dTurns = static_cast<double>(time) / static_cast<double>(kNsPerSecond) / dPeriodSeconds;
    const double dPlace = 0.5 + 0.5 * std::sin(2.0 * std::numbers::pi * (dTurns - std::floor(dTurns)));
    return static_cast<std::uint32_t>(dPlace * uiRoom);
}

void StoreBigEndian(std::uint8_t* pBytes, std::uint32_t uiValue)
{
    for (int i = 0; i < 4; ++i)
        pBytes[i] = static_cast<std::uint8_t>(uiValue >> (24 - 8 * i));
}

/// Adds eight bytes to eight, each modulo 256: the top bits apart, so that nothing is carried over.
void AddLane(std::uint8_t* pTo, const std::uint8_t* pWhat)
{
    constexpr std::uint64_t kTops = 0x8080808080808080ULL;
    std::uint64_t uiTo = 0, uiWhat = 0;
    std::memcpy(&uiTo, pTo, kLane);
    std::memcpy(&uiWhat, pWhat, kLane);
    uiTo = ((uiTo & ~kTops) + (uiWhat & ~kTops)) ^ ((uiTo ^ uiWhat) & kTops);
    std::memcpy(pTo, &uiTo, kLane);
}

} // namespace

SceneBackgrounds::SceneBackgrounds(const SceneShape& shape)
    : m_shape(shape)
{
    const std::uint32_t uiDiagonal = std::max(shape.uiWidth + shape.uiHeight, 1U);
    for (std::size_t uiRoll = 0; uiRoll < kRolls; ++uiRoll) {
        std::vector<std::uint8_t>& pixels = m_rolls[uiRoll];
        pixels.resize(std::size_t { shape.uiWidth } * shape.uiHeight);
        Noise noise(Mixed(uiRoll + 1) | 1);
        std::uint8_t* pPixel = pixels.data();
        for (std::uint32_t uiY = 0; uiY < shape.uiHeight; ++uiY)
            for (std::uint32_t uiX = 0; uiX < shape.uiWidth; ++uiX) {
                const int iWeave = static_cast<int>((uiX ^ uiY) & 0x18U) / 2 - 6;
                const int iLight = kDarkest + static_cast<int>((uiX + uiY) * kGradient / uiDiagonal) + iWeave;
                *pPixel++ = static_cast<std::uint8_t>(iLight * TileGain(shape.bBayer, uiX, uiY) / 256 + noise.Next());
            }
    }
}

Scene::Scene(const SceneBackgrounds& backgrounds)
    : m_shape(backgrounds.Shape())
    , m_uiDisc(std::min(m_shape.uiHeight, m_shape.uiWidth) / 6 / kLane * kLane)
{
    for (std::size_t uiRoll = 0; uiRoll < m_frames.size(); ++uiRoll) {
        Frame& frame = m_frames[uiRoll];
        frame.pixels = backgrounds.Roll(uiRoll);
        std::copy_n(
            frame.pixels.begin(), std::min(frame.pixels.size(), frame.background.size()), frame.background.begin());
    }
    m_disc.resize(std::size_t { m_uiDisc } * m_uiDisc);
    const double dCentre = (m_uiDisc - 1.0) / 2.0;
    for (std::uint32_t uiY = 0; uiY < m_uiDisc; ++uiY)
        for (std::uint32_t uiX = 0; uiX < m_uiDisc; ++uiX) {
            const double dRadius = std::hypot(uiX - dCentre, uiY - dCentre) / (m_uiDisc / 2.0);
            const double dLight = std::clamp((1.0 - dRadius) * 4.0, 0.0, 1.0); // soft at the rim
            m_disc[std::size_t { uiY } * m_uiDisc + uiX] = static_cast<std::uint8_t>(dLight * kDiscBrightness);
        }
    m_shade.resize(m_disc.size());
    std::transform(m_disc.begin(), m_disc.end(), m_shade.begin(),
        [](std::uint8_t uiLight) { return static_cast<std::uint8_t>(-uiLight); });
}

/// Bytes wrap around, so that taking the disc away restores the background exactly.
void Scene::AddDisc(Frame& frame, const std::vector<std::uint8_t>& light) const
{
    for (std::uint32_t uiY = 0; uiY < m_uiDisc; ++uiY) {
        std::uint8_t* const pRow =
            frame.pixels.data() + std::size_t { frame.uiDiscY + uiY } * m_shape.uiWidth + frame.uiDiscX;
        const std::uint8_t* const pLight = light.data() + std::size_t { uiY } * m_uiDisc;
        for (std::uint32_t uiX = 0; uiX < m_uiDisc; uiX += kLane)
            AddLane(pRow + uiX, pLight + uiX);
    }
}

const std::uint8_t* Scene::Render(ClockTime sinceStart, const FrameHeader& header)
{
    Frame& frame = m_frames[Mixed(static_cast<std::uint64_t>(sinceStart)) % m_frames.size()];
    std::uint8_t* const pPixels = frame.pixels.data();
    if (frame.bDisc)
        AddDisc(frame, m_shade);
    // Between the header's row and the bar code, which both lie open.
    frame.bDisc = m_shape.uiHeight > m_uiDisc + kBarCodeCellSize + 1;
    if (frame.bDisc) {
        frame.uiDiscX = Swing(sinceStart, kDiscPeriodX, m_shape.uiWidth - m_uiDisc);
        frame.uiDiscY = 1 + Swing(sinceStart, kDiscPeriodY, m_shape.uiHeight - m_uiDisc - kBarCodeCellSize - 1);
        AddDisc(frame, m_disc);
    }
    DrawBarCode(pPixels, m_shape.uiWidth, m_shape.uiHeight, BarCodeOf(sinceStart));
    if (frame.pixels.size() < frame.background.size())
        return pPixels;
    std::copy(frame.background.begin(), frame.background.end(), pPixels);
    if (header.bTime)
        StoreBigEndian(pPixels, header.uiCycleTime);
    if (header.bPins)
        StoreBigEndian(pPixels + 4, header.uiPinState);
    return pPixels;
}

void DrawBarCode(std::uint8_t* pPixels, std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiValue)
{
    const std::uint32_t uiRows = std::min(uiHeight, kBarCodeCellSize);
    const std::uint32_t uiCols = std::min(uiWidth, kBarCodeCells * kBarCodeCellSize);
    std::uint8_t* const pFirst = pPixels + std::size_t { uiHeight - uiRows } * uiWidth;
    for (std::uint32_t uiX = 0; uiX < uiCols; uiX += kBarCodeCellSize) {
        const bool bOne = (uiValue >> (kBarCodeCells - 1 - uiX / kBarCodeCellSize) & 1U) != 0;
        std::memset(pFirst + uiX, bOne ? kBarCodeOne : kBarCodeZero, std::min(kBarCodeCellSize, uiCols - uiX));
    }
    for (std::uint32_t uiY = 1; uiY < uiRows; ++uiY)
        std::memcpy(pFirst + std::size_t { uiY } * uiWidth, pFirst, uiCols);
}

std::uint32_t BarCodeOf(ClockTime sinceStart) { return static_cast<std::uint32_t>(sinceStart / kNsPerUs); }

} // namespace vireo
