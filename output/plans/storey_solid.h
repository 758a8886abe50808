// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <vector>

#include "orvix/geometry/vector.h"
#include "output/plans/plan_vector.h"

namespace orvix::output {

/// What a picture shows a triangle as.
enum class ShapeKind { Wall, CutWall, Door, Window, Floor, Slab, Roof };
inline constexpr std::size_t kShapeKinds = 7;

struct ShapeTriangle {
    std::array<detail::Vector, 3> corners;
    ShapeKind kind = ShapeKind::Wall;
    std::size_t room = 0;  ///< of a floor: its place in the storey
};

/// A storey up to a height: walls joined at their corners, with openings, their cut faces, closed doors,
/// panes, and the floors of its rooms.
///
/// Shape  walls of known thickness are cut into level slices between the edges of openings, so that their
///        corners are those of the plans; walls of one face are this face.
std::vector<ShapeTriangle> StoreyUpTo(const building::Building& building, std::size_t storey,
                                      double height);

/// The whole building with its roof. Walls under slopes are their outlines' triangles.
std::vector<ShapeTriangle> WholeBuilding(const building::Building& building);

}  // namespace orvix::output
