#include "capture/clock_fit.h"

#include <algorithm>
#include <vector>

namespace vireo {

namespace {

struct HullPoint {
    double x;
    double y;
};

// Whether b lies on or above the line from a to c, and so is no corner of the lower hull.
bool IsAbove(const HullPoint& a, const HullPoint& b, const HullPoint& c)
{
    return (b.x - a.x) * (c.y - a.y) <= (b.y - a.y) * (c.x - a.x);
}

std::vector<HullPoint> LowerHull(std::span<const ClockPoint> points, double dOrigin)
{
    std::vector<HullPoint> hull;
    for (const ClockPoint& point : points) {
        const HullPoint next { point.dDevice - dOrigin, point.dHost - point.dDevice };
        while (hull.size() >= 2 && IsAbove(hull[hull.size() - 2], hull.back(), next))
            hull.pop_back();
        if (!hull.empty() && hull.back().x >= next.x) { // equal times: the earlier arrival counts
            hull.back().y = std::min(hull.back().y, next.y);
            continue;
        }
        hull.push_back(next);
    }
    return hull;
}

double MedianLateness(std::span<const ClockPoint> points, const ClockFit& fit)
{
    std::vector<double> late;
    late.reserve(points.size());
    for (const ClockPoint& point : points)
        late.push_back(point.dHost - fit.ToHost(point.dDevice));
    const auto middle = late.begin() + static_cast<std::ptrdiff_t>(late.size() / 2);
    std::nth_element(late.begin(), middle, late.end());
    return *middle;
}

} // namespace

ClockFit FitClock(std::span<const ClockPoint> points)
{
    ClockFit fit;
    if (points.empty())
        return fit;
    fit.dOrigin = points.front().dDevice;
    const std::vector<HullPoint> hull = LowerHull(points, fit.dOrigin);
    fit.dOffset = hull.front().y;
    if (hull.size() >= 2) {
        // Among all lines below the points the sum of distances is least along the hull's edge under their mean.
        double dMean = 0.0;
        for (const ClockPoint& point : points)
            dMean += (point.dDevice - fit.dOrigin) / static_cast<double>(points.size());
        std::size_t uiEdge = 0;
        while (uiEdge + 2 < hull.size() && hull[uiEdge + 1].x < dMean)
            ++uiEdge;
        const HullPoint& a = hull[uiEdge];
        const HullPoint& b = hull[uiEdge + 1];
        fit.dRate = (b.y - a.y) / (b.x - a.x);
        fit.dOffset = a.y - fit.dRate * a.x;
    }
    fit.dJitter = MedianLateness(points, fit);
    return fit;
}

} // namespace vireo
