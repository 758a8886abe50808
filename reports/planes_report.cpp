// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/planes_report.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "detection/saved_planes.h"
#include "orvix/geometry/vector.h"
#include "reports/station_list.h"

namespace orvix::reports {

namespace {

using detail::Cross, detail::Dot, detail::Length, detail::Vector;
using detail::operator-, detail::operator*, detail::operator/;
using detection::FoundPlane;

const char* WordOf(detection::PlaneKind kind) {
    switch (kind) {
        case detection::PlaneKind::Floor:
            return "floor";
        case detection::PlaneKind::Ceiling:
            return "ceiling";
        case detection::PlaneKind::Wall:
            return "wall";
        case detection::PlaneKind::Roof:
            return "roof";
        case detection::PlaneKind::Other:
            break;
    }
    return "other";
}

Vector DirectionInWorld(const detail::LocalToWorld& frame, const Vector& direction) {
    const Vector turned = frame.ToWorld(direction) - frame.ToWorld(Vector{});
    return turned / Length(turned);
}

WorldPlane::Ring RingInWorld(const FoundPlane& plane, const detail::LocalToWorld& frame,
                             const PlaneRing& ring) {
    WorldPlane::Ring out;
    for (const auto& corner : ring.points) out.push_back(frame.ToWorld(CornerOf(plane, corner)));
    if (IsTurned(plane)) std::reverse(out.begin() + 1, out.end());  // BEHAVIOUR A10
    return out;
}

// Twice the area inside a ring, by the triangles that its corners make with a point of the plane.
double TwiceAreaOf(const WorldPlane::Ring& ring, const Vector& n, const Vector& o) {
    double twice = 0;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        twice += Dot(n, Cross(ring[i] - o, ring[(i + 1) % ring.size()] - o));
    }
    return twice;
}

double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// What `search` finds with the scanners' places among its options.
template <class Search>
Expected<PlanesFinding> FindingOf(const WorldProject& project,
                                  detection::PlaneSearchOptions options, detection::Detail detail,
                                  Search&& find) {
    auto stations = ScannerPositions(project.Manager());
    if (!stations) return ErrorOf(stations);
    options.stations = std::move(*stations);
    const auto start = std::chrono::steady_clock::now();
    auto search = find(options);
    if (!search) return ErrorOf(search);
    const double seconds = SecondsSince(start);
    auto set = std::make_unique<detection::SearchedPlanes>(project.Core(), **search, detail);
    std::vector<WorldPlane> planes = WorldPlanesOf(set->Planes(), project.frame);
    return PlanesFinding{std::move(*search), std::move(set), std::move(planes), seconds};
}

}  // namespace

Expected<PlanesFinding> StoredOrFoundPlanes(const WorldProject& project,
                                            const detection::PlaneSearchOptions& options) {
    auto stored = ReadPlanes(project);
    if (stored || stored.error().code != ErrorCode::BadInput) return stored;
    return FindPlanes(project, options);
}

bool IsTurned(const FoundPlane& plane) {
    return Dot(plane.frame.Normal(), plane.normal) < 0;
}

std::vector<WorldPlane> WorldPlanesOf(const std::vector<FoundPlane>& found,
                                      const detail::LocalToWorld& frame) {
    std::vector<WorldPlane> planes;
    for (const FoundPlane& plane : found) {
        WorldPlane out;
        out.number = planes.size() + 1;
        out.group = static_cast<std::size_t>(plane.group);
        out.kind = WordOf(plane.kind);
        const Vector n = DirectionInWorld(frame, plane.normal);
        out.centroid = frame.ToWorld(plane.centre);
        const Vector& c = out.centroid;
        out.equation = {n.x, n.y, n.z, -Dot(n, c)};
        out.points = plane.points;
        out.rms = plane.rms;
        out.tolerance = plane.tolerance;
        for (const PlaneRegion& region : plane.outline.regions) {
            out.regions.push_back({RingInWorld(plane, frame, region.outer), {}});
            for (const PlaneRing& hole : region.holes)
                out.regions.back().holes.push_back(RingInWorld(plane, frame, hole));
            // Corners were brought onto the plane, and took the area along.
            // BEHAVIOUR A9
            out.area += TwiceAreaOf(out.regions.back().outer, n, c) / 2;
            for (const WorldPlane::Ring& hole : out.regions.back().holes)
                out.area += TwiceAreaOf(hole, n, c) / 2;
        }
        planes.push_back(std::move(out));
    }
    return planes;
}

const char* WordOf(detection::Detail detail) {
    if (detail == detection::Detail::Fine) return "fine";
    return detail == detection::Detail::Coarse ? "coarse" : "normal";
}

double PlanesFinding::Area() const {
    double area = 0;
    for (const WorldPlane& plane : planes) area += plane.area;
    return area;
}

void PlanesFinding::Renumber() {
    for (std::size_t i = 0; i < planes.size(); ++i) planes[i].number = set->Numbers()[i];
}

Expected<PlanesFinding> FindPlanes(const WorldProject& project,
                                   detection::PlaneSearchOptions options) {
    const detection::Detail detail = options.detail;
    return FindingOf(project, std::move(options), detail, [&](const auto& asked) {
        return detection::PlaneSearch::Run(project.Core(), asked);
    });
}

Expected<PlanesFinding> FinishPlanes(const WorldProject& project,
                                     const detection::SearchStages& stages,
                                     detection::PlaneSearchOptions how) {
    return FindingOf(project, std::move(how), stages.Options().detail, [&](const auto& asked) {
        return detection::PlaneSearch::Finish(project.Core(), stages, asked);
    });
}

Expected<PlanesFinding> ReadPlanes(const WorldProject& project) {
    const auto start = std::chrono::steady_clock::now();
    auto set = detection::OpenSavedPlanes(project.Manager(), project.Core());
    if (!set) return ErrorOf(set);
    PlanesFinding finding{nullptr, std::move(*set), {}, 0};
    finding.planes = WorldPlanesOf(finding.set->Planes(), project.frame);
    finding.Renumber();
    finding.seconds = SecondsSince(start);
    return finding;
}

}  // namespace orvix::reports
