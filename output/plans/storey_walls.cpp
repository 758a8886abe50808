// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/plans/storey_walls.h"

#include <algorithm>
#include <cmath>

#include "output/plans/plan_regions.h"

namespace orvix::output {

namespace {

constexpr double kHatchMillimetres = 1.1;
constexpr double kTooSmall = 1e-4;  // square metres: no piece of a wall

using Parts = std::vector<std::pair<double, double>>;

// `parts` without what lies in `away`, both ascending.
Parts Without(const Parts& parts, const Parts& away) {
    Parts left;
    for (const auto& [low, high] : parts) {
        double from = low;
        for (const auto& [start, end] : away) {
            if (end <= from || start >= high) continue;
            if (start > from) left.emplace_back(from, start);
            from = std::max(from, end);
        }
        if (from < high) left.emplace_back(from, high);
    }
    return left;
}

// Where the openings of a wall cut it at this height, ascending, none in another.
Parts OpeningsAt(const building::Building& building, std::size_t wall, double height) {
    Parts parts;
    for (const building::Opening& opening : building.openings) {
        if (opening.wall != wall || opening.bottom > height ||
            opening.bottom + opening.height.value < height)
            continue;
        const double half = opening.width.value / 2;
        parts.emplace_back(opening.along - half, opening.along + half);
    }
    std::sort(parts.begin(), parts.end());
    Parts joined;
    for (const auto& part : parts) {
        if (!joined.empty() && part.first <= joined.back().second)
            joined.back().second = std::max(joined.back().second, part.second);
        else
            joined.push_back(part);
    }
    return joined;
}

// A wall runs on at both ends as far as it is joined.
Parts Extended(Parts parts, double length) {
    constexpr double kFar = 1e3, kEnd = 1e-6;
    for (auto& [low, high] : parts) {
        if (low <= kEnd) low = -kFar;
        if (high >= length - kEnd) high = length + kFar;
    }
    return parts;
}

PlanPoint StartOf(const building::Wall& wall) {
    return wall.axis[0];
}

PlanRing Slice(const WallBody& body, const PlanPoint& start,
               const std::pair<double, double>& part) {
    const PlanPoint across = LeftOf(body.way);
    const PlanRing from = LeftPart(body.ring, start + body.way * part.first, across * -1);
    return LeftPart(from, start + body.way * part.second, across);
}

void AddSlices(const WallBody& body, const PlanPoint& start, const Parts& parts,
               std::vector<PlanRing>& rings) {
    for (const auto& part : parts) {
        PlanRing ring = Slice(body, start, part);
        if (ring.size() >= 3 && TwiceArea(ring) > 2 * kTooSmall) rings.push_back(std::move(ring));
    }
}

void DrawRegions(const std::vector<PlanRegion>& regions, PlanLayer layer, PlanDrawing& drawing) {
    for (const PlanRegion& region : regions) {
        drawing.Path(layer, region.outer, true);
        for (const PlanRing& hole : region.holes) drawing.Path(layer, hole, true);
    }
}

void DrawParts(PlanLayer layer, const PlanPoint& from, const PlanPoint& to, const Parts& parts,
               PlanDrawing& drawing) {
    for (const auto& [low, high] : parts)
        drawing.Line(layer, from + (to - from) * low, from + (to - from) * high);
}

// What is cut covers it.
void DrawBelow(const StoreyWalls& walls, PlanDrawing& drawing) {
    for (const PlanRegion& region : walls.below) {
        std::vector<PlanRing> rings = region.holes;
        rings.push_back(region.outer);
        for (const PlanRing& ring : rings)
            for (std::size_t i = 0; i < ring.size(); ++i) {
                const PlanPoint &a = ring[i], &b = ring[(i + 1) % ring.size()];
                DrawParts(PlanLayer::Below, a, b, PartsOutside(walls.solid, a, b), drawing);
            }
    }
}

// Lines at 45 degrees, at the same places whatever is cut, so that storeys and pieces agree.
void Hatch(const std::vector<PlanRegion>& regions, PlanDrawing& drawing) {
    PlanBounds bounds;
    for (const PlanRegion& region : regions)
        for (const PlanPoint& p : region.outer) bounds.Add(p);
    if (bounds.Empty()) return;
    const double step = drawing.Paper(kHatchMillimetres) * std::sqrt(2.0);
    const double height = bounds.high.y - bounds.low.y;
    // A line is y = x - rise.
    const double first = std::ceil((bounds.low.x - bounds.high.y) / step);
    const double last = std::floor((bounds.high.x - bounds.low.y) / step);
    for (double k = first; k <= last; ++k) {
        const PlanPoint from{k * step + bounds.low.y, bounds.low.y};
        const PlanPoint to{from.x + height, bounds.high.y};
        for (const auto& [low, high] : PartsInside(regions, from, to))
            drawing.Line(PlanLayer::Hatch, from + (to - from) * low, from + (to - from) * high);
    }
}

// The face, and dotted the side that nobody saw, but for openings and where other walls are.
void DrawOneFace(const building::Building& building, const StoreyWalls& walls, const WallBody& body,
                 const std::vector<PlanRegion>& others, PlanDrawing& drawing) {
    const building::Wall& wall = building.walls[body.wall];
    const Parts parts = Extended(
        Without(PartsAt(wall, walls.height), OpeningsAt(building, body.wall, walls.height)),
        body.length);
    const bool faceLeft = std::abs(body.left) < std::abs(body.right);
    const auto& face = faceLeft ? body.leftFace : body.rightFace;
    const auto& far = faceLeft ? body.rightFace : body.leftFace;
    for (const auto& [low, high] : parts) {
        const auto place = [&](const std::array<PlanPoint, 2>& side, double along) {
            const double from = Dot(side[0] - StartOf(wall), body.way);
            const double to = Dot(side[1] - StartOf(wall), body.way);
            return side[0] + body.way * (std::clamp(along, from, std::max(from, to)) - from);
        };
        const PlanPoint a = place(face, low), b = place(face, high);
        DrawParts(PlanLayer::Face, a, b, PartsOutside(walls.solid, a, b), drawing);
        const PlanPoint c = place(far, low), d = place(far, high);
        DrawParts(PlanLayer::FarSide, c, d, PartsOutside(others, c, d), drawing);
        // The reveals of openings, and free ends.
        if (low > 0) drawing.Line(PlanLayer::FarSide, a, c);
        if (high < body.length) drawing.Line(PlanLayer::FarSide, b, d);
    }
}

}  // namespace

Parts PartsAt(const building::Wall& wall, double height) {
    if (wall.profile.size() < 3) {
        if (height < wall.base || height > wall.top) return {};
        return {{0, Length(wall.axis[1] - wall.axis[0])}};
    }
    double low = 1e300, high = -1e300;
    for (const PlanPoint& p : wall.profile) {
        low = std::min(low, p.x);
        high = std::max(high, p.x);
    }
    Parts parts;
    for (const auto& [from, to] :
         PartsInside({{wall.profile, {}}}, {low - 1, height}, {high + 1, height}))
        parts.emplace_back(low - 1 + from * (high - low + 2), low - 1 + to * (high - low + 2));
    return parts;
}

std::vector<std::size_t> WallsAt(const building::Building& building, std::size_t storey,
                                 double height) {
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < building.walls.size(); ++i)
        if (building.walls[i].storey == storey && !PartsAt(building.walls[i], height).empty())
            places.push_back(i);
    return places;
}

std::vector<PlanRegion> CutOf(const building::Building& building,
                              const std::vector<WallBody>& bodies, double height) {
    std::vector<PlanRing> rings;
    for (const WallBody& body : bodies) {
        if (!body.measured) continue;
        const building::Wall& wall = building.walls[body.wall];
        AddSlices(body, StartOf(wall),
                  Without(Extended(PartsAt(wall, height), body.length),
                          OpeningsAt(building, body.wall, height)),
                  rings);
    }
    return UnionOf(rings);
}

StoreyWalls WallsOf(const building::Building& building, std::size_t storey, double height) {
    StoreyWalls walls;
    walls.height = height;
    std::vector<std::size_t> places;  // of what does not begin above the cut
    for (std::size_t i = 0; i < building.walls.size(); ++i) {
        if (building.walls[i].storey != storey) continue;
        if (building.walls[i].base > height)
            walls.above.push_back(building.walls[i]);
        else
            places.push_back(i);
    }
    // A wall that ends below takes part in no corner of those that are cut.
    walls.bodies = JoinWalls(building, WallsAt(building, storey, height));
    walls.cut = CutOf(building, walls.bodies, height);
    std::vector<PlanRing> whole, below;
    const auto partsOf = [&](const WallBody& body) {
        return Extended(PartsAt(building.walls[body.wall], height), body.length);
    };
    for (const WallBody& body : walls.bodies)
        if (body.measured)
            AddSlices(body, StartOf(building.walls[body.wall]), partsOf(body), whole);
    for (const WallBody& body : JoinWalls(building, places))
        AddSlices(body, StartOf(building.walls[body.wall]),
                  Without({{-1e3, body.length + 1e3}}, partsOf(body)), below);
    walls.solid = UnionOf(whole);
    walls.below = UnionOf(below);
    return walls;
}

void DrawWalls(const building::Building& building, const StoreyWalls& walls, PlanDrawing& drawing) {
    DrawBelow(walls, drawing);
    Hatch(walls.cut, drawing);
    for (std::size_t i = 0; i < walls.bodies.size(); ++i) {
        if (walls.bodies[i].measured) continue;
        const PlanBounds own = BoundsOf(walls.bodies[i].ring);
        std::vector<PlanRing> others;
        for (std::size_t k = 0; k < walls.bodies.size(); ++k)
            if (k != i && BoundsOf(walls.bodies[k].ring).Meets(own))
                others.push_back(walls.bodies[k].ring);
        DrawOneFace(building, walls, walls.bodies[i], UnionOf(others), drawing);
    }
    DrawRegions(walls.cut, PlanLayer::Wall, drawing);
    for (const building::Wall& wall : walls.above) {
        const PlanPoint along = wall.axis[1] - wall.axis[0];
        const double length = Length(along);
        if (!(length > 0)) continue;
        const PlanPoint half =
            LeftOf(along) * ((wall.thickness ? wall.thickness->value : 0) / 2 / length);
        drawing.Path(
            PlanLayer::Above,
            {wall.axis[0] - half, wall.axis[1] - half, wall.axis[1] + half, wall.axis[0] + half},
            true);
    }
}

}  // namespace orvix::output
