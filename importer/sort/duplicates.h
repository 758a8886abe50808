// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "importer/grid/grid_frame.h"
#include "orvix/platform/error.h"

namespace orvix::importer {

/// The points that were removed as duplicates.
struct Removed {
    std::uint64_t points = 0;
    std::uint64_t hash = 0;  ///< sum of their RecordHash
};

/// Removes the points of a sorted block that stand at the position of an earlier one.
///
/// `cells` are the block's 10 cm cells, all of them whole; their counts are lowered.
///
/// Order      the points kept move to the front in their order.
/// Boundaries two positions are equal when x, y and z compare equal, so -0.0 is 0.0. Equal
///            positions share their cell, so each cell is looked at by itself.
Removed RemoveDuplicates(std::span<AlivePoint> sorted, std::vector<CellCount>& cells);

/// Reads points `first` to `first + count - 1` of one 10 cm cell.
using CellReader =
    std::function<Expected<std::span<const AlivePoint>>(std::uint64_t first, std::size_t count)>;

/// Finds the duplicates of a 10 cm cell whose `total` points do not fit into memory.
///
/// Returns true for each point at the position of an earlier one.
///
/// Cost  memory of 2 bits per point and `capacity` positions; the cell is read once for every
///       `capacity` different positions, however many points share them.
Expected<std::vector<bool>> FindDuplicates(const CellReader& reader, std::uint64_t total,
                                           std::size_t capacity,
                                           const std::function<bool()>& stopping);

}  // namespace orvix::importer
