// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "orvix/points/records.h"

namespace orvix {

/// The description of a converted cloud: the head file is the 88-byte image of this record.
///
/// `reserved72` and `reserved80` read as zero from a head file too short to hold them.
/// A head file that cannot be opened is told by `pointCount` with all bits set.
struct CLOUD_HEADER {
    std::uint64_t pointCount = 0;      ///< records in Grid.pts
    std::uint64_t skeletonCount = 0;   ///< records in GridSkelet.coordpts
    double scale = 0.0;                ///< skeleton voxel size in metres; `LASScale` classifies it
    ExtendsT<double> bounds;           ///< of the alive points, metres, project frame
    std::uint64_t reserved72 = 0;
    std::uint32_t reserved80 = 0;
    std::uint32_t reserved84 = 0;
};

static_assert(sizeof(CLOUD_HEADER) == 88);
static_assert(offsetof(CLOUD_HEADER, scale) == 16 && offsetof(CLOUD_HEADER, bounds) == 24);
static_assert(offsetof(CLOUD_HEADER, reserved72) == 72 && offsetof(CLOUD_HEADER, reserved80) == 80);
static_assert(std::is_trivially_copyable_v<CLOUD_HEADER>);

}  // namespace orvix
