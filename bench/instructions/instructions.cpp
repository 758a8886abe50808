// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: how many instructions do the paths take that most time is spent in?
// Ceiling:  the counts in figures.json, which were accepted once; scripts/instructions compares.
//
//     valgrind --tool=callgrind --instr-atstart=no bench_instructions [NAME...]
//
// Prints a line "NAME ANSWER" for each path. Under callgrind the instructions of each path's work
// are dumped by its name, what prepares it is not counted. Without valgrind it just runs.
#include <fmt/format.h>
#include <valgrind/callgrind.h>

#include <algorithm>
#include <string>

#include "bench/bench_support.h"
#include "bench/instructions/hot_paths.h"

namespace {

using orvix::bench::HotPath;

void Count(const HotPath& path) {
    const auto work = path.prepare();
    CALLGRIND_ZERO_STATS;
    CALLGRIND_START_INSTRUMENTATION;
    const std::uint64_t answer = work();
    CALLGRIND_STOP_INSTRUMENTATION;
    CALLGRIND_DUMP_STATS_AT(path.name);
    orvix::bench::Require(answer > 0, fmt::format("{} did nothing", path.name));
    fmt::print("{} {}\n", path.name, answer);
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<HotPath> paths = orvix::bench::ReadingPaths();
    for (const auto& more : {orvix::bench::FittingPaths(), orvix::bench::ProjectPaths()}) {
        paths.insert(paths.end(), more.begin(), more.end());
    }
    const std::vector<std::string> wanted(argv + 1, argv + argc);
    for (const std::string& name : wanted) {
        orvix::bench::Require(
            std::ranges::any_of(paths, [&](const HotPath& path) { return path.name == name; }),
            "no path is called " + name);
    }
    for (const HotPath& path : paths) {
        if (wanted.empty() || std::ranges::find(wanted, path.name) != wanted.end()) Count(path);
    }
    return 0;
}
