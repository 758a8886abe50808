// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/outlines/line_index.h"

#include <algorithm>

namespace orvix::detection {
namespace {

constexpr std::int64_t kTile = 8;

std::uint64_t TileOf(double coordinate) {
    return static_cast<std::uint64_t>(std::max(coordinate, 0.0)) / kTile;
}

std::span<const LineIndex::Entry> EntriesOf(const std::vector<LineIndex::Entry>& entries,
                                            std::uint64_t key) {
    const auto first = std::lower_bound(entries.begin(), entries.end(), LineIndex::Entry(key, 0));
    return {first, std::lower_bound(first, entries.end(), LineIndex::Entry(key + 1, 0))};
}

}  // namespace

void LineIndex::Begin(std::int64_t right) {
    tiles_.clear();
    rows_.clear();
    tilesPerRow_ =
        static_cast<std::uint64_t>(right / kTile) + 2 + static_cast<std::uint64_t>(reach_ / kTile);
}

void LineIndex::Add(std::uint32_t line, const RimCorner& a, const RimCorner& b) {
    const auto dx = static_cast<double>(b.x - a.x), dy = static_cast<double>(b.y - a.y);
    const auto low = static_cast<double>(std::min(a.y, b.y)) - reach_;
    const auto high = static_cast<double>(std::max(a.y, b.y)) + reach_;
    const auto xAt = [&](double y) {
        const double share =
            dy == 0 ? 0 : std::clamp((y - static_cast<double>(a.y)) / dy, 0.0, 1.0);
        return static_cast<double>(a.x) + share * dx;
    };
    for (std::uint64_t row = TileOf(low); row <= TileOf(high); ++row) {
        const auto bottom = static_cast<double>(row * kTile);
        double from = xAt(bottom - reach_), to = xAt(bottom + kTile + reach_);
        if (dy == 0) to = static_cast<double>(b.x);
        if (from > to) std::swap(from, to);
        for (std::uint64_t tile = TileOf(from - reach_); tile <= TileOf(to + reach_); ++tile)
            tiles_.emplace_back(row * tilesPerRow_ + tile, line);
        rows_.emplace_back(row, line);
    }
}

void LineIndex::Finish() {
    std::sort(tiles_.begin(), tiles_.end());
    std::sort(rows_.begin(), rows_.end());
}

std::span<const LineIndex::Entry> LineIndex::InTile(const RimCorner& corner) const {
    return EntriesOf(tiles_, static_cast<std::uint64_t>(corner.y / kTile) * tilesPerRow_ +
                                 static_cast<std::uint64_t>(corner.x / kTile));
}

std::span<const LineIndex::Entry> LineIndex::InRow(std::int64_t y) const {
    return EntriesOf(rows_, static_cast<std::uint64_t>(y / kTile));
}

}  // namespace orvix::detection
