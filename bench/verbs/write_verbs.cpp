// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: what do the verbs that write every point cost: export, classify --apply?
// Ceiling:  touching the bytes that they read once through mapped views of 8 MiB, and writing as many
//           bytes as they write, with the same wait for the disk, in the same run. Of text besides: the
//           digits of the coordinates by std::to_chars, one after the other.
#include "bench/verbs/exported_points.h"
#include "bench/verbs/hall_project.h"
#include "edits/class_writer.h"
#include "orvix/project/point_editor.h"
#include "output/export/project_export.h"
#include "parallel/pool.h"
#include "reports/field_histogram.h"

namespace {

using namespace orvix;

class WriteVerbs {
public:
    explicit WriteVerbs(const bench::Options& options)
        : hall_(options.points), report_("write_verbs", options) {}

    void Export(const wchar_t* name, const char* what);
    void Classify();

private:
    bench::HallProject hall_;
    bench::Report report_;
};

void WriteVerbs::Export(const wchar_t* name, const char* what) {
    const CString target = hall_.folder / name;
    output::ExportOptions options;
    options.existing = output::ExistingFile::Replace;
    options.threads = 0;
    const auto written = output::ExportProject(hall_.project, target, options);
    bench::Require(written && written->points == hall_.imported.written, "the export failed");
    bench::RequireSamePoints(hall_.paths, target);
    const bool text = bench::IsText(target);
    report_.Compare(
        what, hall_.PointBytes() + written->bytes,
        [&] {
            if (text) {
                bench::Keep(bench::DigitsOf(hall_.paths));
            } else {
                hall_.ReadPoints();
            }
            bench::WritePlainly(target, written->bytes);
        },
        [&] { bench::Keep(output::ExportProject(hall_.project, target, options)); },
        bench::AtMost(2));
    std::error_code error;
    platform::RemoveFile(target, error);
}

void WriteVerbs::Classify() {
    const auto field = reports::Field::Height;
    const auto histogram = reports::ReadField(hall_.project, field);
    auto classes = reports::Classify(histogram->bins, {});
    bench::Require(classes.has_value(), "there are no classes");
    // A class below all others moves every number by one, so that each turn changes every point.
    reports::Classification moved = *classes;
    moved.boundaries.insert(moved.boundaries.begin(), moved.boundaries.front() - 1);
    moved.boundaries[1] -= 0.5;
    moved.counts.insert(moved.counts.begin(), 0);
    const parallel::Pool pool(0, {}, "");
    bool turn = false;
    const auto apply = [&] {
        turn = !turn;
        const auto done = edits::ApplyClasses(
            hall_.project, detail::ProjectStamp::Of(hall_.project), field, turn ? *classes : moved,
            {}, [&pool](std::size_t jobs, const detail::BlockJob& job) {
                return pool.RunJobs(jobs, job);
            });
        bench::Require(done && *done == hall_.imported.written, "the classes were not written");
    };
    for (const auto& expected : {*classes, moved}) {
        apply();
        bench::RequireClasses(hall_.paths, expected);
    }
    const auto pass = [this] {
        hall_.ReadPoints();
        bench::Keep(bench::ReadMapped(hall_.paths.gridSkeletDataPts));
        bench::WriteMapped(hall_.paths.gridPts, kAlivePointBytes,
                           offsetof(CCloudPoint<float>, dclcSecond));
        bench::WriteMapped(hall_.paths.gridSkeletDataPts, sizeof(CPointDataFull),
                           offsetof(CPointDataFull, dclcSecond));
        bench::Require(detail::PointEditor::Sync(hall_.paths).has_value(),
                       "the points stay in memory");
    };
    // Twice, so that the bytes are as they were when the sums are compared.
    report_.Compare(
        "classify --apply twice, over reading, changing and syncing twice", 4 * hall_.PointBytes(),
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

}  // namespace

int main(int argc, char** argv) {
    WriteVerbs verbs(bench::ParseOptions(argc, argv));
    verbs.Export(L"hall.ply", "export to PLY, over reading and writing plainly");
    verbs.Export(L"hall.las", "export to LAS, over reading and writing plainly");
    verbs.Export(L"hall.xyz", "export to text, over the digits and writing plainly");
    verbs.Classify();
    return 0;
}
