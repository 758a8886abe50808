// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <vector>

#include "detection/cells/moments.h"
#include "detection/growth/speck_neighbours.h"
#include "orvix/platform/asker.h"

namespace orvix::detection {

/// How flat the specks around a speck are. Where they are not, the rest says nothing.
struct SpeckShape {
    Vector normal{0, 0, 0};
    double rms = 0;
    double turn = 0;  ///< standard error of the normal
    bool flat = false;
};

/// The shape of each speck and its neighbours.
///
/// Where they are not flat together, as beside an edge, on a strip between two others or on a thin
/// thing of which both sides were seen, it is that of those on the plane through the speck that has
/// most of them: a consensus among all planes through the speck and two of its eight nearest.
///
/// `means`     the specks' middles.
/// `distance`  metres: how far a neighbour may lie from such a plane is four fifths of it.
/// Order       a function of the specks alone: of planes with equally many neighbours, the first, by
///             the nearer two.
/// Cost        half a microsecond per speck, one where they are not flat.
std::vector<SpeckShape> ShapesOfSpecks(std::span<const Vector> means,
                                       const SpeckNeighbours& nearest, double distance,
                                       detail::Asker& asker);

}  // namespace orvix::detection
