// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

#include "orvix/platform/truncate.h"
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

/// The search's cells, of a size that nests in the project's own (10, 20, 25, 50 cm, 1, 2, 5 or
/// 10 m), and its tiles of up to a hundred cells along an axis.
///
///     const CellFrame frame(0);                            // cells of 10 cm
///     const CellPlace cell = frame.PlaceOf(point);         // (-0.05, 1.23, 0) is in (-1, 12, 0)
///     const CellPlace tile = frame.TileOf(cell);
///
/// Units      metres, project frame; places count cells (or tiles) from the origin.
/// Boundaries cells are half-open, as the project's: cells of 10 cm are the project's 10 cm cells.
///            A tile holds whole 100 cm cells, or whole 1000 cm cells where cells are a metre or
///            more.
/// Threads    a value.
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
    /// The largest number of cells along an axis that a tile has.
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
    /// Cells along an axis of the smallest whole unit: of a metre, or where cells are that large,
    /// of ten metres.
    [[nodiscard]] std::int32_t PerUnit() const { return perMetre_ != 0 ? perMetre_ : 10 / metres_; }

    /// Cells along an axis of a tile.
    [[nodiscard]] std::int32_t PerTile(std::size_t axis) const {
        return perMetre_ != 0 ? tileMetres_[axis] * perMetre_ : tileMetres_[axis] / metres_;
    }
    /// Metres along an axis of a tile.
    [[nodiscard]] std::int32_t TileMetres(std::size_t axis) const { return tileMetres_[axis]; }
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

    /// The cell of a coordinate, along one axis. Precondition: Holds.
    [[nodiscard]] std::int32_t CellAt(float coordinate) const {
        const double metres = coordinate;
        const auto whole = detail::FloorTo<std::int32_t>(metres);
        if (perMetre_ != 0)
            return whole * perMetre_ +
                   std::min(static_cast<std::int32_t>((metres - whole) * perMetre_), perMetre_ - 1);
        if (metres_ == 1) return whole;
        return FloorBy(whole, metres_);
    }
    [[nodiscard]] CellPlace PlaceOf(const CCloudPoint<float>& p) const {
        return {CellAt(p.x), CellAt(p.y), CellAt(p.z)};
    }
    /// The cell that a point at a place would have; none where no point can be.
    [[nodiscard]] std::optional<CellPlace> PlaceOf(const SimplePointT<double>& place) const {
        const auto x = static_cast<float>(place.x), y = static_cast<float>(place.y),
                   z = static_cast<float>(place.z);
        if (!Holds(x) || !Holds(y) || !Holds(z)) return std::nullopt;
        return CellPlace{CellAt(x), CellAt(y), CellAt(z)};
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

}  // namespace orvix::detection
