// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/sort/block_sorter.h"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

namespace orvix::importer {
namespace {

// A pass writes to as many places at once as there are digits; the lines of 1024 stay in the cache
// that is nearest but one. 11 bits took a tenth longer, 8 bits a pass more.
constexpr unsigned kMostDigitBits = 10;
constexpr unsigned kWordBits = 64;
constexpr unsigned kMostPasses = kWordBits / kMostDigitBits + 1;
// Below this many points clearing the counters costs more than comparing.
constexpr std::size_t kSmallBlock = 256;

using Counters = std::array<std::uint32_t, std::size_t{1} << kMostDigitBits>;

void AddToCell(const SortKey& key, std::vector<CellCount>& cells) {
    if (cells.empty() || cells.back().key != key) cells.push_back({key, 0});
    ++cells.back().count;
}

}  // namespace

void BlockSorter::Sort(const GridFrame& frame, std::span<const AlivePoint> points,
                       AlivePoint* sorted, std::vector<CellCount>* cells) {
    if (cells != nullptr) cells->clear();
    if (points.empty()) return;
    if (!frame.HasNumbers() || !MakeWords(frame, points)) {
        SortWide(frame, points, sorted, cells);
        return;
    }
    SortWords();
    const std::uint64_t places = (std::uint64_t{1} << placeBits_) - 1;
    for (const std::uint64_t word : words_.All()) *sorted++ = points[word & places];
    if (cells != nullptr) CountCells(*cells);
}

// False where a word has no room for both.
bool BlockSorter::MakeWords(const GridFrame& frame, std::span<const AlivePoint> points) {
    words_.Resize(points.size());
    frame.NumbersOf(points, words_.Data());
    smallest_ = words_[0];
    std::uint64_t largest = words_[0];
    for (const std::uint64_t number : words_.All()) {
        smallest_ = std::min(smallest_, number);
        largest = std::max(largest, number);
    }
    keyBits_ = static_cast<unsigned>(std::bit_width(largest - smallest_));
    placeBits_ = static_cast<unsigned>(std::bit_width(points.size() - 1));
    if (keyBits_ + placeBits_ > kWordBits) return false;
    std::uint64_t place = 0;
    for (std::uint64_t& word : words_.All()) word = (word - smallest_) << placeBits_ | place++;
    return true;
}

// Places differ, so no two words are equal, and points of one cell keep their order. A radix sort
// keeps it by itself and leaves the places out.
// BEHAVIOUR I9
void BlockSorter::SortWords() {
    if (words_.Size() < kSmallBlock) {
        std::sort(words_.Data(), words_.Data() + words_.Size());
        return;
    }
    const unsigned passes = (keyBits_ + kMostDigitBits - 1) / kMostDigitBits;
    if (passes == 0) return;
    const unsigned digitBits = (keyBits_ + passes - 1) / passes;
    const std::uint64_t digits = (std::uint64_t{1} << digitBits) - 1;
    const auto digitOf = [&](std::uint64_t word, unsigned pass) {
        return static_cast<std::size_t>(word >> (placeBits_ + pass * digitBits) & digits);
    };
    std::array<Counters, kMostPasses> counters;
    for (unsigned pass = 0; pass < passes; ++pass) counters[pass].fill(0);
    for (const std::uint64_t word : words_.All()) {
        for (unsigned pass = 0; pass < passes; ++pass) ++counters[pass][digitOf(word, pass)];
    }
    scratch_.Resize(words_.Size());
    for (unsigned pass = 0; pass < passes; ++pass) {
        Counters& places = counters[pass];
        if (places[digitOf(words_[0], pass)] == words_.Size()) continue;
        std::uint32_t place = 0;
        for (std::uint32_t& count : places) place += std::exchange(count, place);
        for (const std::uint64_t word : words_.All()) {
            scratch_[places[digitOf(word, pass)]++] = word;
        }
        std::swap(words_, scratch_);
    }
}

void BlockSorter::CountCells(std::vector<CellCount>& cells) const {
    std::uint64_t open = words_[0] >> placeBits_;
    std::size_t first = 0;
    const auto close = [&](std::size_t end) {
        const std::uint64_t number = open + smallest_;
        cells.push_back({{number / kInsideKeys, static_cast<std::uint32_t>(number % kInsideKeys)},
                         static_cast<std::uint32_t>(end - first)});
    };
    for (std::size_t i = 1; i < words_.Size(); ++i) {
        const std::uint64_t number = words_[i] >> placeBits_;
        if (number == open) continue;
        close(i);
        open = number;
        first = i;
    }
    close(words_.Size());
}

void BlockSorter::SortWide(const GridFrame& frame, std::span<const AlivePoint> points,
                           AlivePoint* sorted, std::vector<CellCount>* cells) {
    wide_.Resize(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        wide_[i] = {frame.KeyOf(points[i]), static_cast<std::uint32_t>(i)};
    }
    std::sort(wide_.Data(), wide_.Data() + wide_.Size(),
              [](const WideEntry& a, const WideEntry& b) {
                  return a.key != b.key ? a.key < b.key : a.place < b.place;
              });
    for (const WideEntry& entry : wide_.All()) {
        *sorted++ = points[entry.place];
        if (cells != nullptr) AddToCell(entry.key, *cells);
    }
}

}  // namespace orvix::importer
