// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>

#include "orvix/project/saved/saved_plane.h"

namespace orvix::detail {

/// The parts of a cloud whose planes are stored point by point.
enum class CloudPart : std::uint8_t { Points, Skeleton };
inline constexpr std::size_t kCloudParts = 2;

/// How the file of saved planes begins. Then follow the runs, block by block, first the points',
/// then the skeleton's; a table of the blocks; the planes; and PlanesFileEnd.
struct PlanesFileStart {
    static constexpr std::array<char, 8> kMark{'O', 'r', 'v', 'i', 'x', 'P', 'l', 'n'};
    static constexpr std::uint32_t kVersion = 1;
    static constexpr std::uint32_t kBlockPoints = 32'768;

    std::array<char, 8> mark = kMark;
    std::uint32_t version = kVersion;
    std::uint32_t blockPoints = kBlockPoints;
};
static_assert(sizeof(PlanesFileStart) == 16);

/// One block of the table: where its runs begin, and the hash of its points' coordinates.
struct PlaneBlock {
    std::uint64_t offset = 0;
    std::uint64_t placesHash = 0;
};
static_assert(sizeof(PlaneBlock) == 16);

/// The last bytes of the file. `checksum` is of all bytes before it, so a file that was cut or
/// changed anywhere is known by it.
struct PlanesFileEnd {
    SavedSearch search;
    std::uint64_t planes = 0;
    std::uint64_t tableOffset = 0;
    std::uint64_t checksum = 0;
};
static_assert(sizeof(SavedSearch) == 120);
static_assert(sizeof(PlanesFileEnd) == 144);

/// The number of blocks of so many points.
inline std::uint64_t BlocksOf(std::uint64_t points) {
    return points / PlanesFileStart::kBlockPoints +
           (points % PlanesFileStart::kBlockPoints != 0 ? 1 : 0);
}

/// The points of a block; the last one may hold fewer.
inline std::uint32_t PointsOfBlock(std::uint64_t points, std::uint64_t block) {
    const std::uint64_t left = points - block * PlanesFileStart::kBlockPoints;
    return left < PlanesFileStart::kBlockPoints ? static_cast<std::uint32_t>(left)
                                                : PlanesFileStart::kBlockPoints;
}

}  // namespace orvix::detail
