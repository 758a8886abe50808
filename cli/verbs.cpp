// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/verbs.h"

#include <CLI/App.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "orvix/platform/amounts.h"
#include "orvix/platform/interrupt.h"
#include "output/file_ending.h"
#include "output/output_file.h"

namespace orvix::cli {

namespace {

std::string FullName(const CLI::App& verb) {
    const CLI::App* parent = verb.get_parent();
    const bool nested = parent != nullptr && parent->get_parent() != nullptr;
    return nested ? parent->get_name() + " " + verb.get_name() : verb.get_name();
}

// No coordinate on Earth is that far from its system's zero.
constexpr double kFarthest = 1e9;

std::string CheckPosition(const std::string& text) {
    if (platform::ParsePosition(text)) return {};
    return text + " is no position; write three numbers with commas, such as 12.4,3.08,1.5";
}

std::string CheckNear(const std::string& text) {
    const auto position = platform::ParsePosition(text);
    const bool near = position && std::all_of(position->begin(), position->end(),
                                              [](double v) { return std::fabs(v) <= kFarthest; });
    return near ? std::string() : text + " lies further than 1,000,000 km from zero";
}

// "a", "a or b", "a, b or c".
std::string Listed(const std::vector<std::string>& words) {
    std::string list = words.front();
    for (std::size_t i = 1; i < words.size(); ++i)
        list += (i + 1 < words.size() ? ", " : " or ") + words[i];
    return list;
}

std::string Joined(const std::vector<std::string>& words, const std::string& before) {
    std::string joined;
    for (const std::string& word : words) joined += (joined.empty() ? "" : "|") + before + word;
    return joined;
}

template <class Value>
CLI::Option* AddAmount(CLI::App& verb, const std::string& name, Value& value,
                       const std::string& meaning, const AmountRange& range) {
    const auto check = [range](const std::string& text) {
        const std::optional<double> amount = platform::ParseNumber(text);
        if (amount && *amount >= range.min && *amount <= range.max) return std::string();
        return fmt::format("{} must be a number from {} to {}", text, range.min, range.max);
    };
    return verb.add_option(name, value, meaning)->check(check)->type_name(range.unit);
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

CLI::Option* AddUnwatchedProjectOption(CLI::App& verb, std::string& project) {
    return verb.add_option("project", project, "The project file")
        ->required()
        ->type_name("PROJECT.prj");
}

void AddProjectOption(CLI::App& verb, CommandContext& context, std::string& project) {
    AddUnwatchedProjectOption(verb, project)->each([&context](const std::string& word) {
        context.project = word;
    });
}

void AddChoice(CLI::App& verb, const std::string& name, std::string& value,
               const std::string& meaning, const std::vector<std::string>& words) {
    verb.add_option(name, value, meaning + " (default " + value + ")")
        ->check(CLI::IsMember(words).description(""))
        ->type_name(Joined(words, ""));
}

void AddProgressOption(CLI::App& verb, CommandContext& context) {
    AddChoice(verb, "--progress", context.progressWord,
              "Progress on standard error; auto: a bar on a terminal, else nothing",
              {"auto", "bar", "plain", "json", "none"});
}

CLI::Option* AddFileOption(CLI::App& verb, const std::string& name, std::string& value,
                           const std::string& meaning, const std::vector<std::string>& endings) {
    const auto check = [endings](const std::string& text) {
        const bool known =
            std::any_of(endings.begin(), endings.end(), [&](const std::string& ending) {
                return output::HasEnding(platform::FromUtf8(text), platform::FromUtf8(ending));
            });
        return known ? std::string() : text + " must end in " + Listed(endings);
    };
    return verb.add_option(name, value, meaning)->check(check)->type_name(Joined(endings, "OUT"));
}

CLI::Option* AddPositionOption(CLI::App& verb, const std::string& name, std::string& value,
                               const std::string& meaning) {
    return verb.add_option(name, value, meaning)->check(CheckPosition)->type_name("X,Y,Z");
}

CLI::Option* AddSeedOption(CLI::App& verb, std::string& seed, const std::string& meaning) {
    return AddPositionOption(verb, "--seed", seed, meaning)->check(CheckNear);
}

CLI::Option* AddAmountOption(CLI::App& verb, const std::string& name, std::optional<double>& value,
                             const std::string& meaning, const AmountRange& range) {
    return AddAmount(verb, name, value, meaning, range);
}

CLI::Option* AddAmountOption(CLI::App& verb, const std::string& name, double& value,
                             const std::string& meaning, const AmountRange& range) {
    return AddAmount(verb, name, value, meaning, range);
}

void AddMemoryOption(CLI::App& verb, std::string& value, const std::string& meaning,
                     const MinMemory& min) {
    const auto check = [min](const std::string& text) {
        const std::optional<std::uint64_t> bytes = platform::ParseBytes(text);
        if (bytes && *bytes >= min.bytes) return std::string();
        if (bytes && min.bytes > 1) return min.sentence + ", not " + text;
        return text + " is no amount of memory; write 512M, 1GiB or 2000000000";
    };
    verb.add_option("--memory-limit", value, meaning)->check(check)->type_name("SIZE");
}

void AddThreadsOption(CLI::App& verb, unsigned& threads) {
    verb.add_option("--threads", threads, "Threads to use (default 0: every core)")
        ->check(CLI::Range(0u, 1024u).description(""))
        ->type_name("N");
}

Expected<void> RequirePlaces(std::initializer_list<std::string> names) {
    for (const std::string& name : names) {
        if (name.empty()) continue;
        if (auto place = output::RequireOutputPlace(platform::FromUtf8(name)); !place) return place;
    }
    return {};
}

bool MayGoOn() {
    return !platform::Interrupted();
}

}  // namespace orvix::cli
