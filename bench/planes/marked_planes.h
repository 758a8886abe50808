// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/points/records.h"

namespace orvix::bench {

/// A plane of a real scan that a person marked, and the outline of what was marked on it.
struct MarkedPlane {
    using Ring = std::vector<std::array<double, 2>>;

    std::string name;
    SimplePointT<double> normal;  ///< of length one
    double offset = 0;            ///< normal . p + offset = 0
    double tolerance = 0;         ///< how far from the plane a point of it may lie
    std::vector<Ring> rings;      ///< outlines and holes alike

    /// The axis that the normal's largest component is on (x before y before z): rings hold the
    /// other two coordinates of their corners, in that order.
    [[nodiscard]] int Axis() const;
    /// Square metres within the rings, on the plane.
    [[nodiscard]] double Area() const;
};

/// Reads the planes that a file of bench/planes/truth marks; the README.md there describes its lines
/// and how the planes were marked.
///
///     auto planes = ReadMarkedPlanes(L"bench/planes/truth/indoor_lobby.txt");
///     if (!planes) return planes.error();
///     const std::int32_t plane = LabelOf(*planes, {2.1, -0.4, 4.35});
///
/// Units   metres, world coordinates.
/// Errors  BadInput, with the file's name and the line, for a line of another kind, a plane without
///         equation or outline, or a normal whose length is off by more than a thousandth.
Expected<std::vector<MarkedPlane>> ReadMarkedPlanes(const CString& path);
/// The same from a file's text; `name` is what errors call it.
Expected<std::vector<MarkedPlane>> ParseMarkedPlanes(std::string_view text, std::string_view name);

/// The marked plane of a point: of those within whose tolerance and outline it lies the nearest,
/// of equally near ones the first; kUnknownPlane where nobody marked anything.
///
/// Boundaries a point exactly at the tolerance is on the plane; of a ring's edges those towards
///            smaller coordinates belong to it.
std::int32_t LabelOf(const std::vector<MarkedPlane>& planes, const SimplePointT<double>& world);

}  // namespace orvix::bench
