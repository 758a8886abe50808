// SPDX-License-Identifier: GPL-3.0-or-later
// Question: what does decoding compressed LAS cost, on one core, over reading the same points from
//           the uncompressed file?
// Ceiling:  the uncompressed file, read and decoded by the same loop.
//
// Flight lines over flat ground and roofs, point format 1 (pointwise) and 6 (layered), made and
// compressed here; beside the ratio it prints points a second.
#include <cmath>
#include <cstring>
#include <random>

#include "bench/bench_support.h"
#include "importer/formats/open_scan.h"
#include "support/laz_writer.h"
#include "support/scratch_folder.h"

namespace {

using namespace orvix;

template <class T>
void Put(std::uint8_t* bytes, T value) {
    std::memcpy(bytes, &value, sizeof(value));
}

/// Zigzag lines of pulses, some with two returns.
std::vector<std::uint8_t> FlightLines(std::uint8_t format, std::uint64_t points) {
    const std::size_t stride = test::LasRecordBytes(format);
    std::vector<std::uint8_t> records(points * stride);
    std::mt19937_64 random(1);
    double time = 3.5e5;
    int returns = 1;
    int number = 1;
    for (std::uint64_t i = 0; i < points; ++i) {
        if (++number > returns) {
            number = 1;
            returns = random() % 10 == 0 ? 2 : 1;
            time += 4e-6 * static_cast<double>(1 + random() % 2);
        }
        const double sweep = std::sin(static_cast<double>(i) / 1500);
        const bool roof = std::sin(static_cast<double>(i) / 400) > 0.6;
        std::uint8_t* record = records.data() + i * stride;
        const auto noise = [&] { return static_cast<std::int32_t>(random() % 31); };
        Put(record, static_cast<std::int32_t>(sweep * 250'000) + noise());
        Put(record + 4, static_cast<std::int32_t>(i / 8) + noise());
        Put(record + 8, (roof ? 9'000 : 1'000) + (number == 1 ? 0 : -2'500) + noise());
        Put(record + 12, static_cast<std::uint16_t>(600 + random() % 300));
        const std::uint8_t kind = roof ? 6 : 2;
        if (format < 6) {
            record[14] = static_cast<std::uint8_t>(number | returns << 3);
            record[15] = kind;
            record[16] = static_cast<std::uint8_t>(static_cast<int>(sweep * 20));
            Put(record + 20, time);
        } else {
            record[14] = static_cast<std::uint8_t>(number | returns << 4);
            record[16] = kind;
            Put(record + 18, static_cast<std::int16_t>(sweep * 3'300));
            Put(record + 22, time);
        }
    }
    return records;
}

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
        const std::vector<std::uint8_t> records = FlightLines(format, points);
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
