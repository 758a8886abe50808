// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/points/record_hash.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace orvix::detail {

std::uint64_t RecordHash(const CCloudPoint<float>& record) {
    return XXH3_64bits(&record, sizeof record);
}

std::uint64_t RecordHashSum(const CCloudPoint<float>* records, std::uint64_t count) {
    std::uint64_t sum = 0;
    for (std::uint64_t i = 0; i < count; ++i) sum += RecordHash(records[i]);
    return sum;
}

}  // namespace orvix::detail
