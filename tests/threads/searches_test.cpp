// SPDX-License-Identifier: GPL-3.0-or-later
// Searches that start threads, several at a time, and what threads ask of one search.
#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "importer/import.h"
#include "support/scenes/synthetic_building.h"
#include "tests/c/planes_project.h"
#include "tests/detection/opened_project.h"
#include "tests/threads/side_by_side.h"

namespace orvix {
namespace {

using detection::Opened;
using detection::PlaneSearch;
using detection::PlaneSearchOptions;
using test::SideBySide;
using test::Sized;

/// The plane of each point, in their order.
std::vector<std::int32_t> PlanesOfPoints(const PlaneSearch& search, const CProjectCore& core) {
    std::vector<std::int32_t> all;
    const auto reader = core.CreateAlivePointReader();
    for (std::size_t chunk = 0; chunk < search.Chunks(); ++chunk) {
        const auto read =
            search.ReadChunk(*reader, chunk, [&](const detection::PlanePoints& block) {
                all.insert(all.end(), block.planes.begin(), block.planes.end());
            });
        EXPECT_TRUE(read) << read.error().message;
    }
    return all;
}

// A cloud of several tiles, imported and searched at several threads.
TEST(ThreadsOfSearches, FindTheSamePlanesBesideEachOther) {
    const test::ScratchFolder folder;
    test::WriteScan(test::SyntheticBuilding({.points = 60'000}), folder / L"building.las");
    const CString path = folder / L"building.prj";
    importer::ImportOptions import;
    import.threads = 4;
    ASSERT_TRUE(importer::Import({folder / L"building.las"}, path, import));

    std::vector<std::vector<std::int32_t>> found(3);
    SideBySide(2, [&](int own) {
        Opened project(path);
        PlaneSearchOptions options;
        options.threads = 3;
        const auto search = project.Search(options);
        found[static_cast<std::size_t>(own)] = PlanesOfPoints(*search, project.Core());
    });
    Opened project(path);
    PlaneSearchOptions options;
    options.threads = 1;
    const auto search = project.Search(options);
    ASSERT_GT(search->Planes().size(), 20U);
    found[2] = PlanesOfPoints(*search, project.Core());
    EXPECT_TRUE(found[0] == found[2] && found[1] == found[2]);

    std::vector<std::shared_ptr<CAlivePointReader>> readers;
    for (int i = 0; i < 3; ++i) readers.push_back(project.Core().CreateAlivePointReader());
    const auto place = search->Planes().front().centre;
    const std::int32_t plane = search->PlaneOf(place);
    SideBySide(3, [&](int own) {
        const auto at = static_cast<std::size_t>(own);
        std::uint64_t points = 0;
        for (std::size_t chunk = 0; chunk < search->Chunks(); ++chunk) {
            ASSERT_TRUE(search->ReadChunk(
                *readers[at], chunk,
                [&](const detection::PlanePoints& block) { points += block.points.size(); }));
        }
        ASSERT_EQ(points, search->Points());
        ASSERT_EQ(search->PlaneOf(place), plane);
        const auto explained = search->Explain(place);
        ASSERT_TRUE(explained) << explained.error().message;
        ASSERT_EQ(explained->plane, plane);
    });
}

TEST(ThreadsOfSearches, EndWithTheSearchThatIsCancelled) {
    std::vector<SimplePointT<double>> points;
    for (int x = 0; x < 300; ++x)
        for (int y = 0; y < 60; ++y) points.push_back({0.1 * x, 0.1 * y, 1.25});
    const test::ScratchFolder folder;
    Opened project(detection::WritePoints(folder, points));
    for (const int last : {1, 4, 16}) {
        int asked = 0;
        PlaneSearchOptions options;
        options.threads = 4;
        options.proceed = [&] { return ++asked < last; };
        const auto search = PlaneSearch::Run(project.Core(), options);
        if (asked < last) continue;  // it was done before
        ASSERT_FALSE(search) << last;
        EXPECT_EQ(search.error().code, ErrorCode::Cancelled);
    }
}

class ThreadsOfHosts : public test::CPlanes {
protected:
    /// What a thread reads through const calls on handles that it shares.
    void ReadShared() const {
        const std::uint64_t points = tiny.points.size();
        auto mine = Sized<orvix_error>();
        std::vector<orvix_point> copied(points);
        ASSERT_EQ(orvix_points_read(project, 0, points, copied.data(), &mine), ORVIX_OK)
            << mine.text;
        orvix_view* view = nullptr;
        const orvix_point* borrowed = nullptr;
        ASSERT_EQ(orvix_points_borrow(project, 0, points, &view, &borrowed, &mine), ORVIX_OK);
        for (std::uint64_t i = 0; i < points; ++i) ASSERT_EQ(borrowed[i].x, copied[i].x);
        orvix_view_close(view);
        const void* cells = nullptr;
        std::uint64_t count = 0;
        for (const std::int32_t level : {1000, 100, 10}) {
            ASSERT_EQ(orvix_cells_borrow(project, level, &cells, &count, &mine), ORVIX_OK);
            auto cell = Sized<orvix_cell>();
            for (std::uint64_t entry = 0; entry < count; entry += 7)
                ASSERT_EQ(orvix_cell_get(project, level, entry, &cell, &mine), ORVIX_OK);
        }
        auto info = Sized<orvix_project_info>();
        ASSERT_EQ(orvix_project_get_info(project, &info, &mine), ORVIX_OK);
        ASSERT_EQ(info.points, points);
    }
    static std::vector<std::uint32_t> Numbers(const orvix_planes* of, std::uint64_t points) {
        auto mine = Sized<orvix_error>();
        std::vector<std::uint32_t> numbers(points);
        EXPECT_EQ(orvix_planes_read_numbers(of, 0, points, numbers.data(), &mine), ORVIX_OK)
            << mine.text;
        return numbers;
    }
};

TEST_F(ThreadsOfHosts, ShareHandlesForConstCalls) {
    ASSERT_EQ(Find(), ORVIX_OK) << error.text;
    const std::vector<std::uint32_t> all = Numbers(planes, tiny.points.size());
    SideBySide(3, [&](int) {
        ReadShared();
        ASSERT_EQ(Numbers(planes, all.size()), all);
        const double floor[] = {10003, 20001, 101.25};
        auto mine = Sized<orvix_error>();
        auto place = Sized<orvix_place>();
        ASSERT_EQ(orvix_planes_explain(planes, floor, &place, &mine), ORVIX_OK) << mine.text;
        ASSERT_EQ(place.plane, 1U);
        std::uint64_t count = 0;
        ASSERT_EQ(orvix_planes_get_points(planes, 1, nullptr, nullptr, 0, &count, &mine), ORVIX_OK);
        ASSERT_EQ(count, test::kFloorPoints);
    });
}

TEST_F(ThreadsOfHosts, ShareSavedPlanes) {
    orvix_project_close(project);
    project = nullptr;
    ASSERT_EQ(Open(ORVIX_READ_WRITE), ORVIX_OK) << error.text;
    ASSERT_EQ(Find(), ORVIX_OK) << error.text;
    const std::vector<std::uint32_t> all = Numbers(planes, tiny.points.size());
    ASSERT_EQ(orvix_planes_save(project, planes, nullptr, nullptr, nullptr, &error), ORVIX_OK)
        << error.text;
    orvix_planes_close(planes);
    planes = nullptr;
    ASSERT_EQ(orvix_planes_open_saved(project, &planes, &error), ORVIX_OK) << error.text;
    SideBySide(3, [&](int) { ASSERT_EQ(Numbers(planes, all.size()), all); });
}

// Each thread has a section of its own; all of them read one project handle.
TEST_F(ThreadsOfHosts, CutOneProjectSideBySide) {
    const double point[] = {10003, 20002, 101.25};
    const double normal[] = {0, 0, 1};
    std::vector<std::uint64_t> in(3);
    SideBySide(3, [&](int own) {
        auto mine = Sized<orvix_error>();
        auto counts = Sized<orvix_section_counts>();
        orvix_section* section = nullptr;
        ASSERT_EQ(orvix_section_open(nullptr, &section, &mine), ORVIX_OK) << mine.text;
        for (int turn = 0; turn < 5; ++turn) {
            EXPECT_EQ(orvix_section_set_project(section, project, &mine), ORVIX_OK) << mine.text;
            EXPECT_EQ(orvix_section_set_plane(section, point, normal, &mine), ORVIX_OK);
            EXPECT_EQ(orvix_section_stream(section, nullptr, &counts, &mine), ORVIX_OK)
                << mine.text;
            const orvix_picking_ray ray{{10003, 20002, 110}, {0, 0, -1}, 0.06, 0};
            orvix_snapped_point snapped{};
            EXPECT_EQ(orvix_section_snap_rays_in_project(section, &ray, 1, &snapped, &mine),
                      ORVIX_OK)
                << mine.text;
            EXPECT_NEAR(snapped.along, 110 - 102.4, 1e-4) << "the shelf hides the floor";
        }
        in[static_cast<std::size_t>(own)] = counts.in_slab;
        orvix_section_close(section);
    });
    EXPECT_EQ(in, std::vector<std::uint64_t>(3, test::kFloorPoints));
}

// Each thread has a project of its own; a plane is grown in each, and all are checked meanwhile.
TEST_F(ThreadsOfHosts, UseHandlesOfTheirOwnOnOneProject) {
    orvix_project_close(project);
    project = nullptr;
    std::vector<std::uint64_t> grown(3);
    SideBySide(3, [&](int own) {
        auto mine = Sized<orvix_error>();
        auto how = Sized<orvix_open_options>();
        orvix_project* opened = nullptr;
        ASSERT_EQ(orvix_project_open(name.c_str(), &how, &opened, &mine), ORVIX_OK) << mine.text;
        const double seed[] = {10003, 20001, 101.25};
        orvix_plane* plane = nullptr;
        EXPECT_EQ(orvix_plane_grow(opened, seed, nullptr, &plane, &mine), ORVIX_OK) << mine.text;
        auto info = Sized<orvix_plane_info>();
        EXPECT_EQ(orvix_plane_get_info(plane, &info, &mine), ORVIX_OK) << mine.text;
        grown[static_cast<std::size_t>(own)] = info.points;
        orvix_plane_close(plane);
        std::uint64_t faults = 99;
        EXPECT_EQ(orvix_project_check(name.c_str(), nullptr, &faults, &mine), ORVIX_OK)
            << mine.text;
        EXPECT_EQ(faults, 0U);
        orvix_project_close(opened);
    });
    EXPECT_GT(grown[0], test::kFloorPoints / 2);
    EXPECT_TRUE(grown[0] == grown[1] && grown[0] == grown[2]);
}

}  // namespace
}  // namespace orvix
