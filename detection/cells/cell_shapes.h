// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "detection/cells/tile_cells.h"

namespace orvix::detection {

/// How flat the points of a cell are, or where these are too few, those of the 27 cells around it.
struct CellShape {
    std::array<float, 3> normal{};  ///< of unit length; all 0 where the points have none
    float rms = 0;                  ///< of the points from their own plane, metres
    float turn = 0;                 ///< standard error of the normal, radians
    /// The axis, from 1, along which the cells on both sides hold the rest of the same surface, which
    /// a face between cells slices; 0 where none does.
    std::uint8_t slicedAlong = 0;
    bool own = false;  ///< whether the cell's points are enough, and those around it left out

    [[nodiscard]] bool HasNormal() const {
        return normal[0] != 0 || normal[1] != 0 || normal[2] != 0;
    }
    [[nodiscard]] Vector Normal() const { return {normal[0], normal[1], normal[2]}; }
};

/// The points that decide a cell's place on a surface: its own, and where a face between cells
/// slices the surface, those on both sides of it.
MomentSum SumOfSurface(const TileCells& tile, std::uint32_t cell, const CellShape& shape);

/// Finds the shape of every cell of a linked tile. `proceed`, here and below, is asked every few
/// milliseconds unless it is empty; after a no the result is whatever was found so far.
///
/// A surface may lie on a face between cells, as a floor at a height of 0 does: then its noise puts
/// half of its points above, half below, and each half alone is flatter than the surface and lies
/// beside it. Cells are therefore looked at together with those on both sides of them, along the axis
/// next to their normal, and if all are about as flat, have their shape.
///
/// Boundaries a normal needs 8 points whose spread is wide along two directions, and at most 0.35
///            of the narrower of these along the third.
/// Cost       100 ns per cell with enough points of its own, else 200 ns.
std::vector<CellShape> ShapesOf(const TileCells& tile, const std::function<bool()>& proceed = {});

/// Gives a normal to cells that have none because other surfaces pass close by, such as the far
/// side of a thin wall.
///
/// Nine digital planes pass through the 27 cells: three along the axes, six across them. The one
/// whose points are flattest decides, if they are about as flat as the cloud's noise allows.
///
/// Boundaries cells above 0.5 m stay as they are: no wall is that thick.
/// Cost       half a microsecond for each cell of few points that has no normal.
void FindThinShapes(const TileCells& tile, double noise, std::vector<CellShape>& shapes,
                    const std::function<bool()>& proceed = {});

}  // namespace orvix::detection
