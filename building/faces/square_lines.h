// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <vector>

#include "building/faces/face_line.h"

namespace orvix::building {

/// What SquareLines turned.
struct SquareReport {
    std::size_t turned = 0;  ///< lines
    double moved = 0;        ///< metres, of the end that moved most
};

/// Turns lines about their middles to be parallel or square to the greater part of all, those whose
/// ends move by no more than what their largest plane scatters (FoundPlane::tolerance).
///
/// The greater part is the direction to which the greatest length of lines can be turned so; of equal
/// ones the first. Its own direction is the mean of theirs, by length.
SquareReport SquareLines(const std::vector<detection::FoundPlane>& planes,
                         std::vector<FaceLine>& lines);

}  // namespace orvix::building
