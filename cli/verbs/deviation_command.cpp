// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/App.hpp>

#include <memory>

#include "cli/results/deviation_elements.h"
#include "cli/results/deviation_result.h"
#include "cli/verbs.h"
#include "orvix/platform/amounts.h"
#include "orvix/project/access/project_gate.h"
#include "output/drawing/png_writer.h"
#include "output/picture/deviation_picture.h"
#include "output/picture/picture_of_deviation.h"

namespace orvix::cli {

namespace {

constexpr const char* kExamples =
    "  orvix deviation scan.prj planes\n"
    "  orvix deviation scan.prj model --picture deviation.png\n"
    "  orvix deviation scan.prj house.ifc\n"
    "  orvix deviation scan.prj house.obj --tolerance 0.01 --reach 0.05 --json";

constexpr double kLeast = 1e-4;
constexpr double kMostReach = 10;
constexpr double kMostCell = 100;

Expected<Outcome> RunDeviation(const DeviationArguments& arguments, CommandContext& context) {
    const Expected<CString> path = detail::RequireProject(arguments.project);
    if (!path) return ErrorOf(path);
    if (auto place = RequirePlaces({arguments.picture}); !place) return ErrorOf(place);
    const auto project = reports::WorldProject::Open(*path);
    if (!project) return ErrorOf(project);
    ProgressReporter progress(ProgressModeOf(context.progressWord));
    const auto watch = [&progress](const std::string& phase, double part) {
        progress.Report({phase, part, 0, 0, -1});
    };
    const auto given = ElementsFrom({arguments.from, arguments.options.threads, watch}, *project);
    if (!given) return ErrorOf(given);
    const auto& elements = given->elements;
    reports::DeviationOptions options = arguments.options;
    options.memoryLimitBytes =
        platform::ParseBytes(arguments.memoryLimit).value_or(options.memoryLimitBytes);
    options.proceed = MayGoOn;
    options.progress = [&watch](double part) { watch("comparing", part); };
    const auto report = reports::FindDeviations(*project, elements, options);
    if (!report) return ErrorOf(report);
    progress.Finish();
    if (!arguments.picture.empty()) {
        auto written = output::WritePng(platform::FromUtf8(arguments.picture),
                                        output::DrawDeviation(output::PictureOf(
                                            *project, elements, *report, options.tolerance)));
        if (!written) return ErrorOf(written);
    }
    return OutcomeOf(arguments, *given, *report);
}

}  // namespace

void AddDeviationVerb(CLI::App& app, CommandContext& context) {
    const auto arguments = std::make_shared<DeviationArguments>();
    CLI::App* verb =
        AddVerb(app, context, "deviation", "Hold the points against planes or a model", kExamples,
                [arguments](CommandContext& chosen) { return RunDeviation(*arguments, chosen); });
    AddProjectOption(*verb, context, arguments->project);
    verb->add_option("against", arguments->from,
                     "planes, or model: those of the project; or a file with a model, .obj or .ifc")
        ->required()
        ->check(CheckElementsSource)
        ->type_name("");
    reports::DeviationOptions& options = arguments->options;
    AddAmountOption(*verb, "--reach", options.reach,
                    "Distance from a face within which a point is taken for its own (default 0.1)",
                    {kLeast, kMostReach, "M"});
    AddAmountOption(*verb, "--tolerance", options.tolerance,
                    "Distance that counts as in place (default 0.02)", {0, kMostReach, "M"});
    AddAmountOption(*verb, "--cell", options.cell,
                    "Side of the squares in which surface is seen or missing (default 0.1)",
                    {0.001, kMostCell, "M"});
    verb->add_flag("--both-sides", options.bothSides,
                   "Take points on either side of a face, wherever their scanner stood");
    AddMemoryOption(*verb, arguments->memoryLimit,
                    "Memory for counts and squares at most; coarser ones are used beyond (default "
                    "256MiB)");
    AddFileOption(*verb, "--picture", arguments->picture,
                  "Draw the faces in the colours of their deviation", {".png"});
    AddThreadsOption(*verb, options.threads);
    AddProgressOption(*verb, context);
}

}  // namespace orvix::cli
