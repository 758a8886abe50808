// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <memory>

#include "cli/verbs.h"
#include "orvix/platform/amounts.h"
#include "orvix/project/check/project_check.h"
#include "orvix/project/project_gate.h"

namespace orvix::cli {

namespace {

constexpr const char* kExamples =
    "  orvix check scan.prj\n"
    "  orvix check scan.prj --json | jq '.faults[].file'\n"
    "Exit code 0 when every file agrees with the others, 5 when not.";

Json JsonOf(const detail::CheckReport& report) {
    Json json;
    json["ok"] = report.Ok();
    json["faults"] = Json::array();
    for (const detail::CheckFault& fault : report.faults)
        json["faults"].push_back(Json{{"file", fault.file}, {"what", fault.what}});
    json["total_faults"] = report.total;
    return json;
}

std::string TextOf(const detail::CheckReport& report, const std::string& project) {
    if (report.Ok()) return fmt::format("{}: no faults\n", project);
    std::string text;
    for (const detail::CheckFault& fault : report.faults)
        text += fmt::format("{}: {}\n", fault.file, fault.what);
    text += fmt::format("{}: {} fault{}; import the scans again to repair them\n", project,
                        platform::CountText(report.total), report.total == 1 ? "" : "s");
    return text;
}

Expected<Outcome> RunCheck(const std::string& project, CommandContext& context) {
    const Expected<CString> path = detail::RequireProject(project, detail::CutRecord::Taken);
    if (!path) return ErrorOf(path);
    ProgressReporter progress(ProgressModeOf(context.progressWord));
    detail::CheckOptions options;
    options.progress = [&progress](double fraction) {
        progress.Report({"checking", fraction, 0, 0, -1});
        return MayGoOn();
    };
    const Expected<detail::CheckReport> report = detail::CheckProject(*path, options);
    progress.Finish();
    if (!report) return ErrorOf(report);
    return Outcome{JsonOf(*report), TextOf(*report, project),
                   report->Ok() ? kExitOk : kExitDamaged};  // BEHAVIOUR C6
}

}  // namespace

void AddCheckVerb(CLI::App& app, CommandContext& context) {
    const auto project = std::make_shared<std::string>();
    CLI::App* verb =
        AddVerb(app, context, "check", "Compare every file of a project with the others", kExamples,
                [project](CommandContext& chosen) { return RunCheck(*project, chosen); });
    AddProjectOption(*verb, *project);
    AddProgressOption(*verb, context);
}

}  // namespace orvix::cli
