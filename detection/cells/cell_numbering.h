// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "detection/cells/cell_frame.h"

namespace orvix::detection {

/// Numbers the cells of a chunk in the order in which their first points are stored.
///
///     CellNumbering numbering(frame);
///     for (const auto& p : points) {
///         const std::uint32_t cell = numbering.NumberOf(p);
///         if (numbering.IsNew()) cells.emplace_back(numbering.Place());
///         cells[cell].Add(p);
///     }
///
/// Boundaries points must have a cell (CellFrame::Holds) and be ordered as a project stores them,
///            one 100 cm cell after the other (of cells of a metre and more: one 1000 cm cell). A
///            cell that returns later gets a new number.
/// Cost       six comparisons for a point well inside the cell of the point before it; else one
///            access to a table of up to 1000 places.
class CellNumbering {
public:
    explicit CellNumbering(const CellFrame& frame)
        : frame_(frame),
          perUnit_(frame.PerUnit()),
          numbers_(static_cast<std::size_t>(perUnit_) * perUnit_ * perUnit_) {}

    /// Whether a point lies in the present cell, away from its faces.
    [[nodiscard]] bool Stays(const CCloudPoint<float>& p) const {
        return p.x > low_.x && p.x < high_.x && p.y > low_.y && p.y < high_.y && p.z > low_.z &&
               p.z < high_.z;
    }
    /// The number of the point's cell, which becomes the present one.
    std::uint32_t NumberOf(const CCloudPoint<float>& p) {
        isNew_ = false;
        return Stays(p) ? current_ : Enter(frame_.PlaceOf(p));
    }
    /// Whether the last point was the first in its cell.
    [[nodiscard]] bool IsNew() const { return isNew_; }
    /// The present cell.
    [[nodiscard]] const CellPlace& Place() const { return place_; }

private:
    std::uint32_t Enter(const CellPlace& place) {
        if (next_ > 0 && Same(place, place_)) return current_;
        place_ = place;
        const SimplePointT<double> middle = frame_.Middle(place);
        const double inner = frame_.Size() * (0.5 - 1e-5);  // rounding moves no face so far
        low_ = {middle.x - inner, middle.y - inner, middle.z - inner};
        high_ = {middle.x + inner, middle.y + inner, middle.z + inner};
        std::size_t inside = Inside(place);
        if (inside >= numbers_.size() || next_ == 0) {
            for (std::size_t axis = 0; axis < 3; ++axis)
                unit_[axis] = FloorBy(place[axis], perUnit_) * perUnit_;
            beforeUnit_ = next_;
            inside = Inside(place);
        }
        std::uint32_t& number = numbers_[inside];
        if (number <= beforeUnit_) {
            number = ++next_;
            isNew_ = true;
        }
        current_ = number - 1;
        return current_;
    }
    // At least the table's size for a place outside the unit.
    [[nodiscard]] std::size_t Inside(const CellPlace& place) const {
        const auto side = static_cast<std::uint32_t>(perUnit_);
        std::array<std::uint32_t, 3> at;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            at[axis] =
                static_cast<std::uint32_t>(place[axis]) - static_cast<std::uint32_t>(unit_[axis]);
            if (at[axis] >= side) return numbers_.size();
        }
        return (std::size_t{at[0]} * side + at[1]) * side + at[2];
    }

    CellFrame frame_;
    std::int32_t perUnit_;
    // Of the unit's cells, plus 1. What earlier units left is no larger than `beforeUnit_`: to clear a
    // thousand numbers for the few points of a thin scan's metre would cost more than the points.
    std::vector<std::uint32_t> numbers_;
    std::uint32_t beforeUnit_ = 0;
    CellPlace unit_{};  // the first cell of the metre, or ten, at work
    CellPlace place_{};
    SimplePointT<double> low_{1, 1, 1}, high_{-1, -1, -1};  // the inside of the present cell
    std::uint32_t current_ = 0;
    std::uint32_t next_ = 0;
    bool isNew_ = false;
};

}  // namespace orvix::detection
