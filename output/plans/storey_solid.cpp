// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/plans/storey_solid.h"

#include <algorithm>
#include <cmath>

#include "building/element_meshes.h"
#include "building/wall_frame.h"
#include "orvix/surfaces/ring_triangles.h"
#include "output/plans/plan_regions.h"
#include "output/plans/storey_walls.h"

namespace orvix::output {

namespace {

using building::Building;
using building::ElementKind;
using building::Opening;
using building::OpeningKind;
using building::OpeningState;
using detail::Vector;
using Triangle = std::array<Vector, 3>;

constexpr double kThinnestSlice = 0.004;  // metres: edges closer than this are one
constexpr double kStep = 0.04, kMostSteps = 60;

Vector At(const PlanPoint& p, double z) {
    return {p.x, p.y, z};
}

class Shapes {
public:
    explicit Shapes(const Building& building) : building_(building) {}

    void AddSlices(std::size_t storey, double top, bool cut);
    void AddFaces(std::size_t storey, double top);
    void AddLeavesAndPanes(std::size_t storey, double top);
    void AddFloors(std::size_t storey);
    void AddMeshes();
    std::vector<ShapeTriangle> Take() { return std::move(triangles_); }

private:
    void Add(const Triangle& corners, ShapeKind kind, std::size_t room = 0) {
        triangles_.push_back({corners, kind, room});
    }
    void AddBelow(Triangle corners, double top, ShapeKind kind);
    void AddQuad(const Vector& a, const Vector& b, const Vector& c, const Vector& d, double top,
                 ShapeKind kind) {
        AddBelow({a, b, c}, top, kind);
        AddBelow({a, c, d}, top, kind);
    }
    void AddCover(const std::vector<PlanRegion>& regions, double z, ShapeKind kind,
                  std::size_t room = 0);
    [[nodiscard]] std::vector<double> LevelsOf(std::size_t storey, double top) const;
    [[nodiscard]] std::vector<double> Stepped(std::size_t storey,
                                              const std::vector<double>& levels) const;
    [[nodiscard]] bool IsUpright(std::size_t storey, double low, double high) const;

    const Building& building_;
    std::vector<ShapeTriangle> triangles_;
};

// What lies of a triangle below a height.
void Shapes::AddBelow(Triangle corners, double top, ShapeKind kind) {
    std::vector<Vector> ring;
    for (std::size_t k = 0; k < 3; ++k) {
        const Vector &a = corners[k], &b = corners[(k + 1) % 3];
        if (a.z <= top) ring.push_back(a);
        if ((a.z < top && b.z > top) || (a.z > top && b.z < top)) {
            const double share = (top - a.z) / (b.z - a.z);
            ring.push_back({a.x + (b.x - a.x) * share, a.y + (b.y - a.y) * share, top});
        }
    }
    for (std::size_t k = 2; k < ring.size(); ++k) Add({ring[0], ring[k - 1], ring[k]}, kind);
}

void Shapes::AddCover(const std::vector<PlanRegion>& regions, double z, ShapeKind kind,
                      std::size_t room) {
    for (const PlanRegion& region : regions) {
        std::vector<PlanRing> rings{region.outer};
        rings.insert(rings.end(), region.holes.begin(), region.holes.end());
        const auto cover =
            detail::TrianglesOf(rings, [&](const PlanPoint& p) { return Contains({region}, p); });
        for (const auto& t : cover.triangles)
            Add({At(cover.points[t[0]], z), At(cover.points[t[1]], z), At(cover.points[t[2]], z)},
                kind, room);
    }
}

// Heights at which what a plan cuts of this storey's walls may change.
std::vector<double> Shapes::LevelsOf(std::size_t storey, double top) const {
    std::vector<double> levels{top};
    for (const building::Wall& wall : building_.walls) {
        if (wall.storey != storey) continue;
        levels.push_back(wall.base);
        levels.push_back(wall.top);
        for (const PlanPoint& p : wall.profile) levels.push_back(p.y);
    }
    for (const Opening& opening : building_.openings)
        if (building_.walls[opening.wall].storey == storey)
            for (const double z : {opening.bottom, opening.bottom + opening.height.value})
                levels.push_back(z);
    std::sort(levels.begin(), levels.end());
    std::vector<double> distinct;
    for (const double z : levels)
        if (z <= top && (distinct.empty() || z - distinct.back() > kThinnestSlice))
            distinct.push_back(z);
    if (!distinct.empty()) distinct.back() = std::max(distinct.back(), top);  // a gap is no slice
    return distinct;
}

bool Shapes::IsUpright(std::size_t storey, double low, double high) const {
    return std::none_of(building_.walls.begin(), building_.walls.end(), [&](const auto& wall) {
        if (wall.storey != storey) return false;
        const auto a = PartsAt(wall, low + kThinnestSlice / 4);
        const auto b = PartsAt(wall, high - kThinnestSlice / 4);
        return a.size() != b.size() ||
               !std::equal(a.begin(), a.end(), b.begin(), [](const auto& one, const auto& other) {
                   return std::abs(one.first - other.first) + std::abs(one.second - other.second) <
                          0.01;
               });
    });
}

// Where a wall ends under a slope, slices are as thin as steps of a few centimetres.
std::vector<double> Shapes::Stepped(std::size_t storey, const std::vector<double>& levels) const {
    std::vector<double> stepped;
    for (std::size_t i = 0; i < levels.size(); ++i) {
        if (i > 0 && !IsUpright(storey, levels[i - 1], levels[i])) {
            const double steps =
                std::min(std::ceil((levels[i] - levels[i - 1]) / kStep), kMostSteps);
            for (double k = 1; k < steps; ++k)
                stepped.push_back(levels[i - 1] + (levels[i] - levels[i - 1]) * k / steps);
        }
        stepped.push_back(levels[i]);
    }
    return stepped;
}

void Shapes::AddSlices(std::size_t storey, double top, bool cut) {
    std::vector<double> levels = LevelsOf(storey, top);
    if (cut) levels = Stepped(storey, levels);
    std::vector<std::size_t> places;
    std::vector<WallBody> bodies;
    for (std::size_t i = 0; i + 1 < levels.size(); ++i) {
        const double low = levels[i], high = levels[i + 1];
        if (!cut && !IsUpright(storey, low, high)) continue;
        const double middle = (low + high) / 2;
        // Most slices cut the same walls.
        std::vector<std::size_t> here = WallsAt(building_, storey, middle);
        if (here != places) {
            places = std::move(here);
            bodies = JoinWalls(building_, places);
        }
        const std::vector<PlanRegion> slice = CutOf(building_, bodies, middle);
        for (const PlanRegion& region : slice) {
            std::vector<PlanRing> rings{region.outer};
            rings.insert(rings.end(), region.holes.begin(), region.holes.end());
            for (const PlanRing& ring : rings)
                for (std::size_t k = 0; k < ring.size(); ++k) {
                    const PlanPoint &a = ring[k], &b = ring[(k + 1) % ring.size()];
                    AddQuad(At(a, low), At(b, low), At(b, high), At(a, high), high,
                            ShapeKind::Wall);
                }
        }
        const bool last = cut && i + 2 == levels.size() && high >= top - kThinnestSlice;
        AddCover(slice, high, last ? ShapeKind::CutWall : ShapeKind::Wall);
    }
}

// Walls of one face.
void Shapes::AddFaces(std::size_t storey, double top) {
    for (const building::ElementMesh& element : MeshesOf(building_)) {
        if (element.kind != ElementKind::Wall) continue;
        const building::Wall& wall = building_.walls[element.place];
        if (wall.storey != storey || wall.thickness) continue;
        for (const auto& t : element.mesh.triangles)
            AddBelow(
                {element.mesh.points[t[0]], element.mesh.points[t[1]], element.mesh.points[t[2]]},
                top, ShapeKind::Wall);
    }
}

void Shapes::AddLeavesAndPanes(std::size_t storey, double top) {
    for (const Opening& opening : building_.openings) {
        const building::Wall& wall = building_.walls[opening.wall];
        const bool pane = opening.kind == OpeningKind::Window;
        const bool leaf =
            opening.kind == OpeningKind::Door && opening.state == OpeningState::Closed;
        if (wall.storey != storey || !(pane || leaf) || !(LengthOf(wall) > 0)) continue;
        const double low = opening.along - opening.width.value / 2;
        const double high = opening.along + opening.width.value / 2;
        const double over = opening.bottom + opening.height.value;
        AddQuad(PlaceIn(wall, low, 0, opening.bottom), PlaceIn(wall, high, 0, opening.bottom),
                PlaceIn(wall, high, 0, over), PlaceIn(wall, low, 0, over), top,
                pane ? ShapeKind::Window : ShapeKind::Door);
    }
}

void Shapes::AddFloors(std::size_t storey) {
    std::size_t number = 0;
    for (const building::Room& room : building_.rooms)
        if (room.storey == storey) AddCover({room.plan}, room.floor, ShapeKind::Floor, number++);
}

void Shapes::AddMeshes() {
    for (const building::ElementMesh& element : MeshesOf(building_)) {
        ShapeKind kind = ShapeKind::Slab;
        if (element.kind == ElementKind::Wall)
            kind = ShapeKind::Wall;
        else if (element.kind == ElementKind::Slope)
            kind = ShapeKind::Roof;
        else if (element.kind != ElementKind::Slab)
            continue;
        for (const auto& t : element.mesh.triangles)
            Add({element.mesh.points[t[0]], element.mesh.points[t[1]], element.mesh.points[t[2]]},
                kind);
    }
}

}  // namespace

std::vector<ShapeTriangle> StoreyUpTo(const Building& building, std::size_t storey, double height) {
    Shapes shapes(building);
    shapes.AddSlices(storey, height, true);
    shapes.AddFaces(storey, height);
    shapes.AddLeavesAndPanes(storey, height);
    shapes.AddFloors(storey);
    return shapes.Take();
}

std::vector<ShapeTriangle> WholeBuilding(const Building& building) {
    constexpr double kAll = 1e300;
    Shapes shapes(building);
    for (std::size_t storey = 0; storey < building.storeys.size(); ++storey) {
        double top = -kAll;
        for (const building::Wall& wall : building.walls)
            if (wall.storey == storey) top = std::max(top, wall.top);
        shapes.AddSlices(storey, top, false);
        shapes.AddLeavesAndPanes(storey, kAll);
    }
    shapes.AddMeshes();
    return shapes.Take();
}

}  // namespace orvix::output
