// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "detection/cells/moments.h"
#include "detection/cells/tile_key.h"
#include "orvix/platform/error.h"

namespace orvix::detection {

/// What the cells of a stretch of points hold, in the order in which they are met.
struct CellSums {
    std::vector<TileKey> keys;
    std::vector<MomentSum> sums;  ///< about the tile's middle
};

/// The cells of one tile while it is worked on: their moments, and which lie beside which.
///
/// Units      metres about the tile's middle, unless said otherwise.
/// Order      cells ascend by key.
/// Lifetime   as long as its tile is being worked on; what is kept of it is CellMap's.
/// Cost       130 bytes a cell on surfaces.
class TileCells {
public:
    /// `origin` is the tile's first cell. The parts follow each other; they are emptied.
    TileCells(const CellFrame& frame, const CellPlace& origin, std::span<CellSums> parts);

    /// Damaged when a place comes twice.
    [[nodiscard]] Expected<void> Check() const;
    /// Finds who lies beside whom.
    void Link();

    [[nodiscard]] const CellFrame& Frame() const { return frame_; }
    /// The tile's middle, project frame.
    [[nodiscard]] const Vector& Middle() const { return middle_; }
    [[nodiscard]] std::uint32_t Size() const { return static_cast<std::uint32_t>(keys_.size()); }
    [[nodiscard]] TileKey Key(std::uint32_t cell) const { return keys_[cell]; }
    [[nodiscard]] const MomentSum& Sum(std::uint32_t cell) const { return sums_[cell]; }
    /// Whether cells of its neighbourhood lie in another tile.
    [[nodiscard]] bool LiesAtRim(std::uint32_t cell) const {
        const CellPlace place = PlaceOf(keys_[cell], {});
        for (std::size_t axis = 0; axis < 3; ++axis)
            if (place[axis] == 0 || place[axis] == frame_.PerTile(axis) - 1) return true;
        return false;
    }
    /// The cells of the neighbourhood of 27, the cell itself among them, ascending.
    [[nodiscard]] std::span<const std::uint32_t> Around(std::uint32_t cell) const {
        return {around_.data() + firstAround_[cell], around_.data() + firstAround_[cell + 1]};
    }
    /// The cell that each of the parts' cells became, in their order.
    [[nodiscard]] std::vector<std::uint32_t> TakeNumbers() { return std::move(numbers_); }

    /// The middle of a tile whose first cell that is.
    static Vector MiddleOf(const CellFrame& frame, const CellPlace& origin);

private:
    CellFrame frame_;
    CellPlace origin_;
    Vector middle_;
    std::vector<TileKey> keys_;
    std::vector<MomentSum> sums_;
    std::vector<std::uint32_t> numbers_;
    std::vector<std::uint32_t> firstAround_;
    std::vector<std::uint32_t> around_;
};

}  // namespace orvix::detection
