// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/verbs.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <utility>

#include "orvix/platform/amounts.h"

namespace orvix::cli {

namespace {

std::string FullName(const CLI::App& verb) {
    const CLI::App* parent = verb.get_parent();
    const bool nested = parent != nullptr && parent->get_parent() != nullptr;
    return nested ? parent->get_name() + " " + verb.get_name() : verb.get_name();
}

// No coordinate on Earth is that far from its system's zero.
constexpr double kFarthest = 1e9;

std::string CheckSeed(const std::string& text) {
    const auto position = platform::ParsePosition(text);
    if (!position)
        return text + " is no position; write three numbers with commas, such as 12.4,3.08,1.5";
    const bool near = std::all_of(position->begin(), position->end(),
                                  [](double v) { return std::fabs(v) <= kFarthest; });
    return near ? std::string() : text + " lies further than 1,000,000 km from zero";
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

void AddChoice(CLI::App& verb, const std::string& name, std::string& value,
               const std::string& meaning, const std::vector<std::string>& words) {
    std::string joined;
    for (const std::string& word : words) joined += (joined.empty() ? "" : "|") + word;
    verb.add_option(name, value, meaning + " (default " + value + ")")
        ->check(CLI::IsMember(words).description(""))
        ->type_name(joined);
}

void AddProgressOption(CLI::App& verb, CommandContext& context) {
    AddChoice(verb, "--progress", context.progressWord,
              "Progress on standard error; auto: a bar on a terminal, else nothing",
              {"auto", "bar", "plain", "json", "none"});
}

CLI::Option* AddSeedOption(CLI::App& verb, std::string& seed, const std::string& meaning) {
    return verb.add_option("--seed", seed, meaning)->check(CheckSeed)->type_name("X,Y,Z");
}

}  // namespace orvix::cli
