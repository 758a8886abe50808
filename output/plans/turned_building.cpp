// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/plans/turned_building.h"

#include <cmath>

namespace orvix::output {

namespace {

constexpr double kSameWay = 0.02;  // the sine of the angle up to which two walls agree

// The direction, or one square to it, within 45 degrees of x.
PlanPoint Upright(PlanPoint way) {
    if (std::abs(way.x) < std::abs(way.y)) way = LeftOf(way);
    return way.x < 0 ? way * -1 : way;
}

}  // namespace

// The mean of those walls that agree with the one that agrees with most metres of wall: walls at other
// angles do not turn it.
PlanPoint MainDirection(const building::Building& building) {
    PlanRing ways;  // as long as their walls
    for (const building::Wall& wall : building.walls)
        ways.push_back(Upright(wall.axis[1] - wall.axis[0]));
    PlanPoint best{1, 0};
    double most = 0;
    for (const PlanPoint& way : ways) {
        const double length = Length(way);
        PlanPoint sum;
        for (const PlanPoint& other : ways) {
            // Beside 45 degrees a wall that agrees may be the next quarter's.
            for (const PlanPoint& turned : {other, LeftOf(other), LeftOf(other) * -1})
                if (std::abs(Cross(way, turned)) <= kSameWay * length * Length(turned) &&
                    Dot(way, turned) > 0)
                    sum = sum + turned;
        }
        if (Length(sum) > most + 1e-9) most = Length(sum), best = sum * (1 / Length(sum));
    }
    return best;
}

building::Building Turned(building::Building building, const PlanPoint& direction) {
    const PlanPoint back{direction.x, -direction.y};
    const auto turn = [&back](auto& p) {
        const PlanPoint turned = TurnedBack({p.x, p.y}, back);
        p.x = turned.x;
        p.y = turned.y;
    };
    const auto turnRing = [&turn](auto& ring) {
        for (auto& p : ring) turn(p);
    };
    const auto turnRegion = [&turnRing](PlanRegion& region) {
        turnRing(region.outer);
        for (PlanRing& hole : region.holes) turnRing(hole);
    };
    for (building::Slab& slab : building.slabs)
        for (PlanRegion& region : slab.regions) turnRegion(region);
    for (building::Wall& wall : building.walls) turnRing(wall.axis);
    for (building::Room& room : building.rooms) {
        turnRegion(room.plan);
        for (building::RoomFace& face : room.faces) {
            turnRing(face.ring);
            for (auto& hole : face.holes) turnRing(hole);
        }
    }
    for (building::RoofSlope& slope : building.slopes) {
        turn(slope.normal);
        turnRing(slope.outline);
    }
    for (building::RoofEdge& edge : building.edges) turnRing(edge.ends);
    return building;
}

}  // namespace orvix::output
