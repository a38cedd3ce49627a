#pragma once
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace vireo {

constexpr int kGlTileEdge = 1024; ///< pixels
constexpr int kGlTextures = 16; ///< tiles of a higher index are not drawn

/// The smallest power of two that is not below `iValue`.
constexpr int PowerOfTwoNotBelow(int iValue)
{
    int iPower = 1;
    while (iPower < iValue)
        iPower *= 2;
    return iPower;
}

/// Whether textures must be clamped with the old rule that mixes in the border: the version text, read as
/// a number, is below 1.15 (so that 1.1 is old and 1.2 is not).
inline bool UsesOldClamp(const std::string& strVersion) { return std::strtod(strVersion.c_str(), nullptr) < 1.15; }

/// One tile of a large picture.
struct GlTile {
    int iIndex = 0; ///< of its texture
    int iFirstRow = 0, iFirstCol = 0; ///< in the picture, pixels
    int iRows = 0, iCols = 0; ///< that hold picture
    float fX0 = 0, fY0 = 0, fX1 = 0, fY1 = 0; ///< its quad in the unit square, y upwards
};

/// The tiles that are drawn of a picture, row by row.
inline std::vector<GlTile> GlTiles(int iWidth, int iHeight)
{
    const int iAcross = iWidth / kGlTileEdge + (iWidth % kGlTileEdge != 0 ? 1 : 0);
    const int iDown = iHeight / kGlTileEdge + (iHeight % kGlTileEdge != 0 ? 1 : 0);
    const float fTileWidth = static_cast<float>(kGlTileEdge) / static_cast<float>(iWidth);
    const float fTileHeight = static_cast<float>(kGlTileEdge) / static_cast<float>(iHeight);
    std::vector<GlTile> tiles;
    for (int iIndex = 0; iIndex < iAcross * iDown && iIndex < kGlTextures; ++iIndex) {
        const int iTileX = iIndex % iAcross;
        const int iTileY = iIndex / iAcross;
        const int iFirstRow = iTileY * kGlTileEdge;
        const int iFirstCol = iTileX * kGlTileEdge;
        const auto fTileX = static_cast<float>(iTileX);
        const auto fTileY = static_cast<float>(iTileY);
        tiles.push_back(
            { iIndex, iFirstRow, iFirstCol, iHeight - iFirstRow < kGlTileEdge ? iHeight - iFirstRow : kGlTileEdge,
                iWidth - iFirstCol < kGlTileEdge ? iWidth - iFirstCol : kGlTileEdge, fTileWidth * fTileX,
                1.0F - fTileHeight * (fTileY + 1.0F), fTileWidth * (fTileX + 1.0F), 1.0F - fTileHeight * fTileY });
    }
    return tiles;
}

} // namespace vireo
