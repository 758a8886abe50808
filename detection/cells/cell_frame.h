// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "orvix/points/grid_cells.h"
#include "orvix/points/records.h"

namespace orvix::detection {

using CellPlace = std::array<std::int32_t, 3>;  ///< cells along each axis from the origin

inline std::int32_t FloorBy(std::int32_t value, std::int32_t by) {
    const std::int32_t quotient = value / by;
    return value % by < 0 ? quotient - 1 : quotient;
}

/// Whether two places are one; the array's own comparison is a call of a library.
inline bool Same(const CellPlace& a, const CellPlace& b) {
    return a[0] == b[0] && a[1] == b[1] && a[2] == b[2];
}

/// Cells of a size that nests in the project's own: 10, 20, 25, 50 cm, 1, 2, 5 or 10 m, and the
/// tiles of some dozens of cells along an axis that the search works through.
///
/// Units      metres, project frame.
/// Boundaries half-open, as the project's: of 10 cm they are the project's 10 cm cells. A tile
///            holds whole 100 cm cells, of cells of a metre and more whole 1000 cm cells.
class CellFrame {
public:
    /// The sizes there are, ascending.
    static constexpr std::array<double, 8> kSizes{0.1, 0.2, 0.25, 0.5, 1, 2, 5, 10};
    /// Metres along the axes of a tile, for each size.
    static constexpr std::array<CellPlace, 8> kTileMetres{{{5, 5, 10},
                                                           {10, 10, 10},
                                                           {10, 10, 10},
                                                           {20, 20, 20},
                                                           {50, 50, 50},
                                                           {100, 100, 100},
                                                           {250, 250, 250},
                                                           {500, 500, 500}}};
    /// What no tile has more cells of along an axis.
    static constexpr std::int32_t kMaxCellsPerAxis = 100;

    CellFrame() : CellFrame(0) {}
    /// `step` is a place in kSizes.
    explicit CellFrame(std::size_t step)
        : size_(kSizes[step]),
          tileMetres_(kTileMetres[step]),
          perMetre_(size_ < 1 ? static_cast<std::int32_t>(1 / size_ + 0.5) : 0),
          metres_(size_ < 1 ? 1 : static_cast<std::int32_t>(size_ + 0.5)) {}

    [[nodiscard]] double Size() const { return size_; }
    /// Whether cells are smaller than the project's 100 cm cells.
    [[nodiscard]] bool InMetre() const { return perMetre_ != 0; }
    /// Cells along an axis of what holds whole cells: a metre, or ten.
    [[nodiscard]] std::int32_t PerUnit() const { return perMetre_ != 0 ? perMetre_ : 10 / metres_; }

    /// Cells along an axis of a tile.
    [[nodiscard]] std::int32_t PerTile(std::size_t axis) const {
        return perMetre_ != 0 ? tileMetres_[axis] * perMetre_ : tileMetres_[axis] / metres_;
    }
    /// The tile that holds a 100 cm cell.
    [[nodiscard]] CellPlace TileOfMetre(const CellPlace& metre) const {
        return {FloorBy(metre[0], tileMetres_[0]), FloorBy(metre[1], tileMetres_[1]),
                FloorBy(metre[2], tileMetres_[2])};
    }
    /// The tile that holds a cell.
    [[nodiscard]] CellPlace TileOf(const CellPlace& cell) const {
        return {FloorBy(cell[0], PerTile(0)), FloorBy(cell[1], PerTile(1)),
                FloorBy(cell[2], PerTile(2))};
    }
    /// A tile's first cell.
    [[nodiscard]] CellPlace OriginOf(const CellPlace& tile) const {
        return {tile[0] * PerTile(0), tile[1] * PerTile(1), tile[2] * PerTile(2)};
    }

    [[nodiscard]] std::int32_t Along(float coordinate) const {
        const double metres = coordinate;
        const auto truncated = static_cast<std::int32_t>(metres);
        const std::int32_t whole = truncated - static_cast<std::int32_t>(metres < truncated);
        if (perMetre_ != 0)
            return whole * perMetre_ +
                   std::min(static_cast<std::int32_t>((metres - whole) * perMetre_), perMetre_ - 1);
        if (metres_ == 1) return whole;
        return FloorBy(whole, metres_);
    }
    [[nodiscard]] CellPlace PlaceOf(const CCloudPoint<float>& p) const {
        return {Along(p.x), Along(p.y), Along(p.z)};
    }
    /// The cell of a place, as a point there would have it; none where no point can be.
    [[nodiscard]] std::optional<CellPlace> PlaceOf(const SimplePointT<double>& place) const {
        const auto x = static_cast<float>(place.x), y = static_cast<float>(place.y),
                   z = static_cast<float>(place.z);
        if (!Holds(x) || !Holds(y) || !Holds(z)) return std::nullopt;
        return CellPlace{Along(x), Along(y), Along(z)};
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
    CellPlace tileMetres_;
    std::int32_t perMetre_;  // 0 for cells of a metre and more
    std::int32_t metres_;
};

/// Numbers the cells of a chunk in the order in which its points first meet them.
///
///     CellNumbering numbering(frame);
///     for (const auto& p : points) Use(numbering.NumberOf(p), p);
///
/// IsNew says of the last point whether it was the first in its cell.
///
/// Boundaries points must have a cell (CellFrame::Holds) and come as a project stores them, one
///            100 cm cell (of cells of a metre and more: one 1000 cm cell) after the other; a cell
///            met again later gets a new number.
/// Cost       six comparisons a point that stays well inside its cell, a table of at most 1000
///            places else.
class CellNumbering {
public:
    explicit CellNumbering(const CellFrame& frame)
        : frame_(frame),
          perUnit_(frame.PerUnit()),
          numbers_(static_cast<std::size_t>(perUnit_) * perUnit_ * perUnit_) {}

    /// Whether a point lies in the present cell, and not at its rim.
    [[nodiscard]] bool Stays(const CCloudPoint<float>& p) const {
        return p.x > low_.x && p.x < high_.x && p.y > low_.y && p.y < high_.y && p.z > low_.z &&
               p.z < high_.z;
    }
    /// The number of the point's cell, which becomes the present one.
    std::uint32_t NumberOf(const CCloudPoint<float>& p) {
        isNew_ = false;
        return Stays(p) ? current_ : Enter(frame_.PlaceOf(p));
    }
    /// Whether the last point was the first in its cell, and which cell that is.
    [[nodiscard]] bool IsNew() const { return isNew_; }
    [[nodiscard]] const CellPlace& Place() const { return place_; }

private:
    std::uint32_t Enter(const CellPlace& place) {
        if (next_ > 0 && Same(place, place_)) return current_;
        place_ = place;
        const SimplePointT<double> middle = frame_.Middle(place);
        const double inner = frame_.Size() * (0.5 - 1e-5);  // rounding moves no rim so far
        low_ = {middle.x - inner, middle.y - inner, middle.z - inner};
        high_ = {middle.x + inner, middle.y + inner, middle.z + inner};
        std::size_t inside = Inside(place);
        if (inside >= numbers_.size() || next_ == 0) {
            for (std::size_t axis = 0; axis < 3; ++axis)
                unit_[axis] = FloorBy(place[axis], perUnit_) * perUnit_;
            std::fill(numbers_.begin(), numbers_.end(), 0);
            inside = Inside(place);
        }
        std::uint32_t& number = numbers_[inside];
        if (number == 0) {
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
    std::vector<std::uint32_t> numbers_;  // 1 more than the number; 0: not met
    CellPlace unit_{};                    // its first cell
    CellPlace place_{};
    SimplePointT<double> low_{1, 1, 1}, high_{-1, -1, -1};  // what surely is the present cell
    std::uint32_t current_ = 0;
    std::uint32_t next_ = 0;
    bool isNew_ = false;
};

}  // namespace orvix::detection
