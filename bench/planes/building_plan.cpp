// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/planes/building_plan.h"

#include <algorithm>
#include <cmath>

namespace orvix::bench {
namespace {

constexpr double kPointsInRoom = 250'000;

void SetRooms(test::BuildingOptions& options, double rooms) {
    options.storeys = rooms < 8 ? 1 : rooms > 12 ? 3 : 2;
    const double onStorey = rooms / options.storeys;
    options.roomsY = std::max(1, static_cast<int>(std::sqrt(onStorey)));
    options.roomsX = std::max(1, static_cast<int>(onStorey / options.roomsY));
}

void SetPoints(test::BuildingOptions& options, double spacing) {
    const test::SyntheticBuilding building(options);
    double area = 0;
    for (const test::TruePlane& plane : building.Planes()) area += plane.area;
    options.points = static_cast<std::uint64_t>(area / (spacing * spacing));
}

}  // namespace

test::BuildingOptions BuildingFor(const BuildingPlan& plan, test::BuildingOptions options) {
    options.points = plan.points;
    if (plan.spacing <= 0) {
        const double suggested = std::max(8.0, static_cast<double>(plan.points) / kPointsInRoom);
        SetRooms(options, plan.rooms > 0 ? plan.rooms : suggested);
        return options;
    }
    SetRooms(options, std::max(plan.rooms, 1));
    SetPoints(options, plan.spacing);
    if (plan.rooms > 0) return options;
    const auto off = [&](const test::BuildingOptions& o) {
        return std::abs(std::log(static_cast<double>(o.points) / static_cast<double>(plan.points)));
    };
    auto larger = options;
    for (int rooms = 2; larger.points < plan.points; ++rooms) {
        SetRooms(larger, rooms);
        SetPoints(larger, plan.spacing);
        if (off(larger) < off(options)) options = larger;
    }
    return options;
}

}  // namespace orvix::bench
