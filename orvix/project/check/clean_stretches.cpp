// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/check/clean_stretches.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <span>

#include "orvix/geometry/bounds.h"
#include "orvix/points/attributes.h"
#include "orvix/project/view_records.h"

namespace orvix::detail {
namespace {

/// What is to be known of the points of one cell. A cell along an axis holds every coordinate between
/// two that it holds, so that of many points two a side decide.
struct PointBox {
    ExtendsT<float> bounds = NoBounds<ExtendsT<float>>();
    float sum = 0;  // not a number where one coordinate is not
    std::uint16_t station = 0;

    void Add(std::span<const CCloudPoint<float>> points) {
        PointBox box = *this;
        for (const CCloudPoint<float>& point : points) {
            Extend(box.bounds, point);
            box.sum += point.x + point.y + point.z;
            box.station = std::max(box.station, StationOf(point));
        }
        *this = box;
    }
};

// The bounds of HasCell and FloorTo; sums of finite coordinates that are no number are rare enough
// to be looked at carefully.
bool LiesIn(float low, float high, std::int32_t cell100) {
    const double from = cell100;
    return HasCell(low) && low >= from && high < from + 1;
}

// As CellOf decides, whose 10 cm cells ascend with the coordinate.
bool LiesInFine(float low, float high, std::int32_t cell100, std::int32_t cell10) {
    const double from = cell100;
    return cell10 >= 0 && cell10 <= 9 && (low - from) * 10.0 >= cell10 &&
           (cell10 == 9 || (high - from) * 10.0 < cell10 + 1);
}

bool LiesIn(const PointBox& box, const GridCellRecord& cell) {
    const auto& [min, max] = box.bounds;
    return box.sum == box.sum && LiesIn(min.x, max.x, cell.x) && LiesIn(min.y, max.y, cell.y) &&
           LiesIn(min.z, max.z, cell.z);
}

bool LiesIn(const PointBox& box, const GridCellRecord& cell, const FineCellRecord& fine) {
    const auto& [min, max] = box.bounds;
    return LiesIn(box, cell) && LiesInFine(min.x, max.x, cell.x, fine.x) &&
           LiesInFine(min.y, max.y, cell.y, fine.y) && LiesInFine(min.z, max.z, cell.z, fine.z);
}

bool IsSamePlace(const SimplePointT<float>& place, const CCloudPoint<float>& point) {
    return std::memcmp(&place, &point, sizeof place) == 0;
}

/// The files of one job, with windows and a log of their own.
struct JobFiles {
    explicit JobFiles(const ProjectManager& paths, bool fineLevel)
        : grid(paths, fineLevel, log),
          thinned(paths.viewEntriesDtv, log),
          places(paths.gridSkeletCoordPts, log),
          data(paths.gridSkeletDataPts, log) {}

    CheckOptions options;
    CheckLog log{options};
    GridFiles grid;
    RecordFile<SkeletonCellRecord> thinned;
    RecordFile<SimplePointT<float>> places;
    RecordFile<CPointDataFull> data;
};

/// Looks at the cells of one stretch.
class StretchLook {
public:
    StretchLook(const JobFiles& files, CellStretch& stretch) : files_(files), stretch_(stretch) {
        const GridFiles& grid = files.grid;
        const std::uint64_t smallest =
            grid.fineLevel ? grid.cells10.Count() : grid.cells100.Count();
        stretch.cleanPoints = true;
        stretch.cleanSkeleton = files.thinned.Count() == grid.cells100.Count() &&
                                files.places.Count() == smallest && files.data.Count() == smallest;
        stretch.bounds = NoBounds<ExtendsT<float>>();
    }

    // False where the rest need not be looked at.
    bool Look(std::uint64_t number) {
        const GridCellRecord cell = files_.grid.cells100[number];
        if (files_.grid.fineLevel) {
            LookAtFine(number, cell);
        } else {
            const PointBox box = LookAtSmallest(number, cell.offset, cell.count);
            stretch_.cleanPoints = stretch_.cleanPoints && LiesIn(box, cell);
            CompareThinned(number, cell, number, 1);
        }
        points_ = cell.count;
        return stretch_.cleanPoints && !files_.log.Cancelled();
    }
    /// Of the cell looked at last.
    [[nodiscard]] std::uint64_t Points() const { return points_; }
    void NothingIsClean() { stretch_.cleanPoints = stretch_.cleanSkeleton = false; }

private:
    void LookAtFine(std::uint64_t number, const GridCellRecord& cell) {
        const CIndexerSmall run = files_.grid.runs10[number];
        std::uint64_t next = cell.offset;
        CellKey former{-1, -1, -1};
        for (std::uint64_t i = run.offset; i < run.offset + run.count; ++i) {
            const FineCellRecord fine = files_.grid.cells10[i];
            const CellKey key = KeyOf(fine);
            if (fine.offset != next || fine.count > cell.offset + cell.count - next)
                return NothingIsClean();
            next += fine.count;
            if (!LiesIn(LookAtSmallest(i, fine.offset, fine.count), cell, fine) || key <= former)
                return NothingIsClean();
            former = key;
        }
        if (next != cell.offset + cell.count) return NothingIsClean();
        CompareThinned(number, cell, run.offset, run.count);
    }

    // The points of a smallest cell; its skeleton point has the same number.
    PointBox LookAtSmallest(std::uint64_t number, std::uint64_t first, std::uint64_t count) {
        PointBox box;
        bool stands = !stretch_.cleanSkeleton;
        const auto place = stands ? SimplePointT<float>() : files_.places[number];
        for (const std::uint64_t end = first + count; first < end;) {
            const auto points = files_.grid.points.From(first, end - first);
            if (points.empty()) {
                NothingIsClean();
                return box;
            }
            box.Add(points);
            stands = stands || StandsFor(place, number, points);
            first += points.size();
        }
        stretch_.cleanSkeleton = stretch_.cleanSkeleton && stands;
        Join(stretch_.bounds, box.bounds);
        stretch_.stations = std::max(stretch_.stations, box.station + 1U);
        return box;
    }

    [[nodiscard]] bool StandsFor(const SimplePointT<float>& place, std::uint64_t number,
                                 std::span<const CCloudPoint<float>> points) const {
        const auto found =
            std::find_if(points.begin(), points.end(), [&](const CCloudPoint<float>& point) {
                return IsSamePlace(place, point) && HoldsAttributesOf(files_.data[number], point);
            });
        return found != points.end();
    }

    // The skeleton's run of a cell: the points of its smallest cells.
    void CompareThinned(std::uint64_t number, const GridCellRecord& cell, std::uint64_t first,
                        std::uint64_t count) {
        if (!stretch_.cleanSkeleton) return;
        const SkeletonCellRecord thinned = files_.thinned[number];
        stretch_.cleanSkeleton =
            KeyOf(thinned) == KeyOf(cell) && thinned.offset == first && thinned.count == count;
    }

    const JobFiles& files_;
    CellStretch& stretch_;
    std::uint64_t points_ = 0;
};

/// Counts what jobs have done, and reports it on the calling thread: that of worker 0.
class LookProgress {
public:
    explicit LookProgress(CheckLog& log) : log_(log) {}

    // False when the look is to end.
    bool Add(std::uint64_t points, unsigned worker) {
        const std::uint64_t done = points_.fetch_add(points) + points;
        if (worker == 0 && done >= kCheckBlock) Finish();
        return !stop_;
    }
    void Finish() {
        if (!log_.Advance(points_.exchange(0) * kAlivePointBytes)) stop_ = true;
    }

private:
    CheckLog& log_;
    std::atomic<std::uint64_t> points_{0};
    std::atomic<bool> stop_{false};
};

std::vector<CellStretch> CutIntoStretches(const GridFiles& grid, std::uint64_t stretchPoints) {
    std::vector<CellStretch> stretches;
    const auto& cells = grid.cells100;
    for (std::uint64_t i = 0; i < cells.Count(); ++i) {
        const GridCellRecord cell = cells[i];
        const bool full = stretches.empty() ||
                          stretches.back().endPoint - stretches.back().firstPoint >= stretchPoints;
        if (full) {
            stretches.emplace_back();
            stretches.back().firstCell = i;
            stretches.back().firstPoint = stretches.back().endPoint = cell.offset;
        }
        stretches.back().endCell = i + 1;
        stretches.back().endPoint = cell.offset + cell.count;
    }
    return stretches;
}

}  // namespace

std::vector<CellStretch> LookAtCells(CheckLog& log, const ProjectManager& paths,
                                     const GridFiles& grid, const BlockRunner& run,
                                     std::uint64_t stretchPoints) {
    std::vector<CellStretch> stretches = CutIntoStretches(grid, stretchPoints);
    LookProgress progress(log);
    const auto look = [&](std::size_t job, unsigned worker) -> Expected<void> {
        CellStretch& stretch = stretches[job];
        const JobFiles files(paths, grid.fineLevel);
        StretchLook looking(files, stretch);
        bool proceed = true;
        for (std::uint64_t i = stretch.firstCell; i < stretch.endCell && proceed; ++i)
            proceed = looking.Look(i) && progress.Add(looking.Points(), worker);
        if (!proceed) looking.NothingIsClean();
        return {};
    };
    const auto done = run ? run(stretches.size(), look) : RunOneByOne(stretches.size(), look);
    if (!done) log.Refuse(done.error());
    progress.Finish();
    return stretches;
}

}  // namespace orvix::detail
