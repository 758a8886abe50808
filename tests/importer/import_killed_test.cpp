// SPDX-License-Identifier: GPL-3.0-or-later
// Ends that only a process of its own can meet: killed at once, and a disk that fills up.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "importer/import_scans.h"
#include "orvix/project/project_manager.h"
#include "support/scratch_folder.h"
#include "tests/importer/import_oracle.h"
#include "tests/importer/memory_scan.h"
#include "tests/support/process.h"

namespace orvix::importer::test {
namespace {

using orvix::test::ScratchFolder;
using testing::ElementsAre;

/// Imports in a process of its own; its exit code.
int RunVictim(const CString& project, std::size_t points, const char* way, std::uint64_t number) {
    return orvix::test::RunProcess({ORVIX_IMPORT_VICTIM, platform::ToUtf8(project),
                                    std::to_string(points), way, std::to_string(number)})
        .exitCode;
}

class ImportKilledIn : public testing::TestWithParam<ImportPhase> {};

TEST_P(ImportKilledIn, LeavesTheOldProjectAndIsClearedAwayByTheNextImport) {
    const ScratchFolder folder;
    const CString project = folder / L"p.prj";
    ImportOptions options;
    options.overwrite = true;
    ASSERT_TRUE(ImportScans(Open(std::vector{LineScan(10)}), project, options, SmallPlan()));
    const ProjectBytes before = ReadProject(project);
    ASSERT_EQ(RunVictim(project, 9000, "kill", static_cast<std::uint64_t>(GetParam())),
              orvix::test::kKilled);
    EXPECT_TRUE(ReadProject(project) == before);
    EXPECT_TRUE(ProjectManager().Set(project, false));
    const auto again = ImportScans(Open(std::vector{LineScan(20)}), project, options, SmallPlan());
    ASSERT_TRUE(again) << again.error().message;
    EXPECT_THAT(folder.Names(), ElementsAre(L"p.prj", L"p_Project_Files"));
}

INSTANTIATE_TEST_SUITE_P(Phases, ImportKilledIn,
                         testing::Values(ImportPhase::Scan, ImportPhase::Sort, ImportPhase::Write,
                                         ImportPhase::Skeleton, ImportPhase::Finish));

// A limit on the size of files fails writes part of the way, as a full disk does.
class ImportOnADiskWith : public testing::TestWithParam<std::uint64_t> {};

// BEHAVIOUR I24
TEST_P(ImportOnADiskWith, TooLittleSpaceEndsWithoutDebris) {
    const ScratchFolder folder;
    const int code = RunVictim(folder / L"p.prj", 30'000, "limit", GetParam());
    if (code == 77) GTEST_SKIP() << "this system sets no limit to the size of files";
    EXPECT_EQ(code, 2);
    EXPECT_THAT(folder.Names(), testing::IsEmpty());
}

// For the runs, for Grid.pts, for an index, for a skeleton file, for a histogram.
INSTANTIATE_TEST_SUITE_P(Bytes, ImportOnADiskWith,
                         testing::Values(10'000, 60'000, 90'000, 40'000, 11));

}  // namespace
}  // namespace orvix::importer::test
