// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "orvix/points/grid_cells.h"
#include "orvix/points/records.h"

namespace orvix::detection {

using CellPlace = std::array<std::int32_t, 3>;  ///< cells along each axis from the origin

/// Whether two places are one; the array's own comparison is a call of a library.
inline bool Same(const CellPlace& a, const CellPlace& b) {
    return a[0] == b[0] && a[1] == b[1] && a[2] == b[2];
}

/// Cells of a size that nests in the project's own: 10, 20, 25, 50 cm, 1, 2, 5 or 10 m.
///
/// Units      metres, project frame.
/// Boundaries half-open, as the project's: of 10 cm they are the project's 10 cm cells.
class CellFrame {
public:
    /// The sizes there are, ascending.
    static constexpr std::array<double, 8> kSizes{0.1, 0.2, 0.25, 0.5, 1, 2, 5, 10};

    CellFrame() : CellFrame(0) {}
    /// `step` is a place in kSizes.
    explicit CellFrame(std::size_t step)
        : size_(kSizes[step]),
          perMetre_(size_ < 1 ? static_cast<std::int32_t>(1 / size_ + 0.5) : 0),
          metres_(size_ < 1 ? 1 : static_cast<std::int32_t>(size_ + 0.5)) {}

    [[nodiscard]] double Size() const { return size_; }
    /// Whether cells are smaller than the project's 100 cm cells.
    [[nodiscard]] bool InMetre() const { return perMetre_ != 0; }
    /// Cells along an axis of what holds whole cells: a metre, or ten.
    [[nodiscard]] std::int32_t PerUnit() const { return perMetre_ != 0 ? perMetre_ : 10 / metres_; }

    [[nodiscard]] std::int32_t Along(float coordinate) const {
        const double metres = coordinate;
        const auto truncated = static_cast<std::int32_t>(metres);
        const std::int32_t whole = truncated - static_cast<std::int32_t>(metres < truncated);
        if (perMetre_ != 0)
            return whole * perMetre_ +
                   std::min(static_cast<std::int32_t>((metres - whole) * perMetre_), perMetre_ - 1);
        if (metres_ == 1) return whole;
        const std::int32_t quotient = whole / metres_;
        return whole % metres_ < 0 ? quotient - 1 : quotient;
    }
    [[nodiscard]] CellPlace PlaceOf(const CCloudPoint<float>& p) const {
        return {Along(p.x), Along(p.y), Along(p.z)};
    }
    /// The middle of a cell, along one axis.
    [[nodiscard]] double Middle(std::int32_t place) const { return (place + 0.5) * size_; }
    [[nodiscard]] SimplePointT<double> Middle(const CellPlace& place) const {
        return {Middle(place[0]), Middle(place[1]), Middle(place[2])};
    }
    /// Whether a coordinate has a cell: finite, and within what 32 bits can count.
    static bool Holds(float coordinate) { return coordinate > -1e8F && coordinate < 1e8F; }
    static bool Holds(const CCloudPoint<float>& p) {
        return Holds(p.x) && Holds(p.y) && Holds(p.z);
    }

private:
    double size_;
    std::int32_t perMetre_;  // 0 for cells of a metre and more
    std::int32_t metres_;
};

/// Numbers the cells of a chunk in the order in which its points first meet them.
///
/// Boundaries points must come as a project stores them, one 100 cm cell (of cells of a metre and
///            more: one 1000 cm cell) after the other; a cell met again later gets a new number.
/// Cost       a comparison a point that stays in its cell, a table of at most 1000 places else.
class CellNumbering {
public:
    explicit CellNumbering(const CellFrame& frame)
        : perUnit_(frame.PerUnit()),
          numbers_(static_cast<std::size_t>(perUnit_) * perUnit_ * perUnit_) {}

    /// The cell's number; `isNew` tells whether it is met for the first time.
    std::uint32_t NumberOf(const CellPlace& place, bool& isNew) {
        isNew = false;
        if (Same(place, last_) && next_ > 0) return current_;
        last_ = place;
        const CellPlace unit{FloorBy(place[0]), FloorBy(place[1]), FloorBy(place[2])};
        if (!Same(unit, unit_) || next_ == 0) {
            unit_ = unit;
            std::fill(numbers_.begin(), numbers_.end(), 0);
        }
        std::uint32_t& number = numbers_[Inside(place)];
        if (number == 0) {
            number = ++next_;
            isNew = true;
        }
        current_ = number - 1;
        return current_;
    }
    [[nodiscard]] std::uint32_t Count() const { return next_; }

private:
    [[nodiscard]] std::int32_t FloorBy(std::int32_t value) const {
        const std::int32_t quotient = value / perUnit_;
        return value % perUnit_ < 0 ? quotient - 1 : quotient;
    }
    [[nodiscard]] std::size_t Inside(const CellPlace& place) const {
        const auto x = static_cast<std::size_t>(place[0] - unit_[0] * perUnit_);
        const auto y = static_cast<std::size_t>(place[1] - unit_[1] * perUnit_);
        const auto z = static_cast<std::size_t>(place[2] - unit_[2] * perUnit_);
        return (x * static_cast<std::size_t>(perUnit_) + y) * static_cast<std::size_t>(perUnit_) +
               z;
    }

    std::int32_t perUnit_;
    std::vector<std::uint32_t> numbers_;  // 1 more than the number; 0: not met
    CellPlace unit_{};
    CellPlace last_{};
    std::uint32_t current_ = 0;
    std::uint32_t next_ = 0;
};

}  // namespace orvix::detection
