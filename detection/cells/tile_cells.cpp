// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cells/tile_cells.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace orvix::detection {

Vector TileCells::MiddleOf(const CellFrame& frame, const CellPlace& origin) {
    const auto half = [&](std::size_t axis) {
        return frame.Size() * (frame.PerTile(axis) - 1) / 2;
    };
    return frame.Middle(origin) + Vector{half(0), half(1), half(2)};
}

TileCells::TileCells(const CellFrame& frame, const CellPlace& origin, std::span<CellSums> parts)
    : frame_(frame), origin_(origin), middle_(MiddleOf(frame, origin)) {
    std::vector<TileKey> keys;
    std::vector<const MomentSum*> sums;
    std::vector<const CellBox*> boxes;
    for (const CellSums& part : parts) {
        keys.insert(keys.end(), part.keys.begin(), part.keys.end());
        for (const MomentSum& sum : part.sums) sums.push_back(&sum);
        for (const CellBox& box : part.boxes) boxes.push_back(&box);
    }
    const std::vector<std::uint32_t> order = AscendingOrder(keys);
    keys_.reserve(keys.size());
    sums_.reserve(keys.size());
    boxes_.reserve(keys.size());
    numbers_.resize(keys.size());
    for (const std::uint32_t i : order) {
        numbers_[i] = Size();
        keys_.push_back(keys[i]);
        sums_.push_back(*sums[i]);
        boxes_.push_back(*boxes[i]);
    }
    for (CellSums& part : parts) part = {};
}

Expected<void> TileCells::Check() const {
    for (std::uint32_t i = 1; i < Size(); ++i) {
        if (keys_[i] != keys_[i - 1]) continue;
        const Vector at = frame_.Middle(PlaceOf(keys_[i], origin_));
        return Fail(ErrorCode::Damaged,
                    fmt::format("the points at {}, {}, {} are not stored cell by cell; check "
                                "the project or import it again",
                                at.x, at.y, at.z));
    }
    return {};
}

std::size_t TileCells::PlaceIn(const CellPlace& cell) const {
    const auto at = [&](std::size_t axis) { return static_cast<std::size_t>(cell[axis]); };
    const auto across = [&](std::size_t axis) {
        return static_cast<std::size_t>(frame_.PerTile(axis));
    };
    return (at(0) * across(1) + at(1)) * across(2) + at(2);
}

std::uint32_t TileCells::CellAt(const Vector& place) const {
    const std::array<double, 3> at{place.x, place.y, place.z};
    CellPlace cell{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::int32_t cells = frame_.PerTile(axis);
        const double along = at[axis] / frame_.Size() + 0.5 * cells;
        if (!(along >= 0 && along < cells)) return Size();
        cell[axis] = static_cast<std::int32_t>(along);
    }
    if (!occupied_[PlaceIn(cell)]) return Size();
    return static_cast<std::uint32_t>(
        std::lower_bound(keys_.begin(), keys_.end(), KeyOf(cell, {})) - keys_.begin());
}

// Three places are written for each column, whether or not there is anything: branches would be guessed
// wrong. What is too many, the next column overwrites.
void TileCells::Link() {
    constexpr std::size_t kMostAround = 27;
    firstAround_.reserve(keys_.size() + 1);
    around_.resize(keys_.size() * 10 + kMostAround);
    const ColumnRanks ranks(keys_);
    ColumnRanks::Nine columns{};
    std::size_t end = 0;
    for (std::size_t i = 0; i < keys_.size(); ++i) {
        firstAround_.push_back(static_cast<std::uint32_t>(end));
        if (around_.size() < end + kMostAround)
            around_.resize(around_.size() * 3 / 2 + kMostAround);
        if (i == 0 || keys_[i] / kKeyY != keys_[i - 1] / kKeyY) columns = ranks.Around(keys_[i]);
        for (const std::uint32_t* column : columns) {
            const std::uint32_t first = ranks.First(column, keys_[i]);
            for (std::uint32_t k = 0; k < 3; ++k) around_[end + k] = first + k;
            end += ranks.End(column, keys_[i]) - first;
        }
    }
    firstAround_.push_back(static_cast<std::uint32_t>(end));
    around_.resize(end);
    occupied_.resize(PlaceIn({frame_.PerTile(0), 0, 0}));
    for (const TileKey key : keys_) occupied_[PlaceIn(PlaceOf(key, {}))] = true;
}

}  // namespace orvix::detection
