// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "importer/files/raw_buffer.h"
#include "importer/grid/grid_frame.h"

namespace orvix::importer {

/// Sorts a block of points that fits into a processor's cache by their 10 cm cells.
///
/// Order      by SortKey; points of one cell keep their order.
/// Boundaries up to 2^32 - 1 points.
/// Threads    one sorter a thread; it keeps its scratch memory between blocks.
/// Cost       a radix sort over the bits in which the block's keys differ, 11 a pass; a block that
///            spans more than 2^43 blocks of 1000 cm (a point far out in all three axes) is sorted
///            by comparing. 32 bytes of scratch a point.
class BlockSorter {
public:
    /// `cells`, unless null, is replaced by the cells met, in order. `sorted` holds as many
    /// records as `points` and does not overlap it.
    void Sort(const GridFrame& frame, std::span<const AlivePoint> points, AlivePoint* sorted,
              std::vector<CellCount>* cells);

private:
    struct Entry {
        std::uint64_t key;
        std::uint32_t index;
        std::uint32_t inside;
    };

    void MakeEntries(const GridFrame& frame, std::span<const AlivePoint> points);
    void SortByKey(std::uint64_t maxKey);
    void SortWide();
    void CountCells(std::vector<CellCount>& cells) const;

    RawBuffer<Entry> entries_;
    RawBuffer<Entry> scratch_;
    std::uint64_t minBlock_ = 0;
    std::uint64_t maxBlock_ = 0;
};

}  // namespace orvix::importer
