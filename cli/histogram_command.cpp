// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <algorithm>
#include <memory>

#include "cli/amounts.h"
#include "cli/field_histogram.h"
#include "cli/output_file.h"
#include "cli/picture/histogram_picture.h"
#include "cli/project_gate.h"
#include "cli/verbs.h"
#include "orvix/platform/path.h"

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
Numbers NumbersOf(const FieldHistogram& histogram) {
    Numbers numbers;
    std::uint64_t counted = 0;
    double sum = 0;
    for (const HistogramBin& bin : histogram.bins) {
        sum += bin.value * static_cast<double>(bin.count);
        if (counted < histogram.points - histogram.points / 2) numbers.median = bin.value;
        counted += bin.count;
    }
    numbers.mean = sum / static_cast<double>(histogram.points);
    return numbers;
}

Json JsonOf(const FieldHistogram& histogram, const Columns& columns) {
    const Numbers numbers = NumbersOf(histogram);
    Json json;
    json["field"] = WordOf(histogram.field);
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

std::string TextOf(const FieldHistogram& histogram, const Columns& columns) {
    const Numbers numbers = NumbersOf(histogram);
    std::string text = fmt::format(
        "{}: {} points, {} distinct value{} from {} to {}, mean {}, median {}\n",
        histogram.AxisText(), CountText(histogram.points), CountText(histogram.bins.size()),
        histogram.bins.size() == 1 ? "" : "s", histogram.ValueText(histogram.bins.front().value),
        histogram.ValueText(histogram.bins.back().value), histogram.ValueText(numbers.mean),
        histogram.ValueText(numbers.median));
    const auto most =
        static_cast<double>(*std::max_element(columns.counts.begin(), columns.counts.end()));
    const auto stray = [](const char* where, std::uint64_t count) {
        return count == 0 ? "" : fmt::format("{:>11}  {:>14}\n", where, CountText(count));
    };
    text += stray("below", columns.below);
    for (std::size_t i = 0; i < columns.counts.size(); ++i) {
        const double from = columns.start + columns.width * static_cast<double>(i);
        const double lowest = histogram.field == Field::Intensity ? from + 0.5 : from;
        const auto letters =
            static_cast<std::size_t>(kBarLetters * static_cast<double>(columns.counts[i]) / most);
        text += fmt::format("{:>11}  {:>14}  {}\n", histogram.ValueText(lowest),
                            CountText(columns.counts[i]), std::string(letters, '#'));
    }
    return text + stray("above", columns.above);
}

std::vector<Field> FieldsOf(const std::string& word) {
    if (word == "both") return {Field::Intensity, Field::Height};
    return {FieldOf(word)};
}

HistogramPanel PanelOf(const FieldHistogram& histogram, const CString& project) {
    HistogramPanel panel{histogram, nullptr, "", ""};
    panel.title = fmt::format("{}: {}", Shown(platform::FileNameOf(project)),
                              histogram.field == Field::Height ? "height" : "intensity");
    panel.subtitle = fmt::format("{} points, {} to {}", CountText(histogram.points),
                                 histogram.ValueText(histogram.bins.front().value),
                                 histogram.ValueText(histogram.bins.back().value));
    return panel;
}

Expected<Outcome> RunHistogram(const Arguments& arguments) {
    const Expected<CString> project = RequireProject(arguments.project);
    if (!project) return tl::unexpected<Error>(project.error());
    if (!arguments.picture.empty()) {
        const auto place = RequireOutputPlace(platform::FromUtf8(arguments.picture));
        if (!place) return tl::unexpected<Error>(place.error());
    }
    Outcome outcome;
    outcome.json["histograms"] = Json::array();
    std::vector<HistogramPanel> panels;
    for (const Field field : FieldsOf(arguments.field)) {
        const Expected<FieldHistogram> histogram = ReadField(*project, field);
        if (!histogram) return tl::unexpected<Error>(histogram.error());
        const Columns columns = ColumnsOf(*histogram, arguments.columns);
        outcome.json["histograms"].push_back(JsonOf(*histogram, columns));
        if (!outcome.text.empty()) outcome.text += "\n";
        outcome.text += TextOf(*histogram, columns);
        panels.push_back(PanelOf(*histogram, *project));
    }
    outcome.json["picture"] = nullptr;
    if (arguments.picture.empty()) return outcome;
    outcome.json["picture"] = arguments.picture;
    if (auto drawn = WriteSvg(platform::FromUtf8(arguments.picture), DrawHistograms(panels));
        !drawn)
        return tl::unexpected<Error>(drawn.error());
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
