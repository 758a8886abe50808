// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <chrono>
#include <map>
#include <memory>
#include <optional>

#include "cli/verbs.h"
#include "edits/plane_numbers.h"
#include "orvix/geometry/vector.h"
#include "orvix/platform/amounts.h"
#include "orvix/platform/interrupt.h"
#include "orvix/project/open_project.h"
#include "orvix/project/project_gate.h"
#include "output/export/planes_points.h"
#include "output/mesh/planes_mesh.h"
#include "output/outlines/outline_writer.h"
#include "output/output_file.h"
#include "output/picture/png_writer.h"
#include "reports/place_reason.h"
#include "reports/planes_report.h"

namespace orvix::cli {

namespace {

using detail::Vector;
using detection::PlaneSearch;
using detection::PlaneSearchOptions;

struct Arguments {
    std::string project;
    std::string points;
    std::string mesh;
    std::string outlines;
    std::string picture;
    std::string explain;
    std::string memoryLimit = "1GiB";
    bool apply = false;
    PlaneSearchOptions options;
};

constexpr const char* kExamples =
    "  orvix planes scan.prj --picture planes.png\n"
    "  orvix planes scan.prj --json > planes.json\n"
    "  orvix planes scan.prj --mesh planes.obj --points planes.ply --outlines planes.ifc\n"
    "  orvix planes scan.prj --distance 0.03 --min-area 1 --apply\n"
    "  orvix planes scan.prj --explain 12.4,3.08,1.5";

constexpr std::size_t kListed = 20;

/// What the verb did, for both ways of telling it.
struct PlanesFinding {
    std::unique_ptr<PlaneSearch> search;
    std::vector<reports::WorldPlane> planes;
    std::optional<detection::PlaceReport> place;
    double seconds = 0;
};

Json JsonOf(const Vector& p) {
    return Json::array({p.x, p.y, p.z});
}

Json JsonOf(const reports::WorldPlane::Ring& ring) {
    Json json = Json::array();
    for (const Vector& corner : ring) json.push_back(JsonOf(corner));
    return json;
}

Json JsonOf(const reports::WorldPlane& plane) {
    Json json;
    json["number"] = plane.number;
    json["class"] = plane.kind;
    json["equation"] = plane.equation;
    json["centroid"] = JsonOf(plane.centroid);
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

Json NumberOrNull(std::int32_t plane) {
    return plane < 0 ? Json() : Json(plane + 1);
}

Json JsonOf(const detection::PlaceReport& place) {
    const double turn = reports::TurnInDegrees(place);
    Json json;
    json["plane"] = NumberOrNull(place.plane);
    json["verdict"] = reports::WordOf(reports::VerdictOf(place));
    json["cell_points"] = place.points;
    json["cell_normal"] = JsonOf(place.cellNormal);
    json["cell_rms"] = place.cellRms;
    json["nearest"] = NumberOrNull(place.nearest);
    json["nearest_distance"] = place.nearestDistance;
    json["nearest_turn"] = turn < 0 ? Json() : Json(turn);
    return json;
}

Json NameOrNull(const std::string& path) {
    return path.empty() ? Json() : Json(path);
}

Json JsonOf(const PlanesFinding& finding, const Arguments& arguments) {
    const PlaneSearch& search = *finding.search;
    Json json;
    json["settings"] = JsonOf(search.Settings());
    json["points"] = search.Points();
    json["assigned_points"] = search.AssignedPoints();
    json["cells"] = search.Cells();
    json["planes"] = Json::array();
    for (const reports::WorldPlane& plane : finding.planes) json["planes"].push_back(JsonOf(plane));
    if (finding.place) {
        json["explain"] = JsonOf(*finding.place);
        json["explain"]["why"] =
            reports::SentencesOf(*finding.place, search.Settings(), finding.planes);
    }
    json["points_file"] = NameOrNull(arguments.points);
    json["mesh"] = NameOrNull(arguments.mesh);
    json["outlines"] = NameOrNull(arguments.outlines);
    json["picture"] = NameOrNull(arguments.picture);
    json["applied"] = arguments.apply;
    json["seconds"] = finding.seconds;
    return json;
}

std::string TextOf(const PlanesFinding& finding, const Arguments& arguments) {
    const PlaneSearch& search = *finding.search;
    const auto& s = search.Settings();
    std::string text = fmt::format(
        "measured  spacing {:.1f} mm, noise {:.1f} mm\n"
        "used      cells {:g} m, distance {:.1f} mm, angle {:g} degrees, min area {:g} m2, "
        "min points {:g}, bridge {:g} m\n",
        s.spacing * 1000, s.noise * 1000, s.cellSize, s.distance * 1000, s.angle, s.minArea,
        s.minPoints, s.bridge);
    const double share = search.Points() > 0
                             ? 100.0 * static_cast<double>(search.AssignedPoints()) /
                                   static_cast<double>(search.Points())
                             : 0;
    std::map<std::string, std::size_t> kinds;
    double area = 0;
    for (const reports::WorldPlane& plane : finding.planes) {
        ++kinds[plane.kind];
        area += plane.area;
    }
    text += fmt::format("planes    {}, {:.2f} m2; {} of {} points, {:.1f} %\n",
                        platform::CountText(finding.planes.size()), area,
                        platform::CountText(search.AssignedPoints()),
                        platform::CountText(search.Points()), share);
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
    if (finding.place)
        text += fmt::format("{}:\n{}", arguments.explain,
                            reports::SentencesOf(*finding.place, s, finding.planes));
    for (const auto& [what, name] :
         {std::pair{"points", &arguments.points}, std::pair{"mesh", &arguments.mesh},
          std::pair{"outlines", &arguments.outlines}, std::pair{"picture", &arguments.picture}})
        if (!name->empty()) text += fmt::format("{:<9} {}\n", what, *name);
    if (arguments.apply)
        text += "applied   plane numbers are in the first values of the points' DCLC pairs\n";
    return text + fmt::format("{:.2f} s\n", finding.seconds);
}

Expected<void> DrawPicture(const Arguments& arguments, detail::OpenProject& project,
                           const PlanesFinding& finding, const detail::LocalToWorld& frame) {
    const PlaneSearch& search = *finding.search;
    output::PlanesPicture picture;
    picture.points = output::PointsForPicture(project, search, frame);
    picture.spacing = search.Settings().spacing;
    double area = 0;
    for (const reports::WorldPlane& plane : finding.planes) area += plane.area;
    picture.title =
        fmt::format("{} planes, {:.1f} m²", platform::CountText(finding.planes.size()), area);
    picture.subtitle =
        fmt::format("{} of {} points within {:.1f} mm; grey: on none",
                    platform::CountText(search.AssignedPoints()),
                    platform::CountText(search.Points()), search.Settings().distance * 1000);
    return output::WritePng(platform::FromUtf8(arguments.picture), output::DrawPlanes(picture));
}

Expected<void> WriteFiles(const Arguments& arguments, detail::OpenProject& project,
                          const PlanesFinding& finding, const detail::LocalToWorld& frame) {
    Expected<void> done;
    if (!arguments.points.empty())
        done = output::WritePlanePoints(platform::FromUtf8(arguments.points), project,
                                        *finding.search, frame);
    if (done && !arguments.mesh.empty()) {
        const output::PlanesMesh mesh =
            output::MeshOfPlanes(*finding.search, frame, finding.planes);
        done = output::WriteMesh(platform::FromUtf8(arguments.mesh), mesh.mesh, mesh.parts);
    }
    if (done && !arguments.outlines.empty())
        done = output::WriteOutlines(platform::FromUtf8(arguments.outlines), finding.planes);
    if (done && !arguments.picture.empty()) done = DrawPicture(arguments, project, finding, frame);
    if (done && arguments.apply)
        done = edits::ApplyPlaneNumbers(project.Manager().projectFile, *finding.search,
                                        arguments.options.proceed);
    return done;
}

// Before the work whose results they hold.
Expected<void> RequirePlaces(const Arguments& arguments) {
    for (const std::string* name :
         {&arguments.points, &arguments.mesh, &arguments.outlines, &arguments.picture}) {
        if (name->empty()) continue;
        if (auto place = output::RequireOutputPlace(platform::FromUtf8(*name)); !place)
            return place;
    }
    return {};
}

// Where the scanners stood, as far as the project knows.
std::vector<Vector> StationsOf(ProjectManager& manager) {
    std::vector<Vector> stations;
    const auto count = std::min<std::uint64_t>(manager.cloudHeader.stationCount, 65'536);
    for (std::uint64_t i = 0; i < count; ++i) {
        Vector at;
        if (manager.GetScanPosition(static_cast<int>(i), at.x, at.y, at.z)) stations.push_back(at);
    }
    return stations;
}

Expected<Outcome> RunPlanes(Arguments arguments) {
    const Expected<CString> path = detail::RequireProject(arguments.project);
    if (!path) return ErrorOf(path);
    if (auto places = RequirePlaces(arguments); !places) return ErrorOf(places);
    auto project = detail::OpenProject::Open(*path);
    if (!project) return ErrorOf(project);
    if (arguments.apply) {
        if (auto writable = (*project)->RequireWritable(); !writable) return ErrorOf(writable);
    }
    const auto frame = detail::ReadTransform((*project)->Manager().transformFile);
    if (!frame) return ErrorOf(frame);
    PlaneSearchOptions& options = arguments.options;
    options.memoryLimitBytes =
        platform::ParseBytes(arguments.memoryLimit).value_or(options.memoryLimitBytes);
    options.stations = StationsOf((*project)->Manager());
    options.proceed = [] { return !platform::Interrupted(); };

    PlanesFinding finding;
    const auto start = std::chrono::steady_clock::now();
    auto search = PlaneSearch::Run((*project)->Core(), options);
    if (!search) return ErrorOf(search);
    finding.search = std::move(*search);
    finding.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    finding.planes = reports::WorldPlanesOf(*finding.search, *frame);
    if (const auto place = platform::ParsePosition(arguments.explain)) {
        const auto report =
            finding.search->Explain(frame->ToLocal(Vector{(*place)[0], (*place)[1], (*place)[2]}));
        if (!report) return ErrorOf(report);
        finding.place = *report;
    }
    if (auto written = WriteFiles(arguments, **project, finding, *frame); !written)
        return ErrorOf(written);
    return Outcome{JsonOf(finding, arguments), TextOf(finding, arguments)};
}

std::string CheckAbove0(const std::string& text) {
    const std::optional<double> value = platform::ParseNumber(text);
    return value && *value > 0 ? std::string() : text + " must be a number above 0";
}

std::string CheckMemory(const std::string& text) {
    const std::optional<std::uint64_t> bytes = platform::ParseBytes(text);
    if (bytes && *bytes > 0) return {};
    return text + " is no amount of memory; write 512M, 1GiB or 2000000000";
}

std::string CheckPlace(const std::string& text) {
    if (platform::ParsePosition(text)) return {};
    return text + " is no position; write three numbers with commas, such as 12.4,3.08,1.5";
}

std::string CheckMeshName(const std::string& text) {
    if (output::IsMeshName(platform::FromUtf8(text))) return {};
    return text + " must end in .ply or .obj";
}

std::string CheckEnding(const std::string& text, const std::string& lower,
                        const std::string& upper) {
    const bool fits = text.size() > 4 && (text.ends_with(lower) || text.ends_with(upper));
    return fits ? std::string() : text + " must end in " + lower;
}

void AddSearchOptions(CLI::App& verb, Arguments& arguments) {
    PlaneSearchOptions& options = arguments.options;
    const auto add = [&verb](const std::string& name, double& value, const std::string& meaning,
                             const std::string& unit) {
        verb.add_option(name, value, meaning)->check(CheckAbove0)->type_name(unit);
    };
    add("--cell", options.cellSize,
        "Side of a cell, raised to 0.1, 0.2, 0.25, 0.5, 1, 2, 5 or 10 "
        "(default: from the points' spacing)",
        "M");
    add("--distance", options.distance,
        "Largest distance of a point from its plane (default: from the noise)", "M");
    add("--angle", options.angle, "Largest turn of a cell's normal (default 20)", "DEGREES");
    add("--min-area", options.minArea,
        "Least area of a plane (default: 0.25, or 9 cells where these are larger)", "M2");
    add("--min-points", options.minPoints, "Least points of a plane (default 30)", "N");
    verb.add_option(
            "--bridge", options.bridge,
            "Width of a gap across which pieces of one plane join (default 0.3, or two cells; "
            "0: none)")
        ->check(CLI::Range(0.0, 1000.0).description(""))
        ->type_name("M");
    verb.add_option("--memory-limit", arguments.memoryLimit,
                    "Memory for cells at most; larger cells are used beyond (default 1GiB)")
        ->check(CheckMemory)
        ->type_name("SIZE");
    verb.add_option("--threads", options.threads, "Threads to use (default 0: every core)")
        ->check(CLI::Range(0u, 1024u).description(""))
        ->type_name("N");
}

}  // namespace

void AddPlanesVerb(CLI::App& app, CommandContext& context) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* verb = AddVerb(app, context, "planes", "Find every plane of a project", kExamples,
                             [arguments](CommandContext&) { return RunPlanes(*arguments); });
    verb->add_option("project", arguments->project, "The project file")
        ->required()
        ->type_name("PROJECT.prj");
    AddSearchOptions(*verb, *arguments);
    verb->add_option("--points", arguments->points, "Write every point in its plane's colour")
        ->check([](const std::string& text) { return CheckEnding(text, ".ply", ".PLY"); })
        ->type_name("OUT.ply");
    verb->add_option("--mesh", arguments->mesh, "Write the planes as triangles")
        ->check(CheckMeshName)
        ->type_name("OUT.ply|OUT.obj");
    verb->add_option("--outlines", arguments->outlines, "Write the planes' outlines")
        ->check([](const std::string& text) {
            const bool known = output::IsOutlineName(platform::FromUtf8(text));
            return known ? std::string() : text + " must end in .dxf, .geojson or .ifc";
        })
        ->type_name("OUT.dxf|OUT.geojson|OUT.ifc");
    verb->add_option("--picture", arguments->picture,
                     "Draw the planes in plan, obliquely and in elevations")
        ->check([](const std::string& text) { return CheckEnding(text, ".png", ".PNG"); })
        ->type_name("OUT.png");
    verb->add_flag("--apply", arguments->apply,
                   "Write each point's plane number, 0 for none, into the first value of its DCLC "
                   "pair");
    verb->add_option("--explain", arguments->explain,
                     "Say why a place is in a plane or in none, world coordinates")
        ->check(CheckPlace)
        ->type_name("X,Y,Z");
}

}  // namespace orvix::cli
