// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/geometry/polygon_index.h"

#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>

#include <algorithm>
#include <cmath>

#include "orvix/geometry/bounds.h"

namespace orvix::detail {

PolygonIndex::PolygonIndex(const PlaneOutline& outline) {
    for (const PlaneRegion& region : outline.regions) {
        AddRing(region.outer.points);
        for (const PlaneRing& hole : region.holes) AddRing(hole.points);
    }
    FillStrips();
}

PolygonIndex::PolygonIndex(const std::vector<SimplePoint2DT<double>>& ring) {
    AddRing(ring);
    FillStrips();
}

void PolygonIndex::AddRing(const std::vector<SimplePoint2DT<double>>& ring) {
    const bool finite = std::all_of(ring.begin(), ring.end(), [](const auto& p) {
        return std::isfinite(p.x) && std::isfinite(p.y);
    });
    if (!finite) return;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        const SimplePoint2DT<double>& p = ring[i];
        const SimplePoint2DT<double>& q = ring[i + 1 < ring.size() ? i + 1 : 0];
        edges_.push_back(p.y <= q.y ? Edge{p, q} : Edge{q, p});
    }
}

// As many strips as edges, but fewer where edges are tall, so that their entries stay linear. Rings that
// are flat and far apart climb less than their box is high.
void PolygonIndex::FillStrips() {
    if (edges_.empty()) return;
    box_ = {edges_[0].low, edges_[0].low};
    double climb = 0;
    for (const Edge& edge : edges_) {
        Extend(box_, edge.low);
        Extend(box_, edge.high);
        climb += edge.high.y - edge.low.y;
    }
    const double height = box_.max.y - box_.min.y;
    const double count = static_cast<double>(edges_.size());
    strips_ =
        climb > 0 ? static_cast<std::size_t>(std::clamp(count * (height / climb), 1.0, count)) : 1;
    stripsPerMetre_ = height > 0 ? static_cast<double>(strips_) / height : 0;
    if (!std::isfinite(stripsPerMetre_)) stripsPerMetre_ = 0;

    firstInStrip_.assign(strips_ + 1, 0);
    for (const Edge& edge : edges_) {
        for (std::size_t s = StripOf(edge.low.y); s <= StripOf(edge.high.y); ++s) {
            ++firstInStrip_[s + 1];
        }
    }
    for (std::size_t s = 0; s < strips_; ++s) firstInStrip_[s + 1] += firstInStrip_[s];
    stripEdges_.resize(firstInStrip_[strips_]);
    std::vector<std::uint32_t> next(firstInStrip_.begin(), firstInStrip_.end() - 1);
    for (std::size_t e = 0; e < edges_.size(); ++e) {
        for (std::size_t s = StripOf(edges_[e].low.y); s <= StripOf(edges_[e].high.y); ++s) {
            stripEdges_[next[s]++] = static_cast<std::uint32_t>(e);
        }
    }
}

// Never decreasing in y, rounding included: an edge is listed in every strip a position of
// its height can fall into.
std::size_t PolygonIndex::StripOf(double y) const {
    const double strip = (y - box_.min.y) * stripsPerMetre_;
    return std::min(static_cast<std::size_t>(strip), strips_ - 1);
}

PolygonIndex::Side PolygonIndex::SideOf(const Edge& edge, const SimplePoint2DT<double>& p) {
    if (p.y < edge.low.y || p.y > edge.high.y) return Side::Beside;
    const auto [left, right] = std::minmax(edge.low.x, edge.high.x);
    if (p.x < left) return Side::Left;
    if (p.x > right) return Side::Right;
    if (edge.low.y == edge.high.y) return Side::On;
    using Point = CGAL::Epick::Point_2;
    switch (CGAL::orientation(Point(edge.low.x, edge.low.y), Point(edge.high.x, edge.high.y),
                              Point(p.x, p.y))) {
        case CGAL::LEFT_TURN:
            return Side::Left;
        case CGAL::RIGHT_TURN:
            return Side::Right;
        default:
            return Side::On;
    }
}

bool PolygonIndex::Contains(const SimplePoint2DT<double>& p) const {
    if (edges_.empty() || !detail::Contains(box_, p)) return false;
    bool inside = false;
    const std::size_t strip = StripOf(p.y);
    for (std::uint32_t k = firstInStrip_[strip]; k < firstInStrip_[strip + 1]; ++k) {
        const Edge& edge = edges_[stripEdges_[k]];
        const Side side = SideOf(edge, p);
        if (side == Side::On) return true;
        // An edge holds its lower end and not its upper one, so a ring's vertex counts once.
        if (side == Side::Left && p.y < edge.high.y) inside = !inside;
    }
    return inside;
}

}  // namespace orvix::detail
