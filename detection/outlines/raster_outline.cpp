// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/outlines/raster_outline.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <tuple>
#include <utility>

#include "detection/outlines/rim_straightener.h"
#include "detection/outlines/rim_tracer.h"

namespace orvix::detection {
namespace {

using Position = SimplePoint2DT<double>;

PlaneRing RingOf(const PlaneRaster& raster, const Rim& rim) {
    PlaneRing ring;
    for (const RimCorner& corner : rim.corners)
        ring.points.push_back(raster.Corner(corner.x, corner.y));
    return ring;
}

// The rims that are large enough and lie neither in a hole that is filled nor in a piece that is
// dropped.
std::vector<Rim> RimsToKeep(const PlaneRaster& raster, const OutlineLimits& limits) {
    std::vector<Rim> rims = TraceRims(raster);
    const double pixelArea = raster.Pixel() * raster.Pixel();
    const auto areaOf = [&](const Rim& rim) {
        return static_cast<double>(rim.twiceArea) / 2 * pixelArea;
    };
    double largest = 0;
    for (const Rim& rim : rims) largest = std::max(largest, areaOf(rim));
    const auto isSmall = [&](const Rim& rim) {
        const double area = areaOf(rim);
        return area > 0 ? area < limits.minIslandArea && area < largest
                        : -area < limits.minHoleArea;
    };
    std::vector<bool> small;
    for (const Rim& rim : rims) small.push_back(isSmall(rim));
    std::vector<std::size_t> place(rims.size(), kNoRim);
    std::vector<Rim> kept;
    for (std::size_t i = 0; i < rims.size(); ++i) {
        bool dropped = false;
        for (std::size_t rim = i; rim != kNoRim && !dropped; rim = rims[rim].parent)
            dropped = small[rim];  // BEHAVIOUR A8
        if (dropped) continue;
        place[i] = kept.size();
        kept.push_back(std::move(rims[i]));
    }
    for (Rim& rim : kept)
        if (rim.parent != kNoRim) rim.parent = place[rim.parent];
    return kept;
}

}  // namespace

PlaneOutline OutlineOf(const PlaneRaster& raster, const OutlineLimits& limits) {
    std::vector<Rim> rims = RimsToKeep(raster, limits);
    StraightenRims(rims, 1);
    // A hole's parent stands before it: outer rims are larger than what they enclose.
    std::vector<std::size_t> order(rims.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(), [&rims](std::size_t a, std::size_t b) {
        const std::int64_t areaA = std::abs(rims[a].twiceArea), areaB = std::abs(rims[b].twiceArea);
        if (areaA != areaB) return areaA > areaB;
        const RimCorner &p = rims[a].corners[0], &q = rims[b].corners[0];
        return std::tuple(p.x, p.y, a) < std::tuple(q.x, q.y, b);
    });
    PlaneOutline outline;
    outline.radius = raster.Pixel();
    std::vector<std::size_t> regionOf(rims.size());
    std::int64_t twiceArea = 0;
    for (const std::size_t i : order) {
        twiceArea += rims[i].twiceArea;
        if (rims[i].twiceArea > 0) {
            regionOf[i] = outline.regions.size();
            outline.regions.push_back({RingOf(raster, rims[i]), {}});
        } else {
            outline.regions[regionOf[rims[i].parent]].holes.push_back(RingOf(raster, rims[i]));
        }
    }
    outline.area = static_cast<double>(twiceArea) / 2 * raster.Pixel() * raster.Pixel();
    std::uint32_t vertices = 0;
    const auto number = [&vertices](PlaneRing& ring) {
        for (std::size_t i = 0; i < ring.points.size(); ++i) ring.indices.push_back(vertices++);
    };
    for (PlaneRegion& region : outline.regions) {
        number(region.outer);
        for (PlaneRing& hole : region.holes) number(hole);
    }
    return outline;
}

}  // namespace orvix::detection
