// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/shared_lines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "detection/outlines/rim_lines.h"
#include "detection/outlines/ring_checks.h"
#include "orvix/geometry/rings.h"
#include "orvix/geometry/vector.h"

namespace orvix::detection {
namespace {

using detail::Dot, detail::Length, detail::Vector;
using detail::operator+, detail::operator-, detail::operator*;

using Corners = std::vector<Vector>;

/// A plane with its outline given by corners in space, counter-clockwise seen from the normal; holes
/// run the other way.
FoundPlane PlaneWith(const Vector& normal, const Corners& outer,
                     const std::vector<Corners>& holes = {}, double pixel = 0.02) {
    FoundPlane plane;
    plane.normal = normal;
    plane.offset = -Dot(normal, outer[0]);
    plane.tolerance = 0.003;
    plane.frame = PlaneFrame(normal.x, normal.y, normal.z, plane.offset);
    plane.outline.radius = pixel;
    const auto ringOf = [&](const Corners& corners) {
        PlaneRing ring;
        for (const Vector& corner : corners) {
            ring.points.push_back(plane.frame.To2D(corner));
            plane.centre = plane.centre + corner * (1.0 / static_cast<double>(corners.size()));
        }
        return ring;
    };
    plane.outline.regions.push_back({ringOf(outer), {}});
    for (const Corners& hole : holes) plane.outline.regions[0].holes.push_back(ringOf(hole));
    plane.centre = outer[0];
    plane.area = plane.outline.area = TwiceAreaOf(plane.outline.regions[0].outer.points) / 2;
    return plane;
}

Corners CornersOf(const FoundPlane& plane, const PlaneRing& ring) {
    Corners corners;
    for (const auto& p : ring.points) corners.push_back(CornerOf(plane, p));
    return corners;
}

bool HasCorner(const FoundPlane& plane, const Vector& wanted) {
    bool has = false;
    detail::ForEachRing(plane.outline, [&](const PlaneRing& ring) {
        for (const Vector& corner : CornersOf(plane, ring)) {
            has = has || Length(corner - wanted) < 1e-9;
        }
    });
    return has;
}

void Share(std::vector<FoundPlane>& planes) {
    const parallel::Pool pool(2, {}, "");
    ASSERT_TRUE(ShareLines(planes, pool));
    for (const FoundPlane& plane : planes) {
        double area = 0;
        std::uint32_t next = 0;
        std::vector<PlaneRing*> rings;
        auto outline = plane.outline;
        detail::ForEachRing(outline, [&](PlaneRing& ring) {
            area += TwiceAreaOf(ring.points) / 2;
            for (const std::uint32_t index : ring.indices) EXPECT_EQ(index, next++);
            rings.push_back(&ring);
        });
        EXPECT_NEAR(plane.area, area, 1e-12);
        EXPECT_TRUE(RingsInTheWay(rings, plane.outline.radius / 20).empty());
        EXPECT_TRUE(RingsOutOfPlace(plane.outline).empty());
    }
}

// Floor and two walls of a room's corner as rasters draw them: a centimetre or two short, or over,
// and with a bevel where they meet. The true corner is 1, 2, 0.5.
std::vector<FoundPlane> RoomCorner() {
    return {
        PlaneWith(
            {0, 0, 1},
            {{1.015, 2.03, 0.5}, {1.03, 2.01, 0.5}, {4, 2.01, 0.5}, {4, 5, 0.5}, {1.015, 5, 0.5}}),
        PlaneWith({1, 0, 0}, {{1, 1.99, 0.52}, {1, 5.01, 0.52}, {1, 5.01, 3}, {1, 1.99, 3}}),
        PlaneWith({0, 1, 0}, {{4.01, 2, 0.49}, {1.01, 2, 0.49}, {1.01, 2, 3}, {4.01, 2, 3}})};
}

TEST(SharedLines, ThreePlanesMeetInOneCornerAndTwoInOneLine) {
    auto planes = RoomCorner();
    Share(planes);
    for (const FoundPlane& plane : planes) {
        EXPECT_TRUE(HasCorner(plane, {1, 2, 0.5}));
        EXPECT_EQ(plane.outline.regions[0].outer.points.size(), 4U) << "the bevel is gone";
    }
    EXPECT_TRUE(HasCorner(planes[0], {1, 5, 0.5}));
    EXPECT_TRUE(HasCorner(planes[1], {1, 5.01, 0.5})) << "what ends freely stays";
    EXPECT_TRUE(HasCorner(planes[1], {1, 2, 3}));
    EXPECT_TRUE(HasCorner(planes[2], {1, 2, 3}));
    EXPECT_NEAR(planes[0].area, 9, 1e-9);
}

TEST(SharedLines, LeaningPlanesMeetWhereTheyIntersect) {
    // Two slopes of a roof, meeting in a ridge at x = 3, z = 4.
    const double s = std::sqrt(0.5);
    std::vector<FoundPlane> planes{
        PlaneWith({-s, 0, s}, {{0, 0, 1}, {2.98, 0, 3.98}, {2.99, 5, 3.99}, {0, 5, 1}}),
        PlaneWith({s, 0, s}, {{3.02, 0, 3.98}, {6, 0, 1}, {6, 5, 1}, {3.01, 5, 3.99}})};
    Share(planes);
    for (const FoundPlane& plane : planes) {
        EXPECT_TRUE(HasCorner(plane, {3, 0, 4}));
        EXPECT_TRUE(HasCorner(plane, {3, 5, 4}));
    }
}

TEST(SharedLines, AShelfEndsOnItsWallWhichRunsOn) {
    std::vector<FoundPlane> planes{
        PlaneWith({0, 1, 0}, {{3, 0, 0}, {0, 0, 0}, {0, 0, 3}, {3, 0, 3}}),
        PlaneWith({0, 0, 1}, {{1, 0.015, 1}, {2, 0.02, 1}, {2, 0.4, 1}, {1, 0.4, 1}})};
    const auto wall = CornersOf(planes[0], planes[0].outline.regions[0].outer);
    Share(planes);
    EXPECT_TRUE(HasCorner(planes[1], {1, 0, 1}));
    EXPECT_TRUE(HasCorner(planes[1], {2, 0, 1}));
    for (const Vector& corner : wall) EXPECT_TRUE(HasCorner(planes[0], corner));
}

TEST(SharedLines, AnOpeningEndsOnItsReveals) {
    // A window of 1 m in a wall; the sill is 12 cm deep. The hole's lower rim is 2 cm too high.
    std::vector<FoundPlane> planes{
        PlaneWith({0, -1, 0}, {{0, 0, 0}, {3, 0, 0}, {3, 0, 3}, {0, 0, 3}},
                  {{{1, 0, 0.92}, {1, 0, 2}, {2, 0, 2}, {2, 0, 0.92}}}),
        PlaneWith({0, 0, 1},
                  {{1.01, 0.01, 0.9}, {1.99, 0.01, 0.9}, {1.99, 0.12, 0.9}, {1.01, 0.12, 0.9}})};
    Share(planes);
    EXPECT_TRUE(HasCorner(planes[0], {1, 0, 0.9}));
    EXPECT_TRUE(HasCorner(planes[0], {2, 0, 0.9}));
    EXPECT_TRUE(HasCorner(planes[1], {1.01, 0, 0.9}));
    EXPECT_NEAR(planes[0].area, 9 - 1.1, 1e-9);
}

TEST(SharedLines, WhatLiesFurtherAwayOrEndsElsewhereStays) {
    std::vector<FoundPlane> planes{
        // 6 cm short of the wall; and one that meets the wall's plane where there is no wall.
        PlaneWith({0, 0, 1}, {{0, 0.06, 0}, {3, 0.06, 0}, {3, 2, 0}, {0, 2, 0}}),
        PlaneWith({0, 0, 1}, {{5, 0.02, 0}, {8, 0.02, 0}, {8, 2, 0}, {5, 2, 0}}),
        PlaneWith({0, 1, 0}, {{3, 0, 0.2}, {0, 0, 0.2}, {0, 0, 3}, {3, 0, 3}})};
    const auto before = planes;
    Share(planes);
    for (std::size_t i = 0; i < planes.size(); ++i) {
        for (const Vector& corner : CornersOf(before[i], before[i].outline.regions[0].outer)) {
            EXPECT_TRUE(HasCorner(planes[i], corner)) << i;
        }
    }
}

TEST(SharedLines, ARingThatWouldCrossItselfStaysAsItWas) {
    // A tongue 3 cm wide whose both sides lie along one line would fold onto itself.
    std::vector<FoundPlane> planes{
        PlaneWith({0, 0, 1}, {{0, -0.015, 0}, {1, -0.015, 0}, {1, 0.015, 0}, {0, 0.015, 0}}),
        PlaneWith({0, 1, 0}, {{2, 0, -1}, {-1, 0, -1}, {-1, 0, 1}, {2, 0, 1}})};
    const auto before = CornersOf(planes[0], planes[0].outline.regions[0].outer);
    Share(planes);
    for (const Vector& corner : before) EXPECT_TRUE(HasCorner(planes[0], corner));
}

// Two corners of one ring, 3 cm apart, at a place where three planes meet.
TEST(SharedLines, ARingDoesNotComeToTouchItselfInACorner) {
    std::vector<FoundPlane> planes{
        PlaneWith({0, 0, 1}, {{-1, -1, 0},
                              {-0.01, -1, 0},
                              {-0.01, -0.02, 0},
                              {0.02, -0.01, 0},
                              {1, -0.01, 0},
                              {1, 1, 0},
                              {0.01, 1, 0},
                              {0.01, 0.02, 0},
                              {-0.02, 0.01, 0},
                              {-1, 0.01, 0}}),
        PlaneWith({1, 0, 0}, {{0, -2, -1}, {0, 2, -1}, {0, 2, 1}, {0, -2, 1}}),
        PlaneWith({0, 1, 0}, {{2, 0, -1}, {-2, 0, -1}, {-2, 0, 1}, {2, 0, 1}})};
    Share(planes);
    const auto corners = CornersOf(planes[0], planes[0].outline.regions[0].outer);
    for (std::size_t i = 0; i < corners.size(); ++i) {
        for (std::size_t k = 0; k < i; ++k) EXPECT_GT(Length(corners[i] - corners[k]), 1e-6);
    }
}

PlaneRing RingOf(std::vector<SimplePoint2DT<double>> points) {
    return {std::move(points), {}};
}

/// An outline with a pixel of 15 cm, and the line x = `x` with another plane all along it.
void MoveToLineAt(PlaneOutline& outline, double x) {
    outline.radius = 0.15;
    const std::vector<RimLine> lines{{{x, 0}, {0, 1}, 0.31, {{-10, 10}}}};
    MoveToLines(outline, lines);
}

// The hole would vanish on the line, so it stays; then the rim must not pass it.
TEST(MoveToLines, ARimDoesNotPassItsOwnHole) {
    PlaneOutline outline;
    outline.regions.push_back({RingOf({{0, 0}, {4, 0}, {4, 3}, {0, 3}}),
                               {RingOf({{0.06, 1}, {0.06, 2}, {0.26, 2}, {0.26, 1}})}});
    MoveToLineAt(outline, 0.3);
    ASSERT_EQ(outline.regions.size(), 1U);
    EXPECT_EQ(outline.regions[0].outer.points[0].x, 0);
    EXPECT_NEAR(outline.area, 12 - 0.2, 1e-12);
}

TEST(MoveToLines, TheRimOfAHoleDoesNotPassAnIslandInIt) {
    PlaneOutline outline;
    outline.regions.push_back({RingOf({{-5, -5}, {5, -5}, {5, 5}, {-5, 5}}),
                               {RingOf({{-0.1, -1}, {-0.1, 1}, {3, 1}, {3, -1}})}});
    outline.regions.push_back({RingOf({{0, 0}, {0.1, 0}, {0.1, 0.1}, {0, 0.1}}), {}});
    MoveToLineAt(outline, 0.2);
    EXPECT_TRUE(RingsOutOfPlace(outline).empty());
    ASSERT_EQ(outline.regions.size(), 2U);
    EXPECT_NEAR(outline.area, 100 - 6.2 + 0.01, 1e-12);
}

TEST(MoveToLines, NoCornerStaysOnAStraightSide) {
    for (const double turn : {0.0, 0.3}) {
        // A step square to the line, and a stretch in the middle where the other plane is not.
        const double c = std::cos(turn), s = std::sin(turn);
        const auto turned = [&](double x, double y) {
            return SimplePoint2DT<double>{c * x - s * y, s * x + c * y};
        };
        PlaneOutline outline;
        outline.radius = 0.02;
        outline.regions.push_back({RingOf({turned(0, 0), turned(1, 0), turned(1, 0.02),
                                           turned(2, 0.02), turned(2, 2), turned(0, 2)}),
                                   {}});
        const std::vector<RimLine> lines{{turned(0, 0), turned(1, 0), 0.05, {{-0.1, 2.1}}}};
        MoveToLines(outline, lines);
        EXPECT_EQ(outline.regions[0].outer.points.size(), 4U) << turn;
        EXPECT_NEAR(outline.area, 4, 1e-9);
    }
}

}  // namespace
}  // namespace orvix::detection
