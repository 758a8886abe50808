// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/storeys/overhead_map.h"

#include <algorithm>

namespace orvix::building {
namespace {

constexpr double kHeadroom = 1.7;
constexpr double kCell = 0.1;
constexpr double kMostCells = 1.6e7;
}  // namespace

OverheadMap::OverheadMap(const LevelPlanes& levels, const Storey& storey, double under) {
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
    lowest_.assign(grid_.Size(), -1);
    for (const auto* list : {&levels.ceilings, &levels.lowerSlopes})
        for (const LevelPlane& face : *list) {
            faces_.push_back(&face);
            Add(static_cast<std::int32_t>(faces_.size() - 1), storey.elevation + kHeadroom, under);
        }
}

void OverheadMap::Add(std::int32_t number, double least, double under) {
    const LevelPlane& face = *faces_[static_cast<std::size_t>(number)];
    // A slope comes down to the floor at its foot, and is a room's ceiling there.
    const double from = face.IsLevel() ? least : least - kHeadroom;
    ForEachInside(grid_, face.rings, [&](std::int64_t i, std::int64_t j) {
        const PlanPoint place = grid_.Middle(i, j);
        const double z = face.HeightAt(place);
        std::int32_t& lowest = lowest_[grid_.At(i, j)];
        if (!(z > from && z < under)) return;
        if (lowest < 0 || z < faces_[static_cast<std::size_t>(lowest)]->HeightAt(place))
            lowest = number;
    });
}

const LevelPlane* OverheadMap::FaceAt(const PlanPoint& place, std::int64_t around) const {
    if (!grid_.Holds(place)) return nullptr;
    const std::int64_t column = grid_.Column(place.x), row = grid_.Row(place.y);
    for (std::int64_t reach = 0; reach <= around; ++reach) {
        const LevelPlane* found = nullptr;
        for (std::int64_t j = std::max(row - reach, std::int64_t{0});
             j <= std::min(row + reach, grid_.rows - 1); ++j)
            for (std::int64_t i = std::max(column - reach, std::int64_t{0});
                 i <= std::min(column + reach, grid_.columns - 1); ++i) {
                const std::int32_t lowest = lowest_[grid_.At(i, j)];
                if (lowest < 0) continue;
                const LevelPlane* face = faces_[static_cast<std::size_t>(lowest)];
                if (found == nullptr || face->HeightAt(place) < found->HeightAt(place))
                    found = face;
            }
        if (found != nullptr) return found;
    }
    return nullptr;
}

std::optional<double> OverheadMap::HeightAt(const PlanPoint& place) const {
    const LevelPlane* face = FaceAt(place);
    if (face == nullptr) return std::nullopt;
    return face->HeightAt(place);
}

}  // namespace orvix::building
