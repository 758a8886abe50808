// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "detection/cells/cell_box.h"
#include "detection/cells/inner_box.h"
#include "detection/cells/moments.h"
#include "detection/cells/tile_key.h"
#include "orvix/platform/error.h"

namespace orvix::detection {

/// The cells of a stretch of points and the moments of each, by their first points.
struct CellSums {
    std::vector<TileKey> keys;
    std::vector<MomentSum> sums;  ///< about the tile's middle
    std::vector<CellBox> boxes;   ///< from the same place
};

/// The cells of one tile while it is worked on: their moments, and which lie beside which.
///
/// CellMap is what remains of a tile afterwards: a tenth of the memory, without moments.
///
///     TileCells tile(frame, origin, parts);
///     if (auto checked = tile.Check(); !checked) return checked;
///     tile.Link();
///     for (const std::uint32_t other : tile.Around(cell)) Use(tile.Sum(other));
///
/// Units      metres about the tile's middle, unless said otherwise.
/// Order      cells ascend by key.
/// Cost       160 bytes per cell on surfaces.
class TileCells {
public:
    /// `origin` is the tile's first cell; the parts, in the order of the file, are emptied.
    TileCells(const CellFrame& frame, const CellPlace& origin, std::span<CellSums> parts);

    /// Damaged where a cell is stored in two places.
    [[nodiscard]] Expected<void> Check() const;
    /// Finds the cells beside each cell: Around and CellAt need it. Precondition: Check found nothing.
    void Link();

    [[nodiscard]] const CellFrame& Frame() const { return frame_; }
    /// The tile's middle, project frame.
    [[nodiscard]] const Vector& Middle() const { return middle_; }
    [[nodiscard]] std::uint32_t Size() const { return static_cast<std::uint32_t>(keys_.size()); }
    [[nodiscard]] TileKey Key(std::uint32_t cell) const { return keys_[cell]; }
    [[nodiscard]] const MomentSum& Sum(std::uint32_t cell) const { return sums_[cell]; }
    [[nodiscard]] const CellBox& Box(std::uint32_t cell) const { return boxes_[cell]; }
    [[nodiscard]] InnerBox InnerBoxOf(std::uint32_t cell) const {
        return {boxes_[cell], CornerOf(cell), frame_.Size()};
    }
    /// The lowest corner of a cell.
    [[nodiscard]] Vector CornerOf(std::uint32_t cell) const {
        const double half = frame_.Size() / 2;
        return frame_.Middle(PlaceOf(keys_[cell], origin_)) - middle_ - Vector{half, half, half};
    }
    /// Whether cells of its neighbourhood lie in another tile.
    [[nodiscard]] bool LiesAtRim(std::uint32_t cell) const {
        const CellPlace place = PlaceOf(keys_[cell], {});
        for (std::size_t axis = 0; axis < 3; ++axis)
            if (place[axis] == 0 || place[axis] == frame_.PerTile(axis) - 1) return true;
        return false;
    }
    /// The cell that holds a place; Size() where none does, and outside the tile.
    ///
    /// Cost  some 3 ns where no cell is, else a search among the tile's cells.
    [[nodiscard]] std::uint32_t CellAt(const Vector& place) const;
    /// The occupied cells among the 27 around a cell, itself included, ascending.
    [[nodiscard]] std::span<const std::uint32_t> Around(std::uint32_t cell) const {
        return {around_.data() + firstAround_[cell], around_.data() + firstAround_[cell + 1]};
    }
    /// For each cell of the parts, in their order, the cell of the tile that it became.
    [[nodiscard]] std::vector<std::uint32_t> TakeNumbers() { return std::move(numbers_); }

    /// The middle of the tile whose first cell is `origin`.
    static Vector MiddleOf(const CellFrame& frame, const CellPlace& origin);

private:
    [[nodiscard]] std::size_t PlaceIn(const CellPlace& cell) const;

    CellFrame frame_;
    CellPlace origin_;
    Vector middle_;
    std::vector<TileKey> keys_;
    std::vector<MomentSum> sums_;
    std::vector<CellBox> boxes_;
    std::vector<std::uint32_t> numbers_;
    std::vector<std::uint32_t> firstAround_;
    std::vector<std::uint32_t> around_;
    std::vector<bool> occupied_;  // of the tile's places: which have a cell
};

}  // namespace orvix::detection
