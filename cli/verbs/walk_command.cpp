// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/App.hpp>
#include <fmt/format.h>

#include <memory>

#include "cli/verbs.h"
#include "orvix/platform/amounts.h"
#include "orvix/project/access/project_gate.h"
#include "reports/project_walk.h"

namespace orvix::cli {

namespace {

constexpr const char* kExamples =
    "  orvix walk scan.prj\n"
    "  orvix walk scan.prj --json | jq -r .checksum    equal to the import's checksum";

Json JsonOf(const std::optional<reports::WalkLevel>& level) {
    if (!level) return nullptr;
    return Json{{"cells", level->cells}, {"points", level->points}};
}

double RateOf(const reports::WalkReport& report) {
    return report.seconds > 0 ? static_cast<double>(report.points) / report.seconds : 0;
}

Json JsonOf(const reports::WalkReport& report) {
    Json json = Json::object();
    json["levels"] = Json::object();
    json["levels"]["1000"] = JsonOf(std::optional(report.level1000));
    json["levels"]["100"] = JsonOf(std::optional(report.level100));
    json["levels"]["10"] = JsonOf(report.level10);
    json["checksum"] = platform::HexText(report.level1000.checksum);
    json["seconds"] = report.seconds;
    json["points_per_second"] = RateOf(report);
    return json;
}

std::string LineOf(const char* name, const reports::WalkLevel& level) {
    return fmt::format("{:>7}: {} cells, {} points\n", name, platform::CountText(level.cells),
                       platform::CountText(level.points));
}

std::string TextOf(const reports::WalkReport& report) {
    std::string text = LineOf("1000 cm", report.level1000) + LineOf("100 cm", report.level100);
    text += report.level10 ? LineOf("10 cm", *report.level10) : "  10 cm: not in this project\n";
    text += fmt::format("every level read the same points, checksum {}\n",
                        platform::HexText(report.level1000.checksum));
    text += fmt::format("{:.3f} s, {} points a second\n", report.seconds,
                        platform::CountText(static_cast<std::uint64_t>(RateOf(report))));
    return text;
}

Expected<Outcome> RunWalk(const std::string& argument, CommandContext& context) {
    const Expected<CString> project = detail::RequireProject(argument);
    if (!project) return ErrorOf(project);
    ProgressReporter progress(ProgressModeOf(context.progressWord));
    const auto watch = [&progress](double fraction, std::uint64_t points) {
        progress.Report({"walking", fraction, points * 24, points, -1});
        return MayGoOn();
    };
    const Expected<reports::WalkReport> report = reports::WalkProject(*project, watch, 0);
    progress.Finish();
    if (!report) return ErrorOf(report);
    return Outcome{JsonOf(*report), TextOf(*report)};
}

}  // namespace

void AddWalkVerb(CLI::App& app, CommandContext& context) {
    const auto project = std::make_shared<std::string>();
    CLI::App* verb =
        AddVerb(app, context, "walk", "Read every point back, cell by cell, at every level",
                kExamples, [project](CommandContext& chosen) { return RunWalk(*project, chosen); });
    AddProjectOption(*verb, context, *project);
    AddProgressOption(*verb, context);
}

}  // namespace orvix::cli
