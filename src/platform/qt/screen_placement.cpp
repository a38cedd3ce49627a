#include "platform/qt/screen_placement.h"

#include <algorithm>
#include <cmath>

namespace vireo {

namespace {

constexpr int kGrip = 48; ///< pixels of a title that can be gripped
constexpr std::int64_t kLargestSide = 32767; ///< of a window of the window system

} // namespace

QRect StoredRect(std::int32_t iLeft, std::int32_t iTop, std::int32_t iRight, std::int32_t iBottom)
{
    const std::int64_t iWidth = std::int64_t { iRight } - iLeft;
    const std::int64_t iHeight = std::int64_t { iBottom } - iTop;
    if (iWidth <= 0 || iHeight <= 0 || iWidth > kLargestSide || iHeight > kLargestSide)
        return {};
    const auto inReach = [](std::int64_t iValue) {
        return static_cast<int>(std::clamp(iValue, -kLargestSide, kLargestSide));
    };
    return { inReach(iLeft), inReach(iTop), static_cast<int>(iWidth), static_cast<int>(iHeight) };
}

QRect OnVisibleScreen(const QRect& wanted, const QList<QRect>& screens)
{
    if (screens.isEmpty())
        return wanted;
    const QRect title(wanted.left(), wanted.top(), wanted.width(), kGrip / 2);
    for (const QRect& screen : screens) {
        const QRect seen = title.intersected(screen);
        if (seen.width() >= std::min(kGrip, wanted.width()) && seen.top() == title.top() && seen.height() > kGrip / 4)
            return wanted;
    }
    const QRect& screen = screens.constFirst();
    const QSize size = wanted.size().boundedTo(screen.size());
    const int iLeft = std::clamp(wanted.left(), screen.left(), screen.left() + screen.width() - size.width());
    const int iTop = std::clamp(wanted.top(), screen.top(), screen.top() + screen.height() - size.height());
    return { QPoint(iLeft, iTop), size };
}

QRect InsideArea(const QRect& wanted, const QSize& area)
{
    const int iLeft = std::clamp(wanted.left(), std::min(0, kGrip - wanted.width()), std::max(0, area.width() - kGrip));
    const int iTop = std::clamp(wanted.top(), 0, std::max(0, area.height() - kGrip));
    return { QPoint(iLeft, iTop), wanted.size() };
}

QList<QPoint> TilePositions(int iCount, const QSize& window, const QSize& area, int iColumns)
{
    QList<QPoint> positions;
    if (iColumns < 1)
        iColumns = std::max(1, static_cast<int>(std::ceil(std::sqrt(static_cast<double>(iCount)))));
    const int iRows = (iCount + iColumns - 1) / iColumns;
    const auto step = [](int iSteps, int iWindow, int iArea) {
        return iSteps < 1 ? 0 : std::min(iWindow, std::max(kGrip, (iArea - iWindow) / iSteps));
    };
    const int iStepX = step(iColumns - 1, window.width(), area.width());
    const int iStepY = step(iRows - 1, window.height(), area.height());
    for (int i = 0; i < iCount; ++i)
        positions.append({ i % iColumns * iStepX, i / iColumns * iStepY });
    return positions;
}

} // namespace vireo
