// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/App.hpp>
#include <fmt/format.h>

#include <memory>
#include <optional>
#include <utility>

#include "cli/json_parts.h"
#include "cli/verbs.h"
#include "importer/repair/repair.h"
#include "orvix/platform/amounts.h"
#include "orvix/platform/path.h"
#include "orvix/project/access/project_lock.h"

namespace orvix::cli {

namespace {

using importer::DamagedPoints;
using importer::FileState;
using importer::RepairedFile;
using importer::RepairReport;

struct Arguments {
    std::string project;
    importer::RepairOptions options;
};

constexpr const char* kExamples =
    "  orvix repair scan.prj --dry-run\n"
    "  orvix repair scan.prj\n"
    "  orvix repair scan.prj --json | jq '.files[] | select(.state != \"sound\")'\n"
    "Exit code 0 when nothing damaged is left, 5 when something is.";

const char* WordOf(FileState state) {
    switch (state) {
        case FileState::Rebuilt:
            return "rebuilt";
        case FileState::Mended:
            return "mended";
        case FileState::Accepted:
            return "accepted";
        case FileState::Lost:
            return "lost";
        case FileState::Sound:
            break;
    }
    return "sound";
}

Json JsonOf(const DamagedPoints& damage) {
    Json json = Json::object();
    json["first_byte"] = damage.firstByte;
    json["last_byte"] = damage.lastByte;
    json["first_point"] = damage.firstPoint;
    json["points"] = damage.points;
    json["first_cell"] = nullptr;
    json["cells"] = damage.cells;
    json["min"] = nullptr;
    json["max"] = nullptr;
    if (damage.cells > 0) {
        json["first_cell"] = damage.firstCell;
        json["min"] = PointJson(damage.min);
        json["max"] = PointJson(damage.max);
    }
    return json;
}

Json JsonOf(const RepairReport& report, const importer::RepairOptions& options) {
    Json json = Json::object();
    json["ok"] = report.Ok();
    json["dry_run"] = options.dryRun;
    json["points"] = report.points;
    json["skeleton_points"] = report.skeletonPoints;
    json["files"] = Json::array();
    for (const RepairedFile& file : report.files)
        json["files"].push_back(Json{{"file", platform::ToUtf8(file.path)},
                                     {"state", WordOf(file.state)},
                                     {"why", file.why}});
    json["damaged_points"] = Json::array();
    for (const DamagedPoints& damage : report.damaged)
        json["damaged_points"].push_back(JsonOf(damage));
    json["summed"] = report.summed;
    json["warnings"] = report.warnings;
    return json;
}

std::string TextOf(const DamagedPoints& damage) {
    std::string text = fmt::format(
        "points: bytes {} to {} of Grid.pts are not those that were "
        "written: {} points from {} on",
        damage.firstByte, damage.lastByte, platform::CountText(damage.points), damage.firstPoint);
    if (damage.cells > 0) {
        text += fmt::format(
            ", in {} cells of 1 m from cell {} on, which reach from ({}, {}, {}) to "
            "({}, {}, {})",
            platform::CountText(damage.cells), damage.firstCell, damage.min.x, damage.min.y,
            damage.min.z, damage.max.x, damage.max.y, damage.max.z);
    }
    return text + "\n";
}

std::string TextOf(const RepairReport& report, const Arguments& arguments) {
    std::string text;
    for (const DamagedPoints& damage : report.damaged) text += TextOf(damage);
    if (report.files.empty()) {
        return text + fmt::format(
                          "{}: nothing was changed; import the scans again, or take these "
                          "points as they are with --accept\n",
                          arguments.project);
    }
    std::size_t sound = 0;
    for (const RepairedFile& file : report.files) {
        if (file.state == FileState::Sound) ++sound;
        if (file.state != FileState::Sound)
            text += fmt::format("{}: {}: {}\n", WordOf(file.state), platform::ToUtf8(file.path),
                                file.why);
    }
    text += fmt::format("{}: {} of {} files sound before{}{}\n", arguments.project, sound,
                        report.files.size(), report.summed ? "; the manifest was made anew" : "",
                        arguments.options.dryRun ? "; nothing was changed" : "");
    return text;
}

Expected<Outcome> RunRepair(const Arguments& arguments, CommandContext& context) {
    std::optional<detail::ProjectLock> lock;
    if (!arguments.options.dryRun) {
        const CString project = platform::FromUtf8(context.project);
        context.project.clear();  // files that say what project it is are among those made anew
        if (platform::PathExists(project)) {
            auto held = detail::ProjectLock::Acquire(project);
            if (!held) return ErrorOf(held);
            lock.emplace(std::move(*held));
        }
    }
    ProgressReporter progress(ProgressModeOf(context.progressWord));
    const auto watch = [&progress](const importer::ImportProgress& state) {
        const bool checking = state.phase == importer::ImportPhase::Scan;
        progress.Report({checking ? "checking" : "rebuilding", state.fraction, state.bytes,
                         state.points, state.secondsLeft});
        return MayGoOn();
    };
    const auto report =
        importer::Repair(platform::FromUtf8(arguments.project), arguments.options, watch);
    progress.Finish();
    // A result that lacks memory may end the process at once, and with it no lock that is held.
    lock.reset();
    if (!report) return ErrorOf(report);
    for (const std::string& warning : report->warnings) PrintNote("warning: " + warning);
    return Outcome{JsonOf(*report, arguments.options), TextOf(*report, arguments),
                   report->Ok() ? kExitOk : kExitDamaged};
}

}  // namespace

void AddRepairVerb(CLI::App& app, CommandContext& context) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* verb =
        AddVerb(app, context, "repair", "Make what a project's points determine anew", kExamples,
                [arguments](CommandContext& chosen) { return RunRepair(*arguments, chosen); });
    AddProjectOption(*verb, context, arguments->project);
    verb->add_flag("--dry-run", arguments->options.dryRun,
                   "Find out what would be done, and leave the project as it is");
    verb->add_flag("--accept", arguments->options.accept,
                   "Take damaged points, and records that nothing replaces, as they are");
    AddThreadsOption(*verb, arguments->options.threads);
    AddProgressOption(*verb, context);
}

}  // namespace orvix::cli
