// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/check/check_skeleton_data.h"

#include <algorithm>
#include <bit>
#include <vector>

#include "orvix/points/attributes.h"

namespace orvix::detail {
namespace {

constexpr std::uint64_t kMaxAtOnce = 262'144;
constexpr std::uint32_t kEmpty = ~std::uint32_t{0};

using Position = std::array<std::uint32_t, 3>;

template <class Point>
Position PositionOf(const Point& point) {
    return {std::bit_cast<std::uint32_t>(point.x), std::bit_cast<std::uint32_t>(point.y),
            std::bit_cast<std::uint32_t>(point.z)};
}

enum class Match : std::uint8_t { Nowhere, Place, Whole, Repeated };

/// Some skeleton points of one cell, found by position.
class CellTable {
public:
    void Fill(const SkeletonFiles& skeleton, std::uint64_t first, std::uint64_t count) {
        positions_.clear();
        data_.clear();
        matches_.assign(static_cast<std::size_t>(count), Match::Nowhere);
        slots_.assign(std::bit_ceil(static_cast<std::size_t>(count) * 2), kEmpty);
        for (std::uint64_t i = first; i < first + count; ++i) {
            positions_.push_back(PositionOf(skeleton.points[i]));
            data_.push_back(skeleton.data[i]);
            std::uint32_t& slot = slots_[SlotOf(positions_.back())];
            if (slot == kEmpty) {
                slot = static_cast<std::uint32_t>(positions_.size() - 1);
            } else {
                matches_[positions_.size() - 1] = Match::Repeated;
            }
        }
    }

    void Meet(const CCloudPoint<float>& point) {
        const std::uint32_t i = slots_[SlotOf(PositionOf(point))];
        if (i == kEmpty || matches_[i] == Match::Whole) return;
        // BEHAVIOUR K6
        matches_[i] = HoldsAttributesOf(data_[i], point) ? Match::Whole : Match::Place;
    }

    [[nodiscard]] const std::vector<Match>& Matches() const { return matches_; }

private:
    // Where the position is, or belongs.
    [[nodiscard]] std::size_t SlotOf(const Position& position) const {
        std::uint64_t mixed = position[0];
        for (const std::uint32_t part : {position[1], position[2]})
            mixed = (mixed ^ part) * 0x9E3779B97F4A7C15u + (mixed >> 32);
        const std::size_t last = slots_.size() - 1;
        std::size_t slot = static_cast<std::size_t>(mixed >> 32) & last;
        while (slots_[slot] != kEmpty && positions_[slots_[slot]] != position)
            slot = (slot + 1) & last;
        return slot;
    }

    std::vector<Position> positions_;
    std::vector<CPointDataFull> data_;
    std::vector<Match> matches_;
    std::vector<std::uint32_t> slots_;
};

// Whether a cell's run begins at `next` and ends in the file; `next` is its end then.
bool Follows(const GridCellRecord& cell, std::uint64_t& next, std::uint64_t records) {
    if (cell.offset != next || cell.count > records - next) return false;
    next += cell.count;
    return true;
}

void Report(CheckLog& log, const SkeletonFiles& skeleton, std::uint64_t first,
            const std::vector<Match>& matches) {
    for (std::size_t i = 0; i < matches.size(); ++i) {
        if (matches[i] == Match::Nowhere) {
            log.Add(skeleton.points.Path(), "point {} lies where the cloud has no point",
                    first + i);
        } else if (matches[i] == Match::Place) {
            log.Add(skeleton.data.Path(),
                    "record {} does not hold intensity, colour, class and station of the "
                    "cloud's point that it stands for",
                    first + i);
        } else if (matches[i] == Match::Repeated) {
            log.Add(skeleton.points.Path(), "point {} lies where another one of its cell does",
                    first + i);
        }
    }
}

// Whether a cell lies in a clean stretch; calls come with ascending numbers.
class CleanCells {
public:
    explicit CleanCells(const std::vector<CellStretch>& stretches)
        : next_(stretches.begin()), end_(stretches.end()) {}

    bool Holds(std::uint64_t cell) {
        while (next_ != end_ && next_->endCell <= cell) ++next_;
        return next_ != end_ && next_->cleanSkeleton;
    }

private:
    std::vector<CellStretch>::const_iterator next_;
    std::vector<CellStretch>::const_iterator end_;
};

}  // namespace

void CheckSkeletonData(CheckLog& log, const SkeletonFiles& skeleton, const GridFiles& grid,
                       const std::vector<CellStretch>& stretches) {
    CellTable table;
    CleanCells clean(stretches);
    const std::uint64_t cells = std::min(skeleton.cells.Count(), grid.cells100.Count());
    const std::uint64_t records = std::min(skeleton.points.Count(), skeleton.data.Count());
    // Runs that overlap would have points compared again and again.
    std::uint64_t nextThinned = 0;
    std::uint64_t nextPoint = 0;
    for (std::uint64_t i = 0; i < cells && !log.Cancelled(); ++i) {
        const GridCellRecord thinned = skeleton.cells[i];
        const GridCellRecord cell = grid.cells100[i];
        const bool sound = KeyOf(thinned) == KeyOf(cell) &&
                           Follows(thinned, nextThinned, records) &&
                           Follows(cell, nextPoint, grid.points.Count());
        if (!sound) return;
        if (clean.Holds(i)) continue;
        for (std::uint64_t done = 0; done < thinned.count;) {
            const std::uint64_t count = std::min<std::uint64_t>(kMaxAtOnce, thinned.count - done);
            table.Fill(skeleton, thinned.offset + done, count);
            for (std::uint64_t p = cell.offset; p < cell.offset + cell.count; ++p) {
                table.Meet(grid.points[p]);
            }
            Report(log, skeleton, thinned.offset + done, table.Matches());
            done += count;
        }
        if (!log.Advance(cell.count * kAlivePointBytes)) return;
    }
}

}  // namespace orvix::detail
