// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <vector>

#include "output/plans/plan_vector.h"

namespace orvix::output {

/// What a plan shows of a wall of one face: so much is drawn behind the face, dotted, for a far side
/// that nobody saw.
inline constexpr double kAssumedThickness = 0.1;

/// A wall on a plan, joined to those that it meets.
struct WallBody {
    std::size_t wall = 0;               ///< place in Building::walls
    PlanPoint way;                      ///< along the axis, of length one
    double length = 0;                  ///< of the axis
    double left = 0;                    ///< of the left face, metres from the axis to the left
    double right = 0;                   ///< of the right face: below `left`
    bool measured = true;               ///< its thickness is known
    std::array<PlanPoint, 2> leftFace;  ///< from the start to the end, as far as joined
    std::array<PlanPoint, 2> rightFace;
    PlanRing ring;  ///< counter-clockwise; openings not cut out
};

/// The bodies of a storey's walls.
///
/// An end that comes close to another wall is brought to it: at a corner, where both end, each face runs
/// to the other wall's face (of three and more walls, to the next wall's around the corner); at a wall
/// that runs on, both faces run to its axis, inside its body. Where a wall of known thickness has a corner with
/// one of one face, it ends in the line of that face. "Close" is within the other's half
/// thickness and 12 cm. An end that runs past the other wall by more than 3 cm stays as it is.
///
/// Order  as in Building::walls; walls without a length are left out.
/// Cost   the square of their number.
std::vector<WallBody> JoinWalls(const building::Building& building,
                                const std::vector<std::size_t>& walls);

}  // namespace orvix::output
