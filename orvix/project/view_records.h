// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "orvix/points/records.h"

namespace orvix::detail {

/// The tables by which a viewer fetches the skeleton cell by cell, coarse first. Three files, all
/// headerless arrays whose records are in the order of the skeleton files: by 1000 cm cell (x,
/// then y, then z ascending), within it by 100 cm cell (x, y, z).
///
/// DataView/view_grid.dtv    `SkeletonBlockRecord` per 1000 cm cell that holds a skeleton point:
///                           its run in view_entries.dtv.
/// DataView/view_entries.dtv `SkeletonCellRecord` per 100 cm cell that holds a skeleton point:
///                           its run of skeleton points.
/// LogicView/view_grid.lv    `CoarseViewRecord` per record of view_grid.dtv: bounds, the whole
///                           block's run and the one point that stands for it at first sight.
///
/// A viewer reads view_grid.lv, draws the point `first + representative` of every record, and
/// then fetches the runs of the blocks that its camera meets, nearest first:
///
///     for (const CoarseViewRecord& block : blocks)
///         if (frustum.Meets(block.min, block.max)) Fetch(block.first, block.count);
///
/// Units   metres, project frame; runs count 12-byte records of the skeleton files.
using SkeletonBlockRecord = GridCellRecord;
using SkeletonCellRecord = GridCellRecord;

/// One 1000 cm cell of the skeleton: 48 bytes in view_grid.lv.
struct CoarseViewRecord {
    SimplePointT<float> min;  ///< bounds of the cell's skeleton points
    SimplePointT<float> max;
    std::uint64_t first = 0;  ///< number of its first skeleton point
    std::uint32_t count = 0;  ///< its skeleton points, at least one
    /// The point nearest to the centroid of the cell's skeleton points, counted from `first`; of
    /// equally near ones the first. Centroid and squared distances are summed in double, in order.
    std::uint32_t representative = 0;
    std::uint64_t reserved = 0;  ///< zero
};

inline constexpr std::uint64_t kCoarseViewBytes = 48;

static_assert(sizeof(CoarseViewRecord) == kCoarseViewBytes);
static_assert(offsetof(CoarseViewRecord, max) == 12 && offsetof(CoarseViewRecord, first) == 24);
static_assert(offsetof(CoarseViewRecord, count) == 32);
static_assert(offsetof(CoarseViewRecord, representative) == 36);
static_assert(offsetof(CoarseViewRecord, reserved) == 40);
static_assert(std::is_trivially_copyable_v<CoarseViewRecord>);

}  // namespace orvix::detail
