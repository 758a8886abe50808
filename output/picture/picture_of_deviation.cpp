// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/picture/picture_of_deviation.h"

#include <fmt/format.h>

#include <algorithm>

#include "orvix/platform/amounts.h"
#include "reports/station_list.h"

namespace orvix::output {

namespace {

using detail::operator-;

constexpr double kAboveScanners = 0.3;  // metres

}  // namespace

DeviationPicture PictureOf(const reports::WorldProject& project,
                           const std::vector<reports::DrawnElement>& elements,
                           const reports::DeviationReport& report, double tolerance) {
    const detail::Vector origin = project.frame.Origin();
    DeviationPicture picture;
    picture.side = report.cell;
    picture.full = std::max(tolerance, report.step);
    for (const reports::SeenSquare& seen : report.squares) {
        DeviationPicture::Square square;
        square.middle = seen.middle - origin;
        square.normal = seen.normal;
        square.share = seen.share;
        square.bothSides = seen.bothSides;
        square.ceiling = elements[seen.element].kind == "ceiling";
        square.height = seen.height;
        square.hidden = seen.hidden;
        picture.squares.push_back(square);
    }
    // Without positions, which cannot be read here a second time, nothing is cut.
    if (const auto scanners = reports::ScannerPositions(project.Manager()); scanners)
        for (const auto& at : *scanners) {
            const double z = (project.frame.ToWorld(at) - origin).z + kAboveScanners;
            picture.cut = std::max(picture.cut.value_or(z), z);
        }
    picture.title =
        fmt::format("{} elements, {:.1f} m²", platform::CountText(elements.size()), report.area);
    const reports::DeviationFigures& all = report.all;
    picture.subtitle = fmt::format(
        "{} of {} points near them: median {:+.1f} mm, 5 to 95 % {:+.1f} to {:+.1f} mm; {:.1f} % "
        "of "
        "the surface without points",
        platform::CountText(all.points), platform::CountText(report.points), all.median * 1000,
        all.low * 1000, all.high * 1000, report.missing * 100);
    return picture;
}

}  // namespace orvix::output
