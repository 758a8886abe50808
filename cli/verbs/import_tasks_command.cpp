// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/App.hpp>
#include <fmt/format.h>

#include <memory>
#include <optional>
#include <utility>

#include "cli/options/import_arguments.h"
#include "cli/verbs.h"
#include "importer/import_tasks.h"
#include "orvix/platform/amounts.h"
#include "orvix/platform/text.h"

namespace orvix::cli {

namespace {

using importer::ImportTasks;

struct TaskArguments {
    std::string project;
    std::vector<std::string> tasks;
    std::string memoryLimit = "1GiB";
    unsigned threads = 0;
};

constexpr const char* kExamples =
    "  orvix import-tasks begin north.las south.las site.prj\n"
    "  orvix import-tasks list site.prj\n"
    "  orvix import-tasks run site.prj survey/0 survey/1    anywhere, at once\n"
    "  orvix import-tasks run site.prj publish\n"
    "Until 'list' names no task; 'orvix import --resume' does the rest in one process.";

auto WatchOf(ProgressReporter& progress) {
    return [&progress](const importer::ImportProgress& state) {
        progress.Report(
            {WordOf(state.phase), state.fraction, state.bytes, state.points, state.secondsLeft});
        return MayGoOn();
    };
}

Expected<Outcome> OutcomeOf(ImportTasks& tasks, const std::string& project) {
    const auto ready = tasks.Ready();
    if (!ready) return ErrorOf(ready);
    const auto done = tasks.Done();
    if (!done) return ErrorOf(done);
    Outcome outcome;
    outcome.json["project"] = project;
    outcome.json["folder"] = platform::ToUtf8(tasks.Folder());
    outcome.json["ready"] = *ready;
    outcome.json["done"] = *done;
    for (const std::string& task : *ready) outcome.text += fmt::format("ready  {}\n", task);
    for (const std::string& task : *done) outcome.text += fmt::format("done   {}\n", task);
    return outcome;
}

Expected<Outcome> RunBegin(const ImportArguments& arguments, CommandContext& context) {
    ProgressReporter progress(ProgressModeOf(context.progressWord));
    auto tasks = ImportTasks::Begin(InputsOf(arguments), ProjectOf(arguments), OptionsOf(arguments),
                                    WatchOf(progress));
    progress.Finish();
    if (!tasks) return ErrorOf(tasks);
    return OutcomeOf(*tasks, arguments.paths.back());
}

Expected<ImportTasks> OpenTasks(const TaskArguments& arguments) {
    return ImportTasks::Open(platform::FromUtf8(arguments.project),
                             platform::ParseBytes(arguments.memoryLimit).value_or(0),
                             arguments.threads);
}

Expected<Outcome> RunList(const TaskArguments& arguments) {
    auto tasks = OpenTasks(arguments);
    if (!tasks) return ErrorOf(tasks);
    return OutcomeOf(*tasks, arguments.project);
}

Expected<Outcome> RunTasks(const TaskArguments& arguments, CommandContext& context) {
    auto tasks = OpenTasks(arguments);
    if (!tasks) return ErrorOf(tasks);
    ProgressReporter progress(ProgressModeOf(context.progressWord));
    std::optional<importer::ImportReport> report;
    for (const std::string& task : arguments.tasks) {
        auto done = tasks->Run(task, WatchOf(progress));
        if (!done) {
            progress.Finish();
            return ErrorOf(done);
        }
        if (*done) report = std::move(**done);
    }
    progress.Finish();
    auto outcome = OutcomeOf(*tasks, arguments.project);
    if (!outcome) return outcome;
    outcome->json["report"] = nullptr;
    if (report) outcome->json["report"] = JsonOf(*report);
    if (report) outcome->text += TextOf(*report);
    return outcome;
}

Expected<Outcome> RunClear(const TaskArguments& arguments) {
    auto cleared = ImportTasks::Clear(platform::FromUtf8(arguments.project));
    if (!cleared) return ErrorOf(cleared);
    Outcome outcome;
    outcome.json["project"] = arguments.project;
    outcome.text = fmt::format("the import of {} was given up\n", arguments.project);
    return outcome;
}

}  // namespace

void AddImportTasksVerb(CLI::App& app, CommandContext& context) {
    CLI::App* group = app.add_subcommand("import-tasks", "Share an import among processes");
    group->require_subcommand(1);
    group->footer(kExamples);

    const auto begun = std::make_shared<ImportArguments>();
    CLI::App* begin =
        AddVerb(*group, context, "begin", "Lay an import out as tasks, or continue one",
                "  orvix import-tasks begin north.las south.las site.prj --skeleton 1cm",
                [begun](CommandContext& chosen) { return RunBegin(*begun, chosen); });
    AddImportArguments(*begin, begun);
    AddImportMemoryOption(*begin, begun->memoryLimit);
    AddThreadsOption(*begin, begun->threads);
    AddProgressOption(*begin, context);

    const auto arguments = std::make_shared<TaskArguments>();
    CLI::App* list = AddVerb(*group, context, "list", "Name the tasks that can run now",
                             "  orvix import-tasks list site.prj --json",
                             [arguments](CommandContext&) { return RunList(*arguments); });
    AddUnwatchedProjectOption(*list, arguments->project);

    CLI::App* run =
        AddVerb(*group, context, "run", "Run tasks, one after the other",
                "  orvix import-tasks run site.prj sort/0 sort/1 --threads 4",
                [arguments](CommandContext& chosen) { return RunTasks(*arguments, chosen); });
    AddUnwatchedProjectOption(*run, arguments->project);
    run->add_option("task", arguments->tasks, "The tasks' names, as 'list' prints them")
        ->required()
        ->expected(1, -1)
        ->type_name("TASK...");
    AddImportMemoryOption(*run, arguments->memoryLimit);
    AddThreadsOption(*run, arguments->threads);
    AddProgressOption(*run, context);

    CLI::App* clear = AddVerb(*group, context, "clear", "Give an import up and remove its tasks",
                              "  orvix import-tasks clear site.prj",
                              [arguments](CommandContext&) { return RunClear(*arguments); });
    AddUnwatchedProjectOption(*clear, arguments->project);
}

}  // namespace orvix::cli
