// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "orvix/points/records.h"

namespace orvix {

/// The description of a converted cloud: the head file is the 88-byte image of this record.
///
///     orvix::CLOUD_HEADER header;
///     manager.GetCloudHeader(&header);
///     if (!orvix::IsAbsent(header)) Show(header.pointCount, header.scale);
///
/// Units      metres, in the project's own frame.
/// Boundaries `ProjectManager::GetCloudHeader` zeroes `reserved72` and `stationCount` before it
///            reads, so a head file too short to hold them counts no station; the other fields of
///            a short file keep what the record held before.
/// Errors     a head file that cannot be opened sets every bit of `pointCount`: `IsAbsent`.
struct CLOUD_HEADER {
    std::uint64_t pointCount = 0;     ///< records in Grid.pts
    std::uint64_t skeletonCount = 0;  ///< records in GridSkelet.coordpts
    double scale = 0.0;               ///< skeleton voxel size; `ProjectManager::LASScale` sorts it
    ExtendsT<double> bounds;          ///< of the alive points; all zero for an empty cloud
    std::uint64_t reserved72 = 0;
    std::uint32_t stationCount = 0;  ///< scanner stations that the points come from
    std::uint32_t reserved84 = 0;
};

/// Bytes of a head file.
inline constexpr std::uint64_t kHeadFileBytes = 88;

/// Whether `header` was read from a head file that could not be opened.
inline bool IsAbsent(const CLOUD_HEADER& header) {
    return header.pointCount == ~std::uint64_t{0};
}

static_assert(sizeof(CLOUD_HEADER) == kHeadFileBytes);
static_assert(offsetof(CLOUD_HEADER, scale) == 16 && offsetof(CLOUD_HEADER, bounds) == 24);
static_assert(offsetof(CLOUD_HEADER, reserved72) == 72);
static_assert(offsetof(CLOUD_HEADER, stationCount) == 80);
static_assert(std::is_trivially_copyable_v<CLOUD_HEADER>);

}  // namespace orvix
