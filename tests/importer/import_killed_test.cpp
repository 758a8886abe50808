// SPDX-License-Identifier: GPL-3.0-or-later
// Ends that only a process of its own can meet: killed at once, and a disk that fills up.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "importer/import_scans.h"
#include "orvix/project/project_manager.h"
#include "tests/importer/import_oracle.h"
#include "tests/importer/memory_scan.h"
#include "tests/support/scratch_folder.h"

namespace orvix::importer::test {
namespace {

using orvix::test::ScratchFolder;
using testing::ElementsAre;

MemoryScan Line(std::size_t points) {
    MemoryScan scan;
    scan.points.resize(points);
    for (std::size_t i = 0; i < points; ++i) scan.points[i].x = static_cast<double>(i) * 0.013;
    return scan;
}

/// Runs `body` in a process of its own; returns its wait status.
template <class Body>
int InChild(const Body& body) {
    const pid_t child = fork();
    if (child == 0) _exit(body());
    int status = 0;
    waitpid(child, &status, 0);
    return status;
}

class ImportKilledIn : public testing::TestWithParam<ImportPhase> {};

TEST_P(ImportKilledIn, LeavesTheOldProjectAndIsClearedAwayByTheNextImport) {
    const ScratchFolder folder;
    const CString project = folder / L"p.prj";
    ImportOptions options;
    options.overwrite = true;
    ASSERT_TRUE(ImportScans(Open(std::vector{Line(10)}), project, options, SmallPlan()));
    const ProjectBytes before = ReadProject(project);
    const int status = InChild([&] {
        const auto report = ImportScans(Open(std::vector{Line(9000)}), project, options,
                                        SmallPlan(), [&](const ImportProgress& progress) {
                                            if (progress.phase == GetParam()) raise(SIGKILL);
                                            return true;
                                        });
        return report ? 0 : 1;
    });
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_TRUE(ReadProject(project) == before);
    EXPECT_TRUE(ProjectManager().Set(project, false));
    const auto again = ImportScans(Open(std::vector{Line(20)}), project, options, SmallPlan());
    ASSERT_TRUE(again) << again.error().message;
    EXPECT_THAT(folder.Names(), ElementsAre(L"p.prj", L"p_Project_Files"));
}

INSTANTIATE_TEST_SUITE_P(Phases, ImportKilledIn,
                         testing::Values(ImportPhase::Scan, ImportPhase::Sort, ImportPhase::Write,
                                         ImportPhase::Skeleton, ImportPhase::Finish));

// A limit on the size of files fails writes part of the way, as a full disk does.
class ImportOnADiskWith : public testing::TestWithParam<rlim_t> {};

TEST_P(ImportOnADiskWith, TooLittleSpaceEndsWithoutDebris) {
    const ScratchFolder folder;
    const int status = InChild([&] {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{GetParam(), RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &limit);
        const auto report =
            ImportScans(Open(std::vector{Line(30'000)}), folder / L"p.prj", {}, SmallPlan());
        return !report && report.error().code == ErrorCode::NoSpace ? 0 : 1;
    });
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_THAT(folder.Names(), testing::IsEmpty());
}

// For the runs, for Grid.pts, for an index, for a skeleton file, for a histogram.
INSTANTIATE_TEST_SUITE_P(Bytes, ImportOnADiskWith,
                         testing::Values(10'000, 60'000, 90'000, 40'000, 11));

}  // namespace
}  // namespace orvix::importer::test
