// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/verbs.h"

#include <CLI/CLI.hpp>
#include <map>
#include <utility>

namespace orvix::cli {

namespace {

const std::map<std::string, ProgressMode> kProgressModes{{"auto", ProgressMode::Automatic},
                                                         {"bar", ProgressMode::Bar},
                                                         {"plain", ProgressMode::Plain},
                                                         {"json", ProgressMode::Json},
                                                         {"none", ProgressMode::None}};

std::string FullName(const CLI::App& verb) {
    const CLI::App* parent = verb.get_parent();
    const bool nested = parent != nullptr && parent->get_parent() != nullptr;
    return nested ? parent->get_name() + " " + verb.get_name() : verb.get_name();
}

}  // namespace

CLI::App* AddVerb(CLI::App& parent, CommandContext& context, const std::string& name,
                  const std::string& summary, const std::string& examples, VerbRun run) {
    CLI::App* verb = parent.add_subcommand(name, summary);
    verb->allow_windows_style_options(false);
    verb->add_flag("--json", context.json, "Print the result, or the error, as one JSON object");
    verb->footer("Examples:\n" + examples);
    verb->callback([verb, &context, run = std::move(run)] {
        context.verb = FullName(*verb);
        context.run = run;
    });
    return verb;
}

void AddProgressOption(CLI::App& verb, CommandContext& context) {
    verb.add_option_function<std::string>(
            "--progress",
            [&context](const std::string& word) { context.progress = kProgressModes.at(word); },
            "How to tell progress on standard error; auto: a bar on a terminal, else nothing")
        ->check(CLI::IsMember({"auto", "bar", "plain", "json", "none"}))
        ->type_name("auto|bar|plain|json|none");
}

}  // namespace orvix::cli
