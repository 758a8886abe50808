// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/picture/picture_of_section.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "orvix/geometry/quantile.h"
#include "orvix/platform/amounts.h"
#include "output/picture/section_picture.h"

namespace orvix::output {

namespace {

struct Stretch {
    double low = 0;
    double high = 0;
};

Stretch Middle(std::vector<double>& values) {
    return {detail::Quantile(values, 0.01), detail::Quantile(values, 0.99)};
}

// From the least value to the greatest, of those no further outside than `slack`.
Stretch Reached(const std::vector<double>& values, const Stretch& middle, double slack) {
    Stretch reached = middle;
    for (const double value : values) {
        if (value < middle.low - slack || value > middle.high + slack) continue;
        reached.low = std::min(reached.low, value);
        reached.high = std::max(reached.high, value);
    }
    return reached;
}

// A bound that was asked for is shown, but where it is further from the content than that is long.
ViewBounds ShownOf(const SectionPlaces& places, const SectionSlab& slab) {
    ViewBounds shown = FrameOfPlaces(places).Widened(0.04, 0.5);
    const double width = shown.Width();
    const double height = shown.Height();
    if (slab.xLow >= shown.left - width) shown.left = slab.xLow;
    if (slab.xHigh <= shown.right + width) shown.right = slab.xHigh;
    if (slab.zLow >= shown.bottom - height) shown.bottom = slab.zLow;
    if (slab.zHigh <= shown.top + height) shown.top = slab.zHigh;
    shown.right = std::max(shown.right, shown.left + 1e-3);
    shown.top = std::max(shown.top, shown.bottom + 1e-3);
    return shown;
}

// Metres between points, as a cell of 1 m holds about a square metre of surface.
Expected<double> SpacingOf(const reports::WorldProject& project) {
    const auto points = static_cast<double>(project.Core().AlivePointCount());
    const auto cells = project.Core().CreateIndexReader()->Count100();
    // The points that are drawn have cells: the index was read, and cannot be read once more.
    if (cells <= 0)
        return Fail(ErrorCode::Failure,
                    platform::ToUtf8(project.Manager().gridIdx) + " could not be read");
    return std::sqrt(static_cast<double>(cells) / std::max(points, 1.0));
}

std::string TitleOf(const reports::SectionRequest& request) {
    const std::string thickness = LengthText(2 * request.slab.halfThickness);
    const auto& frame = request.frame;
    constexpr double kLevel = 1e-6;
    if (frame.away.z < -1 + kLevel)
        return fmt::format("Plan at {:.2f} m, {} thick", frame.origin.z, thickness);
    if (frame.away.z > 1 - kLevel)
        return fmt::format("Plan at {:.2f} m, seen from below, {} thick", frame.origin.z,
                           thickness);
    const auto view = PictureView::Along(frame.right, frame.away);
    if (std::fabs(frame.away.z) < kLevel)
        return fmt::format("Section, seen along {}, {} thick", view.UpName(), thickness);
    const double tilt = std::acos(std::fabs(frame.away.z)) * 180 / std::numbers::pi;
    return fmt::format("Sloping section, {:.1f} degrees off level, {} thick", tilt, thickness);
}

std::string SubtitleOf(const reports::SectionRequest& request, const SectionCounts& counts) {
    const auto e = request.frame.Equation();
    return fmt::format("{:.6g} x {:+.6g} y {:+.6g} z {:+.3f} = 0; {} points in the slab, {} behind",
                       e[0], e[1], e[2], e[3], platform::CountText(counts.in),
                       platform::CountText(counts.behind));
}

// Every k-th of the points behind the slab, about a quarter of a million.
Expected<SectionPlaces> PlacesBehind(reports::ProjectSection& section, std::uint64_t count,
                                     const SectionPictureOptions& options,
                                     const reports::ProjectSection::Proceed& proceed) {
    SectionPlaces places;
    const std::uint64_t stride = count / 250'000 + 1;
    std::uint64_t seen = 0;
    const auto use = [&](const RevitAMP::Chunk& chunk) {
        for (std::size_t i = 0; i < chunk.points.size(); ++i) {
            if (chunk.classes[i] != SectionClass::Behind) continue;
            const auto place = section.Place(chunk.points[i]);
            if (place.y <= options.depth && seen++ % stride == 0)
                places.push_back({place.x, place.z});
        }
    };
    const auto counts = section.Stream(RevitAMP::Bit(SectionClass::Behind), use, proceed);
    if (!counts) return ErrorOf(counts);
    return places;
}

}  // namespace

// BEHAVIOUR C20
ViewBounds FrameOfPlaces(const SectionPlaces& places) {
    std::vector<double> xs, zs;
    for (const auto& place : places) {
        xs.push_back(place.x);
        zs.push_back(place.y);
    }
    const Stretch middleX = Middle(xs), middleZ = Middle(zs);
    const double slack = std::max(middleX.high - middleX.low, middleZ.high - middleZ.low) / 4;
    const Stretch x = Reached(xs, middleX, slack), z = Reached(zs, middleZ, slack);
    return {x.low, x.high, z.low, z.high};
}

Expected<Canvas> PictureOf(reports::ProjectSection& section, const reports::SectionReport& report,
                           const SectionPictureOptions& options,
                           const reports::ProjectSection::Proceed& proceed) {
    Expected<SectionPlaces> places = report.sample;
    if (places->empty()) places = PlacesBehind(section, report.counts.behind, options, proceed);
    if (!places) return ErrorOf(places);
    const reports::WorldProject& project = section.Project();
    if (places->empty())
        return Fail(ErrorCode::BadInput,
                    platform::ToUtf8(project.Manager().projectFile) +
                        ": no point lies in the section or behind it, so there is nothing to draw; "
                        "'orvix info' shows the bounds");
    const auto spacing = SpacingOf(project);
    if (!spacing) return ErrorOf(spacing);
    const reports::SectionRequest& request = section.Request();
    SectionDrawing drawing({.view = PictureView::Along(request.frame.right, request.frame.up),
                            .shown = ShownOf(*places, request.slab),
                            .spacing = *spacing,
                            .thickness = 2 * request.slab.halfThickness,
                            .width = options.width,
                            .title = TitleOf(request),
                            .subtitle = SubtitleOf(request, report.counts)});
    const auto use = [&](const RevitAMP::Chunk& chunk) {
        for (std::size_t i = 0; i < chunk.points.size(); ++i) {
            const SectionClass value = chunk.classes[i];
            if (value > SectionClass::Behind) continue;
            const auto place = section.Place(chunk.points[i]);
            if (value == SectionClass::In) {
                drawing.AddIn(place.x, place.z);
            } else if (place.y <= options.depth) {
                drawing.AddBehind(place.x, place.z, place.y);
            }
        }
    };
    constexpr std::uint32_t kDrawn =
        RevitAMP::Bit(SectionClass::In) | RevitAMP::Bit(SectionClass::Behind);
    const auto counts = section.Stream(kDrawn, use, proceed);
    if (!counts) return ErrorOf(counts);
    return drawing.Finish();
}

}  // namespace orvix::output
