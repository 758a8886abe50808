// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/growth/grow_tiles.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <functional>

#include "detection/cells/gather_cells.h"
#include "detection/cells/point_readers.h"
#include "detection/growth/loose_points.h"
#include "detection/growth/small_regions.h"

namespace orvix::detection {
namespace {

constexpr std::uint64_t kWorkBytesPerCell = 400;

Expected<ShapedTile> ShapeTile(const CellFrame& frame, const CellPlace& place,
                               std::span<CellSums> parts, double noise,
                               const std::function<bool()>& proceed) {
    ShapedTile tile{TileCells(frame, frame.OriginOf(place), parts), {}};
    if (auto checked = tile.cells.Check(); !checked) return ErrorOf(checked);
    tile.cells.Link();
    tile.shapes = ShapesOf(tile.cells, proceed);
    FindThinShapes(tile.cells, noise, tile.shapes, proceed);
    return tile;
}

/// Whether jobs of many seconds go on: the calling thread asks in the middle of its own, and the others
/// hear of its no.
class Patience {
public:
    explicit Patience(const parallel::Pool& pool) : pool_(pool) {}

    [[nodiscard]] bool GoesOn(unsigned worker) {
        if (stopped_.load(std::memory_order_relaxed)) return false;
        if (worker != 0) return true;  // not the calling thread
        try {
            if (pool_.Proceed()) return true;
        } catch (...) {
            thrown_ = std::current_exception();
        }
        stopped_ = true;
        return false;
    }
    /// What a job returns that ended early.
    [[nodiscard]] static tl::unexpected<Error> Cancelled() {
        return Fail(ErrorCode::Cancelled, "the search for planes was cancelled");
    }
    /// After all jobs: throws on what was thrown instead of an answer.
    void Rethrow() const {
        if (thrown_) std::rethrow_exception(thrown_);
    }

private:
    const parallel::Pool& pool_;
    std::atomic<bool> stopped_{false};
    std::exception_ptr thrown_;
};

class TileWork {
public:
    TileWork(CProjectCore& core, const PointChunks& cut, const GrowthLimits& limits,
             const parallel::Pool& pool, std::uint64_t memoryLimit)
        : cut_(cut),
          limits_(limits),
          pool_(pool),
          memoryLimit_(memoryLimit),
          readers_(core, pool.Threads()),
          parts_(cut.tiles.size()),
          regions_(cut.tiles.size()),
          leftOut_(cut.tiles.size()) {
        std::vector<CellPlace> places;
        for (const TileChunks& tile : cut.tiles) places.push_back(tile.place);
        grown_.map = CellMap(cut.frame, places);
        grown_.firstNumber.resize(cut.chunks.size());
    }

    Expected<GrownTiles> Run(TileRange tiles) {
        for (std::size_t first = tiles.first; first < tiles.last;) {
            const std::size_t last = BatchFrom(first, tiles.last);
            if (auto done = Gather(first, last); !done) return ErrorOf(done);
            if (auto done = Grow(first, last); !done) return ErrorOf(done);
            first = last;
            if (auto fit = RequireThatCellsFit(grown_, memoryLimit_); !fit) return ErrorOf(fit);
        }
        for (auto& regions : regions_) {
            grown_.regionsIn.push_back(static_cast<std::uint32_t>(regions.size()));
            std::move(regions.begin(), regions.end(), std::back_inserter(grown_.regions));
        }
        for (const std::uint64_t leftOut : leftOut_) grown_.leftOut += leftOut;
        return std::move(grown_);
    }

private:
    // The tiles up to which, from `first` to `end`, memory surely suffices.
    [[nodiscard]] std::size_t BatchFrom(std::size_t first, std::size_t end) const {
        const auto maxCells = static_cast<std::uint64_t>(
            cut_.frame.PerTile(0) * cut_.frame.PerTile(1) * cut_.frame.PerTile(2));
        std::uint64_t bytes = 0;
        std::size_t last = first;
        for (; last < end; ++last) {
            bytes += std::min(cut_.tiles[last].points, maxCells) * kWorkBytesPerCell;
            if (bytes > memoryLimit_ / 2 && last > first) break;
        }
        return last;
    }
    Expected<void> Gather(std::size_t first, std::size_t last) {
        struct Job {
            std::size_t tile, part;
        };
        std::vector<Job> jobs;
        for (std::size_t tile = first; tile < last; ++tile) {
            parts_[tile].resize(cut_.tiles[tile].chunks.size());
            for (std::size_t i = 0; i < parts_[tile].size(); ++i) jobs.push_back({tile, i});
        }
        return pool_.RunJobs(jobs.size(), [&](std::size_t job, unsigned worker) -> Expected<void> {
            const auto [tile, part] = jobs[job];
            const PointChunk& chunk = cut_.chunks[cut_.tiles[tile].chunks[part]];
            auto cells = GatherCells(readers_[worker], chunk, cut_.frame,
                                     cut_.frame.OriginOf(cut_.tiles[tile].place));
            if (!cells) return ErrorOf(cells);
            parts_[tile][part] = std::move(*cells);
            return {};
        });
    }
    // The tiles with most points first, so that no thread is left with a large one in the end.
    Expected<void> Grow(std::size_t first, std::size_t last) {
        std::vector<std::size_t> order;
        for (std::size_t tile = first; tile < last; ++tile) order.push_back(tile);
        std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
            return cut_.tiles[a].points > cut_.tiles[b].points;
        });
        Patience patience(pool_);
        auto done =
            pool_.RunJobs(order.size(), [&](std::size_t job, unsigned worker) -> Expected<void> {
                return GrowIn(order[job], readers_[worker],
                              [&] { return patience.GoesOn(worker); });
            });
        patience.Rethrow();
        return done;
    }
    // Each step ends early where it may not go on, and what came of it is dropped.
    Expected<void> GrowIn(std::size_t tile, CAlivePointReader& reader,
                          const std::function<bool()>& proceed) {
        std::uint32_t numbered = 0;
        for (std::size_t i = 0; i < parts_[tile].size(); ++i) {
            grown_.firstNumber[cut_.tiles[tile].chunks[i]] = numbered;
            numbered += static_cast<std::uint32_t>(parts_[tile][i].keys.size());
        }
        auto shaped =
            ShapeTile(cut_.frame, cut_.tiles[tile].place, parts_[tile], limits_.noise, proceed);
        parts_[tile] = {};
        if (!shaped) return ErrorOf(shaped);
        if (!proceed()) return Patience::Cancelled();
        Regions grown = GrowRegions(shaped->cells, shaped->shapes, limits_, proceed);
        if (!proceed()) return Patience::Cancelled();
        const std::vector<std::uint32_t> numbers = shaped->cells.TakeNumbers();
        SmallRegions small;
        if (limits_.small) {
            const auto specks = ReadLoosePoints(reader, cut_, {tile, grown_.firstNumber, numbers},
                                                shaped->cells, grown, limits_, proceed);
            if (!specks) return ErrorOf(specks);
            small = GrowSmallRegions(*specks, shaped->cells, grown, limits_, proceed);
        }
        if (!proceed()) return Patience::Cancelled();
        const auto first = static_cast<std::int32_t>(grown.regions.size());
        for (SmallPart& part : small.parts) part.region += first;
        regions_[tile] = std::move(grown.regions);
        leftOut_[tile] = grown.leftOut;
        std::move(small.regions.begin(), small.regions.end(), std::back_inserter(regions_[tile]));
        grown_.map.Put(tile, shaped->cells, shaped->shapes, grown.ofCell, numbers,
                       std::move(small.parts));
        return {};
    }

    const PointChunks& cut_;
    const GrowthLimits& limits_;
    const parallel::Pool& pool_;
    std::uint64_t memoryLimit_;
    PointReaders readers_;
    std::vector<std::vector<CellSums>> parts_;  // of each tile
    std::vector<std::vector<Region>> regions_;  // of each tile
    std::vector<std::uint64_t> leftOut_;        // of each tile
    GrownTiles grown_;
};

}  // namespace

Expected<ShapedTile> ReadTile(CAlivePointReader& reader, const PointChunks& cut, std::size_t tile,
                              double noise) {
    std::vector<CellSums> parts;
    const CellPlace& place = cut.tiles[tile].place;
    for (const std::uint32_t chunk : cut.tiles[tile].chunks) {
        auto cells = GatherCells(reader, cut.chunks[chunk], cut.frame, cut.frame.OriginOf(place));
        if (!cells) return ErrorOf(cells);
        parts.push_back(std::move(*cells));
    }
    return ShapeTile(cut.frame, place, parts, noise, {});
}

Expected<GrownTiles> GrowTiles(CProjectCore& core, const PointChunks& cut,
                               const GrowthLimits& limits, const parallel::Pool& pool,
                               std::uint64_t memoryLimit) {
    auto grown =
        GrowSomeTiles(core, cut, limits, pool, memoryLimit, TileRange{0, cut.tiles.size()});
    if (grown) grown->map.Number(grown->regionsIn);
    return grown;
}

Expected<GrownTiles> GrowSomeTiles(CProjectCore& core, const PointChunks& cut,
                                   const GrowthLimits& limits, const parallel::Pool& pool,
                                   std::uint64_t memoryLimit, TileRange tiles) {
    return TileWork(core, cut, limits, pool, memoryLimit).Run(tiles);
}

Expected<void> RequireThatCellsFit(const GrownTiles& grown, std::uint64_t memoryLimit) {
    std::uint64_t cells = 0;
    for (std::size_t tile = 0; tile < grown.map.Tiles(); ++tile) cells += grown.map.CellsIn(tile);
    if (cells <= memoryLimit / 2 / CellMap::kBytesPerCell) return {};
    return Fail(ErrorCode::BadInput,
                fmt::format("cells of {} m take more than the {} bytes allowed; allow more memory, "
                            "or choose larger cells",
                            grown.map.Frame().Size(), memoryLimit));
}

}  // namespace orvix::detection
