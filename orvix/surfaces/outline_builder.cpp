// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/surfaces/outline_builder.h"

#include <CGAL/Delaunay_triangulation_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Triangulation_face_base_with_info_2.h>
#include <CGAL/Triangulation_vertex_base_with_info_2.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

#include "orvix/geometry/bounds.h"

namespace orvix::detail {
namespace {

using Position = SimplePoint2DT<double>;
using Kernel = CGAL::Epick;

constexpr double kRadiusInEdges = 3;  // BEHAVIOUR F6
constexpr double kVotingCells = 4096;
constexpr std::size_t kMaxVotes = 24;

constexpr std::int32_t kOutside = -1;
constexpr std::int32_t kUnlabelled = -2;

struct FaceMark {
    std::int32_t component = kOutside;
    std::array<bool, 3> traced{};  // the edge opposite each vertex is in a ring already
};

using VertexBase = CGAL::Triangulation_vertex_base_with_info_2<std::uint32_t, Kernel>;
using FaceBase = CGAL::Triangulation_face_base_with_info_2<FaceMark, Kernel>;
using Structure = CGAL::Triangulation_data_structure_2<VertexBase, FaceBase>;
using Triangulation = CGAL::Delaunay_triangulation_2<Kernel, Structure>;
using FaceHandle = Triangulation::Face_handle;

/// The distinct positions in order of x, then y; a "rank" is a place in this list.
struct Sites {
    std::vector<Position> positions;
    std::vector<std::uint32_t> sources;  // where in the caller's list
};

/// A simple closed ring of ranks with the component that lies to its left.
struct Loop {
    std::vector<std::uint32_t> ranks;
    std::int32_t component = kOutside;
    double area = 0;  // positive for an outer ring
};

Kernel::Point_2 ToKernel(const Position& p) {
    return {p.x, p.y};
}

bool Before(const Position& p, const Position& q) {
    return p.x < q.x || (p.x == q.x && p.y < q.y);
}

Sites DistinctSites(const std::vector<Position>& positions) {
    struct Entry {
        Position position;
        std::uint32_t source;
    };
    std::vector<Entry> entries;
    entries.reserve(positions.size());
    for (std::size_t i = 0; i < positions.size(); ++i) {
        if (!std::isfinite(positions[i].x) || !std::isfinite(positions[i].y)) continue;
        entries.push_back({positions[i], static_cast<std::uint32_t>(i)});
    }
    std::sort(entries.begin(), entries.end(), [](const Entry& p, const Entry& q) {
        if (Before(p.position, q.position)) return true;
        return !Before(q.position, p.position) && p.source < q.source;
    });
    Sites sites;
    for (const Entry& entry : entries) {
        if (!sites.positions.empty() && !Before(sites.positions.back(), entry.position)) continue;
        sites.positions.push_back(entry.position);
        sites.sources.push_back(entry.source);
    }
    return sites;
}

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
        // A box thinner than one cell still has no more than `cells` of them.
        side_ = std::max(std::sqrt(width * height / cells), std::max(width, height) / cells);
        if (!(side_ > 0) || !std::isfinite(side_)) side_ = std::numeric_limits<double>::max();
        columns_ = static_cast<std::size_t>(width / side_) + 1;
        rows_ = static_cast<std::size_t>(height / side_) + 1;
    }

    std::size_t Size() const { return columns_ * rows_; }

    std::size_t CellOf(const Position& p) const {
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
/// one of the lowest rank.
// BEHAVIOUR F8
void Thin(Sites& sites, std::size_t maxPoints) {
    const Raster raster(sites.positions, static_cast<double>(maxPoints) / 4);
    constexpr std::uint32_t kNone = UINT32_MAX;
    std::vector<std::array<std::uint32_t, 4>> extremes(raster.Size(), {kNone, kNone, kNone, kNone});
    const auto take = [](std::uint32_t& slot, std::uint32_t rank, bool better) {
        if (slot == kNone || better) slot = rank;
    };
    for (std::uint32_t rank = 0; rank < sites.positions.size(); ++rank) {
        const Position& p = sites.positions[rank];
        auto& cell = extremes[raster.CellOf(p)];
        const auto& at = sites.positions;
        take(cell[0], rank, false);  // ranks rise with x
        take(cell[1], rank, cell[1] != kNone && p.x > at[cell[1]].x);
        take(cell[2], rank, cell[2] != kNone && p.y < at[cell[2]].y);
        take(cell[3], rank, cell[3] != kNone && p.y > at[cell[3]].y);
    }
    std::vector<std::uint32_t> kept;
    for (const auto& cell : extremes) {
        for (const std::uint32_t rank : cell) {
            if (rank != kNone) kept.push_back(rank);
        }
    }
    std::sort(kept.begin(), kept.end());
    kept.erase(std::unique(kept.begin(), kept.end()), kept.end());
    for (std::size_t i = 0; i < kept.size(); ++i) {  // kept[i] >= i
        sites.positions[i] = sites.positions[kept[i]];
        sites.sources[i] = sites.sources[kept[i]];
    }
    sites.positions.resize(kept.size());
    sites.sources.resize(kept.size());
}

/// False where all sites are on one line. The first insertions span a triangle: a triangulation
/// that is still one-dimensional searches linearly.
bool Triangulate(const Sites& sites, Triangulation& triangulation) {
    if (sites.positions.size() < 3) return false;
    const Kernel::Point_2 first = ToKernel(sites.positions.front());
    const Kernel::Point_2 last = ToKernel(sites.positions.back());
    const auto offLine =
        std::find_if(sites.positions.begin(), sites.positions.end(),
                     [&](const Position& p) { return !CGAL::collinear(first, last, ToKernel(p)); });
    if (offLine == sites.positions.end()) return false;

    const auto corner = static_cast<std::uint32_t>(offLine - sites.positions.begin());
    const auto end = static_cast<std::uint32_t>(sites.positions.size() - 1);
    for (const std::uint32_t rank : {0U, end, corner}) {
        triangulation.insert(ToKernel(sites.positions[rank]))->info() = rank;
    }
    std::vector<std::pair<Kernel::Point_2, std::uint32_t>> rest;
    rest.reserve(sites.positions.size());
    for (std::uint32_t rank = 0; rank <= end; ++rank) {
        rest.emplace_back(ToKernel(sites.positions[rank]), rank);
    }
    triangulation.insert(rest.begin(), rest.end());
    return true;
}

double SquaredLength(const Position& p, const Position& q) {
    return (q.x - p.x) * (q.x - p.x) + (q.y - p.y) * (q.y - p.y);
}

/// The edges that end in one raster cell.
struct Vote {
    double length = 0;  // the sum, later the mean
    std::size_t count = 0;
};

double DeriveRadius(const Sites& sites, const Triangulation& triangulation) {
    const Raster raster(sites.positions, kVotingCells);
    std::vector<Vote> votes(raster.Size());
    for (const auto& [face, i] : triangulation.finite_edges()) {
        const Position& p = sites.positions[face->vertex(Triangulation::ccw(i))->info()];
        const Position& q = sites.positions[face->vertex(Triangulation::cw(i))->info()];
        const double length = std::sqrt(SquaredLength(p, q));
        for (const std::size_t cell : {raster.CellOf(p), raster.CellOf(q)}) {
            votes[cell].length += length;
            ++votes[cell].count;
        }
    }
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

/// Marks the triangles that belong, and numbers the pieces that hang together by edges.
void LabelComponents(const Sites& sites, double radius, Triangulation& triangulation) {
    const auto at = [&](FaceHandle face, int i) {
        return sites.positions[face->vertex(i)->info()];
    };
    for (const FaceHandle face : triangulation.finite_face_handles()) {
        if (FitsRadius(at(face, 0), at(face, 1), at(face, 2), radius * radius)) {
            face->info().component = kUnlabelled;
        }
    }
    std::int32_t next = 0;
    std::vector<FaceHandle> open;
    for (const FaceHandle seed : triangulation.finite_face_handles()) {
        if (seed->info().component != kUnlabelled) continue;
        seed->info().component = next;
        open.push_back(seed);
        while (!open.empty()) {
            const FaceHandle face = open.back();
            open.pop_back();
            for (int i = 0; i < 3; ++i) {
                const FaceHandle neighbour = face->neighbor(i);
                if (neighbour->info().component != kUnlabelled) continue;
                neighbour->info().component = next;
                open.push_back(neighbour);
            }
        }
        ++next;
    }
}

bool IsRim(FaceHandle face, int i) {
    return face->info().component != kOutside && face->neighbor(i)->info().component == kOutside;
}

/// The rim edge that follows (face, i): turns about that edge's end through triangles that belong.
void StepAlongRim(FaceHandle& face, int& i) {
    const Triangulation::Vertex_handle pivot = face->vertex(Triangulation::cw(i));
    i = Triangulation::ccw(i);
    while (!IsRim(face, i)) {
        face = face->neighbor(i);
        i = Triangulation::cw(face->index(pivot));
    }
}

double SignedArea(const std::vector<Position>& positions, const std::vector<std::uint32_t>& ranks) {
    const Position& origin = positions[ranks.front()];
    double twice = 0;
    for (std::size_t k = 1; k + 1 < ranks.size(); ++k) {
        const Position& p = positions[ranks[k]];
        const Position& q = positions[ranks[k + 1]];
        twice += (p.x - origin.x) * (q.y - origin.y) - (p.y - origin.y) * (q.x - origin.x);
    }
    return twice / 2;
}

/// Walks every rim once. A walk that meets a vertex again has closed a ring there: rings that touch
/// in a vertex come out apart, and each is simple.
class RimTracer {
public:
    explicit RimTracer(const Sites& sites)
        : sites_(sites), placeInWalk_(sites.positions.size(), kNotInWalk) {}

    std::vector<Loop> Trace(const Triangulation& triangulation) {
        for (const FaceHandle face : triangulation.finite_face_handles()) {
            for (int i = 0; i < 3; ++i) {
                if (IsRim(face, i) && !face->info().traced[static_cast<std::size_t>(i)]) {
                    Walk(face, i);
                }
            }
        }
        return std::move(loops_);
    }

private:
    static constexpr std::int32_t kNotInWalk = -1;

    void Walk(FaceHandle face, int i) {
        const std::int32_t component = face->info().component;
        while (!face->info().traced[static_cast<std::size_t>(i)]) {
            face->info().traced[static_cast<std::size_t>(i)] = true;
            Visit(face->vertex(Triangulation::ccw(i))->info(), component);
            StepAlongRim(face, i);
        }
        Close(0, component);
    }

    void Visit(std::uint32_t rank, std::int32_t component) {
        if (placeInWalk_[rank] != kNotInWalk) {
            Close(static_cast<std::size_t>(placeInWalk_[rank]), component);
        }
        placeInWalk_[rank] = static_cast<std::int32_t>(walk_.size());
        walk_.push_back(rank);
    }

    void Close(std::size_t from, std::int32_t component) {
        Loop loop;
        loop.component = component;
        loop.ranks.assign(walk_.begin() + static_cast<std::ptrdiff_t>(from), walk_.end());
        walk_.resize(from);
        for (const std::uint32_t rank : loop.ranks) placeInWalk_[rank] = kNotInWalk;
        std::rotate(loop.ranks.begin(), std::min_element(loop.ranks.begin(), loop.ranks.end()),
                    loop.ranks.end());
        loop.area = SignedArea(sites_.positions, loop.ranks);
        loops_.push_back(std::move(loop));
    }

    const Sites& sites_;
    std::vector<std::int32_t> placeInWalk_;  // by rank
    std::vector<std::uint32_t> walk_;
    std::vector<Loop> loops_;
};

PlaneRing ToRing(const Sites& sites, const Loop& loop) {
    PlaneRing ring;
    const std::size_t size = loop.ranks.size();
    for (std::size_t k = 0; k < size; ++k) {
        const std::uint32_t before = loop.ranks[(k + size - 1) % size];
        const std::uint32_t after = loop.ranks[(k + 1) % size];
        const std::uint32_t rank = loop.ranks[k];
        if (CGAL::collinear(ToKernel(sites.positions[before]), ToKernel(sites.positions[rank]),
                            ToKernel(sites.positions[after]))) {
            continue;
        }
        ring.points.push_back(sites.positions[rank]);
        ring.indices.push_back(sites.sources[rank]);
    }
    return ring;
}

PlaneOutline Assemble(const Sites& sites, std::vector<Loop> loops, double radius) {
    std::sort(loops.begin(), loops.end(), [](const Loop& p, const Loop& q) {
        const double areaP = std::abs(p.area);
        const double areaQ = std::abs(q.area);
        return areaP > areaQ || (areaP == areaQ && p.ranks.front() < q.ranks.front());
    });
    PlaneOutline outline;
    outline.radius = radius;
    constexpr std::size_t kNoRegion = SIZE_MAX;
    std::vector<std::size_t> regionOf(loops.size(), kNoRegion);  // every component has a rim
    for (const Loop& loop : loops) {
        if (loop.area <= 0) continue;
        if (loop.area < radius * radius && !outline.regions.empty()) break;  // BEHAVIOUR F7
        regionOf[static_cast<std::size_t>(loop.component)] = outline.regions.size();
        outline.regions.push_back({ToRing(sites, loop), {}});
        outline.area += loop.area;
    }
    for (const Loop& loop : loops) {
        if (loop.area > 0 || -loop.area < radius * radius) continue;
        const std::size_t region = regionOf[static_cast<std::size_t>(loop.component)];
        if (region == kNoRegion) continue;
        outline.regions[region].holes.push_back(ToRing(sites, loop));
        outline.area += loop.area;
    }
    return outline;
}

}  // namespace

PlaneOutline BuildOutline(const std::vector<SimplePoint2DT<double>>& positions,
                          const OutlineOptions& options) {
    Sites sites = DistinctSites(positions);
    if (sites.positions.size() > options.maxPoints) Thin(sites, options.maxPoints);
    Triangulation triangulation;
    if (!Triangulate(sites, triangulation)) return {};
    const double radius = options.radius > 0 ? options.radius : DeriveRadius(sites, triangulation);
    LabelComponents(sites, radius, triangulation);
    return Assemble(sites, RimTracer(sites).Trace(triangulation), radius);
}

}  // namespace orvix::detail
