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
/// Cost       a radix sort of one 8-byte word per point, its key and its place, over the bits in
///            which the block's keys differ, up to 10 a pass. A block whose keys and places do not
///            fit into 64 bits (with a point far out in two axes or three) is sorted by comparing.
///            16 bytes of scratch per point.
class BlockSorter {
public:
    /// Writes the sorted points to `sorted`, which has room for as many and does not overlap them;
    /// `cells`, unless null, is replaced by their cells in order.
    void Sort(const GridFrame& frame, std::span<const AlivePoint> points, AlivePoint* sorted,
              std::vector<CellCount>* cells);

private:
    /// A point of a block that no word holds.
    struct WideEntry {
        SortKey key;
        std::uint32_t place;
    };

    bool MakeWords(const GridFrame& frame, std::span<const AlivePoint> points);
    void SortWords();
    void CountCells(std::vector<CellCount>& cells) const;
    void SortWide(const GridFrame& frame, std::span<const AlivePoint> points, AlivePoint* sorted,
                  std::vector<CellCount>* cells);

    RawBuffer<std::uint64_t> words_;  // the number of a key above `smallest_`, then the place
    RawBuffer<std::uint64_t> scratch_;
    RawBuffer<WideEntry> wide_;
    std::uint64_t smallest_ = 0;
    unsigned keyBits_ = 0;
    unsigned placeBits_ = 0;
};

}  // namespace orvix::importer
