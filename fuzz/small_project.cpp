// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/small_project.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "detection/plane_search.h"
#include "detection/plane_set.h"
#include "detection/saved_planes.h"
#include "importer/import.h"
#include "orvix/platform/error_channel.h"
#include "orvix/project/open_project.h"
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

// A search reads settings, head, indexes and points.
Searches SearchesOf(std::string_view target) {
    for (const std::string_view read : {"settings", "head", "indexes", "points"})
        if (target == read) return Searches::Made;
    return Searches::Left;
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

// The keys of the 100 cm cells, as a host writes them; which keys does not matter to a search.
void SmallProject::WriteIndexHash() {
    const auto cells = test::ReadBytes(paths_.gridIdx);
    std::vector<std::uint64_t> keys(cells.size() / sizeof(GridCellRecord));
    for (std::size_t i = 0; i < keys.size(); ++i) keys[i] = i;
    test::WriteRecords(paths_.indexHash, keys);
}

std::vector<CString> SmallProject::FilesOf(std::string_view target) const {
    const ProjectManager& p = paths_;
    if (target == "settings") return {p.projectFile};
    if (target == "head") return {p.headFile};
    if (target == "transform") return {p.transformFile};
    if (target == "indexes") return {p.grid1000cmIdx, p.gridIdx, p.grid1to10cmIdx, p.grid10cmIdx};
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
    test::WriteBytes(files[which], data, size);
    ReadEverything(project.File(), SearchesOf(target));
    test::WriteRecords(files[which], former);
}

}  // namespace orvix::fuzz
