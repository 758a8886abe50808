// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: what does appending runs of points to a vector cost over copying their bytes?
// Ceiling:  one memcpy of the same bytes into memory of the same kind (allocated and touched
//           before, or fresh), out of a view mapped for the occasion, or one mapped already.
#include <cstring>
#include <memory>

#include "bench/points/alive_file.h"

namespace {

using orvix::CCloudPoint;
using orvix::CIndexerSmall;
using orvix::bench::AliveFile;
using Points = std::vector<CCloudPoint<float>>;

void CopyFromNewView(const AliveFile& file, void* target) {
    const std::uint8_t* view =
        orvix::platform::MapFileView(file.Mapping(), orvix::platform::kViewRead, 0, 0);
    std::memcpy(target, view, file.Size());
    orvix::UnmapFileView(view);
}

/// The same copies as the runs ask for, one memcpy each.
void CopyRunsFromNewView(const AliveFile& file, const std::vector<CIndexerSmall>& runs,
                         std::uint8_t* target) {
    const std::uint8_t* view =
        orvix::platform::MapFileView(file.Mapping(), orvix::platform::kViewRead, 0, 0);
    for (const auto& run : runs) {
        const std::uint64_t bytes = run.count * orvix::kAlivePointBytes;
        std::memcpy(target, view + run.offset * orvix::kAlivePointBytes, bytes);
        target += bytes;
    }
    orvix::UnmapFileView(view);
}

/// The file as consecutive runs of `count` points, as the grid's cells make them.
std::vector<CIndexerSmall> RunsOf(const AliveFile& file, std::uint32_t count) {
    std::vector<CIndexerSmall> runs;
    for (std::uint64_t first = 0; first < file.Count(); first += count) {
        const auto points =
            static_cast<std::uint32_t>(std::min<std::uint64_t>(count, file.Count() - first));
        runs.push_back({first, points});
    }
    return runs;
}

bool Holds(const AliveFile& file, const Points& points) {
    return points.size() == file.Count() &&
           std::memcmp(points.data(), file.Whole(), file.Size()) == 0;
}

void ReadOneByOne(const AliveFile& file, const std::vector<CIndexerSmall>& runs, Points& out) {
    auto reader = file.Reader();
    out.clear();
    for (const auto& run : runs) reader.ReadIndexPoints(run.offset, run.count, out);
}

void ReadAsBatch(const AliveFile& file, std::vector<CIndexerSmall>& runs, Points& out) {
    auto reader = file.Reader();
    out.clear();
    reader.ReadIndexesPts(runs, out);
}

}  // namespace

int main(int argc, char** argv) {
    namespace bench = orvix::bench;
    const auto options = bench::ParseOptions(argc, argv);
    const AliveFile file(options.points);
    auto whole = RunsOf(file, static_cast<std::uint32_t>(file.Count()));
    const auto views = RunsOf(file, 300'000);
    auto cells = RunsOf(file, 2'000);

    Points out;
    for (auto* runs : {&whole, &cells}) {
        ReadOneByOne(file, *runs, out);
        bench::Require(Holds(file, out), "runs read one by one differ");
        ReadAsBatch(file, *runs, out);
        bench::Require(Holds(file, out), "runs read as a batch differ");
    }

    // Left as it is after the checks, `target` is memory that was written to before, as `out` is.
    Points target(out);
    const auto copy = [&] {
        std::memcpy(static_cast<void*>(target.data()), file.Whole(), file.Size());
    };
    const auto copyNew = [&] { CopyFromNewView(file, target.data()); };
    const auto copyRunsNew = [&] {
        CopyRunsFromNewView(file, cells, reinterpret_cast<std::uint8_t*>(target.data()));
    };

    bench::Report report("read_runs", options);
    report.Compare("one run, over memcpy from a new view", file.Size(), copyNew,
                   [&] { ReadOneByOne(file, whole, out); });
    report.Compare("one run, over memcpy from a mapped view", file.Size(), copy,
                   [&] { ReadOneByOne(file, whole, out); });
    report.Compare("runs of 300,000, over memcpy from a new view", file.Size(), copyNew,
                   [&] { ReadOneByOne(file, views, out); });
    report.Compare("runs of 2,000, over a memcpy each from a new view", file.Size(), copyRunsNew,
                   [&] { ReadOneByOne(file, cells, out); });
    report.Compare("batch of runs of 2,000, over memcpy from a new view", file.Size(), copyNew,
                   [&] { ReadAsBatch(file, cells, out); });
    report.Compare(
        "one run into a new vector, over memcpy into new memory", file.Size(),
        [&] {
            const std::unique_ptr<std::uint8_t[]> fresh(new std::uint8_t[file.Size()]);
            CopyFromNewView(file, fresh.get());
            bench::Keep(fresh[0]);
        },
        [&] {
            Points fresh;
            ReadOneByOne(file, whole, fresh);
            bench::Keep(fresh[0]);
        });
    return 0;
}
