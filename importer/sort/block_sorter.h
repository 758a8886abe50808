// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "importer/files/raw_buffer.h"
#include "importer/grid/grid_frame.h"

namespace orvix::importer {

/// Sorts a block of points by their 10 cm cells; the block should fit into a processor's cache.
///
/// Order      by SortKey; points of one cell keep their order.
/// Boundaries up to 2^32 - 1 points.
/// Threads    one sorter per thread; it keeps its scratch memory between blocks.
/// Cost       a radix sort over the bits in which the block's keys differ, 11 per pass; a block
///            that spans more than 2^43 cells of 1000 cm (with a point far out in all three axes)
///            is sorted by comparing. 32 bytes of scratch per point.
class BlockSorter {
public:
    /// Writes the sorted points to `sorted`, which has room for as many and does not overlap them;
    /// `cells`, unless null, is replaced by their cells in order.
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
