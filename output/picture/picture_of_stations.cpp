// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/picture/picture_of_stations.h"

#include <fmt/format.h>

#include <cmath>
#include <utility>

#include "orvix/geometry/vector.h"
#include "orvix/platform/amounts.h"
#include "reports/skeleton_sample.h"

namespace orvix::output {

namespace {

using detail::Vector, detail::operator-;

// Where the rotation takes the x axis.
Vector Ahead(const std::array<double, 4>& turn) {
    const auto& [x, y, z, angle] = turn;
    const double t = 1 - std::cos(angle);
    const double s = std::sin(angle);
    return {t * x * x + 1 - t, t * x * y + s * z, t * x * z - s * y};
}

StationMark MarkOf(const reports::ListedStation& station, const Vector& centre) {
    StationMark mark{station.number, station.name.value_or(std::to_string(station.number)),
                     *station.position - centre};
    if (station.orientation) mark.ahead = Ahead(*station.orientation);
    return mark;
}

}  // namespace

StationsPicture PictureOf(const reports::WorldProject& project,
                          const std::vector<reports::ListedStation>& stations) {
    const Vector centre = project.frame.Origin();
    StationsPicture picture;
    picture.spacing = project.Manager().cloudHeader.scale;
    reports::SkeletonSample sample =
        reports::SampleSkeleton(project, centre, reports::SkeletonStations::Read);
    picture.cloud = std::move(sample.points);
    picture.stations = std::move(sample.stations);
    std::uint64_t points = 0;
    for (const reports::ListedStation& station : stations) {
        points += station.points;
        if (station.position) picture.marks.push_back(MarkOf(station, centre));
    }
    picture.title = fmt::format("{} station{}, {} with a pose", stations.size(),
                                stations.size() == 1 ? "" : "s", picture.marks.size());
    picture.subtitle = fmt::format(
        "{} points, each in its station's colour; a mark's line is the scanner's x axis",
        platform::CountText(points));
    return picture;
}

}  // namespace orvix::output
