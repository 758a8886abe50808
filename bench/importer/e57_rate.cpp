// SPDX-License-Identifier: GPL-3.0-or-later
// Question: how fast does one core make points of E57 scans?
// Ceiling:  reading the file's bytes from the file cache.
//
// Cartesian scaled integers of 24 bits with intensity and colours, as scanners write them, and
// spherical floats. Beside the ratio it prints points a second of processor time.
#include <ctime>

#include "bench/bench_support.h"
#include "bench/importer/e57_columns.h"
#include "importer/formats/open_scan.h"
#include "orvix/platform/file.h"
#include "support/scans/e57_writer.h"
#include "support/scratch_folder.h"

namespace {

using namespace orvix;
std::uint64_t ReadPoints(const CString& path) {
    auto reader = importer::OpenScan(path);
    bench::Require(reader.has_value(), reader ? "" : reader.error().message);
    importer::RawPiece piece;
    importer::DecodedPiece decoded;
    std::uint64_t points = 0;
    while ((*reader)->Next(piece).value_or(false)) {
        bench::Require((*reader)->Decode(piece, decoded).has_value(), "a piece is not understood");
        points += decoded.points.size();
    }
    return points;
}

void ReadBytes(const CString& path) {
    std::vector<std::uint8_t> block(2u << 20);
    std::error_code error;
    const platform::File file = platform::File::OpenRead(path, error);
    std::uint64_t offset = 0;
    while (const auto read = file.ReadAt(offset, block.data(), block.size(), error)) offset += read;
}

// One thread's own time: the machine's other work is not ours.
template <class Work>
double ProcessorSeconds(Work&& work) {
    const std::clock_t start = std::clock();
    work();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

void Measure(bench::Report& table, const char* what, const bench::Options& options,
             std::vector<test::E57Column> columns) {
    const test::ScratchFolder folder;
    const CString path = folder / L"scan.e57";
    const auto bytes = test::MakeE57({{.name = "scan", .columns = std::move(columns)}},
                                     {.bytesPerPacket = 30'000});
    test::WriteBytes(path, bytes.data(), bytes.size());
    bench::Require(ReadPoints(path) == options.points, "points were lost");
    double best = 1e300;
    table.Compare(
        what, bytes.size(), [&] { ReadBytes(path); },
        [&] { best = std::min(best, ProcessorSeconds([&] { ReadPoints(path); })); });
    fmt::print("{}: {:.1f} million points/s\n", what,
               static_cast<double>(options.points) / best / 1e6);
}

}  // namespace

int main(int argc, char** argv) {
    bench::Options options = bench::ParseOptions(argc, argv);
    options.points = std::min<std::uint64_t>(options.points, 4'000'000);
    bench::Report table("e57_rate", options);
    Measure(table, "Cartesian, 24 bits", options, bench::Cartesian(options.points));
    Measure(table, "spherical, floats", options, bench::Spherical(options.points));
    return 0;
}
