// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/scenes/sample_building.h"

#include <cmath>
#include <utility>

namespace orvix::test {

namespace {

using building::BoundKind, building::Building, building::Evidence, building::Measure,
    building::Opening, building::OpeningKind, building::OpeningState, building::PlanPoint,
    building::PlanRegion, building::PlanRing, building::RoofSlope, building::Room,
    building::RoomFace, building::Slab, building::Wall;
using Place = SimplePointT<double>;
using Places = std::vector<Place>;

constexpr double kOuter = 0.3, kInner = 0.12;
constexpr double kCeiling = 2.5, kUpperFloor = 2.8;
constexpr double kEaves = 3.8, kRidge = 6.8;      // of the roof's inside, over y = 0 and y = 3
const double kRoofHeight = 0.2 * std::sqrt(2.0);  // of the roof, measured upright

Measure About(double value, double half) {
    return {value, value - half, value + half};
}

Evidence EvidenceOf(std::uint32_t number, std::uint32_t inferred = 0) {
    return {.seen = 0.75,
            .hidden = 0.125,
            .points = 10'000 + number,
            .rms = 0.0015,
            .tolerance = 0.004,
            .stations = {1, 3},
            .planes = {number, number + 100},
            .inferred = inferred};
}

Wall WallOf(std::size_t storey, PlanPoint from, PlanPoint to, double thickness, double top) {
    Wall wall;
    wall.storey = storey;
    wall.axis = {from, to};
    wall.thickness = About(thickness, 0.002);
    wall.base = storey == 0 ? 0 : kUpperFloor;
    wall.top = top;
    const double length = std::hypot(to.x - from.x, to.y - from.y);
    wall.profile = {{0, wall.base}, {length, wall.base}, {length, top}, {0, top}};
    wall.leftSeen = wall.rightSeen = true;
    wall.external = thickness > 0.2;
    wall.deviation = 0.003;
    return wall;
}

Wall GableOf(double x) {
    Wall wall = WallOf(1, {x, -kOuter}, {x, 6 + kOuter}, kOuter, kRidge);
    const double side = kEaves - kOuter;  // over the outer face
    wall.profile = {{0, kUpperFloor}, {6.6, kUpperFloor}, {6.6, side}, {3.3, kRidge}, {0, side}};
    return wall;
}

void AddWalls(Building& house) {
    Wall east = WallOf(0, {8, 0}, {8, 6}, kOuter, kCeiling);
    east.thickness.reset();
    east.rightSeen = false;
    house.walls = {WallOf(0, {-0.15, -kOuter}, {-0.15, 6 + kOuter}, kOuter, kCeiling),
                   WallOf(0, {0, -0.15}, {8, -0.15}, kOuter, kCeiling),
                   WallOf(0, {8, 6.15}, {0, 6.15}, kOuter, kCeiling),
                   WallOf(0, {5, 0}, {5, 6}, kInner, kCeiling),
                   WallOf(0, {5.06, 1.9}, {8, 4.105}, kInner, kCeiling),
                   east,
                   GableOf(-0.15),
                   WallOf(1, {0, -0.15}, {8, -0.15}, kOuter, kEaves - kOuter),
                   WallOf(1, {8, 6.15}, {0, 6.15}, kOuter, kEaves - kOuter),
                   GableOf(8.15)};
    for (std::size_t i = 0; i < house.walls.size(); ++i)
        house.walls[i].evidence = EvidenceOf(static_cast<std::uint32_t>(i + 1),
                                             house.walls[i].thickness ? 0U : building::kOtherSide);
}

Opening OpeningOf(OpeningKind kind, OpeningState state, std::size_t wall, double along,
                  double bottom, double width, double height) {
    Opening opening;
    opening.kind = kind;
    opening.state = state;
    opening.wall = wall;
    opening.along = along;
    opening.bottom = bottom;
    opening.width = About(width, 0.01);
    opening.height = About(height, 0.02);
    opening.free = state == OpeningState::Closed ? 0 : 0.9;
    opening.hidden = 0.0625;
    opening.unknown = 1 - opening.free - opening.hidden;
    return opening;
}

void AddOpenings(Building& house) {
    using enum OpeningKind;
    house.openings = {OpeningOf(Window, OpeningState::Unknown, 0, 3.3, 0.9, 1.5, 1.2),
                      OpeningOf(Door, OpeningState::Free, 1, 2, 0, 1, 2.1),
                      OpeningOf(Window, OpeningState::Unknown, 1, 6.5, 0.8, 1.2, 1.3),
                      OpeningOf(Door, OpeningState::Open, 3, 1, 0, 0.9, 2),
                      OpeningOf(Door, OpeningState::Closed, 3, 5, 0, 0.9, 2),
                      OpeningOf(Hole, OpeningState::Free, 4, 1.5, 1, 0.6, 0.5),
                      OpeningOf(Window, OpeningState::Unknown, 5, 1.5, 0.9, 1, 1.2),
                      OpeningOf(Window, OpeningState::Unknown, 6, 3.3, 3.8, 1.2, 1.2)};
    using Sides = std::array<std::optional<std::size_t>, 2>;
    const Sides rooms[] = {
        {std::nullopt, 0}, {0, std::nullopt}, {1, std::nullopt}, {0, 1}, {0, 2}, {2, 1},
        {1, std::nullopt}, {std::nullopt, 3}};
    for (std::size_t i = 0; i < house.openings.size(); ++i) {
        house.openings[i].rooms = rooms[i];
        house.openings[i].evidence =
            EvidenceOf(static_cast<std::uint32_t>(20 + i), i == 5 ? 0U : building::kKindBySize);
    }
}

Places Raised(const PlanRing& ring, double z) {
    Places places;
    for (const PlanPoint& p : ring) places.push_back({p.x, p.y, z});
    return places;
}

Places Backwards(const Places& ring) {
    return {ring.rbegin(), ring.rend()};
}

// Upright faces over a ring that has the room to its left.
void AddUpright(Room& room, const PlanRing& ring,
                const std::vector<std::optional<std::size_t>>& walls) {
    for (std::size_t i = 0; i < ring.size(); ++i) {
        const PlanPoint &a = ring[i], &b = ring[(i + 1) % ring.size()];
        room.faces.push_back({BoundKind::Wall,
                              {{b.x, b.y, room.floor},
                               {a.x, a.y, room.floor},
                               {a.x, a.y, room.ceiling},
                               {b.x, b.y, room.ceiling}},
                              {},
                              walls[i]});
    }
}

Room PrismOf(const char* name, const PlanRegion& plan, double area,
             const std::vector<std::optional<std::size_t>>& walls) {
    Room room;
    room.name = name;
    room.plan = plan;
    room.ceiling = kCeiling;
    room.area = About(area, 0.02);
    room.height = About(kCeiling, 0.002);
    room.volume = About(area * kCeiling, 0.1);
    RoomFace floor{BoundKind::Floor, Raised(plan.outer, 0), {}, {}};
    RoomFace ceiling{BoundKind::Ceiling, Backwards(Raised(plan.outer, kCeiling)), {}, {}};
    for (const PlanRing& hole : plan.holes) {
        floor.holes.push_back(Raised(hole, 0));
        ceiling.holes.push_back(Backwards(Raised(hole, kCeiling)));
    }
    room.faces = {floor, ceiling};
    AddUpright(room, plan.outer, walls);
    for (const PlanRing& hole : plan.holes)
        AddUpright(room, hole, std::vector<std::optional<std::size_t>>(hole.size()));
    return room;
}

Room AtticOf() {
    Room room;
    room.name = "Room 2.1";
    room.storey = 1;
    room.plan = {{{0, 0}, {8, 0}, {8, 6}, {0, 6}}, {}};
    room.floor = kUpperFloor;
    room.ceiling = kRidge;
    room.area = About(48, 0.03);
    room.height = About(4, 0.002);
    room.volume = About(120, 0.2);
    const double z = kUpperFloor, e = kEaves, r = kRidge;
    using enum BoundKind;
    room.faces = {{Floor, {{0, 0, z}, {8, 0, z}, {8, 6, z}, {0, 6, z}}, {}, {}},
                  {Ceiling, {{0, 0, e}, {0, 3, r}, {8, 3, r}, {8, 0, e}}, {}, {}},
                  {Ceiling, {{0, 6, e}, {8, 6, e}, {8, 3, r}, {0, 3, r}}, {}, {}},
                  {Wall, {{0, 0, z}, {0, 6, z}, {0, 6, e}, {0, 3, r}, {0, 0, e}}, {}, 6},
                  {Wall, {{8, 0, z}, {0, 0, z}, {0, 0, e}, {8, 0, e}}, {}, 7},
                  {Wall, {{0, 6, z}, {8, 6, z}, {8, 6, e}, {0, 6, e}}, {}, 8},
                  {Wall, {{8, 6, z}, {8, 0, z}, {8, 0, e}, {8, 3, r}, {8, 6, e}}, {}, 9}};
    return room;
}

void AddRooms(Building& house) {
    const PlanRing chimney{{2, 2}, {2, 2.5}, {2.5, 2.5}, {2.5, 2}};
    house.rooms = {PrismOf("Room 1.1", {{{0, 0}, {4.94, 0}, {4.94, 6}, {0, 6}}, {chimney}}, 29.39,
                           {1, 3, 2, 0}),
                   PrismOf("Room 1.2", {{{5.06, 0}, {8, 0}, {8, 4.03}, {5.06, 1.825}}, {}}, 8.60685,
                           {1, 5, 4, 3}),
                   PrismOf("Room 1.3", {{{5.06, 1.975}, {8, 4.18}, {8, 6}, {5.06, 6}}, {}}, 8.59215,
                           {4, 5, 2, 3}),
                   AtticOf()};
    for (std::size_t i = 0; i < house.rooms.size(); ++i)
        house.rooms[i].evidence = EvidenceOf(static_cast<std::uint32_t>(40 + i));
}

void AddSlabs(Building& house) {
    Slab ground;
    for (const Room& room : house.rooms)
        if (room.storey == 0) ground.regions.push_back(room.plan);
    ground.top = About(0, 0.001);
    ground.evidence = EvidenceOf(50, building::kOtherSide);
    Slab between;
    between.storey = 1;
    between.regions = {{{{-0.3, -0.3}, {8.3, -0.3}, {8.3, 6.3}, {-0.3, 6.3}},
                        {{{6, 4.5}, {6, 5.5}, {7.5, 5.5}, {7.5, 4.5}}}}};
    between.top = About(kUpperFloor, 0.001);
    between.bottom = About(kCeiling, 0.001);
    between.thickness = About(kUpperFloor - kCeiling, 0.002);
    between.evidence = EvidenceOf(51);
    house.slabs = {ground, between};
}

// South: z = y + 3.8 inside, and the roof's height over it. North: z = 9.8 - y, the inside.
void AddRoof(Building& house) {
    const double diagonal = std::sqrt(0.5);
    const double rise = kEaves + kRoofHeight;
    const double y = 3 - kRoofHeight / 2, z = y + rise;
    RoofSlope south;
    south.normal = {0, -diagonal, diagonal};
    south.offset = -rise * diagonal;
    south.outline = {{-0.5, -0.5, rise - 0.5}, {8.5, -0.5, rise - 0.5}, {8.5, y, z}, {-0.5, y, z}};
    south.thickness = About(0.2, 0.003);
    south.upperSeen = true;
    south.area = 9 * (y + 0.5) / diagonal;
    south.evidence = EvidenceOf(60);
    RoofSlope north;
    north.normal = {0, diagonal, diagonal};
    north.offset = -9.8 * diagonal;
    north.outline = {{-0.5, y, z}, {8.5, y, z}, {8.5, 6.5, 3.3}, {-0.5, 6.5, 3.3}};
    north.area = 9 * (6.5 - y) / diagonal;
    north.evidence = EvidenceOf(61, building::kOtherSide);
    house.slopes = {south, north};
    house.edges = {{building::RoofEdgeKind::Ridge, {0, 1}, {{{-0.5, y, z}, {8.5, y, z}}}}};
}

}  // namespace

Building SampleBuilding() {
    Building house;
    house.storeys = {{"Storey 1", 0, kCeiling}, {"Storey 2", kUpperFloor, kRidge}};
    AddWalls(house);
    AddOpenings(house);
    AddRooms(house);
    AddSlabs(house);
    AddRoof(house);
    house.stationsKnown = true;
    house.remarks = {"The outside of wall 6 was not seen."};
    return house;
}

}  // namespace orvix::test
