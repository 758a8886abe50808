// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/command_context.h"

#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <new>

#include "cli/message.h"

namespace orvix::cli {

namespace {

ExitCode PrintOutcome(const CommandContext& context, const Outcome& outcome) {
    const std::string text = context.json ? JsonText(outcome.json) : outcome.text;
    const bool written =
        std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
    if (written) return outcome.exitCode;
    WriteMessage(fmt::format("orvix {}: the result could not be written to standard output\n",
                             context.verb));
    return kExitFailure;
}

// The library throws nothing of its own, but containers do when memory ends.
Expected<Outcome> RunGuarded(CommandContext& context) {
    try {
        return context.run(context);
    } catch (const std::bad_alloc&) {
        return Fail(ErrorCode::Failure,
                    "memory ran out; close other programs, or lower --memory-limit for an import");
    } catch (const std::exception& error) {
        return Fail(ErrorCode::Failure, fmt::format("the work ended early: {}", error.what()));
    }
}

}  // namespace

std::string JsonText(const Json& json) {
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

void PrintNote(const std::string& message) {
    WriteMessage(fmt::format("{}\n", message));
}

void ReportFailure(const std::string& verb, bool json, const std::string& word,
                   const std::string& message) {
    WriteMessage(fmt::format("orvix{}{}: {}\n", verb.empty() ? "" : " ", verb, message));
    if (!json) return;
    const std::string text = JsonText(Json{{"error", Json{{"code", word}, {"message", message}}}});
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

ExitCode RunAndReport(CommandContext& context) {
    const Expected<Outcome> outcome = RunGuarded(context);
    if (outcome) return PrintOutcome(context, *outcome);
    const Error& error = outcome.error();
    ReportFailure(context.verb, context.json, WordOf(error.code), error.message);
    return ExitCodeOf(error.code);
}

}  // namespace orvix::cli
