// Finds the bar codes of simulated cameras on a picture of a screen. Reads a PGM file (P5, 8 bits) from the standard
// input and prints one line for each: X Y VALUE, X and Y being the code's left top pixel.
#include "platform/simulated/scene.h"

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <string>
#include <vector>

namespace {

using namespace vireo;

constexpr std::size_t kCell = kBarCodeCellSize;

struct Screen {
    std::size_t uiWidth = 0;
    std::size_t uiHeight = 0;
    std::vector<std::uint8_t> pixels;
    [[nodiscard]] const std::uint8_t* Row(std::size_t uiY) const { return pixels.data() + uiY * uiWidth; }
};

bool ReadPgm(std::istream& in, Screen& screen)
{
    std::string strMagic;
    int iMaximum = 0;
    if (!(in >> strMagic >> screen.uiWidth >> screen.uiHeight >> iMaximum) || strMagic != "P5" || iMaximum != 255)
        return false;
    in.get();
    screen.pixels.resize(screen.uiWidth * screen.uiHeight);
    in.read(reinterpret_cast<char*>(screen.pixels.data()), static_cast<std::streamsize>(screen.pixels.size()));
    return static_cast<std::size_t>(in.gcount()) == screen.pixels.size();
}

/// Every pixel of the code counts here: on a screen nothing has blurred it, and nothing else looks like it.
bool IsCode(const Screen& screen, std::size_t uiX, std::size_t uiY, std::uint32_t& uiValue)
{
    uiValue = 0;
    for (std::size_t uiCell = 0; uiCell < kBarCodeCells; ++uiCell) {
        const std::uint8_t uiMiddle = screen.Row(uiY + kCell / 2)[uiX + uiCell * kCell + kCell / 2];
        if (uiMiddle != kBarCodeOne && uiMiddle != kBarCodeZero)
            return false;
        uiValue = uiValue << 1 | (uiMiddle == kBarCodeOne ? 1U : 0U);
    }
    for (std::size_t uiRow = 0; uiRow < kCell; ++uiRow) {
        for (std::size_t uiColumn = 0; uiColumn < kBarCodeCells * kCell; ++uiColumn) {
            const bool bOne = (uiValue >> (kBarCodeCells - 1 - uiColumn / kCell) & 1U) != 0;
            if (screen.Row(uiY + uiRow)[uiX + uiColumn] != (bOne ? kBarCodeOne : kBarCodeZero))
                return false;
        }
    }
    return uiValue != 0 && uiValue != 0xFFFFFFFFU;
}

} // namespace

int main()
{
    Screen screen;
    if (!ReadPgm(std::cin, screen)) {
        std::cerr << "screen_bar_codes: no PGM picture of 8 bits\n";
        return 2;
    }
    for (std::size_t uiY = 0; uiY + kCell <= screen.uiHeight; ++uiY) {
        for (std::size_t uiX = 0; uiX + kBarCodeCells * kCell <= screen.uiWidth; ++uiX) {
            std::uint32_t uiValue = 0;
            if (IsCode(screen, uiX, uiY, uiValue))
                std::cout << uiX << ' ' << uiY << ' ' << uiValue << '\n';
        }
    }
    return 0;
}
