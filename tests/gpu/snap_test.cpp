// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "orvix/gpu/revit_amp.h"
#include "support/dice.h"

namespace orvix {
namespace {

using Points = std::vector<SimplePointT<float>>;

SectionPoints Of(const Points& points) {
    return SectionPoints::Of(std::span<const SimplePointT<float>>(points));
}

// What Snap promises, by a plain loop over the points that `counts` names.
SnappedPoint PlainSnap(const Points& points, const std::vector<std::uint64_t>& counted,
                       const PickingRay& ray) {
    const double length = std::hypot(ray.direction.x, ray.direction.y, ray.direction.z);
    const double d[3] = {ray.direction.x / length, ray.direction.y / length,
                         ray.direction.z / length};
    SnappedPoint best;
    for (const std::uint64_t i : counted) {
        const double w[3] = {points[i].x - ray.origin.x, points[i].y - ray.origin.y,
                             points[i].z - ray.origin.z};
        const double along = w[0] * d[0] + w[1] * d[1] + w[2] * d[2];
        double squared = 0;
        for (int k = 0; k < 3; ++k) squared += (w[k] - along * d[k]) * (w[k] - along * d[k]);
        const double reach = ray.radius + along * ray.tangent;
        if (!(along >= 0) || !(squared <= reach * reach)) continue;
        if (best.Found() && (along > best.along || (along == best.along && i > best.index))) {
            continue;
        }
        best = {i, along, std::sqrt(squared)};
    }
    return best;
}

std::vector<std::uint64_t> All(const Points& points) {
    std::vector<std::uint64_t> all(points.size());
    for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
    return all;
}

// On a lattice of a quarter of a metre, so that rays along an axis meet ties and exact boundaries.
Points Lattice(std::size_t count, std::uint64_t seed) {
    std::uint64_t state = seed;
    test::Dice dice(state);
    Points points(count);
    for (auto& p : points) {
        const auto any = [&] { return static_cast<float>(std::floor(dice.Share() * 40) / 4); };
        p = {any(), any(), any()};
    }
    points[7].x = std::nanf("");
    points[8].z = HUGE_VALF;
    return points;
}

std::vector<PickingRay> Rays(std::size_t count, std::uint64_t seed) {
    std::uint64_t state = seed;
    test::Dice dice(state);
    std::vector<PickingRay> rays(count);
    for (auto& ray : rays) {
        const auto quarter = [&] { return std::floor(dice.Share() * 40) / 4; };
        ray.origin = {quarter() - 3, quarter(), quarter()};
        ray.direction = {1, 0, 0};
        if (dice.Share() < 0.5) {
            ray.direction = {dice.Share(), dice.Share() - 0.5, dice.Share() - 0.5};
        }
        ray.radius = std::floor(dice.Share() * 4) / 4;
        ray.tangent = dice.Share() < 0.5 ? 0 : 0.0625;
    }
    return rays;
}

TEST(Snap, OneRayAndManyFindWhatAPlainLoopFinds) {
    const Points points = Lattice(5000, 3);
    const auto rays = Rays(400, 4);
    const auto all = All(points);
    for (const bool held : {false, true}) {
        RevitAMP section;
        ASSERT_TRUE(held ? section.Hold(Of(points)) : section.SetPoints(Of(points)));
        std::vector<SnappedPoint> together(rays.size());
        for (std::size_t k = 0; k < 30; ++k) {  // by passes, then by the tree
            SnappedPoint one;
            ASSERT_TRUE(section.Snap(std::span(rays).subspan(k, 1), {&one, 1}));
            EXPECT_EQ(one.index, PlainSnap(points, all, rays[k]).index) << k;
        }
        ASSERT_TRUE(section.Snap(rays, together));
        std::size_t found = 0;
        for (std::size_t k = 0; k < rays.size(); ++k) {
            const auto plain = PlainSnap(points, all, rays[k]);
            ASSERT_EQ(together[k].index, plain.index) << k;
            EXPECT_NEAR(together[k].along, plain.along, 1e-12);
            EXPECT_NEAR(together[k].distance, plain.distance, 1e-12);
            found += plain.Found() ? 1 : 0;
        }
        EXPECT_GT(found, 100u);
        EXPECT_LT(found, 400u);
    }
}

TEST(Snap, ListsNameThePointsThatCount) {
    const Points points = Lattice(3000, 5);
    const auto rays = Rays(60, 6);
    std::vector<std::uint64_t> counted;
    for (std::uint64_t i = 2999; i >= 3; i -= 3) counted.push_back(i);
    counted.push_back(counted[0]);
    RevitAMP section;
    ASSERT_TRUE(section.Hold(Of(points)));
    const std::vector<std::span<const std::uint64_t>> lists{counted};
    ASSERT_TRUE(section.SetIndexLists(lists));
    std::vector<SnappedPoint> snapped(rays.size());
    ASSERT_TRUE(section.Snap(rays, snapped));
    for (std::size_t k = 0; k < rays.size(); ++k) {
        EXPECT_EQ(snapped[k].index, PlainSnap(points, counted, rays[k]).index) << k;
    }
}

TEST(Snap, APositionFindsItsNearestPointWithinTheRadius) {
    const Points points = Lattice(4000, 9);
    RevitAMP section;
    ASSERT_TRUE(section.SetOrigin({1'000'000, 0, 0}));
    ASSERT_TRUE(section.Hold(Of(points)));
    std::vector<SimplePointT<double>> positions;
    std::uint64_t state = 10;
    test::Dice dice(state);
    for (int k = 0; k < 50; ++k) {
        positions.push_back({1'000'000 + 12 * dice.Share(), 11 * dice.Share(), 10 * dice.Share()});
    }
    positions.push_back({1'000'000.125, 0.125, 0.125});  // eight lattice places as near
    std::vector<SnappedPoint> snapped(positions.size());
    ASSERT_TRUE(section.Snap(positions, 0.6, snapped));
    for (std::size_t k = 0; k < positions.size(); ++k) {
        std::uint64_t best = SnappedPoint::kNone;
        double least = 0.36;
        for (std::size_t i = 0; i < points.size(); ++i) {
            const double x = points[i].x - (positions[k].x - 1'000'000);
            const double y = points[i].y - positions[k].y;
            const double z = points[i].z - positions[k].z;
            const double squared = (x * x + y * y) + z * z;
            if (squared < least || (squared == least && best == SnappedPoint::kNone)) {
                least = squared;
                best = i;
            }
        }
        EXPECT_EQ(snapped[k].index, best) << k;
    }
}

TEST(Snap, TakesOnlyRaysThatLeadSomewhere) {
    const Points points(10);
    RevitAMP section;
    ASSERT_TRUE(section.SetPoints(Of(points)));
    SnappedPoint one;
    std::vector<PickingRay> rays(1);
    EXPECT_FALSE(section.Snap(rays, {&one, 1})) << "no direction";
    rays[0].direction = {0, 0, 1};
    EXPECT_TRUE(section.Snap(rays, {&one, 1}));
    EXPECT_EQ(one.index, 0u) << "ties go to the lowest index";
    EXPECT_FALSE(section.Snap(rays, {}));
    rays[0].radius = -1;
    EXPECT_FALSE(section.Snap(rays, {&one, 1}));
    rays[0].radius = 0;
    rays[0].tangent = std::nan("");
    EXPECT_FALSE(section.Snap(rays, {&one, 1}));
    rays[0] = {{1e155, 0, 0}, {0, 1, 0}, 1, 0};
    EXPECT_FALSE(section.Snap(rays, {&one, 1})) << "squares that are not finite";
}

}  // namespace
}  // namespace orvix
