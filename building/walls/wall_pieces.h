// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <vector>

#include "building/walls/wall_runs.h"

namespace orvix::building {

/// A run with its ends brought to what it meets.
///
/// Shape  from begin to end along the way of the run's face, the middle of the wall `thickness` / 2
///        behind it: Middle(along).
struct WallPiece {
    WallRun run;
    FaceLine face;
    std::array<bool, 2> bounded{};  ///< whether its beginning and end meet another wall

    [[nodiscard]] PlanPoint Middle(double along) const {
        return face.At(along, -run.thickness / 2);
    }
    [[nodiscard]] double Length() const { return run.end - run.begin; }
};

/// A gap that parts two rooms though no wall fills it: between two walls of one line, or between a
/// wall's end and a wall not far beyond it.
struct OpenBound {
    PlanPoint from;  ///< the middle of the wall that goes on
    PlanPoint to;
    double thickness = 0;
};

/// Lengthens walls to the corners that they make.
///
/// At a corner one, the thicker, else the longer, else the earlier, runs through to the other's far
/// face, and the other ends at its near one; at a junction a wall ends at the face that it meets. An
/// end moves up to 0.35 m beyond what was seen.
std::vector<WallPiece> JoinRuns(const std::vector<WallRun>& runs, const FaceLines& faces);

/// Gaps of up to 4 m between walls of one line, and of up to 1.3 m between a wall's end and the wall
/// that it would meet.
std::vector<OpenBound> OpenBoundsOf(const std::vector<WallPiece>& pieces);

}  // namespace orvix::building
