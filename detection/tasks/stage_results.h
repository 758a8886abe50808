// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>

#include "detection/region_planes.h"
#include "detection/regions/region_merge.h"
#include "detection/search_stages.h"
#include "detection/tasks/task_file.h"

namespace orvix::detection {

/// What a search cut into tasks was asked for, and how it is cut. Its bytes are the plan's identity: a
/// result of another plan, or with cells of another size, is never taken.
struct TaskPlan {
    PlaneSearchOptions options;  ///< values alone: no stations, functions, threads
    PlaneSearchSettings settings;
    std::uint64_t step = 0;                ///< of the cells: a place in CellFrame::kSizes
    std::uint64_t cloud = 0;               ///< CloudMark
    std::vector<std::uint32_t> firstTile;  ///< of each piece; then the number of tiles

    [[nodiscard]] std::size_t Pieces() const {
        return firstTile.empty() ? 0 : firstTile.size() - 1;
    }
    [[nodiscard]] TileRange Piece(std::size_t piece) const {
        return {firstTile[piece], firstTile[piece + 1]};
    }
};

void Encode(TaskPlan plan, TaskWriter& writer);
/// Errors  Damaged where it is no plan for so many tiles of a cloud.
Expected<TaskPlan> DecodePlan(TaskReader& reader);

/// Says whether two clouds are one: by their chunks, and by the coordinates of 16 samples.
Expected<std::uint64_t> CloudMark(CProjectCore& core, const PointChunks& cut);

/// The tiles that grew in one piece of the plan.
void Encode(GrownTiles& grown, const PointChunks& cut, TileRange tiles, TaskWriter& writer);

/// Collects grown tiles from the results of pieces.
class TileCollector {
public:
    explicit TileCollector(const PointChunks& cut);

    /// Takes those tiles of a piece that `wanted` says. Errors: Damaged.
    Expected<void> Take(TaskReader& reader, TileRange tiles,
                        const std::function<bool(std::size_t)>& wanted);
    /// Regions tile by tile, not numbered yet.
    GrownTiles Finish();

private:
    bool TakeTile(TaskReader& reader, std::size_t tile);

    const PointChunks& cut_;
    GrownTiles grown_;
    std::vector<std::vector<Region>> regions_;  // of each tile
};

/// The regions of a whole cloud, and what their points are marked in.
struct JoinedRegions {
    std::vector<std::uint32_t> regionsIn;  ///< how many grew in each tile
    MergedRegions merged;                  ///< what became of them
    std::vector<Region> regions;
    std::vector<RasterPlan> rasters;  ///< of each region
};

void Encode(JoinedRegions& joined, TaskWriter& writer);
Expected<JoinedRegions> DecodeJoined(TaskReader& reader, std::size_t tiles);

/// What the points of some chunks add up to.
void Encode(std::span<const std::uint32_t> chunks, std::vector<ChunkSums>& sums,
            const std::vector<RegionPoints>& points, TaskWriter& writer);
/// Puts the sums of its chunks into `sums`, of all chunks, and marks the rasters of `points`.
Expected<void> TakePoints(TaskReader& reader, std::vector<ChunkSums>& sums, std::vector<bool>& seen,
                          std::vector<RegionPoints>& points);

}  // namespace orvix::detection
