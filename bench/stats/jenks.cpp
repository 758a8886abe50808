// SPDX-License-Identifier: GPL-3.0-or-later
//
// Question: how much faster than the recurrence written down plainly does GetJenksBreaks give the
//           same bits, and how does its time grow with the number of values?
// Ceiling:  none; the plain recurrence is the floor, timed beside it up to 8,000 values. The growth
//           is the slope of log time over log n from 1,000 to 64,000 values (--most): 2 is quadratic.
//
//     bench_jenks [--thorough] [--most VALUES] [--json] [HISTOGRAM.hist...]
//
// Populations of its own, then samples of histogram files. Boundaries are compared with those of
// every position tried up to 16,000 values, with --thorough to 64,000 (minutes).
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "bench/bench_support.h"
#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/stats/exhaustive_breaks.h"
#include "orvix/stats/mathematic.h"
#include "support/plain_breaks.h"

namespace {

namespace bench = orvix::bench;
using Values = std::vector<double>;
using Random = std::mt19937_64;

constexpr int kClasses = 8;
constexpr std::size_t kPlainValues = 8'000;
constexpr std::size_t kCheckedValues = 16'000;
constexpr double kPatience = 2;  // seconds for the repeats of one work

struct Population {
    std::string name;
    std::function<double(Random&)> draw;
};

double Uniform(Random& random) {
    return static_cast<double>(random() >> 11) * 0x1p-53;
}

double Normal(Random& random) {
    const double radius = std::sqrt(-2 * std::log(1 - Uniform(random)));
    return radius * std::cos(2 * std::numbers::pi * Uniform(random));
}

// Floor, ceiling, a table, and walls, in bins of a centimetre, each by its middle.
double RoomHeight(Random& random) {
    const double kind = Uniform(random);
    const double noise = 0.004 * Normal(random);
    double z = 2.8 * Uniform(random);
    if (kind < 0.3) z = noise;
    if (kind > 0.3 && kind < 0.5) z = 2.8 + noise;
    if (kind > 0.5 && kind < 0.6) z = 0.74 + noise;
    return (2 * std::floor(z * 100) + 1) / 200;
}

std::vector<Population> Populations() {
    return {
        {"uniform", Uniform},
        {"normal", Normal},
        {"exponential", [](Random& random) { return -std::log(1 - Uniform(random)); }},
        {"intensities, 16 bits",
         [](Random& random) {
             return std::floor(65'535 * std::pow(Uniform(random), Uniform(random) < 0.5 ? 1 : 3));
         }},
        {"intensities, 8 bits", [](Random& random) { return std::floor(256 * Uniform(random)); }},
        {"heights of a room", RoomHeight},
        {"uniform, 1000 from zero", [](Random& random) { return 1000 + Uniform(random); }},
    };
}

// Draws a point of a histogram file and takes its bin's value.
Population OfFile(const std::string& path) {
    std::error_code error;
    const auto file = orvix::platform::File::OpenRead(orvix::platform::FromUtf8(path), error);
    bench::Require(!error, path + " cannot be opened");
    std::vector<std::uint8_t> bytes(file.Size());
    file.ReadAt(0, bytes.data(), bytes.size(), error);
    Values values(bytes.size() / 12);
    std::vector<double> counts(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        std::int32_t count = 0;
        std::memcpy(&values[i], &bytes[i * 12], 8);
        std::memcpy(&count, &bytes[i * 12 + 8], 4);
        counts[i] = count;
    }
    std::discrete_distribution<std::size_t> bins(counts.begin(), counts.end());
    return {path, [values, bins](Random& random) mutable { return values[bins(random)]; }};
}

Values ExhaustiveBreaks(const Values& values) {
    Values breaks(kClasses + 1, 0.0);
    breaks[kClasses] = values.back();
    std::size_t j = kClasses;
    for (const std::size_t first : orvix::detail::ExhaustiveFirsts(values, kClasses)) {
        breaks[--j] = values[std::max<std::size_t>(first, 2) - 2];
    }
    return breaks;
}

// Processor time, the least of several runs: one thread, and the machine's other work is not ours
// to report.
double LeastSeconds(int repeats, const std::function<void()>& work) {
    double least = std::numeric_limits<double>::infinity();
    double spent = 0;
    for (int i = 0; i < repeats && spent < kPatience; ++i) {
        const std::clock_t start = std::clock();
        work();
        const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        least = std::min(least, seconds);
        spent += seconds;
    }
    return least;
}

void Measure(const bench::Report& report, const Population& population, std::size_t most,
             bool thorough) {
    Random random(1);
    double shortest = 0;
    for (std::size_t n = 1'000; n <= most; n *= 2) {
        Values values(n);
        for (double& value : values) value = population.draw(random);
        std::sort(values.begin(), values.end());
        const auto library = [&] { return orvix::Mathematic::GetJenksBreaks(values, kClasses, 0); };
        const bool plain = n <= kPlainValues;
        if (thorough || n <= kCheckedValues) {
            const Values expected =
                plain ? orvix::test::PlainBreaks(values, kClasses, 0) : ExhaustiveBreaks(values);
            bench::Require(library() == expected, population.name + ": the boundaries differ");
        }
        const double seconds = LeastSeconds(15, [&] { bench::Keep(library()); });
        if (n == 1'000) shortest = seconds;
        const std::string what = fmt::format("{}: {} values", population.name, n);
        if (n == kPlainValues || 2 * n > most) report.Figure(what, seconds * 1e3, "ms");
        if (n == kPlainValues) {
            const double slow = LeastSeconds(
                5, [&] { bench::Keep(orvix::test::PlainBreaks(values, kClasses, 0)); });
            report.Figure(what + ", faster than plainly", slow / seconds, "times");
        }
        if (n > 1'000 && 2 * n > most) {
            report.Figure(population.name + ": slope of log seconds over log values",
                          std::log(seconds / shortest) / std::log(static_cast<double>(n) / 1'000),
                          "");
        }
        std::fflush(stdout);
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<Population> populations = Populations();
    bool thorough = false;
    std::size_t most = 64'000;
    bench::Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--thorough") {
            thorough = true;
        } else if (argument == "--json") {
            options.json = true;
        } else if (argument == "--most" && i + 1 < argc) {
            most = std::strtoull(argv[++i], nullptr, 10);
        } else {
            populations.push_back(OfFile(argument));
        }
    }
    const bench::Report report("jenks", options);
    for (const Population& population : populations) Measure(report, population, most, thorough);
    return 0;
}
