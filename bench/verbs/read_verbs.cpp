// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: what do the verbs that read every point cost: walk, check?
// Ceiling:  touching the same bytes through mapped views of 8 MiB, in the same run: every file once, for
//           a deep check twice, for a walk the points once for each level.
#include "bench/verbs/hall_project.h"
#include "orvix/platform/child_process.h"
#include "orvix/project/check/project_check.h"
#include "orvix/project/covered_files.h"
#include "parallel/pool.h"
#include "reports/project_walk.h"

namespace {

using namespace orvix;

constexpr int kLevels = 3;

class ReadVerbs {
public:
    explicit ReadVerbs(const bench::Options& options)
        : hall_(options.points), report_("read_verbs", options) {
        for (const auto& file : detail::CoveredFiles(hall_.paths)) {
            std::uint64_t bytes = 0;
            bench::Require(platform::QueryFileSize(file.path, bytes), "a file is missing");
            files_.push_back(file.path);
            fileBytes_ += bytes;
        }
    }

    void Walk();
    void Check(detail::SumDepth depth, const char* what);
    void Command(const char* verb);

private:
    void ReadIndexes() const {
        const ProjectManager& paths = hall_.paths;
        for (const CString* path : {&paths.grid10cmIdx, &paths.gridIdx, &paths.grid1to10cmIdx})
            bench::Keep(bench::ReadMapped(*path));
    }
    void ReadLevels() const {
        for (int level = 0; level < kLevels; ++level) hall_.ReadPoints();
        ReadIndexes();
    }
    void ReadAll() const {
        for (const CString& file : files_) bench::Keep(bench::ReadMapped(file));
    }

    bench::HallProject hall_;
    std::vector<CString> files_;
    std::uint64_t fileBytes_ = 0;
    bench::Report report_;
};

void ReadVerbs::Walk() {
    const auto walked = reports::WalkProject(hall_.project);
    bench::Require(walked && walked->level10 &&
                       walked->level10->checksum == hall_.imported.checksum &&
                       walked->level1000.points == hall_.imported.written,
                   "the walk read other points than were imported");
    report_.Compare(
        "walk, over the points three times and the indexes", hall_.PointBytes() * kLevels,
        [this] { ReadLevels(); },
        [this] { bench::Keep(reports::WalkProject(hall_.project, {}, 0)); }, bench::AtMost(2));
}

void ReadVerbs::Check(detail::SumDepth depth, const char* what) {
    parallel::Pool pool(0, {}, "");
    detail::CheckOptions options;
    options.sums = depth;
    options.runBlocks = [&pool](std::size_t jobs, const detail::BlockJob& job) {
        return pool.RunJobs(jobs, job);
    };
    const auto checked = detail::CheckProject(hall_.project, options);
    bench::Require(checked && checked->Ok() && checked->sums.state == detail::SumState::Compared,
                   "the check found faults");
    report_.Compare(
        what, fileBytes_,
        [&] {
            ReadAll();
            if (depth == detail::SumDepth::All) ReadAll();
        },
        [&] { bench::Keep(detail::CheckProject(hall_.project, options)); }, bench::AtMost(2));
}

void ReadVerbs::Command(const char* verb) {
    const bool walk = verb == std::string_view("walk");
    const auto run = [&] {
        std::error_code error;
        auto child =
            platform::ChildProcess::Start({ORVIX_COMMAND, verb, platform::ToUtf8(hall_.project)},
                                          hall_.folder / L"out", hall_.folder / L"err", error);
        bench::Require(!error, "the command does not start");
        std::optional<int> code;
        while (!code) code = child.WaitFor(1);
        bench::Require(*code == 0, "the command failed");
    };
    report_.Compare(
        fmt::format("the command, 'orvix {}', over the same", verb), fileBytes_,
        [&] {
            if (walk) {
                ReadLevels();
            } else {
                ReadAll();
            }
        },
        run, bench::AtMost(2));
}

}  // namespace

int main(int argc, char** argv) {
    ReadVerbs verbs(bench::ParseOptions(argc, argv));
    verbs.Walk();
    verbs.Check(detail::SumDepth::Records, "check, over every file once");
    verbs.Check(detail::SumDepth::All, "check --deep, over every file twice");
    verbs.Command("walk");
    verbs.Command("check");
    return 0;
}
