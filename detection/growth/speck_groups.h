// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>

#include "detection/cells/moments.h"

namespace orvix::detection {

/// What a group of specks that lie on one plane looks like: reasons for which it is no face. Places
/// are about the group's centre; there is at least one.

/// The share of the squared distances from the plane that a paraboloid explains: little of noise, most
/// of a patch of a round thing. `scale`: metres that make the squares about 1, such as a cell's side.
double CurvedShare(std::span<const Vector> places, const Vector& normal, double scale);

/// Along the plane, across the direction in which the group is longest.
Vector DirectionAcross(std::span<const Vector> places);

/// Whether the specks lie along two edges, each too narrow for a face, with nothing between them, as
/// what is left along a frame does: their kurtosis across is 1, that of an even face 1.8. The four
/// sides of a casement lie along two lines as well, but wider ones. `widest`: standard deviation
/// across an edge, metres.
bool LieAlongTwoLines(std::span<const Vector> places, const Vector& across, double widest);

}  // namespace orvix::detection
