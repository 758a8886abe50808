// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

#include "tests/cli/room_project.h"

namespace orvix::test {
namespace {

class PlaneVerb : public RoomProject {
protected:
    static Json Plane(const std::string& seed, std::vector<std::string> options = {}) {
        options.insert(options.begin(), {"plane", File(L"room.prj"), "--seed", seed});
        return OrvixJson(options);
    }
};

constexpr const char* kWallSeed = "700001.5,6000000,101.5";
constexpr const char* kFloorSeed = "700004,6000003,100";

TEST_F(PlaneVerb, FindsAWallWithItsWindow) {
    const Json wall = Plane(kWallSeed);
    EXPECT_NEAR(wall["equation"][0], 0, 1e-3);
    EXPECT_NEAR(wall["equation"][1], 1, 1e-5);
    EXPECT_NEAR(wall["equation"][2], 0, 1e-3);
    EXPECT_NEAR(wall["centroid"][1], 6'000'000, 0.01);
    EXPECT_NEAR(wall["area"], 8 * 3 - 2 * 1, 0.8);
    EXPECT_LT(wall["rms"], 0.002);
    EXPECT_GE(wall["holes"], 1);
    EXPECT_EQ(wall["ended"], "edge");
    for (const char* key : {"max_distance", "cells", "rejected_cells", "points", "seed", "mesh"})
        EXPECT_TRUE(wall.contains(key)) << key;
    const auto& e = wall["equation"];
    const auto& c = wall["centroid"];
    const double onPlane = e[0].get<double>() * c[0].get<double>() +
                           e[1].get<double>() * c[1].get<double>() +
                           e[2].get<double>() * c[2].get<double>() + e[3].get<double>();
    EXPECT_NEAR(onPlane, 0, 1e-6);
}

TEST_F(PlaneVerb, FindsTheFloorWhoseNormalPointsUp) {
    const Json floor = Plane(kFloorSeed);
    EXPECT_NEAR(floor["equation"][2], 1, 1e-6);
    EXPECT_NEAR(floor["area"], 48, 1);
}

TEST_F(PlaneVerb, StopsAtTheReach) {
    const Json floor = Plane(kFloorSeed, {"--reach", "1.5", "--split", "0.2", "--angle", "10"});
    EXPECT_EQ(floor["ended"], "reach");
    EXPECT_EQ(floor["split_size"], 0.2);
    EXPECT_LT(floor["area"], 12);
}

TEST_F(PlaneVerb, TakesALocalSeed) {
    const Json origin = OrvixJson({"info", File(L"room.prj")})["origin"];
    std::ostringstream seed;
    seed.precision(12);
    seed << 700'004 - origin[0].get<double>() << ',' << 6'000'003 - origin[1].get<double>() << ','
         << 100 - origin[2].get<double>();
    EXPECT_EQ(Plane(seed.str(), {"--local"})["equation"], Plane(kFloorSeed)["equation"]);
}

double TriangleArea(const Cloud& p, const std::array<std::size_t, 3>& t, double& ySigned) {
    const auto& a = p[t[0]];
    const double ux = p[t[1]].x - a.x, uy = p[t[1]].y - a.y, uz = p[t[1]].z - a.z;
    const double vx = p[t[2]].x - a.x, vy = p[t[2]].y - a.y, vz = p[t[2]].z - a.z;
    const double nx = uy * vz - uz * vy, ny = uz * vx - ux * vz, nz = ux * vy - uy * vx;
    ySigned = ny / 2;
    return std::sqrt(nx * nx + ny * ny + nz * nz) / 2;
}

// BEHAVIOUR C7
TEST_F(PlaneVerb, WritesAMeshInTheWorldThatLeavesTheWindowOpenAndFacesOneWay) {
    const Json wall = Plane(kWallSeed, {"--mesh", File(L"wall.obj")});
    EXPECT_EQ(wall["mesh"], File(L"wall.obj"));
    Cloud points;
    double area = 0, facing = 0;
    std::istringstream text(TextOf(L"wall.obj"));
    std::string word;
    while (text >> word) {
        if (word == "v") {
            points.emplace_back();
            text >> points.back().x >> points.back().y >> points.back().z;
            continue;
        }
        std::array<std::size_t, 3> t{};
        for (std::size_t& corner : t) {
            text >> corner;
            ASSERT_LE(corner--, points.size());
        }
        double ySigned = 0;
        area += TriangleArea(points, t, ySigned);
        facing += ySigned;
        const double x = (points[t[0]].x + points[t[1]].x + points[t[2]].x) / 3 - 700'000;
        const double z = (points[t[0]].z + points[t[1]].z + points[t[2]].z) / 3 - 100;
        EXPECT_FALSE(x > 3.2 && x < 4.8 && z > 1.2 && z < 1.8) << x << ' ' << z;
    }
    EXPECT_NEAR(area, wall["area"].get<double>(), 0.01 * area);
    EXPECT_NEAR(facing, area, 0.01 * area);  // counter-clockwise about the normal (0, 1, 0)
}

TEST_F(PlaneVerb, WritesAPlyMeshAndAPictureWhoseEndingsMayBeCapitals) {
    const Json floor =
        Plane(kFloorSeed, {"--mesh", File(L"floor.Ply"), "--picture", File(L"floor.Png")});
    EXPECT_EQ(TextOf(L"floor.Ply").substr(0, 20), "ply\nformat ascii 1.0");
    const std::string png = TextOf(L"floor.Png");
    EXPECT_EQ(png.substr(0, 8), "\x89PNG\r\n\x1a\n");
    EXPECT_GT(png.size(), 20'000u);
    EXPECT_EQ(floor["picture"], File(L"floor.Png"));
}

TEST_F(PlaneVerb, SaysThatNoPointLiesNearTheSeed) {
    const Json error = OrvixError({"plane", File(L"room.prj"), "--seed", "0,0,0"});
    EXPECT_EQ(error["exit"], 3);
    EXPECT_EQ(error["code"], "bad-input");
}

// BEHAVIOUR C12
TEST_F(PlaneVerb, StoresSettingsOnlyWhereItFindsAPlane) {
    OrvixJson({"import", File(L"room.xyz"), File(L"fresh.prj")});
    const std::string imported = TextOf(L"fresh.prj");
    OrvixError({"plane", File(L"fresh.prj"), "--seed", "0,0,0"});
    EXPECT_TRUE(TextOf(L"fresh.prj") == imported);
    OrvixError(
        {"plane", File(L"fresh.prj"), "--seed", kFloorSeed, "--mesh", File(L"fresh.prj/a.ply")});
    EXPECT_TRUE(TextOf(L"fresh.prj") == imported);
    OrvixJson({"plane", File(L"fresh.prj"), "--seed", kFloorSeed});
    EXPECT_FALSE(TextOf(L"fresh.prj") == imported);  // BEHAVIOUR W4
}

TEST_F(PlaneVerb, SaysThatItsFilesCannotBeWritten) {
    const std::string missing = File(L"nowhere/a.png");
    const Json error =
        OrvixError({"plane", File(L"room.prj"), "--seed", kFloorSeed, "--picture", missing});
    EXPECT_EQ(error["exit"], 3);
    EXPECT_THAT(error["message"].get<std::string>(), testing::HasSubstr(missing));
}

TEST_F(PlaneVerb, EndsInASentenceOnALineOfPoints) {
    WriteCloud(*folder_ / L"line.xyz", Sheet(2'000, {0, 0, 0}, {5, 0, 0}, {0, 0, 0}));
    OrvixJson({"import", File(L"line.xyz"), File(L"line.prj"), "--overwrite"});
    const Json error = OrvixError({"plane", File(L"line.prj"), "--seed", "2,0,0"});
    EXPECT_EQ(error["exit"], 3);
}

}  // namespace
}  // namespace orvix::test
