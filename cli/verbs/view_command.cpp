// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/App.hpp>
#include <fmt/format.h>

#include <memory>
#include <string>

#include "cli/verbs.h"
#include "orvix/platform/desktop.h"
#include "orvix/project/access/project_gate.h"
#include "view/serve_project.h"

namespace orvix::cli {

namespace {

struct Arguments {
    std::string project;
    std::uint16_t port = 0;
    std::string page;
    bool noOpen = false;
    bool stay = false;
};

constexpr const char* kExamples =
    "  orvix view scan.prj\n"
    "  orvix view scan.prj --port 8020 --no-open --stay\n"
    "  orvix view scan.prj --no-open --json";

// The address is the result: it is there once pages can come, and nothing follows it.
void ReportStart(const CommandContext& context, const Arguments& arguments,
                 const std::string& address) {
    const bool opened = !arguments.noOpen && platform::OpenInBrowser(address);
    Outcome outcome;
    outcome.json["address"] = address;
    outcome.json["opened"] = opened;
    outcome.text = address + "\n";
    PrintNow(context, outcome);
    if (context.json) return;
    if (!arguments.noOpen && !opened)
        PrintNote("no browser could be opened; open the address in one on this machine");
    PrintNote(arguments.stay ? "Ctrl-C ends it" : "Ctrl-C ends it, and so does closing the page");
}

Expected<Outcome> RunView(const CommandContext& context, const Arguments& arguments) {
    const Expected<CString> project = detail::RequireProject(arguments.project);
    if (!project) return ErrorOf(project);
    view::ServeOptions options;
    options.port = arguments.port;
    options.pageFolder = platform::FromUtf8(arguments.page);
    options.stay = arguments.stay;
    options.started = [&](const std::string& address) { ReportStart(context, arguments, address); };
    options.proceed = MayGoOn;
    const auto end = view::ServeProject(*project, options);
    if (!end) return ErrorOf(end);
    if (*end == view::ServeEnd::PagesClosed && !context.json) PrintNote("the page was closed");
    Outcome outcome;
    outcome.isPrinted = true;
    return outcome;
}

}  // namespace

void AddViewVerb(CLI::App& app, CommandContext& context) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* verb =
        AddVerb(app, context, "view", "Show a project in the browser", kExamples,
                [arguments](CommandContext& chosen) { return RunView(chosen, *arguments); });
    AddProjectOption(*verb, context, arguments->project);
    verb->add_option("--port", arguments->port,
                     "The port of this machine to serve at (default: a free one)")
        ->check(CLI::Range(1, 65535).description(""))
        ->type_name("N");
    verb->add_flag("--no-open", arguments->noOpen, "Print the address, and open no browser");
    verb->add_flag("--stay", arguments->stay, "Serve on after the page was closed");
    verb->add_option(
            "--page", arguments->page,
            "The folder of the page's files (default: share/orvix/view beside the program)")
        ->type_name("FOLDER");
}

}  // namespace orvix::cli
