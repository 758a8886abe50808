// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/App.hpp>
#include <fmt/format.h>

#include <memory>
#include <optional>

#include "building/saved_building.h"
#include "cli/results/model_result.h"
#include "cli/verbs.h"
#include "orvix/project/access/project_gate.h"
#include "orvix/project/access/project_lock.h"
#include "output/building/building_file.h"
#include "output/drawing/png_writer.h"
#include "output/sheets/building_picture.h"
#include "reports/world_project.h"

namespace orvix::cli {

namespace {

constexpr const char* kExamples =
    "  orvix model scan.prj house.ifc\n"
    "  orvix model scan.prj house.ifc house.json house.obj\n"
    "  orvix model scan.prj plans.dxf plans.svg plans.png --cut 1.5 --north 12\n"
    "  orvix model scan.prj --picture house.png --orthogonal --save --json\n"
    "  orvix model scan.prj house.ifc --saved     the model that --save kept";

std::string CheckFile(const std::string& text) {
    if (output::IsBuildingName(platform::FromUtf8(text))) return {};
    return text + " must end in " + output::BuildingEndings();
}

Expected<void> RequirePlacesOf(const ModelArguments& arguments) {
    for (const std::string& file : arguments.files) {
        if (auto place = RequirePlaces({file}); !place) return place;
    }
    return RequirePlaces({arguments.picture});
}

Expected<reports::BuildingFinding> FindOrRead(const ModelArguments& arguments,
                                              const reports::WorldProject& project,
                                              ProgressReporter& progress) {
    if (arguments.saved) return reports::ReadBuilding(project.Manager(), project.Core());
    const detection::PlaneSearchOptions search = arguments.search.Options();
    building::BuildingOptions options;
    options.orthogonal = arguments.orthogonal;
    options.memoryLimitBytes = search.memoryLimitBytes;
    options.threads = search.threads;
    options.proceed = MayGoOn;
    options.progress = [&progress](double done) { progress.Report({"modelling", done}); };
    return reports::FindBuilding(
        project.Manager(), project.Core(),
        arguments.searched ? reports::PlanesWanted::Searched : reports::PlanesWanted::SavedIfAny,
        search, options);
}

Expected<void> Save(const reports::WorldProject& project, const building::Building& building) {
    if (auto same = project.files->Stamp().RequireSame(); !same) return same;
    return building::SaveBuilding(project.Manager(), project.Core(), building);
}

Expected<Outcome> RunModel(const ModelArguments& arguments, const CommandContext& context) {
    const Expected<CString> path = detail::RequireProject(arguments.project);
    if (!path) return ErrorOf(path);
    if (auto places = RequirePlacesOf(arguments); !places) return ErrorOf(places);
    std::optional<detail::ProjectLock> lock;
    if (arguments.save) {
        auto held = detail::ProjectLock::Acquire(*path);
        if (!held) return ErrorOf(held);
        lock.emplace(std::move(*held));
    }
    const auto project = reports::WorldProject::Open(*path);
    if (!project) return ErrorOf(project);
    if (arguments.save) {
        if (auto writable = project->files->RequireWritable(); !writable) return ErrorOf(writable);
        if (auto savable = building::RequireSavable(project->Manager()); !savable)
            return ErrorOf(savable);
    }
    ProgressReporter progress(ProgressModeOf(context.progressWord));
    const auto finding = FindOrRead(arguments, *project, progress);
    progress.Finish();
    if (!finding) return ErrorOf(finding);
    if (arguments.save) {
        if (auto saved = Save(*project, finding->building); !saved) return ErrorOf(saved);
    }
    for (const std::string& file : arguments.files) {
        auto written = output::WriteBuilding(platform::FromUtf8(file), finding->building,
                                             project->frame, arguments.plans);
        if (!written) return ErrorOf(written);
    }
    if (!arguments.picture.empty()) {
        output::BuildingPicture picture = output::PictureOf(finding->building, arguments.plans);
        output::AddScan(project->Core(), picture);
        auto written =
            output::WritePng(platform::FromUtf8(arguments.picture), output::DrawBuilding(picture));
        if (!written) return ErrorOf(written);
    }
    // A result that lacks memory may end the process at once, and with it no lock that is held.
    lock.reset();
    return OutcomeOf(arguments, *finding, project->frame);
}

}  // namespace

void AddModelVerb(CLI::App& app, CommandContext& context) {
    const auto arguments = std::make_shared<ModelArguments>();
    CLI::App* verb =
        AddVerb(app, context, "model", "Turn a project's planes into a building", kExamples,
                [arguments](CommandContext& chosen) { return RunModel(*arguments, chosen); });
    AddProjectOption(*verb, context, arguments->project);
    verb->add_option("files", arguments->files,
                     "Files to write; their endings name the formats: " + output::BuildingEndings())
        ->check(CheckFile)
        ->type_name("OUT");
    AddFileOption(*verb, "--picture", arguments->picture,
                  "Draw the building: the plans of its storeys and an oblique view", {".png"});
    CLI::Option* orthogonal =
        verb->add_flag("--orthogonal", arguments->orthogonal,
                       "Turn walls parallel and square to each other, within their tolerance");
    CLI::Option* save = verb->add_flag("--save", arguments->save, "Keep the model in the project");
    CLI::Option* saved = verb->add_flag("--saved", arguments->saved,
                                        "Take the model that --save kept, without a search")
                             ->excludes(save)
                             ->excludes(orthogonal);
    verb->add_flag("--search", arguments->searched,
                   "Search planes, even where 'planes --save' kept some")
        ->excludes(saved);
    AddAmountOption(*verb, "--cut", arguments->plans.cut,
                    "Height above each storey's floor at which plans are cut (default 1.2)",
                    {0.05, 100, "M"});
    AddAmountOption(*verb, "--north", arguments->plans.north,
                    "Turn from the project's y to north on plans, clockwise (default 0)",
                    {-360, 360, "DEGREES"});
    AddSearchOptions(*verb, arguments->search);
    AddThreadsOption(*verb, arguments->search.options.threads);
    for (const char* option : kSearchOptions) {
        saved->excludes(option);
        verb->get_option(option)->each(
            [arguments](const std::string&) { arguments->searched = true; });
    }
    AddProgressOption(*verb, context);
}

}  // namespace orvix::cli
