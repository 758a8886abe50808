// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/storeys/overhead_map.h"

#include <algorithm>
#include <limits>

namespace orvix::building {
namespace {

constexpr double kHeadroom = 1.7;
constexpr double kCell = 0.1;
constexpr double kMostCells = 1.6e7;
constexpr float kNone = std::numeric_limits<float>::infinity();

}  // namespace

OverheadMap::OverheadMap(const LevelPlanes& levels, const Storey& storey, double under)
    : ceiling_(storey.ceiling) {
    bool any = false;
    PlanPoint low, high;
    for (const auto* list : {&levels.ceilings, &levels.lowerSlopes})
        for (const LevelPlane& face : *list)
            for (const PlanRing& ring : face.rings)
                for (const PlanPoint& p : ring) {
                    low = any ? PlanPoint{std::min(low.x, p.x), std::min(low.y, p.y)} : p;
                    high = any ? PlanPoint{std::max(high.x, p.x), std::max(high.y, p.y)} : p;
                    any = true;
                }
    grid_ = PlanGrid::Over(low, high, kCell, 2 * kCell, kMostCells);
    heights_.assign(grid_.Size(), kNone);
    for (const auto* list : {&levels.ceilings, &levels.lowerSlopes})
        for (const LevelPlane& face : *list) Add(face, storey.elevation + kHeadroom, under);
}

void OverheadMap::Add(const LevelPlane& face, double least, double under) {
    // A slope comes down to the floor at its foot, and is a room's ceiling there.
    const double from = face.normal.z < -0.990268 ? least : least - kHeadroom;
    ForEachInside(grid_, face.rings, [&](std::int64_t i, std::int64_t j) {
        const double z = face.HeightAt(grid_.Middle(i, j));
        float& height = heights_[grid_.At(i, j)];
        if (z > from && z < under) height = std::min(height, static_cast<float>(z));
    });
}

std::optional<double> OverheadMap::HeightAt(const PlanPoint& place) const {
    if (!grid_.Holds(place)) return std::nullopt;
    const std::int64_t column = grid_.Column(place.x), row = grid_.Row(place.y);
    for (std::int64_t reach = 0; reach <= 2; ++reach) {
        float height = kNone;
        for (std::int64_t j = std::max(row - reach, std::int64_t{0});
             j <= std::min(row + reach, grid_.rows - 1); ++j)
            for (std::int64_t i = std::max(column - reach, std::int64_t{0});
                 i <= std::min(column + reach, grid_.columns - 1); ++i)
                height = std::min(height, heights_[grid_.At(i, j)]);
        if (height < kNone) return height;
    }
    return std::nullopt;
}

}  // namespace orvix::building
