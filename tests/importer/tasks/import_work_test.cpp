// SPDX-License-Identifier: GPL-3.0-or-later
// An import in tasks gives the bytes of an import at once, whoever runs what, how often, and whatever
// became of a run meanwhile.
#include "importer/tasks/import_work.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <thread>

#include "importer/import_scans.h"
#include "importer/tasks/report_note.h"
#include "importer/write/project_publisher.h"
#include "orvix/platform/path.h"
#include "support/scratch_folder.h"
#include "tests/importer/import_oracle.h"
#include "tests/importer/memory_scan.h"
#include "tests/importer/spoilt_file.h"

namespace orvix::importer::test {
namespace {

using orvix::test::ScratchFolder;
using testing::ElementsAre;

// Points of several 1000 cm cells, some of them twice, some no number, in two scans of one input
// and a second input.
std::vector<MemoryScan> SomeScans() {
    std::mt19937 random(7);
    std::vector<MemoryScan> scans(2);
    for (MemoryScan& scan : scans) {
        scan.pointsPerPiece = 350;
        for (int i = 0; i < 6000; ++i) {
            ScanPoint p;
            p.x = static_cast<double>(random() % 2500) * 0.01;
            p.y = static_cast<double>(random() % 40) * 0.3;
            p.z = static_cast<double>(random() % 3);
            p.intensity = static_cast<float>(random() % 4000);
            p.red = static_cast<std::uint16_t>(random() % 65'536);
            if (i % 1000 == 3) p.x = std::numeric_limits<double>::quiet_NaN();
            scan.points.push_back(p);
        }
        scan.malformedPerPiece = 2;
    }
    scans[0].info.scans.resize(2);
    scans[0].info.scans[1].name = "second";
    scans[0].piecesPerScan = 9;
    return scans;
}

MemoryPlan LargePlan() {
    MemoryPlan plan = SmallPlan();
    plan.poolBytes = 1u << 30;
    return plan;
}

/// A process that takes part in an import.
struct Process {
    Process(const std::vector<MemoryScan>& scans, const ImportOptions& options,
            ProjectManager& working, const CString& folder, const std::string& text)
        : inputs(Open(scans)),
          plan(SmallPlan()),
          meter({}),
          pool(meter, 2),
          work({inputs, options, plan.poolBytes / kAlivePointBytes, working, folder, text}, plan,
               pool) {}

    std::vector<ScanInput> inputs;
    MemoryPlan plan;
    ProgressMeter meter;
    ImportPool pool;
    ImportWork work;
};

/// An import in tasks, laid out beside its target.
class TaskedImport {
public:
    TaskedImport(std::vector<MemoryScan> scans, ImportOptions options)
        : scans_(std::move(scans)),
          options_(std::move(options)),
          publisher_(*ProjectPublisher::Begin(Project(), ProjectPublisher::Existing::Keep)),
          folder_(*publisher_.TasksFolder()) {}

    [[nodiscard]] CString Project() const { return scratch_ / L"p.prj"; }
    [[nodiscard]] const CString& Folder() const { return folder_; }
    std::unique_ptr<Process> Start() {
        return std::make_unique<Process>(scans_, options_, publisher_.Working(), folder_,
                                         publisher_.Text());
    }
    ImportReport Report() { return *ReadReport(TaskNotes(folder_)); }
    ProjectBytes Publish() {
        EXPECT_TRUE(publisher_.Publish());
        EXPECT_THAT(publisher_.Clear(), testing::IsEmpty());
        EXPECT_THAT(scratch_.Names(), ElementsAre(L"p.prj", L"p_Project_Files"));
        return ReadProject(Project());
    }

private:
    ScratchFolder scratch_;
    std::vector<MemoryScan> scans_;
    ImportOptions options_;
    ProjectPublisher publisher_;
    CString folder_;
};

struct AtOnce {
    ProjectBytes bytes;
    ImportReport report;
};

AtOnce ImportAtOnce(const std::vector<MemoryScan>& scans, const ImportOptions& options) {
    const ScratchFolder folder;
    const auto report = ImportScans(Open(scans), folder / L"p.prj", options, LargePlan());
    EXPECT_TRUE(report);
    return {ReadProject(folder / L"p.prj"), *report};
}

void ExpectSame(const ImportReport& report, const ImportReport& expected) {
    EXPECT_EQ(report.read, expected.read);
    EXPECT_EQ(report.written, expected.written);
    EXPECT_EQ(report.rejected, expected.rejected);
    EXPECT_EQ(report.skeletonPoints, expected.skeletonPoints);
    EXPECT_EQ(report.stations, expected.stations);
    EXPECT_EQ(report.checksum, expected.checksum);
    EXPECT_EQ(report.origin, expected.origin);
    EXPECT_EQ(report.warnings, expected.warnings);
}

struct Way {
    unsigned seed;
    bool dedupe;
    SkeletonSize skeleton;
};

class ImportInTasks : public testing::TestWithParam<Way> {};

// BEHAVIOUR I27, I31
TEST_P(ImportInTasks, GivesTheBytesOfAnImportAtOnceInAnyOrder) {
    ImportOptions options;
    options.dedupe = GetParam().dedupe;
    options.skeleton = GetParam().skeleton;
    const std::vector<MemoryScan> scans = SomeScans();
    TaskedImport import(scans, options);
    std::mt19937 random(GetParam().seed);
    std::map<TaskKind, std::size_t> ran;
    auto process = import.Start();
    for (;;) {
        auto ready = process->work.Ready();
        ASSERT_TRUE(ready) << ready.error().message;
        if (ready->empty()) break;
        if (options.dedupe && ready->front().kind == TaskKind::Merge) {
            EXPECT_EQ(ready->size(), 1u);
        }
        std::shuffle(ready->begin(), ready->end(), random);
        for (const TaskName& task : *ready) {
            if (random() % 2 == 0) process = import.Start();
            auto twin = import.Start();
            ++ran[task.kind];
            Expected<void> twice;
            std::thread other([&] { twice = twin->work.Run(task); });
            const auto done = process->work.Run(task);
            other.join();
            ASSERT_TRUE(done) << TextOf(task) << ": " << done.error().message;
            ASSERT_TRUE(twice) << TextOf(task) << ": " << twice.error().message;
        }
    }
    EXPECT_EQ(ran[TaskKind::Survey], 2u);
    EXPECT_GT(ran[TaskKind::Sort], 5u);
    EXPECT_GT(ran[TaskKind::Join], 2u);
    EXPECT_GT(ran[TaskKind::Merge], 5u);
    const AtOnce expected = ImportAtOnce(scans, options);
    ExpectSame(import.Report(), expected.report);
    EXPECT_TRUE(import.Publish() == expected.bytes);
}

INSTANTIATE_TEST_SUITE_P(Ways, ImportInTasks,
                         testing::Values(Way{1, false, SkeletonSize::TenCentimetres},
                                         Way{2, true, SkeletonSize::OneCentimetre},
                                         Way{3, false, SkeletonSize::OneMetre}));

// A byte of a file is turned while no process is at work, or the file is gone.
class ImportWithASpoiltRun : public testing::TestWithParam<std::tuple<const wchar_t*, bool>> {};

// BEHAVIOUR I29
TEST_P(ImportWithASpoiltRun, MakesItOnceMore) {
    const auto& [name, gone] = GetParam();
    const std::vector<MemoryScan> scans = SomeScans();
    TaskedImport import(scans, {});
    const CString path = platform::JoinPath(import.Folder(), name);
    {
        const auto process = import.Start();
        while (!platform::PathExists(path)) {
            const auto ready = process->work.Ready();
            ASSERT_TRUE(ready);
            for (const TaskName& task : *ready) {
                if (platform::PathExists(path)) break;
                ASSERT_TRUE(process->work.Run(task));
            }
        }
    }
    std::error_code error;
    if (gone) platform::RemoveFile(path, error);
    if (!gone) FlipBit(path, 100);
    ASSERT_FALSE(error);
    const auto process = import.Start();
    ASSERT_TRUE(process->work.CheckRuns());
    std::size_t tasks = 0;
    for (auto ready = process->work.Ready(); !ready->empty(); ready = process->work.Ready()) {
        for (const TaskName& task : *ready) {
            const auto done = process->work.Run(task);
            ASSERT_TRUE(done) << done.error().message;
            ++tasks;
        }
    }
    EXPECT_GT(tasks, 3u);
    EXPECT_TRUE(import.Publish() == ImportAtOnce(scans, {}).bytes);
}

INSTANTIATE_TEST_SUITE_P(Files, ImportWithASpoiltRun,
                         testing::Combine(testing::Values(L"sort_1.points", L"sort_0.keys",
                                                          L"join_1_0.points", L"join_1_1.keys"),
                                          testing::Bool()));

// BEHAVIOUR I27, I28
TEST(ImportThatIsResumed, GoesOnWhereverItWasCancelled) {
    const std::vector<MemoryScan> scans = SomeScans();
    const AtOnce expected = ImportAtOnce(scans, {});
    ImportOptions options;
    options.resume = true;
    for (const ImportPhase phase :
         {ImportPhase::Scan, ImportPhase::Sort, ImportPhase::Write, ImportPhase::Index,
          ImportPhase::Skeleton, ImportPhase::Finish}) {
        const ScratchFolder folder;
        // Inputs that are known again are files.
        for (const wchar_t* name : {L"scan 0", L"scan 1"})
            orvix::test::WriteText(folder / name, "what is in it does not matter");
        std::vector<ScanInput> inputs = Open(scans);
        for (ScanInput& input : inputs) input.path = folder / input.path.c_str();
        const auto cancelled =
            ImportScans(inputs, folder / L"p.prj", options, SmallPlan(),
                        [&](const ImportProgress& progress) { return progress.phase != phase; });
        ASSERT_FALSE(cancelled);
        EXPECT_EQ(cancelled.error().code, ErrorCode::Cancelled);
        EXPECT_THAT(cancelled.error().message, testing::HasSubstr("--resume"));
        EXPECT_FALSE(platform::PathExists(folder / L"p.prj"));
        const auto report = ImportScans(inputs, folder / L"p.prj", options, SmallPlan());
        ASSERT_TRUE(report) << report.error().message;
        ExpectSame(*report, expected.report);
        EXPECT_TRUE(ReadProject(folder / L"p.prj") == expected.bytes);
        EXPECT_THAT(folder.Names(),
                    ElementsAre(L"p.prj", L"p_Project_Files", L"scan 0", L"scan 1"));
    }
}

}  // namespace
}  // namespace orvix::importer::test
