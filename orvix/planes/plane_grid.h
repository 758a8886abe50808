// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>

#include "orvix/planes/fitted_plane.h"
#include "orvix/platform/export.h"
#include "orvix/points/records.h"

namespace orvix {

/// Grid coordinates of a cell on a plane; the seed's cell is (0, 0). Ordered by x, then y.
struct PlaneCell {
    std::int32_t x = 0;
    std::int32_t y = 0;
    friend auto operator<=>(const PlaneCell&, const PlaneCell&) = default;
};

/// Spreads cells over the places of a hash table.
struct PlaneCellHash {
    std::size_t operator()(const PlaneCell& cell) const {
        const auto x = static_cast<std::uint32_t>(cell.x);
        const auto y = static_cast<std::uint32_t>(cell.y);
        return static_cast<std::size_t>((std::uint64_t{x} << 32 | y) * 0x9E3779B97F4A7C15u);
    }
};

/// The cells of a plane search: a square lattice laid on a plane around a seed.
///
/// The lattice's pitch is half the split size: the neighbours of a cell are centred on the
/// mid-points of the sides of its contour box, a square with sides of the split size. A cell looks
/// at the points within half a split size of its centre, so these circles overlap and every point
/// of the plane lies in two of them at least: none falls between cells.
///
///     PlaneGrid grid(plane, seed, 0.4);
///     grid.Centre({3, 0});     // 0.6 m from the seed along the plane's x axis
///     grid.KeyOf(point);       // the cell whose centre is nearest to the point
///
/// Units      metres.
/// Shape      axes as FittedPlane::GetContourBox turns them. `seed` is moved onto the plane along
///            its normal and is the centre of cell (0, 0).
/// Boundaries a centre depends on its key alone, never on the way a search took to it; a point
///            between two cells belongs to the one with the larger coordinate. A position
///            further than 2^30 cells away has the key of that bound.
/// Threads    a plain value.
class ORVIX_API PlaneGrid {
public:
    PlaneGrid() = default;
    PlaneGrid(const FittedPlane& plane, const SimplePointT<double>& seed, double splitSize);

    [[nodiscard]] SimplePointT<double> Centre(const PlaneCell& key) const;
    [[nodiscard]] PlaneCell KeyOf(const SimplePointT<double>& p) const;
    /// Distance between the centres of neighbouring cells.
    [[nodiscard]] double Pitch() const { return pitch_; }

    /// Lays the grid onto a plane that moved a little: the seed's cell follows along the new
    /// normal, and the axes keep their directions as far as the new plane allows.
    void Settle(const FittedPlane& plane);

private:
    SimplePointT<double> origin_;
    SimplePointT<double> x_;  // unit axes
    SimplePointT<double> y_;
    double pitch_ = 0;
};

}  // namespace orvix
