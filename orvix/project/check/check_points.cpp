// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/check/check_points.h"

#include <fmt/ranges.h>

#include <algorithm>

#include "orvix/geometry/bounds.h"
#include "orvix/points/attributes.h"

namespace orvix::detail {
namespace {

// Which of a level's indexes are sound enough to be followed down to the points.
struct Soundness {
    bool cells100 = false;
    bool cells10 = false;
    bool all = false;  // every run of every level of the grid
};

Soundness CheckLevels(CheckLog& log, const GridFiles& grid) {
    Soundness sound;
    if (!grid.cells100.IsOpen()) return sound;
    const bool nested = grid.cells1000.IsOpen() &&
                        CheckRuns(log, grid.cells1000, grid.cells100.Count(), "100 cm cells");
    if (nested) CheckNesting(log, grid.cells1000, grid.cells100);
    if (!grid.points.IsOpen()) return sound;
    sound.cells100 = CheckRuns(log, grid.cells100, grid.points.Count(), "points");
    sound.all = sound.cells100 && !grid.fineLevel;
    if (!grid.fineLevel || !grid.cells10.IsOpen()) return sound;
    sound.cells10 = CheckRuns(log, grid.cells10, grid.points.Count(), "points") && sound.cells100;
    if (!grid.runs10.IsOpen()) return sound;
    const bool runs = CheckRuns(log, grid.runs10, grid.cells10.Count(), "10 cm cells");
    if (grid.runs10.Count() != grid.cells100.Count()) {
        log.Add(grid.runs10.Path(), "holds {} runs for {} 100 cm cells", grid.runs10.Count(),
                grid.cells100.Count());
    } else {
        sound.all = runs && sound.cells10;
    }
    return sound;
}

// Follows the runs of a sound index while points are visited in file order.
template <class Cell>
class Cursor {
public:
    explicit Cursor(const RecordFile<Cell>& cells) : cells_(cells) {}

    // The cell whose run holds point `i`; calls come with ascending numbers.
    CellKey At(std::uint64_t i) {
        while (i >= end_ && next_ < cells_.Count()) {
            const Cell cell = cells_[next_++];
            end_ = cell.offset + cell.count;
            key_ = KeyOf(cell);
        }
        return key_;
    }

private:
    const RecordFile<Cell>& cells_;
    std::uint64_t next_ = 0;
    std::uint64_t end_ = 0;
    CellKey key_{};
};

class PointCheck {
public:
    PointCheck(CheckLog& log, const GridFiles& grid, Soundness sound)
        : log_(log), grid_(grid), sound_(sound), cell100_(grid.cells100), cell10_(grid.cells10) {}

    // Clean stretches need no visit; without any, every point does.
    void Run(const std::vector<CellStretch>& stretches) {
        if (stretches.empty()) return Visit(0, grid_.points.Count());
        for (const CellStretch& stretch : stretches) {
            if (stretch.cleanPoints) {
                Take(stretch);
            } else {
                Visit(stretch.firstPoint, stretch.endPoint);
            }
        }
    }

    // Zeros where no point has a place.
    [[nodiscard]] ExtendsT<double> Bounds() const { return empty_ ? ExtendsT<double>() : bounds_; }
    [[nodiscard]] std::uint32_t Stations() const { return stations_; }

private:
    void Visit(std::uint64_t first, std::uint64_t end) {
        for (std::uint64_t i = first; i < end && !log_.Cancelled(); ++i) {
            Visit(i, grid_.points[i]);
            if (i % kCheckBlock == 0) log_.Advance(kCheckBlock * kAlivePointBytes);
        }
    }

    void Visit(std::uint64_t i, const CCloudPoint<float>& point) {
        if (!HasCell(point)) {
            log_.Add(grid_.points.Path(),
                     "point {} has coordinates ({}, {}, {}), which lie in no "
                     "cell",
                     i, point.x, point.y, point.z);
            return;
        }
        Measure(point);
        if (!sound_.cells100) return;  // BEHAVIOUR K3
        const auto axes = CellsOf(point);
        if (const CellKey cell = cell100_.At(i); cell != Cell100Of(axes)) {
            log_.Add(grid_.points.Path(), "point {} lies in 100 cm cell {} and is filed under {}",
                     i, Cell100Of(axes), cell);
        } else if (sound_.cells10 && cell10_.At(i) != Cell10Of(axes)) {
            log_.Add(grid_.points.Path(),
                     "point {} lies in 10 cm cell {} of its 100 cm cell and is "
                     "filed under {}",
                     i, Cell10Of(axes), cell10_.At(i));
        }
    }

    void Measure(const CCloudPoint<float>& point) {
        empty_ = false;
        Extend(bounds_, SimplePointT<double>{point.x, point.y, point.z});
        stations_ = std::max(stations_, StationOf(point) + 1U);
    }

    void Take(const CellStretch& stretch) {
        empty_ = false;
        const ExtendsT<float>& clean = stretch.bounds;
        Extend(bounds_, SimplePointT<double>{clean.min.x, clean.min.y, clean.min.z});
        Extend(bounds_, SimplePointT<double>{clean.max.x, clean.max.y, clean.max.z});
        stations_ = std::max(stations_, stretch.stations);
    }

    CheckLog& log_;
    const GridFiles& grid_;
    Soundness sound_;
    Cursor<GridCellRecord> cell100_;
    Cursor<FineCellRecord> cell10_;
    ExtendsT<double> bounds_ = NoBounds<ExtendsT<double>>();
    bool empty_ = true;
    std::uint32_t stations_ = 0;
};

bool IsSame(const SimplePointT<double>& a, const SimplePointT<double>& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

void CheckHeadAgainst(CheckLog& log, const PointCheck& points, const CString& headPath,
                      const CLOUD_HEADER& head) {
    const ExtendsT<double> bounds = points.Bounds();
    if (!IsSame(bounds.min, head.bounds.min) || !IsSame(bounds.max, head.bounds.max)) {
        log.Add(headPath,
                "holds bounds ({}, {}, {}) to ({}, {}, {}) where the points reach from "
                "({}, {}, {}) to ({}, {}, {})",
                head.bounds.min.x, head.bounds.min.y, head.bounds.min.z, head.bounds.max.x,
                head.bounds.max.y, head.bounds.max.z, bounds.min.x, bounds.min.y, bounds.min.z,
                bounds.max.x, bounds.max.y, bounds.max.z);
    }
    if (points.Stations() > head.stationCount) {
        log.Add(headPath, "counts {} stations where points name station {}", head.stationCount,
                points.Stations() - 1);
    }
}

}  // namespace

std::vector<CellStretch> CheckGrid(CheckLog& log, const ProjectManager& paths,
                                   const GridFiles& grid, const CLOUD_HEADER& head,
                                   const BlockRunner& run) {
    const Soundness sound = CheckLevels(log, grid);
    std::vector<CellStretch> stretches;
    if (sound.all) stretches = LookAtCells(log, paths, grid, run);
    const bool clean = AllAre(stretches, &CellStretch::cleanPoints);
    if (sound.all && grid.fineLevel && !clean)
        CheckFineCells(log, grid.cells100, grid.runs10, grid.cells10);
    if (!grid.points.IsOpen() || log.Cancelled()) return {};
    if (head.pointCount != grid.points.Count()) {
        log.Add(paths.headFile, "counts {} points where {} are stored", head.pointCount,
                grid.points.Count());
    }
    PointCheck points(log, grid, sound);
    points.Run(stretches);
    if (!log.Cancelled()) CheckHeadAgainst(log, points, paths.headFile, head);
    return stretches;
}

}  // namespace orvix::detail
