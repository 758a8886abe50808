// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/App.hpp>
#include <fmt/format.h>

#include <memory>
#include <string>
#include <vector>

#include "cli/json_parts.h"
#include "cli/printable.h"
#include "cli/verbs.h"
#include "orvix/platform/amounts.h"
#include "orvix/project/access/project_gate.h"
#include "orvix/project/project_summary.h"

namespace orvix::cli {

namespace {

constexpr const char* kExamples =
    "  orvix info scan.prj\n"
    "  orvix info scan.prj --json | jq .points";

// Below a voxel of 1 m a project has its 10 cm level.
bool HasFineLevel(const detail::ProjectSummary& summary) {
    return !(summary.scale >= 1.0);
}

Json JsonOf(const detail::ProjectSummary& summary) {
    Json json = Json::object();
    json["points"] = summary.points;
    json["skeleton_points"] = summary.skeletonPoints;
    json["scale"] = summary.scale;
    json["origin"] = PointJson(summary.frame.Origin());
    json["bounds"] = {{"min", PointJson(summary.bounds.min)},
                      {"max", PointJson(summary.bounds.max)}};
    json["cells"] = Json::object();
    json["cells"]["1000"] = summary.cells1000;
    json["cells"]["100"] = summary.cells100;
    json["cells"]["10"] = nullptr;
    if (HasFineLevel(summary)) json["cells"]["10"] = summary.cells10;
    json["stations"] = summary.stations;
    json["station_names"] = Json::array();
    for (const std::string& name : summary.stationNames)
        json["station_names"].push_back(name.empty() ? Json() : Json(name));
    json["bytes"] = summary.bytes;
    return json;
}

std::string TextOf(const SimplePointT<double>& p) {
    return fmt::format("{:.3f}, {:.3f}, {:.3f}", p.x, p.y, p.z);
}

// ": north, south", of the first ones that have a name.
std::string NamesOf(const std::vector<std::string>& names) {
    constexpr std::size_t kListed = 20;
    std::string text;
    std::size_t listed = 0;
    for (const std::string& name : names) {
        if (name.empty()) continue;
        if (listed == kListed) return text + ", ...";
        text += (listed++ == 0 ? ": " : ", ") + PrintableName(name);
    }
    return text;
}

std::string TextOf(const detail::ProjectSummary& summary) {
    const ExtendsT<double>& bounds = summary.bounds;
    std::string text = fmt::format("points    {}\n", platform::CountText(summary.points));
    text += fmt::format("skeleton  {} points, voxel {} m\n",
                        platform::CountText(summary.skeletonPoints), summary.scale);
    text += fmt::format("extent    {:.3f} x {:.3f} x {:.3f} m\n", bounds.max.x - bounds.min.x,
                        bounds.max.y - bounds.min.y, bounds.max.z - bounds.min.z);
    text += fmt::format("from      {}\nto        {}\norigin    {}\n", TextOf(bounds.min),
                        TextOf(bounds.max), TextOf(summary.frame.Origin()));
    text +=
        fmt::format("cells     {} of 1000 cm, {} of 100 cm, {} of 10 cm\n",
                    platform::CountText(summary.cells1000), platform::CountText(summary.cells100),
                    HasFineLevel(summary) ? platform::CountText(summary.cells10) : "none");
    text += fmt::format("stations  {}{}\nsize      {}\n", summary.stations,
                        NamesOf(summary.stationNames), platform::BytesText(summary.bytes));
    return text;
}

Expected<Outcome> RunInfo(const std::string& argument) {
    const Expected<CString> project = detail::RequireProject(argument);
    if (!project) return ErrorOf(project);
    const Expected<detail::ProjectSummary> summary = detail::SummariseProject(*project);
    if (!summary) return ErrorOf(summary);
    return Outcome{JsonOf(*summary), TextOf(*summary)};
}

}  // namespace

void AddInfoVerb(CLI::App& app, CommandContext& context) {
    const auto project = std::make_shared<std::string>();
    CLI::App* verb = AddVerb(app, context, "info", "Show what a project holds", kExamples,
                             [project](CommandContext&) { return RunInfo(*project); });
    AddProjectOption(*verb, context, *project);
}

}  // namespace orvix::cli
