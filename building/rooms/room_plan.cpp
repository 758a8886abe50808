// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/rooms/room_plan.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "building/plan_length.h"
#include "building/rooms/plan_parts.h"

namespace orvix::building {
namespace {

constexpr double kNear = 0.16;          // of a rim from its line
constexpr double kBeyond = 0.35;        // a line's ends
constexpr double kLeastSupport = 0.15;  // metres of rim
constexpr double kLeastFree = 0.4;      // metres of rim without a line
constexpr double kSameLine = 0.012;
constexpr double kParallel = 0.9998;

/// A side of a cell between the room and what is none of it.
struct RimEdge {
    PlanPoint middle;
    PlanPoint out;
};

std::vector<RimEdge> RimOf(const RoomCells& cells, std::int32_t room) {
    std::vector<RimEdge> rim;
    const PlanGrid& grid = cells.grid;
    cells.ForEachCell(room, [&](std::int64_t i, std::int64_t j) {
        for (const auto& [di, dj] :
             {std::pair{-1, 0}, std::pair{1, 0}, std::pair{0, -1}, std::pair{0, 1}}) {
            const std::int64_t ni = i + di, nj = j + dj;
            const bool inside = ni >= 0 && nj >= 0 && ni < grid.columns && nj < grid.rows &&
                                cells.rooms[grid.At(ni, nj)] == room;
            if (inside) continue;
            const PlanPoint middle = grid.Middle(i, j);
            rim.push_back({{middle.x + di * grid.cell / 2, middle.y + dj * grid.cell / 2},
                           {static_cast<double>(di), static_cast<double>(dj)}});
        }
    });
    return rim;
}

struct PlanBox {
    PlanPoint low, high;
};

/// Lines near a rim, and what of the rim has none.
struct Support {
    std::vector<double> metres;  // of each line
    std::vector<RimEdge> rest;
};

Support SupportOf(const std::vector<RimEdge>& rim, const std::vector<BoundLine>& lines,
                  double cell) {
    Support support{std::vector<double>(lines.size()), {}};
    for (const RimEdge& edge : rim) {
        double best = kNear;
        std::size_t nearest = lines.size();
        for (std::size_t k = 0; k < lines.size(); ++k) {
            const BoundLine& line = lines[k];
            // The room lies before the line.
            if (line.normal.x * edge.out.x + line.normal.y * edge.out.y > -0.6) continue;
            const double away = std::abs(line.Before(edge.middle)), along = line.Along(edge.middle);
            if (away >= best || along < line.begin - kBeyond || along > line.end + kBeyond)
                continue;
            best = away;
            nearest = k;
        }
        if (nearest < lines.size())
            support.metres[nearest] += cell;
        else
            support.rest.push_back(edge);
    }
    return support;
}

// The direction of the line with the most support; of level and upright where there is none.
PlanPoint MainNormal(const std::vector<BoundLine>& lines, const std::vector<double>& metres) {
    const auto most = std::max_element(metres.begin(), metres.end());
    if (most == metres.end() || *most == 0) return {1, 0};
    return lines[static_cast<std::size_t>(most - metres.begin())].normal;
}

// Lines through what of the rim has none: places along a normal at which much of it lies.
void AddFreeLines(const std::vector<RimEdge>& rest, const PlanPoint& main, double cell,
                  std::vector<BoundLine>& kept) {
    for (const PlanPoint& normal : {main, PlanPoint{-main.x, -main.y}, PlanPoint{-main.y, main.x},
                                    PlanPoint{main.y, -main.x}}) {
        std::map<std::int64_t, std::pair<double, double>> bins;  // metres of rim, and their sum
        for (const RimEdge& edge : rest) {
            if (normal.x * edge.out.x + normal.y * edge.out.y > -0.6) continue;
            const double at = edge.middle.x * normal.x + edge.middle.y * normal.y;
            auto& bin = bins[static_cast<std::int64_t>(std::floor(at / (2 * cell)))];
            bin.first += cell;
            bin.second += at * cell;
        }
        for (auto bin = bins.begin(); bin != bins.end(); ++bin) {
            double metres = bin->second.first, sum = bin->second.second;
            const auto next = std::next(bin);
            if (next != bins.end() && next->first == bin->first + 1) {
                metres += next->second.first;
                sum += next->second.second;
            }
            if (metres < kLeastFree) continue;
            const bool near = std::any_of(kept.begin(), kept.end(), [&](const BoundLine& line) {
                return line.normal.x * normal.x + line.normal.y * normal.y > kParallel &&
                       std::abs(line.offset - sum / metres) < cell;
            });
            if (near) continue;
            kept.push_back({normal, sum / metres, 0, 0, std::nullopt});
            if (next != bins.end() && next->first == bin->first + 1) bin = next;
        }
    }
}

std::vector<BoundLine> LinesAround(const std::vector<RimEdge>& rim,
                                   const std::vector<BoundLine>& lines, double cell) {
    const Support support = SupportOf(rim, lines, cell);
    std::vector<std::size_t> order(lines.size());
    for (std::size_t k = 0; k < order.size(); ++k) order[k] = k;
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return support.metres[a] > support.metres[b];
    });
    std::vector<BoundLine> kept;
    for (const std::size_t k : order) {
        if (support.metres[k] < kLeastSupport) break;
        const BoundLine& line = lines[k];
        const PlanPoint middle{
            line.normal.x * line.offset - line.normal.y * (line.begin + line.end) / 2,
            line.normal.y * line.offset + line.normal.x * (line.begin + line.end) / 2};
        const bool same = std::any_of(kept.begin(), kept.end(), [&](const BoundLine& other) {
            return line.normal.x * other.normal.x + line.normal.y * other.normal.y > kParallel &&
                   std::abs(other.Before(middle)) < kSameLine;
        });
        if (!same) kept.push_back(line);
    }
    AddFreeLines(support.rest, MainNormal(lines, support.metres), cell, kept);
    return kept;
}

/// How many of a part's cells are the room's, and how many another's.
struct Votes {
    std::size_t own = 0;
    std::size_t others = 0;
};

std::vector<bool> SidesOf(const PlanPoint& p, const std::vector<BoundLine>& lines) {
    std::vector<bool> sides(lines.size());
    for (std::size_t k = 0; k < lines.size(); ++k) sides[k] = lines[k].Before(p) > 0;
    return sides;
}

std::map<std::vector<bool>, Votes> VotesOf(const RoomCells& cells, std::int32_t room,
                                           const PlanGrid& grid, const PlanPoint& low,
                                           const PlanPoint& high,
                                           const std::vector<BoundLine>& lines) {
    std::map<std::vector<bool>, Votes> votes;
    for (std::int64_t j = grid.Row(low.y); j <= grid.Row(high.y); ++j)
        for (std::int64_t i = grid.Column(low.x); i <= grid.Column(high.x); ++i) {
            const std::size_t at = grid.At(i, j);
            const bool own = cells.rooms[at] == room;
            if (!own && cells.rooms[at] < 0 && cells.kinds[at] == RoomCells::kUnknown) continue;
            Votes& vote = votes[SidesOf(grid.Middle(i, j), lines)];
            ++(own ? vote.own : vote.others);
        }
    return votes;
}

double OpenLength(const PlanRegion& region, const std::vector<BoundLine>& lines) {
    double open = 0;
    const auto add = [&](const PlanRing& ring) {
        for (std::size_t k = 0; k < ring.size(); ++k) {
            const PlanPoint &a = ring[k], &b = ring[k + 1 == ring.size() ? 0 : k + 1];
            const PlanPoint middle{(a.x + b.x) / 2, (a.y + b.y) / 2};
            const bool wall = std::any_of(lines.begin(), lines.end(), [&](const BoundLine& line) {
                const double along = line.Along(middle);
                return line.wall && std::abs(line.Before(middle)) < 0.02 &&
                       along > line.begin - kBeyond && along < line.end + kBeyond;
            });
            if (!wall) open += PlanLength(b.x - a.x, b.y - a.y);
        }
    };
    add(region.outer);
    for (const PlanRing& hole : region.holes) add(hole);
    return open;
}

// A slab's edge is low, and its direction unsure: that of a wall within 3 degrees of it is better.
BoundLine Straightened(const BoundLine& edge, const std::vector<WallPiece>& walls) {
    constexpr double kSure = 0.05234;  // sine of 3 degrees
    const double along = (edge.begin + edge.end) / 2;
    const PlanPoint middle{edge.normal.x * edge.offset - edge.normal.y * along,
                           edge.normal.y * edge.offset + edge.normal.x * along};
    for (const WallPiece& wall : walls)
        for (const PlanPoint& n : {wall.face.normal, wall.face.Way()})
            for (const double side : {1.0, -1.0}) {
                const PlanPoint normal{n.x * side, n.y * side};
                if (normal.x * edge.normal.x + normal.y * edge.normal.y < 0) continue;
                if (std::abs(normal.x * edge.normal.y - normal.y * edge.normal.x) > kSure) continue;
                BoundLine straight{normal, normal.x * middle.x + normal.y * middle.y, 0, 0,
                                   std::nullopt};
                const double there = straight.Along(middle), half = (edge.end - edge.begin) / 2;
                straight.begin = there - half;
                straight.end = there + half;
                return straight;
            }
    return edge;
}

// Where no line bounds a side, pieces run on to the box that was drawn around the rim: there they end
// with the rim.
void EndWithRim(const PlanBox& around, const PlanBox& rim, std::vector<PlanRing>& pieces) {
    const struct {
        PlanPoint normal;
        double around, rim;
    } sides[] = {{{1, 0}, around.low.x, rim.low.x},
                 {{-1, 0}, -around.high.x, -rim.high.x},
                 {{0, 1}, around.low.y, rim.low.y},
                 {{0, -1}, -around.high.y, -rim.high.y}};
    for (const auto& side : sides) {
        const auto before = [&](const PlanPoint& p, double offset) {
            return side.normal.x * p.x + side.normal.y * p.y - offset;
        };
        const bool reached = std::any_of(pieces.begin(), pieces.end(), [&](const PlanRing& piece) {
            return std::any_of(piece.begin(), piece.end(),
                               [&](const PlanPoint& p) { return before(p, side.around) <= 0; });
        });
        if (!reached) continue;
        CutParts(pieces, side.normal, side.rim);
        std::erase_if(pieces,
                      [&](const PlanRing& piece) { return before(MiddleOf(piece), side.rim) < 0; });
    }
}

}  // namespace

std::vector<BoundLine> BoundLinesOf(const std::vector<WallPiece>& walls,
                                    const std::vector<OpenBound>& bounds) {
    std::vector<BoundLine> lines;
    for (std::size_t i = 0; i < walls.size(); ++i) {
        const WallPiece& wall = walls[i];
        lines.push_back({wall.face.normal, wall.face.offset, wall.run.begin, wall.run.end, i});
        if (!wall.run.other && !wall.face.either) continue;
        const PlanPoint back{-wall.face.normal.x, -wall.face.normal.y};
        lines.push_back(
            {back, wall.run.thickness - wall.face.offset, -wall.run.end, -wall.run.begin, i});
    }
    for (const OpenBound& bound : bounds) {
        const double length = PlanLength(bound.to.x - bound.from.x, bound.to.y - bound.from.y);
        const PlanPoint way{(bound.to.x - bound.from.x) / length,
                            (bound.to.y - bound.from.y) / length};
        for (const double side : {1.0, -1.0}) {
            const PlanPoint normal{-way.y * side, way.x * side};
            const double offset =
                normal.x * bound.from.x + normal.y * bound.from.y + bound.thickness / 2;
            BoundLine line{normal, offset, 0, 0, std::nullopt};
            line.begin = std::min(line.Along(bound.from), line.Along(bound.to));
            line.end = std::max(line.Along(bound.from), line.Along(bound.to));
            lines.push_back(line);
        }
    }
    return lines;
}

void AddSlabEdges(const std::vector<FaceLine>& faces, double ceiling, double floor,
                  const std::vector<WallPiece>& walls, std::vector<BoundLine>& lines) {
    constexpr double kThickestSlab = 2;
    constexpr double kBeyondSlab = 0.05;
    if (floor - ceiling > kThickestSlab) return;
    for (const FaceLine& face : faces) {
        const double middle = (face.bottom + face.top) / 2;
        if (middle < ceiling - kBeyondSlab || middle > floor + kBeyondSlab) continue;
        if (face.top - face.bottom > floor - ceiling + 0.3) continue;
        const BoundLine edge =
            Straightened({face.normal, face.offset, face.begin, face.end, std::nullopt}, walls);
        lines.push_back(edge);
        lines.push_back(
            {{-edge.normal.x, -edge.normal.y}, -edge.offset, -edge.end, -edge.begin, std::nullopt});
    }
}

std::optional<RoomPlan> DrawRoom(const RoomCells& cells, std::int32_t room,
                                 const std::vector<BoundLine>& lines) {
    const std::vector<RimEdge> rim = RimOf(cells, room);
    if (rim.empty()) return std::nullopt;
    PlanPoint low = rim[0].middle, high = low;
    for (const RimEdge& edge : rim) {
        low = {std::min(low.x, edge.middle.x), std::min(low.y, edge.middle.y)};
        high = {std::max(high.x, edge.middle.x), std::max(high.y, edge.middle.y)};
    }
    constexpr double kAround = 0.3;
    const PlanBox box{low, high};
    low = {low.x - kAround, low.y - kAround};
    high = {high.x + kAround, high.y + kAround};
    RoomPlan plan;
    plan.lines = LinesAround(rim, lines, cells.grid.cell);
    const auto votes = VotesOf(cells, room, cells.grid, low, high, plan.lines);
    std::vector<PlanRing> parts{{low, {high.x, low.y}, high, {low.x, high.y}}};
    for (const BoundLine& line : plan.lines) CutParts(parts, line.normal, line.offset);
    for (PlanRing& part : parts) {
        const auto vote = votes.find(SidesOf(MiddleOf(part), plan.lines));
        if (vote != votes.end() && vote->second.own > vote->second.others)
            plan.pieces.push_back(std::move(part));
    }
    EndWithRim({low, high}, box, plan.pieces);
    auto region = JoinParts(plan.pieces);
    if (!region) return std::nullopt;
    plan.region = std::move(*region);
    plan.open = OpenLength(plan.region, plan.lines);
    return plan;
}

}  // namespace orvix::building
