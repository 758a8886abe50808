// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/outlines/ring_checks.h"

#include <queue>

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace orvix::detection {
namespace {

using Position = SimplePoint2DT<double>;

struct Edge {
    Position a;
    Position b;
    std::size_t ring = 0;
    std::size_t place = 0;  // in the ring
    std::size_t next = 0;

    [[nodiscard]] double Left() const { return std::min(a.x, b.x); }
    [[nodiscard]] double Right() const { return std::max(a.x, b.x); }
    [[nodiscard]] double Low() const { return std::min(a.y, b.y); }
    [[nodiscard]] double High() const { return std::max(a.y, b.y); }
};

bool Same(const Position& a, const Position& b) {
    return a.x == b.x && a.y == b.y;
}

double SideOf(const Edge& edge, const Position& p) {
    return (edge.b.x - edge.a.x) * (p.y - edge.a.y) - (edge.b.y - edge.a.y) * (p.x - edge.a.x);
}

double SquaredDistance(const Edge& edge, const Position& p) {
    const double x = edge.b.x - edge.a.x;
    const double y = edge.b.y - edge.a.y;
    const double length = x * x + y * y;
    const double along =
        length > 0 ? std::clamp(((p.x - edge.a.x) * x + (p.y - edge.a.y) * y) / length, 0.0, 1.0)
                   : 0.0;
    const double dx = p.x - edge.a.x - along * x;
    const double dy = p.y - edge.a.y - along * y;
    return dx * dx + dy * dy;
}

bool Cross(const Edge& e, const Edge& f) {
    return (SideOf(e, f.a) > 0) != (SideOf(e, f.b) > 0) &&
           (SideOf(f, e.a) > 0) != (SideOf(f, e.b) > 0);
}

bool AreNear(const Edge& e, const Edge& f, double apart) {
    const double squared = apart * apart;
    return SquaredDistance(e, f.a) < squared || SquaredDistance(e, f.b) < squared ||
           SquaredDistance(f, e.a) < squared || SquaredDistance(f, e.b) < squared;
}

// Two edges from one corner, which fold onto each other where they leave it in one direction.
bool Fold(const Position& corner, const Position& p, const Position& q) {
    const double px = p.x - corner.x;
    const double py = p.y - corner.y;
    const double qx = q.x - corner.x;
    const double qy = q.y - corner.y;
    const double dot = px * qx + py * qy;
    const double cross = px * qy - py * qx;
    return dot > 0 && std::abs(cross) < 1e-6 * dot;
}

// A corner of two rings is where they may touch; of one ring, two edges that follow each other.
bool AreInTheWay(const Edge& e, const Edge& f, double apart) {
    if (e.ring == f.ring && e.next != f.place && f.next != e.place) {
        return Cross(e, f) || AreNear(e, f, apart);
    }
    if (Same(e.a, f.a)) return Fold(e.a, e.b, f.b);
    if (Same(e.a, f.b)) return Fold(e.a, e.b, f.a);
    if (Same(e.b, f.a)) return Fold(e.b, e.a, f.b);
    if (Same(e.b, f.b)) return Fold(e.b, e.a, f.a);
    return Cross(e, f) || AreNear(e, f, apart);
}

}  // namespace

double TwiceAreaOf(const std::vector<Position>& ring) {
    double twice = 0;
    for (std::size_t k = 1; k + 1 < ring.size(); ++k) {
        twice += (ring[k].x - ring[0].x) * (ring[k + 1].y - ring[0].y) -
                 (ring[k].y - ring[0].y) * (ring[k + 1].x - ring[0].x);
    }
    return twice;
}

namespace {

// The middle of a ring's first side, which lies on no other ring.
Position PlaceOn(const PlaneRing& ring) {
    return {(ring.points[0].x + ring.points[1].x) / 2, (ring.points[0].y + ring.points[1].y) / 2};
}

/// A ring that is asked what lies inside of it.
struct Enclosure {
    const PlaneRing* ring = nullptr;
    Extends2DT<double> box;

    explicit Enclosure(const PlaneRing& of) : ring(&of), box{of.points[0], of.points[0]} {
        for (const Position& p : of.points) {
            box.min = {std::min(box.min.x, p.x), std::min(box.min.y, p.y)};
            box.max = {std::max(box.max.x, p.x), std::max(box.max.y, p.y)};
        }
    }
    [[nodiscard]] bool Contains(const Position& p) const {
        if (p.x < box.min.x || p.x > box.max.x || p.y < box.min.y || p.y > box.max.y) return false;
        bool inside = false;
        const auto& points = ring->points;
        for (std::size_t k = 0; k < points.size(); ++k) {
            const Position& a = points[k];
            const Position& b = points[k + 1 == points.size() ? 0 : k + 1];
            if ((a.y > p.y) == (b.y > p.y)) continue;
            if (p.x < a.x + (b.x - a.x) * ((p.y - a.y) / (b.y - a.y))) inside = !inside;
        }
        return inside;
    }
};

}  // namespace

std::vector<std::size_t> RingsOutOfPlace(const PlaneOutline& outline) {
    std::vector<Enclosure> rings;
    std::vector<std::size_t> firsts;  // the outer ring of each region
    for (const PlaneRegion& region : outline.regions) {
        firsts.push_back(rings.size());
        rings.emplace_back(region.outer);
        for (const PlaneRing& hole : region.holes) rings.emplace_back(hole);
    }
    firsts.push_back(rings.size());
    std::vector<bool> bad(rings.size());
    const auto mark = [&](std::size_t a, std::size_t b) { bad[a] = bad[b] = true; };
    for (std::size_t r = 0; r + 1 < firsts.size(); ++r) {
        const std::size_t outer = firsts[r];
        for (std::size_t hole = outer + 1; hole < firsts[r + 1]; ++hole) {
            const Position place = PlaceOn(*rings[hole].ring);
            if (!rings[outer].Contains(place)) mark(outer, hole);
            for (std::size_t other = outer + 1; other < firsts[r + 1]; ++other) {
                if (other != hole && rings[other].Contains(place)) mark(other, hole);
            }
        }
        for (std::size_t q = 0; q + 1 < firsts.size(); ++q) {
            const std::size_t around = firsts[q];
            const Position place = PlaceOn(*rings[outer].ring);
            if (q == r || !rings[around].Contains(place)) continue;
            bool inHole = false;
            for (std::size_t hole = around + 1; hole < firsts[q + 1]; ++hole) {
                inHole = inHole || rings[hole].Contains(place);
            }
            if (inHole) continue;
            // A hole that was passed, or the ring around it: all that could have moved.
            mark(outer, around);
            for (std::size_t hole = around + 1; hole < firsts[q + 1]; ++hole) bad[hole] = true;
        }
    }
    std::vector<std::size_t> places;
    for (std::size_t k = 0; k < bad.size(); ++k) {
        if (bad[k]) places.push_back(k);
    }
    return places;
}

namespace {

/// The edges that a sweep from left to right has reached and not passed: which of them share another's
/// height.
///
/// Long edges stay for long, and many of them may lie above each other, so all are held by height:
/// those of about one height of their own by where they begin. A look at a height then meets those
/// around it alone, whatever else is open.
class OpenEdges {
public:
    explicit OpenEdges(double apart) : apart_(apart) {}

    void Add(const Edge& edge) {
        Level& level = levels_[LevelOf(edge.High() - edge.Low())];
        level.highest = std::max(level.highest, edge.High() - edge.Low());
        open_.push({edge.Right(), &level, level.byLow.emplace(edge.Low(), &edge)});
    }
    /// Forgets what ends farther left than `left`, by more than the distance of the rings.
    void Pass(double left) {
        for (; !open_.empty() && open_.top().right + apart_ < left; open_.pop())
            open_.top().level->byLow.erase(open_.top().place);
    }
    template <class Use>
    void ForEachBeside(const Edge& edge, const Use& use) const {
        for (const auto& [number, level] : levels_) {
            // A little more than the distance: sums round.
            const double from = edge.Low() - level.highest - 2 * apart_;
            const auto end = level.byLow.upper_bound(edge.High() + 2 * apart_);
            for (auto other = level.byLow.lower_bound(from); other != end; ++other)
                use(*other->second);
        }
    }

private:
    using ByLow = std::multimap<double, const Edge*>;
    struct Level {
        ByLow byLow;
        double highest = 0;
    };
    struct Open {
        double right;
        Level* level;
        ByLow::iterator place;

        bool operator<(const Open& other) const { return right > other.right; }
    };

    // Heights of one level differ by a factor of eight at most.
    [[nodiscard]] int LevelOf(double height) const {
        return std::ilogb(std::max(height, apart_)) / 2;
    }

    double apart_;
    std::map<int, Level> levels_;
    std::priority_queue<Open> open_;  // the leftmost right end first
};

}  // namespace

std::vector<std::size_t> RingsInTheWay(const std::vector<PlaneRing*>& rings, double apart) {
    std::vector<Edge> edges;
    for (std::size_t ring = 0; ring < rings.size(); ++ring) {
        const auto& points = rings[ring]->points;
        for (std::size_t k = 0; k < points.size(); ++k) {
            const std::size_t next = k + 1 == points.size() ? 0 : k + 1;
            edges.push_back({points[k], points[next], ring, k, next});
        }
    }
    // Along the axis on which edges are shorter, fewer of them are open at a time.
    double wide = 0;
    double high = 0;
    for (const Edge& edge : edges) {
        wide += edge.Right() - edge.Left();
        high += edge.High() - edge.Low();
    }
    if (high < wide) {
        for (Edge& edge : edges) {
            std::swap(edge.a.x, edge.a.y);
            std::swap(edge.b.x, edge.b.y);
        }
    }
    std::stable_sort(edges.begin(), edges.end(),
                     [](const Edge& e, const Edge& f) { return e.Left() < f.Left(); });
    std::vector<bool> bad(rings.size());
    OpenEdges open(apart);
    for (const Edge& edge : edges) {
        open.Pass(edge.Left());
        open.ForEachBeside(edge, [&](const Edge& other) {
            if (other.High() + apart < edge.Low() || edge.High() + apart < other.Low()) return;
            if (bad[edge.ring] && bad[other.ring]) return;
            if (AreInTheWay(edge, other, apart)) bad[edge.ring] = bad[other.ring] = true;
        });
        open.Add(edge);
    }
    std::vector<std::size_t> places;
    for (std::size_t k = 0; k < bad.size(); ++k) {
        if (bad[k]) places.push_back(k);
    }
    return places;
}

}  // namespace orvix::detection
