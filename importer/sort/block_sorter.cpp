// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/sort/block_sorter.h"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

namespace orvix::importer {
namespace {

constexpr unsigned kDigitBits = 11;
constexpr std::size_t kDigits = std::size_t{1} << kDigitBits;
constexpr unsigned kMaxPasses = (64 + kDigitBits - 1) / kDigitBits;
// Below this many points clearing the counters costs more than comparing.
constexpr std::size_t kSmallBlock = 256;
constexpr std::uint64_t kNarrowBlocks = std::uint64_t{1} << 43;

using Counters = std::array<std::array<std::uint32_t, kDigits>, kMaxPasses>;

constexpr std::size_t DigitOf(std::uint64_t key, unsigned pass) {
    return static_cast<std::size_t>(key >> (pass * kDigitBits)) & (kDigits - 1);
}

}  // namespace

void BlockSorter::Sort(const GridFrame& frame, std::span<const AlivePoint> points,
                       AlivePoint* sorted, std::vector<CellCount>* cells) {
    if (cells != nullptr) cells->clear();
    if (points.empty()) return;
    MakeEntries(frame, points);
    if (maxBlock_ - minBlock_ >= kNarrowBlocks) {
        SortWide();
    } else {
        // One number per key, counted from the smallest block: few bits, few passes.
        std::uint64_t largest = 0;
        for (Entry& entry : entries_.All()) {
            entry.key = (entry.key - minBlock_) * kInsideKeys + entry.inside;
            largest = std::max(largest, entry.key);
        }
        SortByKey(largest);
        for (Entry& entry : entries_.All()) {
            entry.key = (entry.key - entry.inside) / kInsideKeys + minBlock_;
        }
    }
    for (std::size_t i = 0; i < points.size(); ++i) sorted[i] = points[entries_[i].index];
    if (cells != nullptr) CountCells(*cells);
}

void BlockSorter::MakeEntries(const GridFrame& frame, std::span<const AlivePoint> points) {
    entries_.Resize(points.size());
    minBlock_ = ~std::uint64_t{0};
    maxBlock_ = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const SortKey key = frame.KeyOf(points[i]);
        entries_[i] = {key.block, static_cast<std::uint32_t>(i), key.inside};
        minBlock_ = std::min(minBlock_, key.block);
        maxBlock_ = std::max(maxBlock_, key.block);
    }
}

void BlockSorter::SortByKey(std::uint64_t maxKey) {
    const auto byKey = [](const Entry& a, const Entry& b) { return a.key < b.key; };
    if (entries_.Size() < kSmallBlock) {
        // BEHAVIOUR I9
        std::stable_sort(entries_.Data(), entries_.Data() + entries_.Size(), byKey);
        return;
    }
    const auto passes =
        (static_cast<unsigned>(std::bit_width(maxKey)) + kDigitBits - 1) / kDigitBits;
    Counters counters;
    for (unsigned pass = 0; pass < passes; ++pass) counters[pass].fill(0);
    for (const Entry& entry : entries_.All()) {
        for (unsigned pass = 0; pass < passes; ++pass) ++counters[pass][DigitOf(entry.key, pass)];
    }
    scratch_.Resize(entries_.Size());
    for (unsigned pass = 0; pass < passes; ++pass) {
        auto& places = counters[pass];
        if (places[DigitOf(entries_[0].key, pass)] == entries_.Size()) continue;
        std::uint32_t place = 0;
        for (std::uint32_t& count : places) place += std::exchange(count, place);
        for (const Entry& entry : entries_.All()) {
            scratch_[places[DigitOf(entry.key, pass)]++] = entry;
        }
        std::swap(entries_, scratch_);
    }
}

void BlockSorter::SortWide() {
    std::sort(entries_.Data(), entries_.Data() + entries_.Size(),
              [](const Entry& a, const Entry& b) {
                  if (a.key != b.key) return a.key < b.key;
                  return a.inside != b.inside ? a.inside < b.inside : a.index < b.index;
              });
}

void BlockSorter::CountCells(std::vector<CellCount>& cells) const {
    for (const Entry& entry : entries_.All()) {
        const SortKey key{entry.key, entry.inside};
        if (cells.empty() || cells.back().key != key) cells.push_back({key, 0});
        ++cells.back().count;
    }
}

}  // namespace orvix::importer
