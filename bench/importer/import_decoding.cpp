// SPDX-License-Identifier: GPL-3.0-or-later
// Question: what does an import of compressed or packed scans cost over decoding them?
// Ceiling:  the same pieces, read in order and decoded on every core, once, in the same run.
//
// LAZ (pointwise and layered) and E57 (scaled integers and spherical floats), made here; up to 5
// million points. Beside the ratio it prints points a second.
#include "bench/bench_support.h"
#include "bench/importer/e57_columns.h"
#include "bench/importer/flight_lines.h"
#include "importer/formats/open_scan.h"
#include "importer/import.h"
#include "parallel/run_in_order.h"
#include "support/scratch_folder.h"

namespace {

using namespace orvix;

constexpr std::uint64_t kMostPoints = 5'000'000;
constexpr double kAim = 1.3;

struct Piece {
    importer::RawPiece raw;
    importer::DecodedPiece decoded;
};

std::uint64_t DecodeAll(const CString& path) {
    const auto reader = importer::OpenScan(path);
    bench::Require(reader.has_value(), reader ? "" : reader.error().message);
    std::uint64_t points = 0;
    parallel::OrderedSteps<Piece> steps;
    steps.take = [&](Piece& piece) {
        piece.raw.scan = 0;
        piece.raw.fileBytes.reset();
        return (*reader)->Next(piece.raw);
    };
    steps.work = [&](Piece& piece) { return (*reader)->Decode(piece.raw, piece.decoded); };
    steps.commit = [&](Piece& piece) -> Expected<void> {
        points += piece.decoded.points.size();
        return {};
    };
    parallel::Pool pool(0, {}, "cancelled");
    bench::Require(parallel::RunInOrder(pool, steps).has_value(), "a piece cannot be decoded");
    return points;
}

void Measure(bench::Report& table, const char* what, const char* name, std::uint64_t points,
             const std::vector<std::uint8_t>& bytes) {
    const test::ScratchFolder folder;
    const CString scan = folder / platform::FromUtf8(name);
    const CString project = folder / L"scan.prj";
    test::WriteBytes(scan, bytes.data(), bytes.size());
    importer::ImportOptions overwrite;
    overwrite.overwrite = true;
    double seconds = 0;
    const auto import = [&] {
        const auto report = importer::Import({scan}, project, overwrite, {});
        bench::Require(report.has_value(), report ? "" : report.error().message);
        seconds = report->seconds;
        return report->written;
    };
    bench::Require(DecodeAll(scan) == points && import() == points, "points were lost");
    table.Compare(
        what, bytes.size(), [&] { bench::Keep(DecodeAll(scan)); }, [&] { bench::Keep(import()); },
        bench::AtMost(kAim));
    table.Figure(fmt::format("{}, points a second", what),
                 static_cast<double>(points) / seconds / 1e6, "million");
}

}  // namespace

int main(int argc, char** argv) {
    const bench::Options options = bench::ParseOptions(argc, argv);
    const std::uint64_t points = std::min(options.points, kMostPoints);
    bench::Report table("import_decoding", options);
    for (const std::uint8_t format : {std::uint8_t{1}, std::uint8_t{6}}) {
        const test::LasLayout layout{.minorVersion = 4, .pointFormat = format};
        const auto laz = test::MakeLaz(layout, bench::FlightLines(format, points));
        Measure(table, format == 1 ? "LAZ, pointwise" : "LAZ, layered", "scan.laz", points, laz);
    }
    const auto e57 = [&](const char* what, std::vector<test::E57Column> columns) {
        const auto bytes = test::MakeE57({{.name = "scan", .columns = std::move(columns)}},
                                         {.bytesPerPacket = 30'000});
        Measure(table, what, "scan.e57", points, bytes);
    };
    e57("E57, 24 bits", bench::Cartesian(points));
    e57("E57, spherical", bench::Spherical(points));
    return 0;
}
