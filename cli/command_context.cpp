// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/command_context.h"

#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <new>

#include "cli/message.h"
#include "cli/printable.h"
#include "orvix/platform/lost_pages.h"
#include "orvix/platform/text.h"
#include "orvix/project/access/project_stamp.h"

namespace orvix::cli {

namespace {

ExitCode PrintOutcome(const CommandContext& context, const Outcome& outcome) {
    if (outcome.isPrinted || PrintNow(context, outcome)) return outcome.exitCode;
    WriteMessage(fmt::format("orvix {}: the result could not be written to standard output\n",
                             context.verb));
    return kExitFailure;
}

// What was made of files of two projects is no result.
Expected<Outcome> RunWatched(CommandContext& context) {
    if (context.project.empty()) return context.run(context);
    const auto before = detail::ProjectStamp::Of(platform::FromUtf8(context.project));
    Expected<Outcome> outcome = context.run(context);
    if (context.project.empty()) return outcome;
    if (auto same = before.RequireSame(); !same) return ErrorOf(same);  // BEHAVIOUR P17
    return outcome;
}

// The library throws nothing of its own, but containers do when memory ends.
Expected<Outcome> RunGuarded(CommandContext& context) {
    try {
        return RunWatched(context);
    } catch (const std::bad_alloc&) {
        return Fail(ErrorCode::Failure, kMemoryRanOut);
    } catch (const std::exception& error) {
        return Fail(ErrorCode::Failure, fmt::format("the work ended early: {}", error.what()));
    }
}

// BEHAVIOUR C15
platform::LostPageEnd LostPageEndOf(const CommandContext& context) {
    const std::string happened =
        " can no longer be read: another program cut it short, or its disk or network drive is "
        "gone; 'orvix check' lists what is damaged";
    platform::LostPageEnd end;
    end.before = fmt::format("orvix {}: ", context.verb);
    end.after = happened + "\n";
    end.exitCode = kExitDamaged;
    if (!context.json) return end;
    end.jsonBefore = fmt::format("{{\n  \"error\": {{\n    \"code\": \"{}\",\n    \"message\": \"",
                                 WordOf(ErrorCode::Damaged));
    end.jsonAfter = happened + "\"\n  }\n}\n";
    return end;
}

}  // namespace

bool PrintNow(const CommandContext& context, const Outcome& outcome) {
    const std::string text = context.json ? JsonText(outcome.json) : Printable(outcome.text);
    return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() &&
           std::fflush(stdout) == 0;
}

std::string JsonText(const Json& json) {
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

void PrintNote(const std::string& message) {
    WriteMessage(fmt::format("{}\n", Printable(message)));
}

void ReportFailure(const std::string& verb, bool json, const std::string& word,
                   const std::string& message) {
    WriteMessage(
        fmt::format("orvix{}{}: {}\n", verb.empty() ? "" : " ", verb, PrintableName(message)));
    if (!json) return;
    const std::string text = JsonText(Json{{"error", Json{{"code", word}, {"message", message}}}});
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

ExitCode RunAndReport(CommandContext& context) {
    platform::EndOnLostPages(LostPageEndOf(context));
    const Expected<Outcome> outcome = RunGuarded(context);
    if (outcome) return PrintOutcome(context, *outcome);
    const Error& error = outcome.error();
    ReportFailure(context.verb, context.json, WordOf(error.code), error.message);
    return ExitCodeOf(error.code);
}

}  // namespace orvix::cli
