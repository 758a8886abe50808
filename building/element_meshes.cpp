// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/element_meshes.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <utility>

#include "building/building_words.h"
#include "building/room_shell.h"
#include "building/wall_frame.h"
#include "orvix/geometry/polygon_index.h"
#include "orvix/geometry/vector.h"
#include "orvix/surfaces/ring_triangles.h"

namespace orvix::building {

namespace {

using detail::PolygonIndex, detail::RingTriangles, detail::TriangleMesh, detail::TrianglesOf;
using detail::Vector, detail::operator+, detail::operator-, detail::operator*, detail::Cross,
    detail::Dot;
using Lift = std::function<Vector(const PlanPoint&)>;

// Corners that were computed in several ways are the same when they fall on the same step.
constexpr double kStepsPerMetre = 1 << 24;

double Stepped(double value) {
    return std::round(value * kStepsPerMetre) / kStepsPerMetre;
}

PlanRing Stepped(PlanRing ring) {
    for (PlanPoint& p : ring) p = {Stepped(p.x), Stepped(p.y)};
    return ring;
}

PlaneOutline OutlineOf(const std::vector<PlanRegion>& regions) {
    PlaneOutline outline;
    for (const PlanRegion& region : regions) {
        outline.regions.push_back({{region.outer, {}}, {}});
        for (const PlanRing& hole : region.holes)
            outline.regions.back().holes.push_back({hole, {}});
    }
    return outline;
}

PlanRing RectangleOf(const Opening& opening) {
    const double left = Stepped(opening.along - opening.width.value / 2);
    const double right = Stepped(opening.along + opening.width.value / 2);
    const double bottom = Stepped(opening.bottom);
    const double top = Stepped(opening.bottom + opening.height.value);
    return {{left, bottom}, {right, bottom}, {right, top}, {left, top}};
}

bool IsWithin(const PlanRing& rectangle, const PlanPoint& p) {
    return p.x > rectangle[0].x && p.x < rectangle[2].x && p.y > rectangle[0].y &&
           p.y < rectangle[2].y;
}

TriangleMesh SurfaceOf(const RingTriangles& face, const Lift& lift, bool turned) {
    TriangleMesh mesh;
    for (const PlanPoint& p : face.points) mesh.points.push_back(lift(p));
    mesh.triangles = face.triangles;
    if (turned)
        for (auto& triangle : mesh.triangles) std::swap(triangle[1], triangle[2]);
    return mesh;
}

// The solid between two lifts of a face; `front` is the side from which it is counter-clockwise.
// Sides stand on the edges that one triangle alone has, so the solid is closed whatever the face is.
TriangleMesh SolidOf(const RingTriangles& face, const Lift& front, const Lift& back) {
    TriangleMesh mesh = SurfaceOf(face, front, false);
    const auto count = static_cast<std::uint32_t>(mesh.points.size());
    for (const PlanPoint& p : face.points) mesh.points.push_back(back(p));
    std::map<std::pair<std::uint32_t, std::uint32_t>, int> edges;
    for (const auto& t : face.triangles) {
        mesh.triangles.push_back({t[0] + count, t[2] + count, t[1] + count});
        for (std::size_t k = 0; k < 3; ++k) ++edges[{t[k], t[(k + 1) % 3]}];
    }
    for (const auto& [edge, times] : edges) {
        const auto& [a, b] = edge;
        if (edges.contains({b, a})) continue;
        mesh.triangles.push_back({a, a + count, b});
        mesh.triangles.push_back({b, a + count, b + count});
    }
    return mesh;
}

// Corners that no triangle names are dropped.
TriangleMesh Compact(const TriangleMesh& mesh) {
    constexpr std::uint32_t kUnused = ~std::uint32_t{0};
    TriangleMesh compact;
    std::vector<std::uint32_t> places(mesh.points.size(), kUnused);
    for (auto triangle : mesh.triangles) {
        for (std::uint32_t& corner : triangle) {
            if (places[corner] == kUnused) {
                places[corner] = static_cast<std::uint32_t>(compact.points.size());
                compact.points.push_back(mesh.points[corner]);
            }
            corner = places[corner];
        }
        compact.triangles.push_back(triangle);
    }
    return compact;
}

// A piece of a wall's face, as thick as the wall or as flat as what was seen of it.
TriangleMesh MeshIn(const Wall& wall, const RingTriangles& face) {
    const auto beside = [&](double left) {
        return [&wall, left](const PlanPoint& p) { return PlaceIn(wall, p.x, left, p.y); };
    };
    // Along and up are counter-clockwise from the right.
    if (!wall.thickness) return SurfaceOf(face, beside(0), wall.leftSeen);
    const double half = wall.thickness->value / 2;
    return SolidOf(face, beside(-half), beside(half));
}

TriangleMesh MeshOf(const Building& building, std::size_t place) {
    const Wall& wall = building.walls[place];
    std::vector<PlanRing> rings{Stepped(wall.profile)}, rectangles;
    for (const Opening& opening : building.openings)
        if (opening.wall == place) rectangles.push_back(RectangleOf(opening));
    rings.insert(rings.end(), rectangles.begin(), rectangles.end());
    const PolygonIndex profile(rings[0]);
    return MeshIn(wall, TrianglesOf(rings, [&](const PlanPoint& p) {
                      const auto holds = [&](const PlanRing& r) { return IsWithin(r, p); };
                      return profile.Contains(p) &&
                             std::none_of(rectangles.begin(), rectangles.end(), holds);
                  }));
}

TriangleMesh MeshOf(const Wall& wall, const Opening& opening) {
    return MeshIn(wall, TrianglesOf({RectangleOf(opening)}, [](const PlanPoint&) { return true; }));
}

TriangleMesh MeshOf(const Slab& slab) {
    std::vector<PlanRing> rings;
    const PlaneOutline outline = OutlineOf(slab.regions);
    for (const PlanRegion& region : slab.regions) {
        rings.push_back(region.outer);
        rings.insert(rings.end(), region.holes.begin(), region.holes.end());
    }
    const PolygonIndex index(outline);
    const RingTriangles face =
        TrianglesOf(rings, [&](const PlanPoint& p) { return index.Contains(p); });
    const auto at = [](double z) {
        return [z](const PlanPoint& p) { return Vector{p.x, p.y, z}; };
    };
    if (slab.top && slab.bottom) return SolidOf(face, at(slab.top->value), at(slab.bottom->value));
    if (slab.top) return SurfaceOf(face, at(slab.top->value), false);
    if (slab.bottom) return SurfaceOf(face, at(slab.bottom->value), true);
    return {};
}

TriangleMesh MeshOf(const RoofSlope& slope) {
    PlanRing ring;
    for (const Vector& p : slope.outline) ring.push_back({p.x, p.y});
    const PolygonIndex index(ring);
    const RingTriangles face =
        TrianglesOf({ring}, [&](const PlanPoint& p) { return index.Contains(p); });
    const Vector& n = slope.normal;
    if (!(n.z > 0)) return {};
    const auto below = [&](double depth) {
        return [&, depth](const PlanPoint& p) {
            return Vector{p.x, p.y, -(n.x * p.x + n.y * p.y + slope.offset) / n.z} - n * depth;
        };
    };
    if (!slope.thickness) return SurfaceOf(face, below(0), false);
    return SolidOf(face, below(0), below(slope.thickness->value));
}

// The coordinates in which a ring has its largest area, so that rounding turns none of its triangles:
// two of its own three, in the order that keeps the way round.
std::function<PlanPoint(const Vector&)> FlatterOf(const std::vector<Vector>& ring) {
    Vector sum;
    for (std::size_t i = 1; i + 1 < ring.size(); ++i)
        sum = sum + Cross(ring[i] - ring[0], ring[i + 1] - ring[0]);
    const double x = std::abs(sum.x), y = std::abs(sum.y), z = std::abs(sum.z);
    using Pair = std::pair<double Vector::*, double Vector::*>;
    Pair pair{&Vector::x, &Vector::y};
    double sign = sum.z;
    if (x >= y && x >= z) {
        pair = {&Vector::y, &Vector::z};
        sign = sum.x;
    } else if (y >= z) {
        pair = {&Vector::z, &Vector::x};
        sign = sum.y;
    }
    if (sign < 0) std::swap(pair.first, pair.second);
    return [pair](const Vector& p) { return PlanPoint{p.*pair.first, p.*pair.second}; };
}

TriangleMesh MeshOf(const Room& room) {
    const RoomShell shell = ShellOf(room);
    TriangleMesh mesh{shell.corners, {}};
    for (const RoomShell::Face& face : shell.faces) {
        std::vector<std::uint32_t> places;
        std::vector<Vector> outer;
        for (const std::uint32_t corner : face.rings[0]) outer.push_back(shell.corners[corner]);
        const auto flat = FlatterOf(outer);
        std::vector<PlanRing> rings;
        for (const auto& ring : face.rings) {
            rings.emplace_back();
            for (const std::uint32_t corner : ring) {
                places.push_back(corner);
                rings.back().push_back(flat(shell.corners[corner]));
            }
        }
        const PlaneOutline outline = OutlineOf({{rings[0], {rings.begin() + 1, rings.end()}}});
        const PolygonIndex index(outline);
        const RingTriangles flatMesh =
            TrianglesOf(rings, [&](const PlanPoint& p) { return index.Contains(p); });
        // Sides that cross are no face's; where they do, the triangles at the crossing are left out.
        for (const auto& t : flatMesh.triangles)
            if (std::max({t[0], t[1], t[2]}) < places.size())
                mesh.triangles.push_back({places[t[0]], places[t[1]], places[t[2]]});
    }
    return mesh;
}

bool IsClosed(const TriangleMesh& mesh) {
    std::map<std::pair<std::uint32_t, std::uint32_t>, int> balance;
    for (const auto& t : mesh.triangles)
        for (std::size_t k = 0; k < 3; ++k) {
            const std::uint32_t a = t[k], b = t[(k + 1) % 3];
            balance[{std::min(a, b), std::max(a, b)}] += a < b ? 1 : -1;
        }
    return !balance.empty() && std::all_of(balance.begin(), balance.end(),
                                           [](const auto& entry) { return entry.second == 0; });
}

}  // namespace

std::string NameOf(const Building& building, ElementKind kind, std::size_t place) {
    switch (kind) {
        case ElementKind::Wall:
            return fmt::format("wall {}", place + 1);
        case ElementKind::Slab:
            return fmt::format("slab {}", place + 1);
        case ElementKind::Slope:
            return fmt::format("slope {}", place + 1);
        case ElementKind::Opening:
            return fmt::format("{} {}", WordOf(building.openings[place].kind), place + 1);
        case ElementKind::Room:
            break;
    }
    std::string name = building.rooms[place].name;
    if (name.starts_with('R')) name[0] = 'r';
    return name;
}

ElementMesh ElementMeshOf(const Building& building, ElementKind kind, std::size_t place) {
    const auto mesh = [&]() -> TriangleMesh {
        switch (kind) {
            case ElementKind::Wall:
                return MeshOf(building, place);
            case ElementKind::Slab:
                return MeshOf(building.slabs[place]);
            case ElementKind::Slope:
                return MeshOf(building.slopes[place]);
            case ElementKind::Room:
                return MeshOf(building.rooms[place]);
            case ElementKind::Opening:
                break;
        }
        const Opening& opening = building.openings[place];
        return MeshOf(building.walls[opening.wall], opening);
    };
    ElementMesh element{kind, place, NameOf(building, kind, place), false, Compact(mesh())};
    element.closed = IsClosed(element.mesh);
    return element;
}

std::vector<ElementMesh> MeshesOf(const Building& building) {
    std::vector<ElementMesh> meshes;
    for (const auto& [kind, count] : {std::pair{ElementKind::Wall, building.walls.size()},
                                      {ElementKind::Slab, building.slabs.size()},
                                      {ElementKind::Slope, building.slopes.size()},
                                      {ElementKind::Room, building.rooms.size()},
                                      {ElementKind::Opening, building.openings.size()}}) {
        for (std::size_t i = 0; i < count; ++i) meshes.push_back(ElementMeshOf(building, kind, i));
    }
    return meshes;
}

double VolumeOf(const TriangleMesh& mesh) {
    if (mesh.points.empty()) return 0;
    const Vector& zero = mesh.points[0];
    double sixfold = 0;
    for (const auto& t : mesh.triangles)
        sixfold += Dot(mesh.points[t[0]] - zero,
                       Cross(mesh.points[t[1]] - zero, mesh.points[t[2]] - zero));
    return sixfold / 6;
}

}  // namespace orvix::building
