// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/progress_reporter.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "cli/message.h"
#include "orvix/platform/amounts.h"
#include "orvix/platform/terminal.h"

namespace orvix::cli {

namespace {

using std::chrono::milliseconds;

ProgressMode Resolve(ProgressMode mode) {
    const bool terminal = platform::IsTerminal(platform::StandardStream::Error);
    const ProgressMode drawn = platform::ObeysControls(platform::StandardStream::Error)
                                   ? ProgressMode::Bar
                                   : ProgressMode::Plain;
    if (mode == ProgressMode::Automatic) return terminal ? drawn : ProgressMode::None;
    return mode == ProgressMode::Bar ? drawn : mode;
}

milliseconds PaceOf(ProgressMode mode) {
    switch (mode) {
        case ProgressMode::Bar:
            return milliseconds(100);
        case ProgressMode::Json:
            return milliseconds(200);
        default:
            return milliseconds(2000);
    }
}

std::string LeftText(double seconds) {
    return seconds < 0 ? std::string() : ", " + DurationText(seconds) + " left";
}

std::string JsonLine(const ProgressState& state) {
    auto line = nlohmann::ordered_json::object();
    line["phase"] = state.phase;
    line["fraction"] = state.fraction;
    line["bytes"] = state.bytes;
    line["points"] = state.points;
    line["seconds_left"] = nullptr;
    if (state.secondsLeft >= 0) line["seconds_left"] = state.secondsLeft;
    return line.dump();
}

}  // namespace

ProgressMode ProgressModeOf(const std::string& word) {
    if (word == "bar") return ProgressMode::Bar;
    if (word == "plain") return ProgressMode::Plain;
    if (word == "json") return ProgressMode::Json;
    return word == "none" ? ProgressMode::None : ProgressMode::Automatic;
}

std::string DurationText(double seconds) {
    const auto whole = static_cast<std::int64_t>(std::llround(std::clamp(seconds, 0.0, 1e9)));
    if (whole < 60) return fmt::format("{} s", whole);
    if (whole < 3600) return fmt::format("{} min {} s", whole / 60, whole % 60);
    return fmt::format("{} h {} min", whole / 3600, whole / 60 % 60);
}

std::string BarLine(const ProgressState& state, int columns) {
    const double fraction = std::clamp(state.fraction, 0.0, 1.0);
    std::string tail =
        fmt::format(" {:3.0f} % {}, {} points{}", std::floor(fraction * 100), state.phase,
                    platform::CountText(state.points), LeftText(state.secondsLeft));
    const int room = columns - 1 - static_cast<int>(tail.size()) - 2;
    const int width = std::min(room, 40);
    if (width < 8) return tail.substr(1, static_cast<std::size_t>(std::max(columns - 1, 1)));
    const auto done = static_cast<std::size_t>(std::floor(fraction * width));
    return "[" + std::string(done, '#') + std::string(static_cast<std::size_t>(width) - done, ' ') +
           "]" + tail;
}

ProgressReporter::ProgressReporter(ProgressMode mode) : mode_(Resolve(mode)) {}

void ProgressReporter::Report(const ProgressState& state) {
    if (mode_ == ProgressMode::None) return;
    const auto now = std::chrono::steady_clock::now();
    if (state.phase == lastPhase_ && now - last_ < PaceOf(mode_)) return;
    last_ = now;
    lastPhase_ = state.phase;
    Print(state);
}

void ProgressReporter::Print(const ProgressState& state) {
    if (mode_ == ProgressMode::Bar) {
        const int columns = platform::TerminalColumns(platform::StandardStream::Error);
        WriteMessage(fmt::format("\r\033[K{}", BarLine(state, columns)));
        barShown_ = true;
    } else if (mode_ == ProgressMode::Json) {
        WriteMessage(fmt::format("{}\n", JsonLine(state)));
    } else {
        WriteMessage(fmt::format("{:.0f} % {}, {} points{}\n", std::floor(state.fraction * 100),
                                 state.phase, platform::CountText(state.points),
                                 LeftText(state.secondsLeft)));
    }
}

void ProgressReporter::Finish() {
    if (!barShown_) return;
    WriteMessage(fmt::format("\r\033[K"));
    barShown_ = false;
}

}  // namespace orvix::cli
