// SPDX-License-Identifier: GPL-3.0-or-later
#include "edits/class_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "orvix/platform/path.h"
#include "parallel/pool.h"
#include "support/scratch_folder.h"
#include "tests/support/tiny_project.h"

namespace orvix::edits {
namespace {

using testing::HasSubstr;

class ClassWriterTest : public testing::Test {
protected:
    ClassWriterTest() {
        test::WriteTinyProject(test::MakeTinyProject(test::RoomPoints(3)), project_);
    }

    Expected<std::uint64_t> Apply(bool goOn) {
        const reports::Classification classes{{-100, 1, 100}, {1, 1}, 1, 0};
        return ApplyClasses(project_, detail::ProjectStamp::Of(project_), reports::Field::Height,
                            classes, [goOn](double, std::uint64_t) { return goOn; });
    }

    test::ScratchFolder folder_;
    CString project_ = folder_ / L"p.prj";
};

TEST_F(ClassWriterTest, StopsWhenAskedAndSaysHowFarItCame) {
    const auto cancelled = Apply(false);
    ASSERT_FALSE(cancelled);
    EXPECT_EQ(cancelled.error().code, ErrorCode::Cancelled);
    EXPECT_THAT(cancelled.error().message, HasSubstr("run it again"));
    EXPECT_TRUE(Apply(true));
}

// BEHAVIOUR P17
TEST_F(ClassWriterTest, WritesNothingIntoAnotherProjectOfTheName) {
    const auto before = test::ReadBytes(folder_ / L"p_Project_Files/Index/Grid.pts");
    const reports::Classification classes{{-100, 1, 100}, {1, 1}, 1, 0};
    const auto moved = detail::ProjectStamp::Of(project_);
    std::error_code error;
    platform::RemoveFile(folder_ / L"p_Project_Files/head", error);
    test::WriteTinyProject(test::MakeTinyProject(test::RoomPoints(4)), project_);
    const auto other = test::ReadBytes(folder_ / L"p_Project_Files/Index/Grid.pts");
    ASSERT_NE(other, before);
    const auto refused = ApplyClasses(project_, moved, reports::Field::Height, classes,
                                      [](double, std::uint64_t) { return true; });
    ASSERT_FALSE(refused);
    EXPECT_THAT(refused.error().message, HasSubstr("was replaced or removed"));
    EXPECT_EQ(test::ReadBytes(folder_ / L"p_Project_Files/Index/Grid.pts"), other);
}

// More points than one job has.
TEST_F(ClassWriterTest, WritesTheSameBytesOnAnyNumberOfThreads) {
    const auto project = test::MakeTinyProject(test::RoomPoints(6, 350'000));
    const reports::Classification classes{{-100, -1, 0, 1, 100}, {1, 1, 1, 1}, 1, 0};
    std::vector<std::vector<std::uint8_t>> files;
    for (const unsigned threads : {1U, 4U}) {
        test::WriteTinyProject(project, project_);
        const parallel::Pool pool(threads, {}, "");
        std::uint64_t seen = 0;
        const auto applied = ApplyClasses(
            project_, detail::ProjectStamp::Of(project_), reports::Field::Height, classes,
            [&seen](double, std::uint64_t points) { return (seen = points) > 0; },
            [&pool](std::size_t jobs, const detail::BlockJob& job) {
                return pool.RunJobs(jobs, job);
            });
        ASSERT_TRUE(applied) << applied.error().message;
        EXPECT_EQ(*applied, 350'000U);
        EXPECT_LE(seen, 350'000U);
        files.push_back(test::ReadBytes(folder_ / L"p_Project_Files/Index/Grid.pts"));
        files.push_back(test::ReadBytes(folder_ / L"p_Project_Files/Index/GridSkelet.datapts"));
    }
    EXPECT_EQ(files[0], files[2]);
    EXPECT_EQ(files[1], files[3]);
    for (std::size_t i = 0; i < project.points.size(); i += 7) {
        const float z = project.points[i].z;
        const int bin = z > 1 ? 4 : z > 0 ? 3 : z > -1 ? 2 : 1;
        if (std::fabs(z - std::round(z)) < 0.01F) continue;  // may share a bin with the boundary
        ASSERT_EQ(files[0][i * 24 + 22], bin) << z;
    }
}

TEST_F(ClassWriterTest, RefusesASkeletonWhoseFilesDisagree) {
    const CString path = folder_ / L"p_Project_Files/Index/GridSkelet.datapts";
    const auto bytes = test::ReadBytes(path);
    test::WriteBytes(path, bytes.data(), bytes.size() - 12);
    const auto refused = Apply(true);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().code, ErrorCode::Damaged);
    EXPECT_THAT(refused.error().message, HasSubstr("GridSkelet.datapts"));
}

}  // namespace
}  // namespace orvix::edits
