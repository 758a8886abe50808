// SPDX-License-Identifier: GPL-3.0-or-later
#include "edits/class_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
        return ApplyClasses(project_, reports::Field::Height, classes,
                            [goOn](double, std::uint64_t) { return goOn; });
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
