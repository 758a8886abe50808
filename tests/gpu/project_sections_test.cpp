// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/gpu/project_sections.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "orvix/gpu/revit_amp.h"
#include "orvix/gpu/section_loop.h"
#include "orvix/platform/file.h"
#include "orvix/project/access/open_project.h"
#include "support/dice.h"
#include "support/scratch_folder.h"
#include "tests/gpu/plain_section.h"
#include "tests/support/tiny_project.h"

namespace orvix {
namespace {

class ProjectSectionsTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::uint64_t state = 21;
        test::Dice dice(state);
        std::vector<CCloudPoint<float>> cloud(12000);
        for (auto& p : cloud) {
            p.x = static_cast<float>(40 * dice.Share() - 20);
            p.y = static_cast<float>(40 * dice.Share() - 20);
            p.z = static_cast<float>(6 * dice.Share() - 1);
        }
        const auto made = test::MakeTinyProject(cloud);
        points_ = made.points;
        const CString file = folder_ / L"p.prj";
        test::WriteTinyProject(made, file);
        auto opened = detail::OpenProject::Open(file);
        ASSERT_TRUE(opened);
        project_ = std::move(*opened);
        ASSERT_TRUE(section_.SetProject(project_->Core()));
    }

    test::ScratchFolder folder_;
    std::vector<CCloudPoint<float>> points_;
    std::unique_ptr<detail::OpenProject> project_;
    RevitAMP section_;
};

// BEHAVIOUR V9
TEST_F(ProjectSectionsTest, StreamsEveryPointOfAWantedClassOnceAndCountsTheOthersUnread) {
    const std::vector<std::pair<SimplePointT<double>, SectionSlab>> sections{
        {{0, -1, 0}, {.halfThickness = 0.3}},
        {{0, 0, 1}, {.halfThickness = 1, .xLow = -5, .xHigh = 7.5, .zHigh = 3}},
        {{1, 1, 0.3}, {.halfThickness = 100, .zLow = 0}},
        {{0, 1, 0}, {.halfThickness = 0, .xLow = 50}}};
    for (const auto& [normal, slab] : sections) {
        ASSERT_TRUE(section_.SetPlane({0.5, 0.5, 1.2}, normal));
        ASSERT_TRUE(section_.SetSlab(slab));
        std::array<double, 16> matrix{};
        section_.GetTransformation(matrix);
        const auto rule = detail::ComposedRule(matrix, {}, slab);
        std::vector<SectionClass> plain;
        for (const auto& p : points_) plain.push_back(test::PlainClass(rule, p.x, p.y, p.z).value);
        const auto truth = detail::CountsOf(plain.data(), plain.size());

        for (const std::uint32_t wanted : {0x1F, 1, 3}) {
            std::vector<int> seen(points_.size());
            std::uint64_t read = 0;
            SectionCounts counts;
            ASSERT_TRUE(section_.StreamPlaneXZ(
                wanted,
                [&](const RevitAMP::Chunk& chunk) {
                    EXPECT_EQ(chunk.points.size(), chunk.classes.size());
                    for (std::size_t k = 0; k < chunk.points.size(); ++k) {
                        const std::uint64_t i = chunk.firstPoint + k;
                        ++seen[i];
                        EXPECT_EQ(chunk.points[k].x, points_[i].x);
                        EXPECT_EQ(chunk.classes[k], plain[i]);
                    }
                    read += chunk.points.size();
                    return true;
                },
                &counts));
            EXPECT_EQ(counts, truth);
            for (std::size_t i = 0; i < seen.size(); ++i) {
                const bool isWanted = (wanted & RevitAMP::Bit(plain[i])) != 0;
                ASSERT_TRUE(seen[i] == 1 || (seen[i] == 0 && !isWanted)) << i;
            }
            if (wanted == 1 && slab.halfThickness < 0.5) {
                EXPECT_LT(read, points_.size() / 3);
            }
        }
    }
}

TEST_F(ProjectSectionsTest, AStreamEndsWhereItsUserEndsIt) {
    int chunks = 0;
    EXPECT_FALSE(section_.StreamPlaneXZ(0x1F, [&](const auto&) { return ++chunks < 1; }));
    EXPECT_EQ(chunks, 1);
    section_.Release();
    EXPECT_FALSE(section_.StreamPlaneXZ(0x1F, {}));
}

TEST_F(ProjectSectionsTest, AUserOfAChunkMaySnapAndEvenLetTheProjectGo) {
    int chunks = 0;
    SectionCounts counts;
    EXPECT_TRUE(section_.StreamPlaneXZ(
        0x1F,
        [&](const RevitAMP::Chunk& chunk) {
            const float first = chunk.points[0].x;
            if (chunks++ == 0) {
                std::vector<SimplePointT<double>> positions(1);
                SnappedPoint one;
                EXPECT_TRUE(section_.SnapInProject(positions, 5, {&one, 1}));
                EXPECT_TRUE(one.Found());
            }
            section_.Release();
            EXPECT_EQ(chunk.points[0].x, first);
            return true;
        },
        &counts));
    EXPECT_GT(chunks, 0);
    EXPECT_EQ(counts.Total(), points_.size());
    EXPECT_FALSE(section_.StreamPlaneXZ(0x1F, {}));
}

TEST_F(ProjectSectionsTest, SnapsAsIfToPointsInMemory) {
    std::vector<PickingRay> rays(40);
    std::vector<SimplePointT<double>> positions(40);
    std::uint64_t state = 22;
    test::Dice dice(state);
    for (std::size_t k = 0; k < rays.size(); ++k) {
        rays[k].origin = {40 * dice.Share() - 20, 40 * dice.Share() - 20, 2};
        rays[k].direction = {dice.Share() - 0.5, dice.Share() - 0.5, 0.1 * dice.Share() - 0.05};
        rays[k].radius = 0.02;
        rays[k].tangent = k % 2 == 0 ? 0 : 0.01;
        positions[k] = rays[k].origin;
    }
    RevitAMP memory;
    ASSERT_TRUE(memory.Hold(SectionPoints::Of(std::span<const CCloudPoint<float>>(points_))));
    std::vector<SnappedPoint> here(40);
    std::vector<SnappedPoint> there(40);
    ASSERT_TRUE(memory.Snap(rays, here));
    ASSERT_TRUE(section_.SnapInProject(rays, there));
    int found = 0;
    for (std::size_t k = 0; k < rays.size(); ++k) {
        EXPECT_EQ(here[k].index, there[k].index);
        EXPECT_EQ(here[k].along, there[k].along);
        found += here[k].Found() ? 1 : 0;
    }
    EXPECT_GT(found, 10);
    ASSERT_TRUE(memory.Snap(positions, 0.5, here));
    ASSERT_TRUE(section_.SnapInProject(positions, 0.5, there));
    for (std::size_t k = 0; k < rays.size(); ++k) EXPECT_EQ(here[k].index, there[k].index);
}

// A sparse file: 2^32 - 1 points, which nobody reads, before the ones of the section.
TEST(ProjectSections, PointsBeyondTwoToTheThirtyTwoAreFound) {
    constexpr std::uint64_t kBefore = 0xFFFFFFFF;
    test::ScratchFolder folder;
    const CString file = folder / L"p.prj";
    std::vector<CCloudPoint<float>> cloud(5);
    for (std::size_t i = 0; i < cloud.size(); ++i) {
        cloud[i].x = 15.5F;
        cloud[i].y = 0.1F * static_cast<float>(i);
    }
    auto made = test::MakeTinyProject(cloud);
    ASSERT_EQ(made.cells100.size(), 1u);
    ASSERT_EQ(made.cells1000.size(), 1u);
    made.cells100[0].offset = kBefore;
    made.cells1000[0].offset = 1;
    auto wall = made.cells100[0];  // of many points, at x from 300 m
    wall.x = 300;
    wall.offset = 0;
    wall.count = static_cast<std::uint32_t>(kBefore);
    made.cells100.insert(made.cells100.begin(), wall);
    auto block = made.cells1000[0];
    block.x = 30;
    block.offset = 0;
    made.cells1000.insert(made.cells1000.begin(), block);
    made.points.clear();
    test::WriteTinyProject(made, file);
    auto project = detail::OpenProject::Load(file);
    {
        std::error_code error;
        auto points = platform::File::Create(project->Manager().gridPts, error);
        points.WriteAt(kBefore * sizeof cloud[0], cloud.data(), 5 * sizeof cloud[0], error);
        ASSERT_FALSE(error);
    }
    ASSERT_TRUE(project->Core().OpenCores());
    RevitAMP section;
    ASSERT_TRUE(section.SetProject(project->Core()));
    ASSERT_TRUE(section.SetPlane({15.5, 0, 0}, {-1, 0, 0}));
    SectionCounts counts;
    std::uint64_t first = 0;
    std::size_t seen = 0;
    ASSERT_TRUE(section.StreamPlaneXZ(
        RevitAMP::Bit(SectionClass::In),
        [&](const RevitAMP::Chunk& chunk) {
            first = chunk.firstPoint;
            seen += chunk.points.size();
            return true;
        },
        &counts));
    EXPECT_EQ(first, kBefore);
    EXPECT_EQ(seen, 5u);
    EXPECT_EQ(counts.in, 5u);
    EXPECT_EQ(counts.behind, kBefore);
    std::vector<PickingRay> rays(1);
    rays[0].origin = {15.5, -1, 0};
    rays[0].direction = {0, 1, 0};
    SnappedPoint one;
    ASSERT_TRUE(section.SnapInProject(rays, {&one, 1}));
    EXPECT_EQ(one.index, kBefore);
    EXPECT_NEAR(one.along, 1, 1e-12);
}

// A reader goes on beyond the end of an index, with zeros.
TEST_F(ProjectSectionsTest, AnIndexOfBlocksThatEndsEarlyIsRefusedAtOnce) {
    const CString index = folder_ / L"p_Project_Files/Index/Grid1000cm.idx";
    const auto whole = test::ReadBytes(index);
    for (const std::size_t kept : {whole.size() / 64 * 32, std::size_t{24}, std::size_t{0}}) {
        test::WriteBytes(index, whole.data(), kept);
        const auto cut = detail::OpenProject::Load(folder_ / L"p.prj");
        ASSERT_TRUE(cut->Core().OpenCores());
        RevitAMP section;
        EXPECT_FALSE(section.SetProject(cut->Core())) << kept;
        EXPECT_FALSE(section.StreamPlaneXZ(1, {}));
    }
}

TEST(ProjectSections, AnIndexOfMoreCellsThanPointsIsRefused) {
    test::ScratchFolder folder;
    const CString file = folder / L"p.prj";
    test::WriteTinyProject(test::MakeTinyProject(std::vector<CCloudPoint<float>>(3)), file);
    auto project = detail::OpenProject::Load(file);
    for (const std::uint64_t bytes : {std::uint64_t{1} << 36, std::uint64_t{1} << 34}) {
        std::error_code error;
        {
            auto index = platform::File::OpenReadWrite(project->Manager().gridIdx, error);
            index.Resize(bytes, error);
        }
        ASSERT_FALSE(error);
        ASSERT_TRUE(project->Core().OpenCores());
        RevitAMP section;
        EXPECT_FALSE(section.SetProject(project->Core()));
        project->Core().Close();
    }
}

TEST(ProjectSections, AnEmptyProjectHasAnEmptySectionAndNothingToSnapTo) {
    test::ScratchFolder folder;
    const CString file = folder / L"p.prj";
    test::WriteTinyProject(test::MakeTinyProject({}), file);
    auto opened = detail::OpenProject::Load(file);
    ASSERT_TRUE(opened->Core().OpenCores());
    RevitAMP section;
    ASSERT_TRUE(section.SetProject(opened->Core()));
    SectionCounts counts;
    EXPECT_TRUE(section.StreamPlaneXZ(0x1F, {}, &counts));
    EXPECT_EQ(counts.Total(), 0u);
    std::vector<PickingRay> rays(1);
    rays[0].direction = {1, 0, 0};
    SnappedPoint one;
    EXPECT_TRUE(section.SnapInProject(rays, {&one, 1}));
    EXPECT_FALSE(one.Found());
}

}  // namespace
}  // namespace orvix
