// SPDX-License-Identifier: GPL-3.0-or-later
#include <memory>

#include "bench/bench_support.h"
#include "bench/instructions/hot_paths.h"
#include "detection/plane_search.h"
#include "importer/import.h"
#include "orvix/project/access/open_project.h"
#include "support/scenes/synthetic_building.h"
#include "support/scratch_folder.h"

namespace orvix::bench {

namespace {

/// A scan of a building, and where its project is or will be.
class ScannedBuilding {
public:
    explicit ScannedBuilding(std::uint64_t points) {
        const test::SyntheticBuilding building({.seed = 1, .points = points});
        test::WriteScan(building, folder_ / L"scan.las");
    }
    [[nodiscard]] CString Project() const { return folder_ / L"scan.prj"; }
    std::uint64_t Import() const {
        importer::ImportOptions options;
        options.threads = 1;
        const auto report = importer::Import({folder_ / L"scan.las"}, Project(), options);
        Require(report.has_value(), report ? "" : report.error().message);
        return report->written;
    }

private:
    test::ScratchFolder folder_;
};

/// An import: points decoded, made into records, sorted by cell, merged and written.
CountedWork SortRecords() {
    return [scan = std::make_shared<ScannedBuilding>(150'000)] { return scan->Import(); };
}

/// A search for planes: cells gathered, grown into regions, points given to planes, outlines.
CountedWork SearchCells() {
    const auto scan = std::make_shared<ScannedBuilding>(150'000);
    scan->Import();
    return [scan] {
        const auto project = detail::OpenProject::Open(scan->Project());
        Require(project.has_value(), "the project does not open");
        detection::PlaneSearchOptions options;
        options.threads = 1;
        const auto search = detection::PlaneSearch::Run((*project)->Core(), options);
        Require(search.has_value(), "the search fails");
        return static_cast<std::uint64_t>((*search)->Planes().size());
    };
}

}  // namespace

std::vector<HotPath> ProjectPaths() {
    return {{"sort_records", SortRecords}, {"search_cells", SearchCells}};
}

}  // namespace orvix::bench
