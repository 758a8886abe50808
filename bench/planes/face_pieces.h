// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "orvix/geometry/vector.h"
#include "support/scenes/true_plane.h"

namespace orvix::bench {

/// A flat face of a scene, of which a scan saw parts.
struct TrueFace {
    test::TruePlane plane;
    bool judged = true;  ///< round surfaces and panes of glass are not
};

/// What a scan saw of a face in one piece.
struct FacePiece {
    std::int32_t face = 0;
    std::uint64_t points = 0;
    double area = 0;   ///< square metres that its points cover, no more than the face has
    double width = 0;  ///< metres, of the widest circle within
};

/// The pieces of all faces, and the piece of each point.
struct FacePieces {
    std::vector<FacePiece> pieces;
    std::vector<std::int32_t> of;  ///< a place in `pieces`, kNoPlane or kUnjudgedPlane
};

/// Parts faces into the pieces that were seen: what a person would mark in the scan.
///
///     const FacePieces found = PiecesOf(points, faceOfEachPoint, faces);
///
/// A face is cut into squares of 5 cm, those with points widened by two squares around. What hangs
/// together then is a piece: gaps of up to 0.2 m are joined, some of up to 0.3 m. Its area and width
/// are those of the widened squares narrowed again.
///
/// Shape      `faceOf` holds for each point a place in `faces`, kNoPlane or kUnjudgedPlane; the
///            latter two stay.
/// Boundaries points of faces that are not judged or have fewer than 30, and of pieces of fewer than
///            30 points or of less than 0.02 m2, are not judged; these pieces are left out.
FacePieces PiecesOf(std::span<const detail::Vector> points, std::span<const std::int32_t> faceOf,
                    const std::vector<TrueFace>& faces);

}  // namespace orvix::bench
