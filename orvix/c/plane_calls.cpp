// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <span>
#include <vector>

#include "orvix/c/mesh_handle.h"
#include "orvix/c/project_handle.h"
#include "orvix/geometry/vector.h"
#include "orvix/planes/seed/plane_from_seed.h"
#include "orvix/planes/seed/plane_mesh.h"
#include "orvix/planes/seed/project_cloud.h"
#include "orvix/planes/unsaved_settings.h"

using namespace orvix;
using namespace orvix::detail;

/// A grown plane with the frame in which it is reported.
struct orvix_plane {
    detail::SeedPlane grown;
    detail::LocalToWorld frame;
    std::array<double, 4> equation{};
    std::size_t outlinePoints = 0;
    std::vector<orvix_ring> rings;
    std::vector<const PlaneRing*> ringPoints;  ///< of grown's outline
};

namespace {

static_assert(sizeof(Vector) == 3 * sizeof(double));

bool AllFinite(std::span<const double> values) {
    return std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

tl::expected<detail::SeedPlaneOptions, Refusal> SearchOptions(const orvix_plane_options& given) {
    const bool reachable = AllFinite({&given.reach, 1}) || given.reach > 0;
    if (!AllFinite({&given.split_size, 1}) || !AllFinite(given.diff) || !reachable ||
        !AllFinite({&given.max_distance, 1}) || !AllFinite({&given.snap_distance, 1})) {
        return Refuse(ORVIX_BAD_ARGUMENT, "a number in options is not finite");
    }
    detail::SeedPlaneOptions options;
    options.splitSize = std::max(given.split_size, 0.0);
    const auto orSettings = [](double diff) { return diff > 0 ? diff : -1.0; };
    options.diffA = orSettings(given.diff[0]);
    options.diffB = orSettings(given.diff[1]);
    options.diffC = orSettings(given.diff[2]);
    options.maxDistance = std::max(given.max_distance, 0.0);
    if (given.snap_distance > 0) options.snapDistance = given.snap_distance;
    if (given.reach > 0) options.reach = given.reach;
    if (given.memory_limit > 0) options.memoryLimitBytes = given.memory_limit;
    if (given.outline_points > 0) {
        options.outlinePoints = static_cast<std::size_t>(given.outline_points);
    }
    options.proceed = Asked(given.proceed, given.user);
    return options;
}

void AddRing(orvix_plane& plane, const PlaneRing& ring, std::size_t region, std::size_t hole) {
    plane.rings.push_back(
        {ring.points.size(), static_cast<std::uint32_t>(region), static_cast<std::uint32_t>(hole)});
    plane.ringPoints.push_back(&ring);
}

void ListRings(orvix_plane& plane) {
    const auto& regions = plane.grown.plane.Outline().regions;
    for (std::size_t r = 0; r < regions.size(); ++r) {
        AddRing(plane, regions[r].outer, r, 0);
        for (std::size_t h = 0; h < regions[r].holes.size(); ++h) {
            AddRing(plane, regions[r].holes[h], r, h + 1);
        }
    }
}

void Put(double (&out)[3], const Vector& p) {
    out[0] = p.x;
    out[1] = p.y;
    out[2] = p.z;
}

double* Append(double* xyz, const Vector& p) {
    xyz[0] = p.x;
    xyz[1] = p.y;
    xyz[2] = p.z;
    return xyz + 3;
}

orvix_plane_info InfoOf(const orvix_plane& plane) {
    const detail::SeedPlane& grown = plane.grown;
    const FittedPlane& fitted = grown.plane;
    orvix_plane_info info{};
    info.ended = static_cast<std::int32_t>(grown.ended);
    std::copy(plane.equation.begin(), plane.equation.end(), info.equation);
    Put(info.centroid, plane.frame.ToWorld(Vector{fitted.x(), fitted.y(), fitted.z()}));
    Put(info.seed, plane.frame.ToWorld(grown.seed));
    info.local_equation[0] = fitted.a();
    info.local_equation[1] = fitted.b();
    info.local_equation[2] = fitted.c();
    info.local_equation[3] = fitted.d();
    info.snapped = grown.snapped;
    info.noise = grown.noise;
    info.split_size = grown.splitSize;
    info.max_distance_allowed = grown.maxDistanceAllowed;
    info.rms = grown.rms;
    info.max_distance = grown.maxDistance;
    info.area = grown.area;
    info.points = grown.points;
    info.listed_points = grown.records.size();
    info.cells = grown.cells;
    info.rejected_cells = grown.rejectedCells;
    info.rings = plane.rings.size();
    info.thinning = grown.thinning;
    info.split_enlarged = grown.splitEnlarged ? 1 : 0;
    return info;
}

static_assert(static_cast<int>(PlaneWorm::Ended::Exhausted) == ORVIX_ENDED_EDGE);
static_assert(static_cast<int>(PlaneWorm::Ended::Budget) == ORVIX_ENDED_BUDGET);

Answer Grow(orvix_project& project, const double* seed, const orvix_plane_options& given,
            std::unique_ptr<orvix_plane>& plane) {
    const Vector asked{seed[0], seed[1], seed[2]};
    if (!AllFinite({seed, 3})) return Refuse(ORVIX_BAD_ARGUMENT, "the seed is not finite");
    const auto options = SearchOptions(given);
    if (!options) return ErrorOf(options);
    const detail::LocalToWorld& frame = project.summary.frame;
    const Vector local = given.seed_is_local != 0 ? asked : frame.ToLocal(asked);
    const CString file = project.Paths().projectFile;
    ProjectCloud cloud(project.Core());
    const auto settings = detail::SettingsUnsaved(file);
    if (!settings) return Refuse(settings.error());
    auto grown = detail::GrowPlaneFromSeed(cloud, *settings, local, *options);
    if (!grown) return Refuse(grown.error());
    // The plane was found, whether its split sizes are stored or not.
    static_cast<void>(detail::StoreSplitSizes(file));  // BEHAVIOUR C12
    plane = std::make_unique<orvix_plane>();
    plane->grown = std::move(*grown);
    plane->frame = frame;
    plane->equation = detail::WorldEquation(plane->grown.plane, frame);
    plane->outlinePoints = options->outlinePoints;
    ListRings(*plane);
    return {};
}

}  // namespace

orvix_status orvix_plane_grow(orvix_project* project, const double* seed,
                              const orvix_plane_options* options, orvix_plane** plane,
                              orvix_error* error) {
    if (plane != nullptr) *plane = nullptr;
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(project, "project"); !there) return there;
        if (auto there = RequirePointer(seed, "seed"); !there) return there;
        if (auto there = RequirePointer(plane, "plane"); !there) return there;
        const auto taken = Taken(options, "options");
        if (!taken) return ErrorOf(taken);
        std::unique_ptr<orvix_plane> found;
        auto done = Grow(*project, seed, *taken, found);
        if (done) *plane = found.release();
        return done;
    });
}

void orvix_plane_close(orvix_plane* plane) {
    delete plane;
}

orvix_status orvix_plane_get_info(const orvix_plane* plane, orvix_plane_info* info,
                                  orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(plane, "plane"); !there) return there;
        return Give(InfoOf(*plane), info, "info");
    });
}

orvix_status orvix_plane_get_points(const orvix_plane* plane, double* xyz, uint64_t* records,
                                    uint64_t capacity, uint64_t* count, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(plane, "plane"); !there) return there;
        const auto& numbers = plane->grown.records;
        const void* either = xyz != nullptr ? static_cast<const void*>(xyz) : records;
        const auto fill = Fits(numbers.size(), either, capacity, count, "points");
        if (!fill) return ErrorOf(fill);
        if (!*fill) return {};
        if (records != nullptr) std::copy(numbers.begin(), numbers.end(), records);
        if (xyz == nullptr) return {};
        for (const Vector& p : plane->grown.plane.data())
            xyz = Append(xyz, plane->frame.ToWorld(p));
        return {};
    });
}

orvix_status orvix_plane_get_rings(const orvix_plane* plane, orvix_ring* rings, uint64_t capacity,
                                   uint64_t* count, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(plane, "plane"); !there) return there;
        const auto fill = Fits(plane->rings.size(), rings, capacity, count, "rings");
        if (!fill) return ErrorOf(fill);
        if (*fill) std::copy(plane->rings.begin(), plane->rings.end(), rings);
        return {};
    });
}

orvix_status orvix_plane_get_ring(const orvix_plane* plane, uint64_t ring, double* xyz,
                                  uint64_t capacity, uint64_t* count, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(plane, "plane"); !there) return there;
        if (auto inside = RequireRange(ring, 1, plane->rings.size(), "rings"); !inside) {
            return inside;
        }
        const PlaneRing& wanted = *plane->ringPoints[static_cast<std::size_t>(ring)];
        const auto fill = Fits(wanted.points.size(), xyz, capacity, count, "vertices");
        if (!fill) return ErrorOf(fill);
        if (!*fill) return {};
        for (const Vector& p : plane->grown.plane.RingTo3D(wanted)) {
            xyz = Append(xyz, plane->frame.ToWorld(p));
        }
        return {};
    });
}

orvix_status orvix_plane_mesh(const orvix_plane* plane, orvix_mesh** mesh, orvix_error* error) {
    return orvix_plane_mesh_while(plane, nullptr, nullptr, mesh, error);
}

orvix_status orvix_plane_mesh_while(const orvix_plane* plane, orvix_proceed proceed, void* user,
                                    orvix_mesh** mesh, orvix_error* error) {
    if (mesh != nullptr) *mesh = nullptr;
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(plane, "plane"); !there) return there;
        if (auto there = RequirePointer(mesh, "mesh"); !there) return there;
        const FittedPlane& fitted = plane->grown.plane;
        auto triangles =
            detail::MeshOfPlane(fitted, detail::Thinned(fitted.data(), plane->outlinePoints),
                                plane->frame, plane->equation, Asked(proceed, user));
        if (!triangles) return Refuse(triangles.error());
        auto made = std::make_unique<orvix_mesh>();
        made->mesh = std::move(*triangles);
        if (made->mesh.triangles.empty()) {
            return Refuse(ORVIX_BAD_INPUT,
                          fmt::format("the plane's {} points enclose no area, so there is no mesh; "
                                      "choose another seed, or a larger max_distance",
                                      plane->grown.points));
        }
        *mesh = made.release();
        return {};
    });
}
