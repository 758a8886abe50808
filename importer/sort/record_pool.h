// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "importer/grid/grid_frame.h"

namespace orvix::importer {

/// Memory for an import's sorted points: a few large slabs, handed out in spans.
///
/// Lifetime  spans live until Clear; the slabs stay for the next round until Release.
/// Errors    std::bad_alloc.
/// Threads   `Take` from any thread.
class RecordPool {
public:
    /// Room for `count` records, not initialised.
    std::span<AlivePoint> Take(std::size_t count);
    void Clear();
    void Release();

private:
    struct Slab {
        std::unique_ptr<std::byte[]> bytes;
        std::size_t capacity = 0;
        std::size_t used = 0;
    };

    std::mutex mutex_;
    std::vector<Slab> slabs_;
    std::size_t current_ = 0;
};

}  // namespace orvix::importer
