// SPDX-License-Identifier: GPL-3.0-or-later
#include "edits/edited_sums.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "edits/class_writer.h"
#include "orvix/platform/path.h"
#include "orvix/project/check/project_check.h"
#include "orvix/project/covered_files.h"
#include "orvix/project/project_core.h"
#include "orvix/project/project_paths.h"
#include "support/scratch_folder.h"
#include "tests/support/tiny_project.h"

namespace orvix::edits {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

// BEHAVIOUR K9
class EditedSumsTest : public testing::Test {
protected:
    EditedSumsTest() {
        test::WriteTinyProject(test::MakeTinyProject(test::RoomPoints(3)), project_);
        detail::BuildPaths(paths_, project_);
        EXPECT_TRUE(detail::SumProject(paths_, {}, detail::RunOneByOne));
    }

    Expected<std::uint64_t> Apply(const std::function<bool()>& goOn = [] { return true; }) {
        const reports::Classification classes{{-100, 1, 100}, {1, 1}, 1, 0};
        return ApplyClasses(project_, detail::ProjectStamp::Of(project_), reports::Field::Height,
                            classes, [goOn](double, std::uint64_t) { return goOn(); });
    }

    detail::CheckReport Check() {
        detail::CheckOptions options;
        options.sums = detail::SumDepth::All;
        return *detail::CheckProject(project_, options);
    }

    void OpenForWriting() {
        CProjectCore core;
        core.Open(paths_.gridSkeletCoordPts, paths_.gridSkeletDataPts, paths_.gridPts, 5,
                  paths_.grid1000cmIdx, paths_.grid10cmIdx, paths_.grid1to10cmIdx, paths_.gridIdx);
        EXPECT_TRUE(core.OpenCores4Write());
        core.Close();
    }

    test::ScratchFolder folder_;
    CString project_ = folder_ / L"p.prj";
    ProjectManager paths_;
};

TEST_F(EditedSumsTest, FollowAnEdit) {
    const auto before = test::ReadBytes(paths_.gridPts);
    ASSERT_TRUE(Apply());
    EXPECT_NE(test::ReadBytes(paths_.gridPts), before);
    const auto report = Check();
    EXPECT_TRUE(report.Ok());
    EXPECT_THAT(report.sums.written, IsEmpty());
    EXPECT_GE(report.sums.files, 17u);
}

TEST_F(EditedSumsTest, AreNotMadeOfDamagedPoints) {
    auto points = test::ReadBytes(paths_.gridPts);
    points[13] ^= 4;
    test::WriteBytes(paths_.gridPts, points.data(), points.size());
    const auto refused = Apply();
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().code, ErrorCode::Damaged);
    EXPECT_THAT(refused.error().message, HasSubstr("nothing was changed"));
    EXPECT_EQ(test::ReadBytes(paths_.gridPts), points);
    EXPECT_FALSE(Check().Ok());
}

TEST_F(EditedSumsTest, AreGivenUpByAnEditThatEndsEarly) {
    EXPECT_FALSE(Apply([] { return false; }));
    auto report = Check();
    EXPECT_TRUE(report.Ok());
    EXPECT_THAT(report.sums.written, SizeIs(3));
    EXPECT_TRUE(Apply());
    EXPECT_THAT(Check().sums.written, SizeIs(3)) << "only a repair looks at the points anew";
}

// As an edit leaves it that is killed while it writes the sums anew.
TEST_F(EditedSumsTest, ClearAwayWhatAnEndedEditLeftOfTheManifest) {
    OpenForWriting();
    const CString part = detail::UnfinishedManifestPath(detail::ManifestPath(paths_));
    test::WriteBytes(part, "Orvix", 5);
    EXPECT_TRUE(Apply());
    EXPECT_FALSE(platform::PathExists(part));
}

TEST_F(EditedSumsTest, AreGivenUpWhereAnotherOpensThePointsForWritingMeanwhile) {
    EXPECT_TRUE(Apply([this] {
        OpenForWriting();
        return true;
    }));
    EXPECT_THAT(Check().sums.written, SizeIs(3));
}

}  // namespace
}  // namespace orvix::edits
