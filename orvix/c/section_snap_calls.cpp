// SPDX-License-Identifier: GPL-3.0-or-later
// Sections: snapping to points.
#include <cstddef>

#include "orvix/c/section_handle.h"

using namespace orvix;
using namespace orvix::detail;

namespace {

enum class To { Points, Project };

// A direction has no place, so the shift of the frame is left out.
PickingRay RayOf(const orvix_picking_ray& given, const LocalToWorld& frame) {
    PickingRay ray{PositionAt(given.origin), PositionAt(given.direction), given.radius,
                   given.tangent};
    if (IsShift(frame)) return ray;
    LocalToWorld turn = frame;
    turn.m[3] = turn.m[7] = turn.m[11] = 0;
    ray.origin = frame.ToLocal(ray.origin);
    ray.direction = turn.ToLocal(ray.direction);
    return ray;
}

Answer RequireProject(const orvix_section& section, To to) {
    if (to == To::Points || section.project) return {};
    return Refuse(ORVIX_BAD_ARGUMENT, "no project is set; call orvix_section_set_project");
}

Answer RequireArrays(const orvix_section* section, const void* given, const char* name,
                     const orvix_snapped_point* snapped, std::uint64_t count, To to) {
    if (auto there = RequirePointer(section, "section"); !there) return there;
    if (auto there = RequireProject(*section, to); !there) return there;
    if (count == 0) return {};
    if (auto there = RequirePointer(given, name); !there) return there;
    return RequirePointer(snapped, "snapped");
}

/// `ask(amp, to, found)` snaps with one of the class's calls.
template <class Ask>
Answer Snap(orvix_section& section, To to, std::uint64_t count, const char* wanted,
            orvix_snapped_point* snapped, const Ask& ask) {
    std::vector<SnappedPoint> found(static_cast<std::size_t>(count));
    // Without points the class does nothing but look at what it is asked.
    RevitAMP looks;
    if (!ask(looks, To::Points, found)) return Refuse(ORVIX_BAD_ARGUMENT, wanted);
    if (!ask(section.amp, to, found)) {
        return Refuse(ORVIX_FAILED, "the points cannot be mapped; close other programs and retry");
    }
    for (const SnappedPoint& point : found) *snapped++ = {point.index, point.along, point.distance};
    return {};
}

Answer SnapRays(orvix_section* section, const orvix_picking_ray* given, std::uint64_t count,
                orvix_snapped_point* snapped, To to) {
    if (auto sound = RequireArrays(section, given, "rays", snapped, count, to); !sound)
        return sound;
    std::vector<PickingRay> rays;
    rays.reserve(static_cast<std::size_t>(count));
    for (std::uint64_t k = 0; k < count; ++k) rays.push_back(RayOf(given[k], section->frame));
    return Snap(*section, to, count,
                "a ray is not finite or has no direction, or its radius or tangent is negative",
                snapped, [&](RevitAMP& amp, To where, std::span<SnappedPoint> found) {
                    return where == To::Project ? amp.SnapInProject(rays, found)
                                                : amp.Snap(rays, found);
                });
}

Answer SnapPositions(orvix_section* section, const double* xyz, std::uint64_t count, double radius,
                     orvix_snapped_point* snapped, To to) {
    if (auto sound = RequireArrays(section, xyz, "xyz", snapped, count, to); !sound) return sound;
    std::vector<SimplePointT<double>> positions;
    positions.reserve(static_cast<std::size_t>(count));
    for (std::uint64_t k = 0; k < count; ++k) {
        const auto world = PositionAt(xyz + 3 * k);
        positions.push_back(IsShift(section->frame) ? world : section->frame.ToLocal(world));
    }
    return Snap(*section, to, count,
                "a position is not finite, or the radius is negative or not finite", snapped,
                [&](RevitAMP& amp, To where, std::span<SnappedPoint> found) {
                    return where == To::Project ? amp.SnapInProject(positions, radius, found)
                                                : amp.Snap(positions, radius, found);
                });
}

}  // namespace

orvix_status orvix_section_snap_rays(orvix_section* section, const orvix_picking_ray* rays,
                                     uint64_t count, orvix_snapped_point* snapped,
                                     orvix_error* error) {
    return Answered(error, [&] { return SnapRays(section, rays, count, snapped, To::Points); });
}

orvix_status orvix_section_snap_positions(orvix_section* section, const double* xyz, uint64_t count,
                                          double radius, orvix_snapped_point* snapped,
                                          orvix_error* error) {
    return Answered(
        error, [&] { return SnapPositions(section, xyz, count, radius, snapped, To::Points); });
}

orvix_status orvix_section_snap_rays_in_project(orvix_section* section,
                                                const orvix_picking_ray* rays, uint64_t count,
                                                orvix_snapped_point* snapped, orvix_error* error) {
    return Answered(error, [&] { return SnapRays(section, rays, count, snapped, To::Project); });
}

orvix_status orvix_section_snap_positions_in_project(orvix_section* section, const double* xyz,
                                                     uint64_t count, double radius,
                                                     orvix_snapped_point* snapped,
                                                     orvix_error* error) {
    return Answered(
        error, [&] { return SnapPositions(section, xyz, count, radius, snapped, To::Project); });
}
