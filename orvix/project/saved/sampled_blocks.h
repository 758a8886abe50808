// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "orvix/project/saved/planes_file.h"

namespace orvix::detail {

/// The blocks of points (PlanesFileStart::kBlockPoints each) whose coordinates are compared when
/// something that was saved of a cloud is read: 16 of them, spread evenly from the first to the last,
/// or all where there are fewer. BEHAVIOUR A13
inline std::vector<std::uint64_t> SampledBlocks(std::uint64_t points) {
    constexpr std::uint64_t kSamples = 16;
    const std::uint64_t blocks = BlocksOf(points);
    const std::uint64_t samples = std::min(blocks, kSamples);
    std::vector<std::uint64_t> sampled;
    for (std::uint64_t i = 0; i + 1 < samples; ++i)
        sampled.push_back((blocks - 1) / (samples - 1) * i);
    if (samples > 0) sampled.push_back(blocks - 1);
    return sampled;
}

}  // namespace orvix::detail
