// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/CLI.hpp>

#include <memory>
#include <optional>

#include "cli/verbs.h"
#include "cli/verbs/planes_result.h"
#include "edits/plane_numbers.h"
#include "orvix/platform/amounts.h"
#include "orvix/project/project_gate.h"
#include "orvix/project/project_lock.h"
#include "output/export/planes_points.h"
#include "output/mesh/planes_mesh.h"
#include "output/outlines/outline_writer.h"
#include "output/picture/picture_of_planes.h"
#include "output/picture/png_writer.h"

namespace orvix::cli {

namespace {

constexpr const char* kExamples =
    "  orvix planes scan.prj --picture planes.png\n"
    "  orvix planes scan.prj --json > planes.json\n"
    "  orvix planes scan.prj --mesh planes.obj --points planes.ply --outlines planes.ifc\n"
    "  orvix planes scan.prj --distance 0.03 --min-area 1 --apply\n"
    "  orvix planes scan.prj --explain 12.4,3.08,1.5\n"
    "  orvix planes scan.prj --save\n"
    "  orvix planes scan.prj --saved --outlines planes.dxf --picture planes.png";

detection::Detail DetailOf(const std::string& word) {
    if (word == "fine") return detection::Detail::Fine;
    return word == "coarse" ? detection::Detail::Coarse : detection::Detail::Normal;
}

Expected<void> WriteFiles(const PlanesArguments& arguments, const reports::WorldProject& project,
                          const reports::PlanesFinding& finding) {
    Expected<void> done;
    if (!arguments.points.empty())
        done = output::WritePlanePoints(platform::FromUtf8(arguments.points), *project.files,
                                        *finding.set, project.frame);
    if (done && !arguments.mesh.empty()) {
        const output::PlanesMesh mesh =
            output::MeshOfPlanes(*finding.set, project.frame, finding.planes);
        done = output::WriteMesh(platform::FromUtf8(arguments.mesh), mesh.mesh, mesh.parts);
    }
    if (done && !arguments.outlines.empty())
        done = output::WriteOutlines(platform::FromUtf8(arguments.outlines), finding.planes);
    if (done && !arguments.picture.empty())
        done = output::WritePng(platform::FromUtf8(arguments.picture),
                                output::DrawPlanes(output::PictureOf(project, finding)));
    if (done && arguments.apply)
        done = edits::ApplyPlaneNumbers(*project.files, *finding.set, MayGoOn);
    return done;
}

Expected<std::optional<detection::PlaceReport>> Explain(const std::string& place,
                                                        const reports::WorldProject& project,
                                                        const reports::PlanesFinding& finding) {
    const auto at = platform::ParsePosition(place);
    if (!at) return std::nullopt;
    const SimplePointT<double> world{(*at)[0], (*at)[1], (*at)[2]};
    auto report = finding.search->Explain(project.frame.ToLocal(world));
    if (!report) return ErrorOf(report);
    return *report;
}

Expected<reports::PlanesFinding> FindOrRead(const PlanesArguments& arguments,
                                            const reports::WorldProject& project) {
    if (arguments.saved) return reports::ReadPlanes(project);
    detection::PlaneSearchOptions options = arguments.options;
    options.memoryLimitBytes =
        platform::ParseBytes(arguments.memoryLimit).value_or(options.memoryLimitBytes);
    options.detail = DetailOf(arguments.detail);
    options.proceed = MayGoOn;
    return reports::FindPlanes(project, options);
}

// Before the files, which show the planes' numbers.
Expected<detection::SaveReport> Save(const reports::WorldProject& project,
                                     reports::PlanesFinding& finding) {
    auto saved = detection::SavePlanes(project.Manager(), project.Core(), *finding.set, MayGoOn);
    if (saved) finding.Renumber();
    return saved;
}

Expected<Outcome> RunPlanes(const PlanesArguments& arguments) {
    const Expected<CString> path = detail::RequireProject(arguments.project);
    if (!path) return ErrorOf(path);
    if (auto places = RequirePlaces(
            {arguments.points, arguments.mesh, arguments.outlines, arguments.picture});
        !places)
        return ErrorOf(places);
    std::optional<detail::ProjectLock> lock;
    if (arguments.apply || arguments.save) {
        auto held = detail::ProjectLock::Acquire(*path);
        if (!held) return ErrorOf(held);
        lock.emplace(std::move(*held));
    }
    const auto project = reports::WorldProject::Open(*path);
    if (!project) return ErrorOf(project);
    if (arguments.apply || arguments.save) {
        if (auto writable = project->files->RequireWritable(); !writable) return ErrorOf(writable);
    }
    if (arguments.save) {
        if (auto savable = detection::RequireSavable(project->Manager()); !savable)
            return ErrorOf(savable);
    }
    auto finding = FindOrRead(arguments, *project);
    if (!finding) return ErrorOf(finding);
    PlanesExtras extras;
    if (arguments.save) {
        if (auto same = project->files->Stamp().RequireSame(); !same) return ErrorOf(same);
        const auto save = Save(*project, *finding);
        if (!save) return ErrorOf(save);
        extras.save = *save;
    }
    const auto place = Explain(arguments.explain, *project, *finding);
    if (!place) return ErrorOf(place);
    extras.place = *place;
    if (auto written = WriteFiles(arguments, *project, *finding); !written) return ErrorOf(written);
    // A result that lacks memory may end the process at once, and with it no lock that is held.
    lock.reset();
    return OutcomeOf(arguments, *finding, extras);
}

std::string CheckAbove0(const std::string& text) {
    const std::optional<double> value = platform::ParseNumber(text);
    return value && *value > 0 ? std::string() : text + " must be a number above 0";
}

void AddSearchOptions(CLI::App& verb, PlanesArguments& arguments) {
    detection::PlaneSearchOptions& options = arguments.options;
    const auto add = [&verb](const std::string& name, double& value, const std::string& meaning,
                             const std::string& unit) {
        verb.add_option(name, value, meaning)->check(CheckAbove0)->type_name(unit);
    };
    verb.add_option("--detail", arguments.detail,
                    "How much of what stands out from a surface is a plane of its own: fine, "
                    "normal or coarse (default normal)")
        ->check(CLI::IsMember({"fine", "normal", "coarse"}).description(""))
        ->type_name("DETAIL");
    add("--cell", options.cellSize,
        "Side of a cell: 0.1, 0.2, 0.25, 0.5, 1, 2, 5 or 10, the next of them for a size between "
        "(default: from how densely points lie)",
        "M");
    add("--distance", options.distance,
        "Largest distance of a point from its plane, for all of them (default: from the noise, and "
        "from how each plane scatters and waves)",
        "M");
    add("--angle", options.angle, "Largest turn of a cell's normal (default 20)", "DEGREES");
    add("--min-area", options.minArea,
        "Least area of a plane (default: 0.015 in a room or house, up to 0.25 in what is wider)",
        "M2");
    add("--min-points", options.minPoints,
        "Least points of a plane (default 50, in thin scans 30; fine half, coarse three times "
        "that)",
        "N");
    verb.add_option(
            "--bridge", options.bridge,
            "Width of a gap across which pieces of one plane join, unless a wall stands between "
            "(default two cells and the points' distance; 0: none)")
        ->check(CLI::Range(0.0, 1000.0).description(""))
        ->type_name("M");
    AddMemoryOption(verb, arguments.memoryLimit,
                    "Memory for cells at most; larger cells are used beyond (default 1GiB)");
    AddThreadsOption(verb, options.threads);
}

}  // namespace

void AddPlanesVerb(CLI::App& app, CommandContext& context) {
    const auto arguments = std::make_shared<PlanesArguments>();
    CLI::App* verb = AddVerb(app, context, "planes", "Find every plane of a project", kExamples,
                             [arguments](CommandContext&) { return RunPlanes(*arguments); });
    AddProjectOption(*verb, context, arguments->project);
    AddSearchOptions(*verb, *arguments);
    AddFileOption(*verb, "--points", arguments->points, "Write every point in its plane's colour",
                  {".ply"});
    AddFileOption(*verb, "--mesh", arguments->mesh, "Write the planes as triangles",
                  {".ply", ".obj"});
    AddFileOption(*verb, "--outlines", arguments->outlines, "Write the planes' outlines",
                  {".dxf", ".geojson", ".ifc"});
    AddFileOption(*verb, "--picture", arguments->picture,
                  "Draw the planes in plan, obliquely and in elevations", {".png"});
    verb->add_flag("--apply", arguments->apply,
                   "Write each point's plane number, 0 for none, into the first value of its DCLC "
                   "pair");
    AddPositionOption(*verb, "--explain", arguments->explain,
                      "Say why a place is in a plane or in none, world coordinates");
    CLI::Option* save = verb->add_flag("--save", arguments->save,
                                       "Keep the planes in the project, with their numbers");
    CLI::Option* saved = verb->add_flag("--saved", arguments->saved,
                                        "Take the planes that --save kept, without another search")
                             ->excludes(save)
                             ->excludes("--explain");
    for (const char* option :
         {"--detail", "--cell", "--distance", "--angle", "--min-area", "--min-points", "--bridge"})
        saved->excludes(option);
}

}  // namespace orvix::cli
