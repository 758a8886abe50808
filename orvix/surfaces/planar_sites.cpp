// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/surfaces/planar_sites.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <limits>
#include <span>
#include <utility>

namespace orvix::detail {
namespace {

using Position = SimplePoint2DT<double>;

/// A position by its place in the list, with a whole number that never falls where the coordinate to
/// be sorted by rises.
struct Entry {
    std::uint32_t key;
    std::uint32_t source;
};

/// Turns coordinates between two bounds into such numbers.
class Keys {
public:
    Keys(double min, double max) : min_(min), scale_(kLargest / (max - min)) {
        // One place, or a width that no double holds: all keys are equal, and comparing sorts.
        if (!(scale_ > 0) || !std::isfinite(scale_)) scale_ = 0;
        if (!std::isfinite(max - min)) min_ = scale_ = 0;
    }
    std::uint32_t operator()(double coordinate) const {
        return static_cast<std::uint32_t>((coordinate - min_) * scale_);
    }

private:
    static constexpr double kLargest = std::numeric_limits<std::uint32_t>::max();
    double min_;
    double scale_;
};

/// Sorts entries by key, byte by byte from the lowest; then equal keys by `before`. Eight times as fast
/// as comparing alone.
template <class Before>
void SortEntries(std::span<Entry> entries, std::vector<Entry>& spare, const Before& before) {
    constexpr std::size_t kBytes = sizeof(Entry::key);
    std::array<std::array<std::uint32_t, 256>, kBytes> starts{};
    for (const Entry& entry : entries)
        for (std::size_t b = 0; b < kBytes; ++b) ++starts[b][(entry.key >> (8 * b)) & 255];
    spare.resize(std::max(spare.size(), entries.size()));
    std::span<Entry> from = entries, to(spare.data(), entries.size());
    for (std::size_t b = 0; b < kBytes; ++b) {  // an even number of passes: it ends in `entries`
        std::uint32_t start = 0;
        for (std::uint32_t& count : starts[b]) start += std::exchange(count, start);
        for (const Entry& entry : from) to[starts[b][(entry.key >> (8 * b)) & 255]++] = entry;
        std::swap(from, to);
    }
    for (auto first = entries.begin(); first != entries.end();) {
        auto end = first + 1;
        while (end != entries.end() && end->key == first->key) ++end;
        if (end - first > 1) std::sort(first, end, before);
        first = end;
    }
}

/// The finite positions from left to right, and among coinciding ones in the order of the list.
std::vector<Entry> FromLeftToRight(const std::vector<Position>& positions,
                                   std::vector<Entry>& spare) {
    double min = std::numeric_limits<double>::infinity(), max = -min;
    std::vector<Entry> entries;
    entries.reserve(positions.size());
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const Position& p = positions[i];
        if (!std::isfinite(p.x) || !std::isfinite(p.y)) continue;
        entries.push_back({0, static_cast<std::uint32_t>(i)});
        min = std::min(min, p.x);
        max = std::max(max, p.x);
    }
    const Keys keys(min, max);
    for (Entry& entry : entries) entry.key = keys(positions[entry.source].x);
    SortEntries(std::span(entries), spare, [&](const Entry& e, const Entry& f) {
        const Position &p = positions[e.source], &q = positions[f.source];
        return IsBefore(p, q) || (!IsBefore(q, p) && e.source < f.source);
    });
    return entries;
}

void DropCoinciding(const std::vector<Position>& positions, Coinciding which,
                    std::vector<Entry>& entries) {
    std::size_t kept = 0;
    for (const Entry& entry : entries) {
        const bool isNew =
            kept == 0 || IsBefore(positions[entries[kept - 1].source], positions[entry.source]);
        if (isNew) {
            entries[kept++] = entry;
        } else if (which == Coinciding::Last) {
            entries[kept - 1] = entry;
        }
    }
    entries.resize(kept);
}

/// As many strips as make cells of a few sites square, if strips were cut into such cells.
std::vector<std::uint32_t> StripsOf(std::size_t count) {
    const auto perCell = static_cast<double>(std::max<std::size_t>(std::bit_width(count), 1));
    const auto strips = std::max<std::size_t>(
        static_cast<std::size_t>(std::sqrt(static_cast<double>(count) / perCell)), 1);
    std::vector<std::uint32_t> starts;
    for (std::size_t s = 0; s <= strips; ++s)
        starts.push_back(static_cast<std::uint32_t>(count * s / strips));
    return starts;
}

void SortStrips(const std::vector<Position>& positions, const std::vector<std::uint32_t>& strips,
                std::vector<Entry>& entries, std::vector<Entry>& spare) {
    double min = std::numeric_limits<double>::infinity(), max = -min;
    for (const Entry& entry : entries) {
        min = std::min(min, positions[entry.source].y);
        max = std::max(max, positions[entry.source].y);
    }
    const Keys keys(min, max);
    for (Entry& entry : entries) entry.key = keys(positions[entry.source].y);
    for (std::size_t s = 0; s + 1 < strips.size(); ++s) {
        const std::span strip(entries.data() + strips[s], strips[s + 1] - strips[s]);
        SortEntries(strip, spare, [&](const Entry& e, const Entry& f) {
            const Position &p = positions[e.source], &q = positions[f.source];
            return p.y < q.y || (p.y == q.y && p.x > q.x);
        });
    }
}

}  // namespace

PlanarSites SitesOf(const std::vector<Position>& positions, Coinciding which) {
    std::vector<Entry> spare;
    std::vector<Entry> entries = FromLeftToRight(positions, spare);
    DropCoinciding(positions, which, entries);
    PlanarSites sites;
    sites.strips = StripsOf(entries.size());
    SortStrips(positions, sites.strips, entries, spare);
    spare = {};
    sites.positions.reserve(entries.size());
    sites.sources.reserve(entries.size());
    for (const Entry& entry : entries) {
        sites.positions.push_back(positions[entry.source]);
        sites.sources.push_back(entry.source);
    }
    return sites;
}

}  // namespace orvix::detail
