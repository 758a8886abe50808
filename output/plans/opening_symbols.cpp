// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/plans/opening_symbols.h"

#include <algorithm>
#include <tuple>

#include "output/plans/plan_regions.h"

namespace orvix::output {

namespace {

using building::Building;
using building::Opening;
using building::OpeningKind;
using building::OpeningState;

constexpr double kTwoLeaves = 1.4;
constexpr double kLeaf = 0.04;
constexpr double kPanes = 0.02;  // from the middle of a window's wall to each line
constexpr double kCornerReach = 3;

// An opening on the plan: along its wall from `low` to `high`.
struct Gap {
    const Opening& opening;
    const WallBody& body;
    PlanPoint start;  // of the wall's axis
    double low = 0;
    double high = 0;

    [[nodiscard]] PlanPoint At(double along, double left) const {
        return start + body.way * along + LeftOf(body.way) * left;
    }
};

// What a room has to do with doors, for choosing where they swing.
struct RoomUse {
    bool room = false;
    std::size_t doors = 0;
    double area = 0;
};

RoomUse UseOf(const Building& building, const std::optional<std::size_t>& room) {
    if (!room || *room >= building.rooms.size()) return {};
    RoomUse use{true, 0, building.rooms[*room].area.value};
    for (const Opening& opening : building.openings)
        if (opening.kind == OpeningKind::Door &&
            (opening.rooms[0] == room || opening.rooms[1] == room))
            ++use.doors;
    return use;
}

bool SwingsLeft(const Building& building, const Opening& opening) {
    const RoomUse left = UseOf(building, opening.rooms[0]);
    const RoomUse right = UseOf(building, opening.rooms[1]);
    if (left.room != right.room) return left.room;
    return std::tie(left.doors, left.area) <= std::tie(right.doors, right.area);
}

class Symbols {
public:
    Symbols(const Building& building, const StoreyWalls& walls, PlanDrawing& drawing)
        : building_(building), walls_(walls), drawing_(drawing) {}

    std::vector<PlanBounds> Draw() {
        for (const WallBody& body : walls_.bodies)
            for (const Opening& opening : building_.openings)
                if (opening.wall == body.wall) {
                    const double half = opening.width.value / 2;
                    DrawGap({opening, body, building_.walls[body.wall].axis[0],
                             opening.along - half, opening.along + half});
                }
        return std::move(covered_);
    }

private:
    void DrawGap(const Gap& gap);
    void DrawFaces(const Gap& gap, PlanLayer layer);
    void DrawWindow(const Gap& gap);
    void DrawDoor(const Gap& gap);
    void DrawLeaf(const Gap& gap, double hinge, double tip, bool left);
    [[nodiscard]] double ToCorner(const Gap& gap, double jamb, double toward, bool left) const;

    const Building& building_;
    const StoreyWalls& walls_;
    PlanDrawing& drawing_;
    std::vector<PlanBounds> covered_;
};

void Symbols::DrawGap(const Gap& gap) {
    const Opening& opening = gap.opening;
    const bool cut =
        opening.bottom <= walls_.height && opening.bottom + opening.height.value >= walls_.height;
    if (!cut || opening.kind == OpeningKind::Hole) return DrawFaces(gap, PlanLayer::Above);
    DrawFaces(gap, PlanLayer::Opening);
    if (opening.kind == OpeningKind::Window) DrawWindow(gap);
    if (opening.kind == OpeningKind::Door && opening.state != OpeningState::Free) DrawDoor(gap);
}

void Symbols::DrawFaces(const Gap& gap, PlanLayer layer) {
    for (const double side : {gap.body.left, gap.body.right})
        drawing_.Line(layer, gap.At(gap.low, side), gap.At(gap.high, side));
}

void Symbols::DrawWindow(const Gap& gap) {
    const double middle = (gap.body.left + gap.body.right) / 2;
    const double half = std::min(kPanes, (gap.body.left - gap.body.right) / 4);
    for (const double side : {middle - half, middle + half})
        drawing_.Line(PlanLayer::Glass, gap.At(gap.low, side), gap.At(gap.high, side));
}

// Metres from a jamb along the face to the next wall.
double Symbols::ToCorner(const Gap& gap, double jamb, double toward, bool left) const {
    const double beside = left ? gap.body.left + 0.05 : gap.body.right - 0.05;
    const auto parts = PartsInside(walls_.solid, gap.At(jamb, beside),
                                   gap.At(jamb + toward * kCornerReach, beside));
    return parts.empty() ? kCornerReach : parts.front().first * kCornerReach;
}

void Symbols::DrawDoor(const Gap& gap) {
    const bool left = SwingsLeft(building_, gap.opening);
    if (gap.high - gap.low > kTwoLeaves) {
        const double middle = (gap.low + gap.high) / 2;
        DrawLeaf(gap, gap.low, middle, left);
        DrawLeaf(gap, gap.high, middle, left);
    } else if (ToCorner(gap, gap.low, -1, left) <= ToCorner(gap, gap.high, 1, left)) {
        DrawLeaf(gap, gap.low, gap.high, left);
    } else {
        DrawLeaf(gap, gap.high, gap.low, left);
    }
}

// From the hinge to the leaf's tip where it is closed, in the face on the side that it swings to.
void Symbols::DrawLeaf(const Gap& gap, double hinge, double tip, bool left) {
    const double face = left ? gap.body.left : gap.body.right;
    const double out = left ? 1 : -1, inward = hinge < tip ? 1 : -1;
    const double width = std::abs(tip - hinge);
    const PlanPoint corner = gap.At(hinge, face);
    const PlanPoint open = gap.At(hinge, face + out * width), closed = gap.At(tip, face);
    const auto leaf = [&](const PlanPoint& end, const PlanPoint& beside) {
        const PlanPoint shift = beside * kLeaf;
        drawing_.Path(PlanLayer::Door, {corner, end, end + shift, corner + shift}, true);
    };
    const bool seenOpen = gap.opening.state == OpeningState::Open;
    if (seenOpen) {
        leaf(open, gap.body.way * inward);
    } else {
        drawing_.Line(PlanLayer::SwingGuess, corner, open);
        if (gap.opening.state == OpeningState::Closed) leaf(closed, LeftOf(gap.body.way) * -out);
    }
    drawing_.Arc({seenOpen ? PlanLayer::Swing : PlanLayer::SwingGuess, corner, open,
                  Cross(open - corner, closed - corner) > 0});
    covered_.push_back(BoundsOf(PlanRing{corner, open, closed, open + closed - corner}));
}

}  // namespace

std::vector<PlanBounds> DrawOpenings(const Building& building, const StoreyWalls& walls,
                                     PlanDrawing& drawing) {
    return Symbols(building, walls, drawing).Draw();
}

}  // namespace orvix::output
