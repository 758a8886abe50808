// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/check/clean_stretches.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "orvix/geometry/bounds.h"
#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/project/project_paths.h"
#include "parallel/pool.h"
#include "support/scratch_folder.h"
#include "tests/support/tiny_project.h"

namespace orvix {
namespace {

using detail::CellStretch;

constexpr std::uint64_t kStretchPoints = 400;

class CleanStretchesTest : public testing::Test {
protected:
    void Write(double scale) {
        project = test::MakeTinyProject(test::RoomPoints(5, 4'000), scale);
        WriteTinyProject(project, path);
        paths.Set(path, false);
    }

    std::vector<CellStretch> Look(const detail::BlockRunner& run = {}) {
        const detail::CheckOptions options;
        detail::CheckLog log(options);
        const detail::GridFiles grid(paths, project.head.scale < 1, log);
        auto stretches = detail::LookAtCells(log, paths, grid, run, kStretchPoints);
        EXPECT_FALSE(log.Cancelled());
        EXPECT_EQ(log.Total(), 0U);  // to find faults is others' work
        return stretches;
    }

    // Which stretches are not clean after one byte is turned, which is turned back afterwards.
    std::vector<std::size_t> Spoil(const CString& file, std::uint64_t at, std::uint8_t bits,
                                   bool CellStretch::*clean) {
        const auto turn = [&] {
            std::error_code error;
            auto opened = platform::File::OpenReadWrite(file, error);
            std::uint8_t byte = 0;
            opened.ReadAt(at, &byte, 1, error);
            byte ^= bits;
            opened.WriteAt(at, &byte, 1, error);
            ASSERT_FALSE(error);
        };
        turn();
        const auto stretches = Look();
        turn();
        std::vector<std::size_t> unclean;
        for (std::size_t i = 0; i < stretches.size(); ++i)
            if (!(stretches[i].*clean)) unclean.push_back(i);
        return unclean;
    }

    test::ScratchFolder folder;
    CString path = folder / L"scan.prj";
    test::TinyProject project;
    ProjectManager paths;
};

TEST_F(CleanStretchesTest, HoldEveryCellAndPointOfAWholeProjectOnce) {
    for (const double scale : {0.01, 0.1, 1.0}) {
        Write(scale);
        const auto stretches = Look();
        ASSERT_GT(stretches.size(), 5U);
        std::uint64_t cell = 0;
        std::uint64_t point = 0;
        auto bounds = detail::NoBounds<ExtendsT<float>>();
        std::uint32_t stations = 0;
        for (const CellStretch& stretch : stretches) {
            EXPECT_TRUE(stretch.cleanPoints);
            EXPECT_EQ(stretch.cleanSkeleton,
                      scale > 0.05);  // one point a cell, or else unlooked at
            EXPECT_EQ(stretch.firstCell, cell);
            EXPECT_EQ(stretch.firstPoint, point);
            cell = stretch.endCell;
            point = stretch.endPoint;
            detail::Join(bounds, stretch.bounds);
            stations = std::max(stations, stretch.stations);
        }
        EXPECT_EQ(cell, project.cells100.size());
        EXPECT_EQ(point, project.points.size());
        EXPECT_EQ(bounds.min.x, project.head.bounds.min.x);
        EXPECT_EQ(bounds.max.z, project.head.bounds.max.z);
        EXPECT_EQ(stations, project.head.stationCount);
        std::error_code ignored;
        platform::RemoveTree(paths.projectFilesFolder, ignored);
    }
}

TEST_F(CleanStretchesTest, OnlyTheOneWithTheFaultIsUnclean) {
    Write(0.1);
    const auto stretches = Look();
    constexpr std::uint8_t kFarAway = 0x40;  // of a coordinate's highest byte
    for (std::uint64_t point = 0; point < project.points.size(); point += 397) {
        const auto stretch = static_cast<std::size_t>(
            std::find_if(stretches.begin(), stretches.end(),
                         [&](const CellStretch& s) { return point < s.endPoint; }) -
            stretches.begin());
        const std::vector<std::size_t> expected{stretch};
        for (const std::uint64_t axis : {0U, 1U, 2U})
            EXPECT_EQ(Spoil(paths.gridPts, point * 24 + axis * 4 + 3, kFarAway,
                            &CellStretch::cleanPoints),
                      expected);
    }
    for (std::uint64_t number = 0; number < project.skeleton.size(); number += 211) {
        const std::uint64_t place = project.cells10[static_cast<std::size_t>(number)].offset;
        const auto stretch = static_cast<std::size_t>(
            std::find_if(stretches.begin(), stretches.end(),
                         [&](const CellStretch& s) { return place < s.endPoint; }) -
            stretches.begin());
        const std::vector<std::size_t> expected{stretch};
        EXPECT_EQ(Spoil(paths.gridSkeletDataPts, number * 12 + 5, 1, &CellStretch::cleanSkeleton),
                  expected);
        EXPECT_EQ(Spoil(paths.gridSkeletCoordPts, number * 12, 1, &CellStretch::cleanSkeleton),
                  expected);
        EXPECT_TRUE(
            Spoil(paths.gridSkeletDataPts, number * 12, 1, &CellStretch::cleanPoints).empty());
    }
}

TEST_F(CleanStretchesTest, AreTheSameHoweverManyThreadsLook) {
    Write(0.1);
    const auto alone = Look();
    const parallel::Pool pool(4, {}, "");
    const auto together = Look(
        [&pool](std::size_t jobs, const detail::BlockJob& job) { return pool.RunJobs(jobs, job); });
    ASSERT_EQ(together.size(), alone.size());
    for (std::size_t i = 0; i < alone.size(); ++i) {
        EXPECT_EQ(together[i].cleanPoints, alone[i].cleanPoints);
        EXPECT_EQ(together[i].cleanSkeleton, alone[i].cleanSkeleton);
        EXPECT_EQ(together[i].bounds.min.x, alone[i].bounds.min.x);
        EXPECT_EQ(together[i].stations, alone[i].stations);
    }
}

}  // namespace
}  // namespace orvix
