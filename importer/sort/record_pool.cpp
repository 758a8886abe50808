// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/sort/record_pool.h"

#include <algorithm>

namespace orvix::importer {
namespace {

constexpr std::size_t kSlabRecords = (64u << 20) / sizeof(AlivePoint);

}  // namespace

std::span<AlivePoint> RecordPool::Take(std::size_t count) {
    const std::lock_guard<std::mutex> lock(mutex_);
    while (current_ < slabs_.size() && slabs_[current_].capacity - slabs_[current_].used < count) {
        ++current_;
    }
    if (current_ == slabs_.size()) {
        const std::size_t capacity = std::max(count, kSlabRecords);
        slabs_.push_back(
            {std::make_unique_for_overwrite<std::byte[]>(capacity * sizeof(AlivePoint)), capacity,
             0});
    }
    Slab& slab = slabs_[current_];
    auto* const first = reinterpret_cast<AlivePoint*>(slab.bytes.get()) + slab.used;
    slab.used += count;
    return {first, count};
}

void RecordPool::Clear() {
    for (Slab& slab : slabs_) slab.used = 0;
    current_ = 0;
}

void RecordPool::Release() {
    slabs_.clear();
    slabs_.shrink_to_fit();
    current_ = 0;
}

}  // namespace orvix::importer
