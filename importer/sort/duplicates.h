// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "importer/grid/grid_frame.h"
#include "orvix/platform/error.h"

namespace orvix::importer {

/// What removing duplicates took away.
struct Removed {
    std::uint64_t points = 0;
    std::uint64_t hash = 0;  ///< sum of their RecordHash
};

/// Removes points at the position of an earlier one; two positions are equal when x, y and z
/// compare equal, so -0.0 is 0.0. `cells` tells the 10 cm cells of the sorted block, whole ones;
/// its counts follow. The points kept move to the front in their order.
///
/// Boundaries equal positions share their cell, so cells are looked at one by one.
Removed RemoveDuplicates(std::span<AlivePoint> sorted, std::vector<CellCount>& cells);

/// Reads points `first` to `first + count - 1` of one 10 cm cell.
using CellReader =
    std::function<Expected<std::span<const AlivePoint>>(std::uint64_t first, std::size_t count)>;

/// Finds the duplicates of a 10 cm cell whose `total` points do not fit into memory: true where a
/// point stands at the position of an earlier one.
///
/// Cost  2 bits a point and `capacity` positions at a time; one reading of the cell per `capacity`
///       different positions, however many points share them.
Expected<std::vector<bool>> FindDuplicates(const CellReader& reader, std::uint64_t total,
                                           std::size_t capacity,
                                           const std::function<bool()>& stopping);

}  // namespace orvix::importer
