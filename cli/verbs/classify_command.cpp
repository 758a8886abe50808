// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/App.hpp>
#include <fmt/format.h>

#include <memory>
#include <optional>
#include <utility>

#include "cli/json_parts.h"
#include "cli/verbs.h"
#include "edits/class_writer.h"
#include "orvix/platform/amounts.h"
#include "orvix/project/access/project_gate.h"
#include "orvix/project/access/project_lock.h"
#include "orvix/project/access/project_stamp.h"
#include "output/picture/picture_of_histogram.h"
#include "parallel/pool.h"
#include "reports/classification.h"
#include "reports/field_histogram.h"

namespace orvix::cli {

namespace {

struct Arguments {
    std::string project;
    std::string field = "intensity";
    bool exact = false;
    bool apply = false;
    std::string picture;
    reports::ClassifyOptions options;
};

constexpr const char* kExamples =
    "  orvix classify scan.prj --field z --classes 6\n"
    "  orvix classify scan.prj --field intensity --classes 4 --picture intensity.svg\n"
    "  orvix classify scan.prj --field z --classes 5 --sample 8000 --seed 7 --json\n"
    "  orvix classify scan.prj --field z --classes 5 --apply";

Json JsonOf(const reports::FieldHistogram& histogram, const reports::Classification& classes,
            const Arguments& arguments) {
    Json json = Json::object();
    json["field"] = reports::WordOf(histogram.field);
    json["points"] = histogram.points;
    json["exact"] = classes.sampled == 0;
    json["sampled"] = nullptr;
    json["seed"] = nullptr;
    if (classes.sampled > 0) {
        json["sampled"] = classes.sampled;
        json["seed"] = classes.seed;
    }
    json["boundaries"] = Json::array();
    for (const double boundary : classes.boundaries)
        json["boundaries"].push_back(histogram.InWorld(boundary));
    json["counts"] = classes.counts;
    json["fit"] = classes.fit;
    json["applied"] = nullptr;
    json["picture"] = NameOrNull(arguments.picture);
    return json;
}

double ShareOf(std::uint64_t count, std::uint64_t points) {
    return 100.0 * static_cast<double>(count) / static_cast<double>(points);
}

std::string TextOf(const reports::FieldHistogram& histogram,
                   const reports::Classification& classes) {
    const char* unit = histogram.field == reports::Field::Height ? " m" : "";
    std::string text = fmt::format("{} of {} points, {}\n", reports::NameOf(histogram.field),
                                   platform::CountText(histogram.points), classes.HowText());
    for (std::size_t i = 0; i < classes.Classes(); ++i) {
        text += fmt::format("{:>4}  {} {:>9} to {:>9}{}  {:>14} points  {:5.1f} %\n", i + 1,
                            i == 0 ? "from " : "above", histogram.ValueText(classes.boundaries[i]),
                            histogram.ValueText(classes.boundaries[i + 1]), unit,
                            platform::CountText(classes.counts[i]),
                            ShareOf(classes.counts[i], histogram.points));
    }
    return text + fmt::format("goodness of variance fit {:.6f}\n", classes.fit);
}

Expected<std::uint64_t> Apply(const CString& project, const detail::ProjectStamp& counted,
                              reports::Field field, const reports::Classification& classes,
                              const CommandContext& context) {
    ProgressReporter progress(ProgressModeOf(context.progressWord));
    const auto watch = [&progress](double fraction, std::uint64_t points) {
        progress.Report({"classifying", fraction, points * 24, points, -1});
        return MayGoOn();
    };
    const parallel::Pool pool(0, {}, {});  // `watch` is where a wish to end is heard
    return edits::ApplyClasses(
        project, counted, field, classes, watch,
        [&pool](std::size_t jobs, const detail::BlockJob& job) { return pool.RunJobs(jobs, job); });
}

Expected<Outcome> RunClassify(const Arguments& arguments, CommandContext& context) {
    const Expected<CString> project = detail::RequireProject(arguments.project);
    if (!project) return ErrorOf(project);
    if (auto place = RequirePlaces({arguments.picture}); !place) return ErrorOf(place);
    std::optional<detail::ProjectLock> lock;
    if (arguments.apply) {
        auto held = detail::ProjectLock::Acquire(*project);
        if (!held) return ErrorOf(held);
        lock.emplace(std::move(*held));
    }
    const auto counted = detail::ProjectStamp::Of(*project);
    const Expected<reports::FieldHistogram> histogram =
        reports::ReadField(*project, reports::FieldOf(arguments.field));
    if (!histogram) return ErrorOf(histogram);
    Expected<reports::Classification> classes =
        reports::Classify(histogram->bins, arguments.options);
    // A scan without intensities has the same one everywhere.
    if (!classes && histogram->field == reports::Field::Intensity && histogram->bins.size() == 1)
        classes.error().message += ", or for classes of heights with --field z";
    if (!classes) return ErrorOf(classes);
    if (!arguments.picture.empty()) {
        const auto panel = output::PanelOf(*project, *histogram, *classes);
        auto drawn = output::WriteSvg(platform::FromUtf8(arguments.picture),
                                      output::DrawHistograms({panel}));
        if (!drawn) return ErrorOf(drawn);
    }
    Expected<std::uint64_t> applied = 0;
    if (arguments.apply) applied = Apply(*project, counted, histogram->field, *classes, context);
    if (!applied) return ErrorOf(applied);
    // A result that lacks memory may end the process at once, and with it no lock that is held.
    lock.reset();
    Outcome outcome{JsonOf(*histogram, *classes, arguments), TextOf(*histogram, *classes)};
    if (!arguments.apply) return outcome;
    outcome.json["applied"] = *applied;
    outcome.text += fmt::format("{} points carry their class, 1 to {}\n",
                                platform::CountText(*applied), classes->Classes());
    return outcome;
}

}  // namespace

void AddClassifyVerb(CLI::App& app, CommandContext& context) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* verb = AddVerb(
        app, context, "classify", "Divide intensities or heights into natural classes", kExamples,
        [arguments](CommandContext& chosen) { return RunClassify(*arguments, chosen); });
    AddProjectOption(*verb, context, arguments->project);
    AddChoice(*verb, "--field", arguments->field, "What to classify", {"intensity", "z"});
    verb->add_option("--classes", arguments->options.classes, "Number of classes (default 5)")
        ->check(CLI::Range(1, 255).description(""))
        ->type_name("1..255");
    auto* exact = verb->add_flag("--exact", arguments->exact, "Decide by all points (default)");
    auto* sample = verb->add_option("--sample", arguments->options.sample,
                                    "Decide by a sample of about N values instead")
                       ->check(CLI::Range(1, 1'000'000).description(""))
                       ->type_name("N")
                       ->excludes(exact);
    verb->add_option("--seed", arguments->options.seed, "Of the sample (default 1)")
        ->type_name("S")
        ->needs(sample);
    verb->add_option("--picture", arguments->picture, "Draw the histogram with its classes")
        ->type_name("OUT.svg");
    verb->add_flag("--apply", arguments->apply,
                   "Write each point's class, from 1, into the second value of its DCLC pair");
    AddProgressOption(*verb, context);
}

}  // namespace orvix::cli
