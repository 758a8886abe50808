// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "orvix/geometry/plane_outline.h"
#include "orvix/points/records.h"

namespace orvix::detail {

/// Decides whether 2D positions lie inside a set of rings, fast enough for millions of positions.
///
/// Agrees with PointCloudGeometrics::isInPolygonCGAL for one simple ring, but looks only at the few
/// edges that share the position's height.
///
///     const PolygonIndex index(plane.Outline());
///     if (index.Contains({s, t})) ...
///
/// Shape      even-odd: a position is inside when it is surrounded by an odd number of rings, so
///            holes and islands within holes need no marking, and a ring may run either way.
/// Boundaries a position on an edge or vertex is inside, decided by an exact predicate.
/// Errors     a ring with a coordinate that is not finite is left out; nothing contains nothing.
/// Threads    const calls may run side by side.
/// Cost       construction linear; Contains a few edges unless most of them are long and parallel.
class PolygonIndex {
public:
    PolygonIndex() = default;
    explicit PolygonIndex(const PlaneOutline& outline);
    explicit PolygonIndex(const std::vector<SimplePoint2DT<double>>& ring);

    bool Contains(const SimplePoint2DT<double>& p) const;
    bool IsEmpty() const { return edges_.empty(); }

private:
    struct Edge {
        SimplePoint2DT<double> low;  // the end with the smaller y
        SimplePoint2DT<double> high;
    };
    enum class Side { Left, On, Right, Beside };

    void AddRing(const std::vector<SimplePoint2DT<double>>& ring);
    void FillStrips();
    static Side SideOf(const Edge& edge, const SimplePoint2DT<double>& p);
    std::size_t StripOf(double y) const;

    std::vector<Edge> edges_;
    Extends2DT<double> box_;
    double stripsPerMetre_ = 0;
    std::size_t strips_ = 0;
    std::vector<std::uint32_t> firstInStrip_;  // strips_ + 1 places in stripEdges_
    std::vector<std::uint32_t> stripEdges_;
};

}  // namespace orvix::detail
