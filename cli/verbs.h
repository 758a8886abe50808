// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

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

/// An option whose value is one of `words`; `value` holds the default.
void AddChoice(CLI::App& verb, const std::string& name, std::string& value,
               const std::string& meaning, const std::vector<std::string>& words);

/// The option --progress, for verbs that take long enough to be watched.
void AddProgressOption(CLI::App& verb, CommandContext& context);

/// The option --seed: X,Y,Z, taken as typed once it is three numbers of a sane size.
CLI::Option* AddSeedOption(CLI::App& verb, std::string& seed, const std::string& meaning);

/// One function a verb, each in the file named after it.
void AddImportVerb(CLI::App& app, CommandContext& context);
void AddInfoVerb(CLI::App& app, CommandContext& context);
void AddStationsVerb(CLI::App& app, CommandContext& context);
void AddCheckVerb(CLI::App& app, CommandContext& context);
void AddWalkVerb(CLI::App& app, CommandContext& context);
void AddPlaneVerb(CLI::App& app, CommandContext& context);
void AddPlanesVerb(CLI::App& app, CommandContext& context);
void AddHistogramVerb(CLI::App& app, CommandContext& context);
void AddClassifyVerb(CLI::App& app, CommandContext& context);
void AddExportVerb(CLI::App& app, CommandContext& context);
void AddParamsVerb(CLI::App& app, CommandContext& context);
void AddSettingsVerb(CLI::App& app, CommandContext& context);
void AddDestroyVerb(CLI::App& app, CommandContext& context);

}  // namespace orvix::cli
