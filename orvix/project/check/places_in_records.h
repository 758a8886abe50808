// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "orvix/points/stream_hash.h"
#include "orvix/project/check/check_records.h"
#include "orvix/project/saved/planes_file.h"

namespace orvix::detail {

/// The hash of the coordinates of a block's points, as PlacesHash has it. `places` is room to work in.
template <class Record>
std::uint64_t PlacesHashIn(const RecordFile<Record>& records, std::uint64_t block,
                           std::vector<SimplePointT<float>>& places) {
    places.clear();
    const std::uint32_t count = PointsOfBlock(records.Count(), block);
    for (std::uint32_t i = 0; i < count; ++i) {
        const Record record = records[block * PlanesFileStart::kBlockPoints + i];
        places.push_back({record.x, record.y, record.z});
    }
    return PlacesHash(places);
}

}  // namespace orvix::detail
