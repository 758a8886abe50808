// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/raster_outline.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <unordered_map>
#include <utility>

namespace orvix::detection {
namespace {

using Position = SimplePoint2DT<double>;

/// A corner of pixels, counted in pixels.
struct Corner {
    std::int64_t x = 0;
    std::int64_t y = 0;
};

struct Rim {
    std::vector<Corner> corners;  // where it turns; the filled pixels lie to its left
    double area = 0;              // pixels; above 0: an outer rim
    std::size_t outer = 0;        // the rim that encloses a hole
};

class RimTracer {
public:
    explicit RimTracer(const PlaneRaster& raster) : raster_(raster) {}

    std::vector<Rim> Trace();

private:
    void Follow(std::int64_t column, std::int64_t row);
    [[nodiscard]] std::uint64_t KeyOf(std::int64_t column, std::int64_t row) const {
        return static_cast<std::uint64_t>(row * raster_.Width() + column);
    }
    [[nodiscard]] bool Filled(std::int64_t column, std::int64_t row) const {
        return column >= 0 && row >= 0 && column < raster_.Width() && row < raster_.Height() &&
               raster_.At(column, row);
    }

    const PlaneRaster& raster_;
    std::vector<Rim> rims_;
    std::unordered_map<std::uint64_t, std::size_t> rimOf_;     // of filled pixels that begin a run
    std::unordered_map<std::uint64_t, std::size_t> rimAfter_;  // of empty pixels that end one
};

// Rows from below, runs from the left: the rim to the left of a run is always known before what
// lies to its right.
std::vector<Rim> RimTracer::Trace() {
    for (std::int64_t row = 0; row < raster_.Height(); ++row) {
        std::uint64_t carry = 0;
        std::size_t enclosing = 0;
        for (std::size_t word = 0; word < raster_.Words(); ++word) {
            const std::uint64_t bits = raster_.Word(row, word);
            std::uint64_t changes = bits ^ (bits << 1 | carry);
            carry = bits >> 63;
            for (; changes != 0; changes &= changes - 1) {
                const auto column =
                    static_cast<std::int64_t>(word * 64) + std::countr_zero(changes);
                if (Filled(column, row)) {
                    const auto known = rimOf_.find(KeyOf(column, row));
                    if (known == rimOf_.end()) {
                        Follow(column, row);
                        enclosing = rims_.size() - 1;
                    } else {
                        enclosing = known->second;
                    }
                } else if (rimAfter_.find(KeyOf(column, row)) == rimAfter_.end()) {
                    const std::size_t outer =
                        rims_[enclosing].area > 0 ? enclosing : rims_[enclosing].outer;
                    Follow(column, row);
                    rims_.back().outer = outer;
                }
            }
        }
    }
    return std::move(rims_);
}

// Walks once around with the filled pixels to the left. It begins at an upright edge: upward where
// an empty pixel follows a run, downward where a run begins.
void RimTracer::Follow(std::int64_t column, std::int64_t row) {
    constexpr std::int64_t kDx[4] = {1, 0, -1, 0};
    constexpr std::int64_t kDy[4] = {0, 1, 0, -1};
    const bool begins = Filled(column, row);
    Rim rim;
    Corner at{column, begins ? row + 1 : row};
    int heading = begins ? 3 : 1;
    const Corner start = at;
    const int startHeading = heading;
    double twice = 0;
    do {
        if (heading == 3) rimOf_[KeyOf(at.x, at.y - 1)] = rims_.size();
        if (heading == 1) rimAfter_[KeyOf(at.x, at.y)] = rims_.size();
        const Corner next{at.x + kDx[heading], at.y + kDy[heading]};
        twice += static_cast<double>(at.x) * static_cast<double>(next.y) -
                 static_cast<double>(next.x) * static_cast<double>(at.y);
        at = next;
        // The pixels ahead, to the left and to the right of the way.
        const std::int64_t leftX = at.x + (kDx[heading] - kDy[heading] - 1) / 2;
        const std::int64_t leftY = at.y + (kDy[heading] + kDx[heading] - 1) / 2;
        const std::int64_t rightX = at.x + (kDx[heading] + kDy[heading] - 1) / 2;
        const std::int64_t rightY = at.y + (kDy[heading] - kDx[heading] - 1) / 2;
        int turn = 0;
        if (!Filled(leftX, leftY)) {
            turn = 1;  // pixels that touch at a corner alone stay apart
        } else if (Filled(rightX, rightY)) {
            turn = 3;
        }
        if (turn != 0) rim.corners.push_back(at);
        heading = (heading + turn) % 4;
    } while (at.x != start.x || at.y != start.y || heading != startHeading);
    rim.area = twice / 2;
    rims_.push_back(std::move(rim));
}

double SquaredDistance(const Corner& p, const Corner& a, const Corner& b) {
    const auto dx = static_cast<double>(b.x - a.x), dy = static_cast<double>(b.y - a.y);
    const auto px = static_cast<double>(p.x - a.x), py = static_cast<double>(p.y - a.y);
    const double length = dx * dx + dy * dy;
    if (length == 0) return px * px + py * py;
    const double share = std::clamp((px * dx + py * dy) / length, 0.0, 1.0);
    const double ex = px - share * dx, ey = py - share * dy;
    return ex * ex + ey * ey;
}

// Marks the corners between `from` and `to` that keep the line within the tolerance.
void Straighten(const std::vector<Corner>& corners, std::size_t from, std::size_t to,
                std::vector<bool>& kept) {
    constexpr double kSquaredTolerance = 1.0;
    std::vector<std::pair<std::size_t, std::size_t>> open{{from, to}};
    const auto corner = [&](std::size_t i) { return corners[i % corners.size()]; };
    while (!open.empty()) {
        const auto [first, last] = open.back();
        open.pop_back();
        double most = kSquaredTolerance;
        std::size_t farthest = 0;
        for (std::size_t i = first + 1; i < last; ++i) {
            const double distance = SquaredDistance(corner(i), corner(first), corner(last));
            if (distance <= most) continue;
            most = distance;
            farthest = i;
        }
        if (farthest == 0) continue;
        kept[farthest % corners.size()] = true;
        open.emplace_back(first, farthest);
        open.emplace_back(farthest, last);
    }
}

std::vector<Corner> Straightened(const std::vector<Corner>& corners) {
    const std::size_t count = corners.size();
    std::vector<bool> kept(count);
    std::size_t first = 0, farthest = 0;
    for (std::size_t i = 1; i < count; ++i)
        if (std::pair(corners[i].x, corners[i].y) < std::pair(corners[first].x, corners[first].y))
            first = i;
    double most = -1;
    for (std::size_t i = 0; i < count; ++i) {
        const auto dx = static_cast<double>(corners[i].x - corners[first].x);
        const auto dy = static_cast<double>(corners[i].y - corners[first].y);
        if (dx * dx + dy * dy <= most) continue;
        most = dx * dx + dy * dy;
        farthest = i;
    }
    kept[first] = kept[farthest] = true;
    const std::size_t second = farthest > first ? farthest : farthest + count;
    Straighten(corners, first, second, kept);
    Straighten(corners, second, first + count, kept);
    std::vector<Corner> rest;
    for (std::size_t i = 0; i < count; ++i)
        if (kept[(first + i) % count]) rest.push_back(corners[(first + i) % count]);
    return rest.size() >= 3 ? rest : corners;
}

PlaneRing RingOf(const PlaneRaster& raster, const Rim& rim) {
    PlaneRing ring;
    for (const Corner& corner : Straightened(rim.corners))
        ring.points.push_back(raster.Corner(corner.x, corner.y));
    return ring;
}

}  // namespace

double SignedArea(const std::vector<Position>& ring) {
    double twice = 0;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        const Position& a = ring[i];
        const Position& b = ring[(i + 1) % ring.size()];
        twice += (a.x - ring[0].x) * (b.y - ring[0].y) - (b.x - ring[0].x) * (a.y - ring[0].y);
    }
    return twice / 2;
}

PlaneOutline OutlineOf(const PlaneRaster& raster, const OutlineLimits& limits) {
    const std::vector<Rim> rims = RimTracer(raster).Trace();
    const double pixelArea = raster.Pixel() * raster.Pixel();
    double largest = 0;
    for (const Rim& rim : rims) largest = std::max(largest, rim.area);
    PlaneOutline outline;
    outline.radius = raster.Pixel();
    std::vector<std::pair<double, PlaneRegion>> regions;
    std::vector<std::size_t> regionOf(rims.size(), ~std::size_t{0});
    for (std::size_t i = 0; i < rims.size(); ++i) {
        if (rims[i].area <= 0) continue;
        if (rims[i].area * pixelArea < limits.leastIsland && rims[i].area < largest) continue;
        regionOf[i] = regions.size();
        regions.push_back({0, {RingOf(raster, rims[i]), {}}});
        regions.back().first = SignedArea(regions.back().second.outer.points);
    }
    for (const Rim& rim : rims) {
        if (rim.area >= 0 || -rim.area * pixelArea < limits.leastHole) continue;
        const std::size_t region = regionOf[rim.outer];
        if (region == ~std::size_t{0}) continue;
        regions[region].second.holes.push_back(RingOf(raster, rim));
    }
    std::stable_sort(regions.begin(), regions.end(),
                     [](const auto& a, const auto& b) { return a.first > b.first; });
    std::uint32_t vertices = 0;
    const auto number = [&vertices](PlaneRing& ring) {
        for (std::size_t i = 0; i < ring.points.size(); ++i) ring.indices.push_back(vertices++);
    };
    for (auto& [area, region] : regions) {
        std::stable_sort(region.holes.begin(), region.holes.end(),
                         [](const PlaneRing& a, const PlaneRing& b) {
                             return SignedArea(a.points) < SignedArea(b.points);
                         });
        outline.area += area;
        number(region.outer);
        for (PlaneRing& hole : region.holes) {
            outline.area += SignedArea(hole.points);
            number(hole);
        }
        outline.regions.push_back(std::move(region));
    }
    return outline;
}

}  // namespace orvix::detection
