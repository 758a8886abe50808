// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/plane_groups.h"

#include <gtest/gtest.h>

#include "orvix/geometry/sine_cosine.h"
#include "orvix/geometry/vector.h"

namespace orvix::detection {
namespace {

using detail::Vector;

// A plane through a place, turned about the x axis from level, by degrees.
FoundPlane PlaneThrough(const Vector& centre, double degrees = 0, double side = 1) {
    const auto [sine, cosine] = detail::SineCosineOf(degrees * 3.14159265358979 / 180);
    FoundPlane plane;
    plane.normal = {0, side * sine, side * cosine};
    plane.centre = centre;
    plane.tolerance = 0.006;
    return plane;
}

std::vector<std::int32_t> GroupsOf(std::vector<FoundPlane> planes) {
    GroupCoplanar(planes);
    std::vector<std::int32_t> groups;
    for (const FoundPlane& plane : planes) groups.push_back(plane.group);
    return groups;
}

// BEHAVIOUR A14
TEST(GroupCoplanar, JoinsPlanesThatPassTheLeadersCentreWhicheverWayTheyFace) {
    const auto groups = GroupsOf({PlaneThrough({0, 0, 2.5}), PlaneThrough({5, 0, 2.505}),
                                  PlaneThrough({9, 3, 2.5}, 0, -1), PlaneThrough({0, 0, 2.51}),
                                  PlaneThrough({1, 0, 2.5}, 1.9), PlaneThrough({1, 0, 2.5}, 2.1)});
    EXPECT_EQ(groups, (std::vector<std::int32_t>{1, 1, 1, 2, 1, 3}));
}

TEST(GroupCoplanar, AddsAMillimetreForEachMetreBetweenThem) {
    const auto groups = GroupsOf(
        {PlaneThrough({0, 0, 2.5}), PlaneThrough({6, 0, 2.511}), PlaneThrough({4, 0, 2.511})});
    EXPECT_EQ(groups, (std::vector<std::int32_t>{1, 1, 2}));
}

TEST(GroupCoplanar, ComparesWithTheGroupsFirstPlaneSoThatNoChainWanders) {
    const auto groups = GroupsOf({PlaneThrough({0, 0, 2.5}), PlaneThrough({0, 0, 2.505}),
                                  PlaneThrough({0, 0, 2.51}), PlaneThrough({0, 0, 2.515})});
    EXPECT_EQ(groups, (std::vector<std::int32_t>{1, 1, 2, 2}));
}

TEST(GroupCoplanar, JoinsNormalsOnBothSidesOfEveryBorderOfDirections) {
    for (int degrees = 0; degrees < 360; ++degrees) {
        const auto groups =
            GroupsOf({PlaneThrough({}, degrees), PlaneThrough({}, degrees + 1.9, -1)});
        EXPECT_EQ(groups[1], 1) << degrees;
    }
}

}  // namespace
}  // namespace orvix::detection
