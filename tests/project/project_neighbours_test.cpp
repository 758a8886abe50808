// SPDX-License-Identifier: GPL-3.0-or-later
// A project among other programs: its lock, its stamp, and its settings record.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "orvix/platform/path.h"
#include "orvix/project/access/open_project.h"
#include "orvix/project/access/project_lock.h"
#include "orvix/project/access/project_stamp.h"
#include "orvix/project/access/settings_update.h"
#include "orvix/project/project_settings_file.h"
#include "support/scratch_folder.h"
#include "tests/support/process.h"
#include "tests/support/tiny_project.h"

namespace orvix::detail {
namespace {

using testing::HasSubstr;

class ProjectAmongOthers : public testing::Test {
protected:
    ProjectAmongOthers() { Write(3); }

    void Write(std::uint32_t seed) {
        test::WriteTinyProject(test::MakeTinyProject(test::RoomPoints(seed)), project_);
    }

    [[nodiscard]] CString Under(const wchar_t* name) const {
        return folder_ / (std::wstring(L"p_Project_Files/") + name);
    }

    test::ScratchFolder folder_;
    CString project_ = folder_ / L"p.prj";
};

// BEHAVIOUR P16
TEST_F(ProjectAmongOthers, IsChangedByOneProgramAtATime) {
    {
        const auto lock = ProjectLock::Acquire(project_);
        ASSERT_TRUE(lock);
        const auto refused = ProjectLock::Acquire(project_);
        ASSERT_FALSE(refused);
        EXPECT_EQ(refused.error().code, ErrorCode::Failure);
        EXPECT_THAT(refused.error().message,
                    HasSubstr("is being changed by another program (process "));
        EXPECT_TRUE(OpenProject::Open(project_)) << "readers need no lock";
    }
    EXPECT_FALSE(platform::PathExists(ProjectLockPath(project_)));
    EXPECT_TRUE(ProjectLock::Acquire(project_));
    EXPECT_FALSE(ProjectLock::Acquire(folder_ / L"absent/p.prj"));
}

// BEHAVIOUR P17
TEST_F(ProjectAmongOthers, IsAnotherOneOnceItsFolderWasReplaced) {
    const auto opened = OpenProject::Open(project_);
    ASSERT_TRUE(opened);
    const ProjectStamp& stamp = (*opened)->Stamp();
    EXPECT_TRUE(stamp.RequireSame());
    ASSERT_TRUE(ChangeSettings(project_, [](PROJECT_SETTINGS& settings) {
        settings.usage = 1;
        return true;
    }));
    EXPECT_TRUE(stamp.RequireSame()) << "settings leave it the same project";
    (*opened)->Core().Close();
    std::error_code error;
    platform::Rename(folder_ / L"p_Project_Files", folder_ / L"aside", error);
    if (error) GTEST_SKIP() << "this system renames no folder whose files are open";
    EXPECT_FALSE(stamp.RequireSame()) << "it is gone";
    Write(3);
    const auto same = stamp.RequireSame();
    ASSERT_FALSE(same) << "equal points make it no equal project";
    EXPECT_THAT(same.error().message, HasSubstr("was replaced or removed by another program"));
}

TEST_F(ProjectAmongOthers, IsAnotherOneOnceItsHeadSaysOtherPoints) {
    const ProjectStamp stamp = ProjectStamp::Of(project_);
    auto head = test::ReadBytes(Under(L"head"));
    ASSERT_FALSE(head.empty());
    head[40] ^= 1;
    test::WriteBytes(Under(L"head"), head.data(), head.size());
    EXPECT_FALSE(stamp.RequireSame());
}

// BEHAVIOUR P18
TEST_F(ProjectAmongOthers, ReplacesItsSettingsWholeOrNotAtAll) {
    const auto former = test::ReadBytes(project_);
    ASSERT_TRUE(ChangeSettings(project_, [](PROJECT_SETTINGS&) { return false; }));
    EXPECT_EQ(test::ReadBytes(project_), former);
    ASSERT_TRUE(ChangeSettings(project_, [](PROJECT_SETTINGS& settings) {
        settings.aliveSplitSize = 0.25;
        return true;
    }));
    PROJECT_SETTINGS read{};
    ASSERT_TRUE(ReadSettings(project_, read));
    EXPECT_EQ(read.aliveSplitSize, 0.25);
    EXPECT_EQ(test::ReadBytes(project_).size(), kProjectFileBytes);
    EXPECT_EQ(folder_.Names(), (std::vector<std::wstring>{L"p.prj", L"p_Project_Files"}));
}

// BEHAVIOUR P18
TEST_F(ProjectAmongOthers, PutsNoDefaultsInTheirPlaceWhereSettingsCannotBeRead) {
    bool asked = false;
    EXPECT_FALSE(ChangeSettings(folder_ / L"p_Project_Files", [&](PROJECT_SETTINGS&) {
        return asked = true;
    })) << "a folder is no record";
    EXPECT_FALSE(
        ChangeSettings(folder_ / L"absent.prj", [&](PROJECT_SETTINGS&) { return asked = true; }));
    EXPECT_FALSE(asked);
    EXPECT_FALSE(platform::PathExists(folder_ / L"absent.prj"));
}

}  // namespace
}  // namespace orvix::detail
