// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "cli/verbs.h"
#include "orvix/platform/amounts.h"
#include "orvix/platform/path.h"
#include "orvix/project/project_gate.h"
#include "output/output_file.h"
#include "output/picture/histogram_picture.h"
#include "reports/field_histogram.h"

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

struct Numbers {
    double mean = 0;
    double median = 0;
};

// The median is the value at which half of the points have been counted.
Numbers NumbersOf(const reports::FieldHistogram& histogram) {
    Numbers numbers;
    std::uint64_t counted = 0;
    double sum = 0;
    for (const detail::HistogramBin& bin : histogram.bins) {
        sum += bin.value * static_cast<double>(bin.count);
        if (counted < histogram.points - histogram.points / 2) numbers.median = bin.value;
        counted += bin.count;
    }
    numbers.mean = sum / static_cast<double>(histogram.points);
    return numbers;
}

Json JsonOf(const reports::FieldHistogram& histogram, const output::Columns& columns) {
    const Numbers numbers = NumbersOf(histogram);
    Json json;
    json["field"] = reports::WordOf(histogram.field);
    json["points"] = histogram.points;
    json["distinct"] = histogram.bins.size();
    json["lowest"] = histogram.bins.front().value + histogram.shift;
    json["highest"] = histogram.bins.back().value + histogram.shift;
    json["mean"] = numbers.mean + histogram.shift;
    json["median"] = numbers.median + histogram.shift;
    json["start"] = columns.start + histogram.shift;
    json["width"] = columns.width;
    json["counts"] = columns.counts;
    json["below"] = columns.below;
    json["above"] = columns.above;
    return json;
}

std::string TextOf(const reports::FieldHistogram& histogram, const output::Columns& columns) {
    const Numbers numbers = NumbersOf(histogram);
    std::string text = fmt::format(
        "{}: {} points, {} distinct value{} from {} to {}, mean {}, median {}\n",
        histogram.AxisText(), platform::CountText(histogram.points),
        platform::CountText(histogram.bins.size()), histogram.bins.size() == 1 ? "" : "s",
        histogram.ValueText(histogram.bins.front().value),
        histogram.ValueText(histogram.bins.back().value), histogram.ValueText(numbers.mean),
        histogram.ValueText(numbers.median));
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

output::HistogramPanel PanelOf(const reports::FieldHistogram& histogram, const CString& project) {
    output::HistogramPanel panel{histogram, nullptr, "", ""};
    panel.title = fmt::format("{}: {}", detail::Shown(platform::FileNameOf(project)),
                              histogram.field == reports::Field::Height ? "height" : "intensity");
    panel.subtitle = fmt::format("{} points, {} to {}", platform::CountText(histogram.points),
                                 histogram.ValueText(histogram.bins.front().value),
                                 histogram.ValueText(histogram.bins.back().value));
    return panel;
}

Expected<Outcome> RunHistogram(const Arguments& arguments) {
    const Expected<CString> project = detail::RequireProject(arguments.project);
    if (!project) return ErrorOf(project);
    if (!arguments.picture.empty()) {
        const auto place = output::RequireOutputPlace(platform::FromUtf8(arguments.picture));
        if (!place) return ErrorOf(place);
    }
    Outcome outcome;
    outcome.json["histograms"] = Json::array();
    std::vector<output::HistogramPanel> panels;
    for (const reports::Field field : FieldsOf(arguments.field)) {
        const Expected<reports::FieldHistogram> histogram = reports::ReadField(*project, field);
        if (!histogram) return ErrorOf(histogram);
        const output::Columns columns = output::ColumnsOf(*histogram, arguments.columns);
        outcome.json["histograms"].push_back(JsonOf(*histogram, columns));
        if (!outcome.text.empty()) outcome.text += "\n";
        outcome.text += TextOf(*histogram, columns);
        panels.push_back(PanelOf(*histogram, *project));
    }
    outcome.json["picture"] = nullptr;
    if (arguments.picture.empty()) return outcome;
    outcome.json["picture"] = arguments.picture;
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
    verb->add_option("project", arguments->project, "The project file")
        ->required()
        ->type_name("PROJECT.prj");
    AddChoice(*verb, "--field", arguments->field, "Which values", {"both", "intensity", "z"});
    verb->add_option("--columns", arguments->columns,
                     "Lines to gather the values in, at most (default 24)")
        ->check(CLI::Range(1, 10'000).description(""))
        ->type_name("N");
    verb->add_option("--picture", arguments->picture, "Draw the histograms")->type_name("OUT.svg");
}

}  // namespace orvix::cli
