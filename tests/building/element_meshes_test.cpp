// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/element_meshes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include "orvix/geometry/vector.h"
#include "support/scenes/sample_building.h"

namespace orvix::building {
namespace {

using detail::TriangleMesh, detail::Vector, detail::operator-;

const ElementMesh& Named(const std::vector<ElementMesh>& meshes, const std::string& name) {
    for (const ElementMesh& mesh : meshes)
        if (mesh.name == name) return mesh;
    ADD_FAILURE() << "no " << name;
    return meshes[0];
}

Vector AreaOf(const TriangleMesh& mesh) {
    Vector sum;
    for (const auto& t : mesh.triangles)
        sum = detail::operator+(sum, detail::Cross(mesh.points[t[1]] - mesh.points[t[0]],
                                                   mesh.points[t[2]] - mesh.points[t[0]]));
    return {sum.x / 2, sum.y / 2, sum.z / 2};
}

// Every way along an edge once, and the way back as well.
void ExpectWatertight(const ElementMesh& element) {
    std::map<std::pair<std::uint32_t, std::uint32_t>, int> ways;
    for (const auto& t : element.mesh.triangles)
        for (std::size_t k = 0; k < 3; ++k) ++ways[{t[k], t[(k + 1) % 3]}];
    for (const auto& [way, times] : ways) {
        EXPECT_EQ(times, 1) << element.name;
        EXPECT_TRUE(ways.contains({way.second, way.first})) << element.name;
    }
}

class SampleMeshes : public testing::Test {
protected:
    void ExpectSolid(const std::string& name, double volume) const {
        const ElementMesh& element = Named(meshes_, name);
        EXPECT_TRUE(element.closed) << name;
        ExpectWatertight(element);
        EXPECT_NEAR(VolumeOf(element.mesh), volume, 1e-6 * volume) << name;
    }
    // A surface, and the area of it that looks along `way`.
    void ExpectSurface(const std::string& name, const Vector& way, double area) const {
        const ElementMesh& element = Named(meshes_, name);
        EXPECT_FALSE(element.closed) << name;
        EXPECT_NEAR(detail::Dot(AreaOf(element.mesh), way), area, 1e-6 * area) << name;
    }

    Building house_ = test::SampleBuilding();
    std::vector<ElementMesh> meshes_ = MeshesOf(house_);
};

TEST_F(SampleMeshes, WallsAreTheirProfilesWithoutTheirOpenings) {
    ExpectSolid("wall 1", 4.95 - 1.5 * 1.2 * 0.3);
    ExpectSolid("wall 2", 6 - (1 * 2.1 + 1.2 * 1.3) * 0.3);
    ExpectSolid("wall 3", 6);
    ExpectSolid("wall 4", 1.8 - 2 * (0.9 * 2) * 0.12);
    ExpectSolid("wall 5", 1.1025 - 0.6 * 0.5 * 0.12);
    ExpectSurface("wall 6", {-1, 0, 0}, 6 * 2.5 - 1 * 1.2);
    ExpectSolid("wall 7", 4.653 - 1.2 * 1.2 * 0.3);
    ExpectSolid("wall 8", 1.68);
    ExpectSolid("wall 10", 4.653);
}

TEST_F(SampleMeshes, OpeningsAreWhatTheyTakeOut) {
    ExpectSolid("window 1", 1.5 * 1.2 * 0.3);
    ExpectSolid("door 2", 1 * 2.1 * 0.3);
    ExpectSolid("hole 6", 0.6 * 0.5 * 0.12);
    ExpectSurface("window 7", {-1, 0, 0}, 1.2);
}

TEST_F(SampleMeshes, SlabsRoomsAndSlopesAreSolidsWhereBothFacesWereSeen) {
    ExpectSurface("slab 1", {0, 0, 1}, 29.39 + 8.60685 + 8.59215);
    ExpectSolid("slab 2", 16.578);
    ExpectSolid("room 1.1", 29.39 * 2.5);
    ExpectSolid("room 1.2", 8.60685 * 2.5);
    ExpectSolid("room 1.3", 8.59215 * 2.5);
    ExpectSolid("room 2.1", 120);
    ExpectSolid("slope 1", house_.slopes[0].area * 0.2);
    ExpectSurface("slope 2", house_.slopes[1].normal, house_.slopes[1].area);
}

TEST_F(SampleMeshes, ComeInTheOrderOfTheirLists) {
    std::vector<std::string> names;
    for (const ElementMesh& mesh : meshes_) names.push_back(mesh.name);
    ASSERT_EQ(names.size(), 26);
    EXPECT_EQ(names[0], "wall 1");
    EXPECT_EQ(names[10], "slab 1");
    EXPECT_EQ(names[12], "slope 1");
    EXPECT_EQ(names[14], "room 1.1");
    EXPECT_EQ(names[18], "window 1");
    EXPECT_EQ(meshes_[17].place, 3);
}

// Openings that reach beyond their wall, share a side, or overlap.
TEST(ElementMeshes, AWallIsClosedWhateverItsOpeningsAre) {
    Building house = test::SampleBuilding();
    Opening& first = house.openings[3];
    Opening& second = house.openings[4];
    const double whole = 1.8;
    for (const auto& [along, bottom, cut] : {std::tuple{1.9, 0.0, 1.8 * 2},
                                             {1.5, 0.5, 0.9 * 2 * 2 - 0.4 * 1.5},
                                             {1.0, 1.5, 0.9 * 2 + 0.9 * 1 - 0.9 * 0.5},
                                             {-0.15, 0.0, 0.9 * 2 + 0.3 * 2},
                                             {1.9, 2.0, 0.9 * 2 + 0.9 * 0.5}}) {
        first.along = 1;
        second.along = along;
        second.bottom = bottom;
        const std::vector<ElementMesh> meshes = MeshesOf(house);
        const ElementMesh& wall = Named(meshes, "wall 4");
        EXPECT_TRUE(wall.closed) << along;
        EXPECT_NEAR(VolumeOf(wall.mesh), whole - cut * 0.12, 1e-6) << along;
    }
}

// A wall of a room that two faces stand on: the lower face's corners lie within a side of the wall.
TEST(ElementMeshes, ARoomIsClosedWhereOneFaceMeetsTwo) {
    Building house = test::SampleBuilding();
    Room& room = house.rooms[1];
    RoomFace& floor = room.faces[0];
    RoomFace half = floor;
    floor.ring = {{5.06, 0, 0}, {6.53, 0, 0}, {6.53, 2.9275, 0}, {5.06, 1.825, 0}};
    half.ring = {{6.53, 0, 0}, {8, 0, 0}, {8, 4.03, 0}, {6.53, 2.9275, 0}};
    room.faces.push_back(half);
    const std::vector<ElementMesh> meshes = MeshesOf(house);
    EXPECT_TRUE(Named(meshes, "room 1.2").closed);
    EXPECT_NEAR(VolumeOf(Named(meshes, "room 1.2").mesh), 8.60685 * 2.5, 1e-6);
    room.faces.pop_back();
    EXPECT_FALSE(Named(MeshesOf(house), "room 1.2").closed);
}

TEST(ElementMeshes, NothingOfABuildingIsNoTriangles) {
    EXPECT_THAT(MeshesOf({}), testing::IsEmpty());
    Building house = test::SampleBuilding();
    house.walls[2].axis[1] = house.walls[2].axis[0];
    house.walls[2].profile = {{0, 0}, {0, 0}, {0, 2.5}, {0, 2.5}};
    house.rooms[0].faces.clear();
    house.slabs[0].regions.clear();
    const std::vector<ElementMesh> meshes = MeshesOf(house);
    for (const char* name : {"wall 3", "room 1.1", "slab 1"}) {
        EXPECT_THAT(Named(meshes, name).mesh.triangles, testing::IsEmpty()) << name;
        EXPECT_FALSE(Named(meshes, name).closed);
    }
}

}  // namespace
}  // namespace orvix::building
