// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "orvix/geometry/quantile.h"

/// What every bench shares: options, timing, and one way to print a ratio.
///
/// A bench states its question and its ceiling, checks that its answer is right, and only then
/// times candidate and ceiling in turns, so that both run under the same load.
///
///     const auto options = bench::ParseOptions(argc, argv);
///     bench::Require(Candidate() == Ceiling(), "the sums differ");
///     bench::Report report("stream_points", options);
///     report.Compare("every point", points * 24, Ceiling, Candidate);
namespace orvix::bench {

struct Options {
    std::uint64_t points = 20'000'000;
    int repeats = 11;
    bool json = false;  ///< one object per line instead of a table
};

/// --points N, --repeats N, --json; anything else ends the program with the usage.
inline Options ParseOptions(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string_view name = argv[i];
        if (name == "--json") {
            options.json = true;
        } else if (name == "--points" && i + 1 < argc) {
            options.points = std::strtoull(argv[++i], nullptr, 10);
        } else if (name == "--repeats" && i + 1 < argc) {
            options.repeats = std::max(1, std::atoi(argv[++i]));
        } else {
            fmt::print(stderr, "usage: {} [--points N] [--repeats N] [--json]\n", argv[0]);
            std::exit(2);
        }
    }
    return options;
}

/// Ends the program when an answer is wrong: a wrong answer is never timed.
inline void Require(bool holds, std::string_view otherwise) {
    if (holds) return;
    fmt::print(stderr, "wrong answer: {}\n", otherwise);
    std::exit(1);
}

/// Makes the compiler believe that the value is used.
template <class T>
void Keep(const T& value) {
    static void (*volatile use)(const void*) = [](const void*) {};
    use(&value);
}

template <class Work>
double Seconds(Work&& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double Median(std::vector<double> values) {
    return detail::UpperMedian(values);
}

/// What a figure should be: nothing asked, at most `value`, or at least it.
struct Aim {
    enum class Kind { None, AtMost, AtLeast };
    double value = 0;
    Kind kind = Kind::None;

    bool Met(double figure) const {
        return kind == Kind::None || (kind == Kind::AtMost ? figure <= value : figure >= value);
    }
    std::string Text() const {
        if (kind == Kind::None) return "";
        return fmt::format(", aim {} {:.4g}", kind == Kind::AtMost ? "at most" : "at least", value);
    }
    /// Members of the figure's JSON object, with a comma before them.
    std::string Json() const {
        if (kind == Kind::None) return "";
        return fmt::format(R"(,"aim":{:.6g},"aim_kind":"{}")", value,
                           kind == Kind::AtMost ? "at most" : "at least");
    }
};

inline Aim AtMost(double value) {
    return {value, Aim::Kind::AtMost};
}
inline Aim AtLeast(double value) {
    return {value, Aim::Kind::AtLeast};
}

/// Times pairs of ceiling and candidate and prints a line for each.
class Report {
public:
    Report(std::string bench, const Options& options)
        : bench_(std::move(bench)), options_(options) {}

    /// The ratio is the median, over the repeats, of candidate to ceiling run one after the other;
    /// the times are medians of their own. Rates are printed of work that has `bytes`. A missed
    /// aim is told, and is no failure: speed is judged by whoever reads the figures.
    template <class Ceiling, class Candidate>
    double Compare(std::string_view what, std::uint64_t bytes, Ceiling&& ceiling,
                   Candidate&& candidate, Aim aim = {}) {
        std::vector<double> ceilings;
        std::vector<double> candidates;
        std::vector<double> ratios;
        for (int i = 0; i < options_.repeats; ++i) {
            ceilings.push_back(Seconds(ceiling));
            candidates.push_back(Seconds(candidate));
            ratios.push_back(candidates.back() / ceilings.back());
        }
        Print(what, bytes, Median(ceilings), Median(candidates), Median(ratios), aim);
        return Median(ratios);
    }

    /// A figure that is no ratio of two times here: points a second, memory, a ratio of rates.
    void Figure(std::string_view what, double value, std::string_view unit, Aim aim = {}) const {
        if (options_.json) {
            fmt::print(R"({{"bench":"{}","what":"{}","value":{:.6g},"unit":"{}"{}}})"
                       "\n",
                       bench_, what, value, unit, aim.Json());
        } else {
            fmt::print("{}: {}: {:.4g} {}{}{}\n", bench_, what, value, unit, aim.Text(),
                       aim.Met(value) ? "" : ", missed");
        }
    }

private:
    void Print(std::string_view what, std::uint64_t bytes, double ceiling, double candidate,
               double ratio, const Aim& aim) const {
        const double gigabytes = static_cast<double>(bytes) / 1e9;
        if (options_.json) {
            fmt::print(R"({{"bench":"{}","what":"{}","bytes":{},"ceiling_seconds":{:.6f},)"
                       R"("seconds":{:.6f},"ratio":{:.3f}{}}})"
                       "\n",
                       bench_, what, bytes, ceiling, candidate, ratio, aim.Json());
        } else {
            const std::string rate =
                bytes == 0 ? "" : fmt::format(", {:.1f} GB/s", gigabytes / ceiling);
            fmt::print("{}: {}: ratio {:.2f}{}{} (ceiling {:.2f} ms{}; here {:.2f} ms)\n", bench_,
                       what, ratio, aim.Text(), aim.Met(ratio) ? "" : ", missed", ceiling * 1e3,
                       rate, candidate * 1e3);
        }
    }

    std::string bench_;
    Options options_;
};

}  // namespace orvix::bench
