// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/planes/building_plan.h"

#include <gtest/gtest.h>

namespace orvix::bench {
namespace {

double PointsASquareMetre(const test::BuildingOptions& options) {
    const test::SyntheticBuilding building(options);
    double area = 0;
    for (const test::TruePlane& plane : building.Planes()) area += plane.area;
    return static_cast<double>(options.points) / area;
}

TEST(BuildingFor, KeepsTheSpacingWhateverTheSize) {
    for (const std::uint64_t points : {1'000'000U, 3'160'000U, 10'000'000U, 31'600'000U}) {
        const auto options = BuildingFor({.points = points, .spacing = 0.02}, {});
        EXPECT_NEAR(PointsASquareMetre(options), 2500, 1);
        EXPECT_NEAR(static_cast<double>(options.points) / static_cast<double>(points), 1, 0.3);
    }
}

TEST(BuildingFor, KeepsTheRoomsWhateverTheSpacing) {
    for (const double spacing : {0.03, 0.01, 0.003}) {
        const auto options = BuildingFor({.rooms = 6, .spacing = spacing}, {});
        EXPECT_EQ(options.storeys * options.roomsX * options.roomsY, 6);
        EXPECT_NEAR(PointsASquareMetre(options) * spacing * spacing, 1, 1e-3);
    }
}

TEST(BuildingFor, PutsAllPointsIntoTheBuildingWhereNoSpacingIsAskedFor) {
    const auto options = BuildingFor({.points = 400'000}, {.seed = 5});
    EXPECT_EQ(options.points, 400'000U);
    EXPECT_EQ(options.storeys * options.roomsX * options.roomsY, 8);
    EXPECT_EQ(options.seed, 5U);
}

}  // namespace
}  // namespace orvix::bench
