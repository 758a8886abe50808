// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/App.hpp>
#include <fmt/format.h>

#include <memory>
#include <numbers>
#include <optional>
#include <utility>

#include "cli/json_parts.h"
#include "cli/printable.h"
#include "cli/results/consistency_result.h"
#include "cli/verbs.h"
#include "orvix/platform/amounts.h"
#include "orvix/project/access/project_gate.h"
#include "output/drawing/png_writer.h"
#include "output/picture/picture_of_consistency.h"
#include "output/picture/picture_of_stations.h"
#include "reports/station_list.h"

namespace orvix::cli {

namespace {

struct Arguments {
    std::string project;
    std::string picture;
    bool consistency = false;
    unsigned threads = 0;
};

constexpr const char* kExamples =
    "  orvix stations scan.prj\n"
    "  orvix stations scan.prj --json | jq '.stations[].position'\n"
    "  orvix stations scan.prj --picture plan.png\n"
    "  orvix stations site.prj --consistency";

Json JsonOf(const reports::ListedStation& station) {
    Json json = Json::object();
    json["number"] = station.number;
    json["name"] = station.name ? Json(*station.name) : Json();
    json["position"] = Json();
    if (station.position) json["position"] = PointJson(*station.position);
    json["orientation"] = Json();
    if (const auto& turn = station.orientation) {
        json["orientation"] = Json::object();
        json["orientation"]["axis"] = Json::array({(*turn)[0], (*turn)[1], (*turn)[2]});
        json["orientation"]["angle"] = (*turn)[3];
    }
    json["points"] = station.points;
    json["intensity"] = Json();
    if (station.points != 0) json["intensity"] = Json::array({station.lowest, station.highest});
    return json;
}

std::string TextOf(const reports::ListedStation& station) {
    std::string text =
        fmt::format("{:>5}  {:<20} {:>14} points", station.number,
                    PrintableName(station.name.value_or("-")), platform::CountText(station.points));
    if (station.points != 0)
        text += fmt::format(", intensity {} to {}", station.lowest, station.highest);
    if (const auto& p = station.position)
        text += fmt::format("\n       at {:.3f}, {:.3f}, {:.3f}", p->x, p->y, p->z);
    if (const auto& turn = station.orientation)
        text +=
            fmt::format(", turned {:.4f} degrees about {:.6f}, {:.6f}, {:.6f}",
                        (*turn)[3] * 180 / std::numbers::pi, (*turn)[0], (*turn)[1], (*turn)[2]);
    return text + "\n";
}

Outcome OutcomeOf(const std::vector<reports::ListedStation>& stations, const Arguments& arguments) {
    Outcome outcome;
    outcome.json["stations"] = Json::array();
    for (const reports::ListedStation& station : stations) {
        outcome.json["stations"].push_back(JsonOf(station));
        outcome.text += TextOf(station);
    }
    outcome.json["picture"] = NameOrNull(arguments.picture);
    if (!arguments.picture.empty())
        outcome.text += fmt::format("picture   {}\n", arguments.picture);
    return outcome;
}

Expected<reports::ConsistencyReport> Compare(const Arguments& arguments, CommandContext& context,
                                             const reports::WorldProject& project) {
    ProgressReporter progress(ProgressModeOf(context.progressWord));
    const auto watch = [&progress](const char* phase) {
        return [&progress, phase](double part) { progress.Report({phase, part, 0, 0, -1}); };
    };
    detection::PlaneSearchOptions search;
    search.threads = arguments.threads;
    search.proceed = MayGoOn;
    search.progress = watch("searching");
    const auto finding = reports::StoredOrFoundPlanes(project, search);
    if (!finding) return ErrorOf(finding);
    return reports::CheckConsistency(
        project, *finding->set,
        {.threads = arguments.threads, .proceed = MayGoOn, .progress = watch("comparing")});
}

Expected<Outcome> RunStations(const Arguments& arguments, CommandContext& context) {
    const Expected<CString> path = detail::RequireProject(arguments.project);
    if (!path) return ErrorOf(path);
    const auto project = reports::WorldProject::Open(*path);
    if (!project) return ErrorOf(project);
    const auto stations = reports::ListStations(*project, MayGoOn);
    if (!stations) return ErrorOf(stations);
    std::optional<reports::ConsistencyReport> consistency;
    if (arguments.consistency) {
        auto report = Compare(arguments, context, *project);
        if (!report) return ErrorOf(report);
        consistency = std::move(*report);
    }
    if (!arguments.picture.empty()) {
        auto written = output::WritePng(
            platform::FromUtf8(arguments.picture),
            consistency ? output::DrawConsistency(output::PictureOf(*project, *consistency))
                        : output::DrawStations(output::PictureOf(*project, *stations)));
        if (!written) return ErrorOf(written);
    }
    Outcome outcome = OutcomeOf(*stations, arguments);
    outcome.json["consistency"] = consistency ? cli::JsonOf(*consistency) : Json();
    if (consistency) outcome.text += cli::TextOf(*consistency);
    return outcome;
}

}  // namespace

void AddStationsVerb(CLI::App& app, CommandContext& context) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* verb =
        AddVerb(app, context, "stations", "List the scanner stations of a project", kExamples,
                [arguments](CommandContext& chosen) { return RunStations(*arguments, chosen); });
    AddProjectOption(*verb, context, arguments->project);
    AddFileOption(*verb, "--picture", arguments->picture,
                  "Draw the stations over the cloud in plan", {".png"});
    verb->add_flag(
        "--consistency", arguments->consistency,
        "Compare how the stations saw the same planes: whether their registration holds");
    AddThreadsOption(*verb, arguments->threads);
    AddProgressOption(*verb, context);
}

}  // namespace orvix::cli
