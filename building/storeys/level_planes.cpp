// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/storeys/level_planes.h"

#include <algorithm>
#include <cmath>

#include "building/plan_grid.h"

namespace orvix::building {
namespace {

constexpr double kSteepest = 0.173648;  // cosine of 80 degrees
constexpr double kLeastArea = 0.2;      // square metres

// From above a ceiling's outline runs the other way round.
PlanRing PlanOf(const detection::FoundPlane& plane, const PlaneRing& ring, bool hole) {
    PlanRing plan;
    plan.reserve(ring.points.size());
    for (const SimplePoint2DT<double>& corner : ring.points) {
        const SimplePointT<double> p = detection::CornerOf(plane, corner);
        plan.push_back({p.x, p.y});
    }
    if ((AreaOf(plan) < 0) != hole) std::reverse(plan.begin(), plan.end());
    return plan;
}

}  // namespace

LevelPlanes LevelPlanesOf(const std::vector<detection::FoundPlane>& planes, bool either) {
    LevelPlanes found;
    for (std::size_t i = 0; i < planes.size(); ++i) {
        const detection::FoundPlane& plane = planes[i];
        const double level = std::abs(plane.normal.z);
        if (level < kSteepest || plane.area < kLeastArea || plane.outline.regions.empty()) continue;
        LevelPlane face{i, {}, plane.area * level, plane.normal, plane.offset};
        for (const PlaneRegion& region : plane.outline.regions) {
            face.rings.push_back(PlanOf(plane, region.outer, false));
            for (const PlaneRing& hole : region.holes)
                face.rings.push_back(PlanOf(plane, hole, true));
        }
        const bool up = plane.normal.z > 0;
        auto& list = level >= kLevel ? (up ? found.floors : found.ceilings)
                                     : (up ? found.upperSlopes : found.lowerSlopes);
        if (either && level < kLevel) (up ? found.lowerSlopes : found.upperSlopes).push_back(face);
        list.push_back(std::move(face));
    }
    return found;
}

}  // namespace orvix::building
