// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "building/walls/wall_pieces.h"

namespace orvix::building {

/// What a wall looks like from in front of it, square by square.
///
/// Shape  columns from the beginning of the piece, rows from the storey's floor up.
struct WallView {
    enum Look : std::uint8_t {
        kUnknown,  ///< no ray came back from there
        kHidden,   ///< rays ended before it
        kSolid,    ///< a face: points lie on it
        kOpen,     ///< rays went on behind a face, and none ended on it
        kBeyond    ///< outside the wall: above the roof that cuts it
    };

    double cell = 0;
    double begin = 0;
    double bottom = 0;
    std::int64_t columns = 0;
    std::int64_t rows = 0;
    std::vector<std::uint8_t> looks;    ///< of both faces together
    std::vector<std::uint8_t> through;  ///< rays went on behind both faces

    [[nodiscard]] std::size_t At(std::int64_t column, std::int64_t row) const {
        return static_cast<std::size_t>(row * columns + column);
    }
    [[nodiscard]] double Along(std::int64_t column) const {
        return begin + static_cast<double>(column) * cell;
    }
    [[nodiscard]] double Height(std::int64_t row) const {
        return bottom + static_cast<double>(row) * cell;
    }
};

/// Looks at both faces of a wall from the storey's floor up to `top`. A square is solid where one face
/// is; open where at least one is open and none solid.
///
/// Cost  a square of 25 mm takes a look from each station that stands before either face.
WallView ViewOf(const WallPiece& wall, const FaceLines& faces, const ScanEvidence& evidence,
                double bottom, double top);

/// Leaves out the squares that lie beyond a wall's profile: what is open there is no opening.
void CutView(WallView& view, const PlanRing& profile);

}  // namespace orvix::building
