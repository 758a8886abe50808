// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "importer/files/synced_file.h"
#include "importer/import_pool.h"
#include "importer/write/index_writer.h"
#include "orvix/points/records.h"

namespace orvix::importer {

/// What the points of a finished Grid.pts say of themselves.
struct PointExtent {
    std::uint64_t points = 0;
    ExtendsT<float> bounds;
    std::uint32_t stations = 0;  ///< one more than the greatest number of a station
};

/// Reads the points once, on every core.
///
/// Errors   Damaged for a point that has no place (not finite, or 10,000 km or more from the origin),
///          with its number; those of SyncedFile; Cancelled.
/// Cost     memory is a batch of 65,536 points per worker; the meter counts the bytes.
Expected<PointExtent> MeasurePoints(const SyncedFile& points, std::uint64_t count,
                                    ImportPool& pool);

/// Reads the points once more and adds their cells to the index.
///
/// Errors   Damaged for a point that does not stand in the order of the cells, with its number.
Expected<void> IndexPoints(const SyncedFile& points, const PointExtent& extent, ImportPool& pool,
                           IndexWriter& index);

}  // namespace orvix::importer
