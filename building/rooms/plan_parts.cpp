// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/rooms/plan_parts.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <set>
#include <utility>

#include "building/plan_grid.h"
#include "building/plan_length.h"

namespace orvix::building {
namespace {

constexpr double kTiny = 1e-6;
constexpr double kLeastHole = 0.02;  // square metres: a pillar

using Corner = std::pair<std::int64_t, std::int64_t>;
using Side = std::pair<Corner, Corner>;

Corner CornerOf(const PlanPoint& p) {
    return {std::llround(p.x / (10 * kTiny)), std::llround(p.y / (10 * kTiny))};
}

/// Numbers corners, so that crossings that were computed from both sides are one.
class Corners {
public:
    std::size_t Number(const PlanPoint& p) {
        const Corner corner = CornerOf(p);
        for (std::int64_t dx = -1; dx <= 1; ++dx)
            for (std::int64_t dy = -1; dy <= 1; ++dy)
                if (const auto found = numbers_.find({corner.first + dx, corner.second + dy});
                    found != numbers_.end())
                    return found->second;
        numbers_.emplace(corner, places_.size());
        places_.push_back(p);
        return places_.size() - 1;
    }
    [[nodiscard]] const PlanPoint& Place(std::size_t number) const { return places_[number]; }

private:
    std::map<Corner, std::size_t> numbers_;
    std::vector<PlanPoint> places_;
};

double Turn(const PlanPoint& a, const PlanPoint& b, const PlanPoint& c) {
    return (b.x - a.x) * (c.y - b.y) - (b.y - a.y) * (c.x - b.x);
}

// At a corner where two holes touch, or a hole and the outline, the way that turns most to the right
// keeps them apart.
std::size_t NextSide(const Corners& corners, std::size_t from, std::size_t at,
                     const std::set<std::size_t>& choices) {
    const PlanPoint &a = corners.Place(from), &b = corners.Place(at);
    const auto angle = [&](std::size_t to) {
        const PlanPoint& c = corners.Place(to);
        const double sine = Turn(a, b, c);
        const double cosine = (b.x - a.x) * (c.x - b.x) + (b.y - a.y) * (c.y - b.y);
        const double length = PlanLength(sine, cosine);
        const double part = length > 0 ? sine / length : 0;
        return cosine >= 0 ? part : (sine >= 0 ? 2 - part : -2 - part);
    };
    return *std::min_element(choices.begin(), choices.end(),
                             [&](std::size_t x, std::size_t y) { return angle(x) < angle(y); });
}

PlanRing Straightened(const PlanRing& ring) {
    PlanRing kept;
    for (std::size_t k = 0; k < ring.size(); ++k) {
        const PlanPoint& a = kept.empty() ? ring.back() : kept.back();
        const PlanPoint& c = ring[k + 1 == ring.size() ? 0 : k + 1];
        const double length = PlanLength(c.x - a.x, c.y - a.y);
        if (std::abs(Turn(a, ring[k], c)) > 1e-5 * std::max(length, 0.01)) kept.push_back(ring[k]);
    }
    return kept;
}

// Which parts hang together through whole sides: the number of each one's piece.
std::vector<std::size_t> PiecesOf(const std::vector<std::vector<std::size_t>>& rings) {
    std::map<std::pair<std::size_t, std::size_t>, std::size_t> owner;
    for (std::size_t i = 0; i < rings.size(); ++i)
        for (std::size_t k = 0; k < rings[i].size(); ++k)
            owner[{rings[i][k], rings[i][(k + 1) % rings[i].size()]}] = i;
    std::vector<std::size_t> piece(rings.size(), rings.size());
    for (std::size_t start = 0; start < rings.size(); ++start) {
        if (piece[start] != rings.size()) continue;
        std::vector<std::size_t> todo{start};
        piece[start] = start;
        while (!todo.empty()) {
            const std::size_t i = todo.back();
            todo.pop_back();
            for (std::size_t k = 0; k < rings[i].size(); ++k) {
                const auto beside = owner.find({rings[i][(k + 1) % rings[i].size()], rings[i][k]});
                if (beside == owner.end() || piece[beside->second] != rings.size()) continue;
                piece[beside->second] = start;
                todo.push_back(beside->second);
            }
        }
    }
    return piece;
}

void KeepLargest(std::vector<PlanRing>& parts, std::vector<std::vector<std::size_t>>& rings) {
    const std::vector<std::size_t> piece = PiecesOf(rings);
    std::map<std::size_t, double> areas;
    for (std::size_t i = 0; i < parts.size(); ++i) areas[piece[i]] += AreaOf(parts[i]);
    const auto largest =
        std::max_element(areas.begin(), areas.end(),
                         [](const auto& a, const auto& b) { return a.second < b.second; });
    std::vector<PlanRing> kept;
    std::vector<std::vector<std::size_t>> keptRings;
    for (std::size_t i = 0; i < parts.size(); ++i)
        if (piece[i] == largest->first) {
            kept.push_back(std::move(parts[i]));
            keptRings.push_back(std::move(rings[i]));
        }
    parts = std::move(kept);
    rings = std::move(keptRings);
}

}  // namespace

PlanPoint MiddleOf(const PlanRing& convex) {
    PlanPoint sum;
    for (const PlanPoint& p : convex) sum = {sum.x + p.x, sum.y + p.y};
    const auto count = static_cast<double>(convex.size());
    return {sum.x / count, sum.y / count};
}

PlanRing PartBehind(const PlanRing& ring, const PlanPoint& normal, double offset) {
    PlanRing part;
    const auto before = [&](const PlanPoint& p) {
        return normal.x * p.x + normal.y * p.y - offset;
    };
    for (std::size_t k = 0; k < ring.size(); ++k) {
        const PlanPoint &a = ring[k], &b = ring[k + 1 == ring.size() ? 0 : k + 1];
        const double atA = before(a), atB = before(b);
        if (atA <= kTiny) part.push_back(a);
        if ((atA < -kTiny && atB > kTiny) || (atA > kTiny && atB < -kTiny)) {
            const double share = atA / (atA - atB);
            part.push_back({a.x + share * (b.x - a.x), a.y + share * (b.y - a.y)});
        }
    }
    if (part.size() < 3 || std::abs(AreaOf(part)) < kTiny * kTiny) part.clear();
    return part;
}

void CutParts(std::vector<PlanRing>& parts, const PlanPoint& normal, double offset) {
    std::vector<PlanRing> cut;
    for (const PlanRing& part : parts) {
        PlanRing behind = PartBehind(part, normal, offset);
        PlanRing before = PartBehind(part, {-normal.x, -normal.y}, -offset);
        if (!behind.empty()) cut.push_back(std::move(behind));
        if (!before.empty()) cut.push_back(std::move(before));
    }
    parts = std::move(cut);
}

std::optional<PlanRegion> JoinParts(std::vector<PlanRing>& parts) {
    if (parts.empty()) return std::nullopt;
    Corners corners;
    std::vector<std::vector<std::size_t>> rings;
    for (const PlanRing& part : parts) {
        std::vector<std::size_t> ring;
        for (const PlanPoint& p : part) {
            const std::size_t number = corners.Number(p);
            if (ring.empty() || (ring.back() != number)) ring.push_back(number);
        }
        if (ring.size() > 1 && ring.front() == ring.back()) ring.pop_back();
        rings.push_back(std::move(ring));
    }
    KeepLargest(parts, rings);
    std::map<std::size_t, std::set<std::size_t>> sides;
    for (const auto& ring : rings)
        for (std::size_t k = 0; k < ring.size(); ++k) {
            const std::size_t a = ring[k], b = ring[(k + 1) % ring.size()];
            if (const auto back = sides.find(b); back != sides.end() && back->second.erase(a) > 0)
                continue;
            sides[a].insert(b);
        }
    PlanRegion region;
    double largest = 0;
    std::vector<PlanRing> holes;
    for (auto& [start, ends] : sides)
        while (!ends.empty()) {
            PlanRing ring;
            std::size_t from = start, at = *ends.begin();
            ends.erase(ends.begin());
            ring.push_back(corners.Place(from));
            while (at != start) {
                ring.push_back(corners.Place(at));
                auto& choices = sides[at];
                if (choices.empty()) return std::nullopt;
                const std::size_t next = NextSide(corners, from, at, choices);
                choices.erase(next);
                from = at;
                at = next;
            }
            ring = Straightened(ring);
            if (ring.size() < 3) continue;
            const double area = AreaOf(ring);
            if (area < -kLeastHole)
                holes.push_back(std::move(ring));
            else if (area > largest)
                largest = area, region.outer = std::move(ring);
        }
    if (region.outer.empty()) return std::nullopt;
    region.holes = std::move(holes);
    return region;
}

}  // namespace orvix::building
