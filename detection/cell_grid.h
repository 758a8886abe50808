// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "detection/cell_frame.h"
#include "detection/moments.h"
#include "orvix/platform/error.h"

namespace orvix::detection {

inline constexpr std::uint32_t kNoCell = ~std::uint32_t{0};

/// What is kept of the points of a cell: how many, their mean relative to the cell's middle, and
/// their covariance about that mean.
struct Cell {
    CellPlace place{};
    std::uint32_t count = 0;
    std::array<float, 3> mean{};
    std::array<float, 6> covariance{};

    [[nodiscard]] Vector Mean() const { return {mean[0], mean[1], mean[2]}; }
    [[nodiscard]] Symmetric Covariance() const {
        return {covariance[0], covariance[1], covariance[2],
                covariance[3], covariance[4], covariance[5]};
    }
};

/// The occupied cells of a cloud, and which lie beside which.
///
///     CellGrid grid(frame, std::move(cells));
///     if (auto linked = grid.Link(); !linked) return linked;
///     std::array<std::uint32_t, 27> around;
///     grid.Around(7, around);                    // kNoCell where nothing is; [13] is cell 7
///
/// Order   cells keep the order in which they are given.
/// Errors  Damaged when a place comes twice.
/// Threads Around and CellAt may run side by side.
/// Cost    a table of 64 places a block of 4 by 4 by 4 cells, 20 bytes a cell on surfaces; a look
///         at a neighbour is two loads.
class CellGrid {
public:
    CellGrid() = default;
    CellGrid(const CellFrame& frame, std::vector<Cell> cells)
        : frame_(frame), cells_(std::move(cells)) {}

    Expected<void> Link();

    [[nodiscard]] const CellFrame& Frame() const { return frame_; }
    [[nodiscard]] std::uint32_t Size() const { return static_cast<std::uint32_t>(cells_.size()); }
    [[nodiscard]] const Cell& operator[](std::uint32_t cell) const { return cells_[cell]; }
    [[nodiscard]] std::span<const Cell> Cells() const { return cells_; }
    /// The mean of a cell's points, project frame.
    [[nodiscard]] Vector MeanOf(std::uint32_t cell) const {
        return frame_.Middle(cells_[cell].place) + cells_[cell].Mean();
    }
    /// The 27 cells of a cell's neighbourhood, x slowest and z fastest.
    void Around(std::uint32_t cell, std::array<std::uint32_t, 27>& around) const;
    [[nodiscard]] std::uint32_t CellAt(const CellPlace& place) const;

    /// Bytes that so many cells take, as long as they lie on surfaces.
    static std::uint64_t BytesOf(std::uint64_t cells) { return cells * (sizeof(Cell) + 24); }

private:
    static constexpr std::int32_t kSide = 4;
    struct Block {
        CellPlace place{};
        std::array<std::uint32_t, 27> beside{};  // blocks, kNoCell for none
        std::array<std::uint32_t, 64> cells{};
    };

    [[nodiscard]] static CellPlace BlockOf(const CellPlace& place) {
        return {place[0] >> 2, place[1] >> 2, place[2] >> 2};
    }
    [[nodiscard]] static std::size_t Inside(const CellPlace& place) {
        return static_cast<std::size_t>((place[0] & 3) * 16 + (place[1] & 3) * 4 + (place[2] & 3));
    }
    [[nodiscard]] std::size_t SlotOf(const CellPlace& block) const;
    [[nodiscard]] std::uint32_t FindBlock(const CellPlace& block) const;
    std::uint32_t ObtainBlock(const CellPlace& block);
    void Widen();

    CellFrame frame_;
    std::vector<Cell> cells_;
    std::vector<std::uint32_t> blockOf_;  // each cell's
    std::vector<Block> blocks_;
    std::vector<std::uint32_t> slots_;  // open addressing; kNoCell: free
};

}  // namespace orvix::detection
