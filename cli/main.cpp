// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "cli/command_context.h"
#include "cli/message.h"
#include "cli/verbs.h"
#include "orvix/platform/interrupt.h"
#include "orvix/platform/program.h"
#include "orvix/platform/unfinished_file.h"
#include "orvix/surfaces/exact_numbers.h"
#include "orvix/version.h"

namespace {

using namespace orvix::cli;

constexpr const char* kExitCodes =
    "Results go to standard output, progress and messages to standard error.\n"
    "Exit codes: 0 ok, 1 failure, 2 usage, 3 bad input, 4 no space, 5 damaged project, "
    "130 cancelled.\n"
    "'orvix VERB --help' shows a verb's options and examples.";

void DescribeCommand(CLI::App& app, CommandContext& context) {
    app.require_subcommand(1);
    app.allow_windows_style_options(false);
    app.set_version_flag("--version", fmt::format("orvix {}", orvix::VersionString()),
                         "Print the version and exit");
    app.footer(kExitCodes);
    AddImportVerb(app, context);
    AddImportTasksVerb(app, context);
    AddInfoVerb(app, context);
    AddStationsVerb(app, context);
    AddCheckVerb(app, context);
    AddRepairVerb(app, context);
    AddWalkVerb(app, context);
    AddPlaneVerb(app, context);
    AddPlanesVerb(app, context);
    AddPlanesTasksVerb(app, context);
    AddModelVerb(app, context);
    AddDeviationVerb(app, context);
    AddHistogramVerb(app, context);
    AddClassifyVerb(app, context);
    AddExportVerb(app, context);
    AddSectionVerb(app, context);
    AddParamsVerb(app, context);
    AddViewVerb(app, context);
    AddSettingsVerb(app, context);
    AddSiteVerb(app, context);
    AddDestroyVerb(app, context);
}

// The names of the verb and its sub-verb that the line got to, for the message and its hint.
std::string ChosenVerb(const CLI::App& app) {
    std::string name;
    const CLI::App* current = &app;
    for (auto chosen = current->get_subcommands(); !chosen.empty();
         chosen = current->get_subcommands()) {
        current = chosen.front();
        name += (name.empty() ? "" : " ") + current->get_name();
    }
    return name;
}

// The word where a verb belongs, when it names none; else empty.
std::string UnknownVerb(const CLI::App& app, const std::vector<std::string>& words) {
    const CLI::App* last = &app;
    for (auto chosen = last->get_subcommands(); !chosen.empty(); chosen = last->get_subcommands())
        last = chosen.front();
    if (last->get_subcommands({}).empty()) return {};
    const std::size_t first = last == &app ? 1 : 2;
    const bool named = first < words.size() && !words[first].starts_with("-");
    return named ? words[first] : std::string();
}

std::string SentenceOf(const CLI::App& app, const CLI::ParseError& error,
                       const std::vector<std::string>& words) {
    const std::string unknown = UnknownVerb(app, words);
    if (!unknown.empty()) return fmt::format("there is no verb {}", unknown);
    if (error.get_name() == "RequiredError" && app.get_subcommands().empty())
        return "no verb is named";
    std::string message = error.what();
    while (!message.empty() && (message.back() == '\n' || message.back() == '.'))
        message.pop_back();
    return message;
}

int ReportUsage(const CLI::App& app, const CLI::ParseError& error,
                const std::vector<std::string>& words) {
    const std::string verb = ChosenVerb(app);
    const bool json = std::find(words.begin(), words.end(), "--json") != words.end();
    ReportFailure(verb, json, "usage",
                  fmt::format("{}; see 'orvix{}{} --help'", SentenceOf(app, error, words),
                              verb.empty() ? "" : " ", verb));
    return kExitUsage;
}

// BEHAVIOUR C16
// Whatever memory is left, the sentence and its object are there already.
int ReportNoMemory(bool json) noexcept {
    WriteMessage("orvix: ");
    WriteMessage(kMemoryRanOut);
    WriteMessage("\n");
    if (json) {
        std::fputs("{\n  \"error\": {\n    \"code\": \"failure\",\n    \"message\": \"", stdout);
        std::fputs(kMemoryRanOut, stdout);
        std::fputs("\"\n  }\n}\n", stdout);
        std::fflush(stdout);
    }
    return kExitFailure;
}

// An exception that nobody can catch any more: one of a thread without an own end, or of what is
// made before `main`. Other exceptions than this one are faults, and end as such.
[[noreturn]] void OnTerminate() noexcept {
    try {
        if (const std::exception_ptr thrown = std::current_exception())
            std::rethrow_exception(thrown);
    } catch (const std::bad_alloc&) {
        orvix::platform::RemoveUnfinishedFiles();
        std::_Exit(ReportNoMemory(false));
    } catch (...) {
        std::abort();
    }
    std::abort();
}

struct TerminateWatch {
    TerminateWatch() noexcept { std::set_terminate(OnTerminate); }
};
// Before all other objects that are made before `main`, which may ask for memory.
[[gnu::init_priority(101)]] TerminateWatch terminateWatch;

int RunCommand(int argc, char** argv) {
    orvix::detail::ThrowWhereNumbersLackMemory();
    CLI::App app{"Point clouds on disk: import scans, inspect projects, grow planes.", "orvix"};
    CommandContext context;
    DescribeCommand(app, context);
    orvix::platform::PrepareStandardStreams();
    const std::vector<std::string> words = orvix::platform::ProgramArguments(argc, argv);
    try {
        // The parser takes the words after the program's own, last first.
        app.parse(std::vector<std::string>(words.rbegin(), words.rend() - 1));
    } catch (const CLI::Success& asked) {  // --help or --version
        return app.exit(asked);
    } catch (const CLI::ParseError& error) {
        return ReportUsage(app, error, words);
    }
    orvix::platform::WatchInterrupts();
    return RunAndReport(context);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return RunCommand(argc, argv);
    } catch (const std::bad_alloc&) {
        return ReportNoMemory(std::any_of(argv, argv + argc, [](const char* word) {
            return std::string_view(word) == "--json";
        }));
    }
}
