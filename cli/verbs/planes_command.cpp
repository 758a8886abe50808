// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/App.hpp>
#include <fmt/format.h>

#include <memory>
#include <optional>

#include "cli/options/search_options.h"
#include "cli/results/planes_result.h"
#include "cli/verbs.h"
#include "detection/tasks/plane_tasks.h"
#include "edits/plane_numbers.h"
#include "orvix/platform/amounts.h"
#include "orvix/project/access/project_gate.h"
#include "orvix/project/access/project_lock.h"
#include "output/drawing/png_writer.h"
#include "output/export/planes_points.h"
#include "output/mesh/planes_mesh.h"
#include "output/outlines/outline_writer.h"
#include "output/picture/picture_of_planes.h"

namespace orvix::cli {

namespace {

constexpr const char* kExamples =
    "  orvix planes scan.prj --picture planes.png\n"
    "  orvix planes scan.prj --json > planes.json\n"
    "  orvix planes scan.prj --mesh planes.obj --points planes.ply --outlines planes.ifc\n"
    "  orvix planes scan.prj --distance 0.03 --min-area 1 --apply\n"
    "  orvix planes scan.prj --explain 12.4,3.08,1.5\n"
    "  orvix planes scan.prj --save\n"
    "  orvix planes scan.prj --saved --outlines planes.dxf --picture planes.png\n"
    "  orvix planes scan.prj --tasks --save               what planes-tasks has found";

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

Expected<reports::PlanesFinding> FindOrRead(const CString& path, const PlanesArguments& arguments,
                                            const reports::WorldProject& project) {
    if (arguments.saved) return reports::ReadPlanes(project);
    const detection::PlaneSearchOptions options = arguments.search.Options();
    if (!arguments.tasks) return reports::FindPlanes(project, options);
    auto tasks = detection::PlaneTasks::Open(path, project.Core());
    if (!tasks) return ErrorOf(tasks);
    if (const auto state = tasks->State(); !state.ready.empty())
        return Fail(ErrorCode::BadInput,
                    fmt::format("{} of the search's tasks can run now, {} first; run them all",
                                state.ready.size(), state.ready.front()));
    return reports::FinishPlanes(project, tasks->Stages(), options);
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
    auto finding = FindOrRead(*path, arguments, *project);
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

}  // namespace

void AddPlanesVerb(CLI::App& app, CommandContext& context) {
    const auto arguments = std::make_shared<PlanesArguments>();
    CLI::App* verb = AddVerb(app, context, "planes", "Find every plane of a project", kExamples,
                             [arguments](CommandContext&) { return RunPlanes(*arguments); });
    AddProjectOption(*verb, context, arguments->project);
    AddSearchOptions(*verb, arguments->search);
    AddThreadsOption(*verb, arguments->search.options.threads);
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
    CLI::Option* tasks = verb->add_flag("--tasks", arguments->tasks,
                                        "Take what the tasks of planes-tasks have found")
                             ->excludes(saved);
    for (const char* option : kSearchOptions) {
        saved->excludes(option);
        tasks->excludes(option);
    }
    tasks->excludes("--memory-limit");
}

}  // namespace orvix::cli
