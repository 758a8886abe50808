// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/plan_grid.h"

namespace orvix::building {

PlanGrid PlanGrid::Over(const PlanPoint& low, const PlanPoint& high, double cell, double margin,
                        double most) {
    const double width = high.x - low.x + 2 * margin, height = high.y - low.y + 2 * margin;
    PlanGrid grid{{low.x - margin, low.y - margin}, cell, 0, 0};
    while (width / grid.cell * (height / grid.cell) > most) grid.cell *= 2;
    grid.columns = static_cast<std::int64_t>(std::ceil(width / grid.cell)) + 1;
    grid.rows = static_cast<std::int64_t>(std::ceil(height / grid.cell)) + 1;
    return grid;
}

void ForEachInside(const PlanGrid& grid, std::span<const PlanRing> rings,
                   const std::function<void(std::int64_t, std::int64_t)>& use) {
    double low = 0, high = 0;
    bool any = false;
    for (const PlanRing& ring : rings)
        for (const PlanPoint& p : ring) {
            low = any ? std::min(low, p.y) : p.y;
            high = any ? std::max(high, p.y) : p.y;
            any = true;
        }
    if (!any) return;
    std::vector<double> crossings;
    for (std::int64_t j = grid.Row(low); j <= grid.Row(high); ++j) {
        const double y = grid.Middle(0, j).y;
        crossings.clear();
        for (const PlanRing& ring : rings)
            for (std::size_t k = 0; k < ring.size(); ++k) {
                const PlanPoint& a = ring[k];
                const PlanPoint& b = ring[k + 1 == ring.size() ? 0 : k + 1];
                if ((a.y > y) == (b.y > y)) continue;
                crossings.push_back(a.x + (b.x - a.x) * ((y - a.y) / (b.y - a.y)));
            }
        std::sort(crossings.begin(), crossings.end());
        for (std::size_t k = 0; k + 1 < crossings.size(); k += 2) {
            const double from = (crossings[k] - grid.origin.x) / grid.cell - 0.5;
            const double to = (crossings[k + 1] - grid.origin.x) / grid.cell - 0.5;
            const auto first =
                std::max(std::int64_t{0}, static_cast<std::int64_t>(std::ceil(from)));
            for (std::int64_t i = first; i < grid.columns && static_cast<double>(i) < to; ++i)
                use(i, j);
        }
    }
}

double AreaOf(const PlanRing& ring) {
    double twice = 0;
    for (std::size_t k = 0; k < ring.size(); ++k) {
        const PlanPoint& a = ring[k];
        const PlanPoint& b = ring[k + 1 == ring.size() ? 0 : k + 1];
        twice += (a.x - ring[0].x) * (b.y - ring[0].y) - (b.x - ring[0].x) * (a.y - ring[0].y);
    }
    return twice / 2;
}

}  // namespace orvix::building
