// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <span>
#include <vector>

#include "orvix/c/boundary.h"
#include "orvix/c/mesh_handle.h"
#include "orvix/geometry/vector.h"
#include "orvix/surfaces/stoppable_surface.h"
#include "orvix/surfaces/surface_mesh.h"

using namespace orvix;
using namespace orvix::detail;

namespace {

using Triangle = std::array<std::uint32_t, 3>;

static_assert(sizeof(Vector) == 3 * sizeof(double));
static_assert(sizeof(Triangle) == 3 * sizeof(std::uint32_t));

// Faces name points by ints.
constexpr std::uint64_t kMaxPoints = std::numeric_limits<std::int32_t>::max();

Answer RequireCountable(std::uint64_t count) {
    if (count <= kMaxPoints) return {};
    return Refuse(
        ORVIX_BAD_ARGUMENT,
        fmt::format("{} points are too many for one call; it takes {}", count, kMaxPoints));
}

tl::expected<std::vector<Vector>, Refusal> Positions(const double* xyz, std::uint64_t count,
                                                     const char* name) {
    if (auto countable = RequireCountable(count); !countable) {
        return ErrorOf(countable);
    }
    if (count == 0) return {};
    if (auto there = RequirePointer(xyz, name); !there) {
        return ErrorOf(there);
    }
    std::vector<Vector> positions(static_cast<std::size_t>(count));
    std::memcpy(static_cast<void*>(positions.data()), xyz, positions.size() * sizeof(Vector));
    return positions;
}

Answer RequireNormal(const double* equation) {
    const bool finite =
        std::all_of(equation, equation + 4, [](double v) { return std::isfinite(v); });
    const double square =
        equation[0] * equation[0] + equation[1] * equation[1] + equation[2] * equation[2];
    if (finite && square > 0 && std::isfinite(square)) return {};
    return Refuse(ORVIX_BAD_ARGUMENT,
                  fmt::format("equation {}, {}, {}, {} has no normal", equation[0], equation[1],
                              equation[2], equation[3]));
}

tl::expected<detail::TriangleMesh, Refusal> Triangulate(std::vector<Vector> points,
                                                        const double* equation,
                                                        const std::vector<Vector>& boundary,
                                                        const std::function<bool()>& proceed) {
    const std::size_t given = points.size();
    std::vector<int> faces;
    const PlaneFrame frame(equation[0], equation[1], equation[2], equation[3]);
    if (!ConstrainedSurfaceWhile(points, frame, faces, boundary, proceed))
        return Refuse(ORVIX_CANCELLED, "the triangulation was cancelled");
    LiftPlanarVertices(points, given, frame);
    detail::TriangleMesh mesh;
    mesh.points = std::move(points);
    mesh.triangles.reserve(faces.size() / 4);
    for (std::size_t at = 0; at + 3 < faces.size(); at += 4) {
        mesh.triangles.push_back({static_cast<std::uint32_t>(faces[at + 1]),
                                  static_cast<std::uint32_t>(faces[at + 2]),
                                  static_cast<std::uint32_t>(faces[at + 3])});
    }
    return mesh;
}

}  // namespace

orvix_status orvix_triangulate(const double* xyz, uint64_t count, const double* equation,
                               const double* boundary, uint64_t boundary_count, orvix_mesh** mesh,
                               orvix_error* error) {
    return orvix_triangulate_while(xyz, count, equation, boundary, boundary_count, nullptr, nullptr,
                                   mesh, error);
}

orvix_status orvix_triangulate_while(const double* xyz, uint64_t count, const double* equation,
                                     const double* boundary, uint64_t boundary_count,
                                     orvix_proceed proceed, void* user, orvix_mesh** mesh,
                                     orvix_error* error) {
    if (mesh != nullptr) *mesh = nullptr;
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(mesh, "mesh"); !there) return there;
        if (auto there = RequirePointer(equation, "equation"); !there) return there;
        if (auto sound = RequireNormal(equation); !sound) return sound;
        auto points = Positions(xyz, count, "xyz");
        if (!points) return ErrorOf(points);
        const auto line = Positions(boundary, boundary_count, "boundary");
        if (!line) return ErrorOf(line);
        auto triangles = Triangulate(std::move(*points), equation, *line, Asked(proceed, user));
        if (!triangles) return ErrorOf(triangles);
        auto made = std::make_unique<orvix_mesh>();
        made->mesh = std::move(*triangles);
        *mesh = made.release();
        return {};
    });
}

orvix_status orvix_mesh_read(const orvix_mesh* mesh, double* xyz, uint64_t point_capacity,
                             uint64_t* points, uint32_t* triangles, uint64_t triangle_capacity,
                             uint64_t* triangle_count, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(mesh, "mesh"); !there) return there;
        const detail::TriangleMesh& made = mesh->mesh;
        // Both numbers are reported whether or not either list fits.
        const auto fillPoints = Fits(made.points.size(), xyz, point_capacity, points, "points");
        const auto fillTriangles =
            Fits(made.triangles.size(), triangles, triangle_capacity, triangle_count, "triangles");
        if (!fillPoints) return ErrorOf(fillPoints);
        if (!fillTriangles) return ErrorOf(fillTriangles);
        // An empty list fits no address at all, which memcpy must not see.
        if (*fillPoints && !made.points.empty())
            std::memcpy(xyz, made.points.data(), made.points.size() * sizeof(Vector));
        if (*fillTriangles && !made.triangles.empty())
            std::memcpy(triangles, made.triangles.data(), made.triangles.size() * sizeof(Triangle));
        return {};
    });
}

void orvix_mesh_close(orvix_mesh* mesh) {
    delete mesh;
}
