// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: what do the verbs that read or write every point cost: walk, check, export, classify?
// Ceiling:  touching the same bytes once through mapped views of 8 MiB, a walk's points once for each
//           level, and writing what a verb writes, with the same wait for the disk, in the same run.
//           Of text: the digits of the coordinates alone besides, by std::to_chars.
#include "bench/verbs/exported_points.h"
#include "bench/verbs/hall_project.h"
#include "bench/verbs/plain_pass.h"
#include "edits/class_writer.h"
#include "orvix/platform/child_process.h"
#include "orvix/project/check/project_check.h"
#include "orvix/project/covered_files.h"
#include "orvix/project/point_editor.h"
#include "orvix/project/project_paths.h"
#include "output/export/project_export.h"
#include "parallel/pool.h"
#include "reports/project_walk.h"

namespace {

using namespace orvix;

constexpr int kLevels = 3;

class VerbBench {
public:
    explicit VerbBench(const bench::Options& options) : report_("verbs", options) {
        imported_ = bench::ImportHall(folder_ / L"hall.ply", project_, options.points);
        bench::Require(detail::FindProject(paths_, project_).has_value(), "there is no project");
        pointBytes_ = imported_.written * kAlivePointBytes;
        for (const auto& file : detail::CoveredFiles(paths_)) files_.push_back(file.path);
        for (const CString& file : files_) fileBytes_ += SizeOf(file);
    }

    void Walk();
    void Check(detail::SumDepth depth, const char* what);
    void Export(const wchar_t* name, const char* what, double aim);
    void Classify();
    void Command(const char* verb, int passes);

private:
    static std::uint64_t SizeOf(const CString& path) {
        std::uint64_t bytes = 0;
        bench::Require(platform::QueryFileSize(path, bytes), "a file is missing");
        return bytes;
    }
    void ReadPoints() { bench::Keep(bench::ReadMapped(paths_.gridPts)); }
    void ReadIndexes() {
        for (const CString* path : {&paths_.grid10cmIdx, &paths_.gridIdx, &paths_.grid1to10cmIdx})
            bench::Keep(bench::ReadMapped(*path));
    }
    void ReadAll() {
        for (const CString& file : files_) bench::Keep(bench::ReadMapped(file));
    }

    test::ScratchFolder folder_;
    CString project_ = folder_ / L"hall.prj";
    importer::ImportReport imported_;
    ProjectManager paths_;
    std::vector<CString> files_;
    std::uint64_t pointBytes_ = 0;
    std::uint64_t fileBytes_ = 0;
    bench::Report report_;
};

void VerbBench::Walk() {
    const auto walked = reports::WalkProject(project_);
    bench::Require(walked && walked->level10 && walked->level10->checksum == imported_.checksum &&
                       walked->level1000.points == imported_.written,
                   "the walk read other points than were imported");
    report_.Compare(
        "walk, over the points three times and the indexes", pointBytes_ * kLevels,
        [this] {
            for (int level = 0; level < kLevels; ++level) ReadPoints();
            ReadIndexes();
        },
        [this] { bench::Keep(reports::WalkProject(project_)); }, bench::AtMost(2));
}

void VerbBench::Check(detail::SumDepth depth, const char* what) {
    parallel::Pool pool(0, {}, "");
    detail::CheckOptions options;
    options.sums = depth;
    options.runBlocks = [&pool](std::size_t jobs, const detail::BlockJob& job) {
        return pool.RunJobs(jobs, job);
    };
    const auto checked = detail::CheckProject(project_, options);
    bench::Require(checked && checked->Ok() && checked->sums.state == detail::SumState::Compared,
                   "the check found faults");
    report_.Compare(
        what, fileBytes_, [this] { ReadAll(); },
        [&] { bench::Keep(detail::CheckProject(project_, options)); }, bench::AtMost(2));
}

void VerbBench::Export(const wchar_t* name, const char* what, double aim) {
    const CString target = folder_ / name;
    output::ExportOptions options;
    options.existing = output::ExistingFile::Replace;
    const auto written = output::ExportProject(project_, target, options);
    bench::Require(written && written->points == imported_.written, "the export failed");
    bench::RequireSamePoints(paths_, target);
    const bool text = bench::IsText(target);
    report_.Compare(
        what, pointBytes_ + written->bytes,
        [&] {
            if (text) {
                bench::Keep(bench::DigitsOf(paths_));
            } else {
                ReadPoints();
            }
            bench::WritePlainly(target, written->bytes);
        },
        [&] { bench::Keep(output::ExportProject(project_, target, options)); }, bench::AtMost(aim));
    std::error_code error;
    platform::RemoveFile(target, error);
}

void VerbBench::Classify() {
    const auto field = reports::Field::Height;
    const auto histogram = reports::ReadField(project_, field);
    auto classes = reports::Classify(histogram->bins, {});
    bench::Require(classes.has_value(), "there are no classes");
    // A class below all others moves every number by one, so that each turn changes every point.
    reports::Classification moved = *classes;
    moved.boundaries.insert(moved.boundaries.begin(), moved.boundaries.front() - 1);
    moved.boundaries[1] -= 0.5;
    moved.counts.insert(moved.counts.begin(), 0);
    bool turn = false;
    const auto apply = [&] {
        turn = !turn;
        const auto done = edits::ApplyClasses(project_, detail::ProjectStamp::Of(project_), field,
                                              turn ? *classes : moved, {});
        bench::Require(done && *done == imported_.written, "the classes were not written");
    };
    for (const auto& expected : {*classes, moved}) {
        apply();
        bench::RequireClasses(paths_, expected);
    }
    const auto pass = [this] {
        ReadPoints();
        bench::Keep(bench::ReadMapped(paths_.gridSkeletDataPts));
        bench::WriteMapped(paths_.gridPts, kAlivePointBytes,
                           offsetof(CCloudPoint<float>, dclcSecond));
        bench::WriteMapped(paths_.gridSkeletDataPts, sizeof(CPointDataFull),
                           offsetof(CPointDataFull, dclcSecond));
        bench::Require(detail::PointEditor::Sync(paths_).has_value(), "the points stay in memory");
    };
    // Twice, so that the bytes are as they were when the sums are compared.
    report_.Compare(
        "classify --apply twice, over reading, changing and syncing twice", 4 * pointBytes_,
        [&] {
            pass();
            pass();
        },
        [&] {
            apply();
            apply();
        },
        bench::AtMost(2));
}

void VerbBench::Command(const char* verb, int passes) {
    const auto run = [&] {
        std::error_code error;
        auto child =
            platform::ChildProcess::Start({ORVIX_COMMAND, verb, platform::ToUtf8(project_)},
                                          folder_ / L"out", folder_ / L"err", error);
        bench::Require(!error, "the command does not start");
        std::optional<int> code;
        while (!code) code = child.WaitFor(1);
        bench::Require(*code == 0, "the command failed");
    };
    report_.Compare(
        fmt::format("the command, 'orvix {}'", verb), fileBytes_,
        [&] {
            for (int pass = 1; pass < passes; ++pass) ReadPoints();
            ReadAll();
        },
        run, bench::AtMost(2));
}

}  // namespace

int main(int argc, char** argv) {
    VerbBench verbs(bench::ParseOptions(argc, argv));
    verbs.Walk();
    verbs.Check(detail::SumDepth::Records, "check, over every file once");
    verbs.Check(detail::SumDepth::All, "check --deep, over every file once");
    verbs.Export(L"hall.ply", "export to PLY, over reading and writing plainly", 2);
    verbs.Export(L"hall.las", "export to LAS, over reading and writing plainly", 2);
    verbs.Export(L"hall.xyz", "export to text, over the digits and writing plainly", 2);
    verbs.Classify();
    verbs.Command("walk", kLevels);
    verbs.Command("check", 1);
    return 0;
}
