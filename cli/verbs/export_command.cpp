// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/App.hpp>
#include <fmt/format.h>

#include <memory>

#include "cli/json_parts.h"
#include "cli/verbs.h"
#include "orvix/platform/amounts.h"
#include "orvix/project/access/project_gate.h"
#include "output/export/project_export.h"

namespace orvix::cli {

namespace {

constexpr const char* kExamples =
    "  orvix export scan.prj scan.ply            importing it gives the same project\n"
    "  orvix export scan.prj scan.las --json\n"
    "  orvix export site.prj north.ply --station 0\n"
    "  orvix export scan.prj numbered.las --planes\n"
    "  orvix export scan.prj room.xyz --box 12,3,0,18.5,7,2.8";

constexpr std::size_t kBoxNumbers = 6;

struct Arguments {
    std::string project;
    std::string target;
    std::optional<std::uint16_t> station;
    std::string box;
    bool overwrite = false;
    bool planes = false;
};

/// "X0,Y0,Z0,X1,Y1,Z1", each lower number first.
std::optional<ExtendsT<double>> ParseBox(const std::string& text) {
    std::size_t cut = 0;
    for (std::size_t commas = 0; commas < kBoxNumbers / 2; ++commas) {
        cut = text.find(',', cut);
        if (cut == std::string::npos) return std::nullopt;
        ++cut;
    }
    const auto low = platform::ParsePosition(std::string_view(text).substr(0, cut - 1));
    const auto high = platform::ParsePosition(std::string_view(text).substr(cut));
    if (!low || !high) return std::nullopt;
    for (std::size_t axis = 0; axis < low->size(); ++axis) {
        if ((*low)[axis] > (*high)[axis]) return std::nullopt;
    }
    return ExtendsT<double>{{(*low)[0], (*low)[1], (*low)[2]},
                            {(*high)[0], (*high)[1], (*high)[2]}};
}

std::string CheckBox(const std::string& text) {
    if (ParseBox(text)) return {};
    return text + " is no box; write its least and its greatest corner, such as 12,3,0,18.5,7,2.8";
}

Json JsonOf(const output::ExportReport& report, const Arguments& arguments) {
    Json json = Json::object();
    json["file"] = arguments.target;
    json["format"] = report.format;
    json["points"] = report.points;
    json["bytes"] = report.bytes;
    json["bounds"] = {{"min", PointJson(report.bounds.min)}, {"max", PointJson(report.bounds.max)}};
    json["seconds"] = report.seconds;
    return json;
}

std::string TextOf(const output::ExportReport& report, const Arguments& arguments) {
    return fmt::format("{}: {} points, {}, {}\n", arguments.target,
                       platform::CountText(report.points), report.format,
                       platform::BytesText(report.bytes));
}

Expected<Outcome> RunExport(const Arguments& arguments, CommandContext& context) {
    const Expected<CString> project = detail::RequireProject(arguments.project);
    if (!project) return ErrorOf(project);
    output::ExportOptions options;
    options.station = arguments.station;
    options.planes = arguments.planes;
    options.threads = 0;
    if (!arguments.box.empty()) options.box = ParseBox(arguments.box);
    options.existing =
        arguments.overwrite ? output::ExistingFile::Replace : output::ExistingFile::Keep;
    ProgressReporter progress(ProgressModeOf(context.progressWord));
    const auto watch = [&progress](double fraction, std::uint64_t points, std::uint64_t bytes) {
        progress.Report({"exporting", fraction, bytes, points, -1});
        return MayGoOn();
    };
    const Expected<output::ExportReport> report =
        output::ExportProject(*project, platform::FromUtf8(arguments.target), options, watch);
    progress.Finish();
    if (!report) return ErrorOf(report);
    return Outcome{JsonOf(*report, arguments), TextOf(*report, arguments)};
}

}  // namespace

void AddExportVerb(CLI::App& app, CommandContext& context) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* verb =
        AddVerb(app, context, "export", "Write a project's points to a scan file", kExamples,
                [arguments](CommandContext& chosen) { return RunExport(*arguments, chosen); });
    AddProjectOption(*verb, context, arguments->project);
    AddFileOption(*verb, "file", arguments->target,
                  "The file to make; its ending names the format: PLY, LAS or text",
                  {".ply", ".las", ".xyz"})
        ->required();
    verb->add_option("--station", arguments->station, "Only the points of this station")
        ->type_name("N");
    verb->add_option("--box", arguments->box, "Only points in this box, world coordinates")
        ->check(CheckBox)
        ->type_name("X0,Y0,Z0,X1,Y1,Z1");
    verb->add_flag("--planes", arguments->planes,
                   "With the number of each point's plane, as 'planes --save' kept it");
    verb->add_flag("--overwrite", arguments->overwrite, "Replace an existing file");
    AddProgressOption(*verb, context);
}

}  // namespace orvix::cli
