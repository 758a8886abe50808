// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/project_walk.h"

#include <gtest/gtest.h>

#include "orvix/platform/file.h"
#include "orvix/points/record_hash.h"
#include "support/scratch_folder.h"
#include "tests/support/tiny_project.h"

namespace orvix::reports {
namespace {

class ProjectWalkTest : public testing::Test {
protected:
    // Cells of more points than a batch has, and of few.
    ProjectWalkTest() {
        auto points = test::RoomPoints(4, 20'000);
        points.resize(100'000, points.front());
        project_ = test::MakeTinyProject(points);
        test::WriteTinyProject(project_, path_);
    }

    test::ScratchFolder folder_;
    CString path_ = folder_ / L"p.prj";
    test::TinyProject project_;
};

TEST_F(ProjectWalkTest, ReadsEveryPointOnceALevelOnAnyNumberOfThreads) {
    const std::uint64_t sum = detail::RecordHashSum(project_.points.data(), project_.points.size());
    for (const unsigned threads : {1U, 2U, 5U}) {
        std::uint64_t last = 0;
        const auto walked = WalkProject(
            path_,
            [&last](double, std::uint64_t points) {
                EXPECT_GE(points, last);
                last = points;
                return true;
            },
            threads);
        ASSERT_TRUE(walked) << walked.error().message;
        ASSERT_TRUE(walked->level10);
        EXPECT_EQ(walked->level1000.cells, project_.cells1000.size());
        EXPECT_EQ(walked->level100.cells, project_.cells100.size());
        EXPECT_EQ(walked->level10->cells, project_.cells10.size());
        for (const WalkLevel& level : {walked->level1000, walked->level100, *walked->level10}) {
            EXPECT_EQ(level.points, 100'000U);
            EXPECT_EQ(level.checksum, sum);
        }
        EXPECT_EQ(last, 100'000U);
    }
}

TEST_F(ProjectWalkTest, EndsAtTheFirstCellThatSkipsPointsOnAnyNumberOfThreads) {
    std::error_code error;
    auto file =
        platform::File::OpenReadWrite(folder_ / L"p_Project_Files/Index/Grid10cm.idx", error);
    const std::size_t cell = project_.cells10.size() - 1;
    const std::uint64_t offset = project_.cells10[cell].offset + 1;
    file.WriteAt(cell * sizeof(FineCellRecord) + offsetof(FineCellRecord, offset), &offset,
                 sizeof offset, error);
    ASSERT_FALSE(error);
    const auto alone = WalkProject(path_);
    const auto together = WalkProject(path_, {}, 4);
    ASSERT_FALSE(alone);
    ASSERT_FALSE(together);
    EXPECT_EQ(alone.error().code, ErrorCode::Damaged);
    EXPECT_EQ(together.error().message, alone.error().message);
}

TEST_F(ProjectWalkTest, StopsWhenItsCallerWishes) {
    const auto walked = WalkProject(
        path_, [](double, std::uint64_t) { return false; }, 3);
    ASSERT_FALSE(walked);
    EXPECT_EQ(walked.error().code, ErrorCode::Cancelled);
}

}  // namespace
}  // namespace orvix::reports
