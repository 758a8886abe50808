// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/picture/picture_of_consistency.h"

#include <fmt/format.h>

#include <algorithm>

#include "orvix/platform/amounts.h"
#include "reports/skeleton_sample.h"

namespace orvix::output {

namespace {

using detail::operator-;

}  // namespace

ConsistencyPicture PictureOf(const reports::WorldProject& project,
                             const reports::ConsistencyReport& report) {
    const detail::Vector centre = project.frame.Origin();
    ConsistencyPicture picture;
    picture.spacing = project.Manager().cloudHeader.scale;
    picture.cloud =
        reports::SampleSkeleton(project, centre, reports::SkeletonStations::Left).points;
    for (const reports::StationConsistency& station : report.stations) {
        ConsistencyPicture::Station mark;
        mark.label = station.name.value_or(fmt::format("{}", station.number));
        mark.position = station.centre - centre;
        mark.moved = station.moved;
        const auto& s = station.shiftSigma;
        if (std::max({s.x, s.y, s.z}) <= reports::kWeakDirection) mark.shift = station.shift;
        picture.stations.push_back(std::move(mark));
    }
    picture.title =
        report.moved == 0
            ? fmt::format("{} stations, none off by more than is uncertain", report.stations.size())
            : fmt::format("{} of {} stations are off", report.moved, report.stations.size());
    picture.subtitle = fmt::format(
        "what would bring each onto the others; {} patches on {} planes, median offset {:.2f} mm",
        platform::CountText(report.patches), platform::CountText(report.planes),
        report.offset * 1000);
    return picture;
}

}  // namespace orvix::output
