// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "detection/cells/point_chunks.h"
#include "orvix/points/alive_point_reader.h"

namespace orvix::detection {

/// Reads skeleton coordinates in blocks of `block`, the last one of what is left:
/// use(places) for each, until it returns an error.
///
/// Errors  Failure where the points cannot be mapped; those of `use`.
template <class Use>
[[nodiscard]] Expected<void> ForEachSkeletonBlock(CAlivePointReader& reader, std::uint64_t count,
                                                  std::uint64_t block, Use&& use) {
    std::vector<SimplePointT<float>> places;
    while (count > 0) {
        places.resize(std::min(count, block));
        for (SimplePointT<float>& place : places) {
            if (!reader.ReadNextSkeletCoordPoint() || reader.PtsMapAddressSkeletCoord() == nullptr)
                return PointsNotMapped();
            reader.ReadCurrentSkeletPoint(place);
        }
        if (auto done = use(std::span<const SimplePointT<float>>(places)); !done) return done;
        count -= places.size();
    }
    return {};
}

}  // namespace orvix::detection
