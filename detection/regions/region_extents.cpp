// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/regions/region_extents.h"

namespace orvix::detection {
namespace {

constexpr std::uint64_t kCellsPerRegion = 200;  // of a region, and one more for each of its tiles

/// The extents of the regions of one tile.
using TileExtents = std::vector<std::pair<std::int32_t, RegionExtent>>;

class TileExtentFinder {
public:
    TileExtentFinder(const std::vector<Region>& regions, const std::vector<PlaneFrame>& frames)
        : regions_(regions), frames_(frames), slots_(regions.size(), -1) {}

    TileExtents Find(const CellMap& map, std::size_t tile) {
        TileExtents extents;
        std::vector<std::uint64_t> cellsSeen;
        const auto add = [&](std::int32_t region, std::uint32_t cell) {
            const auto number = static_cast<std::size_t>(region);
            if (slots_[number] < 0) {
                slots_[number] = static_cast<std::int32_t>(extents.size());
                extents.emplace_back(region, RegionExtent{});
                cellsSeen.push_back(0);
            }
            const auto slot = static_cast<std::size_t>(slots_[number]);
            RegionExtent& extent = extents[slot].second;
            const CellPlace place = map.PlaceOf(tile, cell);
            detail::Extend(extent.bounds, frames_[number].To2D(map.Frame().Middle(place)));
            const std::uint64_t stride = 1 + regions_[number].cells / kCellsPerRegion;
            if (cellsSeen[slot]++ % stride != 0) return;
            extent.cells.push_back(place);
            extent.counts.push_back(map.SummaryOf(tile, cell).Points());
        };
        for (std::uint32_t cell = 0; cell < map.CellsIn(tile); ++cell)
            if (map.RegionOf(tile, cell) != kNoRegion) add(map.RegionOf(tile, cell), cell);
        for (const SmallPart& part : map.SmallOf(tile)) add(part.region, part.cell);
        for (const auto& [region, extent] : extents) slots_[static_cast<std::size_t>(region)] = -1;
        return extents;
    }

private:
    const std::vector<Region>& regions_;
    const std::vector<PlaneFrame>& frames_;
    std::vector<std::int32_t> slots_;  // of each region in the present tile's extents
};

}  // namespace

Expected<std::vector<RegionExtent>> ExtentsOf(const CellMap& map,
                                              const std::vector<Region>& regions,
                                              const std::vector<PlaneFrame>& frames,
                                              const parallel::Pool& pool) {
    std::vector<TileExtents> parts(map.Tiles());
    std::vector<std::unique_ptr<TileExtentFinder>> finders(pool.Threads());
    auto done = pool.RunJobs(map.Tiles(), [&](std::size_t tile, unsigned worker) -> Expected<void> {
        if (!finders[worker]) finders[worker] = std::make_unique<TileExtentFinder>(regions, frames);
        parts[tile] = finders[worker]->Find(map, tile);
        return {};
    });
    if (!done) return ErrorOf(done);
    std::vector<RegionExtent> extents(regions.size());
    for (const TileExtents& part : parts) {
        for (const auto& [region, more] : part) {
            RegionExtent& extent = extents[static_cast<std::size_t>(region)];
            detail::Join(extent.bounds, more.bounds);
            extent.cells.insert(extent.cells.end(), more.cells.begin(), more.cells.end());
            extent.counts.insert(extent.counts.end(), more.counts.begin(), more.counts.end());
        }
    }
    return extents;
}

}  // namespace orvix::detection
