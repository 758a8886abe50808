// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/App.hpp>
#include <fmt/format.h>

#include <memory>
#include <string>
#include <vector>

#include "cli/options/search_options.h"
#include "cli/verbs.h"
#include "detection/tasks/plane_tasks.h"
#include "orvix/platform/text.h"
#include "orvix/project/access/open_project.h"
#include "orvix/project/access/project_gate.h"

namespace orvix::cli {

namespace {

using detection::PlaneTasks;

struct Arguments {
    std::string project;
    unsigned pieces = 64;
    unsigned threads = 0;
    std::vector<std::string> names;
    SearchArguments search;
};

Outcome OutcomeOf(const CString& project, const detection::TaskState& state) {
    Outcome outcome;
    outcome.json["project"] = platform::ToUtf8(project);
    outcome.json["folder"] = platform::ToUtf8(PlaneTasks::FolderOf(project));
    outcome.json["ready"] = Json::array();
    outcome.json["done"] = Json::array();
    for (const std::string& name : state.ready) {
        outcome.json["ready"].push_back(name);
        outcome.text += fmt::format("ready  {}\n", name);
    }
    for (const std::string& name : state.done) {
        outcome.json["done"].push_back(name);
        outcome.text += fmt::format("done   {}\n", name);
    }
    if (state.ready.empty() && !state.done.empty())
        outcome.text += "every task is done: planes --tasks gives the planes\n";
    return outcome;
}

// Calls use(tasks) with what `open` makes of the project's tasks; the outcome is where they stand then.
template <class MakeTasks, class Use>
Expected<Outcome> WithTasks(const Arguments& arguments, MakeTasks&& open, Use&& use) {
    const Expected<CString> path = detail::RequireProject(arguments.project);
    if (!path) return ErrorOf(path);
    const auto project = detail::OpenProject::Open(*path);
    if (!project) return ErrorOf(project);
    auto tasks = open(*path, (*project)->Core());
    if (!tasks) return ErrorOf(tasks);
    if (auto done = use(*tasks); !done) return ErrorOf(done);
    return OutcomeOf(*path, tasks->State());
}

Expected<void> Nothing(PlaneTasks&) {
    return {};
}

Expected<Outcome> RunBegin(const Arguments& arguments) {
    return WithTasks(
        arguments,
        [&](const CString& path, CProjectCore& core) {
            return PlaneTasks::Begin(path, core, arguments.search.Options(), arguments.pieces);
        },
        Nothing);
}

Expected<Outcome> RunList(const Arguments& arguments) {
    return WithTasks(arguments, PlaneTasks::Open, Nothing);
}

Expected<Outcome> RunTasks(const Arguments& arguments) {
    return WithTasks(arguments, PlaneTasks::Open, [&](PlaneTasks& tasks) {
        Expected<void> done;
        for (const std::string& name : arguments.names)
            if (done) done = tasks.Run(name, arguments.threads, MayGoOn);
        return done;
    });
}

Expected<Outcome> RunClear(const Arguments& arguments) {
    const Expected<CString> path = detail::RequireProject(arguments.project);
    if (!path) return ErrorOf(path);
    if (auto cleared = PlaneTasks::Clear(*path); !cleared) return ErrorOf(cleared);
    return OutcomeOf(*path, {});
}

CLI::App* AddNested(CLI::App& parent, CommandContext& context, const std::string& name,
                    const std::string& summary, const std::string& examples,
                    const std::shared_ptr<Arguments>& arguments,
                    Expected<Outcome> (*run)(const Arguments&)) {
    CLI::App* verb = AddVerb(parent, context, name, summary, examples,
                             [arguments, run](CommandContext&) { return run(*arguments); });
    AddProjectOption(*verb, context, arguments->project);
    return verb;
}

}  // namespace

void AddPlanesTasksVerb(CLI::App& app, CommandContext& context) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* verb = app.add_subcommand("planes-tasks",
                                        "Find planes in tasks that processes and machines share");
    verb->require_subcommand(1);
    CLI::App* begin = AddNested(*verb, context, "begin", "Plan a search, or reopen its plan",
                                "  orvix planes-tasks begin scan.prj --pieces 200 --min-area 1",
                                arguments, RunBegin);
    AddSearchOptions(*begin, arguments->search);
    begin
        ->add_option("--pieces", arguments->pieces,
                     "Parts that the points are divided into at most (default 64)")
        ->check(CLI::Range(1u, 100'000u).description(""))
        ->type_name("N");
    AddNested(*verb, context, "list", "Show which tasks can run now, and which are done",
              "  orvix planes-tasks list scan.prj --json", arguments, RunList);
    CLI::App* run =
        AddNested(*verb, context, "run", "Run tasks, one after the other",
                  "  orvix planes-tasks run scan.prj tiles/0 tiles/1", arguments, RunTasks);
    run->add_option("tasks", arguments->names, "The tasks' names")
        ->required()
        ->type_name("NAME...");
    AddThreadsOption(*run, arguments->threads);
    AddNested(*verb, context, "clear", "Remove the plan and all results",
              "  orvix planes-tasks clear scan.prj", arguments, RunClear);
}

}  // namespace orvix::cli
