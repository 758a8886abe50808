// SPDX-License-Identifier: GPL-3.0-or-later
// What a host sees of an import in tasks, and what it refuses.
#include "importer/import_tasks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "importer/tasks/task_name.h"
#include "importer/write/project_publisher.h"
#include "orvix/platform/path.h"
#include "support/scratch_folder.h"
#include "tests/importer/import_oracle.h"
#include "tests/importer/spoilt_file.h"

namespace orvix::importer::test {
namespace {

using orvix::test::ScratchFolder;
using orvix::test::WriteText;
using testing::ElementsAre;
using testing::HasSubstr;

std::string Lines(int count) {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += std::to_string(i % 17) + ".25 " + std::to_string(i % 5) + " " +
                std::to_string(i % 3) + "\n";
    return text;
}

class ImportTasksTest : public testing::Test {
protected:
    ImportTasksTest() {
        WriteText(folder_ / L"a.xyz", Lines(400));
        WriteText(folder_ / L"b.xyz", Lines(300));
    }
    [[nodiscard]] std::vector<CString> Inputs() const {
        return {folder_ / L"a.xyz", folder_ / L"b.xyz"};
    }
    [[nodiscard]] CString Project() const { return folder_ / L"p.prj"; }
    Expected<ImportTasks> Begin(const ImportOptions& options = {}) {
        return ImportTasks::Begin(Inputs(), Project(), options);
    }

    ScratchFolder folder_;
};

// BEHAVIOUR I27
TEST_F(ImportTasksTest, AreDrivenFromOutsideToTheProjectOfOneCall) {
    const ImportOptions options;
    ASSERT_TRUE(Begin(options));
    std::vector<std::string> order;
    std::optional<ImportReport> report;
    for (;;) {
        auto tasks = ImportTasks::Open(Project(), options.memoryLimitBytes, 1);
        if (!tasks) break;
        const auto ready = tasks->Ready();
        ASSERT_TRUE(ready);
        for (const std::string& task : *ready) {
            auto done = tasks->Run(task);
            ASSERT_TRUE(done) << done.error().message;
            order.push_back(task);
            if (*done) report = std::move(**done);
        }
    }
    EXPECT_THAT(order, ElementsAre("survey/0", "survey/1", "sort/0", "plan", "merge/0", "finish",
                                   "publish"));
    ASSERT_TRUE(report);
    EXPECT_EQ(report->written, 700u);
    const CString other = folder_ / L"q.prj";
    ASSERT_TRUE(Import(Inputs(), other, options));
    EXPECT_TRUE(ReadProject(Project()) == ReadProject(other));
    EXPECT_EQ(ImportTasks::Open(Project(), options.memoryLimitBytes, 1).error().code,
              ErrorCode::BadInput);
}

// BEHAVIOUR I27
TEST_F(ImportTasksTest, AreNotContinuedForAnotherImport) {
    ASSERT_TRUE(Begin());
    const auto refusal = [&](const auto& begun) {
        EXPECT_FALSE(begun);
        return begun ? std::string() : begun.error().message;
    };
    ImportOptions other;
    other.unit = LengthUnit::Foot;
    EXPECT_THAT(refusal(Begin(other)), HasSubstr("--unit"));
    other = {};
    other.skeleton = SkeletonSize::OneMetre;
    EXPECT_THAT(refusal(Begin(other)), HasSubstr("--skeleton"));
    EXPECT_THAT(
        refusal(ImportTasks::Begin({folder_ / L"b.xyz", folder_ / L"a.xyz"}, Project(), {})),
        HasSubstr("inputs"));
    other = {};
    other.threads = 1;
    other.memoryLimitBytes = 1u << 28;
    EXPECT_TRUE(Begin(other));
    WriteText(folder_ / L"b.xyz", Lines(299));
    EXPECT_THAT(refusal(Begin()), HasSubstr("b.xyz changed since its import began (its size)"));
    std::string same = Lines(300);
    same[0] = '9';
    WriteText(folder_ / L"b.xyz", same);
    EXPECT_THAT(refusal(Begin()), HasSubstr("(its content)"));
    EXPECT_THAT(refusal(ImportTasks::Open(Project(), 0, 1)), HasSubstr("(its content)"));
    // Without them the import begins anew.
    EXPECT_TRUE(Import(Inputs(), Project(), {}));
    EXPECT_THAT(folder_.Names(), ElementsAre(L"a.xyz", L"b.xyz", L"p.prj", L"p_Project_Files"));
}

// BEHAVIOUR I27
TEST_F(ImportTasksTest, RefuseNotesThatAreNotTheirOwn) {
    auto tasks = Begin();
    ASSERT_TRUE(tasks);
    ASSERT_TRUE(tasks->Run("survey/0"));
    FlipBit(platform::JoinPath(tasks->Folder(), L"survey_0.json"), 9);
    ASSERT_TRUE(tasks->Run("survey/1"));
    auto again = ImportTasks::Open(Project(), 1u << 28, 1);
    ASSERT_TRUE(again);
    const auto ready = again->Ready();
    ASSERT_FALSE(ready);
    EXPECT_EQ(ready.error().code, ErrorCode::Damaged);
    EXPECT_THAT(ready.error().message, HasSubstr("survey_0.json"));
}

TEST_F(ImportTasksTest, RefuseNamesThatTheyDoNotHaveAndAreGivenUp) {
    auto tasks = Begin();
    ASSERT_TRUE(tasks);
    for (const char* name :
         {"", "survey", "survey/", "survey/2", "survey/00", "sort/0/1", "join/0/0", "plan/0",
          "finish ", "merge/-1", "merge/99999999999999999999999"})
        EXPECT_FALSE(tasks->Run(name)) << name;
    EXPECT_FALSE(ImportTasks::Open(folder_ / L"q.prj", 1u << 28, 1));
    ASSERT_TRUE(ImportTasks::Clear(Project()));
    EXPECT_FALSE(ImportTasks::Clear(Project()));
    EXPECT_THAT(folder_.Names(), ElementsAre(L"a.xyz", L"b.xyz"));
    for (const char* name :
         {"survey/0", "sort/17", "join/1/3", "plan", "merge/3", "finish", "publish"})
        EXPECT_EQ(TextOf(*TaskOf(name)), name);
}

// Runs what can run until nothing but the last task is left.
void RunAllButPublish(ImportTasks& tasks) {
    for (auto ready = tasks.Ready(); ready->front() != "publish"; ready = tasks.Ready()) {
        for (const std::string& task : *ready) ASSERT_TRUE(tasks.Run(task));
    }
}

// BEHAVIOUR I30
TEST_F(ImportTasksTest, OfAnImportThatWasGivenUpChangeNothingOfTheNext) {
    auto old = Begin();
    ASSERT_TRUE(old);
    RunAllButPublish(*old);
    auto late = ImportTasks::Open(Project(), 1u << 28, 1);
    ASSERT_TRUE(late);
    ASSERT_TRUE(ImportTasks::Clear(Project()));
    auto next = ImportTasks::Begin({folder_ / L"b.xyz"}, Project(), {});
    ASSERT_TRUE(next);
    for (const char* task : {"survey/0", "sort/0", "plan", "merge/0", "finish"})
        EXPECT_FALSE(late->Run(task)) << task;
    EXPECT_TRUE(next->Done()->empty());
    RunAllButPublish(*next);
    EXPECT_FALSE(late->Run("merge/0"));
    const auto report = next->Run("publish");
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_EQ((*report)->written, 300u);
    EXPECT_FALSE(late->Run("finish"));
    EXPECT_THAT(folder_.Names(), ElementsAre(L"a.xyz", L"b.xyz", L"p.prj", L"p_Project_Files"));
}

// As a process leaves it that is killed between the renames and the clearing up.
class PublishedByHalf : public ImportTasksTest {
protected:
    PublishedByHalf() {
        auto tasks = Begin();
        RunAllButPublish(*tasks);
        auto publisher = ProjectPublisher::Begin(Project(), ProjectPublisher::Existing::Keep,
                                                 ProjectPublisher::Ended::Continue);
        EXPECT_TRUE(publisher->Publish());
        publisher->Leave();
        whole_ = ReadProject(Project());
        whole_.erase("importing");
    }
    ProjectBytes whole_;
};

// BEHAVIOUR I27
TEST_F(PublishedByHalf, IsThereWhoeverLooksAndIsPublishedOnce) {
    auto tasks = ImportTasks::Open(Project(), 1u << 28, 1);
    ASSERT_TRUE(tasks);
    EXPECT_THAT(*tasks->Ready(), ElementsAre("publish"));
    EXPECT_FALSE(platform::PathExists(folder_ / L"p.importing.prj"));
    const auto report = tasks->Run("publish");
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_EQ((*report)->written, 700u);
    EXPECT_TRUE(ReadProject(Project()) == whole_);
    EXPECT_THAT(folder_.Names(), ElementsAre(L"a.xyz", L"b.xyz", L"p.prj", L"p_Project_Files"));
}

// BEHAVIOUR I27
TEST_F(PublishedByHalf, IsTheAnswerToTheSameImportAlone) {
    ImportOptions options;
    options.resume = true;
    const auto same = Import(Inputs(), Project(), options);
    ASSERT_TRUE(same) << same.error().message;
    EXPECT_EQ(same->written, 700u);
    EXPECT_TRUE(ReadProject(Project()) == whole_);
}

TEST_F(PublishedByHalf, IsReplacedByAnotherImport) {
    ImportOptions options;
    options.resume = options.overwrite = true;
    const auto other = Import({folder_ / L"b.xyz"}, Project(), options);
    ASSERT_TRUE(other) << other.error().message;
    EXPECT_EQ(other->written, 300u);
    EXPECT_THAT(folder_.Names(), ElementsAre(L"a.xyz", L"b.xyz", L"p.prj", L"p_Project_Files"));
}

}  // namespace
}  // namespace orvix::importer::test
