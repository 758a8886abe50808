// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/growth/cell_map.h"

#include <algorithm>
#include <cmath>

namespace orvix::detection {
namespace {

// What is steeper than 60 degrees, or no surface, stands.
bool Stands(const CellShape& shape) {
    return !shape.HasNormal() || std::abs(shape.normal[2]) < 0.5F;
}

bool IsInterior(const TileCells& cells, std::uint32_t cell,
                const std::vector<std::int32_t>& regions) {
    if (cells.LiesAtRim(cell)) return false;
    const std::int32_t its = regions[cell];
    for (const std::uint32_t other : cells.Around(cell))
        if (regions[other] != its && regions[other] != kNoRegion) return false;
    return true;
}

}  // namespace

CellMap::CellMap(const CellFrame& frame, std::span<const CellPlace> tiles) : frame_(frame) {
    for (const CellPlace& place : tiles) {
        Tile tile;
        tile.place = place;
        tile.origin = frame.OriginOf(place);
        tiles_.push_back(std::move(tile));
    }
}

void CellMap::Put(std::size_t tile, const TileCells& cells, const std::vector<CellShape>& shapes,
                  const std::vector<std::int32_t>& regions, std::vector<std::uint32_t> numbers,
                  std::vector<SmallPart> small) {
    Tile& its = tiles_[tile];
    its.summaries.reserve(cells.Size());
    std::vector<bool> passed(cells.Size());  // by a small region
    for (const SmallPart& part : small) passed[part.cell] = true;
    for (std::uint32_t i = 0; i < cells.Size(); ++i)
        its.summaries.emplace_back(cells.Key(i), cells.Sum(i).count, Stands(shapes[i]),
                                   !passed[i] && IsInterior(cells, i, regions));
    its.regions = regions;
    its.numbers = std::move(numbers);
    its.boxes.reserve(cells.Size());
    for (std::uint32_t i = 0; i < cells.Size(); ++i) its.boxes.push_back(cells.InnerBoxOf(i));
    its.small = std::move(small);
}

std::span<const SmallPart> CellMap::SmallOf(std::size_t tile, std::uint32_t cell) const {
    const std::vector<SmallPart>& small = tiles_[tile].small;
    const auto [first, last] =
        std::equal_range(small.begin(), small.end(), SmallPart{cell, 0, {}},
                         [](const SmallPart& a, const SmallPart& b) { return a.cell < b.cell; });
    return {first, last};
}

bool CellMap::IsSound(std::size_t tile, std::size_t regions) const {
    const Tile& its = tiles_[tile];
    const std::size_t cells = its.summaries.size();
    const auto isRegion = [&](std::int32_t region) {
        return region >= 0 && static_cast<std::size_t>(region) < regions;
    };
    if (its.regions.size() != cells || its.numbers.size() != cells || its.boxes.size() != cells)
        return false;
    for (std::size_t i = 1; i < cells; ++i)
        if (its.summaries[i - 1].Key() >= its.summaries[i].Key()) return false;
    return std::all_of(
               its.regions.begin(), its.regions.end(),
               [&](std::int32_t region) { return region == kNoRegion || isRegion(region); }) &&
           std::all_of(its.numbers.begin(), its.numbers.end(),
                       [&](std::uint32_t cell) { return cell < cells; }) &&
           std::all_of(its.small.begin(), its.small.end(), [&](const SmallPart& part) {
               return part.cell < cells && isRegion(part.region);
           });
}

void CellMap::Number(std::span<const std::uint32_t> regions) {
    std::int32_t first = 0;
    for (std::size_t i = 0; i < tiles_.size(); ++i) {
        tiles_[i].firstRegion = first;
        first += static_cast<std::int32_t>(regions[i]);
        cells_ += tiles_[i].summaries.size();
    }
}

void CellMap::Renumber(std::span<const std::int32_t> newNumbers) {
    for (Tile& tile : tiles_) {
        for (std::int32_t& region : tile.regions)
            if (region != kNoRegion)
                region = newNumbers[static_cast<std::size_t>(tile.firstRegion + region)];
        for (SmallPart& part : tile.small)
            part.region = newNumbers[static_cast<std::size_t>(tile.firstRegion + part.region)];
        std::erase_if(tile.small, [](const SmallPart& part) { return part.region == kNoRegion; });
        std::sort(tile.small.begin(), tile.small.end(), [](const SmallPart& a, const SmallPart& b) {
            return a.cell != b.cell ? a.cell < b.cell : a.region < b.region;
        });
        tile.firstRegion = 0;
    }
}

std::size_t CellMap::TileAt(const CellPlace& tile) const {
    const auto at = std::lower_bound(
        tiles_.begin(), tiles_.end(), tile,
        [](const Tile& its, const CellPlace& wanted) { return its.place < wanted; });
    return at != tiles_.end() && Same(at->place, tile)
               ? static_cast<std::size_t>(at - tiles_.begin())
               : tiles_.size();
}

std::size_t CellMap::LowerBound(const Tile& tile, TileKey key) {
    const auto at = std::lower_bound(
        tile.summaries.begin(), tile.summaries.end(), key,
        [](CellSummary summary, TileKey wanted) { return summary.Key() < wanted; });
    return static_cast<std::size_t>(at - tile.summaries.begin());
}

std::pair<std::uint32_t, std::uint32_t> CellMap::SliceOf(std::size_t tile, std::int32_t low,
                                                         std::int32_t width) const {
    const Tile& its = tiles_[tile];
    const std::int32_t side = frame_.PerTile(0);
    const std::int32_t from = std::max(low - its.origin[0], 0);
    const std::int32_t to = std::min(low + width - its.origin[0], side);
    if (from >= to) return {0, 0};
    const auto at = [&](std::int32_t x) {
        return static_cast<std::uint32_t>(LowerBound(its, static_cast<TileKey>(x + 1) * kKeyX));
    };
    return {at(from), at(to)};
}

std::size_t CellMap::Find(const CellPlace& place, std::uint32_t& cell) const {
    const std::size_t tile = TileAt(frame_.TileOf(place));
    if (tile == Tiles()) return tile;
    const TileKey key = KeyOf(place, tiles_[tile].origin);
    const std::size_t at = LowerBound(tiles_[tile], key);
    if (at == tiles_[tile].summaries.size() || tiles_[tile].summaries[at].Key() != key)
        return Tiles();
    cell = static_cast<std::uint32_t>(at);
    return tile;
}

}  // namespace orvix::detection
