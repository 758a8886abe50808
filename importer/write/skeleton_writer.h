// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "importer/files/synced_file.h"
#include "importer/import_options.h"
#include "importer/import_pool.h"
#include "importer/skeleton/histograms.h"
#include "importer/skeleton/surface_density.h"
#include "importer/skeleton/thinned_points.h"
#include "importer/write/grid_writer.h"
#include "orvix/project/project_manager.h"
#include "orvix/project/view_records.h"

namespace orvix::importer {

/// What one pass over the sorted points counts.
struct SkeletonSummary {
    std::uint64_t points = 0;  ///< of the skeleton
    Histograms histograms;     ///< of the alive points
    SurfaceDensity aliveDensity;
    SurfaceDensity skeletonDensity;
};

/// The skeleton's files as they are written.
struct SkeletonFiles {
    RecordWriter<SimplePointT<float>> coordinates;
    RecordWriter<CPointDataFull> data;
    RecordWriter<detail::SkeletonCellRecord> cells;
    RecordWriter<detail::SkeletonBlockRecord> blocks;
    RecordWriter<detail::CoarseViewRecord> coarse;

    Expected<void> Create(const ProjectManager& project);
    /// Brings them to the device; they can be read back from then on.
    Expected<void> Finish();
    Expected<void> Close();

    [[nodiscard]] std::uint64_t CoarseBytes() const {
        return coarse.Count() * detail::kCoarseViewBytes;
    }
    /// After `Finish`: measures the blocks of the coarse table, of which first point and count are
    /// written, and closes all files.
    Expected<void> WriteCoarse(ImportPool& pool);
};

/// Thins the sorted cloud and writes the skeleton with its three tables.
///
/// `Write` reads Grid.pts once: it writes the skeleton's coordinates and data and the two cell
/// tables by which a viewer fetches it, and counts the histograms. Where the points are thinned
/// already, `Create`, `Enter` and `Store` of each stretch and `Finish` do the same without reading any. `WriteCoarse`
/// then writes the coarse table, block by block (orvix/project/view_records.h).
///
/// Order   skeleton points are in the order of Grid.pts's cells, inside a cell by voxel.
/// Errors  those of the files; Cancelled.
/// Cost    Grid.pts and the skeleton's coordinates are read once (the points of a cell of more
///         than a batch twice); memory is a batch of 65,536 points per worker.
class SkeletonWriter {
public:
    SkeletonWriter(const ProjectManager& project, SkeletonSize size, ImportPool& pool)
        : project_(project), size_(size), pool_(pool) {}

    Expected<void> Write(const FinishedGrid& grid, SkeletonSummary& summary);

    Expected<void> Create() { return files_.Create(project_); }
    /// One at a time, in the order of Grid.pts. Returns the number of the first skeleton point.
    Expected<std::uint64_t> Enter(const ThinnedPoints& thinned, SkeletonSummary& summary);
    /// Writes entered points, whose first has this number; on any thread.
    Expected<void> Store(const ThinnedPoints& thinned, std::uint64_t first);
    /// Brings the files to the device.
    Expected<void> Finish(SkeletonSummary& summary);

    /// What `WriteCoarse` will write.
    [[nodiscard]] std::uint64_t CoarseBytes() const { return files_.CoarseBytes(); }
    /// After `Write`: bounds and representatives of the coarse table; closes all files.
    Expected<void> WriteCoarse() { return files_.WriteCoarse(pool_); }
    /// After `Write` of a part, which has no coarse table of its own: closes all files.
    Expected<void> ClosePart() {
        return pool_.RunOne([&] { return files_.Close(); });
    }

private:
    struct Batch;

    Expected<void> CloseCell(SkeletonSummary& summary);
    Expected<void> CloseBlock();

    const ProjectManager& project_;
    SkeletonSize size_;
    ImportPool& pool_;
    SkeletonFiles files_;
    ThinnedCell cell_;  // the open one, of which more may come; none while it has no points
    detail::SkeletonBlockRecord block_;
    std::uint64_t blockFirst_ = 0;  // first skeleton point of the open block
    std::uint64_t points_ = 0;      // before the open cell
};

}  // namespace orvix::importer
