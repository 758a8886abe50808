// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/check/check_skeleton.h"

#include <fmt/ranges.h>

#include <algorithm>

#include "orvix/geometry/bounds.h"
#include "orvix/project/check/check_skeleton_data.h"
#include "orvix/project/view_records.h"

namespace orvix::detail {
namespace {

using Coordinates = RecordFile<SimplePointT<float>>;

// Two nearest points may tie up to rounding; either may stand for its block.
// BEHAVIOUR K5
constexpr double kTieTolerance = 1e-9;

struct ViewFiles {
    ViewFiles(const ProjectManager& paths, CheckLog& log)
        : blocks(paths.viewGridDtv, log),
          cells(paths.viewEntriesDtv, log),
          coarse(paths.viewGridLv, log) {}

    RecordFile<SkeletonBlockRecord> blocks;
    RecordFile<SkeletonCellRecord> cells;
    RecordFile<CoarseViewRecord> coarse;
};

bool AllHaveCells(CheckLog& log, const Coordinates& points) {
    bool all = true;
    for (std::uint64_t i = 0; i < points.Count(); ++i) {
        if (i % kCheckBlock == 0 && !log.Advance(kCheckBlock * kSkeletonRecordBytes)) return false;
        const SimplePointT<float> point = points[i];
        if (HasCell(point)) continue;
        log.Add(points.Path(), "point {} has coordinates ({}, {}, {}), which lie in no cell", i,
                point.x, point.y, point.z);
        all = false;
    }
    return all;
}

// Preconditions: the runs are sound, every point has a cell.
void CheckMembership(CheckLog& log, const RecordFile<SkeletonCellRecord>& cells,
                     const Coordinates& points) {
    for (std::uint64_t i = 0; i < cells.Count(); ++i) {
        const SkeletonCellRecord cell = cells[i];
        for (std::uint64_t p = cell.offset; p < cell.offset + cell.count; ++p) {
            const CellKey actual = Cell100Of(CellsOf(points[p]));
            if (actual == KeyOf(cell)) continue;
            log.Add(points.Path(), "point {} lies in 100 cm cell {} and is filed under {}", p,
                    actual, KeyOf(cell));
        }
    }
}

// A skeleton of 10 cm has its points in the order of the 10 cm cells, one in each; one of 1 m has
// one in each 100 cm cell. Precondition: every point has a cell.
void CheckVoxels(CheckLog& log, const GridFiles& grid, const Coordinates& points, double scale) {
    const bool fine = scale == 0.1 && grid.cells10.IsOpen();
    const bool coarse = scale == 1.0 && grid.cells100.IsOpen();
    const std::uint64_t voxels = fine ? grid.cells10.Count() : grid.cells100.Count();
    if ((fine || coarse) && points.Count() != voxels) {
        log.Add(points.Path(), "holds {} points for {} occupied voxels", points.Count(), voxels);
    } else if (fine) {
        for (std::uint64_t i = 0; i < voxels; ++i) {
            const CellKey cell = Cell10Of(CellsOf(points[i]));
            if (cell == KeyOf(grid.cells10[i])) continue;
            log.Add(points.Path(),
                    "point {} lies in 10 cm cell {} of its 100 cm cell and stands "
                    "for {}",
                    i, cell, KeyOf(grid.cells10[i]));
        }
    }
}

struct Block {
    std::uint64_t first = 0;
    std::uint64_t count = 0;
    SimplePointT<float> min;
    SimplePointT<float> max;
    SimplePointT<double> centroid;
};

double SquaredDistance(const SimplePointT<float>& point, const SimplePointT<double>& centre) {
    const double dx = point.x - centre.x;
    const double dy = point.y - centre.y;
    const double dz = point.z - centre.z;
    return dx * dx + dy * dy + dz * dz;
}

Block Measure(const ViewFiles& view, const SkeletonBlockRecord& entry, const Coordinates& points) {
    const SkeletonCellRecord last = view.cells[entry.offset + entry.count - 1];
    Block block;
    block.first = view.cells[entry.offset].offset;
    block.count = last.offset + last.count - block.first;
    block.min = block.max = points[block.first];
    for (std::uint64_t p = block.first; p < block.first + block.count; ++p) {
        const SimplePointT<float> point = points[p];
        Extend(block, point);
        block.centroid.x += point.x;
        block.centroid.y += point.y;
        block.centroid.z += point.z;
    }
    const auto count = static_cast<double>(block.count);
    block.centroid = {block.centroid.x / count, block.centroid.y / count, block.centroid.z / count};
    return block;
}

bool IsNearest(const Block& block, std::uint64_t representative, const Coordinates& points) {
    const double chosen = SquaredDistance(points[block.first + representative], block.centroid);
    double best = chosen;
    for (std::uint64_t p = block.first; p < block.first + block.count; ++p) {
        best = std::min(best, SquaredDistance(points[p], block.centroid));
    }
    return chosen - best <= kTieTolerance * std::max(1.0, chosen);
}

bool IsSame(const SimplePointT<float>& a, const SimplePointT<float>& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

// Preconditions: both view indexes are sound, every point has a cell.
void CheckCoarse(CheckLog& log, const ViewFiles& view, const Coordinates& points) {
    const CString& path = view.coarse.Path();
    if (view.coarse.Count() != view.blocks.Count()) {
        log.Add(path, "holds {} records for {} 1000 cm cells", view.coarse.Count(),
                view.blocks.Count());
        return;
    }
    for (std::uint64_t i = 0; i < view.coarse.Count(); ++i) {
        const CoarseViewRecord stored = view.coarse[i];
        const Block block = Measure(view, view.blocks[i], points);
        if (stored.first != block.first || stored.count != block.count) {
            log.Add(path, "record {} names {} points from {} on instead of {} from {} on", i,
                    stored.count, stored.first, block.count, block.first);
        } else if (stored.representative >= stored.count) {
            log.Add(path, "record {} is represented by point {} of {}", i, stored.representative,
                    stored.count);
        } else if (!IsNearest(block, stored.representative, points)) {
            log.Add(path,
                    "record {} is represented by point {}, which is not the nearest to its "
                    "centroid",
                    i, stored.representative);
        }
        if (!IsSame(stored.min, block.min) || !IsSame(stored.max, block.max)) {
            log.Add(path, "record {} does not hold the bounds of its points", i);
        }
        if (stored.reserved != 0) log.Add(path, "record {} has reserved bytes in use", i);
    }
}

void CheckView(CheckLog& log, const ViewFiles& view, const GridFiles& grid,
               const Coordinates& points, bool finite, bool clean) {
    const bool open = view.blocks.IsOpen() && view.cells.IsOpen();
    if (!open || log.Cancelled()) return;
    const bool blocks = CheckRuns(log, view.blocks, view.cells.Count(), "100 cm cells");
    const bool cells = CheckRuns(log, view.cells, points.Count(), "skeleton points");
    if (blocks) CheckNesting(log, view.blocks, view.cells);
    if (grid.cells1000.IsOpen()) CheckSameCells(log, view.blocks, grid.cells1000);
    if (grid.cells100.IsOpen()) CheckSameCells(log, view.cells, grid.cells100);
    if (finite && cells && !clean) CheckMembership(log, view.cells, points);
    if (finite && cells && blocks && view.coarse.IsOpen()) CheckCoarse(log, view, points);
}

}  // namespace

void CheckSkeleton(CheckLog& log, const ProjectManager& paths, const GridFiles& grid,
                   const CLOUD_HEADER& head, const std::vector<CellStretch>& stretches) {
    const Coordinates points(paths.gridSkeletCoordPts, log);
    const RecordFile<CPointDataFull> data(paths.gridSkeletDataPts, log);
    const ViewFiles view(paths, log);
    if (data.IsOpen()) log.Advance(data.Bytes());
    if (!points.IsOpen()) return;
    if (head.skeletonCount != points.Count()) {
        log.Add(paths.headFile, "counts {} skeleton points where {} are stored", head.skeletonCount,
                points.Count());
    }
    if (data.IsOpen() && data.Count() != points.Count()) {
        log.Add(data.Path(), "holds {} records for {} skeleton points", data.Count(),
                points.Count());
    }
    const bool clean = AllAre(stretches, &CellStretch::cleanSkeleton);
    const bool finite = clean ? log.Advance(points.Bytes()) : AllHaveCells(log, points);
    if (finite && !clean) CheckVoxels(log, grid, points, head.scale);
    CheckView(log, view, grid, points, finite, clean);
    if (clean || log.Cancelled() || !finite || !data.IsOpen() || !grid.points.IsOpen()) return;
    CheckSkeletonData(log, {points, data, view.cells}, grid, stretches);
}

}  // namespace orvix::detail
