// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>

#include "building/element_meshes.h"
#include "building/saved_building.h"
#include "orvix/project/access/open_project.h"
#include "support/scenes/sample_building.h"
#include "tests/c/planes_project.h"
#include "tests/c/short_memory.h"

namespace orvix::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr double kX = 10000, kY = 20000, kZ = 100;  // of the project's zero in the world

/// The sample building, kept in a project and read through the C interface.
class CBuilding : public CPlanes {
protected:
    CBuilding() {
        const auto opened = detail::OpenProject::Open(path);
        EXPECT_TRUE(opened);
        EXPECT_TRUE(building::SaveBuilding((*opened)->Manager(), (*opened)->Core(), sample));
        EXPECT_EQ(orvix_building_open_saved(project, &house, &error), ORVIX_OK) << error.text;
    }
    ~CBuilding() override { orvix_building_close(house); }

    template <class Record>
    Record Get(orvix_status (*call)(const orvix_building*, std::uint32_t, Record*, orvix_error*),
               std::uint32_t number) {
        auto record = Sized<Record>();
        EXPECT_EQ(call(house, number, &record, &error), ORVIX_OK) << error.text;
        return record;
    }
    std::string Name(std::int32_t kind, std::uint32_t number) {
        std::uint64_t count = 0;
        EXPECT_EQ(orvix_building_get_name(house, kind, number, nullptr, 0, &count, &error),
                  ORVIX_OK);
        std::string text(count, '?');
        EXPECT_EQ(orvix_building_get_name(house, kind, number, text.data(), count, &count, &error),
                  ORVIX_OK);
        return text.c_str();
    }
    std::vector<double> Ring(std::int32_t kind, std::uint32_t number, std::uint64_t ring) {
        std::uint64_t count = 0;
        EXPECT_EQ(orvix_building_get_ring(house, kind, number, ring, nullptr, 0, &count, &error),
                  ORVIX_OK)
            << error.text;
        std::vector<double> xyz(3 * count);
        EXPECT_EQ(
            orvix_building_get_ring(house, kind, number, ring, xyz.data(), count, nullptr, &error),
            ORVIX_OK);
        return xyz;
    }
    std::uint64_t Rings(std::int32_t kind, std::uint32_t number) {
        std::uint64_t count = 0;
        EXPECT_EQ(orvix_building_get_rings(house, kind, number, nullptr, 0, &count, &error),
                  ORVIX_OK);
        return count;
    }
    /// The volume of an element's triangles, about a corner of them.
    double Volume(std::int32_t kind, std::uint32_t number) {
        orvix_mesh* mesh = nullptr;
        EXPECT_EQ(orvix_building_mesh(house, kind, number, &mesh, &error), ORVIX_OK) << error.text;
        std::uint64_t points = 0, triangles = 0;
        orvix_mesh_read(mesh, nullptr, 0, &points, nullptr, 0, &triangles, &error);
        detail::TriangleMesh read;
        read.points.resize(points);
        read.triangles.resize(triangles);
        EXPECT_EQ(orvix_mesh_read(mesh, &read.points[0].x, points, &points, &read.triangles[0][0],
                                  triangles, &triangles, &error),
                  ORVIX_OK);
        orvix_mesh_close(mesh);
        return building::VolumeOf(read);
    }

    const building::Building sample = SampleBuilding();
    orvix_building* house = nullptr;
};

TEST_F(CBuilding, IsAFaultOfItsProjectWhereItCannotBeOpened) {
    std::uint64_t faults = 1;
    EXPECT_EQ(orvix_project_check(name.c_str(), nullptr, &faults, &error), ORVIX_OK);
    EXPECT_EQ(faults, 0U);
    building::Building odd = sample;
    odd.openings[1].wall = odd.walls.size();
    {
        const auto opened = detail::OpenProject::Open(path);
        ASSERT_TRUE(opened);
        ASSERT_TRUE(building::SaveBuilding((*opened)->Manager(), (*opened)->Core(), odd));
    }
    orvix_building* none = nullptr;
    EXPECT_EQ(orvix_building_open_saved(project, &none, &error), ORVIX_DAMAGED);
    EXPECT_EQ(orvix_project_check(name.c_str(), nullptr, &faults, &error), ORVIX_OK);
    EXPECT_EQ(faults, 1U);
}

TEST_F(CBuilding, GivesEachElementInTheWorld) {
    orvix_project_close(project);  // a building is a value
    project = nullptr;
    auto info = Sized<orvix_building_info>();
    ASSERT_EQ(orvix_building_get_info(house, &info, &error), ORVIX_OK);
    EXPECT_EQ(info.stations_known, 1);
    EXPECT_TRUE(info.storeys == 2 && info.slabs == 2 && info.walls == 10 && info.openings == 8 &&
                info.rooms == 4 && info.slopes == 2 && info.edges == 1 && info.remarks == 1);

    const auto storey = Get(orvix_building_get_storey, 2);
    EXPECT_DOUBLE_EQ(storey.elevation, kZ + 2.8);
    EXPECT_DOUBLE_EQ(storey.ceiling, kZ + 6.8);

    const auto between = Get(orvix_building_get_slab, 2), ground = Get(orvix_building_get_slab, 1);
    EXPECT_TRUE(between.storey == 2 && between.top_seen == 1 && between.bottom_seen == 1);
    EXPECT_THAT(between.top, ElementsAre(kZ + 2.8, kZ + 2.799, kZ + 2.801));
    EXPECT_NEAR(between.thickness[0], 0.3, 1e-12);
    EXPECT_THAT(ground.bottom, ElementsAre(0, 0, 0)) << "not seen";
    EXPECT_EQ(ground.bottom_seen, 0);

    const auto wall = Get(orvix_building_get_wall, 1), face = Get(orvix_building_get_wall, 6);
    const auto& axis = sample.walls[0].axis;
    EXPECT_THAT(wall.axis,
                ElementsAre(kX + axis[0].x, kY + axis[0].y, kX + axis[1].x, kY + axis[1].y));
    EXPECT_TRUE(wall.storey == 1 && wall.left_seen == 1 && wall.right_seen == 1 &&
                wall.external == 1);
    EXPECT_THAT(wall.thickness, ElementsAre(0.3, 0.298, 0.302));
    EXPECT_DOUBLE_EQ(wall.bottom, kZ);
    EXPECT_DOUBLE_EQ(wall.top, kZ + 2.5);
    EXPECT_EQ(face.left_seen + face.right_seen, 1);
    EXPECT_EQ(face.thickness[0], 0);

    const auto room = Get(orvix_building_get_room, 4);
    EXPECT_TRUE(room.storey == 2 && room.area[0] == 48 && room.volume[0] == 120);
    EXPECT_DOUBLE_EQ(room.floor, kZ + 2.8);
    EXPECT_NEAR(room.height[2] - room.height[1], 0.004, 1e-12);

    const auto slope = Get(orvix_building_get_slope, 1);
    const auto ring = Ring(ORVIX_ELEMENT_SLOPE, 1, 0);
    for (std::size_t i = 0; i < ring.size(); i += 3) {
        const double off = slope.equation[0] * ring[i] + slope.equation[1] * ring[i + 1] +
                           slope.equation[2] * ring[i + 2] + slope.equation[3];
        EXPECT_NEAR(off, 0, 1e-8) << "its outline lies on its plane";
    }
    EXPECT_TRUE(slope.upper_seen == 1 && slope.thickness[0] == 0.2);

    const auto edge = Get(orvix_building_get_edge, 1);
    EXPECT_TRUE(edge.kind == ORVIX_EDGE_RIDGE && edge.slopes[0] == 1 && edge.slopes[1] == 2);
    EXPECT_DOUBLE_EQ(edge.ends[3] - edge.ends[0], 9);
}

TEST_F(CBuilding, GivesOpeningsWithTheWallAndRoomsThatTheyJoin) {
    const auto open = Get(orvix_building_get_opening, 4), way = Get(orvix_building_get_opening, 2);
    EXPECT_TRUE(open.kind == ORVIX_OPENING_DOOR && open.state == ORVIX_STATE_OPEN &&
                open.wall == 4);
    EXPECT_GT(open.rooms[0] * open.rooms[1], 0u) << "between two rooms";
    EXPECT_EQ(way.rooms[0] * way.rooms[1], 0u) << "leads outside";
    const auto ring = Ring(ORVIX_ELEMENT_OPENING, 4, 0);
    ASSERT_EQ(ring.size(), 12u);
    double middle[3]{};
    for (std::size_t i = 0; i < 12; ++i) middle[i % 3] += ring[i] / 4;
    for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(middle[k], open.centre[k], 1e-8);
    EXPECT_NEAR(std::hypot(ring[3] - ring[0], ring[4] - ring[1]), open.width[0], 1e-8);
    EXPECT_NEAR(open.bottom, *std::min_element(&ring[2], &ring[2] + 1), 1e-8);
    EXPECT_NEAR(std::hypot(open.direction[0], open.direction[1]), 1, 1e-12);
    EXPECT_NEAR(open.free + open.hidden + open.unknown,
                sample.openings[3].free + sample.openings[3].hidden + sample.openings[3].unknown,
                1e-12);
}

TEST_F(CBuilding, GivesShapesNamesAndEvidence) {
    EXPECT_EQ(Name(ORVIX_ELEMENT_ROOM, 2), "Room 1.2");
    EXPECT_EQ(Name(ORVIX_ELEMENT_STOREY, 1), "Storey 1");
    EXPECT_EQ(Name(ORVIX_ELEMENT_WALL, 3), "wall 3");
    EXPECT_EQ(Name(ORVIX_ELEMENT_OPENING, 2), "door 2");
    EXPECT_EQ(Rings(ORVIX_ELEMENT_ROOM, 1), 2u) << "around a chimney";
    EXPECT_EQ(Rings(ORVIX_ELEMENT_SLAB, 1), 4u) << "three rooms' floors, one with a hole";
    EXPECT_THAT(Ring(ORVIX_ELEMENT_ROOM, 1, 0),
                ElementsAre(kX, kY, kZ, kX + 4.94, kY, kZ, kX + 4.94, kY + 6, kZ, kX, kY + 6, kZ));
    EXPECT_EQ(Ring(ORVIX_ELEMENT_WALL, 7, 0).size(), 3 * sample.walls[6].profile.size());
    EXPECT_NEAR(Volume(ORVIX_ELEMENT_ROOM, 4), 120, 1e-4);
    EXPECT_NEAR(Volume(ORVIX_ELEMENT_SLAB, 2), 16.578, 1e-4);

    auto evidence = Sized<orvix_evidence>();
    ASSERT_EQ(orvix_building_get_evidence(house, ORVIX_ELEMENT_SLAB, 1, &evidence, &error),
              ORVIX_OK);
    EXPECT_TRUE(evidence.points == 10'050 && evidence.seen == 0.75 &&
                evidence.inferred == ORVIX_INFERRED_OTHER_SIDE && evidence.stations == 2);
    std::uint32_t numbers[2]{};
    std::uint64_t count = 0;
    ASSERT_EQ(orvix_building_get_planes(house, ORVIX_ELEMENT_SLAB, 1, numbers, 2, &count, &error),
              ORVIX_OK);
    EXPECT_THAT(numbers, ElementsAre(50, 150));
    ASSERT_EQ(orvix_building_get_stations(house, ORVIX_ELEMENT_SLAB, 1, numbers, 2, &count, &error),
              ORVIX_OK);
    EXPECT_THAT(numbers, ElementsAre(1, 3));
    EXPECT_EQ(orvix_building_get_stations(house, ORVIX_ELEMENT_SLAB, 1, numbers, 1, &count, &error),
              ORVIX_TOO_SMALL);
    char remark[64]{};
    ASSERT_EQ(orvix_building_get_remark(house, 1, remark, sizeof remark, nullptr, &error),
              ORVIX_OK);
    EXPECT_EQ(remark, sample.remarks[0]);
}

TEST_F(CBuilding, RefusesWhatThereIsNot) {
    auto wall = Sized<orvix_wall>();
    for (const std::uint32_t number : {0u, 11u, 0xFFFFFFFFu}) {
        EXPECT_EQ(orvix_building_get_wall(house, number, &wall, &error), ORVIX_BAD_ARGUMENT);
        EXPECT_THAT(error.text, HasSubstr("walls"));
    }
    std::uint64_t count = 0;
    for (const std::int32_t kind : {-1, +ORVIX_ELEMENT_STOREY, 99}) {
        EXPECT_EQ(orvix_building_get_rings(house, kind, 1, nullptr, 0, &count, &error),
                  ORVIX_BAD_ARGUMENT);
    }
    EXPECT_EQ(orvix_building_get_ring(house, ORVIX_ELEMENT_ROOM, 1, 2, nullptr, 0, &count, &error),
              ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_building_get_remark(house, 2, nullptr, 0, &count, &error), ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_building_get_wall(nullptr, 1, &wall, &error), ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(orvix_building_get_wall(house, 1, nullptr, &error), ORVIX_BAD_ARGUMENT);
    orvix_mesh* mesh = nullptr;
    EXPECT_EQ(orvix_building_mesh(house, ORVIX_ELEMENT_WALL, 0, &mesh, &error), ORVIX_BAD_ARGUMENT);
    EXPECT_EQ(mesh, nullptr);
    orvix_building_close(nullptr);
}

TEST_F(CBuilding, IsWrittenAsItsNameSays) {
    for (const wchar_t* ending : {L"h.ifc", L"h.JSON", L"h.obj"}) {
        const CString file = folder / ending;
        ASSERT_EQ(orvix_building_write(house, platform::ToUtf8(file).c_str(), &error), ORVIX_OK)
            << error.text;
        EXPECT_GT(ReadBytes(file).size(), 1000u);
    }
    EXPECT_EQ(orvix_building_write(house, platform::ToUtf8(folder / L"h.txt").c_str(), &error),
              ORVIX_BAD_INPUT);
    EXPECT_EQ(orvix_building_write(house, platform::ToUtf8(folder / L"no/h.ifc").c_str(), &error),
              ORVIX_BAD_INPUT);
}

TEST_F(CBuilding, EndsInAStatusWhereverMemoryRunsOut) {
    const LeaksOfTriangulations allowed;
    for (const auto kind : {ORVIX_ELEMENT_WALL, ORVIX_ELEMENT_SLAB, ORVIX_ELEMENT_ROOM}) {
        orvix_status status = ORVIX_NO_MEMORY;
        for (long long news = 0; status == ORVIX_NO_MEMORY; ++news) {
            ASSERT_LT(news, 100'000);
            orvix_mesh* mesh = nullptr;
            std::uint64_t count = 0;
            LimitAllocations(news);
            status = orvix_building_get_rings(house, kind, 1, nullptr, 0, &count, &error);
            if (status == ORVIX_OK) status = orvix_building_mesh(house, kind, 1, &mesh, &error);
            LimitAllocations(-1);
            EXPECT_EQ(mesh == nullptr, status != ORVIX_OK);
            orvix_mesh_close(mesh);
        }
        EXPECT_EQ(status, ORVIX_OK);
    }
}

// BEHAVIOUR M1
TEST_F(CBuilding, IsKeptByWhoMayWrite) {
    EXPECT_EQ(orvix_building_save(project, house, &error), ORVIX_BAD_ARGUMENT);
    orvix_project_close(project);
    project = nullptr;
    ASSERT_EQ(Open(ORVIX_READ_WRITE), ORVIX_OK);
    orvix_building* found = nullptr;
    ASSERT_EQ(orvix_building_find(project, nullptr, nullptr, &found, &error), ORVIX_OK)
        << error.text;
    auto before = Sized<orvix_building_info>(), after = before;
    ASSERT_EQ(orvix_building_get_info(found, &before, &error), ORVIX_OK);
    ASSERT_EQ(orvix_building_save(project, found, &error), ORVIX_OK) << error.text;
    orvix_building_close(found);
    found = nullptr;
    ASSERT_EQ(orvix_building_open_saved(project, &found, &error), ORVIX_OK) << error.text;
    ASSERT_EQ(orvix_building_get_info(found, &after, &error), ORVIX_OK);
    EXPECT_EQ(std::memcmp(&before, &after, sizeof before), 0);
    orvix_building_close(found);
}

TEST_F(CBuilding, IsFoundInPlanesThatAHostHas) {
    auto given = Sized<orvix_building_options>();
    orvix_building* found = nullptr;
    ASSERT_EQ(Find(), ORVIX_OK);
    given.threads = 1;
    ASSERT_EQ(orvix_building_find(project, planes, &given, &found, &error), ORVIX_OK) << error.text;
    auto info = Sized<orvix_building_info>();
    ASSERT_EQ(orvix_building_get_info(found, &info, &error), ORVIX_OK);
    orvix_building_close(found);

    given.proceed = [](void*, double) { return std::int32_t{0}; };
    EXPECT_EQ(orvix_building_find(project, planes, &given, &found, &error), ORVIX_CANCELLED);
    EXPECT_EQ(found, nullptr);
    given.proceed = nullptr;
    given.orthogonal = 2;
    EXPECT_EQ(orvix_building_find(project, planes, &given, &found, &error), ORVIX_BAD_ARGUMENT);
    given.orthogonal = 0;
    given.threads = 1025;
    EXPECT_EQ(orvix_building_find(project, planes, &given, &found, &error), ORVIX_BAD_ARGUMENT);
    orvix_project* other = nullptr;
    ASSERT_EQ(orvix_project_open(name.c_str(), nullptr, &other, &error), ORVIX_OK);
    EXPECT_EQ(orvix_building_find(other, planes, nullptr, &found, &error), ORVIX_BAD_ARGUMENT);
    orvix_project_close(other);
    EXPECT_EQ(orvix_building_find(nullptr, planes, nullptr, &found, &error), ORVIX_BAD_ARGUMENT);
}

}  // namespace
}  // namespace orvix::test
