// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/App.hpp>
#include <fmt/format.h>

#include <memory>

#include "building/saved/building_records.h"
#include "cli/verbs.h"
#include "orvix/platform/amounts.h"
#include "orvix/project/access/project_gate.h"
#include "orvix/project/check/project_check.h"
#include "parallel/pool.h"

namespace orvix::cli {

namespace {

constexpr const char* kExamples =
    "  orvix check scan.prj\n"
    "  orvix check scan.prj --deep\n"
    "  orvix check scan.prj --json | jq '.faults[].file'\n"
    "Exit code 0 when every file agrees with the others, 5 when not.";

// What the project's sums have shown, in a word.
const char* WordOf(const detail::CheckReport& report, detail::SumDepth depth) {
    switch (report.sums.state) {
        case detail::SumState::None:
            return "none";
        case detail::SumState::Damaged:
            return "damaged";
        case detail::SumState::Compared:
            break;
    }
    return depth == detail::SumDepth::All ? "all" : "records";
}

Json JsonOf(const detail::CheckReport& report, detail::SumDepth depth) {
    Json json = Json::object();
    json["ok"] = report.Ok();
    json["faults"] = Json::array();
    for (const detail::CheckFault& fault : report.faults)
        json["faults"].push_back(Json{{"file", fault.file}, {"what", fault.what}});
    json["total_faults"] = report.total;
    json["sums"] = {{"compared", WordOf(report, depth)},
                    {"files", report.sums.files},
                    {"bytes", report.sums.bytes},
                    {"written_since", report.sums.written}};
    return json;
}

// What a deep check adds: how much was compared, and what could not be.
std::string SumText(const detail::SumReport& sums, const std::string& project) {
    if (sums.state == detail::SumState::None) {
        return fmt::format("{}: no sums; 'orvix repair' makes them\n", project);
    }
    if (sums.state == detail::SumState::Damaged) return {};
    std::string text =
        fmt::format("{}: {} files with {} bytes compared with their sums\n", project,
                    platform::CountText(sums.files), platform::CountText(sums.bytes));
    for (const std::string& name : sums.written) {
        text += fmt::format(
            "{}: {} was opened for writing since it was summed and is not compared; "
            "'orvix repair' sums it anew\n",
            project, name);
    }
    return text;
}

std::string TextOf(const detail::CheckReport& report, const std::string& project,
                   detail::SumDepth depth) {
    std::string text = depth == detail::SumDepth::All ? SumText(report.sums, project) : "";
    if (report.Ok()) return text + fmt::format("{}: no faults\n", project);
    for (const detail::CheckFault& fault : report.faults)
        text += fmt::format("{}: {}\n", fault.file, fault.what);
    text += fmt::format("{}: {} fault{}; see 'orvix repair', or import the scans again\n", project,
                        platform::CountText(report.total), report.total == 1 ? "" : "s");
    return text;
}

struct Arguments {
    std::string project;
    bool deep = false;
};

Expected<Outcome> RunCheck(const Arguments& arguments, CommandContext& context) {
    const std::string& project = arguments.project;
    const Expected<CString> path = detail::RequireProject(project, detail::CutRecord::Taken);
    if (!path) return ErrorOf(path);
    ProgressReporter progress(ProgressModeOf(context.progressWord));
    detail::CheckOptions options;
    options.modelFault = building::FaultOfRecords;
    parallel::Pool pool(0, MayGoOn, "the check was cancelled");
    if (arguments.deep) options.sums = detail::SumDepth::All;
    options.runBlocks = [&](std::size_t jobs, const detail::BlockJob& job) {
        return pool.RunJobs(jobs, job);
    };
    options.progress = [&progress](double fraction) {
        progress.Report({"checking", fraction, 0, 0, -1});
        return MayGoOn();
    };
    const Expected<detail::CheckReport> report = detail::CheckProject(*path, options);
    progress.Finish();
    if (!report) return ErrorOf(report);
    return Outcome{JsonOf(*report, options.sums), TextOf(*report, project, options.sums),
                   report->Ok() ? kExitOk : kExitDamaged};  // BEHAVIOUR C6
}

}  // namespace

void AddCheckVerb(CLI::App& app, CommandContext& context) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* verb =
        AddVerb(app, context, "check", "Compare every file of a project with the others", kExamples,
                [arguments](CommandContext& chosen) { return RunCheck(*arguments, chosen); });
    AddProjectOption(*verb, context, arguments->project);
    verb->add_flag("--deep", arguments->deep,
                   "Compare every byte with the sums that the import left; all cores");
    AddProgressOption(*verb, context);
}

}  // namespace orvix::cli
