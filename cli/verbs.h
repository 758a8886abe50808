// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "cli/command_context.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace orvix::cli {

/// Adds a verb to the command line: its name, one line for the list of verbs, examples for its
/// help, and what runs when it is chosen. Every verb gains --json here.
CLI::App* AddVerb(CLI::App& parent, CommandContext& context, const std::string& name,
                  const std::string& summary, const std::string& examples, VerbRun run);

/// The project that most verbs are about, as their first word. The frame watches that it stays the
/// same one while the verb is at work.
void AddProjectOption(CLI::App& verb, CommandContext& context, std::string& project);
/// The same, of a verb that the project does not outlive.
CLI::Option* AddUnwatchedProjectOption(CLI::App& verb, std::string& project);

/// An option whose value is one of `words`; `value` holds the default.
void AddChoice(CLI::App& verb, const std::string& name, std::string& value,
               const std::string& meaning, const std::vector<std::string>& words);

/// A file to write, whose ending is one of `endings` (".ply"), in small letters or capitals.
CLI::Option* AddFileOption(CLI::App& verb, const std::string& name, std::string& value,
                           const std::string& meaning, const std::vector<std::string>& endings);

/// X,Y,Z: taken as typed once it is three numbers.
CLI::Option* AddPositionOption(CLI::App& verb, const std::string& name, std::string& value,
                               const std::string& meaning);

/// The option --seed: a position of a sane size.
CLI::Option* AddSeedOption(CLI::App& verb, std::string& seed, const std::string& meaning);

/// The amounts that an option takes, both ends included, and what they are counted in: "M".
struct AmountRange {
    double min;
    double max;
    const char* unit;
};

/// An option whose value is a number.
CLI::Option* AddAmountOption(CLI::App& verb, const std::string& name, std::optional<double>& value,
                             const std::string& meaning, const AmountRange& range);
CLI::Option* AddAmountOption(CLI::App& verb, const std::string& name, double& value,
                             const std::string& meaning, const AmountRange& range);

/// The smallest --memory-limit that a verb takes, and the sentence that says so.
struct MinMemory {
    std::uint64_t bytes = 1;
    std::string sentence;
};

/// The option --memory-limit: taken as typed once platform::ParseBytes reads it.
void AddMemoryOption(CLI::App& verb, std::string& value, const std::string& meaning,
                     const MinMemory& min = {});

/// The option --threads.
void AddThreadsOption(CLI::App& verb, unsigned& threads);

/// The option --progress, for verbs that take long enough to be watched.
void AddProgressOption(CLI::App& verb, CommandContext& context);

/// Whether files of these names, as typed, may appear; empty names are passed over. Asked before
/// the work whose results they hold.
Expected<void> RequirePlaces(std::initializer_list<std::string> names);

/// False once the user, or the system, has asked the command to end; long work looks now and then.
bool MayGoOn();

/// One function per verb, each in the file named after it.
void AddImportVerb(CLI::App& app, CommandContext& context);
void AddImportTasksVerb(CLI::App& app, CommandContext& context);
void AddInfoVerb(CLI::App& app, CommandContext& context);
void AddStationsVerb(CLI::App& app, CommandContext& context);
void AddCheckVerb(CLI::App& app, CommandContext& context);
void AddRepairVerb(CLI::App& app, CommandContext& context);
void AddWalkVerb(CLI::App& app, CommandContext& context);
void AddPlaneVerb(CLI::App& app, CommandContext& context);
void AddPlanesVerb(CLI::App& app, CommandContext& context);
void AddPlanesTasksVerb(CLI::App& app, CommandContext& context);
void AddModelVerb(CLI::App& app, CommandContext& context);
void AddDeviationVerb(CLI::App& app, CommandContext& context);
void AddHistogramVerb(CLI::App& app, CommandContext& context);
void AddClassifyVerb(CLI::App& app, CommandContext& context);
void AddExportVerb(CLI::App& app, CommandContext& context);
void AddSectionVerb(CLI::App& app, CommandContext& context);
void AddParamsVerb(CLI::App& app, CommandContext& context);
void AddViewVerb(CLI::App& app, CommandContext& context);
void AddSettingsVerb(CLI::App& app, CommandContext& context);
void AddSiteVerb(CLI::App& app, CommandContext& context);
void AddDestroyVerb(CLI::App& app, CommandContext& context);

}  // namespace orvix::cli
