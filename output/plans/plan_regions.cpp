// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/plans/plan_regions.h"

#include <boost/polygon/polygon.hpp>

#include <algorithm>
#include <cmath>

namespace orvix::output {

namespace {

namespace polygon = boost::polygon;

using GridPoint = polygon::point_data<int>;
using GridPiece = polygon::polygon_with_holes_data<int>;

constexpr double kStep = 1e-4;

// The grid's zero, near the rings, so that its numbers are small: whole metres.
PlanPoint MiddleOfRings(const std::vector<PlanRing>& rings) {
    PlanPoint low{1e300, 1e300}, high{-1e300, -1e300};
    for (const PlanRing& ring : rings)
        for (const PlanPoint& p : ring) {
            low = {std::min(low.x, p.x), std::min(low.y, p.y)};
            high = {std::max(high.x, p.x), std::max(high.y, p.y)};
        }
    return {std::round((low.x + high.x) / 2), std::round((low.y + high.y) / 2)};
}

int OnGrid(double metres) {
    return static_cast<int>(std::lround(std::clamp(metres / kStep, -1e9, 1e9)));
}

template <class Iterator>
PlanRing RingOf(Iterator begin, Iterator end, const PlanPoint& zero, bool outer) {
    std::vector<GridPoint> points(begin, end);
    if (points.size() > 1 && points.front() == points.back()) points.pop_back();
    std::vector<GridPoint> corners;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const GridPoint& before = points[(i + points.size() - 1) % points.size()];
        const GridPoint& after = points[(i + 1) % points.size()];
        const double ax = points[i].x() - 1.0 * before.x(), ay = points[i].y() - 1.0 * before.y();
        const double bx = after.x() - 1.0 * points[i].x(), by = after.y() - 1.0 * points[i].y();
        if (ax * by != ay * bx) corners.push_back(points[i]);
    }
    PlanRing ring;
    for (const GridPoint& p : corners)
        ring.push_back({zero.x + p.x() * kStep, zero.y + p.y() * kStep});
    if ((TwiceArea(ring) > 0) != outer) std::reverse(ring.begin(), ring.end());
    return ring;
}

// Where the way from `from` to `to` crosses edges, ascending; an even count before a place says that
// it is outside.
std::vector<double> Crossings(const std::vector<PlanRegion>& regions, const PlanPoint& from,
                              const PlanPoint& to) {
    std::vector<double> places;
    const PlanPoint way = to - from;
    const double squared = Dot(way, way);
    const auto cross = [&](const PlanRing& ring) {
        for (std::size_t i = 0; i < ring.size(); ++i) {
            const PlanPoint a = ring[i] - from, b = ring[(i + 1) % ring.size()] - from;
            const double sideA = Cross(way, a), sideB = Cross(way, b);
            if ((sideA > 0) == (sideB > 0)) continue;
            const double share = sideA / (sideA - sideB);
            places.push_back((Dot(a, way) + share * Dot(b - a, way)) / squared);
        }
    };
    if (squared > 0)
        for (const PlanRegion& region : regions) {
            cross(region.outer);
            for (const PlanRing& hole : region.holes) cross(hole);
        }
    std::sort(places.begin(), places.end());
    return places;
}

}  // namespace

std::vector<PlanRegion> UnionOf(const std::vector<PlanRing>& rings) {
    const PlanPoint zero = MiddleOfRings(rings);
    polygon::polygon_set_data<int> set;
    for (const PlanRing& ring : rings) {
        std::vector<GridPoint> points;
        for (const PlanPoint& p : ring)
            points.emplace_back(OnGrid(p.x - zero.x), OnGrid(p.y - zero.y));
        polygon::polygon_data<int> piece;
        piece.set(points.begin(), points.end());
        set.insert(piece);
    }
    std::vector<GridPiece> pieces;
    set.get(pieces);
    std::vector<PlanRegion> regions;
    for (const GridPiece& piece : pieces) {
        PlanRegion region{RingOf(piece.begin(), piece.end(), zero, true), {}};
        if (region.outer.size() < 3) continue;
        for (auto hole = piece.begin_holes(); hole != piece.end_holes(); ++hole) {
            PlanRing ring = RingOf(hole->begin(), hole->end(), zero, false);
            if (ring.size() >= 3) region.holes.push_back(std::move(ring));
        }
        regions.push_back(std::move(region));
    }
    return regions;
}

double AreaOf(const std::vector<PlanRegion>& regions) {
    double twice = 0;
    for (const PlanRegion& region : regions) {
        twice += std::abs(TwiceArea(region.outer));
        for (const PlanRing& hole : region.holes) twice -= std::abs(TwiceArea(hole));
    }
    return twice / 2;
}

bool Contains(const std::vector<PlanRegion>& regions, const PlanPoint& at) {
    const std::vector<double> crossed = Crossings(regions, at, {at.x + 1, at.y});
    return std::count_if(crossed.begin(), crossed.end(), [](double t) { return t > 0; }) % 2 == 1;
}

std::vector<std::pair<double, double>> PartsInside(const std::vector<PlanRegion>& regions,
                                                   const PlanPoint& from, const PlanPoint& to) {
    const std::vector<double> places = Crossings(regions, from, to);
    std::vector<std::pair<double, double>> parts;
    for (std::size_t i = 0; i + 1 < places.size(); i += 2) {
        const double low = std::max(places[i], 0.0), high = std::min(places[i + 1], 1.0);
        if (low < high) parts.emplace_back(low, high);
    }
    return parts;
}

std::vector<std::pair<double, double>> PartsOutside(const std::vector<PlanRegion>& regions,
                                                    const PlanPoint& from, const PlanPoint& to) {
    std::vector<std::pair<double, double>> parts;
    double reached = 0;
    for (const auto& [low, high] : PartsInside(regions, from, to)) {
        if (reached < low) parts.emplace_back(reached, low);
        reached = std::max(reached, high);
    }
    if (reached < 1) parts.emplace_back(reached, 1.0);
    return parts;
}

PlanRing LeftPart(const PlanRing& ring, const PlanPoint& at, const PlanPoint& way) {
    PlanRing part;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        const PlanPoint &a = ring[i], &b = ring[(i + 1) % ring.size()];
        const double sideA = Cross(way, a - at), sideB = Cross(way, b - at);
        if (sideA >= 0) part.push_back(a);
        if ((sideA > 0 && sideB < 0) || (sideA < 0 && sideB > 0))
            part.push_back(a + (b - a) * (sideA / (sideA - sideB)));
    }
    return part;
}

}  // namespace orvix::output
