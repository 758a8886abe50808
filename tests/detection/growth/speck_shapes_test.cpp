// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/growth/speck_shapes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

namespace orvix::detection {
namespace {

// The shape of the first speck among others that are all its neighbours.
SpeckShape ShapeOfFirst(const std::vector<Vector>& means) {
    std::vector<SpeckNeighbours::Place> places;
    for (const Vector& p : means)
        places.push_back(
            {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)});
    const std::function<bool()> always;
    detail::Asker asker(always, 1000);
    const SpeckNeighbours nearest(places, std::vector<float>(places.size(), 1.0F), asker);
    return ShapesOfSpecks(means, nearest, 0.01, asker).front();
}

// A speck, so many in an upright plane of `turn` radians with it, and two beside that plane.
std::vector<Vector> PlaneWithStrays(double turn, int inPlane) {
    std::vector<Vector> means{{0, 0, 0}};
    const Vector along{std::cos(turn), std::sin(turn), 0}, across{-along.y, along.x, 0};
    for (int i = 0; i < inPlane; ++i) {
        const double angle = 2.4 * i;
        means.push_back(along * (0.05 * std::cos(angle)) + Vector{0, 0, 0.05 * std::sin(angle)});
    }
    means.push_back(across * 0.06);
    means.push_back(across * -0.05 + Vector{0, 0, 0.01});
    return means;
}

TEST(ShapesOfSpecks, AreFlatWhereMostNeighboursAgreeOnAPlane) {
    for (const double turn : {0.0, 0.3, 0.78539816339744831, 1.2}) {
        const SpeckShape shape = ShapeOfFirst(PlaneWithStrays(turn, 9));
        ASSERT_TRUE(shape.flat) << turn;
        EXPECT_NEAR(std::abs(shape.normal.x), std::sin(turn), 1e-3);
        EXPECT_NEAR(std::abs(shape.normal.y), std::cos(turn), 1e-3);
    }
}

TEST(ShapesOfSpecks, AreFlatByNeighboursThatAreThereInWhateverPlane) {
    // Five agree, eight would have to. In the plane x = y lie all places (a, a, a), too.
    for (const double turn : {0.0, 0.3, 0.78539816339744831, 1.2})
        EXPECT_FALSE(ShapeOfFirst(PlaneWithStrays(turn, 5)).flat) << turn;
}

}  // namespace
}  // namespace orvix::detection
