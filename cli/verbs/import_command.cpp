// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/App.hpp>

#include <memory>

#include "cli/options/import_arguments.h"
#include "cli/verbs.h"
#include "importer/import.h"

namespace orvix::cli {

namespace {

using namespace importer;

constexpr const char* kExamples =
    "  orvix import scan.las scan.prj\n"
    "  orvix import north.ply south.ply site.prj --skeleton 1cm    two stations, one project\n"
    "  orvix import lobby.las lobby.prj --up y                     a scan whose y axis is up\n"
    "  orvix import site.e57 hall.prj --station Hall                one scan of several\n"
    "  orvix import tile.xyz tile.prj --unit us-ft --overwrite\n"
    "  orvix import huge.las huge.prj --memory-limit 4GiB --progress json --json\n"
    "  orvix import huge.las again.prj --resume    go on after a power cut";

Expected<Outcome> RunImport(const ImportArguments& arguments, CommandContext& context) {
    ProgressReporter progress(ProgressModeOf(context.progressWord));
    const auto watch = [&progress](const ImportProgress& state) {
        progress.Report(
            {WordOf(state.phase), state.fraction, state.bytes, state.points, state.secondsLeft});
        return MayGoOn();
    };
    const Expected<ImportReport> report =
        Import(InputsOf(arguments), ProjectOf(arguments), OptionsOf(arguments), watch);
    progress.Finish();
    if (!report) return ErrorOf(report);
    for (const std::string& warning : report->warnings) PrintNote("warning: " + warning);
    return Outcome{JsonOf(*report), TextOf(*report)};
}

}  // namespace

void AddImportVerb(CLI::App& app, CommandContext& context) {
    const auto arguments = std::make_shared<ImportArguments>();
    CLI::App* verb =
        AddVerb(app, context, "import", "Turn scan files into a project", kExamples,
                [arguments](CommandContext& chosen) { return RunImport(*arguments, chosen); });
    AddImportArguments(*verb, arguments);
    verb->add_flag("--resume", arguments->resume,
                   "Go on where an import of the same inputs was ended; keep what is done");
    AddImportMemoryOption(*verb, arguments->memoryLimit);
    AddThreadsOption(*verb, arguments->threads);
    AddProgressOption(*verb, context);
}

}  // namespace orvix::cli
