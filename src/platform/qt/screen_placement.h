#pragma once
#include <QList>
#include <QRect>
#include <cstdint>

namespace vireo {

/// Left, top, right, bottom as stored: any 32-bit values, right and bottom exclusive. Invalid when the
/// rectangle is empty, turned over or larger than a screen can be.
QRect StoredRect(std::int32_t iLeft, std::int32_t iTop, std::int32_t iRight, std::int32_t iBottom);

/// `wanted` moved, and made smaller if it must, so that its title can be seen and gripped on one of the
/// screens. Unchanged when it can already.
QRect OnVisibleScreen(const QRect& wanted, const QList<QRect>& screens);

/// `wanted` moved so that its title can be seen in an area of this size, which may scroll to the right
/// and down.
QRect InsideArea(const QRect& wanted, const QSize& area);

/// Places of `iCount` windows of one size, row by row, so that all can be seen in the area: side by side
/// when they fit, else overlapping evenly. `iColumns` stand in a row; 0: as many as make a square.
QList<QPoint> TilePositions(int iCount, const QSize& window, const QSize& area, int iColumns = 0);

} // namespace vireo
