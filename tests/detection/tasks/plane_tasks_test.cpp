// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/tasks/plane_tasks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <thread>

#include "orvix/platform/path.h"
#include "orvix/platform/text.h"
#include "support/scenes/synthetic_building.h"
#include "support/scratch_folder.h"
#include "tests/detection/opened_project.h"
#include "tests/detection/searched_building.h"

namespace orvix::detection {
namespace {

using test::SyntheticBuilding;

class PlaneTasksOfABuilding : public testing::Test {
protected:
    PlaneTasksOfABuilding()
        : project_(ImportBuilding(folder_, SyntheticBuilding({.points = 150'000}))),
          opened_(project_) {}

    PlaneTasks Begin(const PlaneSearchOptions& options, unsigned pieces) {
        EXPECT_TRUE(PlaneTasks::Clear(project_));
        auto tasks = PlaneTasks::Begin(project_, opened_.Core(), options, pieces);
        if (!tasks) throw std::runtime_error(tasks.error().message);
        return std::move(*tasks);
    }
    /// Runs all tasks, each opened anew, in an order left to chance; returns how many.
    std::size_t RunAll(unsigned threads = 1) {
        std::mt19937 random(5);
        std::size_t count = 0;
        for (;;) {
            auto ready = Open().State().ready;
            if (ready.empty()) return count;
            std::shuffle(ready.begin(), ready.end(), random);
            for (const std::string& name : ready) {
                PlaneTasks tasks = Open();
                const auto done = tasks.Run(name, threads, {});
                EXPECT_TRUE(done) << name << ": " << done.error().message;
                if (!done) return count;
                ++count;
            }
        }
    }
    PlaneTasks Open() {
        auto tasks = PlaneTasks::Open(project_, opened_.Core());
        if (!tasks) throw std::runtime_error(tasks.error().message);
        return std::move(*tasks);
    }
    std::vector<double> Finished() {
        const PlaneTasks tasks = Open();
        const auto search = PlaneSearch::Finish(opened_.Core(), tasks.Stages(), {});
        EXPECT_TRUE(search) << search.error().message;
        return search ? FingerprintOf(opened_.Core(), **search) : std::vector<double>();
    }
    std::vector<double> Plain(const PlaneSearchOptions& options) {
        return FingerprintOf(opened_.Core(), *opened_.Search(options));
    }
    std::vector<CString> Results() {
        std::error_code error;
        return platform::ListFolder(PlaneTasks::FolderOf(project_), error);
    }
    CString Result(const CString& name) {
        return platform::JoinPath(PlaneTasks::FolderOf(project_), name);
    }

    test::ScratchFolder folder_;
    CString project_;
    Opened opened_;
};

// BEHAVIOUR A19
TEST_F(PlaneTasksOfABuilding, GiveTheBitsOfOneSearchInAnyNumberOfPieces) {
    PlaneSearchOptions fine;
    fine.detail = Detail::Fine;
    fine.minArea = 0.3;
    for (const PlaneSearchOptions& options : {PlaneSearchOptions{}, fine}) {
        const auto plain = Plain(options);
        for (const unsigned pieces : {1U, 3U, 1000U}) {
            const PlaneTasks tasks = Begin(options, pieces);
            const std::size_t tiles = tasks.State().ready.size();
            EXPECT_LE(tiles, pieces);
            EXPECT_EQ(RunAll(pieces), 2 * tiles + 1);
            EXPECT_EQ(Finished(), plain) << pieces << " pieces";
        }
    }
}

// BEHAVIOUR A19
TEST_F(PlaneTasksOfABuilding, PlanLargerCellsWhereMemoryIsSmall) {
    PlaneSearchOptions options;
    options.memoryLimitBytes = 300'000;
    const auto plain = Plain(options);
    EXPECT_GT(opened_.Search(options)->Settings().cellSize, opened_.Search()->Settings().cellSize);
    Begin(options, 4);
    RunAll();
    EXPECT_EQ(Finished(), plain);
}

TEST_F(PlaneTasksOfABuilding, RunAgainWhereAResultIsGone) {
    Begin({}, 4);
    RunAll();
    const auto first = Finished();
    std::vector<CString> results = Results();
    ASSERT_EQ(results.size(), 10U);
    for (const CString& name : results) {
        if (name == L"plan") continue;
        const std::vector<std::uint8_t> before = test::ReadBytes(Result(name));
        std::error_code error;
        platform::RemoveFile(Result(name), error);
        EXPECT_GE(RunAll(2), 1U);
        EXPECT_EQ(test::ReadBytes(Result(name)), before) << platform::ToUtf8(name);
    }
    EXPECT_EQ(Finished(), first);
}

TEST_F(PlaneTasksOfABuilding, WriteTheSameWhereTwoRunTheSameTaskAtOnce) {
    Begin({}, 2);
    while (!Open().State().ready.empty()) {
        const std::string name = Open().State().ready.front();
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] {
                Opened mine(project_);
                auto tasks = PlaneTasks::Open(project_, mine.Core());
                ASSERT_TRUE(tasks);
                const auto done = tasks->Run(name, 1, {});
                EXPECT_TRUE(done) << done.error().message;
            });
        for (std::thread& thread : threads) thread.join();
    }
    EXPECT_EQ(Finished(), Plain({}));
    EXPECT_EQ(Results().size(), 6U);  // and nothing unfinished
}

TEST_F(PlaneTasksOfABuilding, ACancelledTaskLeavesNoResult) {
    PlaneTasks tasks = Begin({}, 2);
    const auto done = tasks.Run("tiles/1", 2, [] { return false; });
    ASSERT_FALSE(done);
    EXPECT_EQ(done.error().code, ErrorCode::Cancelled);
    EXPECT_EQ(Results(), std::vector<CString>{L"plan"});
}

TEST_F(PlaneTasksOfABuilding, RefuseWhatCannotRunYet) {
    PlaneTasks tasks = Begin({}, 2);
    for (const char* name : {"join", "points/0", "tiles/2", "tiles/", "", "plan"}) {
        const auto done = tasks.Run(name, 1, {});
        ASSERT_FALSE(done) << name;
        EXPECT_EQ(done.error().code, ErrorCode::BadInput);
    }
    PlaneSearchOptions others;
    others.minArea = 2;
    EXPECT_FALSE(PlaneTasks::Begin(project_, opened_.Core(), others, 2));
    EXPECT_TRUE(PlaneTasks::Begin(project_, opened_.Core(), {}, 7));
    EXPECT_EQ(Open().State().ready.size(), 2U);
}

TEST_F(PlaneTasksOfABuilding, RefuseAnotherProject) {
    Begin({}, 2);
    const test::ScratchFolder other;
    Opened another(ImportBuilding(other, SyntheticBuilding({.points = 150'000, .noise = 0.004})));
    const auto tasks = PlaneTasks::Open(project_, another.Core());
    ASSERT_FALSE(tasks);
    EXPECT_NE(tasks.error().message.find("has changed"), std::string::npos);
}

// Each is found by the sum; nothing of it is used.
TEST_F(PlaneTasksOfABuilding, FindDamagedResults) {
    Begin({}, 2);
    RunAll();
    std::mt19937 random(9);
    for (const CString& name : Results()) {
        const std::vector<std::uint8_t> whole = test::ReadBytes(Result(name));
        for (int i = 0; i < 6; ++i) {
            std::vector<std::uint8_t> bytes = whole;
            if (i % 2 == 0) {
                bytes.resize(random() % bytes.size());
            } else {
                bytes[random() % bytes.size()] ^= 0x20;
            }
            test::WriteBytes(Result(name), bytes.data(), bytes.size());
            const auto tasks = PlaneTasks::Open(project_, opened_.Core());
            if (name == L"plan") {
                ASSERT_FALSE(tasks);
                EXPECT_EQ(tasks.error().code, ErrorCode::Damaged);
                continue;
            }
            ASSERT_TRUE(tasks);
            const auto search = PlaneSearch::Finish(opened_.Core(), tasks->Stages(), {});
            ASSERT_FALSE(search) << platform::ToUtf8(name);
            EXPECT_EQ(search.error().code, ErrorCode::Damaged);
        }
        test::WriteBytes(Result(name), whole.data(), whole.size());
    }
    EXPECT_EQ(Finished(), Plain({}));
}

// BEHAVIOUR A19
TEST(PlaneTasks, CutPlanesIntoTheFacesOfOneSearch) {
    const test::ScratchFolder folder;
    std::vector<SimplePointT<double>> points;
    for (int x = 0; x < 400; ++x)
        for (int y = 0; y < 70; ++y)
            if (x % 80 >= 3) points.push_back({0.01 * x, 0.337, 0.2 + 0.01 * y});
    const CString path = WritePoints(folder, points);
    Opened project(path);
    const auto plain = project.Search();
    EXPECT_EQ(plain->Planes().size(), 5U);
    const auto begun = PlaneTasks::Begin(path, project.Core(), {}, 3);
    ASSERT_TRUE(begun) << begun.error().message;
    for (;;) {
        auto tasks = PlaneTasks::Open(path, project.Core());
        ASSERT_TRUE(tasks) << tasks.error().message;
        const auto ready = tasks->State().ready;
        if (ready.empty()) break;
        const auto done = tasks->Run(ready.front(), 1, {});
        ASSERT_TRUE(done) << done.error().message;
    }
    const auto tasks = PlaneTasks::Open(path, project.Core());
    ASSERT_TRUE(tasks) << tasks.error().message;
    const auto finished = PlaneSearch::Finish(project.Core(), tasks->Stages(), {});
    ASSERT_TRUE(finished) << finished.error().message;
    EXPECT_EQ(FingerprintOf(project.Core(), **finished), FingerprintOf(project.Core(), *plain));
}

TEST(PlaneTasks, AnEmptyProjectHasNoneAndNoPlanes) {
    const test::ScratchFolder folder;
    const CString path = WritePoints(folder, {});
    Opened project(path);
    const auto tasks = PlaneTasks::Begin(path, project.Core(), {}, 4);
    ASSERT_TRUE(tasks) << tasks.error().message;
    EXPECT_TRUE(tasks->State().ready.empty());
    const auto search = PlaneSearch::Finish(project.Core(), tasks->Stages(), {});
    ASSERT_TRUE(search);
    EXPECT_TRUE((*search)->Planes().empty());
}

}  // namespace
}  // namespace orvix::detection
