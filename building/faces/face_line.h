// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "building/building.h"
#include "detection/found_plane.h"

namespace orvix::building {

/// Upright planes that lie on one line of the plan and face the same way: the faces of one or more
/// walls, pieces of which windows, doors and other walls part.
///
/// Shape  normal . p = offset; the normal points out of the material. Places along the line are
///        along = way . p, the way being the normal turned to the left: (-y, x).
struct FaceLine {
    PlanPoint normal;
    double offset = 0;
    std::vector<std::size_t> planes;  ///< places in the list of planes, largest first
    double begin = 0;                 ///< along the line, of what was seen
    double end = 0;
    double bottom = 0;
    double top = 0;
    bool either = false;   ///< nobody knows from which side it was seen: it is there twice
    bool squared = false;  ///< turned by SquareLines

    [[nodiscard]] PlanPoint Way() const { return {-normal.y, normal.x}; }
    [[nodiscard]] double Along(const PlanPoint& p) const { return p.y * normal.x - p.x * normal.y; }
    /// How far a place lies in front of the face.
    [[nodiscard]] double Before(const PlanPoint& p) const {
        return p.x * normal.x + p.y * normal.y - offset;
    }
    [[nodiscard]] PlanPoint At(double along, double before = 0) const {
        return {normal.x * (offset + before) - normal.y * along,
                normal.y * (offset + before) + normal.x * along};
    }
};

/// The lines on which a project's walls lie.
struct FaceLines {
    std::vector<FaceLine> lines;
};

/// Gathers upright planes into lines.
///
/// A plane joins the line of a larger one where both its ends lie within 1.5 cm of it, or within what
/// the larger one scatters, and no gap of more than 25 m parts them.
///
/// Order  by the largest plane of each, in the order of the planes.
FaceLines FaceLinesOf(const std::vector<detection::FoundPlane>& planes);

/// A line of one plane; none for a plane that is not upright, or less than 200 square centimetres.
std::optional<FaceLine> FaceLineOf(const detection::FoundPlane& plane);

}  // namespace orvix::building
