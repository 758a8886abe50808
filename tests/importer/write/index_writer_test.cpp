// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/write/index_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "importer/memory_plan.h"
#include "importer/skeleton/surface_density.h"
#include "support/scratch_folder.h"

namespace orvix::importer::test {
namespace {

constexpr std::uint32_t kMax = 0xFFFF'FFFF;

TEST(IndexWriter, RefusesACubicMetreOfMorePointsThanItsRecordCanHold) {
    const orvix::test::ScratchFolder folder;
    ProjectManager project;
    project.Create(folder / L"p.prj");
    IndexWriter index(GridFrame(), IndexWriter::FineLevel::Write);
    ASSERT_TRUE(index.Create(project));
    const SortKey next{0, 1};
    const SortKey nextMetre{0, 1000};
    ASSERT_TRUE(index.Add(std::vector<CellCount>{{kFirstKey, kMax - 2}, {next, 1}, {next, 1}}));
    const auto refused = index.Add(std::vector<CellCount>{{next, 1}});
    ASSERT_FALSE(refused);
    EXPECT_THAT(refused.error().message, testing::HasSubstr("4294967295"));
    ASSERT_TRUE(index.Add(std::vector<CellCount>{{nextMetre, kMax}}));
    EXPECT_EQ(index.Points(), 2 * std::uint64_t{kMax});
}

TEST(IndexWriter, RefusesItOfEnteredStretchesAsWell) {
    const orvix::test::ScratchFolder folder;
    ProjectManager project;
    project.Create(folder / L"p.prj");
    IndexWriter index(GridFrame(), IndexWriter::FineLevel::Write);
    ASSERT_TRUE(index.Create(project));
    WholeCells cells;
    cells.Make(std::vector<CellCount>{{kFirstKey, kMax - 2}, {{0, 1}, 2}});
    ASSERT_TRUE(index.Enter(cells));
    WholeCells more;
    more.Make(std::vector<CellCount>{{{0, 2}, 1}});
    const auto refused = index.Enter(more);
    ASSERT_FALSE(refused);
    EXPECT_THAT(refused.error().message, testing::HasSubstr("4294967295"));
    more.Make(std::vector<CellCount>{{{0, 1999}, 7}, {{0, 123'456}, 1}});
    ASSERT_TRUE(index.Enter(more));
    EXPECT_EQ(index.Points(), kMax + std::uint64_t{8});
    ASSERT_TRUE(index.Store(more));
    EXPECT_EQ(more.fines[1].offset, kMax + std::uint64_t{7});
    EXPECT_EQ(more.fines[1].x * 100 + more.fines[1].y * 10 + more.fines[1].z, 456);
}

TEST(SurfaceDensity, IsTheMedianOverThePointsNotOverTheCells) {
    SurfaceDensity density;
    EXPECT_EQ(density.Median(), 0);
    for (int i = 0; i < 90; ++i) density.AddCell(1);
    density.AddCell(100);
    EXPECT_EQ(density.Median(), 100);
    density.AddCell(1'000'003);
    EXPECT_EQ(density.Median(), 999'936);  // the upper 12 of 20 bits
}

// BEHAVIOUR I12
TEST(SurfaceDensity, GivesStepsInHalfCentimetresWithinBounds) {
    EXPECT_DOUBLE_EQ(BaseStep(27), 0.245);
    EXPECT_DOUBLE_EQ(BaseStep(1e6), 0.025);
    EXPECT_DOUBLE_EQ(BaseStep(0.01), 2.5);
    EXPECT_DOUBLE_EQ(BaseStep(0), 0.1);
}

TEST(MemoryPlan, SharesOutWhatTheLimitAllows) {
    for (const std::uint64_t limit :
         {std::uint64_t{64} << 20, std::uint64_t{1} << 30, std::uint64_t{16} << 30}) {
        for (const unsigned threads : {1u, 2u, 64u}) {
            const MemoryPlan plan = PlanMemory(limit, threads);
            EXPECT_GE(plan.workers, 1u);
            EXPECT_LE(plan.workers, threads);
            EXPECT_GE(plan.poolBytes, limit / 6);
            EXPECT_LE(plan.poolBytes, limit);
            EXPECT_LE(plan.workers * plan.memoryBlockPoints * 80, limit);
        }
    }
    EXPECT_EQ(PlanMemory(std::uint64_t{1} << 30, 2).workers, 2u);
    EXPECT_GE(PlanMemory(1, 0).workers, 1u);
}

}  // namespace
}  // namespace orvix::importer::test
