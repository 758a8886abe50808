// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "orvix/points/records.h"

namespace orvix::detail {

/// A 64-bit hash of one alive record's 24 bytes. Sums of it modulo 2^64 compare sets of points
/// without regard to their order: an import reports the sum of what it decoded, a walk the sum of
/// what it read back, and the two agree when no point was lost, doubled or changed.
///
/// Order   the sum is the same in any order, so it can be formed in parallel.
/// Source  xxHash's XXH3 64-bit hash (Y. Collet), seed 0, over the record's bytes.
std::uint64_t RecordHash(const CCloudPoint<float>& record);

/// The sum over an array of records.
std::uint64_t RecordHashSum(const CCloudPoint<float>* records, std::uint64_t count);

}  // namespace orvix::detail
