// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "orvix/geometry/plane_outline.h"
#include "orvix/points/records.h"

namespace orvix::detection {

/// A straight line in a plane's 2D frame on which rims may end: where the plane meets another one.
struct RimLine {
    SimplePoint2DT<double> at;     ///< a point of it
    SimplePoint2DT<double> along;  ///< of unit length
    double reach = 0;              ///< rims that lie no further away end on the line
    /// Where the other plane is there: stretches of the line in metres along it from `at`, ascending
    /// and apart.
    std::vector<std::pair<double, double>> stretches;
};

/// Moves the rims of an outline onto the lines that they lie along: edges become pieces of the lines,
/// two lines that follow each other meet in their intersection, and the small bevels that a raster
/// leaves between them go. A ring that would touch itself or another by this stays as it was.
///
///     MoveToLines(outline, lines);
///
/// Units   metres.
/// Shape   as OutlineOf: simple rings, holes within; `area` and the order of regions follow the new
///         rings, `indices` number all vertices in their order.
/// Order   an edge takes the line whose farther end is nearest; ties go to the first line.
/// Cost    linear in edges times lines, and n log n in the edges as a rule.
void MoveToLines(PlaneOutline& outline, std::span<const RimLine> lines);

/// Where a line runs through an outline or along its rims within `reach`: stretches as of a RimLine,
/// widened by `reach` at both ends.
std::vector<std::pair<double, double>> StretchesOf(const PlaneOutline& outline,
                                                   const SimplePoint2DT<double>& at,
                                                   const SimplePoint2DT<double>& along,
                                                   double reach);

}  // namespace orvix::detection
