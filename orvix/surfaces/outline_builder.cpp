// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/surfaces/outline_builder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "orvix/geometry/bounds.h"
#include "orvix/surfaces/delaunay_edges.h"

namespace orvix::detail {
namespace {

using Position = SimplePoint2DT<double>;
using Edge = DelaunayEdges::Edge;

constexpr double kRadiusInEdges = 3;  // BEHAVIOUR F6
constexpr double kVotingCells = 4096;
constexpr std::size_t kMaxVotes = 24;

// What an edge's note says of the triangle to its left; another number is that of its piece, of triangles
// that belong and hang together by edges.
constexpr std::uint32_t kUnseen = DelaunayEdges::kNone;
constexpr std::uint32_t kOutside = kUnseen - 1;
constexpr std::uint32_t kLargestPiece = 0;

/// A simple closed ring of sites with triangles that belong to its left.
struct Loop {
    std::vector<std::uint32_t> sites;
    Edge rim =
        DelaunayEdges::kNone;  // one of its edges, or of a ring of the same piece that it touches
    double area = 0;           // positive for an outer ring
};

Extends2DT<double> BoxOf(const std::vector<Position>& positions) {
    Extends2DT<double> box{positions.front(), positions.front()};
    for (const Position& p : positions) {
        Extend(box, p);
    }
    return box;
}

/// A square raster over the sites' box that has about `cells` cells in it.
class Raster {
public:
    Raster(const std::vector<Position>& positions, double cells) : box_(BoxOf(positions)) {
        const double width = box_.max.x - box_.min.x;
        const double height = box_.max.y - box_.min.y;
        if (!std::isfinite(width + height)) return;  // wider than a number: one cell
        // A box thinner than one cell still has no more than `cells` of them.
        side_ = std::max(std::sqrt(width * height / cells), std::max(width, height) / cells);
        if (!(side_ > 0) || !std::isfinite(side_)) side_ = std::numeric_limits<double>::max();
        columns_ = static_cast<std::size_t>(width / side_) + 1;
        rows_ = static_cast<std::size_t>(height / side_) + 1;
    }

    std::size_t Size() const { return columns_ * rows_; }

    std::size_t CellOf(const Position& p) const {
        if (Size() == 1) return 0;
        const auto column = static_cast<std::size_t>((p.x - box_.min.x) / side_);
        const auto row = static_cast<std::size_t>((p.y - box_.min.y) / side_);
        return std::min(row, rows_ - 1) * columns_ + std::min(column, columns_ - 1);
    }

private:
    Extends2DT<double> box_;
    double side_ = 0;
    std::size_t columns_ = 1;
    std::size_t rows_ = 1;
};

/// Keeps the leftmost, rightmost, lowest and highest site of each raster cell; of equal ones the
/// one that is first in order of x, then y.
// BEHAVIOUR F8
PlanarSites Thin(const PlanarSites& sites, std::size_t maxPoints) {
    const Raster raster(sites.positions, static_cast<double>(maxPoints) / 4);
    constexpr std::uint32_t kNone = UINT32_MAX;
    std::vector<std::array<std::uint32_t, 4>> extremes(raster.Size(), {kNone, kNone, kNone, kNone});
    const auto& at = sites.positions;
    const auto take = [&](std::uint32_t& slot, std::uint32_t site, double ahead) {
        if (slot == kNone || ahead > 0 || (ahead == 0 && IsBefore(at[site], at[slot]))) slot = site;
    };
    for (std::uint32_t site = 0; site < at.size(); ++site) {
        const Position& p = at[site];
        auto& cell = extremes[raster.CellOf(p)];
        const auto of = [&](std::size_t k) { return cell[k] == kNone ? p : at[cell[k]]; };
        take(cell[0], site, of(0).x - p.x);
        take(cell[1], site, p.x - of(1).x);
        take(cell[2], site, of(2).y - p.y);
        take(cell[3], site, p.y - of(3).y);
    }
    std::vector<std::uint32_t> kept;
    for (const auto& cell : extremes) {
        for (const std::uint32_t site : cell) {
            if (site != kNone) kept.push_back(site);
        }
    }
    std::sort(kept.begin(), kept.end());
    kept.erase(std::unique(kept.begin(), kept.end()), kept.end());
    std::vector<Position> positions;
    positions.reserve(kept.size());
    for (const std::uint32_t site : kept) positions.push_back(at[site]);
    PlanarSites thinned = SitesOf(positions, Coinciding::First);
    for (std::uint32_t& source : thinned.sources) source = sites.sources[kept[source]];
    return thinned;
}

double SquaredLength(const Position& p, const Position& q) {
    return (q.x - p.x) * (q.x - p.x) + (q.y - p.y) * (q.y - p.y);
}

/// The edges that end in one raster cell.
struct Vote {
    double length = 0;  // the sum, later the mean
    std::size_t count = 0;
};

std::vector<Vote> CountVotes(const PlanarSites& sites, const DelaunayEdges& edges) {
    const Raster raster(sites.positions, kVotingCells);
    std::vector<std::uint16_t> cells;  // once a site, not once an edge
    cells.reserve(sites.positions.size());
    for (const Position& p : sites.positions)
        cells.push_back(static_cast<std::uint16_t>(raster.CellOf(p)));
    std::vector<Vote> votes(raster.Size());
    edges.ForEachEdge([&](Edge edge) {
        const std::uint32_t from = edges.Origin(edge), to = edges.Destination(edge);
        const double length = std::sqrt(SquaredLength(sites.positions[from], sites.positions[to]));
        for (const std::size_t cell : {cells[from], cells[to]}) {
            votes[cell].length += length;
            ++votes[cell].count;
        }
    });
    return votes;
}

double DeriveRadius(const PlanarSites& sites, const DelaunayEdges& edges) {
    std::vector<Vote> votes = CountVotes(sites, edges);
    std::erase_if(votes, [](const Vote& vote) { return vote.count == 0; });
    std::size_t all = 0;
    for (Vote& vote : votes) {
        vote.length /= static_cast<double>(vote.count);
        vote.count = std::min(vote.count, kMaxVotes);
        all += vote.count;
    }
    std::sort(votes.begin(), votes.end(),
              [](const Vote& p, const Vote& q) { return p.length < q.length; });
    std::size_t median = 0;
    for (std::size_t below = votes[0].count; 2 * below < all; below += votes[median].count) {
        ++median;
    }
    return kRadiusInEdges * votes[median].length;
}

/// The circumscribed circle's radius is |pq| |qr| |rp| / (2 |pq x pr|).
bool FitsRadius(const Position& p, const Position& q, const Position& r, double squaredRadius) {
    const double cross = (q.x - p.x) * (r.y - p.y) - (q.y - p.y) * (r.x - p.x);
    const double sides = SquaredLength(p, q) * SquaredLength(q, r) * SquaredLength(r, p);
    return sides <= 4 * cross * cross * squaredRadius;
}

/// Notes with a triangle's three edges whether it belongs; every triangle once.
void JudgeTriangles(const PlanarSites& sites, double radius, DelaunayEdges& edges) {
    const auto& at = sites.positions;
    const auto judge = [&](Edge first) {
        if (edges.Note(first) != kUnseen) return;
        const Edge second = edges.Next(first), third = edges.Next(second);
        const bool belongs = FitsRadius(at[edges.Origin(first)], at[edges.Origin(second)],
                                        at[edges.Origin(third)], radius * radius);
        for (const Edge edge : {first, second, third})
            edges.SetNote(edge, belongs ? kLargestPiece : kOutside);
    };
    edges.ForEachOutside([&](Edge edge) { edges.SetNote(edge, kOutside); });
    edges.ForEachEdge([&](Edge edge) {
        judge(edge);
        judge(edge ^ 1);
    });
}

double SignedArea(const std::vector<Position>& positions, const std::vector<std::uint32_t>& sites) {
    const Position& origin = positions[sites.front()];
    double twice = 0;
    for (std::size_t k = 1; k + 1 < sites.size(); ++k) {
        const Position& p = positions[sites[k]];
        const Position& q = positions[sites[k + 1]];
        twice += (p.x - origin.x) * (q.y - origin.y) - (p.y - origin.y) * (q.x - origin.x);
    }
    return twice / 2;
}

/// Walks every rim once. A walk that meets a vertex again has closed a ring there: rings that touch
/// in a vertex come out apart, and each is simple.
class RimTracer {
public:
    RimTracer(const PlanarSites& sites, const DelaunayEdges& edges)
        : sites_(sites),
          edges_(edges),
          traced_(edges.End()),
          placeInWalk_(sites.positions.size(), kNotInWalk) {}

    std::vector<Loop> Trace() {
        edges_.ForEachEdge([&](Edge edge) {
            for (const Edge rim : {edge, edge ^ 1})
                if (IsRim(rim) && !traced_[rim]) Walk(rim);
        });
        return std::move(loops_);
    }

private:
    static constexpr std::int32_t kNotInWalk = -1;

    bool IsRim(Edge edge) const {
        return edges_.Note(edge) != kOutside && edges_.Note(edge ^ 1) == kOutside;
    }

    /// The rim edge that follows: turns about the end through triangles that belong.
    Edge StepAlongRim(Edge edge) const {
        edge = edges_.Next(edge);
        while (!IsRim(edge)) edge = edges_.Next(edge ^ 1);
        return edge;
    }

    void Walk(Edge start) {
        for (Edge edge = start; !traced_[edge]; edge = StepAlongRim(edge)) {
            traced_[edge] = true;
            Visit(edges_.Origin(edge), start);
        }
        Close(0, start);
    }

    void Visit(std::uint32_t site, Edge start) {
        if (placeInWalk_[site] != kNotInWalk) {
            Close(static_cast<std::size_t>(placeInWalk_[site]), start);
        }
        placeInWalk_[site] = static_cast<std::int32_t>(walk_.size());
        walk_.push_back(site);
    }

    void Close(std::size_t from, Edge start) {
        Loop loop;
        loop.rim = start;
        loop.sites.assign(walk_.begin() + static_cast<std::ptrdiff_t>(from), walk_.end());
        walk_.resize(from);
        for (const std::uint32_t site : loop.sites) placeInWalk_[site] = kNotInWalk;
        const auto first = std::min_element(
            loop.sites.begin(), loop.sites.end(), [&](std::uint32_t p, std::uint32_t q) {
                return IsBefore(sites_.positions[p], sites_.positions[q]);
            });
        std::rotate(loop.sites.begin(), first, loop.sites.end());
        loop.area = SignedArea(sites_.positions, loop.sites);
        loops_.push_back(std::move(loop));
    }

    const PlanarSites& sites_;
    const DelaunayEdges& edges_;
    std::vector<bool> traced_;               // by edge
    std::vector<std::int32_t> placeInWalk_;  // by site
    std::vector<std::uint32_t> walk_;
    std::vector<Loop> loops_;
};

/// Largest first; of equal ones the one that is first by its sites.
void SortLoops(const PlanarSites& sites, std::vector<Loop>& loops) {
    const auto isBefore = [&](std::uint32_t p, std::uint32_t q) {
        return IsBefore(sites.positions[p], sites.positions[q]);
    };
    std::sort(loops.begin(), loops.end(), [&](const Loop& p, const Loop& q) {
        const double areaP = std::abs(p.area);
        const double areaQ = std::abs(q.area);
        return areaP > areaQ || (areaP == areaQ && std::lexicographical_compare(
                                                       p.sites.begin(), p.sites.end(),
                                                       q.sites.begin(), q.sites.end(), isBefore));
    });
}

void NumberPiece(Edge seed, std::uint32_t number, DelaunayEdges& edges) {
    std::vector<Edge> open{seed};
    while (!open.empty()) {
        const Edge first = open.back();
        open.pop_back();
        if (edges.Note(first) != kLargestPiece) continue;
        const Edge second = edges.Next(first), third = edges.Next(second);
        for (const Edge edge : {first, second, third}) {
            edges.SetNote(edge, number);
            open.push_back(edge ^ 1);
        }
    }
}

/// Numbers the pieces but for the largest ring's, which has most of the triangles as a rule and so is
/// found by what is left.
void NumberPieces(const std::vector<Loop>& loops, DelaunayEdges& edges) {
    std::uint32_t number = kLargestPiece;
    bool isLargest = true;
    for (const Loop& loop : loops) {
        if (loop.area <= 0) continue;
        if (!isLargest && edges.Note(loop.rim) == kLargestPiece)
            NumberPiece(loop.rim, ++number, edges);
        isLargest = false;
    }
}

PlaneRing ToRing(const PlanarSites& sites, const PlanarPredicates& decide, const Loop& loop) {
    PlaneRing ring;
    const std::size_t size = loop.sites.size();
    for (std::size_t k = 0; k < size; ++k) {
        const Position& before = sites.positions[loop.sites[(k + size - 1) % size]];
        const Position& after = sites.positions[loop.sites[(k + 1) % size]];
        const Position& here = sites.positions[loop.sites[k]];
        if (decide.Orientation(before, here, after) == 0) continue;
        ring.points.push_back(here);
        ring.indices.push_back(sites.sources[loop.sites[k]]);
    }
    return ring;
}

PlaneOutline Assemble(const PlanarSites& sites, const DelaunayEdges& edges,
                      const std::vector<Loop>& loops, double radius) {
    const PlanarPredicates decide(sites.positions);
    PlaneOutline outline;
    outline.radius = radius;
    constexpr std::size_t kNoRegion = SIZE_MAX;
    std::vector<std::size_t> regionOf(loops.size() + 1, kNoRegion);  // by piece: each has a loop
    for (const Loop& loop : loops) {
        if (loop.area <= 0) continue;
        if (loop.area < radius * radius && !outline.regions.empty()) break;  // BEHAVIOUR F7
        regionOf[edges.Note(loop.rim)] = outline.regions.size();
        outline.regions.push_back({ToRing(sites, decide, loop), {}});
        outline.area += loop.area;
    }
    for (const Loop& loop : loops) {
        if (loop.area > 0 || -loop.area < radius * radius) continue;
        const std::size_t region = regionOf[edges.Note(loop.rim)];
        if (region == kNoRegion) continue;
        outline.regions[region].holes.push_back(ToRing(sites, decide, loop));
        outline.area += loop.area;
    }
    return outline;
}

}  // namespace

PlaneOutline BuildOutline(const std::vector<SimplePoint2DT<double>>& positions,
                          const OutlineOptions& options) {
    PlanarSites sites = SitesOf(positions, Coinciding::First);
    if (sites.positions.size() > options.maxPoints) sites = Thin(sites, options.maxPoints);
    std::optional<DelaunayEdges> edges = DelaunayEdges::Of(sites, {});
    if (!edges || !edges->HasTriangles()) return {};
    const double radius = options.radius > 0 ? options.radius : DeriveRadius(sites, *edges);
    JudgeTriangles(sites, radius, *edges);
    std::vector<Loop> loops = RimTracer(sites, *edges).Trace();
    SortLoops(sites, loops);
    NumberPieces(loops, *edges);
    return Assemble(sites, *edges, loops, radius);
}

}  // namespace orvix::detail
