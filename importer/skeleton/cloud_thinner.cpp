// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/skeleton/cloud_thinner.h"

#include <algorithm>

namespace orvix::importer {

Expected<void> CloudThinner::Thin(std::uint64_t first, std::uint64_t count,
                                  Histograms& histograms) {
    thinned.Clear();
    const std::uint64_t end = first + count;
    while (first < end && !stopping_()) {
        if (auto read = Read({first, end}); !read) return read;
        const std::size_t done = ThinWholeCells(first + block_.Size() == end, histograms);
        first += done;
        if (done != 0) continue;
        const auto large = ThinLargeCell({first, end}, histograms);
        if (!large) return ErrorOf(large);
        first += *large;
    }
    return {};
}

Expected<void> CloudThinner::Read(const Stretch& stretch) {
    const auto count = static_cast<std::size_t>(
        std::min<std::uint64_t>(kBlockPoints, stretch.end - stretch.first));
    block_.Resize(count);
    return file_.ReadAt(stretch.first * sizeof(AlivePoint), block_.Data(),
                        count * sizeof(AlivePoint));
}

std::size_t CloudThinner::EndOfCell(std::size_t begin) const {
    const ThinningCell cell = ThinningCellOf(block_[begin], size_);
    std::size_t end = begin + 1;
    while (end < block_.Size() && ThinningCellOf(block_[end], size_) == cell) ++end;
    return end;
}

// The cells that end inside the block; its last one ends there only in the last block.
std::size_t CloudThinner::ThinWholeCells(bool last, Histograms& histograms) {
    std::size_t begin = 0;
    while (begin < block_.Size()) {
        const std::size_t end = EndOfCell(begin);
        if (end == block_.Size() && !last) break;
        const std::span<const AlivePoint> points{block_.Data() + begin, end - begin};
        for (const AlivePoint& point : points) histograms.Add(point);
        thinner_.Add(points);
        thinner_.Choose(points);
        Finish(ThinningCellOf(points.front(), size_), points.size());
        begin = end;
    }
    return begin;
}

// The block starts with a cell that does not end in it. Returns the cell's points.
Expected<std::uint64_t> CloudThinner::ThinLargeCell(const Stretch& stretch,
                                                    Histograms& histograms) {
    const ThinningCell cell = ThinningCellOf(block_[0], size_);
    Stretch left = stretch;
    for (bool inside = true; inside && left.first < left.end;) {
        if (auto read = Read(left); !read) return ErrorOf(read);
        const auto end =
            std::find_if(block_.Data(), block_.Data() + block_.Size(),
                         [&](const AlivePoint& p) { return !(ThinningCellOf(p, size_) == cell); });
        const std::span<const AlivePoint> points{block_.Data(), end};
        for (const AlivePoint& point : points) histograms.Add(point);
        thinner_.Add(points);
        left.first += points.size();
        inside = points.size() == block_.Size() && !stopping_();
    }
    const std::uint64_t count = left.first - stretch.first;
    left = {stretch.first, left.first};
    while (left.first < left.end && !stopping_()) {
        if (auto read = Read(left); !read) return ErrorOf(read);
        thinner_.Choose(block_.All());
        left.first += block_.Size();
    }
    Finish(cell, count);
    return count;
}

void CloudThinner::Finish(const ThinningCell& cell, std::uint64_t points) {
    chosen_.clear();
    thinner_.Finish(chosen_);
    thinned.Open(cell.cell100);
    thinned.Add(points, chosen_);
}

}  // namespace orvix::importer
