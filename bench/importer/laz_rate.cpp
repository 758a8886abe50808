// SPDX-License-Identifier: GPL-3.0-or-later
// Question: what does decoding compressed LAS cost, on one core, over reading the same points from
//           the uncompressed file?
// Ceiling:  the uncompressed file, read and decoded by the same loop.
//
// Flight lines over flat ground and roofs, point format 1 (pointwise) and 6 (layered), made and
// compressed here; beside the ratio it prints points a second.
#include "bench/bench_support.h"
#include "bench/importer/flight_lines.h"
#include "importer/formats/open_scan.h"
#include "support/scans/laz_writer.h"
#include "support/scratch_folder.h"

namespace {

using namespace orvix;

double SumOf(importer::ScanReader& reader) {
    importer::RawPiece piece;
    importer::DecodedPiece decoded;
    double sum = 0;
    bench::Require(reader.Rewind().has_value(), "the scan cannot be read again");
    while (true) {
        const auto more = reader.Next(piece);
        bench::Require(more.has_value(), more ? "" : more.error().message);
        if (!*more) return sum;
        bench::Require(reader.Decode(piece, decoded).has_value(), "a piece cannot be decoded");
        for (const importer::ScanPoint& p : decoded.points) {
            sum += p.x + p.y + p.z + static_cast<double>(p.intensity) + p.classification;
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    const bench::Options options = bench::ParseOptions(argc, argv);
    const std::uint64_t points = std::min<std::uint64_t>(options.points, 2'000'000);
    const test::ScratchFolder folder;
    bench::Report table("laz_rate", options);
    for (const std::uint8_t format : {std::uint8_t{1}, std::uint8_t{6}}) {
        const test::LasLayout layout{.minorVersion = 4, .pointFormat = format};
        const std::vector<std::uint8_t> records = bench::FlightLines(format, points);
        std::vector<std::uint8_t> las = test::LasHeaderOf(layout, points);
        las.insert(las.end(), records.begin(), records.end());
        const std::vector<std::uint8_t> laz = test::MakeLaz(layout, records);
        test::WriteBytes(folder / L"scan.las", las.data(), las.size());
        test::WriteBytes(folder / L"scan.laz", laz.data(), laz.size());
        const auto plain = importer::OpenScan(folder / L"scan.las");
        const auto packed = importer::OpenScan(folder / L"scan.laz");
        bench::Require(plain && packed, "the scans cannot be opened");
        bench::Require(SumOf(**plain) == SumOf(**packed), "the points differ");
        double seconds = 0;
        table.Compare(
            fmt::format("point format {}, {:.1f} bytes a point", format,
                        static_cast<double>(laz.size()) / static_cast<double>(points)),
            las.size(), [&] { bench::Keep(SumOf(**plain)); },
            [&] { seconds = bench::Seconds([&] { bench::Keep(SumOf(**packed)); }); });
        fmt::print("{:.2f} million points/s\n", static_cast<double>(points) / seconds / 1e6);
    }
    return 0;
}
