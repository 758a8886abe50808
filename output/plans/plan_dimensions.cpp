// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/plans/plan_dimensions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "output/plans/plan_regions.h"

namespace orvix::output {

namespace {

using building::Building;

constexpr double kFirstRow = 8, kRow = 7;  // millimetres of paper, outwards
constexpr double kNumber = 1.8;            // height of capitals
constexpr double kStub = 1.2;              // of a tick, to both sides; numbers stand beyond
constexpr double kSame = 0.01;             // metres: one tick for both
constexpr double kAlongside = 0.02;        // the sine up to which a wall runs along a side
constexpr double kInside = 0.3;            // from a room's bound to where rooms are measured

// A side of the plan: `along` goes to the right or up, `out` away from the plan.
struct Side {
    PlanPoint along;
    PlanPoint out;
    double low = 0;  // of the building, along
    double high = 0;
    double edge = 0;  // of the building, out

    [[nodiscard]] PlanPoint At(double a, double o) const { return along * a + out * o; }
};

using Ticks = std::vector<double>;

Ticks Distinct(Ticks ticks) {
    std::sort(ticks.begin(), ticks.end());
    Ticks distinct;
    for (const double tick : ticks)
        if (distinct.empty() || tick - distinct.back() > kSame) distinct.push_back(tick);
    return distinct;
}

bool Same(const Ticks& a, const Ticks& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](double x, double y) { return std::abs(x - y) <= kSame; });
}

class Dimensions {
public:
    Dimensions(const Building& building, std::size_t storey, const StoreyWalls& walls,
               PlanDrawing& drawing)
        : building_(building), storey_(storey), walls_(walls), drawing_(drawing) {
        for (const auto& regions : {walls.solid, walls.below})
            for (const PlanRegion& region : regions)
                for (const PlanPoint& p : region.outer) outline_.push_back(p);
        for (const WallBody& body : walls.bodies)
            if (!body.measured)
                for (const PlanPoint& p :
                     std::abs(body.left) < std::abs(body.right) ? body.leftFace : body.rightFace)
                    outline_.push_back(p);
        for (const building::Room& room : building.rooms)
            if (room.storey == storey)
                for (const PlanPoint& p : room.plan.outer) outline_.push_back(p);
    }

    void Draw() {
        if (outline_.empty()) return;
        const PlanBounds drawn = drawing_.bounds;
        for (const auto& [along, out] : {std::pair{PlanPoint{1, 0}, PlanPoint{0, -1}},
                                         std::pair{PlanPoint{1, 0}, PlanPoint{0, 1}},
                                         std::pair{PlanPoint{0, 1}, PlanPoint{-1, 0}},
                                         std::pair{PlanPoint{0, 1}, PlanPoint{1, 0}}}) {
            Side side{along, out, 1e300, -1e300, -1e300};
            for (const PlanPoint& p : outline_) {
                side.low = std::min(side.low, Dot(p, along));
                side.high = std::max(side.high, Dot(p, along));
            }
            side.edge = std::max(Dot(drawn.low, out), Dot(drawn.high, out));
            DrawSide(side);
        }
    }

private:
    void DrawSide(const Side& side) {
        if (side.high - side.low <= kSame) return;
        const Ticks whole{side.low, side.high};
        const Ticks rooms = RoomTicks(side), openings = OpeningTicks(side);
        double row = side.edge + drawing_.Paper(kFirstRow);
        const auto draw = [&](const Ticks& ticks) {
            DrawRow(side, ticks, row);
            row += drawing_.Paper(kRow);
        };
        if (openings.size() > 2) draw(openings);
        if (rooms.size() > 2 && !Same(rooms, openings)) draw(rooms);
        draw(whole);
    }
    [[nodiscard]] bool IsHidden(const WallBody& own, const PlanPoint& from,
                                const PlanPoint& to) const;
    [[nodiscard]] Ticks OpeningTicks(const Side& side) const;
    [[nodiscard]] Ticks RoomTicks(const Side& side) const;
    [[nodiscard]] Ticks TicksOn(const Side& side, double at) const;
    void DrawRow(const Side& side, const Ticks& ticks, double row);
    void DrawNumber(const Side& side, double from, double to, double row);

    const Building& building_;
    std::size_t storey_;
    const StoreyWalls& walls_;
    PlanDrawing& drawing_;
    PlanRing outline_;
};

// Whether another wall stands on the way.
bool Dimensions::IsHidden(const WallBody& own, const PlanPoint& from, const PlanPoint& to) const {
    if (!PartsInside(walls_.solid, from, to).empty()) return true;
    return std::any_of(walls_.bodies.begin(), walls_.bodies.end(), [&](const WallBody& body) {
        return !body.measured && body.wall != own.wall &&
               !PartsInside({{body.ring, {}}}, from, to).empty();
    });
}

Ticks Dimensions::OpeningTicks(const Side& side) const {
    Ticks ticks;
    for (const WallBody& body : walls_.bodies) {
        if (std::abs(Dot(body.way, side.out)) > kAlongside) continue;
        const building::Wall& wall = building_.walls[body.wall];
        for (const building::Opening& opening : building_.openings) {
            if (opening.wall != body.wall || opening.bottom > walls_.height ||
                opening.bottom + opening.height.value < walls_.height)
                continue;
            const PlanPoint middle = wall.axis[0] + body.way * opening.along;
            const double face = (body.left - body.right) + 0.02;
            const PlanPoint outside = middle + side.out * face;
            const double way = side.edge + 1 - Dot(outside, side.out);
            if (IsHidden(body, outside, outside + side.out * way)) continue;
            for (const double half : {-0.5, 0.5})
                ticks.push_back(Dot(middle + body.way * (half * opening.width.value), side.along));
        }
    }
    if (ticks.empty()) return ticks;
    ticks.push_back(side.low);
    ticks.push_back(side.high);
    return Distinct(std::move(ticks));
}

// Where a line along the side meets walls.
Ticks Dimensions::TicksOn(const Side& side, double at) const {
    const PlanPoint from = side.At(side.low - 1, at), to = side.At(side.high + 1, at);
    const double length = side.high - side.low + 2;
    Ticks ticks;
    for (const auto& [low, high] : PartsInside(walls_.solid, from, to))
        for (const double share : {low, high}) ticks.push_back(side.low - 1 + share * length);
    for (const WallBody& body : walls_.bodies) {
        if (body.measured) continue;
        const auto& face =
            std::abs(body.left) < std::abs(body.right) ? body.leftFace : body.rightFace;
        const double a = Dot(face[0], side.out) - at, b = Dot(face[1], side.out) - at;
        if ((a > 0) == (b > 0)) continue;
        ticks.push_back(Dot(face[0] + (face[1] - face[0]) * (a / (a - b)), side.along));
    }
    return Distinct(std::move(ticks));
}

Ticks Dimensions::RoomTicks(const Side& side) const {
    std::vector<double> lines;
    for (const building::Room& room : building_.rooms) {
        if (room.storey != storey_) continue;
        double farthest = -1e300;
        for (const PlanPoint& p : room.plan.outer) farthest = std::max(farthest, Dot(p, side.out));
        lines.push_back(farthest - kInside);
    }
    std::sort(lines.rbegin(), lines.rend());
    double best = 0;
    std::size_t most = 0;
    for (const double at : lines) {
        std::size_t crossed = 0;
        for (const building::Room& room : building_.rooms)
            if (room.storey == storey_ &&
                !PartsInside({room.plan}, side.At(side.low - 1, at), side.At(side.high + 1, at))
                     .empty())
                ++crossed;
        if (crossed > most) most = crossed, best = at;
    }
    if (most == 0) return {};
    Ticks ticks = TicksOn(side, best);
    if (ticks.size() < 2) return {};
    return ticks;
}

void Dimensions::DrawRow(const Side& side, const Ticks& ticks, double row) {
    const double stub = drawing_.Paper(kStub), slash = drawing_.Paper(0.9);
    drawing_.Line(PlanLayer::Dimension, side.At(ticks.front(), row), side.At(ticks.back(), row));
    for (const double tick : ticks) {
        const PlanPoint at = side.At(tick, row);
        drawing_.Line(PlanLayer::Dimension, at - side.out * stub, at + side.out * stub);
        drawing_.Line(PlanLayer::Dimension, at - PlanPoint{slash, slash},
                      at + PlanPoint{slash, slash});
    }
    // The widest first: they keep their places.
    std::vector<std::size_t> order(ticks.size() - 1);
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
    std::stable_sort(order.begin(), order.end(), [&ticks](std::size_t a, std::size_t b) {
        return ticks[a + 1] - ticks[a] > ticks[b + 1] - ticks[b] + kSame;
    });
    for (const std::size_t i : order) DrawNumber(side, ticks[i], ticks[i + 1], row);
}

// Above its line, as one reads it who looks from below or from the right.
void Dimensions::DrawNumber(const Side& side, double from, double to, double row) {
    const bool upward = side.along.x == 0;
    const PlanPoint above = upward ? PlanPoint{-1, 0} : PlanPoint{0, 1};
    const double lift = drawing_.Paper(kNumber / 2 + kStub + 0.2);
    PlanText text;
    text.layer = PlanLayer::Dimension;
    text.height = drawing_.Paper(kNumber);
    text.text = fmt::format("{:.2f}", to - from);
    text.upward = upward;
    for (const double way : {1.0, -1.0}) {
        text.at = side.At((from + to) / 2, row) + above * (way * lift);
        if (drawing_.IsFree(text)) return drawing_.Text(std::move(text));
    }
}

}  // namespace

void DrawDimensions(const Building& building, std::size_t storey, const StoreyWalls& walls,
                    PlanDrawing& drawing) {
    Dimensions(building, storey, walls, drawing).Draw();
}

}  // namespace orvix::output
