// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/saved/plane_records.h"

namespace orvix::detection {

static_assert(static_cast<std::uint32_t>(Detail::Coarse) + 1 == detail::SavedSearch::kDetails);
static_assert(static_cast<std::uint32_t>(PlaneKind::Other) + 1 == detail::SavedPlane::kKinds);

detail::SavedPlane RecordOf(const FoundPlane& plane, std::uint32_t number) {
    detail::SavedPlane record;
    record.number = number;
    record.kind = static_cast<std::uint32_t>(plane.kind);
    record.group = static_cast<std::uint32_t>(plane.group);
    record.normal = plane.normal;
    record.offset = plane.offset;
    record.centre = plane.centre;
    record.points = plane.points;
    record.rms = plane.rms;
    record.tolerance = plane.tolerance;
    record.area = plane.area;
    record.frame = plane.frame;
    record.outline = plane.outline;
    return record;
}

FoundPlane FoundPlaneOf(const detail::SavedPlane& record) {
    FoundPlane plane;
    plane.kind = static_cast<PlaneKind>(record.kind);
    plane.group = static_cast<std::int32_t>(record.group);
    plane.normal = record.normal;
    plane.offset = record.offset;
    plane.centre = record.centre;
    plane.points = record.points;
    plane.rms = record.rms;
    plane.tolerance = record.tolerance;
    plane.area = record.area;
    plane.frame = record.frame;
    plane.outline = record.outline;
    return plane;
}

detail::SavedSearch RecordOf(const PlaneSet& planes) {
    const PlaneSearchSettings& settings = planes.Settings();
    detail::SavedSearch record;
    record.cellSize = settings.cellSize;
    record.spacing = settings.spacing;
    record.noise = settings.noise;
    record.distance = settings.distance;
    record.angle = settings.angle;
    record.minArea = settings.minArea;
    record.minPoints = settings.minPoints;
    record.bridge = settings.bridge;
    record.points = planes.Points();
    record.assignedPoints = planes.AssignedPoints();
    record.cells = planes.Cells();
    record.leftOut = planes.LeftOut();
    record.detail = static_cast<std::uint32_t>(planes.SearchDetail());
    return record;
}

PlaneSearchSettings SettingsOf(const detail::SavedSearch& record) {
    PlaneSearchSettings settings;
    settings.cellSize = record.cellSize;
    settings.spacing = record.spacing;
    settings.noise = record.noise;
    settings.distance = record.distance;
    settings.angle = record.angle;
    settings.minArea = record.minArea;
    settings.minPoints = record.minPoints;
    settings.bridge = record.bridge;
    return settings;
}

}  // namespace orvix::detection
