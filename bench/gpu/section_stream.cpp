// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: what does a section through a project on disk cost, with every point wanted, and with those
//           in the slab alone?
// Ceiling:  the project's walk at one level: the 100 cm cells, their runs read in batches of 6 MiB; and
//           a bare loop over the mapped point file. Both sum the same coordinates, in the same run.
#include <cstring>

#include "bench/bench_support.h"
#include "bench/gpu/scanned_hall.h"
#include "importer/import.h"
#include "orvix/gpu/revit_amp.h"
#include "orvix/platform/file.h"
#include "orvix/platform/mapping.h"
#include "orvix/project/access/open_project.h"
#include "support/scratch_folder.h"

namespace {

using namespace orvix;

constexpr std::uint32_t kBatchPoints = 262'144;
constexpr std::uint32_t kEveryClass = 0x1F;

CString ImportHall(const test::ScratchFolder& folder, std::uint64_t count) {
    const auto points = bench::ScannedHall(count);
    const std::string head = fmt::format(
        "ply\nformat binary_little_endian 1.0\nelement vertex {}\nproperty float x\n"
        "property float y\nproperty float z\nend_header\n",
        count);
    std::error_code error;
    auto file = platform::File::Create(folder / L"hall.ply", error);
    file.Append(head.data(), head.size(), error);
    file.Append(points.data(), points.size() * sizeof points[0], error);
    bench::Require(!error, "the scan cannot be written");
    file = {};
    const CString project = folder / L"hall.prj";
    const auto report = importer::Import({folder / L"hall.ply"}, project, {});
    bench::Require(report && report->written == count, "the import failed");
    return project;
}

double SumOf(std::span<const CCloudPoint<float>> points) {
    double sum = 0;
    for (const auto& point : points) sum += point.x + 2.0 * point.y + 3.0 * point.z;
    return sum;
}

// As `orvix walk` does at each of its levels, without its sums of bytes.
double Walk(const CProjectCore& core) {
    const auto index = core.CreateIndexReader();
    const auto reader = core.CreateAlivePointReader();
    std::vector<CIndexerSmall> runs;
    std::vector<CCloudPoint<float>> points;
    double sum = 0;
    std::uint64_t pending = 0;
    const auto flush = [&] {
        while (reader->ReadIndexesPts(runs, points)) {
            sum += SumOf(points);
            points.clear();
        }
        sum += SumOf(points);
        points.clear();
        runs.clear();
        pending = 0;
    };
    bool more = index->Count100() > 0;
    while (more) {
        more = index->ReadIndex1000(0);
        std::uint64_t first = 0;
        std::uint32_t cells = 0;
        index->GetOffsetCount1000(first, cells);
        index->InitIndex100(first);
        for (std::uint32_t cell = 0; cell < cells; ++cell) {
            index->ReadIndex100(cells);
            CIndexerSmall run;
            index->GetOffsetCount100(run.offset, run.count);
            runs.push_back(run);
            pending += run.count;
            if (pending >= kBatchPoints) flush();
        }
    }
    flush();
    return sum;
}

double LoopOverMapped(const CString& gridPts, std::uint64_t count) {
    std::error_code error;
    const auto mapped = platform::MappedFile::Open(gridPts, error);
    bench::Require(!error, "the point file cannot be mapped");
    double sum = 0;
    CCloudPoint<float> point;
    for (std::uint64_t i = 0; i < count; ++i) {
        std::memcpy(&point, mapped.Data() + i * kAlivePointBytes, sizeof point);
        sum += point.x + 2.0 * point.y + 3.0 * point.z;
    }
    return sum;
}

}  // namespace

int main(int argc, char** argv) {
    const auto options = bench::ParseOptions(argc, argv);
    const test::ScratchFolder folder;
    const CString path = ImportHall(folder, options.points);
    const auto project = detail::OpenProject::Open(path);
    bench::Require(project.has_value(), "the project does not open");
    const CProjectCore& core = (*project)->Core();
    const CString gridPts = (*project)->Manager().gridPts;
    const auto bytes = options.points * kAlivePointBytes;

    bench::Report report("section_stream", options);
    for (const auto device : {SectionDevice::Cpu, SectionDevice::Gpu}) {
        RevitAMP section({.device = device});
        // The frame of the project is near the middle of the hall, and the slab cuts it lengthwise.
        bench::Require(section.SetPlane({0, 0, 0}, {0.1, -1, 0}) &&
                           section.SetSlab({.halfThickness = 0.05}) && section.SetProject(core),
                       "the section was refused");
        double sum = 0;
        SectionCounts counts;
        const auto every = [&] {
            sum = 0;
            section.StreamPlaneXZ(
                kEveryClass,
                [&sum](const RevitAMP::Chunk& chunk) {
                    sum += SumOf(chunk.points);
                    return true;
                },
                &counts);
        };
        const auto slab = [&] {
            section.StreamPlaneXZ(
                RevitAMP::Bit(SectionClass::In), [](const RevitAMP::Chunk&) { return true; },
                &counts);
        };
        every();
        if (device == SectionDevice::Gpu && section.Device() == "processor") break;
        const double walked = Walk(core);
        bench::Require(std::fabs(sum - walked) < 1e-9 * static_cast<double>(options.points) * 100,
                       "the sums differ");
        bench::Require(counts.Total() == options.points && counts.in > 0, "the counts differ");
        const SectionCounts all = counts;
        slab();
        bench::Require(counts == all, "the counts of the slab alone differ");
        const std::string on = " (" + section.Device() + ")";
        report.Compare(
            "every class, over the walk of a level" + on, bytes, [&] { bench::Keep(Walk(core)); },
            every);
        report.Compare(
            "every class, over a loop on the mapped file" + on, bytes,
            [&] { bench::Keep(LoopOverMapped(gridPts, options.points)); }, every);
        report.Compare(
            "the slab alone, over the walk of a level" + on, bytes,
            [&] { bench::Keep(Walk(core)); }, slab);
    }
    return 0;
}
