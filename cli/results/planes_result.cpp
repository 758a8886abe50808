// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/results/planes_result.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "cli/json_parts.h"
#include "orvix/platform/amounts.h"
#include "reports/place_reason.h"

namespace orvix::cli {

namespace {

constexpr std::size_t kListed = 20;

Json JsonOf(const reports::WorldPlane::Ring& ring) {
    Json json = Json::array();
    for (const SimplePointT<double>& corner : ring) json.push_back(PointJson(corner));
    return json;
}

Json JsonOf(const reports::WorldPlane& plane) {
    Json json = Json::object();
    json["number"] = plane.number;
    json["group"] = plane.group;
    json["class"] = plane.kind;
    json["equation"] = plane.equation;
    json["centroid"] = PointJson(plane.centroid);
    json["points"] = plane.points;
    json["rms"] = plane.rms;
    json["tolerance"] = plane.tolerance;
    json["area"] = plane.area;
    json["regions"] = Json::array();
    for (const reports::WorldPlane::Region& region : plane.regions) {
        Json holes = Json::array();
        for (const reports::WorldPlane::Ring& hole : region.holes) holes.push_back(JsonOf(hole));
        json["regions"].push_back(Json{{"outer", JsonOf(region.outer)}, {"holes", holes}});
    }
    return json;
}

Json JsonOf(const detection::PlaneSearchSettings& settings) {
    return Json{{"cell", settings.cellSize},        {"spacing", settings.spacing},
                {"noise", settings.noise},          {"distance", settings.distance},
                {"angle", settings.angle},          {"min_area", settings.minArea},
                {"min_points", settings.minPoints}, {"bridge", settings.bridge}};
}

Json NumberOrNull(const detection::PlaneSet& set, std::int32_t plane) {
    return plane < 0 ? Json() : Json(set.NumberOf(plane));
}

Json JsonOf(const detection::SaveReport& save) {
    return Json{{"kept", save.kept}, {"added", save.added}, {"gone", save.gone}};
}

Json JsonOf(const detection::PlaneSet& set, const detection::PlaceReport& place) {
    const double turn = reports::TurnInDegrees(place);
    Json json = Json::object();
    json["plane"] = NumberOrNull(set, place.plane);
    json["verdict"] = reports::WordOf(reports::VerdictOf(place));
    json["cell_points"] = place.points;
    json["cell_normal"] = PointJson(place.cellNormal);
    json["cell_rms"] = place.cellRms;
    json["nearest"] = NumberOrNull(set, place.nearest);
    json["nearest_distance"] = place.nearestDistance;
    json["nearest_turn"] = turn < 0 ? Json() : Json(turn);
    return json;
}

Json JsonOf(const PlanesArguments& arguments, const reports::PlanesFinding& finding,
            const PlanesExtras& extras) {
    const detection::PlaneSet& set = *finding.set;
    Json json = Json::object();
    json["settings"] = JsonOf(set.Settings());
    json["points"] = set.Points();
    json["assigned_points"] = set.AssignedPoints();
    json["cells"] = set.Cells();
    json["left_out"] = set.LeftOut();
    json["detail"] = reports::WordOf(set.SearchDetail());
    json["planes"] = Json::array();
    for (const reports::WorldPlane& plane : finding.planes) json["planes"].push_back(JsonOf(plane));
    if (extras.place) {
        json["explain"] = JsonOf(set, *extras.place);
        json["explain"]["why"] =
            reports::SentencesOf(*extras.place, set.Settings(), finding.planes);
    }
    json["points_file"] = NameOrNull(arguments.points);
    json["mesh"] = NameOrNull(arguments.mesh);
    json["outlines"] = NameOrNull(arguments.outlines);
    json["picture"] = NameOrNull(arguments.picture);
    json["applied"] = arguments.apply;
    json["save"] = extras.save ? JsonOf(*extras.save) : Json();
    json["seconds"] = finding.seconds;
    return json;
}

std::string TextOf(const PlanesArguments& arguments, const reports::PlanesFinding& finding,
                   const PlanesExtras& extras) {
    const detection::PlaneSet& set = *finding.set;
    const auto& s = set.Settings();
    std::string text = fmt::format(
        "measured  spacing {:.1f} mm, noise {:.1f} mm\n"
        "used      detail {}, cells {:g} m, distance {:.1f} mm, angle {:g} degrees, min area {:g} "
        "m2, "
        "min points {:g}, bridge {:g} m\n",
        s.spacing * 1000, s.noise * 1000, reports::WordOf(set.SearchDetail()), s.cellSize,
        s.distance * 1000, s.angle, s.minArea, s.minPoints, s.bridge);
    const double share = set.Points() > 0 ? 100.0 * static_cast<double>(set.AssignedPoints()) /
                                                static_cast<double>(set.Points())
                                          : 0;
    std::map<std::string, std::size_t> kinds;
    for (const reports::WorldPlane& plane : finding.planes) ++kinds[plane.kind];
    text += fmt::format("planes    {}, {:.2f} m2; {} of {} points, {:.1f} %\n",
                        platform::CountText(finding.planes.size()), finding.Area(),
                        platform::CountText(set.AssignedPoints()),
                        platform::CountText(set.Points()), share);
    if (set.LeftOut() > 0)
        text += fmt::format(
            "          {} smaller ones are left out; --min-area, --min-points and "
            "--detail fine say what is small\n",
            platform::CountText(set.LeftOut()));
    for (const auto& [kind, count] : kinds)
        text += fmt::format("          {:<8} {:>6}\n", kind, platform::CountText(count));
    for (std::size_t i = 0; i < std::min(finding.planes.size(), kListed); ++i) {
        const reports::WorldPlane& plane = finding.planes[i];
        text += fmt::format("{:>6}    {:<8} {:>10.2f} m2 {:>14} points  rms {:.1f} mm\n",
                            plane.number, plane.kind, plane.area, platform::CountText(plane.points),
                            plane.rms * 1000);
    }
    if (finding.planes.size() > kListed)
        text += fmt::format("          and {} more; --json lists them all\n",
                            platform::CountText(finding.planes.size() - kListed));
    if (extras.place)
        text += fmt::format("{}:\n{}", arguments.explain,
                            reports::SentencesOf(*extras.place, s, finding.planes));
    for (const auto& [what, name] :
         {std::pair{"points", &arguments.points}, std::pair{"mesh", &arguments.mesh},
          std::pair{"outlines", &arguments.outlines}, std::pair{"picture", &arguments.picture}})
        if (!name->empty()) text += fmt::format("{:<9} {}\n", what, *name);
    if (arguments.apply)
        text += "applied   plane numbers are in the first values of the points' DCLC pairs\n";
    if (extras.save)
        text += fmt::format(
            "saved     {} planes keep their numbers, {} have new ones, {} are gone\n",
            platform::CountText(extras.save->kept), platform::CountText(extras.save->added),
            platform::CountText(extras.save->gone));
    return text + fmt::format("{:.2f} s\n", finding.seconds);
}

}  // namespace

Outcome OutcomeOf(const PlanesArguments& arguments, const reports::PlanesFinding& finding,
                  const PlanesExtras& extras) {
    return {JsonOf(arguments, finding, extras), TextOf(arguments, finding, extras)};
}

}  // namespace orvix::cli
