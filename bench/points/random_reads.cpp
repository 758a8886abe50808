// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: what does a random `ReadPoint` cost, near the one before it and far from it?
// Ceiling:  reading the 24 bytes at the same positions with one call of the system each.
#include <fmt/format.h>

#include <random>
#include <vector>

#include "bench/points/alive_file.h"

namespace {

namespace bench = orvix::bench;
using bench::AliveFile;
using orvix::CCloudPoint;
using orvix::kAlivePointBytes;
using Records = std::vector<std::uint64_t>;

constexpr std::size_t kReads = 1'000'000;

double SumByCalls(const AliveFile& file, const Records& records) {
    std::error_code error;
    auto opened = orvix::platform::File::OpenRead(file.Path(), error);
    CCloudPoint<float> point;
    double sum = 0;
    for (const std::uint64_t record : records) {
        opened.ReadAt(record * kAlivePointBytes, reinterpret_cast<char*>(&point), sizeof point,
                      error);
        sum += point.x;
    }
    bench::Require(!error, "the file cannot be read");
    return sum;
}

double SumByReader(const AliveFile& file, const Records& records) {
    auto reader = file.Reader();
    CCloudPoint<float> point;
    double sum = 0;
    for (const std::uint64_t record : records) {
        reader.ReadPoint(static_cast<std::int64_t>(record * kAlivePointBytes), point);
        sum += point.x;
    }
    return sum;
}

/// Around a place that wanders through the file, as neighbours are asked for.
Records Wandering(std::uint64_t count, std::mt19937_64& random) {
    Records records(kReads);
    std::uint64_t place = 0;
    for (auto& record : records) {
        place += random() % 2 * (2 * count / kReads + 1);
        record = (place + random() % 1000) % count;
    }
    return records;
}

/// One after the other, with gaps: chosen points of the whole file.
Records Ascending(std::uint64_t count) {
    Records records(kReads);
    for (std::size_t i = 0; i < kReads; ++i) records[i] = i * count / kReads;
    return records;
}

Records Anywhere(std::uint64_t first, std::uint64_t count, std::mt19937_64& random) {
    Records records(kReads);
    for (auto& record : records) record = first + random() % count;
    return records;
}

}  // namespace

int main(int argc, char** argv) {
    const auto options = bench::ParseOptions(argc, argv);
    const AliveFile file(options.points);
    const std::uint64_t count = file.Count();
    const std::uint64_t inView =
        std::min(count, orvix::CAlivePointReader::kViewBytes / kAlivePointBytes);
    std::mt19937_64 random(1);

    bench::Report report("random_reads", options);
    const auto compare = [&](std::string_view what, const Records& records, bench::Aim aim) {
        const auto byCalls = [&] { return SumByCalls(file, records); };
        const auto byReader = [&] { return SumByReader(file, records); };
        bench::Require(byCalls() == byReader(), "other points are read");
        report.Compare(
            fmt::format("{} reads, {}", records.size(), what), 0, [&] { bench::Keep(byCalls()); },
            [&] { bench::Keep(byReader()); }, aim);
    };
    compare("near the one before", Wandering(count, random), bench::AtMost(1.0 / 3));
    compare("ascending", Ascending(count), bench::AtMost(1.0 / 3));
    compare("anywhere in 8 MiB", Anywhere(count - inView, inView, random), bench::AtMost(1.0 / 3));
    compare("anywhere in the file", Anywhere(0, count, random), bench::AtMost(1));
    return 0;
}
