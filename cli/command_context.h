// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <nlohmann/json.hpp>

#include <functional>
#include <string>

#include "cli/exit_codes.h"
#include "cli/progress_reporter.h"
#include "orvix/platform/error.h"

namespace orvix::cli {

/// A value that is to become an object is made as one (`Json json = Json::object()`), and so are those
/// within it: a null that becomes one by being written to cannot be destroyed once memory ran out.
using Json = nlohmann::ordered_json;

/// The result of a verb, twice: for programs and for people.
struct Outcome {
    Json json = Json::object();
    std::string text;             ///< lines for people, each ended by a line break
    ExitCode exitCode = kExitOk;  ///< kExitDamaged where the finding itself is the failure
    bool isPrinted = false;       ///< by PrintNow: nothing is left to say
};

struct CommandContext;
using VerbRun = std::function<Expected<Outcome>(CommandContext&)>;

/// The options that every verb takes, and the verb that was chosen.
struct CommandContext {
    std::string verb;  ///< as typed: "import", "settings get"
    bool json = false;
    std::string progressWord = "auto";  ///< the value of --progress
    std::string project;  ///< that the verb is about, as typed; empty where it is about none
    VerbRun run;          ///< the chosen verb, set while the command line is parsed
};

/// Runs the chosen verb and prints: the result on standard output, messages on standard error.
/// With --json an error too is an object on standard output: {"error": {"code", "message"}}.
ExitCode RunAndReport(CommandContext& context);

/// Prints a result before the verb has ended, for what is of use only while it goes on; false where
/// standard output takes none.
bool PrintNow(const CommandContext& context, const Outcome& outcome);

/// Prints an error in the same two ways. `word` is one of the codes in docs/COMMAND.md.
void ReportFailure(const std::string& verb, bool json, const std::string& word,
                   const std::string& message);

/// What the user reads when memory ends.
inline constexpr const char* kMemoryRanOut =
    "memory ran out; close other programs, or lower --memory-limit";

/// Writes a sentence that is no failure to standard error.
void PrintNote(const std::string& message);

/// JSON text, two blanks per level; bytes that are no UTF-8 become U+FFFD.
std::string JsonText(const Json& json);

}  // namespace orvix::cli
