// SPDX-License-Identifier: GPL-3.0-or-later
// Question: how long does an import take over moving its bytes alone?
// Ceiling:  reading the scan twice and writing as many bytes as the project holds, onto the same
//           disk, brought to the device every 32 MiB and at the end.
//
// The scan is a LAS file of walls and floors in random order, 30 bytes a point. Beside the ratio
// it prints points a second, peak memory, and the seconds of each phase.
#include <array>
#include <filesystem>
#include <random>

#include "bench/bench_support.h"
#include "importer/import.h"
#include "orvix/platform/file.h"
#include "orvix/platform/mapping.h"
#include "orvix/points/record_hash.h"
#include "support/scans/las_writer.h"
#include "support/scratch_folder.h"

namespace {

using namespace orvix;
using importer::ImportPhase;
using importer::ImportProgress;
using importer::ImportReport;

constexpr std::size_t kBlock = 2u << 20;
constexpr std::uint64_t kSyncBytes = 32u << 20;
constexpr std::array<const char*, 6> kPhases{"scan",  "sort",     "write",
                                             "index", "skeleton", "finish"};

void WriteScan(const CString& path, std::uint64_t points) {
    const test::LasLayout layout{.pointFormat = 2, .offset = {85'000, 447'500, 0}};
    std::mt19937_64 random(1);
    std::vector<std::uint8_t> bytes = test::LasHeaderOf(layout, points);
    std::error_code error;
    platform::File file = platform::File::Create(path, error);
    for (std::uint64_t i = 0; i < points && !error; ++i) {
        const std::uint64_t draw = random();
        std::array<std::int32_t, 3> place{static_cast<std::int32_t>(draw % 60'000),
                                          static_cast<std::int32_t>((draw >> 20) % 40'000),
                                          static_cast<std::int32_t>((draw >> 40) % 9'000)};
        // One coordinate lies on a wall or floor, every three metres.
        std::int32_t& flat = place[draw >> 62 == 3 ? 2 : (draw >> 62) % 3];
        flat = flat / 3'000 * 3'000 + static_cast<std::int32_t>(random() % 7);
        test::AppendLasPoint(
            layout, {place[0], place[1], place[2], static_cast<std::uint16_t>(draw)}, bytes);
        if (bytes.size() < kBlock && i + 1 < points) continue;
        file.Append(bytes.data(), bytes.size(), error);
        bytes.clear();
    }
    bench::Require(!error, "the scan cannot be written");
}

std::uint64_t BytesUnder(const std::filesystem::path& folder) {
    std::uint64_t bytes = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) bytes += entry.file_size();
    }
    return bytes;
}

void MoveBytes(const CString& scan, const CString& target, std::uint64_t projectBytes) {
    std::vector<std::uint8_t> block(kBlock);
    std::error_code error;
    const platform::File input = platform::File::OpenRead(scan, error);
    for (int pass = 0; pass < 2; ++pass) {
        std::uint64_t offset = 0;
        while (const std::size_t read = input.ReadAt(offset, block.data(), kBlock, error)) {
            offset += read;
        }
    }
    platform::File output = platform::File::Create(target, error);
    std::uint64_t pending = 0;
    while (output.AppendOffset() < projectBytes && !error) {
        output.Append(block.data(), kBlock, error);
        pending += kBlock;
        if (pending < kSyncBytes) continue;
        pending = 0;
        output.Sync(error);
    }
    if (!error) output.Sync(error);
    bench::Require(!error, "the ceiling's file cannot be written");
}

// Every point of the scan is in Grid.pts once, unchanged.
void CheckAnswer(const ImportReport& report, const CString& gridPoints, std::uint64_t points) {
    bench::Require(report.read == points && report.written == points, "points were lost");
    std::error_code error;
    const auto grid = platform::MappedFile::Open(gridPoints, error);
    bench::Require(grid.Size() == points * kAlivePointBytes, "Grid.pts has the wrong size");
    const auto* records = reinterpret_cast<const CCloudPoint<float>*>(grid.Data());
    bench::Require(detail::RecordHashSum(records, points) == report.checksum,
                   "the checksums differ");
}

}  // namespace

int main(int argc, char** argv) {
    const bench::Options options = bench::ParseOptions(argc, argv);
    const test::ScratchFolder folder;
    const CString scan = folder / L"scan.las";
    const CString project = folder / L"scan.prj";
    WriteScan(scan, options.points);

    std::array<double, 6> phases{};
    importer::ImportOptions overwrite;
    overwrite.overwrite = true;
    const auto import = [&] {
        auto last = std::chrono::steady_clock::now();
        auto phase = ImportPhase::Scan;
        phases = {};
        const auto watch = [&](const ImportProgress& progress) {
            const auto now = std::chrono::steady_clock::now();
            phases[static_cast<std::size_t>(phase)] +=
                std::chrono::duration<double>(now - last).count();
            phase = progress.phase;
            last = now;
            return true;
        };
        auto report = importer::Import({scan}, project, overwrite, watch);
        bench::Require(report.has_value(), report ? "" : report.error().message);
        return *report;
    };
    const ImportReport report = import();
    CheckAnswer(report, folder / L"scan_Project_Files/Index/Grid.pts", options.points);
    const std::uint64_t bytes = BytesUnder(std::filesystem::path((folder / L"scan_Project_Files")));

    bench::Report table("import_rate", options);
    double seconds = 0;
    table.Compare(
        "import over moving its bytes", bytes, [&] { MoveBytes(scan, folder / L"ceiling", bytes); },
        [&] { seconds = import().seconds; }, bench::AtMost(3));
    table.Figure("import", static_cast<double>(options.points) / seconds / 1e6, "million points/s",
                 bench::AtLeast(10));
    fmt::print("peak memory {} MiB;", report.peakMemoryBytes >> 20);
    for (std::size_t i = 0; i < phases.size(); ++i)
        fmt::print(" {} {:.2f} s", kPhases[i], phases[i]);
    fmt::print("\n");
    return 0;
}
