// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/wall_elements.h"

#include <gtest/gtest.h>

#include <cmath>

namespace orvix::building {
namespace {

constexpr double kEaves = 3, kRidge = 5;

/// An outer wall along y, 0.3 m thick, under two slopes that meet over its middle at y = 4.
struct GableEnd {
    GableEnd() {
        FaceLine face;
        face.normal = {-1, 0};
        face.offset = 0;
        face.begin = -8, face.end = 0;  // along: -y
        face.bottom = 0, face.top = kRidge;
        FaceLine back = face;
        back.normal = {1, 0};
        back.offset = 0.3;
        back.begin = 0, back.end = 8;
        scan.faces.lines = {face, back};
        for (const FaceLine& line : scan.faces.lines) scan.rasters.emplace_back(line, 0.025);
        piece.run = {0, 1, 0.3, -8, 0};
        piece.face = face;
        wall.axis = {piece.Middle(-8), piece.Middle(0)};
        wall.thickness = Measure{0.3, 0.3, 0.3};
        wall.external = true;
        wall.top = kRidge;
        wall.profile = {{0, 0}, {8, 0}, {8, kRidge}, {0, kRidge}};
        for (const double side : {-1.0, 1.0}) {
            RoofSlope slope;
            const double length = std::sqrt(1.25);
            slope.normal = {0, side * 0.5 / length, 1 / length};
            slope.upperSeen = true;
            slope.thickness = Measure{0.2, 0.2, 0.2};
            // The lower face goes through the ridge of 5 over y = 4.
            const double upper = kRidge + 0.2 * length;
            slope.offset = -(slope.normal.y * 4 + slope.normal.z * upper);
            const double low = side > 0 ? 4 : -0.5, high = side > 0 ? 8.5 : 4;
            slope.outline = {{-1, low, 0}, {9, low, 0}, {9, high, 0}, {-1, high, 0}};
            slopes.push_back(slope);
        }
    }
    // Points on the outer face up to a height that may change with y.
    template <class Top>
    void See(const Top& top) {
        for (double y = 0.0125; y < 8; y += 0.025)
            for (double z = 0.0125; z < top(y); z += 0.025) scan.rasters[0].Mark(-y, z);
    }
    void End() { EndUnderRoof(piece, slopes, scan, wall); }

    ScanEvidence scan;
    WallPiece piece;
    Wall wall;
    std::vector<RoofSlope> slopes;
};

TEST(EndUnderRoof, AGableFollowsTheLowerFacesOfBothSlopes) {
    GableEnd gable;
    gable.See([](double y) { return kRidge - std::abs(y - 4) / 2; });
    gable.End();
    ASSERT_EQ(gable.wall.profile.size(), 5U);
    EXPECT_NEAR(gable.wall.profile[2].y, kEaves, 1e-9);
    EXPECT_NEAR(gable.wall.profile[3].x, 4, 1e-9);
    EXPECT_NEAR(gable.wall.profile[3].y, kRidge, 1e-9);
    EXPECT_NEAR(gable.wall.profile[4].y, kEaves, 1e-9);
    EXPECT_NEAR(gable.wall.top, kRidge, 1e-9);
}

TEST(EndUnderRoof, AWallThatEndsAtItsEavesStaysLevel) {
    GableEnd gable;
    gable.wall.top = 2.8;
    gable.See([](double) { return 2.8; });
    gable.End();
    for (std::size_t k = 2; k < gable.wall.profile.size(); ++k)
        EXPECT_NEAR(gable.wall.profile[k].y, 2.8, 1e-9);
    EXPECT_NEAR(gable.wall.top, 2.8, 1e-9);
}

TEST(EndUnderRoof, WhatTheRoofDoesNotCoverStays) {
    GableEnd gable;
    gable.See([](double) { return kRidge; });
    gable.slopes.pop_back();
    gable.End();
    EXPECT_EQ(gable.wall.profile.size(), 4U);
    EXPECT_EQ(gable.wall.top, kRidge);
    gable.wall.external = false;
    gable.End();
    EXPECT_EQ(gable.wall.profile.size(), 4U);
}

}  // namespace
}  // namespace orvix::building
