// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/small_project.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

#include "detection/plane_search.h"
#include "detection/plane_set.h"
#include "detection/saved_planes.h"
#include "importer/import.h"
#include "orvix/platform/crc32c.h"
#include "orvix/platform/error_channel.h"
#include "orvix/project/access/open_project.h"
#include "orvix/project/check/project_check.h"
#include "orvix/project/covered_files.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/station_files.h"

namespace orvix::fuzz {
namespace {

// A grid of points, one station of a PTX file. `lift` of an axis' step: 0 floor, 1 wall.
std::string Station(double x, double y, double z, bool upright) {
    constexpr int kSide = 8;
    std::string text = "8\n8\n";
    const std::string place = std::to_string(x) + " " + std::to_string(y) + " " + std::to_string(z);
    text += place + "\n1 0 0\n0 1 0\n0 0 1\n1 0 0 0\n0 1 0 0\n0 0 1 0\n" + place + " 1\n";
    for (int i = 0; i < kSide; ++i) {
        for (int k = 0; k < kSide; ++k) {
            const double across = 0.07 * k;
            text += std::to_string(0.07 * i) + " " + std::to_string(upright ? 0.3 : across) + " " +
                    std::to_string(upright ? across : -1.2) + " 0." + std::to_string(1 + i) + " " +
                    std::to_string(20 * k) + " 90 200\n";
        }
    }
    return text;
}

// Of every how many inputs one is read in every way, and one meets a repair, which waits for the disk.
constexpr std::uint32_t kRepairOfEvery = 16;
#ifdef ORVIX_FUZZ_SPARSELY
constexpr std::uint32_t kAllOfEvery = kRepairOfEvery;
#else
constexpr std::uint32_t kAllOfEvery = 1;
#endif

// Which readers come to the bytes of a target's files; head, indexes and points are read by most. The
// bytes alone decide, so that what a fuzzer finds is found again by the test.
unsigned ReadersOf(std::string_view target, std::span<const std::uint8_t> bytes) {
    using namespace readers;
    // The upper bits of a product: those of the sum follow single bits of the input.
    const std::uint32_t draw = platform::Crc32c(bytes) * 2'654'435'761U >> 16;
    if (draw % kRepairOfEvery == 0) return kAll;
    if (draw % kAllOfEvery == 0) return kAll & ~kRepair;
    if (target == "settings") return kCheck | kWalk | kHost | kC;
    if (target == "transform") return kCheck | kWorld;
    if (target == "skeleton") return kCheck | kWorld;
    if (target == "views") return kCheck;
    if (target == "index_hash") return kSmallFiles;
    if (target == "histograms") return kCheck | kSmallFiles | kC;
    if (target == "stations") return kCheck | kWorld | kSmallFiles;
    if (target == "manifest") return kCheck;
    return kAll & ~(kSearch | kRepair | kHost);
}

// A manifest ends with a checksum of itself: with a wrong one nothing behind it would be read.
void Sign(std::vector<std::uint8_t>& manifest) {
    std::uint32_t sum = 0;
    if (manifest.size() < sizeof sum) return;
    const std::size_t content = manifest.size() - sizeof sum;
    sum = platform::Crc32c({manifest.data(), content});
    std::memcpy(manifest.data() + content, &sum, sizeof sum);
}

}  // namespace

void Require(bool kept, const char* promise) {
    if (kept) return;
    std::fprintf(stderr, "broken promise: %s\n", promise);
    std::abort();
}

SmallProject::SmallProject() {
    // What the library says to its host would fill the fuzzer's log.
    SetErrorChannel([](const wchar_t*) {});
    detail::BuildPaths(paths_, folder_ / L"small.prj");
    Import();
    SaveItsPlanes();
    WriteIndexHash();
    detail::CheckOptions everything;
    everything.sums = detail::SumDepth::All;
    const auto check = detail::CheckProject(File(), everything);
    Require(check && check->Ok(), "the small project is whole");
}

void SmallProject::Import() {
    const CString scan = folder_ / L"scan.ptx";
    test::WriteText(scan, Station(9.6, 4.8, 1.5, false) + Station(10.4, 5.2, 1.5, true));
    importer::ImportOptions options;
    options.threads = 1;
    const auto imported = importer::Import({scan}, File(), options);
    Require(imported.has_value(), "the small project can be imported");
}

void SmallProject::SaveItsPlanes() {
    const auto project = detail::OpenProject::Open(File());
    Require(project.has_value(), "the small project can be opened");
    detection::PlaneSearchOptions options;
    options.threads = 1;
    options.minArea = 0.01;
    const auto search = detection::PlaneSearch::Run((*project)->Core(), options);
    Require(search && !(*search)->Planes().empty(), "the small project has planes");
    detection::SearchedPlanes planes((*project)->Core(), **search, options.detail);
    const auto saved = detection::SavePlanes((*project)->Manager(), (*project)->Core(), planes,
                                             [] { return true; });
    Require(saved.has_value(), "planes can be saved");
}

// As a host writes it: the 100 cm cells by their places in the box that holds them all, x fastest.
void SmallProject::WriteIndexHash() {
    const auto bytes = test::ReadBytes(paths_.gridIdx);
    std::vector<GridCellRecord> cells(bytes.size() / sizeof(GridCellRecord));
    std::memcpy(cells.data(), bytes.data(), cells.size() * sizeof(GridCellRecord));
    GridCellRecord low = cells.front();
    GridCellRecord high = cells.front();
    for (const GridCellRecord& cell : cells) {
        low.x = std::min(low.x, cell.x), high.x = std::max(high.x, cell.x);
        low.y = std::min(low.y, cell.y), high.y = std::max(high.y, cell.y);
        low.z = std::min(low.z, cell.z), high.z = std::max(high.z, cell.z);
    }
    std::vector<std::int64_t> keys;
    for (const GridCellRecord& cell : cells) {
        const std::int64_t row =
            std::int64_t{cell.z - low.z + 1} * (high.y - low.y + 1) + cell.y - low.y + 1;
        keys.push_back(row * (high.x - low.x + 1) + cell.x - low.x + 1);
    }
    test::WriteRecords(paths_.indexHash, keys);
}

std::vector<CString> SmallProject::FilesOf(std::string_view target) const {
    const ProjectManager& p = paths_;
    if (target == "settings") return {p.projectFile};
    if (target == "head") return {p.headFile};
    if (target == "transform") return {p.transformFile};
    if (target == "indexes") return {p.grid1000cmIdx, p.gridIdx, p.grid1to10cmIdx, p.grid10cmIdx};
    if (target == "manifest") return {detail::ManifestPath(p)};
    if (target == "points") return {p.gridPts};
    if (target == "skeleton") return {p.gridSkeletCoordPts, p.gridSkeletDataPts};
    if (target == "views") return {p.viewGridDtv, p.viewEntriesDtv, p.viewGridLv};
    if (target == "index_hash") return {p.indexHash};
    if (target == "histograms")
        return {p.intensitiesHist, p.intensitiesSliceHist, p.zHist, p.zSliceHist};
    if (target == "stations") {
        const detail::StationPaths first = detail::StationPathsOf(p, 0);
        return {first.position, first.orientation, first.intensities, first.name};
    }
    return {};
}

void ReadWithFile(std::string_view target, const std::uint8_t* data, std::size_t size) {
    static const SmallProject project;
    const std::vector<CString> files = project.FilesOf(target);
    Require(!files.empty(), "a target has files");
    std::size_t which = 0;
    if (files.size() > 1) {
        if (size == 0) return;
        which = *data % files.size();
        ++data, --size;
    }
    const auto former = test::ReadBytes(files[which]);
    std::vector<std::uint8_t> bytes(data, data + size);
    if (target == "manifest") Sign(bytes);
    test::WriteRecords(files[which], bytes);
    ReadProject(project.File(), ReadersOf(target, {data, size}));
    test::WriteRecords(files[which], former);
}

}  // namespace orvix::fuzz
