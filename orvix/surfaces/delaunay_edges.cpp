// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/surfaces/delaunay_edges.h"

#include <new>

#include "orvix/platform/asker.h"

namespace orvix::detail {

using Edge = DelaunayEdges::Edge;
using Position = SimplePoint2DT<double>;

/// Triangulates halves of a strip's sites, joins them, and joins the strips.
///
/// Names of the paper's in brackets. What is written next to an edge is seen along it.
class DelaunayBuilder {
public:
    DelaunayBuilder(const PlanarSites& sites, const std::function<bool()>& proceed,
                    DelaunayEdges& edges)
        : sites_(sites),
          positions_(sites.positions.data()),
          siteCount_(sites.positions.size()),
          decide_(sites.positions),
          asker_(proceed, 1) {
        constexpr std::size_t kMostSites = 700'000'000;  // six directed edges a site have numbers
        if (siteCount_ > kMostSites) throw std::bad_alloc();
        // At every moment the edges are those of a planar graph: 3 a site at most.
        edges.records_ = std::make_unique_for_overwrite<DelaunayEdges::Record[]>(6 * siteCount_);
        records_ = edges.records_.get();
    }

    /// A directed edge with the outside to its left; kNone where `proceed` said no.
    Edge Build() {
        if (siteCount_ < 2) return DelaunayEdges::kNone;
        const Hull hull = JoinStrips(0, sites_.strips.size() - 1);
        return stopped_ ? DelaunayEdges::kNone : hull.first ^ 1;
    }
    bool WasStopped() const { return stopped_; }
    Edge End() const { return used_; }

private:
    /// Two edges of a triangulation's rim: the one that leaves the first site with the outside to its
    /// right, and the one that leaves the last site with the outside to its left [le, re].
    struct Hull {
        Edge first;
        Edge last;
    };

    std::uint32_t Origin(Edge edge) const { return records_[edge].origin; }
    std::uint32_t Destination(Edge edge) const { return records_[edge ^ 1].origin; }
    const Position& From(Edge edge) const { return positions_[Origin(edge)]; }
    const Position& To(Edge edge) const { return positions_[Destination(edge)]; }
    /// Along the left [Lnext].
    Edge NextLeft(Edge edge) const { return records_[edge ^ 1].previous; }
    /// The edge that leaves the end, along the right [Rprev].
    Edge NextRight(Edge edge) const { return records_[edge ^ 1].next; }

    Edge Make(std::uint32_t from, std::uint32_t to) {
        Edge edge = free_;
        if (edge != DelaunayEdges::kNone) {
            free_ = records_[edge].next;
        } else {
            edge = used_;
            used_ += 2;
        }
        records_[edge] = {from, edge, edge, DelaunayEdges::kNone};
        records_[edge + 1] = {to, edge + 1, edge + 1, DelaunayEdges::kNone};
        return edge;
    }

    /// Puts an edge behind another one about their origin, counter-clockwise [splice].
    void Attach(Edge edge, Edge after) {
        const Edge next = records_[after].next;
        records_[edge].next = next;
        records_[edge].previous = after;
        records_[after].next = edge;
        records_[next].previous = edge;
    }

    void Detach(Edge edge) {
        const Edge next = records_[edge].next, previous = records_[edge].previous;
        records_[previous].next = next;
        records_[next].previous = previous;
        records_[edge].origin = DelaunayEdges::kNone;
    }

    void Drop(Edge edge) {
        Detach(edge);
        Detach(edge ^ 1);
        records_[edge & ~Edge{1}].next = free_;
        free_ = edge & ~Edge{1};
    }

    /// A new edge from the end of `from` to the origin of `to`; both have the same left side.
    Edge Connect(Edge from, Edge to) {
        const Edge edge = Make(Destination(from), Origin(to));
        Attach(edge, NextLeft(from));
        Attach(edge ^ 1, to);
        return edge;
    }

    Hull TwoOrThree(std::uint32_t first, std::uint32_t end) {
        const Edge a = Make(first, first + 1);
        if (end - first == 2) return {a, a ^ 1};
        const Edge b = Make(first + 1, first + 2);
        Attach(b, a ^ 1);
        const int turn = decide_.Orientation(From(a), To(a), To(b));
        if (turn == 0) return {a, b ^ 1};
        const Edge c = Connect(b, a);
        return turn > 0 ? Hull{a, b ^ 1} : Hull{c ^ 1, c};
    }

    /// Of sites in order along y.
    Hull OfSites(std::uint32_t first, std::uint32_t end) {
        if (end - first <= 3) return TwoOrThree(first, end);
        const std::uint32_t middle = first + (end - first) / 2;
        const Hull below = OfSites(first, middle);
        return Join(below, OfSites(middle, end));
    }

    /// The rim's edges at the first and the last site from left to right, of any rim edge that has the
    /// outside to its right.
    Hull LeftAndRight(Edge start) const {
        Edge left = start, right = start, edge = start;
        do {
            if (IsBefore(From(edge), From(left))) left = edge;
            if (IsBefore(From(right), From(edge))) right = edge;
            edge = NextRight(edge);
        } while (edge != start);
        return {left, records_[right].previous};
    }

    Hull JoinStrips(std::size_t first, std::size_t end) {
        stopped_ = stopped_ || !asker_.GoesOn();
        if (stopped_) return {};
        if (end - first == 1)
            return LeftAndRight(OfSites(sites_.strips[first], sites_.strips[end]).first);
        const std::size_t middle = first + (end - first) / 2;
        const Hull left = JoinStrips(first, middle);
        const Hull right = JoinStrips(middle, end);
        return stopped_ ? Hull{} : Join(left, right);
    }

    /// The edge that both rims have below themselves, from right to left [the lower common tangent].
    Edge LowestAcross(Hull& left, Hull& right) {
        Edge l = left.last, r = right.first;
        for (;;) {
            if (decide_.Orientation(From(r), From(l), To(l)) > 0) {
                l = NextLeft(l);
            } else if (decide_.Orientation(From(l), To(r), From(r)) > 0) {
                r = NextRight(r);
            } else {
                break;
            }
        }
        const Edge across = Connect(r ^ 1, l);
        if (Origin(l) == Origin(left.first)) left.first = across ^ 1;
        if (Origin(r) == Origin(right.last)) right.last = across;
        return across;
    }

    /// The edge about `across`'s left end that makes the next triangle, if that lies above; edges of the
    /// left half that it would cut are dropped [lcand].
    Edge FromLeftEnd(Edge across) {
        const Position &from = From(across), &to = To(across);
        Edge edge = records_[across ^ 1].next;
        if (decide_.Orientation(To(edge), to, from) <= 0) return DelaunayEdges::kNone;
        for (;;) {
            const Edge beyond = records_[edge].next;
            if (beyond == (across ^ 1) || !decide_.IsInCircle(to, from, To(edge), To(beyond)))
                return edge;
            Drop(edge);
            edge = beyond;
        }
    }

    /// The same about the right end [rcand].
    Edge FromRightEnd(Edge across) {
        const Position &from = From(across), &to = To(across);
        Edge edge = records_[across].previous;
        if (decide_.Orientation(To(edge), to, from) <= 0) return DelaunayEdges::kNone;
        for (;;) {
            const Edge beyond = records_[edge].previous;
            if (beyond == across || !decide_.IsInCircle(to, from, To(edge), To(beyond)))
                return edge;
            Drop(edge);
            edge = beyond;
        }
    }

    /// Whether the triangle over `across` has its corner in the right half: at the end of `right`, which
    /// the circle over the end of `left` takes in.
    bool TakesRight(Edge across, Edge left, Edge right) const {
        if (left == DelaunayEdges::kNone) return true;
        return right != DelaunayEdges::kNone &&
               decide_.IsInCircle(To(left), To(across), From(across), To(right));
    }

    /// Joins two triangulations, the first of which has all its sites before those of the second one, by
    /// edges across from the lowest to the highest.
    Hull Join(Hull left, Hull right) {
        Edge across = LowestAcross(left, right);
        for (;;) {
            const Edge atLeft = FromLeftEnd(across);
            const Edge atRight = FromRightEnd(across);
            if (atLeft == DelaunayEdges::kNone && atRight == DelaunayEdges::kNone) break;
            across = TakesRight(across, atLeft, atRight) ? Connect(atRight, across ^ 1)
                                                         : Connect(across ^ 1, atLeft ^ 1);
        }
        return {left.first, right.last};
    }

    const PlanarSites& sites_;
    const Position* positions_;
    std::size_t siteCount_;
    PlanarPredicates decide_;
    Asker asker_;
    DelaunayEdges::Record* records_ = nullptr;
    Edge used_ = 0;  // records behind it are in no use yet
    Edge free_ = DelaunayEdges::kNone;
    bool stopped_ = false;
};

std::optional<DelaunayEdges> DelaunayEdges::Of(const PlanarSites& sites,
                                               const std::function<bool()>& proceed) {
    DelaunayEdges edges;
    DelaunayBuilder builder(sites, proceed, edges);
    edges.outside_ = builder.Build();
    edges.end_ = builder.End();
    if (builder.WasStopped()) return std::nullopt;
    return edges;
}

}  // namespace orvix::detail
