// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/outlines/rim_lines.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <tuple>

#include "detection/outlines/ring_checks.h"
#include "orvix/geometry/rings.h"

namespace orvix::detection {
namespace {

using Position = SimplePoint2DT<double>;
using Stretch = std::pair<double, double>;

constexpr std::size_t kNoLine = ~std::size_t{0};
constexpr double kLeastCosine = 0.7;  // between an edge and the line that it lies along
constexpr double kBevel = 3;          // reaches that a bevel is long at most
constexpr double kLeastSine = 0.17;   // of two lines that meet in a corner: 10 degrees
constexpr double kStraight = 1e-9;    // metres that rounding moves a corner off its side

double CrossOf(const Position& a, const Position& b) {
    return a.x * b.y - a.y * b.x;
}
double DotOf(const Position& a, const Position& b) {
    return a.x * b.x + a.y * b.y;
}
Position Minus(const Position& a, const Position& b) {
    return {a.x - b.x, a.y - b.y};
}
double LengthOf(const Position& a) {
    return std::sqrt(DotOf(a, a));
}

bool IsSame(const Position& a, const Position& b) {
    return a.x == b.x && a.y == b.y;
}

double DistanceFrom(const RimLine& line, const Position& p) {
    return std::abs(CrossOf(line.along, Minus(p, line.at)));
}
double PlaceOn(const RimLine& line, const Position& p) {
    return DotOf(line.along, Minus(p, line.at));
}
Position At(const RimLine& line, double place) {
    return {line.at.x + place * line.along.x, line.at.y + place * line.along.y};
}

std::optional<Position> MeetingOf(const RimLine& a, const RimLine& b) {
    const double sine = CrossOf(a.along, b.along);
    if (std::abs(sine) < kLeastSine) return {};
    return At(a, CrossOf(Minus(b.at, a.at), b.along) / sine);
}

// Whether the other plane is there for half of a stretch; for its place, where it has no length.
bool IsShared(const RimLine& line, double from, double to) {
    if (from > to) std::swap(from, to);
    const double half = std::max((to - from) / 2, line.reach / 100);
    from = std::min(from, (from + to) / 2 - half);
    to = std::max(to, from + 2 * half);
    double shared = 0;
    for (const auto& [first, last] : line.stretches) {
        shared += std::max(0.0, std::min(to, last) - std::max(from, first));
    }
    return shared > 0 && shared >= (to - from) / 2;
}

std::size_t LineOf(std::span<const RimLine> lines, const Position& a, const Position& b) {
    std::size_t best = kNoLine;
    double least = 0;
    const Position edge = Minus(b, a);
    const double length = LengthOf(edge);
    for (std::size_t k = 0; k < lines.size(); ++k) {
        const RimLine& line = lines[k];
        const double away = std::max(DistanceFrom(line, a), DistanceFrom(line, b));
        if (away > line.reach || (best != kNoLine && away >= least)) continue;
        if (length > line.reach && std::abs(DotOf(edge, line.along)) < kLeastCosine * length)
            continue;
        if (!IsShared(line, PlaceOn(line, a), PlaceOn(line, b))) continue;
        best = k;
        least = away;
    }
    return best;
}

/// A ring as edges: edge k leads from corner k to the next.
struct Edges {
    std::vector<Position> from;
    std::vector<std::size_t> line;

    [[nodiscard]] std::size_t Size() const { return from.size(); }
    [[nodiscard]] std::size_t After(std::size_t k) const { return k + 1 == Size() ? 0 : k + 1; }
};

// Edges without a line between two that meet nearby: what is left of a corner in a raster.
bool IsBevel(const Edges& edges, std::span<const RimLine> lines, std::size_t first,
             std::size_t count) {
    const std::size_t before = edges.line[(first + edges.Size() - 1) % edges.Size()];
    const std::size_t after = edges.line[(first + count) % edges.Size()];
    if (before == kNoLine || after == kNoLine || before == after) return false;
    const auto corner = MeetingOf(lines[before], lines[after]);
    if (!corner) return false;
    const double most = kBevel * std::max(lines[before].reach, lines[after].reach);
    double length = 0;
    for (std::size_t k = 0; k < count; ++k) {
        const Position& a = edges.from[(first + k) % edges.Size()];
        const Position& b = edges.from[(first + k + 1) % edges.Size()];
        length += LengthOf(Minus(b, a));
        if (LengthOf(Minus(*corner, a)) > most || LengthOf(Minus(*corner, b)) > most) return false;
    }
    return length <= most;
}

void DropBevels(Edges& edges, std::span<const RimLine> lines) {
    const std::size_t size = edges.Size();
    std::vector<bool> dropped(size);
    for (std::size_t k = 0; k < size; ++k) {
        if (edges.line[k] != kNoLine || edges.line[(k + size - 1) % size] == kNoLine) continue;
        std::size_t count = 1;
        while (count < size && edges.line[(k + count) % size] == kNoLine) ++count;
        if (count == size || !IsBevel(edges, lines, k, count)) continue;
        for (std::size_t i = 0; i < count; ++i) dropped[(k + i) % size] = true;
    }
    Edges kept;
    for (std::size_t k = 0; k < size; ++k) {
        if (dropped[k]) continue;
        kept.from.push_back(edges.from[k]);
        kept.line.push_back(edges.line[k]);
    }
    edges = std::move(kept);
}

// The corners between an edge and the next: one, none between pieces of one line, two where lines
// that do not meet nearby follow each other.
void AddCorners(const Edges& edges, std::span<const RimLine> lines, std::size_t k,
                std::vector<Position>& ring) {
    const std::size_t next = edges.After(k);
    const std::size_t line = edges.line[k];
    const std::size_t after = edges.line[next];
    const Position& start = edges.from[next];
    if (line == kNoLine && after == kNoLine) {
        ring.push_back(start);
    } else if (line == kNoLine || after == kNoLine) {
        const RimLine& on = lines[line == kNoLine ? after : line];
        ring.push_back(At(on, PlaceOn(on, start)));
    } else if (line != after) {
        const auto corner = MeetingOf(lines[line], lines[after]);
        const double most = kBevel * std::max(lines[line].reach, lines[after].reach);
        if (corner && LengthOf(Minus(*corner, start)) <= most) {
            ring.push_back(*corner);
        } else {
            ring.push_back(At(lines[line], PlaceOn(lines[line], start)));
            ring.push_back(At(lines[after], PlaceOn(lines[after], start)));
        }
    }
}

// Whether a corner lies on the segment between its neighbours, but for rounding, or at one of them.
bool IsBetween(const Position& before, const Position& at, const Position& after) {
    const Position to = Minus(at, before);
    const Position on = Minus(after, at);
    const double longest = std::max(LengthOf(to), LengthOf(on));
    return LengthOf(to) == 0 ||
           (DotOf(to, on) > 0 && std::abs(CrossOf(to, on)) <= kStraight * longest);
}

// The first corner is the one with the smallest x, then y; corners on straight sides go.
void Normalise(std::vector<Position>& ring) {
    for (std::size_t size = 0; size != ring.size() && ring.size() >= 3;) {
        size = ring.size();
        std::vector<Position> kept;
        for (std::size_t k = 0; k < size; ++k) {
            const Position& before = kept.empty() ? ring.back() : kept.back();
            const Position& after = ring[k + 1 == size ? 0 : k + 1];
            if (!IsBetween(before, ring[k], after)) kept.push_back(ring[k]);
        }
        ring = std::move(kept);
    }
    if (ring.size() < 3) return;
    const auto first = std::min_element(ring.begin(), ring.end(), [](const auto& a, const auto& b) {
        return std::tie(a.x, a.y) < std::tie(b.x, b.y);
    });
    std::rotate(ring.begin(), first, ring.end());
}

std::vector<Position> Moved(const std::vector<Position>& ring, std::span<const RimLine> lines) {
    Edges edges{ring, {}};
    bool any = false;
    for (std::size_t k = 0; k < ring.size(); ++k) {
        edges.line.push_back(LineOf(lines, ring[k], ring[edges.After(k)]));
        any = any || edges.line.back() != kNoLine;
    }
    if (!any) return ring;
    DropBevels(edges, lines);
    std::vector<Position> moved;
    for (std::size_t k = 0; k < edges.Size(); ++k) AddCorners(edges, lines, k, moved);
    if (moved.size() >= 3) Normalise(moved);
    return moved;
}

bool ComesBefore(const std::vector<Position>& a, const std::vector<Position>& b) {
    const double areaA = std::abs(TwiceAreaOf(a));
    const double areaB = std::abs(TwiceAreaOf(b));
    if (areaA != areaB) return areaA > areaB;
    return std::tie(a[0].x, a[0].y) < std::tie(b[0].x, b[0].y);
}

void SortAndNumber(PlaneOutline& outline) {
    const auto before = [](const PlaneRing& a, const PlaneRing& b) {
        return ComesBefore(a.points, b.points);
    };
    std::stable_sort(
        outline.regions.begin(), outline.regions.end(),
        [&](const PlaneRegion& a, const PlaneRegion& b) { return before(a.outer, b.outer); });
    for (PlaneRegion& region : outline.regions) {
        std::stable_sort(region.holes.begin(), region.holes.end(), before);
    }
    std::uint32_t vertices = 0;
    outline.area = 0;
    detail::ForEachRing(outline, [&](PlaneRing& ring) {
        outline.area += TwiceAreaOf(ring.points) / 2;
        ring.indices.clear();
        for (std::size_t i = 0; i < ring.points.size(); ++i) ring.indices.push_back(vertices++);
    });
}

}  // namespace

void MoveToLines(PlaneOutline& outline, std::span<const RimLine> lines) {
    if (lines.empty()) return;
    std::vector<PlaneRing*> rings;
    detail::ForEachRing(outline, [&](PlaneRing& ring) { rings.push_back(&ring); });
    std::vector<std::vector<Position>> before;
    bool changed = false;
    for (PlaneRing* ring : rings) {
        before.push_back(ring->points);
        std::vector<Position> moved = Moved(ring->points, lines);
        if (moved.size() < 3 || TwiceAreaOf(moved) * TwiceAreaOf(ring->points) <= 0) continue;
        ring->points = std::move(moved);
        changed = true;
    }
    if (!changed) return;
    // Rings that are in the way go back, until none is: with all of them back, none is.
    const auto isBack = [&](std::size_t k) {
        const auto& now = rings[k]->points;
        return now.size() == before[k].size() &&
               std::equal(now.begin(), now.end(), before[k].begin(), IsSame);
    };
    const double apart = outline.radius / 10;
    for (bool back = true; back;) {
        std::vector<std::size_t> bad = RingsInTheWay(rings, apart);
        if (bad.empty()) bad = RingsOutOfPlace(outline);
        back = false;
        for (const std::size_t k : bad) {
            if (isBack(k)) continue;
            rings[k]->points = before[k];
            back = true;
        }
    }
    SortAndNumber(outline);
}

std::vector<Stretch> StretchesOf(const PlaneOutline& outline, const Position& at,
                                 const Position& along, double reach) {
    std::vector<Stretch> found;
    std::vector<double> crossings;
    const auto addEdge = [&](const Position& a, const Position& b) {
        double sideA = CrossOf(along, Minus(a, at));
        double sideB = CrossOf(along, Minus(b, at));
        double placeA = DotOf(along, Minus(a, at));
        double placeB = DotOf(along, Minus(b, at));
        // A corner on the line counts as above it, so that crossings come in pairs.
        if ((sideA >= 0) != (sideB >= 0)) {
            crossings.push_back(placeA + (placeB - placeA) * (sideA / (sideA - sideB)));
        }
        // The part of the edge within reach.
        const auto clip = [&](double& side, double& place, double otherSide, double otherPlace) {
            if (std::abs(side) <= reach) return true;
            const double to = side > 0 ? reach : -reach;
            if ((side > 0) == (otherSide > to)) return false;
            place += (otherPlace - place) * ((to - side) / (otherSide - side));
            side = to;
            return true;
        };
        if (!clip(sideA, placeA, sideB, placeB) || !clip(sideB, placeB, sideA, placeA)) return;
        found.push_back({std::min(placeA, placeB) - reach, std::max(placeA, placeB) + reach});
    };
    for (const PlaneRegion& region : outline.regions) {
        const auto addRing = [&](const std::vector<Position>& ring) {
            for (std::size_t k = 0; k < ring.size(); ++k) {
                addEdge(ring[k], ring[k + 1 == ring.size() ? 0 : k + 1]);
            }
        };
        addRing(region.outer.points);
        for (const PlaneRing& hole : region.holes) addRing(hole.points);
    }
    std::sort(crossings.begin(), crossings.end());
    for (std::size_t k = 0; k + 1 < crossings.size(); k += 2) {
        found.push_back({crossings[k] - reach, crossings[k + 1] + reach});
    }
    std::sort(found.begin(), found.end());
    std::vector<Stretch> joined;
    for (const Stretch& stretch : found) {
        if (!joined.empty() && stretch.first <= joined.back().second) {
            joined.back().second = std::max(joined.back().second, stretch.second);
        } else {
            joined.push_back(stretch);
        }
    }
    return joined;
}

}  // namespace orvix::detection
