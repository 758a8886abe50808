// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/App.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "cli/json_parts.h"
#include "cli/verbs.h"
#include "orvix/platform/amounts.h"
#include "orvix/project/access/project_gate.h"
#include "output/picture/picture_of_histogram.h"
#include "reports/histogram_columns.h"

namespace orvix::cli {

namespace {

struct Arguments {
    std::string project;
    std::string field = "both";
    std::size_t columns = 24;
    std::string picture;
};

constexpr const char* kExamples =
    "  orvix histogram scan.prj\n"
    "  orvix histogram scan.prj --field z --columns 60\n"
    "  orvix histogram scan.prj --picture scan.svg";
constexpr double kBarLetters = 40;

Json JsonOf(const reports::FieldHistogram& histogram, const reports::Columns& columns) {
    Json json = Json::object();
    json["field"] = reports::WordOf(histogram.field);
    json["points"] = histogram.points;
    json["distinct"] = histogram.bins.size();
    json["lowest"] = histogram.InWorld(histogram.Lowest());
    json["highest"] = histogram.InWorld(histogram.Highest());
    json["mean"] = histogram.InWorld(histogram.Mean());
    json["median"] = histogram.InWorld(histogram.Median());
    json["start"] = histogram.InWorld(columns.start);
    json["width"] = columns.width;
    json["counts"] = columns.counts;
    json["below"] = columns.below;
    json["above"] = columns.above;
    return json;
}

std::string TextOf(const reports::FieldHistogram& histogram, const reports::Columns& columns) {
    std::string text = fmt::format(
        "{}: {} points, {} distinct value{} from {} to {}, mean {}, median {}\n",
        histogram.AxisText(), platform::CountText(histogram.points),
        platform::CountText(histogram.bins.size()), histogram.bins.size() == 1 ? "" : "s",
        histogram.ValueText(histogram.Lowest()), histogram.ValueText(histogram.Highest()),
        histogram.ValueText(histogram.Mean()), histogram.ValueText(histogram.Median()));
    const auto most =
        static_cast<double>(*std::max_element(columns.counts.begin(), columns.counts.end()));
    const auto stray = [](const char* where, std::uint64_t count) {
        return count == 0 ? "" : fmt::format("{:>11}  {:>14}\n", where, platform::CountText(count));
    };
    text += stray("below", columns.below);
    for (std::size_t i = 0; i < columns.counts.size(); ++i) {
        const double from = columns.start + columns.width * static_cast<double>(i);
        const double lowest = histogram.field == reports::Field::Intensity ? from + 0.5 : from;
        const auto letters =
            static_cast<std::size_t>(kBarLetters * static_cast<double>(columns.counts[i]) / most);
        text += fmt::format("{:>11}  {:>14}  {}\n", histogram.ValueText(lowest),
                            platform::CountText(columns.counts[i]), std::string(letters, '#'));
    }
    return text + stray("above", columns.above);
}

std::vector<reports::Field> FieldsOf(const std::string& word) {
    if (word == "both") return {reports::Field::Intensity, reports::Field::Height};
    return {reports::FieldOf(word)};
}

Expected<Outcome> RunHistogram(const Arguments& arguments) {
    const Expected<CString> project = detail::RequireProject(arguments.project);
    if (!project) return ErrorOf(project);
    if (auto place = RequirePlaces({arguments.picture}); !place) return ErrorOf(place);
    Outcome outcome;
    outcome.json["histograms"] = Json::array();
    std::vector<output::HistogramPanel> panels;
    for (const reports::Field field : FieldsOf(arguments.field)) {
        const Expected<reports::FieldHistogram> histogram = reports::ReadField(*project, field);
        if (!histogram) return ErrorOf(histogram);
        const reports::Columns columns = reports::ColumnsOf(*histogram, arguments.columns);
        outcome.json["histograms"].push_back(JsonOf(*histogram, columns));
        if (!outcome.text.empty()) outcome.text += "\n";
        outcome.text += TextOf(*histogram, columns);
        panels.push_back(output::PanelOf(*project, *histogram));
    }
    outcome.json["picture"] = NameOrNull(arguments.picture);
    if (arguments.picture.empty()) return outcome;
    if (auto drawn =
            output::WriteSvg(platform::FromUtf8(arguments.picture), output::DrawHistograms(panels));
        !drawn)
        return ErrorOf(drawn);
    return outcome;
}

}  // namespace

void AddHistogramVerb(CLI::App& app, CommandContext& context) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* verb =
        AddVerb(app, context, "histogram", "Show how often intensities and heights occur",
                kExamples, [arguments](CommandContext&) { return RunHistogram(*arguments); });
    AddProjectOption(*verb, context, arguments->project);
    AddChoice(*verb, "--field", arguments->field, "Which values", {"both", "intensity", "z"});
    verb->add_option("--columns", arguments->columns,
                     "Lines to gather the values in, at most (default 24)")
        ->check(CLI::Range(1, 10'000).description(""))
        ->type_name("N");
    verb->add_option("--picture", arguments->picture, "Draw the histograms")->type_name("OUT.svg");
}

}  // namespace orvix::cli
